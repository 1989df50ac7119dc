// One connection line of an sqlhosts file, split into its five fields.
#pragma once

#include <string>
#include <string_view>

namespace dpl::connections {

// Longest kept length of each field; the rest of a longer word is dropped.
inline constexpr std::size_t kAliasLimit = 128;
inline constexpr std::size_t kProtocolLimit = 8;
inline constexpr std::size_t kHostLimit = 256;
inline constexpr std::size_t kServiceLimit = 128;
inline constexpr std::size_t kOptionsLimit = 256;

struct SqlhostsFields {
    std::string alias, protocol, host, service, options;
};

// Splits at runs of white space (the C locale's isspace set); missing
// trailing fields are empty and words after the fifth are ignored.
SqlhostsFields split_sqlhosts_line(std::string_view line);

// The registry key that holds one subkey per alias.
const std::string &sqlhosts_key();

}  // namespace dpl::connections
