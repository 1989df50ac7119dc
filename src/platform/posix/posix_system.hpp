// POSIX side of the system-figure calls of the platform interface: device
// numbers, volume sizes, processors, memory and the tick counter.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/platform.hpp"

namespace dpl::platform::posix {

bool device_number(const std::string &path, uint32_t *device, SysError *error);
bool volume_space(const std::string &directory, VolumeSpace *space, SysError *error);
uint32_t processor_count();
uint64_t physical_memory_bytes();
// The first "cpu MHz" line of /proc/cpuinfo, rounded.
std::optional<uint32_t> processor_mhz();
uint64_t ticks();
std::optional<int64_t> tick_rate();

}  // namespace dpl::platform::posix
