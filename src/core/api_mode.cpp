// The small setters and getters of a context.
#include "core/control_block.hpp"
#include "core/size_units.hpp"
#include "trace/trace.hpp"

using dpl::core::as_block;

extern "C" {

int32_t dplSetInstallType(InstallControlBlock *pointer, uint32_t type) {
    InstallControlBlock *block = as_block(pointer);
    if (block == nullptr) return DPL_E_BAD_CONTEXT;
    block->install_type = type;
    return DPL_OK;
}

int32_t dplSetInstallModeNoSQL(InstallControlBlock *pointer) {
    InstallControlBlock *block = as_block(pointer);
    if (block == nullptr) return DPL_E_BAD_CONTEXT;
    block->mode |= DPL_MODE_NO_SQL;
    return DPL_OK;
}

int32_t dplUnSetInstallModeNoSQL(InstallControlBlock *pointer) {
    InstallControlBlock *block = as_block(pointer);
    if (block == nullptr) return DPL_E_BAD_CONTEXT;
    block->mode &= ~DPL_MODE_NO_SQL;
    return DPL_OK;
}

int32_t dplSetInstallModePrivate(InstallControlBlock *pointer) {
    InstallControlBlock *block = as_block(pointer);
    if (block == nullptr) return DPL_E_BAD_CONTEXT;
    block->mode |= DPL_MODE_PRIVATE;
    return DPL_OK;
}

int32_t dplSetDiskMemUnits(InstallControlBlock *pointer, const char *units) {
    InstallControlBlock *block = as_block(pointer);
    if (block == nullptr) return DPL_E_BAD_CONTEXT;
    if (units == nullptr || units[0] == '\0') return DPL_E_INVALID_VALUE;
    const int32_t code = dpl::core::parse_unit_name(units);
    if (code < 0) return code;
    block->disk_mem_units = code;
    return code;
}

int32_t dplSetInstallOptions(InstallControlBlock *pointer, uint32_t options) {
    InstallControlBlock *block = as_block(pointer);
    if (block == nullptr) return DPL_E_BAD_CONTEXT;
    block->options = options;
    return DPL_OK;
}

uint32_t dplGetInstallOptions(InstallControlBlock *pointer) {
    const InstallControlBlock *block = as_block(pointer);
    return block != nullptr ? block->options : 0;
}

uint32_t dplGetInstallMode(InstallControlBlock *pointer) {
    const InstallControlBlock *block = as_block(pointer);
    return block != nullptr ? block->mode : 0;
}

Instance *dplGetCurrentInstance(InstallControlBlock *pointer) {
    const InstallControlBlock *block = as_block(pointer);
    return block != nullptr ? block->current : nullptr;
}

int32_t dplGetSqlhostsLocation(InstallControlBlock *pointer) {
    const InstallControlBlock *block = as_block(pointer);
    if (block == nullptr) return DPL_E_BAD_CONTEXT;
    if (block->current == nullptr) return DPL_E_INVALID_VALUE;
    return static_cast<int32_t>(block->current->sqlhosts_location);
}

int32_t dplSetSqlhostsLocation(InstallControlBlock *pointer, uint32_t kind) {
    InstallControlBlock *block = as_block(pointer);
    if (block == nullptr) return DPL_E_BAD_CONTEXT;
    if (block->current == nullptr || kind > DPL_SQLHOSTS_REMOTE_REGISTRY) return DPL_E_INVALID_VALUE;
    block->current->sqlhosts_location = kind;
    return DPL_OK;
}

}  // extern "C"
