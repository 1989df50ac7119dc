// dplWriteConnection: writes the current instance's connections to the
// sqlhosts file or to the SQLHOSTS node of the registry, checking hosts and
// socket ports on the way, then hands the services database to its writer.
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <unordered_map>

#include "connections/sqlhosts_line.hpp"
#include "core/control_block.hpp"
#include "core/replacement_file.hpp"
#include "registry/registry_key.hpp"
#include "trace/trace.hpp"

namespace {

using dpl::platform::err::kOk;
using dpl::trace::kInstance;

constexpr std::size_t kHostLimit = 256;
constexpr std::size_t kKeyPathLimit = 299;  // 300-character buffer

struct CFree {
    void operator()(char *text) const { std::free(text); }
};

const char *text_or_null(const char *text) {
    return text != nullptr ? text : "(null)";
}

std::string environment_value(Instance &instance, const char *name, bool *found) {
    const dpl::core::EnvironmentEntry *entry = dpl::core::find_environment(instance, name);
    *found = entry != nullptr;
    return entry != nullptr ? entry->value : std::string();
}

std::string sqlhosts_file_name(Instance &instance) {
    bool found = false;
    std::string value = environment_value(instance, "ORVANDEXSQLHOSTS", &found);
    if (found) return value;
    value = environment_value(instance, "ORVANDEXSERVER", &found);
    if (found) return "sqlhosts." + value;
    return "sqlhosts";
}

// The group named by a "g=name" setting in the options, if any.
bool group_of(const std::string &options, std::string *group) {
    auto is_blank = [](char c) { return c == ' ' || c == '\t'; };
    auto is_space = [](char c) {
        return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
    };
    for (std::size_t at = options.find('g'); at != std::string::npos; at = options.find('g', at + 1)) {
        std::size_t i = at + 1;
        while (i < options.size() && is_blank(options[i])) ++i;
        if (i >= options.size() || options[i] != '=') continue;
        ++i;
        while (i < options.size() && is_blank(options[i])) ++i;
        std::size_t end = i;
        while (end < options.size() && !is_space(options[end])) ++end;
        *group = options.substr(i, end - i);
        return true;
    }
    return false;
}

class ConnectionWriter {
public:
    ConnectionWriter(InstallControlBlock &block, Instance &instance)
        : block_(block), instance_(instance), file_mode_(instance.sqlhosts_location == DPL_SQLHOSTS_FILE) {}

    int32_t run() {
        if (!file_mode_) return write_entries();
        uint32_t error = 0;
        if (!file_.open(sqlhosts_file_name(instance_), &error)) return DPL_E_OPEN_WRITE;
        const int32_t rc = write_entries();
        // A walk stopped by a failure keeps what it wrote before it: that
        // part of the file is moved into place too, whole.
        if (!file_.commit() && rc == DPL_OK) return DPL_E_OPEN_WRITE;
        return rc;
    }

private:
    int32_t write_entries() {
        for (Connection *entry = instance_.connections.head(); entry != nullptr; entry = entry->next) {
            if (entry->kind == DPL_CONNECTION_BLANK) {
                if (file_mode_) file_.write("\n");
            } else if (entry->kind == DPL_CONNECTION_COMMENT) {
                if (file_mode_ && entry->alias != nullptr) file_.write(entry->alias);
            } else if (entry->kind == DPL_CONNECTION_ENTRY) {
                const int32_t rc = write_connection(*entry);
                if (rc != DPL_OK) return rc;
            }
        }
        if (registry_batch_) {
            if (registry_batch_->end() != kOk) return DPL_E_FAIL;
        }
        dplServicesDeploy(&block_);
        return DPL_OK;
    }

    int32_t write_connection(const Connection &entry) {
        const std::unique_ptr<char, CFree> protocol(dplMapProtocol(entry.protocol));
        if (!protocol) return DPL_E_NOMEM;
        if (entry.protocol != DPL_PROTOCOL_GROUP) {
            const int32_t rc = check_network(entry);
            if (rc != DPL_OK) return rc;
        }
        return file_mode_ ? write_line(entry, protocol.get()) : write_registry(entry, protocol.get());
    }

    int32_t check_network(const Connection &entry) {
        std::string host = entry.host != nullptr ? entry.host : "";
        if (!host.empty() && host[0] == '*') host.erase(0, 1);
        if (host.size() > kHostLimit) host.resize(kHostLimit);
        if (!resolves(host)) {
            ht_debug(5, kInstance, __LINE__, "Error: Unable to resolve host name - %s\n", host.c_str());
            return DPL_E_FAIL;
        }
        if ((entry.protocol & DPL_PROTOCOL_INTERFACE_MASK) != DPL_PROTOCOL_SOCKETS) return DPL_OK;
        if (dplServicesStatus(&block_) == 0) {
            const std::string path = dpl::platform::current().services_database_path();
            const int32_t rc = dplServicesLoad(&block_, path.c_str());
            if (rc != DPL_OK) return rc;
        }
        if ((block_.mode & DPL_MODE_NO_PORT_TEST) == 0) {
            const int32_t probe = dplServicesTestPort(&block_, entry.port, nullptr);
            if (probe == 1 || probe == DPL_E_INVALID_VALUE) return DPL_E_PORT_IN_USE;
        }
        return DPL_OK;
    }

