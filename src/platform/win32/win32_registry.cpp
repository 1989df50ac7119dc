// Win32 backend: the registry. Windows already has the semantics and the
// error codes the interface promises, so each call is a thin translation and
// returns the LSTATUS unchanged.
#include <algorithm>
#include <vector>

#include "platform/win32/win32_platform.hpp"

namespace dpl::platform::win32 {
namespace {

// Enough rounds of growth to pass any buffer size the registry can report.
constexpr int kMaxGrowth = 16;

REGSAM view_flag(RegView view) {
    switch (view) {
        case RegView::Bits32:
            return KEY_WOW64_32KEY;
        case RegView::Bits64:
            return KEY_WOW64_64KEY;
        case RegView::Default:
            break;
    }
    return 0;
}

uint32_t status(LSTATUS code) {
    return static_cast<uint32_t>(code);
}

}  // namespace

uint32_t Win32Platform::reg_connect(const std::string &machine, RegKey root, RegKey *out) {
    HKEY key = nullptr;
    const LSTATUS rc = RegConnectRegistryA(machine.empty() ? nullptr : machine.c_str(), to_hkey(root), &key);
    *out = rc == ERROR_SUCCESS ? from_hkey(key) : kNoKey;
    return status(rc);
}

uint32_t Win32Platform::reg_open_key(RegKey parent, const std::string &path, RegView view, RegKey *out) {
    HKEY key = nullptr;
    const LSTATUS rc =
        RegOpenKeyExA(to_hkey(parent), path.c_str(), 0, KEY_ALL_ACCESS | view_flag(view), &key);
    *out = rc == ERROR_SUCCESS ? from_hkey(key) : kNoKey;
    return status(rc);
}

uint32_t Win32Platform::reg_create_key(RegKey parent, const std::string &path, RegView view, RegKey *out) {
    HKEY key = nullptr;
    const LSTATUS rc = RegCreateKeyExA(to_hkey(parent), path.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                                       KEY_ALL_ACCESS | view_flag(view), nullptr, &key, nullptr);
    *out = rc == ERROR_SUCCESS ? from_hkey(key) : kNoKey;
    return status(rc);
}

uint32_t Win32Platform::reg_close_key(RegKey key) {
    return status(RegCloseKey(to_hkey(key)));
}

uint32_t Win32Platform::reg_query_info(RegKey key, RegKeyInfo *info) {
    DWORD subkeys = 0;
    DWORD max_subkey_len = 0;
    DWORD values = 0;
    DWORD max_value_name_len = 0;
    DWORD max_value_len = 0;
    const LSTATUS rc =
        RegQueryInfoKeyA(to_hkey(key), nullptr, nullptr, nullptr, &subkeys, &max_subkey_len, nullptr, &values,
                         &max_value_name_len, &max_value_len, nullptr, nullptr);
    if (rc == ERROR_SUCCESS) {
        info->subkeys = subkeys;
        info->max_subkey_len = max_subkey_len;
        info->values = values;
        info->max_value_name_len = max_value_name_len;
        info->max_value_len = max_value_len;
    }
    return status(rc);
}

uint32_t Win32Platform::reg_enum_key(RegKey key, uint32_t index, std::string *name) {
    // Key names are limited to 255 characters.
    char buffer[256];
    DWORD length = sizeof buffer;
    const LSTATUS rc =
        RegEnumKeyExA(to_hkey(key), index, buffer, &length, nullptr, nullptr, nullptr, nullptr);
    if (rc == ERROR_SUCCESS) name->assign(buffer, length);
    return status(rc);
}

uint32_t Win32Platform::reg_enum_value(RegKey key, uint32_t index, std::string *name, RegValue *value) {
    // The key's own maxima are a good first guess; the narrow names and data
    // may still differ in length from the stored wide ones, hence the growth.
    RegKeyInfo info;
    const uint32_t info_rc = reg_query_info(key, &info);
    if (info_rc != ERROR_SUCCESS) return info_rc;
    std::vector<char> name_buffer(std::max<std::size_t>(info.max_value_name_len + 1, 256));
    std::vector<BYTE> data(std::max<std::size_t>(info.max_value_len, 256));

    LSTATUS rc = ERROR_MORE_DATA;
    for (int round = 0; round < kMaxGrowth && rc == ERROR_MORE_DATA; ++round) {
        DWORD name_length = static_cast<DWORD>(name_buffer.size());
        DWORD data_length = static_cast<DWORD>(data.size());
        DWORD type = REG_NONE;
        rc = RegEnumValueA(to_hkey(key), index, name_buffer.data(), &name_length, nullptr, &type, data.data(),
                           &data_length);
        if (rc == ERROR_SUCCESS) {
            name->assign(name_buffer.data(), name_length);
            value->type = type;
            value->data.assign(reinterpret_cast<const char *>(data.data()), data_length);
        } else if (rc == ERROR_MORE_DATA) {
            // Either buffer may be the short one; only the data size is reported.
            name_buffer.resize(name_buffer.size() * 2);
            data.resize(std::max<std::size_t>(data_length, data.size() * 2));
        }
    }
    return status(rc);
}

uint32_t Win32Platform::reg_query_value(RegKey key, const std::string &name, RegValue *value) {
    std::vector<BYTE> data(256);
    LSTATUS rc = ERROR_MORE_DATA;
    for (int round = 0; round < kMaxGrowth && rc == ERROR_MORE_DATA; ++round) {
        DWORD length = static_cast<DWORD>(data.size());
        DWORD type = REG_NONE;
        rc = RegQueryValueExA(to_hkey(key), name.c_str(), nullptr, &type, data.data(), &length);
        if (rc == ERROR_SUCCESS) {
            value->type = type;
            value->data.assign(reinterpret_cast<const char *>(data.data()), length);
        } else if (rc == ERROR_MORE_DATA) {
            data.resize(std::max<std::size_t>(length, data.size() * 2));
        }
    }
    return status(rc);
}

uint32_t Win32Platform::reg_set_value(RegKey key, const std::string &name, const RegValue &value) {
    // Strings already carry their terminating zero(s); the bytes go as they are.
    return status(RegSetValueExA(to_hkey(key), name.c_str(), 0, value.type,
                                 reinterpret_cast<const BYTE *>(value.data.data()),
                                 static_cast<DWORD>(value.data.size())));
}

uint32_t Win32Platform::reg_delete_value(RegKey key, const std::string &name) {
    return status(RegDeleteValueA(to_hkey(key), name.c_str()));
}

uint32_t Win32Platform::reg_delete_tree(RegKey parent, const std::string &subkey, RegView view) {
    // RegDeleteTreeA has no view parameter, so the key is opened in the wanted
    // view first; its contents go, then the key itself through the parent.
    HKEY key = nullptr;
    LSTATUS rc = RegOpenKeyExA(to_hkey(parent), subkey.c_str(), 0, KEY_ALL_ACCESS | view_flag(view), &key);
    if (rc != ERROR_SUCCESS) return status(rc);
    rc = RegDeleteTreeA(key, nullptr);
    RegCloseKey(key);
    if (rc != ERROR_SUCCESS || subkey.empty()) return status(rc);
    return status(RegDeleteKeyExA(to_hkey(parent), subkey.c_str(), view_flag(view), 0));
}

// The real registry commits every change by itself; there is nothing to group.
void Win32Platform::reg_begin_batch() {}

uint32_t Win32Platform::reg_end_batch() {
    return err::kOk;
}

}  // namespace dpl::platform::win32
