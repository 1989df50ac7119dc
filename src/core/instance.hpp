// One server instance: its environment, its sqlhosts lines and where they
// came from. Opaque to C callers; the magic comes first so a foreign pointer
// is recognised.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "autoconfig/autoconfig_state.hpp"
#include "config/config_table.hpp"
#include "connections/alias_index.hpp"
#include "core/connection_list.hpp"
#include "deploy/log_record.hpp"
#include "dpl/dpl.h"
#include "storage/space_list.hpp"

namespace dpl::core {

inline constexpr int32_t kEnvironmentSetting = 3;

struct EnvironmentEntry {
    int32_t kind = kEnvironmentSetting;
    std::string name;
    std::string value;
};

}  // namespace dpl::core

struct Instance {
    uint32_t magic = DPL_INSTANCE_MAGIC;
    std::vector<dpl::core::EnvironmentEntry> environment;  // in order of first setting
    dpl::core::ConnectionList connections;
    dpl::config::ConfigTable config;
    dpl::connections::AliasIndex server_alias_index;  // over DBSERVERALIASES
    uint32_t sqlhosts_location = DPL_SQLHOSTS_FILE;
    std::string remote_machine;
    // Deployment: set once deployInstallation has run; the two log slots.
    bool deployed = false;
    dpl::deploy::LogRecord logs[2] = {};
    // The storage spaces planned for this instance.
    dpl::storage::SpaceList spaces;
    // Automatic configuration: the caller's limits and the calculated figures.
    dpl::autoconfig::State autoconfig;
    // dplReadConfig has succeeded on this instance.
    bool config_read = false;
};

namespace dpl::core {

// The first setting of `name` (exact, case-sensitive), or null.
EnvironmentEntry *find_environment(Instance &instance, const char *name);

// Appends a comment line (or a blank line for null text): 0, -947 for a
// null instance.
int32_t store_comment(Instance *instance, const char *line);

}  // namespace dpl::core
