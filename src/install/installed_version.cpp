// The version installed in a directory: from the product's version marker
// file, or for the server from the version key that registers the directory.
#include <array>
#include <optional>
#include <string>

#include "core/c_text.hpp"
#include "core/control_block.hpp"
#include "core/text_file.hpp"
#include "install/install_registry.hpp"
#include "paths/paths.hpp"
#include "platform/platform.hpp"
#include "trace/trace.hpp"

using dpl::trace::kInstall;

namespace {

constexpr int32_t kServerProduct = 0;
constexpr int32_t kClientProduct = 1;
constexpr int32_t kConnectProduct = 2;

// The marker files a product kind may leave in its etc directory, most
// recent form first.
std::vector<const char *> marker_names(int32_t kind) {
    switch (kind) {
        case kServerProduct:
            return {"NQX-cr", "NQR2000-cr", "NQR-cr"};
        case kClientProduct:
            return {"ClientSDK-cr"};
        case kConnectProduct:
            return {"Connect-cr"};
        default:
            return {};
    }
}

// The first marker of the product that exists with content, read.
std::optional<std::string> version_from_marker(int32_t kind, const std::string &directory) {
    const char separator = dpl::platform::current().path_separator();
    for (const char *name : marker_names(kind)) {
        const std::string path = directory + separator + "etc" + separator + name;
        if (dpl::paths::classify(path) != DPL_E_PATH_FILE) continue;
        std::string content;
        if (!dpl::core::read_text_file(path, &content, nullptr)) return std::nullopt;
        return dpl::install::read_version_marker(content);
    }
    return std::nullopt;
}

// The name of the server version key that registers `directory`; -993 when
// the versions cannot be listed.
int32_t version_from_registry(const std::string &directory, std::optional<std::string> *version) {
    DplRegSubKey *versions = nullptr;
    if (dplQueryRegSubKeys(DPL_HKEY_LOCAL_MACHINE, dpl::install::kServerRoot, &versions,
                           DPL_REG_VIEW_DEFAULT) != DPL_OK) {
        dplFreeRegSubKeys(&versions);
        ht_log("dplGetInstalledVersion: Invalid installation in %s", directory.c_str());
        return DPL_E_VERSION_UNKNOWN;
    }
    for (const DplRegSubKey *key = versions; key != nullptr && !version->has_value(); key = key->next) {
        const std::string path = std::string(dpl::install::kServerRoot) + "\\" + key->name;
        DplRegValue *values = nullptr;
        if (dplQueryRegData(DPL_HKEY_LOCAL_MACHINE, path.c_str(), &values, DPL_REG_VIEW_DEFAULT) == DPL_OK &&
            dpl::install::find_registration(values, directory) != nullptr) {
            *version = std::string(key->name);
            ht_log("Installed Version: %s", key->name);
        }
        dplFreeRegData(&values);
    }
    dplFreeRegSubKeys(&versions);
    return DPL_OK;
}

int32_t installed_version(int32_t kind, const std::string &directory, char **version_out) {
    if (kind != kServerProduct && kind != kClientProduct && kind != kConnectProduct) {
        ht_log("Unable to acquire installed version");
        return DPL_E_VERSION_UNKNOWN;
    }
    std::optional<std::string> version = version_from_marker(kind, directory);
    if (version) {
        ht_log("Currently Installed Version: %s", version->c_str());
    } else if (kind == kServerProduct) {
        const int32_t rc = version_from_registry(directory, &version);
        if (rc != DPL_OK) return rc;
    }
    if (!version) {
        ht_log("Unable to acquire installed version");
        return DPL_E_VERSION_UNKNOWN;
    }
    *version_out = dpl::core::c_copy(*version);
    return *version_out != nullptr ? DPL_OK : DPL_E_NOMEM;
}

}  // namespace

extern "C" {

int32_t dplGetInstalledVersion(InstallControlBlock *pointer, int32_t product_kind, const char *install_dir,
                               char **version_out) {
    if (dpl::core::as_block(pointer) == nullptr) return DPL_E_BAD_CONTEXT;
    if (version_out == nullptr || install_dir == nullptr || install_dir[0] == '\0')
        return DPL_E_NULL_ARGUMENT;
    *version_out = nullptr;
    return dpl::trace::traced_call(kInstall, __LINE__, "dplGetInstalledVersion",
                                   [&] { return installed_version(product_kind, install_dir, version_out); });
}

}  // extern "C"
