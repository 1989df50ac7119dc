// What the oldest versions leave that they cannot remove themselves: their
// uninstall record, setup and security keys, and their program group.
#include <string>

#include "core/control_block.hpp"
#include "install/install_registry.hpp"
#include "platform/platform.hpp"
#include "trace/trace.hpp"
#include "upgrade/upgrade_keys.hpp"

using dpl::platform::RegView;
using dpl::trace::kInstall;

namespace {

bool removed(const std::string &path, RegView view) {
    const uint32_t rc = dpl::platform::current().reg_delete_tree(dpl::platform::kLocalMachine, path, view);
    return rc == dpl::platform::err::kOk || dpl::upgrade::nothing_there(rc);
}

bool registers(const DplRegValue *values, const char *directory) {
    for (; values != nullptr; values = values->next) {
        if (values->name == nullptr || std::string(values->name) != "InstallLocation") continue;
        return dpl::upgrade::is_text_value(values->type) && values->data != nullptr &&
               dpl::install::same_directory(values->data, directory);
    }
    return false;
}

// Every uninstall record of the directory; true when all of them went.
bool remove_uninstall_records(const char *directory) {
    DplRegSubKey *records = nullptr;
    dplQueryRegSubKeys(DPL_HKEY_LOCAL_MACHINE, dpl::upgrade::kUninstallRoot, &records, DPL_REG_VIEW_64);
    bool all = true;
    for (const DplRegSubKey *record = records; record != nullptr; record = record->next) {
        const std::string path = std::string(dpl::upgrade::kUninstallRoot) + "\\" + record->name;
        DplRegValue *values = nullptr;
        if (dplQueryRegData(DPL_HKEY_LOCAL_MACHINE, path.c_str(), &values, DPL_REG_VIEW_64) == DPL_OK &&
            registers(values, directory) && !removed(path, RegView::Bits64)) {
            all = false;
        }
        dplFreeRegData(&values);
    }
    dplFreeRegSubKeys(&records);
    return all;
}

int32_t remove_keys(InstallControlBlock *block, const char *directory, int32_t major, int32_t minor) {
    int32_t rc = DPL_OK;
    const dpl::platform::RegistryBatch batch;
    if (!remove_uninstall_records(directory)) {
        ht_log("dplRemoveNQR10OlderRegKeys: Unable to remove uninstall key");
        rc = DPL_E_FAIL;
    }
    if (!removed(dpl::upgrade::version_key(major, minor) + "\\Setup", RegView::Default)) {
        ht_log("dplRemoveNQR10OlderRegKeys: Unable to remove setup key");
        rc = DPL_E_FAIL;
    }
    // Without a readable installations key there is no security key either.
    const int32_t tag = dplRetrieveInstallTag(block, directory);
    if (tag >= 0 && !removed(dpl::upgrade::security_key(major, minor, tag), RegView::Default)) {
        ht_log("dplRemoveNQR10OlderRegKeys: Unable to remove security key");
        rc = DPL_E_FAIL;
    }
    return rc;
}

int32_t remove_group(int32_t major, int32_t minor) {
    auto &os = dpl::platform::current();
    const std::optional<std::string> programs = os.common_programs_folder();
    const std::string folder =
        programs.value_or(std::string()) + os.path_separator() + dpl::upgrade::display_text(major, minor);
    dpl::platform::PathStatus status;
    dpl::platform::SysError error;
    if (programs && !os.path_status(folder, &status, &error) &&
        (error.win32 == dpl::platform::err::kFileNotFound ||
         error.win32 == dpl::platform::err::kPathNotFound)) {
        return DPL_OK;
    }
    if (!programs || !os.remove_directory_tree(folder, &error)) {
        ht_log("dplRemoveNQR10OlderShortcutGroup: Could not Remove Shortcut Folder %s.\n", folder.c_str());
        return DPL_E_FAIL;
    }
    return DPL_OK;
}

}  // namespace

extern "C" {

int32_t dplRemoveNQR10OlderRegKeys(InstallControlBlock *block, const char *install_dir, int32_t major,
                                   int32_t minor) {
    if (dpl::core::as_block(block) == nullptr) return DPL_E_BAD_CONTEXT;
    if (install_dir == nullptr || install_dir[0] == '\0') return DPL_E_NULL_ARGUMENT;
    return dpl::trace::traced_call(kInstall, __LINE__, "dplRemoveNQR10OlderRegKeys",
                                   [&] { return remove_keys(block, install_dir, major, minor); });
}

int32_t dplRemoveNQR10OlderShortcutGroup(InstallControlBlock *block, const char *, int32_t major,
                                         int32_t minor) {
    if (dpl::core::as_block(block) == nullptr) return DPL_E_BAD_CONTEXT;
    return dpl::trace::traced_call(kInstall, __LINE__, "dplRemoveNQR10OlderShortcutGroup",
                                   [&] { return remove_group(major, minor); });
}

}  // extern "C"
