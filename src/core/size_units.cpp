// Unit names and size texts such as "16M" or "50 MB".
#include "core/size_units.hpp"

#include <cstdint>
#include <limits>

#include "dpl/dpl.h"

namespace dpl::core {
namespace {

char upper_ascii(char c) {
    return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c;
}

bool is_blank(char c) {
    return c == ' ' || c == '\t';
}

}  // namespace

int32_t unit_code(std::string_view name) {
    static constexpr std::string_view kLetters = "KMGTP";
    if (name.size() != 1 && name.size() != 2) return DPL_E_INVALID_VALUE;
    if (name.size() == 2 && upper_ascii(name[1]) != 'B') return DPL_E_INVALID_VALUE;
    const std::size_t found = kLetters.find(upper_ascii(name[0]));
    if (found == std::string_view::npos) return DPL_E_INVALID_VALUE;
    return static_cast<int32_t>(found);
}

int32_t parse_unit_name(const char *text) {
    if (text == nullptr) return DPL_E_INVALID_VALUE;
    return unit_code(text);
}

int64_t parse_size_kb(std::string_view text) {
    constexpr int64_t kMax = std::numeric_limits<int64_t>::max();
    std::size_t at = 0;
    while (at < text.size() && is_blank(text[at])) ++at;
    const std::size_t digits_start = at;
    int64_t value = 0;
    for (; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at) {
        const int digit = text[at] - '0';
        if (value > (kMax - digit) / 10) return DPL_E_INVALID_VALUE;
        value = value * 10 + digit;
    }
    if (at == digits_start) return DPL_E_INVALID_VALUE;
    while (at < text.size() && is_blank(text[at])) ++at;
    const std::size_t unit_start = at;
    while (at < text.size() && !is_blank(text[at])) ++at;
    const std::string_view unit = text.substr(unit_start, at - unit_start);
    while (at < text.size() && is_blank(text[at])) ++at;
    if (at != text.size()) return DPL_E_INVALID_VALUE;
    if (unit.empty()) return value;
    const int32_t code = unit_code(unit);
    if (code < 0) return DPL_E_INVALID_VALUE;
    // Each unit is 1024 of the one below it, kilobytes being code 0.
    const int shift = 10 * code;
    if (value > (kMax >> shift)) return DPL_E_INVALID_VALUE;
    return value << shift;
}

}  // namespace dpl::core

extern "C" int64_t dplParseSize(const char *text) {
    if (text == nullptr) return DPL_E_INVALID_VALUE;
    return dpl::core::parse_size_kb(text);
}
