// The command files that give a shell an instance's environment.
#pragma once

#include <cstdint>
#include <string>

#include "core/instance.hpp"

namespace dpl::environment {

// Whether `kind` is one of DPL_PROFILE_CSH, _KSH, _CMD.
bool is_profile_kind(int32_t kind);

// The file's text: one assignment line per environment setting, and for
// the Korn shell the export lines after them.
std::string profile_text(const Instance &instance, int32_t kind);

// ORVANDEXDIR, the separator, the server name and the kind's extension;
// without ORVANDEXDIR the server name and the extension alone.
std::string profile_path(const Instance &instance, const std::string &server, int32_t kind);

// Writes the file of `kind` for the instance named `server`: 0 or -952.
int32_t write_profile(const Instance &instance, const std::string &server, int32_t kind);

}  // namespace dpl::environment
