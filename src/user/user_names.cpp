// Names of the installing user, the computer, the domain and the accounts,
// and the accounts' passwords.
#include "core/control_block.hpp"
#include "trace/trace.hpp"
#include "user/user_context.hpp"

namespace dpl::user {
namespace {

using trace::kUser;

const char *optional_text(const std::optional<std::string> &text) {
    return text ? text->c_str() : nullptr;
}

// "COMPUTER\user" for local accounts, "DOMAIN\user" otherwise; "SYSTEM" for
// a server that does not run as the product user.
const char *qualified_name(UserContext &context, int32_t kind) {
    const Account *account = find_account(context, kind);
    if (account == nullptr) return nullptr;
    const std::string &place =
        property(context, DPL_P_RUNAS_LOCAL) ? context.computer_name : context.domain_name;
    const bool system = kind == DPL_ACCOUNT_PRODUCT_USER && !property(context, DPL_P_RUNAS_USER);
    context.account_name = place + "\\" + (system ? std::string("SYSTEM") : account->user.value_or(""));
    return context.account_name.c_str();
}

int32_t set_password(UserContext &context, int32_t kind, const char *password) {
    Account *account = find_account(context, kind);
    if (account == nullptr) return DPL_E_STAGE;
    const bool local = property(context, DPL_P_RUNAS_LOCAL);
    const uint32_t where = local ? DPL_P_USER_EXISTS : DPL_P_DOMAIN_USER_EXISTS;
    if ((account->properties & where) != 0) {
        // An account that exists already must accept the password.
        const std::string &place = local ? context.computer_name : context.domain_name;
        const std::string user = account->user.value_or("");
        ht_log("Attempting to logon as %s\\%s\n", place.c_str(), user.c_str());
        ht_log("Logging on from %s\n", context.computer_name.c_str());
        SecretText secret;
        secret.assign(password);
        const uint32_t error = platform::current().account_logon(place, user, secret.text());
        if (error != platform::err::kOk) {
            ht_debug(3, kUser, __LINE__, "LogonUser failed with %d.", static_cast<int>(error));
            return DPL_E_LOGON;
        }
    }
    account->password.assign(password);
    return DPL_OK;
}

}  // namespace
}  // namespace dpl::user

using dpl::core::as_block;

extern "C" {

const char *dplGetUserName(InstallControlBlock *pointer, int32_t kind) {
    InstallControlBlock *block = as_block(pointer);
    if (block == nullptr) return nullptr;
    const dpl::user::Account *account = dpl::user::find_account(block->user, kind);
    return account != nullptr ? dpl::user::optional_text(account->user) : nullptr;
}

const char *dplGetGroupName(InstallControlBlock *pointer, int32_t kind) {
    InstallControlBlock *block = as_block(pointer);
    if (block == nullptr) return nullptr;
    const dpl::user::Account *account = dpl::user::find_account(block->user, kind);
    return account != nullptr ? dpl::user::optional_text(account->group) : nullptr;
}

const char *dplGetAccountName(InstallControlBlock *pointer) {
    return dplGetAccountName_a(pointer, DPL_ACCOUNT_PRODUCT_USER);
}

const char *dplGetAccountName_a(InstallControlBlock *pointer, int32_t kind) {
    InstallControlBlock *block = as_block(pointer);
    if (block == nullptr) return nullptr;
    try {
        return dpl::user::qualified_name(block->user, kind);
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

const char *dplGetDoaminControler(InstallControlBlock *pointer) {
    InstallControlBlock *block = as_block(pointer);
    if (block == nullptr) return nullptr;
    try {
        auto &context = block->user;
        if (!context.controller_copy) context.controller_copy = context.controller;
        return context.controller_copy->c_str();
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

const char *dplGetDoaminName(InstallControlBlock *pointer) {
    InstallControlBlock *block = as_block(pointer);
    if (block == nullptr) return nullptr;
    try {
        auto &context = block->user;
        if (!context.domain_copy) context.domain_copy = context.domain_name;
        return context.domain_copy->c_str();
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

const char *dplGetComputerName(InstallControlBlock *pointer) {
    InstallControlBlock *block = as_block(pointer);
    return block != nullptr ? block->user.computer_name.c_str() : nullptr;
}

const char *dplGetInstallingUser(InstallControlBlock *pointer) {
    InstallControlBlock *block = as_block(pointer);
    return block != nullptr ? block->user.user_name.c_str() : nullptr;
}

int32_t dplSetPasswd(InstallControlBlock *pointer, int32_t kind, const char *password) {
    InstallControlBlock *block = as_block(pointer);
    if (block == nullptr) return DPL_E_BAD_CONTEXT;
    if (password == nullptr) return DPL_E_NULL_ARGUMENT;
    return dpl::trace::traced_call(dpl::trace::kUser, __LINE__, "dplSetPasswd",
                                   [&] { return dpl::user::set_password(block->user, kind, password); });
}

}  // extern "C"
