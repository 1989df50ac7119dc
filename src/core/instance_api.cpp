// The instance environment and the connection lookup.
#include <cstring>

#include "core/control_block.hpp"
#include "trace/trace.hpp"

using dpl::core::as_block;
using dpl::trace::kInstance;

extern "C" {

int32_t dplInitInstanceStruct(InstallControlBlock *pointer) {
    InstallControlBlock *block = as_block(pointer);
    if (block == nullptr) return DPL_E_BAD_CONTEXT;
    return dpl::trace::traced_call(kInstance, __LINE__, "dplInitInstanceStruct",
                                   [&] { return dpl::core::create_instance(*block); });
}

int32_t dplGetConnection(InstallControlBlock *pointer, const char *alias, Connection **out) {
    InstallControlBlock *block = as_block(pointer);
    if (block == nullptr) return DPL_E_BAD_CONTEXT;
    if (block->current == nullptr || alias == nullptr) return DPL_E_INVALID_VALUE;
    Connection *found = nullptr;
    try {
        found = block->current->connections.find(alias);
    } catch (const std::bad_alloc &) {
        return DPL_E_NOMEM;
    }
    if (found == nullptr) return DPL_E_FAIL;
    if (out != nullptr) *out = found;
    return DPL_OK;
}

int32_t dplGetEnvironment(InstallControlBlock *pointer, const char *name, const char **value) {
    InstallControlBlock *block = as_block(pointer);
    if (block == nullptr) return DPL_E_BAD_CONTEXT;
    if (block->current == nullptr) return DPL_E_INVALID_VALUE;
    if (name == nullptr) return DPL_E_NULL_ARGUMENT;
    const dpl::core::EnvironmentEntry *entry = dpl::core::find_environment(*block->current, name);
    if (entry == nullptr) return DPL_E_FAIL;
    if (value != nullptr) *value = entry->value.c_str();
    return DPL_OK;
}

int32_t dplSetEnvironment(InstallControlBlock *pointer, const char *name, const char *value) {
    InstallControlBlock *block = as_block(pointer);
    if (block == nullptr) return DPL_E_BAD_CONTEXT;
    return dpl::trace::traced_call(kInstance, __LINE__, "dplSetEnvironment", [&]() -> int32_t {
        if (block->current == nullptr) return DPL_E_INVALID_VALUE;
        if (name == nullptr || value == nullptr) return DPL_E_NULL_ARGUMENT;
        Instance &instance = *block->current;
        if (dpl::core::EnvironmentEntry *entry = dpl::core::find_environment(instance, name)) {
            entry->value = value;
            ht_debug(5, kInstance, __LINE__, "dplSetEnvironment, reset, %s='%s'", name, value);
            return DPL_OK;
        }
        instance.environment.push_back(
            dpl::core::EnvironmentEntry{dpl::core::kEnvironmentSetting, name, value});
        ht_debug(5, kInstance, __LINE__, "dplSetEnvironment, set, %s='%s'", name, value);
        return DPL_OK;
    });
}

}  // extern "C"
