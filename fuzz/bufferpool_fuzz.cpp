// Any text as a BUFFERPOOL value: refused with -1, or accepted with a
// size= item equal to the page and a buffers= item.
#include <cstdint>
#include <string>

#include "autoconfig/bufferpool_text.hpp"
#include "fuzz_support.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size) {
    const std::string text(reinterpret_cast<const char *>(data), size);
    dpl::autoconfig::BufferPool pool;
    const int32_t rc = dpl::autoconfig::parse_bufferpool(text, 4, &pool);
    dpl::fuzz::check(rc == 0 || rc == -1);
    if (rc == 0) {
        dpl::fuzz::check(pool.size_kb == 4);
        dpl::fuzz::check(pool.buffers >= 0);
        dpl::fuzz::check(text.find("size=") != std::string::npos);
        dpl::fuzz::check(text.find("buffers=") != std::string::npos);
    }
    return 0;
}
