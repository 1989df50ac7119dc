// What the installation-registry calls share: the install tag of a value
// name, the value that registers a directory, the version marker's text and
// the pieces of an alias list. Pure functions, so that they can be tested
// and fuzzed without a machine.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "dpl/dpl.h"

namespace dpl::install {

inline constexpr std::string_view kInstallDirName = "Install_Dir";
inline constexpr const char *kServerRoot = "SOFTWARE\\Orvandex\\DBMS";

// Whether a value name records an installation directory.
inline bool names_install_dir(std::string_view name) {
    return name.find(kInstallDirName) != std::string_view::npos;
}

// The install tag of a value name that contains "Install_Dir": 0 for the
// name alone, the number after it otherwise. A name that holds the text
// elsewhere, or whose number does not fit a tag, keeps `previous`.
int32_t tag_of_value_name(std::string_view name, int32_t previous);

// Two directory texts equal when ignoring case.
bool same_directory(std::string_view first, std::string_view second);

// The first value of the list that registers `directory`, or null.
const DplRegValue *find_registration(const DplRegValue *values, std::string_view directory);

// The version a marker file holds: its first line without the line end and
// the surrounding blanks; nothing when that is empty.
std::optional<std::string> read_version_marker(std::string_view content);

// The non-empty pieces of an alias text cut at white space and commas.
std::vector<std::string_view> alias_pieces(std::string_view text);

}  // namespace dpl::install
