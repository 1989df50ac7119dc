// The root chunk that every deployment needs before its script.
#pragma once

#include <cstdint>

#include "core/control_block.hpp"

namespace dpl::deploy {

// Creates the file named by the configuration's ROOTPATH (an existing one
// keeps its content): dplCreateFile's result, or -1 with two log lines when
// ROOTPATH is not set.
int32_t create_root_chunk(InstallControlBlock &block, Instance &instance);

}  // namespace dpl::deploy
