#include "autoconfig/setting_texts.hpp"

#include <cerrno>
#include <limits>
#include <string>

namespace dpl::autoconfig {

namespace {

bool is_blank(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

int digit_value(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'z') return c - 'a' + 10;
    if (c >= 'A' && c <= 'Z') return c - 'A' + 10;
    return 99;
}

char upper(char c) {
    return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c;
}

}  // namespace

ReadInteger read_integer(std::string_view text) {
    std::size_t at = 0;
    while (at < text.size() && is_blank(text[at])) ++at;
    bool negative = false;
    if (at < text.size() && (text[at] == '+' || text[at] == '-')) {
        negative = text[at] == '-';
        ++at;
    }
    int base = 10;
    if (at < text.size() && text[at] == '0') {
        // "0x" counts as a prefix only when a hexadecimal digit follows it;
        // otherwise the number is the "0" alone.
        if (at + 2 < text.size() && upper(text[at + 1]) == 'X' && digit_value(text[at + 2]) < 16) {
            base = 16;
            at += 2;
        } else {
            base = 8;
        }
    }
    const int64_t limit = negative ? -static_cast<int64_t>(std::numeric_limits<int32_t>::min())
                                   : static_cast<int64_t>(std::numeric_limits<int32_t>::max());
    int64_t magnitude = 0;
    bool digits = false;
    bool overflow = false;
    while (at < text.size() && digit_value(text[at]) < base) {
        digits = true;
        if (!overflow) {
            magnitude = magnitude * base + digit_value(text[at]);
            if (magnitude > limit) overflow = true;
        }
        ++at;
    }
    while (at < text.size() && is_blank(text[at])) ++at;
    if (!digits || at != text.size()) return ReadInteger{0, EINVAL};
    if (overflow) {
        return ReadInteger{
            negative ? std::numeric_limits<int32_t>::min() : std::numeric_limits<int32_t>::max(), ERANGE};
    }
    return ReadInteger{static_cast<int32_t>(negative ? -magnitude : magnitude), 0};
}

std::string read_squeezed(std::string_view text) {
    std::string squeezed;
    squeezed.reserve(text.size());
    for (const char c : text) {
        if (!is_blank(c)) squeezed.push_back(upper(c));
    }
    return squeezed;
}

std::optional<int32_t> read_boolean(std::string_view text) {
    for (const char c : text) {
        if (is_blank(c)) continue;
        if (upper(c) == 'T') return 1;
        if (upper(c) == 'F') return 0;
        return std::nullopt;
    }
    return std::nullopt;
}

}  // namespace dpl::autoconfig
