// What the upgrade of an older installation shares: the keys it backs up
// and restores, the product display text of a version, and the backups.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "dpl/dpl.h"
#include "platform/platform.hpp"

namespace dpl::upgrade {

inline constexpr const char *kOnlineKey = "SOFTWARE\\Orvandex\\Online";
inline constexpr const char *kOnlineBackup = "SOFTWARE\\Orvandex\\online_bak";
inline constexpr const char *kSecurityBackup = "SOFTWARE\\Orvandex\\Upg_Sec_bak";
inline constexpr const char *kUninstallRoot = "Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall";

// "SOFTWARE\Orvandex\DBMS\<major>.<minor>", where version 10.0 is "10.00".
std::string version_key(int32_t major, int32_t minor);
// The product security key of a version and install tag: "Security" with
// the tag's decimal text (cut to four characters), none for tag 0.
std::string security_key(int32_t major, int32_t minor, int32_t tag);
// "Talix 11.70", "Orvandex Dynamic Server 9.40", "Talix Server 12.10".
std::string display_text(int32_t major, int32_t minor);

// Whether a registry value holds text.
bool is_text_value(uint32_t type);
// Whether a key delete failed only because there was nothing to delete.
bool nothing_there(uint32_t error);

// The UninstallString of the first uninstall record of `directory` whose
// DisplayName holds `display`; nothing (after logging why) otherwise.
std::optional<std::string> uninstall_command(const std::string &directory, const std::string &display);

// Copies the key tree at `source` into `destination`: 0, -1 or -1000.
int32_t copy_tree(platform::RegKey destination, platform::RegKey source);

// The backups made before an uninstaller runs: 0 or a failing code.
int32_t backup_security_key(InstallControlBlock *block, const char *directory);
int32_t backup_online_key();

}  // namespace dpl::upgrade
