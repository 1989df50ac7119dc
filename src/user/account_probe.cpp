// Recording the accounts the product needs and finding out which of their
// groups and users exist already, on this computer and in the domain.
#include "core/control_block.hpp"
#include "trace/trace.hpp"
#include "user/user_context.hpp"

namespace dpl::user {
namespace {

using trace::kUser;
namespace err = platform::err;

enum Lookup : int32_t { kLocalGroup = 0, kLocalUser = 1, kDomainGroup = 2, kDomainUser = 3 };

// The account property each lookup answers, by lookup number.
constexpr uint32_t kLookupProperty[] = {DPL_P_GROUP_EXISTS, DPL_P_USER_EXISTS, DPL_P_DOMAIN_GROUP_EXISTS,
                                        DPL_P_DOMAIN_USER_EXISTS};

uint32_t look_up(const UserContext &context, const Account &account, int32_t lookup) {
    auto &os = platform::current();
    const bool group = lookup == kLocalGroup || lookup == kDomainGroup;
    const std::optional<std::string> &name = group ? account.group : account.user;
    if (!name) return group ? err::kGroupNotFound : err::kUserNotFound;
    const bool domain = lookup == kDomainGroup || lookup == kDomainUser;
    const std::string server = domain ? context.controller : std::string();
    if (group)
        return os.account_find_group(
            server, domain ? platform::GroupScope::Global : platform::GroupScope::Local, *name);
    return os.account_find_user(server, *name);
}

int32_t probe(UserContext &context, int32_t kind, int32_t lookup) {
    ht_debug(3, kUser, __LINE__, "type = %d, lookup = %d.", static_cast<int>(kind), static_cast<int>(lookup));
    Account *account = find_account(context, kind);
    if (account == nullptr) return DPL_E_NO_ACCOUNT;
    if (lookup < kLocalGroup || lookup > kDomainUser) return DPL_E_NOMEM;
    const uint32_t value = kLookupProperty[lookup];
    const uint32_t error = look_up(context, *account, lookup);
    if (error == err::kOk) {
        account->properties |= value;
        return DPL_OK;
    }
    account->properties &= ~value;
    ht_debug(3, kUser, __LINE__, "GetInfo failed with napiError = %d.", static_cast<int>(error));
    switch (error) {
        case err::kAccessDenied:
        case err::kInvalidComputer:
        case err::kBadNetPath:
            ht_debug(3, kUser, __LINE__, "Setting error to DPL_E_DISABLED_DOMAIN_ACCOUNT_CREATION");
            return DPL_E_DOMAIN_ACCOUNTS;
        case err::kUserNotFound:
            ht_debug(3, kUser, __LINE__, "Error is NERR_UserNotFound, ignoring.");
            return DPL_OK;
        case err::kGroupNotFound:
            ht_debug(3, kUser, __LINE__, "Error is NERR_GroupNotFound, ignoring.");
            return DPL_OK;
        default:
            ht_debug(3, kUser, __LINE__, "Setting error to DPL_E_UNDEFINED_ERROR_USER");
            return DPL_E_ACCOUNT_UNDEFINED;
    }
}

// Runs the lookups in order; every one runs, the first failure is the result.
int32_t probe_all(UserContext &context, int32_t kind, std::initializer_list<int32_t> lookups) {
    int32_t result = DPL_OK;
    for (const int32_t lookup : lookups) {
        const int32_t rc = probe(context, kind, lookup);
        if (result == DPL_OK) result = rc;
    }
    return result;
}

std::optional<std::string> copy_of(const char *text) {
    return text != nullptr ? std::optional<std::string>(text) : std::nullopt;
}

int32_t add_required(UserContext &context, int32_t kind, const char *group, const char *user) {
    ht_debug(3, kUser, __LINE__, "type = %d, group = '%s', user = '%s'.", static_cast<int>(kind),
             group != nullptr ? group : "NULL", user != nullptr ? user : "NULL");
    if (kind < kFirstKind || kind > kLastKind) return DPL_E_NO_ACCOUNT;
    Account *account = find_account(context, kind);
    if (account == nullptr) {
        auto made = std::make_unique<Account>();
        made->kind = kind;
        account = made.get();
        context.accounts.push_back(std::move(made));
    }
    account->group = copy_of(group);
    account->user = copy_of(user);

    int32_t result = DPL_OK;
    if (property(context, DPL_P_DOMAIN_ADMIN)) result = probe_all(context, kind, {kDomainGroup, kDomainUser});
    if (!property(context, DPL_P_DOMAIN_CONTROLLER)) {
        const int32_t rc = probe_all(context, kind, {kLocalGroup, kLocalUser});
        if (result == DPL_OK) result = rc;
    }
    return result;
}

int32_t change_group(UserContext &context, int32_t kind, const char *group) {
    Account *account = find_account(context, kind);
    if (account == nullptr) return DPL_E_NO_ACCOUNT;
    account->group = copy_of(group);
    if (property(context, DPL_P_DOMAIN_ADMIN)) return probe_all(context, kind, {kDomainGroup, kLocalGroup});
    return probe(context, kind, kLocalGroup);
}

}  // namespace
}  // namespace dpl::user

extern "C" {

int32_t dplAddUserGroupRequired(InstallControlBlock *pointer, int32_t kind, const char *group,
                                const char *user) {
    InstallControlBlock *block = dpl::core::as_block(pointer);
    if (block == nullptr) return DPL_E_BAD_CONTEXT;
    return dpl::trace::traced_call(dpl::trace::kUser, __LINE__, "dplAddUserGroupRequired",
                                   [&] { return dpl::user::add_required(block->user, kind, group, user); });
}

int32_t dplChangeGroupRequired(InstallControlBlock *pointer, int32_t kind, const char *group) {
    InstallControlBlock *block = dpl::core::as_block(pointer);
    if (block == nullptr) return DPL_E_BAD_CONTEXT;
    return dpl::trace::traced_call(dpl::trace::kUser, __LINE__, "dplChangeGroupRequired",
                                   [&] { return dpl::user::change_group(block->user, kind, group); });
}

}  // extern "C"
