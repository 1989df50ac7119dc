// Network probes of the POSIX backend.
#pragma once

#include <string>

#include "platform/platform.hpp"

namespace dpl::platform::posix {

bool resolve_host(const std::string &name);
PortProbe probe_tcp_port(uint16_t port, uint32_t *error);

}  // namespace dpl::platform::posix
