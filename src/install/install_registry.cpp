#include "install/install_registry.hpp"

#include <limits>

namespace dpl::install {

namespace {

char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool is_blank(char c) {
    return c == ' ' || c == '\t';
}

bool is_space(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

bool is_alias_separator(char c) {
    return c == ',' || is_space(c);
}

// The number at the start of `text` as atoi reads it (white space, a sign,
// digits); nothing when it does not fit below the largest tag, so that the
// next tag stays representable.
std::optional<int32_t> leading_number(std::string_view text) {
    std::size_t at = 0;
    while (at < text.size() && is_space(text[at])) ++at;
    bool negative = false;
    if (at < text.size() && (text[at] == '+' || text[at] == '-')) negative = text[at++] == '-';
    int64_t value = 0;
    constexpr int64_t kLimit = std::numeric_limits<int32_t>::max() - 1;
    for (; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at) {
        value = value * 10 + (text[at] - '0');
        if (value > kLimit) return std::nullopt;
    }
    return static_cast<int32_t>(negative ? -value : value);
}

}  // namespace

int32_t tag_of_value_name(std::string_view name, int32_t previous) {
    if (name.substr(0, kInstallDirName.size()) != kInstallDirName) return previous;
    if (name.size() == kInstallDirName.size()) return 0;
    return leading_number(name.substr(kInstallDirName.size())).value_or(previous);
}

bool same_directory(std::string_view first, std::string_view second) {
    if (first.size() != second.size()) return false;
    for (std::size_t i = 0; i < first.size(); ++i) {
        if (lower(first[i]) != lower(second[i])) return false;
    }
    return true;
}

const DplRegValue *find_registration(const DplRegValue *values, std::string_view directory) {
    for (; values != nullptr; values = values->next) {
        if (values->name == nullptr || !names_install_dir(values->name)) continue;
        const std::string_view data = values->data != nullptr ? values->data : "";
        if (same_directory(data, directory)) return values;
    }
    return nullptr;
}

std::optional<std::string> read_version_marker(std::string_view content) {
    std::string_view line = content.substr(0, content.find('\n'));
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    line = line.substr(0, line.find('\0'));
    while (!line.empty() && is_blank(line.front())) line.remove_prefix(1);
    while (!line.empty() && is_blank(line.back())) line.remove_suffix(1);
    if (line.empty()) return std::nullopt;
    return std::string(line);
}

std::vector<std::string_view> alias_pieces(std::string_view text) {
    std::vector<std::string_view> pieces;
    std::size_t at = 0;
    while (at < text.size()) {
        while (at < text.size() && is_alias_separator(text[at])) ++at;
        const std::size_t start = at;
        while (at < text.size() && !is_alias_separator(text[at])) ++at;
        if (at > start) pieces.push_back(text.substr(start, at - start));
    }
    return pieces;
}

}  // namespace dpl::install
