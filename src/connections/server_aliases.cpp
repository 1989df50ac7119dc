#include "connections/server_aliases.hpp"

#include <string>

#include "core/instance.hpp"
#include "trace/trace.hpp"

namespace dpl::connections {

using dpl::trace::kInstance;

int32_t add_server_alias(Instance &instance, std::string_view alias) {
    const std::string name(alias);
    const char *aliases = nullptr;
    if (dplGetConfig(&instance, "DBSERVERALIASES", &aliases, nullptr) != DPL_OK) {
        ht_debug(7, kInstance, __LINE__, "DBSERVERALIASES does not exist, adding first one\n");
        return dplSetConfig(&instance, "DBSERVERALIASES", name.c_str(), nullptr);
    }
    if (aliases == nullptr || aliases[0] == '\0') {
        ht_debug(7, kInstance, __LINE__, "DBSERVERALIASES existed but is null, replacing with this.");
        const int32_t rc = dplSetConfig(&instance, "DBSERVERALIASES", name.c_str(), nullptr);
        if (rc != DPL_OK) ht_debug(5, kInstance, __LINE__, "Failed to set DBSERVERALIASES in onconfig\n");
        return rc;
    }
    if (std::string_view(aliases).find(alias) != std::string_view::npos) return DPL_OK;
    ht_debug(7, kInstance, __LINE__, "Appending to aliases, is %s.", aliases);
    const std::string joined = std::string(aliases) + ", " + name;
    return dplSetConfig(&instance, "DBSERVERALIASES", joined.c_str(), nullptr);
}

}  // namespace dpl::connections
