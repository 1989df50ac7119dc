// Bringing the backed-up keys of an uninstalled installation back: its
// security settings into the new installation's security key, and the
// instance keys its uninstaller removed.
#include <string>
#include <vector>

#include "core/control_block.hpp"
#include "registry/registry_key.hpp"
#include "trace/trace.hpp"
#include "upgrade/upgrade_keys.hpp"

using dpl::platform::RegView;
using dpl::platform::err::kOk;
using dpl::trace::kInstall;

namespace {

// Opens a backup; 1 when there is none, 0 when open, -948 otherwise.
int32_t open_backup(dpl::registry::OpenKey &key, const char *path, const char *function) {
    const uint32_t rc = key.open(dpl::platform::kLocalMachine, path, RegView::Default);
    if (rc == kOk) return 0;
    if (dpl::upgrade::nothing_there(rc)) return 1;
    ht_log("%s: Unable to open backup key %s", function, path);
    return DPL_E_REG_READ;
}

bool delete_backup(const char *path) {
    const uint32_t rc =
        dpl::platform::current().reg_delete_tree(dpl::platform::kLocalMachine, path, RegView::Default);
    return rc == kOk || dpl::upgrade::nothing_there(rc);
}

std::vector<std::string> subkey_names(dpl::platform::RegKey key) {
    std::vector<std::string> names;
    std::string name;
    for (uint32_t index = 0; dpl::platform::current().reg_enum_key(key, index, &name) == kOk; ++index) {
        names.push_back(name);
    }
    return names;
}

int32_t restore_security(InstallControlBlock &block, const char *directory) {
    const dpl::platform::RegistryBatch batch;
    dpl::registry::OpenKey backup;
    const int32_t opened = open_backup(backup, dpl::upgrade::kSecurityBackup, "dplRestoreSecKey");
    if (opened != 0) return opened > 0 ? DPL_OK : opened;
    const DplVersionInfo &version = block.product->version_info;
    if (version.major <= 0) {
        ht_log("dplRestoreSecKey: Invalid product version");
        return DPL_E_REG_READ;
    }
    const int32_t tag = dplRetrieveInstallTag(&block, directory);
    if (tag < 0) {
        ht_log("dplRestoreSecKey: error retrieving install tag");
        return DPL_E_REG_READ;
    }
    const std::string path = dpl::upgrade::security_key(version.major, version.minor, tag);
    dpl::registry::OpenKey security;
    if (security.create(dpl::platform::kLocalMachine, path, RegView::Default) != kOk) {
        ht_log("dplRestoreSecKey: Unable to create key %s", path.c_str());
        return DPL_E_REG_READ;
    }
    if (dpl::upgrade::copy_tree(security.get(), backup.get()) != DPL_OK) {
        ht_log("dplRestoreSecKey: Unable to copy backup key");
        return DPL_E_REG_READ;
    }
    backup.close();
    if (!delete_backup(dpl::upgrade::kSecurityBackup)) {
        ht_log("dplRestoreSecKey: Unable to delete backup key");
        return DPL_E_REG_READ;
    }
    return DPL_OK;
}

// Copies back the instance keys that the backup has and Online lacks.
int32_t restore_missing(dpl::platform::RegKey online, dpl::platform::RegKey backup) {
    for (const std::string &name : subkey_names(backup)) {
        dpl::registry::OpenKey present;
        if (present.open(online, name, RegView::Default) == kOk) continue;
        dpl::registry::OpenKey from;
        dpl::registry::OpenKey to;
        if (from.open(backup, name, RegView::Default) != kOk ||
            to.create(online, name, RegView::Default) != kOk ||
            dpl::upgrade::copy_tree(to.get(), from.get()) != DPL_OK) {
            ht_log("dplUpdateInstanceKeys: Unable to restore instance key %s", name.c_str());
            return DPL_E_REG_READ;
        }
    }
    return DPL_OK;
}

int32_t set_versions(dpl::platform::RegKey online, const std::string &version) {
    dpl::platform::RegValue value;
    value.type = dpl::platform::regtype::kSz;
    value.data = version;
    value.data.push_back('\0');
    for (const std::string &name : subkey_names(online)) {
        dpl::registry::OpenKey instance;
        if (instance.open(online, name, RegView::Default) != kOk ||
            dpl::platform::current().reg_set_value(instance.get(), "Version", value) != kOk) {
            ht_log("dplUpdateInstanceKeys: Unable to set version of instance key %s", name.c_str());
            return DPL_E_REG_READ;
        }
    }
    return DPL_OK;
}

int32_t update_instances(const InstallControlBlock &block) {
    const dpl::platform::RegistryBatch batch;
    dpl::registry::OpenKey backup;
    const int32_t opened = open_backup(backup, dpl::upgrade::kOnlineBackup, "dplUpdateInstanceKeys");
    if (opened != 0) return opened > 0 ? DPL_OK : opened;
    dpl::registry::OpenKey online;
    if (online.create(dpl::platform::kLocalMachine, dpl::upgrade::kOnlineKey, RegView::Default) != kOk) {
        ht_log("dplUpdateInstanceKeys: Unable to open key %s", dpl::upgrade::kOnlineKey);
        return DPL_E_REG_READ;
    }
    int32_t rc = restore_missing(online.get(), backup.get());
    if (rc == DPL_OK) rc = set_versions(online.get(), block.product->version);
    if (rc != DPL_OK) return rc;
    backup.close();
    if (!delete_backup(dpl::upgrade::kOnlineBackup)) {
        ht_log("dplUpdateInstanceKeys: Unable to delete backup key");
        return DPL_E_REG_READ;
    }
    return DPL_OK;
}

}  // namespace

extern "C" {

int32_t dplRestoreSecKey(InstallControlBlock *pointer, const char *install_dir) {
    InstallControlBlock *block = dpl::core::as_block(pointer);
    if (block == nullptr || block->product == nullptr) return DPL_E_BAD_CONTEXT;
    if (install_dir == nullptr || install_dir[0] == '\0') return DPL_E_NULL_ARGUMENT;
    return dpl::trace::traced_call(kInstall, __LINE__, "dplRestoreSecKey",
                                   [&] { return restore_security(*block, install_dir); });
}

int32_t dplUpdateInstanceKeys(InstallControlBlock *pointer) {
    InstallControlBlock *block = dpl::core::as_block(pointer);
    if (block == nullptr || block->product == nullptr) return DPL_E_BAD_CONTEXT;
    return dpl::trace::traced_call(kInstall, __LINE__, "dplUpdateInstanceKeys",
                                   [&] { return update_instances(*block); });
}

}  // extern "C"
