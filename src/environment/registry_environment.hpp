// The instance's environment as the server's Windows service reads it, and
// its security key.
#pragma once

#include <cstdint>
#include <string>

#include "core/control_block.hpp"

namespace dpl::environment {

// Every setting but PATH as a string value of the instance's Environment
// key, and its Setup key: 0, or -1 when a key or a value cannot be made.
int32_t write_registry_environment(const Instance &instance, const std::string &server);

// The product's security key of the block's version and install tag copied
// under the instance, with its install number and version: 0 or -1.
int32_t write_security_key(InstallControlBlock &block, const std::string &server);

}  // namespace dpl::environment
