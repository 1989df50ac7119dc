// The server instances registered on the machine: every subkey of the
// Online key, whichever installation it belongs to.
#include <cstdlib>
#include <string>
#include <vector>

#include "core/c_text.hpp"
#include "dpl/dpl.h"
#include "registry/registry_key.hpp"
#include "trace/trace.hpp"

using dpl::platform::RegView;
using dpl::platform::err::kOk;

namespace {

constexpr const char *kOnlineKey = "SOFTWARE\\Orvandex\\Online";
// The name buffer of the enumeration holds 259 characters and the end.
constexpr std::size_t kNameLimit = 260;

bool is_text(uint32_t type) {
    return type == dpl::platform::regtype::kSz || type == dpl::platform::regtype::kExpandSz;
}

// Reads what an instance key records about its installation. Every failure
// is logged; none keeps the instance off the list.
void inspect_instance(dpl::platform::RegKey online, const std::string &name) {
    dpl::registry::OpenKey instance;
    if (instance.open(online, name, RegView::Bits64) != kOk) {
        ht_log("Unable to open registry key: %s", name.c_str());
    }
    dpl::registry::OpenKey environment;
    if (environment.open(instance.get(), "Environment", RegView::Bits64) != kOk) {
        ht_log("\nUnable to open Environment registry key");
    }
    dpl::platform::RegValue directory;
    if (dpl::platform::current().reg_query_value(environment.get(), "ORVANDEXDIR", &directory) != kOk ||
        !is_text(directory.type)) {
        ht_log("Unable to get value of ORVANDEXDIR from %s", name.c_str());
    }
}

// The names collected, as a C array; null when there are none.
char **c_names(const std::vector<std::string> &names) {
    if (names.empty()) return nullptr;
    auto **array = static_cast<char **>(std::calloc(names.size(), sizeof(char *)));
    if (array == nullptr) {
        ht_log("Memory allocation failure");
        return nullptr;
    }
    for (std::size_t i = 0; i < names.size(); ++i) {
        array[i] = dpl::core::c_copy(names[i]);
        if (array[i] == nullptr) {
            ht_log("Memory allocation failure");
            dplFreeNameList(array, static_cast<int32_t>(i));
            return nullptr;
        }
    }
    return array;
}

char **instance_names(int32_t *count) {
    ht_log("Getting NQR service names...");
    auto &os = dpl::platform::current();
    dpl::registry::OpenKey online;
    if (online.open(dpl::platform::kLocalMachine, kOnlineKey, RegView::Bits64) != kOk) {
        ht_log("Error: Cannot open registry key: SOFTWARE\\Orvandex\\Online registry key");
    }
    dpl::platform::RegKeyInfo info;
    if (os.reg_query_info(online.get(), &info) != kOk) return nullptr;
    std::vector<std::string> names;
    names.reserve(info.subkeys);
    std::string name;
    for (uint32_t index = 0; index < info.subkeys; ++index) {
        if (os.reg_enum_key(online.get(), index, &name) != kOk || name.size() >= kNameLimit) continue;
        inspect_instance(online.get(), name);
        names.push_back(name);
    }
    char **array = c_names(names);
    if (array != nullptr) *count = static_cast<int32_t>(names.size());
    return array;
}

}  // namespace

extern "C" char **get_instance_names(InstallControlBlock *, int32_t *count_out) {
    int32_t ignored = 0;
    int32_t &count = count_out != nullptr ? *count_out : ignored;
    count = 0;
    htenter(1, dpl::trace::kInstall, __LINE__, "get_instance_names");
    char **names = nullptr;
    try {
        names = instance_names(&count);
    } catch (const std::bad_alloc &) {
        ht_log("Memory allocation failure");
        names = nullptr;
    }
    htexit(1, dpl::trace::kInstall, __LINE__, names != nullptr ? DPL_OK : DPL_E_FAIL);
    return names;
}
