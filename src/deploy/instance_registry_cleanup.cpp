// Removing an instance's traces from the machine registry: its connection
// keys (and the services they used), its key under Online, and the
// installation values that point at its directory; keys left empty go too.
#include <cctype>
#include <string>

#include "core/control_block.hpp"
#include "platform/platform.hpp"
#include "registry/registry_key.hpp"
#include "trace/trace.hpp"

using dpl::platform::RegKey;
using dpl::platform::RegView;
using dpl::platform::err::kOk;
using dpl::registry::OpenKey;
using dpl::trace::kInstall;

namespace {

constexpr RegView kView = RegView::Bits64;
constexpr const char *kSoftware = "SOFTWARE";
constexpr const char *kProduct = "SOFTWARE\\Orvandex";
constexpr const char *kDbms = "SOFTWARE\\Orvandex\\DBMS";
constexpr const char *kOnline = "SOFTWARE\\Orvandex\\Online";
constexpr const char *kSqlhosts = "SOFTWARE\\Orvandex\\SQLHOSTS";
// Key paths, value names and service names live in 300-byte buffers.
constexpr std::size_t kTextLimit = 299;
constexpr std::size_t kInstallDirLength = 11;  // "Install_Dir"

std::string limited(std::string text) {
    if (text.size() > kTextLimit) text.resize(kTextLimit);
    return text;
}

uint32_t subkey_count(RegKey key) {
    dpl::platform::RegKeyInfo info;
    if (key == dpl::platform::kNoKey || dpl::platform::current().reg_query_info(key, &info) != kOk) return 0;
    return info.subkeys;
}

bool equal_ignoring_case(const std::string &a, const std::string &b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        const auto x = static_cast<unsigned char>(a[i]);
        const auto y = static_cast<unsigned char>(b[i]);
        if (std::tolower(x) != std::tolower(y)) return false;
    }
    return true;
}

// A string value's text up to its first zero byte.
std::string value_text(const dpl::platform::RegValue &value) {
    const std::size_t zero = value.data.find('\0');
    return value.data.substr(0, zero);
}

// An installation directory as read, translated like a path the caller gave.
std::string translated(InstallControlBlock *block, const std::string &path) {
    char *xlated = dplXlateFilePath(block, path.c_str());
    if (xlated == nullptr) return path;
    std::string result(xlated);
    dplFree(xlated);
    return result;
}

// The connection keys of the server name and its aliases, and the service
// entries they used.
int32_t remove_connections(InstallControlBlock *block, const char *server_name, RegKey sqlhosts) {
    auto &os = dpl::platform::current();
    int32_t rc = DPL_OK;
    int32_t count = 0;
    char **names = parseAliases(block, server_name, nullptr, &count);
    for (int32_t i = 0; names != nullptr && i < count; ++i) {
        const std::string name = limited(names[i] != nullptr ? names[i] : "");
        const std::string path = limited(std::string(kSqlhosts) + "\\" + name);
        ht_log("Opening key for alias (%s) = (%s)\n", name.c_str(), path.c_str());
        OpenKey alias;
        if (alias.open(dpl::platform::kLocalMachine, path, kView) == kOk) {
            ht_log("Opened key for alias (%s) = (%s)\n", name.c_str(), path.c_str());
            dpl::platform::RegValue service;
            if (os.reg_query_value(alias.get(), "SERVICE", &service) == kOk) {
                const std::string service_name = limited(value_text(service));
                rc = dplServicesRemoveService(block, 0, service_name.c_str(), "tcp");
                if (rc != DPL_OK) {
                    ht_log("Failed to remove service (%s) from services file\n", service_name.c_str());
                } else {
                    ht_log("Removed (%s) from services\n", service_name.c_str());
                }
            } else {
                ht_log("Failed to get service name for (%s)\n", name.c_str());
            }
        } else {
            ht_log("Cannot open alias name key (%s)\n", path.c_str());
        }
        alias.close();
        if (os.reg_delete_tree(sqlhosts, name, kView) != kOk) {
            ht_log("Cannot delete SQLHOSTS server key: %s", name.c_str());
        }
    }
    dplFreeNameList(names, count);
    return rc;
}

