// The DBSERVERALIASES list of an instance's configuration.
#pragma once

#include <cstdint>
#include <string_view>

struct Instance;

namespace dpl::connections {

// Adds `alias` to DBSERVERALIASES unless the list already holds it as a
// substring (so "srv" is not added when "srv_tcp" is listed). Returns the
// status of the configuration change, 0 when none was needed.
int32_t add_server_alias(Instance &instance, std::string_view alias);

}  // namespace dpl::connections
