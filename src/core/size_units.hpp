// Size texts and display units (KB to PB).
#pragma once

#include <cstdint>
#include <string_view>

namespace dpl::core {

// KB, MB, GB, TB, PB (or K, M, G, T, P), any case: the unit code 0 to 4;
// anything else -966.
int32_t unit_code(std::string_view name);
int32_t parse_unit_name(const char *text);

// Blanks, decimal digits, blanks, an optional unit name, blanks: the size
// in kilobytes (no unit meaning kilobytes), or -966 for anything else and
// for a size beyond 63 bits.
int64_t parse_size_kb(std::string_view text);

}  // namespace dpl::core
