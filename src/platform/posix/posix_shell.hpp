// The command processor and whole-directory removal of the POSIX backend.
#pragma once

#include <cstdint>
#include <string>

#include "platform/platform.hpp"

namespace dpl::platform::posix {

// /bin/sh -c COMMAND, waited for. The exit status is the shell's, or 128
// plus the signal that ended it.
bool run_command(const std::string &command, uint32_t *exit_status, SysError *error);
bool remove_directory_tree(const std::string &path, SysError *error);

}  // namespace dpl::platform::posix
