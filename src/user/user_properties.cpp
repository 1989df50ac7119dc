// The installation properties, the account properties and the block's last
// error.
#include <cstring>

#include "core/control_block.hpp"
#include "trace/trace.hpp"
#include "user/user_context.hpp"

namespace dpl::user {
namespace {

using trace::kUser;

constexpr uint32_t kPropertyCount = 8;

bool is_account_property(uint32_t value) {
    return value == DPL_P_GROUP_EXISTS || value == DPL_P_USER_EXISTS || value == DPL_P_DOMAIN_GROUP_EXISTS ||
           value == DPL_P_DOMAIN_USER_EXISTS;
}

int32_t unknown_property(UserContext &context) {
    ht_debug(3, kUser, __LINE__, "rc = %d is DPL_E_UNKNOWEN_USER_PROPERTY", DPL_E_UNKNOWEN_USER_PROPERTY);
    record_error(context, DPL_E_UNKNOWEN_USER_PROPERTY);
    return DPL_E_UNKNOWEN_USER_PROPERTY;
}

}  // namespace

void SecretText::assign(std::string_view text) {
    clear();
    text_.assign(text);
}

void wipe(void *data, std::size_t size) {
    // Volatile stores, so that clearing memory about to be freed is kept.
    volatile auto *bytes = static_cast<unsigned char *>(data);
    for (std::size_t i = 0; i < size; ++i) bytes[i] = 0;
}

void wipe(std::string &text) {
    wipe(text.data(), text.size());
    text.clear();
}

void SecretText::clear() {
    wipe(text_);
    text_.shrink_to_fit();
}

void UserContext::release() {
    accounts.clear();
    domain_copy.reset();
    controller_copy.reset();
    account_name.clear();
    if (policy != platform::kNoPolicy) platform::current().account_close_policy(policy);
    policy = platform::kNoPolicy;
}

Account *find_account(UserContext &context, int32_t kind, const char *group, const char *user) {
    for (const auto &account : context.accounts) {
        if (account->kind != kind) continue;
        if (group != nullptr && (!account->group || *account->group != group)) continue;
        if (user != nullptr && (!account->user || *account->user != user)) continue;
        return account.get();
    }
    return nullptr;
}

bool property(const UserContext &context, uint32_t number) {
    return number < kPropertyCount && (context.properties & (1u << number)) != 0;
}

int32_t set_property(UserContext &context, uint32_t number, int32_t value) {
    if (number >= kPropertyCount) return unknown_property(context);
    if (value == 1) {
        context.properties |= 1u << number;
    } else {
        context.properties &= ~(1u << number);
    }
    ht_debug(3, kUser, __LINE__, "Property = %d, Value = '%s'.", static_cast<int>(number),
             true_false(value == 1));
    return DPL_OK;
}

void record_error(UserContext &context, int32_t code) {
    context.previous_error = context.last_error;
    context.last_error = code;
}

const char *true_false(bool value) {
    return value ? "True" : "False";
}

const char *or_null(const std::optional<std::string> &name) {
    return name ? name->c_str() : "NULL";
}

}  // namespace dpl::user

using dpl::core::as_block;

extern "C" {

int32_t dplSetInstallationProperty(InstallControlBlock *pointer, uint32_t property, int32_t value) {
    InstallControlBlock *block = as_block(pointer);
    if (block == nullptr) return DPL_E_BAD_CONTEXT;
    return dpl::user::set_property(block->user, property, value);
}

int32_t dplGetInstallationProperty(InstallControlBlock *pointer, uint32_t property) {
    InstallControlBlock *block = as_block(pointer);
    if (block == nullptr) return DPL_E_BAD_CONTEXT;
    if (property >= dpl::user::kPropertyCount) {
        dpl::user::unknown_property(block->user);
        return 0;
    }
    return dpl::user::property(block->user, property) ? 1 : 0;
}

int32_t dplGetUserProperty(InstallControlBlock *pointer, int32_t kind, uint32_t property) {
    InstallControlBlock *block = as_block(pointer);
    if (block == nullptr) return DPL_E_BAD_CONTEXT;
    const dpl::user::Account *account = dpl::user::find_account(block->user, kind);
    if (account == nullptr) return DPL_E_NO_ACCOUNT;
    if (!dpl::user::is_account_property(property)) {
        dpl::user::unknown_property(block->user);
        return 0;
    }
    return (account->properties & property) != 0 ? 1 : 0;
}

int32_t dplGetLastError(InstallControlBlock *pointer, int32_t *previous) {
    InstallControlBlock *block = as_block(pointer);
    if (block == nullptr) return DPL_E_BAD_CONTEXT;
    if (previous != nullptr) *previous = block->user.previous_error;
    return block->user.last_error;
}

}  // extern "C"
