// dplWriteEnv and dplWriteProfile: an instance's environment in its command
// files, its registry keys and its security key.
#include <string>

#include "core/control_block.hpp"
#include "environment/profile.hpp"
#include "environment/registry_environment.hpp"
#include "trace/trace.hpp"

using dpl::trace::kInstance;

namespace {

// The instance's server name, or null after saying why there is none.
const std::string *server_of(Instance &instance) {
    const dpl::core::EnvironmentEntry *server = dpl::core::find_environment(instance, "ORVANDEXSERVER");
    if (server == nullptr) {
        ht_debug(5, kInstance, __LINE__,
                 "Missing required ORVANDEXSERVER environment to create orvandex profile.");
        return nullptr;
    }
    return &server->value;
}

int32_t write_env(InstallControlBlock &block) {
    if (block.current == nullptr) return DPL_E_BAD_CONTEXT;
    const std::string *server = server_of(*block.current);
    if (server == nullptr) return DPL_E_FAIL;
    // The command file is complete before the registry is touched.
    int32_t rc = dpl::environment::write_profile(*block.current, *server, DPL_PROFILE_CMD);
    if (rc != DPL_OK) return rc;
    rc = dpl::environment::write_registry_environment(*block.current, *server);
    if (rc != DPL_OK) return rc;
    // A product without a security key still gets its environment.
    static_cast<void>(dpl::environment::write_security_key(block, *server));
    return DPL_OK;
}

}  // namespace

extern "C" {

int32_t dplWriteEnv(InstallControlBlock *pointer) {
    InstallControlBlock *block = dpl::core::as_block(pointer);
    if (block == nullptr) return DPL_E_BAD_CONTEXT;
    return dpl::trace::traced_call(kInstance, __LINE__, "dplWriteEnv", [&] { return write_env(*block); });
}

int32_t dplWriteProfile(InstallControlBlock *pointer, int32_t kind) {
    InstallControlBlock *block = dpl::core::as_block(pointer);
    if (block == nullptr) return DPL_E_BAD_CONTEXT;
    return dpl::trace::traced_call(kInstance, __LINE__, "dplWriteProfile", [&]() -> int32_t {
        if (block->current == nullptr) return DPL_E_BAD_CONTEXT;
        if (!dpl::environment::is_profile_kind(kind)) return DPL_E_INVALID_VALUE;
        const std::string *server = server_of(*block->current);
        if (server == nullptr) return DPL_E_FAIL;
        return dpl::environment::write_profile(*block->current, *server, kind);
    });
}

}  // extern "C"
