// Finding the uninstaller of an installation among the system's uninstall
// records (64-bit view).
#include <string>

#include "install/install_registry.hpp"
#include "upgrade/upgrade_keys.hpp"

namespace dpl::upgrade {
namespace {

// The text of the named value, when it is one.
const DplRegValue *text_value(const DplRegValue *values, const char *name) {
    for (; values != nullptr; values = values->next) {
        if (values->name != nullptr && std::string(values->name) == name) {
            return is_text_value(values->type) ? values : nullptr;
        }
    }
    return nullptr;
}

bool describes(const DplRegValue *values, const std::string &directory, const std::string &display) {
    const DplRegValue *location = text_value(values, "InstallLocation");
    if (location == nullptr || location->data == nullptr ||
        !install::same_directory(location->data, directory)) {
        return false;
    }
    const DplRegValue *name = text_value(values, "DisplayName");
    return name != nullptr && name->data != nullptr &&
           std::string(name->data).find(display) != std::string::npos;
}

}  // namespace

std::optional<std::string> uninstall_command(const std::string &directory, const std::string &display) {
    DplRegSubKey *records = nullptr;
    if (dplQueryRegSubKeys(DPL_HKEY_LOCAL_MACHINE, kUninstallRoot, &records, DPL_REG_VIEW_64) != DPL_OK) {
        dplFreeRegSubKeys(&records);
        ht_log("ConstructUninstCmd: Unable to get uninstall information");
        return std::nullopt;
    }
    std::optional<std::string> command;
    for (const DplRegSubKey *record = records; record != nullptr; record = record->next) {
        const std::string path = std::string(kUninstallRoot) + "\\" + record->name;
        DplRegValue *values = nullptr;
        const bool read =
            dplQueryRegData(DPL_HKEY_LOCAL_MACHINE, path.c_str(), &values, DPL_REG_VIEW_64) == DPL_OK;
        if (read && describes(values, directory, display)) {
            const DplRegValue *uninstall = text_value(values, "UninstallString");
            if (uninstall != nullptr && uninstall->data != nullptr) {
                command = std::string(uninstall->data);
            } else {
                ht_log("ConstructUninstCmd: Unable to acquire data from registry");
            }
            dplFreeRegData(&values);
            break;
        }
        dplFreeRegData(&values);
    }
    dplFreeRegSubKeys(&records);
    return command;
}

}  // namespace dpl::upgrade
