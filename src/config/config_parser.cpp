#include "config/config_parser.hpp"

namespace dpl::config {
bool is_space(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

namespace {

std::size_t skip_space(std::string_view text, std::size_t at, std::size_t end) {
    while (at < end && is_space(text[at])) ++at;
    return at;
}

// Length of `text` without its trailing white space.
std::size_t trimmed_length(std::string_view text) {
    std::size_t length = text.size();
    while (length > 0 && is_space(text[length - 1])) --length;
    return length;
}

}  // namespace

std::optional<ParameterLine> parse_parameter_line(std::string_view line) {
    const std::size_t hash = line.find('#');
    const std::size_t end = hash == std::string_view::npos ? line.size() : hash;

    std::size_t at = skip_space(line, 0, end);
    if (at >= end) return std::nullopt;

    ParameterLine parsed;
    const std::size_t name_start = at;
    while (at < end && !is_space(line[at])) ++at;
    parsed.name = line.substr(name_start, at - name_start);

    at = skip_space(line, at, end);
    parsed.value = line.substr(at, end - at);
    parsed.value = parsed.value.substr(0, trimmed_length(parsed.value));

    if (hash != std::string_view::npos) {
        const std::string_view rest = line.substr(hash + 1);
        const std::size_t length = trimmed_length(rest);
        // A comment of white space only is kept as it stands, line end too.
        parsed.comment = length == 0 ? rest : rest.substr(0, length);
    }
    return parsed;
}

}  // namespace dpl::config