// The values of one version key that record the instance's directory, the
// tag's other values and its Security key; the version key itself when
// nothing is left in it.
void remove_installation_values(InstallControlBlock *block, RegKey dbms, uint32_t index,
                                const std::string &install_dir) {
    auto &os = dpl::platform::current();
    std::string version;
    os.reg_enum_key(dbms, index, &version);
    version = limited(version);
    OpenKey key;
    if (key.open(dbms, version, kView) != kOk) ht_log("Cannot open DBMS subkey: %s", version.c_str());
    dpl::platform::RegKeyInfo info;
    if (key.get() == dpl::platform::kNoKey || os.reg_query_info(key.get(), &info) != kOk) info = {};
    uint32_t remaining = info.subkeys;
    for (uint32_t value_index = 0; value_index < info.values; ++value_index) {
        std::string name;
        dpl::platform::RegValue value;
        if (os.reg_enum_value(key.get(), value_index, &name, &value) != kOk) continue;
        if (!equal_ignoring_case(translated(block, value_text(value)), install_dir)) continue;
        if (os.reg_delete_value(key.get(), name) != kOk)
            ht_log("Cannot delete registry value: %s", name.c_str());
        const std::string tag =
            name.size() > kInstallDirLength ? name.substr(kInstallDirLength) : std::string();
        for (const char *prefix : {"Version", "InstallType"}) {
            const std::string other = limited(prefix + tag);
            if (os.reg_delete_value(key.get(), other) != kOk) {
                ht_log("Cannot delete registry value: %s", other.c_str());
            }
        }
        const std::string security = limited("Security" + tag);
        if (os.reg_delete_tree(key.get(), security, kView) != kOk) {
            ht_log("Cannot delete registry key: %s", security.c_str());
        } else if (remaining > 0) {
            --remaining;
        }
    }
    key.close();
    if (remaining == 0) os.reg_delete_tree(dbms, version, kView);
}

// Deletes `name` under `parent` when `key` has no subkeys left.
void delete_when_empty(RegKey parent, RegKey key, const char *name, const char *message_path) {
    if (key == dpl::platform::kNoKey || subkey_count(key) != 0) return;
    if (dpl::platform::current().reg_delete_tree(parent, name, kView) != kOk && message_path != nullptr) {
        ht_log("Cannot delete key: %s", message_path);
    }
}

int32_t remove_instance_registry(InstallControlBlock *block, const char *server_name) {
    const char *install_dir = nullptr;
    const int32_t found = dplGetEnvironment(block, "ORVANDEXDIR", &install_dir);
    if (found != DPL_OK) {
        ht_log("Failed to retrieve ORVANDEXDIR\n");
        return found;
    }
    ht_log("Removing registry entries for (%s)...", server_name);
    // One write of the machine's registry for the whole walk.
    dpl::platform::RegistryBatch batch;
    const RegKey machine = dpl::platform::kLocalMachine;
    OpenKey software, product, dbms, online, sqlhosts;
    software.open(machine, kSoftware, kView);
    product.open(machine, kProduct, kView);
    dbms.open(machine, kDbms, kView);
    online.open(machine, kOnline, kView);
    sqlhosts.open(machine, kSqlhosts, kView);

    int32_t rc = DPL_OK;
    if (online.get() != dpl::platform::kNoKey) {
        // Without SQLHOSTS (an earlier removal emptied it) there are no
        // connection keys to walk, but the server's own key still goes.
        if (sqlhosts.get() != dpl::platform::kNoKey)
            rc = remove_connections(block, server_name, sqlhosts.get());
        if (dpl::platform::current().reg_delete_tree(online.get(), limited(server_name), kView) != kOk) {
            ht_log("Cannot delete Online server key: %s", server_name);
        }
    }
    delete_when_empty(product.get(), online.get(), "Online", kOnline);
    delete_when_empty(product.get(), sqlhosts.get(), "SQLHOSTS", kSqlhosts);

    if (dbms.get() != dpl::platform::kNoKey) {
        // Taken once: a key deleted during the walk shifts the later ones
        // down, and the walk does not step back.
        const uint32_t versions = subkey_count(dbms.get());
        const std::string directory(install_dir);
        for (uint32_t index = 0; index < versions; ++index) {
            remove_installation_values(block, dbms.get(), index, directory);
        }
    }
    delete_when_empty(product.get(), dbms.get(), "DBMS", nullptr);
    delete_when_empty(software.get(), product.get(), "Orvandex", kProduct);
    return rc;
}

}  // namespace

extern "C" {

int32_t dplRemoveInstanceRegistry(InstallControlBlock *pointer, const char *server_name) {
    InstallControlBlock *block = dpl::core::as_block(pointer);
    if (block == nullptr) return DPL_E_BAD_CONTEXT;
    if (server_name == nullptr || *server_name == '\0') return DPL_E_NULL_ARGUMENT;
    return dpl::trace::traced_call(kInstall, __LINE__, "dplRemoveInstanceRegistry", [&]() -> int32_t {
        try {
            return remove_instance_registry(block, server_name);
        } catch (const std::bad_alloc &) {
            ht_log("Failed to allocate memory");
            return DPL_E_NOMEM;
        }
    });
}

}  // extern "C"
