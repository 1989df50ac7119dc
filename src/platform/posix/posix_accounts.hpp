// Accounts, groups and rights of the POSIX backend. The installing user is
// the process's effective user and the computer is never in a domain. The
// accounts the library creates live in the machine's registry store, so that
// one locked, atomically written store holds all machine state:
//
//   HKLM\SAM\Users\<user>        Comment, Flags, Privilege, PasswordHash (crypt(3))
//   HKLM\SAM\Groups\<group>      Comment, Members (REG_MULTI_SZ of "COMPUTER\user")
//   HKLM\SECURITY\Rights\<name>  one REG_DWORD 1 per right held ("SeServiceLogonRight", ...)
#pragma once

#include <cstddef>
#include <string>

#include "platform/platform.hpp"

namespace dpl::platform::posix {

inline constexpr const char *kUsersKey = "SAM\\Users";
inline constexpr const char *kGroupsKey = "SAM\\Groups";
inline constexpr const char *kRightsKey = "SECURITY\\Rights";

uint32_t installing_user(AccountIdentity *out);
uint32_t computer_name(std::string *out);
// Local administrator powers: the machine's state directory root/var/lib/dpl
// exists and is writable, or could be created.
uint32_t open_policy(const std::string &root, const std::string &server, PolicyHandle *out, int32_t *status);
uint32_t find_group(const std::string &server, GroupScope scope, const std::string &name);
uint32_t find_user(const std::string &server, const std::string &name);
uint32_t add_group(const std::string &server, GroupScope scope, const std::string &name,
                   const std::string &comment);
uint32_t delete_group(const std::string &server, GroupScope scope, const std::string &name);
uint32_t add_member(const std::string &server, GroupScope scope, const std::string &group,
                    const std::string &member);
uint32_t add_user(const std::string &server, const NewUser &user);
uint32_t delete_user(const std::string &server, const std::string &name);
uint32_t lookup_sid(const std::string &name, std::string *sid);
uint32_t add_right(PolicyHandle policy, const std::string &sid, const std::string &right);
uint32_t remove_right(PolicyHandle policy, const std::string &sid, const std::string &right);
uint32_t logon(const std::string &domain, const std::string &user, const std::string &password);
bool secure_random(void *buffer, std::size_t size);

}  // namespace dpl::platform::posix
