// dplAddConnection: the one door through which a connection definition
// enters an instance, keeping DBSERVERNAME and DBSERVERALIASES in step.
#include <string>

#include "connections/server_aliases.hpp"
#include "core/control_block.hpp"
#include "trace/trace.hpp"

namespace {

using dpl::trace::kInstance;

bool given(const char *text) {
    return text != nullptr && text[0] != '\0';
}
const char *shown(const char *text) {
    return text != nullptr ? text : "(null)";
}

// The first alias names the server; every other one joins DBSERVERALIASES.
int32_t keep_server_names(InstallControlBlock *block, Instance &instance, const char *alias) {
    ht_debug(7, kInstance, __LINE__, "Instance exists.");
    const char *server_name = nullptr;
    if (dplGetConfig(&instance, "DBSERVERNAME", &server_name, nullptr) != DPL_OK) {
        ht_debug(7, kInstance, __LINE__, "No DBSERVERNAME, adding first connection\n");
        dplSetConfig(&instance, "DBSERVERNAME", alias != nullptr ? alias : "", nullptr);
        return dplSetEnvironment(block, "ORVANDEXSERVER", alias != nullptr ? alias : "");
    }
    ht_debug(7, kInstance, __LINE__, "Existing DBSERVERNAME, is %s\n", shown(server_name));
    if (alias != nullptr && server_name != nullptr && std::string_view(server_name) == alias) return DPL_OK;
    ht_debug(5, kInstance, __LINE__, "Checking DBSERVERALIAS section\n");
    return dpl::connections::add_server_alias(instance, alias != nullptr ? alias : "");
}

void update_entry(Connection &entry, uint32_t protocol, const char *host, uint16_t port, const char *service,
                  const char *options, dpl::core::ConnectionList &list) {
    using Field = dpl::core::ConnectionList::Field;
    ht_debug(7, kInstance, __LINE__, "Existing connection connection for this alias\n");
    auto old = [](const char *text) { return text != nullptr ? Field(text) : Field(); };
    Field new_host = old(entry.host), new_service = old(entry.service), new_options = old(entry.options);
    uint16_t new_port = entry.port;
    if (given(host)) {
        ht_debug(7, kInstance, __LINE__, "Replacing hostname, is %s\n", shown(entry.host));
        new_host = host;
    }
    if (port != 0) {
        ht_debug(7, kInstance, __LINE__, "Replacing port, is %hu.", entry.port);
        new_port = port;
    }
    if (given(service)) {
        ht_debug(7, kInstance, __LINE__, "Replacing service, is %s\n", shown(entry.service));
        new_service = service;
    }
    if (given(options)) {
        ht_debug(7, kInstance, __LINE__, "Replacing options, is %s\n", shown(entry.options));
        new_options = options;
    }
    list.update_first(entry.alias, protocol, new_port, std::move(new_service), std::move(new_host),
                      std::move(new_options));
}

}  // namespace

extern "C" int32_t dplAddConnection(InstallControlBlock *pointer, const char *alias, uint32_t protocol,
                                    const char *host, uint16_t port, const char *service,
                                    const char *options) {
    htenter(1, kInstance, __LINE__, "dplAddConnection");
    ht_debug(2, kInstance, __LINE__, "alias = %s, host = %s, port = %hu, service = %s and options = %s.",
             shown(alias), shown(host), port, shown(service), shown(options));
    InstallControlBlock *block = dpl::core::as_block(pointer);
    if (block == nullptr) return DPL_E_BAD_CONTEXT;
    int32_t status = DPL_OK;
    try {
        if (block->current != nullptr) status = keep_server_names(block, *block->current, alias);
        if (block->current == nullptr) return htexit(1, kInstance, __LINE__, status);
        dpl::core::ConnectionList &list = block->current->connections;
        Connection *existing = given(alias) ? list.find(alias) : nullptr;
        if (existing != nullptr) {
            update_entry(*existing, protocol, host, port, service, options, list);
            return htexit(1, kInstance, __LINE__, status);
        }
        ht_debug(7, kInstance, __LINE__, "Need a new connection for this alias.");
        if (given(alias)) {
            list.append_connection(alias, protocol, port, given(service) ? service : nullptr,
                                   given(host) ? host : nullptr, given(options) ? options : nullptr);
        } else {
            // Kept so that the writer can refuse it.
            list.append_connection(nullptr, 0, 0, nullptr, nullptr, nullptr);
        }
    } catch (const std::bad_alloc &) {
        return htexit(1, kInstance, __LINE__, DPL_E_NOMEM);
    }
    return htexit(1, kInstance, __LINE__, status);
}
