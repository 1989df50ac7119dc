// Building the installing user's context: who, on which computer, in which
// domain, with which powers.
#include "core/control_block.hpp"
#include "trace/trace.hpp"
#include "user/user_context.hpp"

namespace dpl::user {
namespace {

using trace::kUser;

// The name after a controller's leading "\\".
std::string bare_name(const std::string &controller) {
    return controller.compare(0, 2, "\\\\") == 0 ? controller.substr(2) : controller;
}

void find_domain(UserContext &context) {
    auto &os = platform::current();
    std::string controller;
    if (os.account_domain_controller(&controller) != platform::err::kOk) {
        ht_debug(3, kUser, __LINE__, "Computer is NOT in a DOMAIN.");
        context.controller.clear();
        set_property(context, DPL_P_IN_DOMAIN, 0);
        return;
    }
    context.controller = controller;
    const std::string name = bare_name(controller);
    if (name == context.computer_name) {
        ht_debug(3, kUser, __LINE__, "Running is the Domain Controller");
        set_property(context, DPL_P_DOMAIN_CONTROLLER, 1);
    } else {
        set_property(context, DPL_P_DOMAIN_CONTROLLER, 0);
    }
    ht_log("Domain Controller is '%s'.", name.c_str());
    set_property(context, DPL_P_IN_DOMAIN, 1);
}

// Whether the controller's policy opens with all access.
void check_domain_admin(UserContext &context) {
    auto &os = platform::current();
    platform::PolicyHandle policy = platform::kNoPolicy;
    int32_t status = 0;
    const uint32_t error = os.account_open_policy(context.controller, &policy, &status);
    if (error != platform::err::kOk) {
        ht_log("We do not have admin power at the domain level.");
        ht_debug(3, kUser, __LINE__, "Error opening Domain LsaPolicy. NTSTATUS=%d, WinError=%d\n",
                 static_cast<int>(status), static_cast<int>(error));
        set_property(context, DPL_P_DOMAIN_ADMIN, 0);
        return;
    }
    ht_log("Installing as a Domain Admin.");
    set_property(context, DPL_P_DOMAIN_ADMIN, 1);
    os.account_close_policy(policy);
}

int32_t build_context(UserContext &context, uint32_t mode) {
    auto &os = platform::current();
    platform::AccountIdentity identity;
    if (os.account_installing_user(&identity) != platform::err::kOk) {
        ht_log("Fatal Error: Cannot get user credentials. INstallation cannot continue.");
        return DPL_E_NO_CREDENTIALS;
    }
    context.user_name = identity.name;
    context.domain_name = identity.domain;
    context.domain_copy.reset();
    ht_log("installing as %s\\%s\n", context.domain_name.c_str(), context.user_name.c_str());

    if (os.account_computer_name(&context.computer_name) != platform::err::kOk) {
        ht_log("Fatal Error: Cannot get Computer Name. Installation cannot continue.");
        return DPL_E_NO_COMPUTER_NAME;
    }
    ht_log("Installing on host %s\n", context.computer_name.c_str());

    find_domain(context);
    context.controller_copy.reset();

    if (context.policy != platform::kNoPolicy) os.account_close_policy(context.policy);
    context.policy = platform::kNoPolicy;
    int32_t status = 0;
    const uint32_t error = os.account_open_policy("", &context.policy, &status);
    if (error != platform::err::kOk) {
        context.policy = platform::kNoPolicy;
        set_property(context, DPL_P_LOCAL_ADMIN, 0);
        ht_log("Error: We do not have Local Admin rights at this machine. Cannot continue");
        ht_debug(1, kUser, __LINE__, "Error opening LsaPolicy(POLICY_ALL_ACCESS). NTSTATUS=%d, WinError=%d\n",
                 static_cast<int>(status), static_cast<int>(error));
        return DPL_E_NOT_ADMIN;
    }
    ht_debug(3, kUser, __LINE__, "We have Local Admin rigths.");
    set_property(context, DPL_P_LOCAL_ADMIN, 1);
    if (property(context, DPL_P_DOMAIN_CONTROLLER)) {
        ht_debug(3, kUser, __LINE__, "Since this is the Domain Controller, We are also a Domain Admin.");
        set_property(context, DPL_P_DOMAIN_ADMIN, 1);
    } else if (property(context, DPL_P_IN_DOMAIN)) {
        check_domain_admin(context);
    }

    // Not knowing the group's name only shortens a trace line.
    if (os.account_administrators_group(&context.administrators) != platform::err::kOk)
        context.administrators.clear();

    set_property(context, DPL_P_RUNAS_LOCAL, 1);
    set_property(context, DPL_P_RUNAS_USER, 1);
    set_property(context, DPL_P_CHANGE_USER_CRED, (mode & DPL_MODE_MAINTENANCE) != 0 ? 0 : 1);
    return DPL_OK;
}

}  // namespace
}  // namespace dpl::user

extern "C" {

int32_t initDplUser(InstallControlBlock *pointer) {
    InstallControlBlock *block = dpl::core::as_block(pointer);
    if (block == nullptr) return DPL_E_BAD_CONTEXT;
    return dpl::trace::traced_call(dpl::trace::kUser, __LINE__, "initDplUser",
                                   [&] { return dpl::user::build_context(block->user, block->mode); });
}

void dplFreeUser(InstallControlBlock *pointer) {
    InstallControlBlock *block = dpl::core::as_block(pointer);
    if (block != nullptr) block->user.release();
}

}  // extern "C"
