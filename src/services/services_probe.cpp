// Whether a port or a service name is free: in the loaded file, on the
// machine's sockets and in the service manager.
#include <string>

#include "platform/platform.hpp"
#include "services/services_internal.hpp"
#include "trace/trace.hpp"

using dpl::services::loaded_services;
using dpl::services::ServicesFile;
using dpl::trace::kServices;
using dpl::trace::traced_call;

namespace dpl::services {

bool port_is_clear(uint16_t port) {
    uint32_t error = 0;
    switch (platform::current().probe_tcp_port(port, &error)) {
        case platform::PortProbe::Clear:
            ht_debug(5, kServices, __LINE__, "Bound to port %d; port is clear\n", static_cast<int>(port));
            return true;
        case platform::PortProbe::InUse:
            ht_debug(5, kServices, __LINE__, "Could not bind to port %d, port in use. Code: %d\n",
                     static_cast<int>(port), static_cast<int>(error));
            return false;
        case platform::PortProbe::StartupFailed:
            ht_debug(5, kServices, __LINE__, "Error: WSAStartup returned failure. Code: %d\n",
                     static_cast<int>(error));
            return false;
        case platform::PortProbe::SocketFailed:
            ht_debug(5, kServices, __LINE__, "Error: Could not create socket. Code: %d\n",
                     static_cast<int>(error));
            return false;
    }
    return false;
}

}  // namespace dpl::services

namespace {

bool given(const char *text) {
    return text != nullptr && text[0] != '\0';
}

int32_t test_port(InstallControlBlock *pointer, uint16_t port, const char *protocol) {
    const ServicesFile *file = loaded_services(pointer);
    if (file == nullptr) {
        ht_debug(5, kServices, __LINE__, "Error: Install structure is null in dplServicesTestPort.");
        return DPL_E_BAD_CONTEXT;
    }
    if (port == 0) {
        ht_debug(5, kServices, __LINE__, "Error: The port is the reserved value 0 in dplServicesTestPort.");
        return DPL_E_INVALID_VALUE;
    }
    if (file->has_port(port, protocol)) return 2;
    if (file->sockets_off != 0) return 0;
    return dpl::services::port_is_clear(port) ? 0 : 1;
}

int32_t test_name(InstallControlBlock *pointer, const char *name, const char *protocol) {
    const ServicesFile *file = loaded_services(pointer);
    if (file == nullptr) {
        ht_debug(5, kServices, __LINE__, "Error: The install structure is null in dplServicestestName.");
        return DPL_E_BAD_CONTEXT;
    }
    if (!given(name)) {
        ht_debug(5, kServices, __LINE__,
                 "Error: The name parameter is null or blank in dplServicesTestName.");
        return DPL_E_NULL_ARGUMENT;
    }
    if (dplCheckAliasList(pointer, name, protocol) != 0) return 1;
    uint32_t error = 0;
    switch (dpl::platform::current().query_service(name, &error)) {
        case dpl::platform::ServiceQuery::ManagerUnavailable:
            ht_debug(5, kServices, __LINE__, "dplServicesTestName: OpenSCManager failed: %d\n",
                     static_cast<int>(error));
            return DPL_E_NULL_ARGUMENT;
        case dpl::platform::ServiceQuery::Installed:
            return 1;
        case dpl::platform::ServiceQuery::NotInstalled:
            break;
    }
    return file->latest_named(name, protocol) != nullptr ? 1 : 0;
}

int32_t port_from_name(InstallControlBlock *pointer, const char *name, const char *protocol) {
    const ServicesFile *file = loaded_services(pointer);
    if (file == nullptr) {
        ht_log("Error: The install structure is null.");
        return DPL_E_BAD_CONTEXT;
    }
    if (!given(name)) {
        ht_log("Error: Port cannot be NULL or blank.");
        return DPL_E_NULL_ARGUMENT;
    }
    // The line nearest the end of the file wins; one with port 0 answers
    // "not found" and ends the search all the same.
    const dpl::services::ServicesLine *line = file->latest_named(name, protocol);
    return line == nullptr ? 0 : static_cast<int16_t>(line->port);
}

int32_t cheat_sockets(InstallControlBlock *pointer) {
    ServicesFile *file = loaded_services(pointer);
    if (file == nullptr) {
        ht_debug(5, kServices, __LINE__, "Error: The install structure is null in dplServicesCheatSockets.");
        return DPL_E_BAD_CONTEXT;
    }
    file->sockets_off = 1;
    return DPL_OK;
}

}  // namespace

extern "C" {

int32_t dplServicesTestPort(InstallControlBlock *block, uint16_t port, const char *protocol) {
    return traced_call(kServices, __LINE__, "dplServicesTestPort",
                       [&] { return test_port(block, port, protocol); });
}

int32_t dplServicesTestName(InstallControlBlock *block, const char *name, const char *protocol) {
    return traced_call(kServices, __LINE__, "dplServicesTestName",
                       [&] { return test_name(block, name, protocol); });
}

int16_t dplServicesGetPortFromName(InstallControlBlock *block, const char *name, const char *protocol) {
    // The port travels in a signed 16-bit value: above 32767 it comes back
    // negative, and callers read it as unsigned.
    return static_cast<int16_t>(traced_call(kServices, __LINE__, "dplServicesGetPortFromName",
                                            [&] { return port_from_name(block, name, protocol); }));
}

int32_t dplServicesCheatSockets(InstallControlBlock *block) {
    return traced_call(kServices, __LINE__, "dplServicesCheatSockets", [&] { return cheat_sockets(block); });
}

int32_t dplCheckAliasList(InstallControlBlock *block, const char *name, const char *protocol) {
    // No further alias list exists beside the services file.
    static_cast<void>(block);
    static_cast<void>(name);
    static_cast<void>(protocol);
    return traced_call(kServices, __LINE__, "dplCheckAliasList", [] { return DPL_OK; });
}

}  // extern "C"
