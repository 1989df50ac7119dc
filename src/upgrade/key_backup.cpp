// The backups made before an older installation is uninstalled: its product
// security key and the keys of all instances, which its uninstaller would
// delete.
#include <cstdio>
#include <memory>
#include <string>

#include "platform/platform.hpp"
#include "registry/registry_key.hpp"
#include "upgrade/upgrade_keys.hpp"

using dpl::platform::RegView;
using dpl::platform::err::kOk;

namespace dpl::upgrade {
namespace {

struct FreeText {
    void operator()(char *text) const { dplFree(text); }
};

void print_tag(int32_t tag) {
    char line[32];
    const int length = std::snprintf(line, sizeof line, "\nnumTag: %d", static_cast<int>(tag));
    auto &os = platform::current();
    os.write_file(os.std_handle(platform::StdStream::Output), line, static_cast<std::size_t>(length));
}

// Opens `source`, creates `backup` and copies the one into the other.
int32_t backup_key(const std::string &source, const char *backup) {
    registry::OpenKey from;
    if (from.open(platform::kLocalMachine, source, RegView::Default) != kOk) {
        ht_log("Registry key open error: Unable to back up key");
        return DPL_E_REG_READ;
    }
    registry::OpenKey to;
    if (to.create(platform::kLocalMachine, backup, RegView::Default) != kOk) {
        ht_log("Key backup error: Unable to create key");
        return DPL_E_REG_READ;
    }
    const int32_t copied = copy_tree(to.get(), from.get());
    if (copied != DPL_OK) {
        ht_log("Key backup error");
        return copied;
    }
    return DPL_OK;
}

}  // namespace

int32_t backup_security_key(InstallControlBlock *block, const char *directory) {
    char *text = nullptr;
    const int32_t found = dplGetInstalledVersion(block, 0, directory, &text);
    const std::unique_ptr<char, FreeText> version(text);
    if (found != DPL_OK) return found;
    const int32_t tag = dplRetrieveInstallTag(block, directory);
    print_tag(tag);
    if (tag < 0) {
        ht_log("dplBackupSecKey: error retrieving install tag");
        return tag;
    }
    DplVersionInfo info{};
    dplExtractVersInfo(&info, version.get());
    if (info.major <= 0) {
        ht_log("dplBackupSecKey: Invalid upgrade");
        return DPL_E_VERSION_UNKNOWN;
    }
    return backup_key(security_key(info.major, info.minor, tag), kSecurityBackup);
}

int32_t backup_online_key() {
    return backup_key(kOnlineKey, kOnlineBackup);
}

}  // namespace dpl::upgrade
