// Creating and deleting a Windows service through the service manager.
#include <string>

#include "core/control_block.hpp"
#include "platform/platform.hpp"
#include "trace/trace.hpp"

using dpl::trace::kInstance;
using dpl::trace::traced_call;
namespace platform = dpl::platform;

namespace {

bool given(const char *text) {
    return text != nullptr && text[0] != '\0';
}

int32_t create_service(InstallControlBlock *pointer, const char *name, const char *display_name,
                       const char *description, const char *command_line, const char *account,
                       const char *password) {
    if (dpl::core::as_block(pointer) == nullptr) return DPL_E_BAD_CONTEXT;
    if (!given(name) || !given(command_line)) {
        ht_debug(5, kInstance, __LINE__, "dplWinServiceCreate: name or image not specified\n");
        return DPL_E_NULL_ARGUMENT;
    }
    if (given(account) && !given(password)) {
        ht_debug(5, kInstance, __LINE__,
                 "dplWinServiceCreate: user was specified, password must also be specified\n");
        return DPL_E_NULL_ARGUMENT;
    }
    auto &os = platform::current();
    platform::ScopedScHandle manager;
    if (const uint32_t rc = os.sc_open_manager(platform::kServicesActiveDatabase, manager.out()); rc != 0) {
        ht_debug(5, kInstance, __LINE__, "dplWinServiceCreate: OpenSCManager failed: %d\n",
                 static_cast<int>(rc));
        return DPL_E_FAIL;
    }
    {
        platform::ScopedScHandle existing;
        if (os.sc_open_service(manager.get(), name, platform::scaccess::kServiceAll, existing.out()) == 0) {
            ht_debug(5, kInstance, __LINE__, "dplWinServiceCreate: service %s already exists\n", name);
            return DPL_E_INVALID_VALUE;
        }
    }
    platform::ServiceDefinition definition;
    definition.name = name;
    definition.display_name = display_name != nullptr ? display_name : "";
    definition.command_line = command_line;
    if (given(account)) {
        definition.account = account;
        definition.password = password;
    }
    platform::ScopedScHandle service;
    if (const uint32_t rc = os.sc_create_service(manager.get(), definition, service.out()); rc != 0) {
        ht_debug(5, kInstance, __LINE__, "dplWinServiceCreate: CreateService %s failed: %d\n", name,
                 static_cast<int>(rc));
        return rc == platform::err::kInvalidServiceAccount ? DPL_E_LOGON : DPL_E_FAIL;
    }
    if (!given(description)) {
        ht_debug(5, kInstance, __LINE__, "dplWinServiceCreate: successfully created %s\n", name);
    } else if (os.sc_set_description(service.get(), description) == 0) {
        ht_debug(5, kInstance, __LINE__, "dplWinServiceCreate: successfully created %s with description\n",
                 name);
    } else {
        ht_debug(5, kInstance, __LINE__,
                 "dplWinServiceCreate: service %s created, but could not set description\n", name);
    }
    return DPL_OK;
}

int32_t delete_service(InstallControlBlock *pointer, const char *name) {
    if (dpl::core::as_block(pointer) == nullptr) return DPL_E_BAD_CONTEXT;
    if (!given(name)) {
        ht_debug(5, kInstance, __LINE__, "dplWinServiceDelete: service name not specified\n");
        return DPL_E_NULL_ARGUMENT;
    }
    auto &os = platform::current();
    platform::ScopedScHandle manager;
    if (const uint32_t rc = os.sc_open_manager(platform::kServicesActiveDatabase, manager.out()); rc != 0) {
        ht_debug(5, kInstance, __LINE__, "dplWinServiceDelete: OpenSCManager failed: %d\n",
                 static_cast<int>(rc));
        return DPL_E_FAIL;
    }
    platform::ScopedScHandle service;
    if (os.sc_open_service(manager.get(), name,
                           platform::scaccess::kDelete | platform::scaccess::kQueryStatus,
                           service.out()) != 0) {
        ht_debug(5, kInstance, __LINE__, "dplWinServiceDelete: service %s does not exist\n", name);
        return DPL_E_INVALID_VALUE;
    }
    // A failed deletion is reported, not returned: the removal goes on.
    if (const uint32_t rc = os.sc_delete_service(service.get()); rc != 0) {
        ht_debug(5, kInstance, __LINE__, "dplWinServiceDelete: DeleteService %s failed: %d\n", name,
                 static_cast<int>(rc));
    } else {
        ht_debug(5, kInstance, __LINE__, "dplWinServiceDelete: successfully deleted %s\n", name);
    }
    return DPL_OK;
}

}  // namespace

extern "C" {

int32_t dplWinServiceCreate(InstallControlBlock *block, const char *name, const char *display_name,
                            const char *description, const char *command_line, const char *account,
                            const char *password) {
    return traced_call(kInstance, __LINE__, "dplWinServiceCreate", [&] {
        return create_service(block, name, display_name, description, command_line, account, password);
    });
}

int32_t dplWinServiceDelete(InstallControlBlock *block, const char *name) {
    return traced_call(kInstance, __LINE__, "dplWinServiceDelete",
                       [&] { return delete_service(block, name); });
}

}  // extern "C"
