// Splitting one line of an onconfig file into name, value and comment.
#pragma once

#include <optional>
#include <string_view>

namespace dpl::config {

// The C locale's isspace set, independent of the process locale.
bool is_space(char c);

struct ParameterLine {
    std::string_view name;
    std::string_view value;                   // may be empty
    std::optional<std::string_view> comment;  // after '#', trailing blanks dropped
};

// The parameter on `line`, or nothing when the line is poorly formatted
// (only white space before its end or its first '#'), in which case the
// caller keeps the line as it stands.
std::optional<ParameterLine> parse_parameter_line(std::string_view line);

}  // namespace dpl::config
