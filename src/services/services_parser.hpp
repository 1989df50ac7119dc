// Understanding the lines of a services file.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "services/services_file.hpp"

namespace dpl::services {

// The white space and digits of the C locale, whatever the process locale.
inline bool is_blank(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}
inline bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

// Parses "name port/protocol aliases #comment" into `line`. 0, -946 when the
// line is not a service line, -966 or -1000.
int32_t parse_service_line(std::string_view text, ServicesLine *line);

// Appends the blank-separated words of text[start, end) to `aliases`. 0 or
// -966 when end lies before start.
int32_t parse_alias_list(std::string_view text, std::size_t start, std::size_t end,
                         std::vector<std::string> *aliases);

// Parses one line of the file, its line end included, and adds it to the
// model; a line that is not understood is kept verbatim. 0, or the code
// that must stop the load.
int32_t parse_line(ServicesFile &file, std::string_view text);

// Lines are read as fgets would hand them out of a buffer of this size.
inline constexpr std::size_t kLineBuffer = 256;

// Parses a whole file's text into the model, line by line: a line is cut at
// an embedded NUL, and a short last line without its line end gets one. 0,
// or the code that stopped it.
int32_t parse_text(ServicesFile &file, std::string_view content);

}  // namespace dpl::services
