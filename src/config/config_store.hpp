// Putting lines into an instance's configuration table, with the messages
// that every path (reading, adding, setting) shares.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "config/config_table.hpp"
#include "dpl/dpl.h"

namespace dpl::config {

struct NewLine {
    uint32_t kind = DPL_CONFIG_BLANK;
    std::string_view name;  // the whole text for a comment line
    std::string_view value;
    std::optional<std::string_view> comment;
};

// The configuration of `pointer` when it is an instance, otherwise null.
ConfigTable *table_of(Instance *pointer);

// Appends a blank or comment line, or a parameter unless an equal one is
// there. Nothing on failure, after a message in the debug file.
std::optional<ConfigTable::Insertion> insert_line(ConfigTable *table, const NewLine &line);

// insert_line for an adding caller: 0, -1000 when the table cannot be
// allocated, -1 when the insertion fails.
int32_t add_line(ConfigTable &table, const NewLine &line);

}  // namespace dpl::config
