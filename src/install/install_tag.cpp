// Install tags: the next free one of a version, the one kept in the block,
// and the one under which a directory is registered.
#include <cstdio>
#include <string>

#include "core/control_block.hpp"
#include "install/install_registry.hpp"
#include "registry/registry_key.hpp"
#include "trace/trace.hpp"

using dpl::install::find_registration;
using dpl::install::names_install_dir;
using dpl::install::tag_of_value_name;
using dpl::trace::kInstall;

namespace {

constexpr std::size_t kKeyLimit = 300;

int32_t next_free_tag(int32_t major, int32_t minor) {
    char path[kKeyLimit];
    std::snprintf(path, sizeof path, "SOFTWARE\\Orvandex\\DBMS\\%d.%d", static_cast<int>(major),
                  static_cast<int>(minor));
    auto &os = dpl::platform::current();
    // One consistent view of the store for the whole enumeration.
    const dpl::platform::RegistryBatch snapshot;
    dpl::registry::OpenKey key;
    const uint32_t opened = key.open(dpl::platform::kLocalMachine, path, dpl::platform::RegView::Default);
    dpl::platform::RegKeyInfo info;
    if (opened != dpl::platform::err::kOk) {
        ht_log("Error: Cannot open Registry Key '%s'. RC = %d", path, static_cast<int>(opened));
        return 0;
    }
    ht_debug(5, kInstall, __LINE__, "Succeeded to open Key '%s'.", path);
    if (os.reg_query_info(key.get(), &info) == dpl::platform::err::kOk) {
        ht_debug(5, kInstall, __LINE__, "Key has %d values.", static_cast<int>(info.values));
    }
    int32_t highest = -1;
    int32_t tag = -1;
    std::string name;
    dpl::platform::RegValue data;  // not needed, but every backend fills one
    for (uint32_t index = 0; os.reg_enum_value(key.get(), index, &name, &data) == dpl::platform::err::kOk;
         ++index) {
        ht_debug(9, kInstall, __LINE__, "Value %d is '%s'.", static_cast<int>(index), name.c_str());
        if (!names_install_dir(name)) continue;
        tag = tag_of_value_name(name, tag);
        ht_debug(5, kInstall, __LINE__, "Tag = %d, Current Tag = %d", static_cast<int>(tag),
                 static_cast<int>(highest));
        if (tag > highest) {
            highest = tag;
            ht_debug(5, kInstall, __LINE__, "New Tag = %d.", static_cast<int>(highest));
        }
    }
    ht_debug(5, kInstall, __LINE__, "New Unique Tag = %d.", static_cast<int>(highest + 1));
    return highest + 1;
}

int32_t registered_tag(const char *install_dir) {
    const dpl::platform::RegistryBatch snapshot;
    DplRegSubKey *versions = nullptr;
    const int32_t listed = dplQueryRegSubKeys(DPL_HKEY_LOCAL_MACHINE, dpl::install::kServerRoot, &versions,
                                              DPL_REG_VIEW_DEFAULT);
    if (listed < 0) {
        dplFreeRegSubKeys(&versions);
        ht_log("dplRetrieveInstallTag: Unable to acquire subkeys: %d", static_cast<int>(listed));
        return listed;
    }
    int32_t result = listed;
    for (const DplRegSubKey *version = versions; version != nullptr; version = version->next) {
        const std::string path = std::string(dpl::install::kServerRoot) + "\\" + version->name;
        DplRegValue *values = nullptr;
        // A version key that cannot be read is skipped.
        if (dplQueryRegData(DPL_HKEY_LOCAL_MACHINE, path.c_str(), &values, DPL_REG_VIEW_DEFAULT) == DPL_OK) {
            if (const DplRegValue *found = find_registration(values, install_dir)) {
                result = tag_of_value_name(found->name, 0);
                dplFreeRegData(&values);
                break;
            }
        }
        dplFreeRegData(&values);
    }
    dplFreeRegSubKeys(&versions);
    return result;
}

}  // namespace

extern "C" {

int32_t dplUniqueInstallTag(int32_t major, int32_t minor) {
    return dpl::trace::traced_call(kInstall, __LINE__, "dplUniqueInstallTag",
                                   [&] { return next_free_tag(major, minor); });
}

int32_t dplGetUniqueInstallTag(InstallControlBlock *pointer) {
    const InstallControlBlock *block = dpl::core::as_block(pointer);
    return block == nullptr ? DPL_E_BAD_CONTEXT : block->unique_id;
}

int32_t dplRetrieveInstallTag(InstallControlBlock *pointer, const char *install_dir) {
    if (dpl::core::as_block(pointer) == nullptr) return DPL_E_BAD_CONTEXT;
    if (install_dir == nullptr || install_dir[0] == '\0') return DPL_E_NULL_ARGUMENT;
    return dpl::trace::traced_call(kInstall, __LINE__, "dplRetrieveInstallTag",
                                   [&] { return registered_tag(install_dir); });
}

}  // extern "C"
