// How the texts of the automatic-configuration settings are read.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace dpl::autoconfig {

// An integer read as strtol reads it with base 0 (blanks, sign, 0x or 0
// prefix), on 32 bits on every build. `error` is ERANGE for a number beyond
// 32 bits and EINVAL for a text without digits or with anything but blanks
// after the number; the value is then 0 (or the clamped limit for ERANGE).
struct ReadInteger {
    int32_t value = 0;
    int error = 0;
};
ReadInteger read_integer(std::string_view text);

// The text upper-cased with white space removed.
std::string read_squeezed(std::string_view text);

// First letter T: 1, F: 0 (after upper-casing and removing white space);
// nothing for anything else.
std::optional<int32_t> read_boolean(std::string_view text);

}  // namespace dpl::autoconfig
