// The internal steps of the automatic configuration.
#pragma once

#include <cstdint>

#include "dpl/dpl.h"

namespace dpl::autoconfig {

// Logs every nonzero status slot of the settings: -1 when there is one.
int32_t validate_settings(InstallControlBlock &block);

// Memory, buffer pool, locks and network figures of the recommendation.
int32_t calculate_memory(InstallControlBlock &block);
// Physical and logical log sizes.
int32_t calculate_log_sizes(InstallControlBlock &block);
// Sizes of the six spaces, checked against the free space of the instance path.
int32_t calculate_space(InstallControlBlock &block);

// Rounded up to a multiple of the page size (4096), the quotient cut to 32
// bits as the figures have always been.
int64_t round_to_page(int64_t value);

// A product computed in floating point, truncated toward zero and held
// within 64 bits.
int64_t truncate_to_integer(double value);

}  // namespace dpl::autoconfig
