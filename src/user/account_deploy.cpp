// Creating the product's groups, users, memberships and rights, or removing
// them in a capture-only deployment.
#include <array>

#include "core/control_block.hpp"
#include "trace/trace.hpp"
#include "user/user_context.hpp"

namespace dpl::user {
namespace {

using platform::GroupScope;
using trace::kUser;
namespace err = platform::err;

constexpr const char *kUserComment = "Orvandex User Created by DPL";
constexpr const char *kGroupComment = "Orvandex Group Created by DPL";
constexpr uint32_t kNormalAccount = 512;
constexpr uint32_t kMadePasswordLength = 21;  // 20 characters and the terminator

// What the server's account needs, in the order granted; every adjusted
// account also gets the service logon right.
constexpr std::array<const char *, 7> kProductUserRights = {
    "SeTcbPrivilege",      "SeIncreaseQuotaPrivilege", "SeAssignPrimaryTokenPrivilege", "SeDebugPrivilege",
    "SeSecurityPrivilege", "SeCreateGlobalPrivilege",  "SeChangeNotifyPrivilege"};
constexpr const char *kServiceLogonRight = "SeServiceLogonRight";

struct Deployment {
    UserContext &context;
    bool capture_only;
};

bool has(const Deployment &d, uint32_t number) {
    return property(d.context, number);
}

// Where an account's group lives.
struct GroupPlace {
    std::string server;
    GroupScope scope;
};

GroupPlace group_place(const Deployment &d) {
    if (!has(d, DPL_P_RUNAS_LOCAL)) return {d.context.controller, GroupScope::Global};
    if (has(d, DPL_P_DOMAIN_CONTROLLER)) return {std::string(), GroupScope::Global};
    return {std::string(), GroupScope::Local};
}

int32_t group_step(Deployment &d, int32_t kind) {
    ht_debug(3, kUser, __LINE__, "updateGroupFile");
    ht_debug(3, kUser, __LINE__, "type = %d.", static_cast<int>(kind));
    const Account *account = find_account(d.context, kind);
    if (account == nullptr) return DPL_E_NO_ACCOUNT;
    if (!account->group) return DPL_OK;
    auto &os = platform::current();
    const std::string &group = *account->group;
    const GroupPlace place = group_place(d);
    const bool remote = !place.server.empty();
    uint32_t ret = err::kOk;
    uint32_t ret2 = err::kOk;

    if (d.capture_only) {
        if (place.scope == GroupScope::Global) {
            ht_debug(3, kUser, __LINE__,
                     remote ? "Removing Global group from remote." : "Removing Global group\n");
        } else {
            ht_debug(3, kUser, __LINE__, "Removing local group\n");
        }
        ret = os.account_delete_group(place.server, place.scope, group);
    } else if (place.scope == GroupScope::Global) {
        ht_debug(3, kUser, __LINE__, "Adding group '%s' to the domain.", group.c_str());
        ret = os.account_add_group(place.server, place.scope, group, kGroupComment);
        if (ret == err::kGroupExists) {
            ht_debug(3, kUser, __LINE__, "The group already exists.");
            ret = err::kOk;
        } else if (ret != err::kOk) {
            ht_debug(3, kUser, __LINE__, "Failed to add group '%s'.", group.c_str());
        }
        const std::string &me = d.context.user_name;
        ht_debug(3, kUser, __LINE__, "Adding User '%s' to group '%s'.", me.c_str(), group.c_str());
        ret2 = os.account_add_member(place.server, place.scope, group, me);
        if (ret2 == err::kUserInGroup) {
            ht_debug(3, kUser, __LINE__, "The user already belongs to the group.");
            ret2 = err::kOk;
        } else if (ret2 != err::kOk) {
            ht_debug(3, kUser, __LINE__, "Failed to add User '%s' to group '%s'.", me.c_str(), group.c_str());
        }
    } else {
        ht_debug(3, kUser, __LINE__, "Adding Local group '%s'.", group.c_str());
        ret = os.account_add_group(place.server, place.scope, group, kGroupComment);
        if (ret == err::kAliasExists) ret = err::kOk;
        ret2 = os.account_add_member(place.server, place.scope, group,
                                     d.context.domain_name + "\\" + d.context.user_name);
    }

    for (int i = 0; i < 2; ++i) {
        ht_debug(3, kUser, __LINE__, "updateGroupFile: ret = %d. ret2 = %d\n", static_cast<int>(ret),
                 static_cast<int>(ret2));
    }
    if (ret != err::kOk) {
        ht_debug(3, kUser, __LINE__, "Group not created or removed\n");
        return DPL_E_ACCOUNT_NOT_MADE;
    }
    if (ret2 != err::kOk && ret2 != err::kMemberInAlias) {
        ht_debug(3, kUser, __LINE__, "Current user could not be added to Orvandex-Admin Group.");
        return DPL_E_MEMBERSHIP;
    }
    return DPL_OK;
}

bool rights_adjusted(const Deployment &d, int32_t kind) {
    return (kind == DPL_ACCOUNT_PRODUCT_USER && has(d, DPL_P_RUNAS_USER)) ||
           kind == DPL_ACCOUNT_JSON_LISTENER;
}

// Grants or takes away the account's rights; -983 when one of them fails.
int32_t change_rights(Deployment &d, int32_t kind, const std::string &sid, bool grant) {
    auto &os = platform::current();
    std::vector<const char *> rights;
    if (kind == DPL_ACCOUNT_PRODUCT_USER) rights.assign(kProductUserRights.begin(), kProductUserRights.end());
    rights.push_back(kServiceLogonRight);
    int32_t result = DPL_OK;
    for (const char *right : rights) {
        const uint32_t rc = grant ? os.account_add_right(d.context.policy, sid, right)
                                  : os.account_remove_right(d.context.policy, sid, right);
        if (rc == err::kOk) {
            if (grant) ht_debug(3, kUser, __LINE__, "LsaAddAccountRights SUCCESS\n");
            continue;
        }
        ht_debug(3, kUser, __LINE__,
                 grant ? "LsaAddAccountRights failed with %d" : "LsaRemoveAccountRights failed with %d",
                 static_cast<int>(rc));
        result = DPL_E_RIGHTS;
    }
    return result;
}

// A created user needs a password; one nobody chose is made and kept for
// the services that run under the account.
void ensure_password(Account &account) {
    if (!account.password.empty()) return;
    std::array<char, kMadePasswordLength> made{};
    if (dplGeneratePassword(made.data(), static_cast<uint32_t>(made.size())) == DPL_OK)
        account.password.assign(made.data());
    wipe(made.data(), made.size());
}

uint32_t create_user(Deployment &d, Account &account, const std::string &server, bool domain,
                     uint32_t *ret2) {
    auto &os = platform::current();
    const std::string &user = *account.user;
    const std::string group = account.group.value_or("");
    uint32_t ret = err::kOk;
    const uint32_t exists = domain ? DPL_P_DOMAIN_USER_EXISTS : DPL_P_USER_EXISTS;
    if (domain) {
        if ((account.properties & exists) == 0)
            ht_debug(3, kUser, __LINE__, "Creating '%s' Account.", user.c_str());
    } else {
        ht_debug(3, kUser, __LINE__, "Admin Group1 = '%s'.", d.context.administrators.c_str());
        ht_debug(3, kUser, __LINE__, "Creating local Orvandex Account.");
    }
    if ((account.properties & exists) == 0) {
        ensure_password(account);
        platform::NewUser record{user, account.password.text(), kUserComment, kNormalAccount};
        ret = os.account_add_user(server, record);
        wipe(record.password);
        if (domain) ht_debug(3, kUser, __LINE__, "NetUserAdd returns %d.", static_cast<int>(ret));
        if (ret == err::kUserExists) {
            ht_debug(3, kUser, __LINE__, "rc = %d is NERR_UserExists, so, changing it to NERR_Success.",
                     static_cast<int>(ret));
            ret = err::kOk;
        }
    }
    if (!account.group) return ret;
    if (domain) {
        ht_debug(3, kUser, __LINE__, "About to ADD user '%s' to DOMAIN group '%s'.", user.c_str(),
                 group.c_str());
        *ret2 = os.account_add_member(server, GroupScope::Global, group, user);
        if (*ret2 == err::kUserInGroup) *ret2 = err::kOk;
        if (*ret2 != err::kOk) {
            ht_debug(3, kUser, __LINE__, "Failed to add User '%s' to group '%s'. Error = %d.", user.c_str(),
                     group.c_str(), static_cast<int>(*ret2));
        }
    } else {
        ht_debug(3, kUser, __LINE__, "About to ADD user '%s' to group '%s'.", user.c_str(), group.c_str());
        *ret2 =
            os.account_add_member(server, GroupScope::Local, group, d.context.computer_name + "\\" + user);
        if (*ret2 == err::kMemberInAlias || *ret2 == err::kUserInGroup) *ret2 = err::kOk;
    }
    return ret;
}

int32_t user_step(Deployment &d, int32_t kind) {
    ht_debug(3, kUser, __LINE__, "updatePasswdFile");
    ht_debug(3, kUser, __LINE__, "type = %d.", static_cast<int>(kind));
    Account *account = find_account(d.context, kind);
    if (account == nullptr) return DPL_E_NO_ACCOUNT;
    if (!account->user) return DPL_OK;
    auto &os = platform::current();
    const std::string &user = *account->user;
    const bool domain = !has(d, DPL_P_RUNAS_LOCAL) || has(d, DPL_P_DOMAIN_CONTROLLER);
    const std::string &place = domain ? d.context.domain_name : d.context.computer_name;
    const std::string qualified = place + "\\" + user;
    // Domain accounts are made at the controller, unless this is it.
    const std::string server =
        domain && !has(d, DPL_P_DOMAIN_CONTROLLER) ? d.context.controller : std::string();
    ht_log("Account = %s \n", user.c_str());
    ht_log("Domain = %s \n", place.c_str());

    uint32_t ret = err::kOk;
    uint32_t ret2 = err::kOk;
    int32_t rights = DPL_OK;
    if (d.capture_only) {
        if (has(d, DPL_P_RUNAS_LOCAL)) {
            ht_debug(3, kUser, __LINE__, "Removing Local Orvandex user account.");
        } else {
            ht_debug(3, kUser, __LINE__, "Removing '%s\\Orvandex' user account.", place.c_str());
        }
        // The identifier is gone with the account: take it first.
        std::string sid;
        const bool known = os.account_lookup_sid(qualified, &sid) == err::kOk;
        ret = os.account_delete_user(server, user);
        if (rights_adjusted(d, kind) && known) rights = change_rights(d, kind, sid, false);
    } else {
        ht_debug(3, kUser, __LINE__, "DPL_P_RUNAS_LOCAL = %s.", true_false(has(d, DPL_P_RUNAS_LOCAL)));
        ht_debug(3, kUser, __LINE__, "DPL_P_DOMAIN_USER_EXISTS = %s.",
                 true_false((account->properties & DPL_P_DOMAIN_USER_EXISTS) != 0));
        ht_debug(3, kUser, __LINE__, "DPL_P_USER_EXISTS = %s.",
                 true_false((account->properties & DPL_P_USER_EXISTS) != 0));
        ht_debug(3, kUser, __LINE__, "DPL_P_DOMAIN_GROUP_EXISTS = %s.",
                 true_false((account->properties & DPL_P_DOMAIN_GROUP_EXISTS) != 0));
        ret = create_user(d, *account, server, !has(d, DPL_P_RUNAS_LOCAL), &ret2);
        if (ret == err::kOk && rights_adjusted(d, kind)) {
            ht_log("Ajusting Rights for account %s\n", qualified.c_str());
            std::string sid;
            if (os.account_lookup_sid(qualified, &sid) != err::kOk) {
                ht_debug(3, kUser, __LINE__, "Error adjusting rights for account %s.", qualified.c_str());
                rights = DPL_E_RIGHTS;
            } else {
                rights = change_rights(d, kind, sid, true);
            }
        }
    }

    if (ret != err::kOk) {
        ht_debug(3, kUser, __LINE__, "User '%s' not created or removed. ret = %d", user.c_str(),
                 static_cast<int>(ret));
        return DPL_E_ACCOUNT_NOT_MADE;
    }
    if (ret2 != err::kOk && ret2 != err::kMemberInAlias) {
        ht_debug(3, kUser, __LINE__, "User '%s' could not be added to '%s' Group. rc = %d, ret2 = %d",
                 user.c_str(), account->group.value_or("").c_str(), static_cast<int>(ret),
                 static_cast<int>(ret2));
        return DPL_E_MEMBERSHIP;
    }
    return rights;
}

int32_t deploy(UserContext &context, uint32_t mode) {
    if (!property(context, DPL_P_CHANGE_USER_CRED)) {
        ht_debug(3, kUser, __LINE__, "DPL_P_CHANGE_USER_CRED is NOT set. Users will not be deployed");
    } else {
        Deployment d{context, (mode & DPL_MODE_MAINTENANCE) != 0};
        int32_t last_group = DPL_OK;
        for (int32_t kind = kFirstKind; kind <= kLastKind; ++kind) {
            ht_debug(3, kUser, __LINE__, "User Type = %d.", static_cast<int>(kind));
            if (kind != DPL_ACCOUNT_PRODUCT_USER && kind != DPL_ACCOUNT_JSON_LISTENER &&
                !property(context, DPL_P_ROLE_SEPARATION)) {
                ht_debug(3, kUser, __LINE__, "Role Separation is off so this user is NOT needed.");
                continue;
            }
            if (kind == DPL_ACCOUNT_JSON_LISTENER && (mode & DPL_MODE_NO_SQL) == 0) {
                ht_debug(3, kUser, __LINE__, "JSON User not needed becasue NoSQL is not installed.");
                continue;
            }
            if (d.capture_only) {
                ht_debug(3, kUser, __LINE__, "user step: rc = %d", static_cast<int>(user_step(d, kind)));
                last_group = group_step(d, kind);
                ht_debug(3, kUser, __LINE__, "group step: rc = %d", static_cast<int>(last_group));
            } else {
                ht_debug(3, kUser, __LINE__, "group step: rc = %d", static_cast<int>(group_step(d, kind)));
                ht_debug(3, kUser, __LINE__, "user step: rc = %d", static_cast<int>(user_step(d, kind)));
            }
        }
        if (d.capture_only && last_group != DPL_OK) return last_group;
    }
    return context.previous_error != 0 ? context.previous_error : context.last_error;
}

}  // namespace
}  // namespace dpl::user

extern "C" {

int32_t dplDeployQvmxCredentials(InstallControlBlock *pointer) {
    InstallControlBlock *block = dpl::core::as_block(pointer);
    if (block == nullptr) return DPL_E_BAD_CONTEXT;
    return dpl::trace::traced_call(dpl::trace::kUser, __LINE__, "dplDeployQvmxCredentials",
                                   [&] { return dpl::user::deploy(block->user, block->mode); });
}

}  // extern "C"
