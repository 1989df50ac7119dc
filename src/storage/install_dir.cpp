// The installation directory kept in the block.
#include <string>

#include "core/control_block.hpp"

namespace {
// The field holds 260 characters with its terminator.
constexpr std::size_t kInstallDirLimit = 259;
}  // namespace

extern "C" {

int32_t dplSetInstallDir(InstallControlBlock *pointer, const char *directory) {
    InstallControlBlock *block = dpl::core::as_block(pointer);
    if (block == nullptr) return DPL_E_BAD_CONTEXT;
    if (directory == nullptr || directory[0] == '\0') return DPL_E_NULL_ARGUMENT;
    if (block->install_dir == directory) return DPL_OK;
    try {
        const std::string text(directory);
        block->install_dir = text.substr(0, kInstallDirLimit);
    } catch (const std::bad_alloc &) {
        return DPL_E_NOMEM;
    }
    return DPL_OK;
}

const char *dplGetInstallDir(InstallControlBlock *pointer) {
    InstallControlBlock *block = dpl::core::as_block(pointer);
    return block != nullptr ? block->install_dir.c_str() : nullptr;
}

}  // extern "C"
