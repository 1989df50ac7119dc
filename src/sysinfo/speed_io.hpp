// What the timed read and write tests share: sizes, the aligned buffer and
// the conversion of counter ticks into seconds.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "sysinfo/system_figures.hpp"

namespace dpl::sysinfo {

inline constexpr int64_t kMeasureBytes = 10485760;  // 10 MB per test
inline constexpr double kTooSlowSeconds = 100.0;
inline constexpr int64_t kBytesPerMb = 1048576;

// Measured I/O goes page by page; unmeasured (the pre-fill) in large blocks.
inline std::size_t io_block_size(int32_t measure) {
    return measure != 0 ? static_cast<std::size_t>(kPageSize) : static_cast<std::size_t>(kLargeBlockSize);
}

// `size` zeroed bytes starting on a page boundary, as unbuffered I/O needs.
class AlignedBuffer {
public:
    explicit AlignedBuffer(std::size_t size) : storage_(size + kPageSize, '\0') {
        const auto address = reinterpret_cast<std::uintptr_t>(storage_.data());
        const std::size_t skip = static_cast<std::size_t>((kPageSize - address % kPageSize) % kPageSize);
        data_ = storage_.data() + skip;
    }
    char *data() { return data_; }

private:
    std::vector<char> storage_;
    char *data_ = nullptr;
};

// Seconds between two counter readings; never 0, so that rates stay finite.
inline double seconds_between(uint64_t start, uint64_t end) {
    const uint64_t elapsed = end - start;
    return static_cast<double>(elapsed != 0 ? elapsed : 1) / static_cast<double>(ticks_per_second());
}

// A rate figure as the 32-bit speed the summary keeps.
inline int32_t speed_figure(double value) {
    if (!(value > 0.0)) return 0;
    if (value >= 2147483647.0) return 2147483647;
    return static_cast<int32_t>(value);
}

}  // namespace dpl::sysinfo
