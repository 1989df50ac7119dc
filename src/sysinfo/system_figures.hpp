// The machine's figures kept in the block, and the process-wide timing base
// of every measurement.
#pragma once

#include <cstdint>

namespace dpl::sysinfo {

inline constexpr uint64_t kPageSize = 4096;
inline constexpr int32_t kLargeBlockSize = static_cast<int32_t>(kPageSize << 9);

struct SystemFigures {
    uint32_t processor_count = 0;
    uint64_t page_size = 0;
    int32_t large_block_size = 0;
    double processor_speed = 0.0;  // ticks per second; 0 until first asked for
    int64_t total_memory_kb = 0;
};

// The registry's "~MHz" of the first processor, else the system's own
// figure, else 1000; never 0.
uint32_t get_cpu_mhz();

// Ticks of the platform's counter per second: the clock's own rate, or the
// processor frequency for the time-stamp counter. Fixed for the process.
int64_t ticks_per_second();

// Counter ticks in one second, timed once per process on first use (over a
// quarter of a second, scaled up).
double measure_cpu_speed();

}  // namespace dpl::sysinfo
