// Reading connection definitions from an sqlhosts file or from the SQLHOSTS
// node of a registry into the current instance.
#include <cstring>
#include <string>

#include "connections/sqlhosts_line.hpp"
#include "core/control_block.hpp"
#include "core/text_file.hpp"
#include "registry/registry_key.hpp"
#include "trace/trace.hpp"

namespace {

using dpl::trace::kInstance;

int32_t read_file(InstallControlBlock *block, const char *path) {
    if (path == nullptr) return DPL_E_NULL_ARGUMENT;
    std::string content;
    uint32_t error = 0;
    if (!dpl::core::read_text_file(path, &content, &error)) {
        ht_debug(5, kInstance, __LINE__, "SQLHOSTS file (%s) open failure errno = %d\n", path,
                 static_cast<int>(error));
        return DPL_E_OPEN_READ;
    }
    using dpl::connections::SqlhostsLineKind;
    dpl::connections::SqlhostsLines lines(content);
    dpl::connections::SqlhostsLine line;
    while (lines.next(&line)) {
        if (line.kind == SqlhostsLineKind::kSkipped) continue;
        if (line.kind == SqlhostsLineKind::kComment) {
            const int32_t stored = dpl::core::store_comment(block->current, std::string(line.text).c_str());
            if (stored != DPL_OK) return stored;
            continue;
        }
        const dpl::connections::SqlhostsFields &fields = line.fields;
        const uint32_t protocol = dplMapStringtoProtocol(fields.protocol.c_str());
        if (protocol == 0) {
            ht_debug(5, kInstance, __LINE__, "Failed to map protocol (%s) for (%s)\n",
                     fields.protocol.c_str(), fields.alias.c_str());
            return DPL_E_FAIL;
        }
        const auto port =
            static_cast<uint16_t>(dplServicesGetPortFromName(block, fields.service.c_str(), "tcp"));
        dplAddConnection(block, fields.alias.c_str(), protocol, fields.host.c_str(), port,
                         fields.service.c_str(), fields.options.c_str());
    }
    return DPL_OK;
}

// The values of one alias key that the reader uses; the last of a name wins.
struct AliasValues {
    const char *host = nullptr;
    const char *service = nullptr;
    const char *options = nullptr;
    const char *protocol = nullptr;
};

AliasValues pick_values(const DplRegValue *values) {
    AliasValues picked;
    for (const DplRegValue *value = values; value != nullptr; value = value->next) {
        if (std::strcmp(value->name, "HOST") == 0) picked.host = value->data;
        if (std::strcmp(value->name, "SERVICE") == 0) picked.service = value->data;
        if (std::strcmp(value->name, "OPTIONS") == 0) picked.options = value->data;
        if (std::strcmp(value->name, "PROTOCOL") == 0) picked.protocol = value->data;
    }
    return picked;
}

// Closes a connection to another machine's registry when the read is done.
class RemoteRoot {
public:
    RemoteRoot() = default;
    RemoteRoot(const RemoteRoot &) = delete;
    RemoteRoot &operator=(const RemoteRoot &) = delete;
    ~RemoteRoot() {
        if (key_ != dpl::platform::kNoKey) dpl::platform::current().reg_close_key(key_);
    }
    uint32_t connect(const std::string &machine) {
        return dpl::platform::current().reg_connect(machine, dpl::platform::kLocalMachine, &key_);
    }
    DplHKEY handle() const { return reinterpret_cast<DplHKEY>(key_); }

private:
    dpl::platform::RegKey key_ = dpl::platform::kNoKey;
};

int32_t read_registry(InstallControlBlock *block, const char *machine) {
    if (block->current == nullptr) return DPL_E_INVALID_VALUE;
    Instance &instance = *block->current;
    instance.sqlhosts_location = DPL_SQLHOSTS_LOCAL_REGISTRY;
    dpl::platform::RegistryBatch batch;
    RemoteRoot remote;
    DplHKEY root = DPL_HKEY_LOCAL_MACHINE;
    if (machine != nullptr && machine[0] != '\0') {
        if (remote.connect(machine) != dpl::platform::err::kOk) {
            ht_log("Cannot connect to remote registery");
            return DPL_E_REMOTE_CONNECT;
        }
        instance.sqlhosts_location = DPL_SQLHOSTS_REMOTE_REGISTRY;
        root = remote.handle();
    }
    const std::string &key = dpl::connections::sqlhosts_key();
    DplRegSubKey *aliases = nullptr;
    int32_t result = dplQueryRegSubKeys(root, key.c_str(), &aliases, DPL_REG_VIEW_DEFAULT);
    if (result != DPL_OK) {
        dplFreeRegSubKeys(&aliases);
        return result;
    }
    uint16_t last_port = 0;  // a group alias takes the port of the alias before it
    for (const DplRegSubKey *alias = aliases; alias != nullptr; alias = alias->next) {
        const std::string path = key + "\\" + alias->name;
        DplRegValue *values = nullptr;
        result = dplQueryRegData(root, path.c_str(), &values, DPL_REG_VIEW_DEFAULT);
        if (result == DPL_OK) {
            const AliasValues picked = pick_values(values);
            const uint32_t protocol = dplMapStringtoProtocol(picked.protocol);
            if (picked.host != nullptr && picked.service != nullptr && protocol != 0) {
                if ((protocol & DPL_PROTOCOL_GROUP) == 0) {
                    last_port =
                        static_cast<uint16_t>(dplServicesGetPortFromName(block, picked.service, "tcp"));
                }
                result = dplAddConnection(block, alias->name, protocol, picked.host, last_port,
                                          picked.service, picked.options);
            }
        }
        dplFreeRegData(&values);
    }
    dplFreeRegSubKeys(&aliases);
    return result;
}

}  // namespace

extern "C" {

int32_t dplReadConnections(InstallControlBlock *pointer, const char *path) {
    InstallControlBlock *block = dpl::core::as_block(pointer);
    if (block == nullptr) return DPL_E_BAD_CONTEXT;
    return dpl::trace::traced_call(kInstance, __LINE__, "dplReadConnections",
                                   [&] { return read_file(block, path); });
}

int32_t dplReadConnectionsRegistery(InstallControlBlock *pointer, const char *machine) {
    InstallControlBlock *block = dpl::core::as_block(pointer);
    if (block == nullptr) return DPL_E_BAD_CONTEXT;
    return dpl::trace::traced_call(kInstance, __LINE__, "dplReadConnectionsRegistery",
                                   [&] { return read_registry(block, machine); });
}

int32_t dplWindowsReadConnections(InstallControlBlock *pointer, const char *place) {
    InstallControlBlock *block = dpl::core::as_block(pointer);
    if (block == nullptr) return DPL_E_BAD_CONTEXT;
    return dpl::trace::traced_call(kInstance, __LINE__, "dplWindowsReadConnections", [&]() -> int32_t {
        if (place == nullptr) return dplReadConnectionsRegistery(block, nullptr);
        if (place[0] == '\\') {
            // A machine name when its registry answers; otherwise a file name.
            RemoteRoot probe;
            if (probe.connect(place) == dpl::platform::err::kOk)
                return dplReadConnectionsRegistery(block, place);
        }
        return dplReadConnections(block, place);
    });
}

}  // extern "C"
