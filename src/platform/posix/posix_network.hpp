// Network and service-manager probes of the POSIX backend.
#pragma once

#include <string>

#include "platform/platform.hpp"

namespace dpl::platform::posix {

bool resolve_host(const std::string &name);
PortProbe probe_tcp_port(uint16_t port, uint32_t *error);
// The service manager of machine root `root` is the directory
// root/var/lib/dpl/services, one entry per installed service.
ServiceQuery query_service(const std::string &root, const std::string &name, uint32_t *error);

}  // namespace dpl::platform::posix
