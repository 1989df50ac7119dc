// Display units of sizes (KB to PB).
#pragma once

#include <cstdint>

namespace dpl::core {

// KB, MB, GB, TB, PB (or K, M, G, T, P), any case: the unit code 0 to 4;
// anything else -966.
int32_t parse_unit_name(const char *text);

}  // namespace dpl::core
