#include "connections/server_aliases.hpp"

#include <string>

#include "core/instance.hpp"
#include "trace/trace.hpp"

namespace dpl::connections {

using dpl::trace::kInstance;

namespace {

// Substring test against the current value, through the instance's index
// when the alias has no blank (one with a blank may span two items).
bool listed(Instance &instance, config::ConfigTable::Index at, std::string_view alias) {
    const std::string_view value = instance.config.value_view(at);
    if (alias.find(' ') != std::string_view::npos) return value.find(alias) != std::string_view::npos;
    AliasIndex &index = instance.server_alias_index;
    const uint64_t version = instance.config.value_version(at);
    if (!index.describes(at, version)) index.rebuild(at, version, value);
    return index.contains(alias);
}

}  // namespace

int32_t add_server_alias(Instance &instance, std::string_view alias) {
    const std::string name(alias);
    const config::ConfigTable::Index at = instance.config.find("DBSERVERALIASES", nullptr);
    if (at == config::ConfigTable::kNone) {
        ht_debug(7, kInstance, __LINE__, "DBSERVERALIASES does not exist, adding first one\n");
        return dplSetConfig(&instance, "DBSERVERALIASES", name.c_str(), nullptr);
    }
    const char *aliases = instance.config.entry(at).value;
    if (instance.config.value_view(at).empty()) {
        ht_debug(7, kInstance, __LINE__, "DBSERVERALIASES existed but is null, replacing with this.");
        const int32_t rc = dplSetConfig(&instance, "DBSERVERALIASES", name.c_str(), nullptr);
        if (rc != DPL_OK) ht_debug(5, kInstance, __LINE__, "Failed to set DBSERVERALIASES in onconfig\n");
        return rc;
    }
    if (listed(instance, at, alias)) return DPL_OK;
    ht_debug(7, kInstance, __LINE__, "Appending to aliases, is %s.", aliases);
    // Set as dplSetConfig would, but in place: the list grows by one item
    // per alias instead of being copied whole each time.
    return dpl::trace::traced_call(kInstance, __LINE__, "dplSetConfig", [&] {
        const std::string item = ", " + name;
        const bool indexed = instance.server_alias_index.describes(at, instance.config.value_version(at));
        instance.config.append_value(at, item);
        if (indexed) instance.server_alias_index.appended(instance.config.value_version(at), item);
        return DPL_OK;
    });
}

}  // namespace dpl::connections
