// Listing a key's values and subkeys into C lists, reading one value's text,
// and copying a key tree.
#include <cstdio>
#include <string>

#include "core/c_text.hpp"
#include "registry/registry_key.hpp"

namespace {

using dpl::core::c_copy;
using dpl::core::c_record;
using dpl::platform::err::kNoMoreItems;
using dpl::platform::err::kOk;

template <class Record>
void free_list(Record **list) {
    if (list == nullptr) return;
    Record *record = *list;
    while (record != nullptr) {
        Record *next = record->next;
        std::free(record->name);
        if constexpr (requires { record->data; }) std::free(record->data);
        std::free(record);
        record = next;
    }
    *list = nullptr;
}

// Appends at the tail kept in `tail`.
template <class Record>
void append(Record **list, Record **tail, Record *record) {
    if (*tail == nullptr) {
        *list = record;
    } else {
        (*tail)->next = record;
    }
    *tail = record;
}

// The value's data as text up to its first zero byte; null when empty.
bool data_text(const std::string &data, char **out) {
    *out = nullptr;
    if (data.empty()) return true;
    const std::size_t zero = data.find('\0');
    *out = c_copy(std::string_view(data).substr(0, zero == std::string::npos ? data.size() : zero));
    return *out != nullptr;
}

// Opens the key to list (full access, the chosen view) and sizes it.
bool open_for_listing(DplHKEY root, const char *path, int32_t view, dpl::registry::OpenKey &key,
                      dpl::platform::RegKeyInfo &info) {
    return key.open(dpl::registry::to_key(root), path != nullptr ? path : "", dpl::registry::to_view(view)) ==
               kOk &&
           dpl::platform::current().reg_query_info(key.get(), &info) == kOk;
}

void print_to_console(const std::string &text) {
    auto &os = dpl::platform::current();
    os.write_file(os.std_handle(dpl::platform::StdStream::Output), text.data(), text.size());
}

int32_t copy_tree(dpl::platform::RegKey destination, dpl::platform::RegKey source) {
    auto &os = dpl::platform::current();
    for (uint32_t index = 0;; ++index) {
        std::string name;
        dpl::platform::RegValue value;
        const uint32_t rc = os.reg_enum_value(source, index, &name, &value);
        if (rc == kNoMoreItems) break;
        if (rc != kOk || os.reg_set_value(destination, name, value) != kOk) return DPL_E_FAIL;
    }
    for (uint32_t index = 0;; ++index) {
        std::string name;
        const uint32_t rc = os.reg_enum_key(source, index, &name);
        if (rc == kNoMoreItems) break;
        if (rc != kOk) return DPL_E_FAIL;
        dpl::registry::OpenKey from;
        if (from.open(source, name, dpl::platform::RegView::Default) != kOk) return DPL_E_FAIL;
        dpl::registry::OpenKey to;
        if (to.create(destination, name, dpl::platform::RegView::Default) != kOk) return DPL_E_FAIL;
        const int32_t nested = copy_tree(to.get(), from.get());
        if (nested != 0) return nested;
    }
    return DPL_OK;
}

}  // namespace

extern "C" {

void dplFreeRegData(DplRegValue **list) {
    free_list(list);
}

void dplFreeRegSubKeys(DplRegSubKey **list) {
    free_list(list);
}

int32_t dplQueryRegData(DplHKEY root, const char *path, DplRegValue **list, int32_t view) {
    if (list == nullptr) return DPL_E_NULL_ARGUMENT;
    free_list(list);
    auto &os = dpl::platform::current();
    dpl::registry::OpenKey key;
    dpl::platform::RegKeyInfo info;
    if (!open_for_listing(root, path, view, key, info)) return DPL_E_REG_READ;
    if (info.values == 0) return DPL_E_REG_NO_VALUES;
    DplRegValue *tail = nullptr;
    for (uint32_t index = 0;; ++index) {
        std::string name;
        dpl::platform::RegValue value;
        const uint32_t rc = os.reg_enum_value(key.get(), index, &name, &value);
        if (rc == kNoMoreItems) break;
        if (rc != kOk) return DPL_E_REG_READ;
        auto *record = c_record<DplRegValue>();
        if (record == nullptr) return DPL_E_NOMEM;
        record->index = index;
        record->type = value.type;
        record->name = c_copy(name);
        if (record->name == nullptr || !data_text(value.data, &record->data)) {
            std::free(record->name);
            std::free(record);
            return DPL_E_NOMEM;
        }
        append(list, &tail, record);
    }
    return DPL_OK;
}

int32_t dplQueryRegSubKeys(DplHKEY root, const char *path, DplRegSubKey **list, int32_t view) {
    if (list == nullptr) return DPL_E_NULL_ARGUMENT;
    free_list(list);
    auto &os = dpl::platform::current();
    dpl::registry::OpenKey key;
    dpl::platform::RegKeyInfo info;
    if (!open_for_listing(root, path, view, key, info)) return DPL_E_REG_READ;
    if (info.subkeys == 0) return DPL_E_REG_NO_SUBKEYS;
    DplRegSubKey *tail = nullptr;
    for (uint32_t index = 0;; ++index) {
        std::string name;
        const uint32_t rc = os.reg_enum_key(key.get(), index, &name);
        if (rc == kNoMoreItems) break;
        if (rc != kOk) return DPL_E_REG_READ;
        auto *record = c_record<DplRegSubKey>();
        if (record == nullptr) return DPL_E_NOMEM;
        record->index = index;
        record->name = c_copy(name);
        if (record->name == nullptr) {
            std::free(record);
            return DPL_E_NOMEM;
        }
        append(list, &tail, record);
    }
    return DPL_OK;
}

char *dplGetRegDataFromName(int32_t root_selector, const char *path, const char *value_name, int32_t view) {
    static const DplHKEY kRoots[] = {DPL_HKEY_CLASSES_ROOT,  DPL_HKEY_CURRENT_CONFIG,   DPL_HKEY_CURRENT_USER,
                                     DPL_HKEY_LOCAL_MACHINE, DPL_HKEY_PERFORMANCE_DATA, DPL_HKEY_USERS};
    if (root_selector < 0 || root_selector > DPL_ROOT_USERS) return nullptr;
    DplRegValue *values = nullptr;
    if (dplQueryRegData(kRoots[root_selector], path, &values, view) != DPL_OK) {
        dplFreeRegData(&values);
        return nullptr;
    }
    const DplRegValue *found = values;
    while (found != nullptr && (value_name == nullptr || std::strcmp(found->name, value_name) != 0)) {
        found = found->next;
    }
    char *result = nullptr;
    try {
        if (found == nullptr) {
            print_to_console(std::string("Data could not be acqiuired for ") +
                             (value_name != nullptr ? value_name : "(null)"));
        } else {
            result = c_copy(found->data != nullptr ? found->data : "");
            if (result == nullptr) print_to_console("dplGetRegDataFromName: Memory allocation failure");
        }
    } catch (const std::bad_alloc &) {
        result = nullptr;
    }
    dplFreeRegData(&values);
    return result;
}

int32_t dplCopyRegTree(DplHKEY destination, DplHKEY source) {
    try {
        dpl::platform::RegistryBatch batch;
        const int32_t rc = copy_tree(dpl::registry::to_key(destination), dpl::registry::to_key(source));
        const uint32_t written = batch.end();
        return rc != DPL_OK ? rc : (written != kOk ? DPL_E_FAIL : DPL_OK);
    } catch (const std::bad_alloc &) {
        return DPL_E_NOMEM;
    }
}

}  // extern "C"
