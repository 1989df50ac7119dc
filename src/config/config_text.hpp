// An onconfig file's text to and from the configuration table, without the
// file: what the reader and the writer are built on.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "config/config_table.hpp"

namespace dpl::config {

// Lines are read as a 255-byte buffer would take them: at most 254
// characters, a longer physical line coming in several pieces, each of them
// a line of its own.
inline constexpr std::size_t kReadBuffer = 255;

// Adds every line of `content` to `table` in file order; `path` only names
// the file in messages. 0, -967 for a null table (when there is a line to
// add), or the code of a failed insertion.
int32_t read_config_text(ConfigTable *table, std::string_view content, const char *path);

// Appends `entry` as the file holds it, line end included.
void append_config_entry(const ConfigEntry &entry, std::string *text);

}  // namespace dpl::config
