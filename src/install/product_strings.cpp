// The fixed product names and install strings installers show and store.
#include "dpl/dpl.h"
#include "trace/trace.hpp"

using dpl::trace::kInstall;

namespace {

constexpr const char *kServerName = "Talix Database Server";
constexpr const char *kBundleName = "Talix Software Bundle";
constexpr const char *kConnectName = "Talix Connect";

constexpr const char *kProductNames[] = {
    kServerName,  kBundleName, "Talix Client-SDK", "Talix Client SDK", kConnectName,
    kConnectName, "Talix",     kServerName,        kBundleName,        "Talix Warehouse Accelerator",
};

constexpr const char *kInstallStrings[] = {"ol_orvandex1210", "TALIX", "Quenlath"};

}  // namespace

extern "C" {

const char *dplGetProductName(int32_t product_type) {
    htenter(1, kInstall, __LINE__, "dplGetProductName");
    ht_debug(2, kInstall, __LINE__, "productType = %d.", static_cast<int>(product_type));
    constexpr int32_t kCount = sizeof kProductNames / sizeof kProductNames[0];
    if (product_type < 0 || product_type >= kCount) {
        ht_log("Invalid Product Name Requested.");
        htexit(1, kInstall, __LINE__, DPL_E_PRODUCT_STRING);
        return nullptr;
    }
    const char *name = kProductNames[product_type];
    ht_debug(2, kInstall, __LINE__, "Product Name = '%s'.", name);
    htexit(1, kInstall, __LINE__, DPL_OK);
    return name;
}

const char *dplGetInstallString(int32_t string_id) {
    htenter(1, kInstall, __LINE__, "dplGetInstallString");
    ht_debug(2, kInstall, __LINE__, "stringID = %d.", static_cast<int>(string_id));
    constexpr int32_t kCount = sizeof kInstallStrings / sizeof kInstallStrings[0];
    if (string_id < 0 || string_id >= kCount) {
        ht_log("Invalid Install String Requested.");
        htexit(1, kInstall, __LINE__, DPL_E_PRODUCT_STRING);
        return nullptr;
    }
    const char *value = kInstallStrings[string_id];
    ht_debug(2, kInstall, __LINE__, "Install String Value = '%s'.", value);
    htexit(1, kInstall, __LINE__, DPL_OK);
    return value;
}

}  // extern "C"
