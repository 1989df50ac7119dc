// Uninstalling an older installation before a newer one replaces it: its
// keys are backed up, then its own uninstaller runs silently, or, for the
// oldest versions, its registry keys and program group are removed here.
#include <memory>
#include <string>

#include "core/control_block.hpp"
#include "platform/platform.hpp"
#include "trace/trace.hpp"
#include "upgrade/upgrade_keys.hpp"

using dpl::trace::kInstall;

namespace {

constexpr int32_t kServer = 0;
constexpr int32_t kLastOtherProduct = 3;

struct FreeText {
    void operator()(char *text) const { dplFree(text); }
};

bool contains(const std::string &text, const char *part) {
    return text.find(part) != std::string::npos;
}

// The silent-uninstall arguments of the versions whose uninstaller runs:
// the answer file in the setup directory. Built from the directory alone.
std::string silent_arguments(const char *answer_file, const char *setup_dir) {
    return std::string("-s -f1\"") + setup_dir + "\\" + answer_file + "\"";
}

int32_t remove_oldest(InstallControlBlock *block, const char *install_dir, const DplVersionInfo &version) {
    const int32_t backed_up = dpl::upgrade::backup_security_key(block, install_dir);
    if (backed_up != DPL_OK) {
        ht_log("dplUpgradeUninstallProd: Unable to backup Security key");
        return backed_up;
    }
    if (dplRemoveNQR10OlderShortcutGroup(block, install_dir, version.major, version.minor) == DPL_E_FAIL) {
        ht_log("dplUpgradeUninstallProd: Unable to remove the old shortct group.");
    }
    return dplRemoveNQR10OlderRegKeys(block, install_dir, version.major, version.minor);
}

int32_t run_uninstaller(InstallControlBlock *block, const char *install_dir, const std::string &arguments,
                        const std::string &display) {
    const std::optional<std::string> uninstaller = dpl::upgrade::uninstall_command(install_dir, display);
    if (!uninstaller) return DPL_E_NO_UNINSTALL;
    const std::string command = *uninstaller + " " + arguments;
    ht_log("Uninstall command: %s", command.c_str());
    const int32_t security = dpl::upgrade::backup_security_key(block, install_dir);
    if (security != DPL_OK) {
        ht_log("dplUpgradeUninstallProd: Unable to backup Security key");
        return security;
    }
    const int32_t online = dpl::upgrade::backup_online_key();
    if (online != DPL_OK) {
        ht_log("dplUpgradeUninstallProd: Unable to backup online key");
        return online;
    }
    uint32_t status = 0;
    dpl::platform::SysError error;
    if (dpl::platform::current().run_command(command, &status, &error)) {
        ht_log("Uninstall command exit status: %u", static_cast<unsigned>(status));
    } else {
        ht_log("Uninstall command could not be started: error %u", static_cast<unsigned>(error.native));
    }
    return DPL_OK;
}

int32_t upgrade(InstallControlBlock *block, int32_t kind, const char *install_dir, const char *setup_dir) {
    char *text = nullptr;
    const int32_t found = dplGetInstalledVersion(block, kind, install_dir, &text);
    const std::unique_ptr<char, FreeText> installed(text);
    if (found != DPL_OK) {
        ht_log("Unable to acquire installed version of product");
        return found;
    }
    if (kind > kServer && kind <= kLastOtherProduct) return DPL_OK;
    if (kind != kServer) return DPL_E_PRODUCT_KIND;
    DplVersionInfo version{};
    dplExtractVersInfo(&version, installed.get());
    const std::string display = dpl::upgrade::display_text(version.major, version.minor);
    const char *answer_file = nullptr;
    if (contains(display, "11.10")) {
        answer_file = "1110uninst.ini";
    } else if (contains(display, "11.50")) {
        answer_file = "1150uninst.ini";
    } else if (contains(display, "10.0") || contains(display, "9.40") || contains(display, "7.31")) {
        return remove_oldest(block, install_dir, version);
    } else {
        return DPL_OK;
    }
    if (setup_dir == nullptr) return DPL_E_NULL_ARGUMENT;
    return run_uninstaller(block, install_dir, silent_arguments(answer_file, setup_dir), display);
}

}  // namespace

extern "C" int32_t dplUpgradeUninstallProd(InstallControlBlock *block, int32_t product_kind,
                                           const char *install_dir, const char *setup_dir) {
    if (dpl::core::as_block(block) == nullptr) return DPL_E_BAD_CONTEXT;
    return dpl::trace::traced_call(kInstall, __LINE__, "dplUpgradeUninstallProd",
                                   [&] { return upgrade(block, product_kind, install_dir, setup_dir); });
}