    // Names resolve once per write: a list of many aliases on few hosts
    // asks the resolver once per host.
    bool resolves(const std::string &host) {
        const auto known = resolved_.find(host);
        if (known != resolved_.end()) return known->second;
        const bool answer = dpl::platform::current().resolve_host(host);
        resolved_.emplace(host, answer);
        return answer;
    }

    int32_t write_line(const Connection &entry, const char *protocol) {
        const bool private_mode = (block_.mode & DPL_MODE_PRIVATE) != 0;
        // The port text is made only for a known port; otherwise the text of
        // an earlier line stands in.
        if (entry.port != 0) {
            char number[8];
            std::snprintf(number, sizeof number, "%hu", entry.port);
            port_text_ = number;
        }
        const bool use_port = entry.service == nullptr || entry.service[0] == '\0' || private_mode;
        std::string line = text_or_null(entry.alias);
        line += ' ';
        line += protocol;
        line += ' ';
        line += text_or_null(entry.host);
        line += ' ';
        line += use_port ? port_text_ : std::string(entry.service);
        line += ' ';
        line += entry.options != nullptr ? entry.options : "";
        line += '\n';
        file_.write(line);
        return DPL_OK;
    }

    int32_t write_registry(const Connection &entry, const char *protocol) {
        if (entry.alias == nullptr) {
            ht_log("Null alias for connection\n");
            return DPL_E_INVALID_VALUE;
        }
        if (!registry_batch_) registry_batch_ = std::make_unique<dpl::platform::RegistryBatch>();
        const std::string options = entry.options != nullptr ? entry.options : "";
        const std::string &base = dpl::connections::sqlhosts_key();
        std::string group;
        if (!options.empty()) {
            // Without a group setting the group part is empty, which names
            // the alias's own key: it is simply written twice.
            group_of(options, &group);
            const int32_t rc = write_alias_key(entry, protocol, base + "\\" + group + "\\" + entry.alias);
            if (rc != DPL_OK) return rc;
        }
        return write_alias_key(entry, protocol, base + "\\" + entry.alias);
    }

    int32_t write_alias_key(const Connection &entry, const char *protocol, std::string path) {
        auto &os = dpl::platform::current();
        if (path.size() > kKeyPathLimit) path.resize(kKeyPathLimit);
        instance_.sqlhosts_location = DPL_SQLHOSTS_REMOTE_REGISTRY;
        dpl::platform::RegKey machine = dpl::platform::kNoKey;
        if (os.reg_connect(instance_.remote_machine, dpl::platform::kLocalMachine, &machine) != kOk) {
            ht_log("Cannot connect to remote registery");
            return DPL_E_REMOTE_CONNECT;
        }
        struct Closer {
            dpl::platform::RegKey key;
            ~Closer() { dpl::platform::current().reg_close_key(key); }
        } machine_closer{machine};
        ht_debug(5, kInstance, __LINE__, "Running for Domain\n");
        dpl::registry::OpenKey key;
        if (key.create(machine, path, dpl::platform::RegView::Default) != kOk) return DPL_E_FAIL;
        if (entry.host == nullptr) {
            ht_log("Null hostname for alias %s\n", entry.alias);
            return DPL_E_INVALID_VALUE;
        }
        const bool star = entry.host[0] != '*' && entry.protocol != DPL_PROTOCOL_GROUP;
        std::string host;
        if (star) host = "*";
        host += entry.host;
        if (!set_text(key.get(), "HOST", host) ||
            !set_text(key.get(), "OPTIONS", entry.options != nullptr ? entry.options : "") ||
            !set_text(key.get(), "PROTOCOL", protocol)) {
            return DPL_E_FAIL;
        }
        if (entry.service == nullptr) {
            ht_log("Null service name for alias %s\n", entry.alias);
            return DPL_E_INVALID_VALUE;
        }
        return set_text(key.get(), "SERVICE", entry.service) ? DPL_OK : DPL_E_FAIL;
    }

    static bool set_text(dpl::platform::RegKey key, const char *name, const std::string &text) {
        dpl::platform::RegValue value;
        value.type = dpl::platform::regtype::kSz;
        value.data = text;
        value.data.push_back('\0');
        return dpl::platform::current().reg_set_value(key, name, value) == kOk;
    }

    InstallControlBlock &block_;
    Instance &instance_;
    const bool file_mode_;
    dpl::core::ReplacementFile file_;
    std::unique_ptr<dpl::platform::RegistryBatch> registry_batch_;
    std::unordered_map<std::string, bool> resolved_;
    std::string port_text_;
};

}  // namespace

extern "C" int32_t dplWriteConnection(InstallControlBlock *pointer) {
    InstallControlBlock *block = dpl::core::as_block(pointer);
    if (block == nullptr) return DPL_E_BAD_CONTEXT;
    return dpl::trace::traced_call(kInstance, __LINE__, "dplWriteConnection", [&]() -> int32_t {
        if (block->current == nullptr) return DPL_E_INVALID_VALUE;
        ConnectionWriter writer(*block, *block->current);
        return writer.run();
    });
}
