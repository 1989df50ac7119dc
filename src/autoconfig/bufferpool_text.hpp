// The BUFFERPOOL parameter's value: comma-separated items, each key=value
// (size, buffers, lrus, lru_min_dirty, lru_max_dirty, memory; other keys are
// ignored) or the word "default", blanks around items ignored.
#pragma once

#include <cstdint>
#include <string_view>

namespace dpl::autoconfig {

struct BufferPool {
    int64_t size_kb = 0;
    int32_t buffers = 0;
};

// Reads the pool of the given page size (KB). 0, or -1 after logging why the
// text is refused.
int32_t parse_bufferpool(std::string_view text, int64_t page_kb, BufferPool *out);

}  // namespace dpl::autoconfig
