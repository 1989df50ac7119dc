// Any text as a protocol name: an accepted one converts back to its own
// first eight characters.
#include <cstdlib>
#include <cstring>
#include <string>

#include "dpl/dpl.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size) {
    const std::string text(reinterpret_cast<const char *>(data), size);
    const uint32_t code = dplMapStringtoProtocol(text.c_str());
    if (code == 0) return 0;
    char *back = dplMapProtocol(code);
    if (back == nullptr) std::abort();
    const std::string c_text(text.c_str());
    if (code == DPL_PROTOCOL_GROUP) {
        if (c_text.rfind("group", 0) != 0 || std::strcmp(back, "group") != 0) std::abort();
    } else if (std::strlen(back) != 8 || c_text.compare(0, 8, back) != 0) {
        std::abort();
    }
    dplFree(back);
    // Every code maps to text without reading or writing out of bounds.
    for (const uint32_t any : {code ^ 0xFFFFFFFFu, code << 3, code | 1u}) dplFree(dplMapProtocol(any));
    return 0;
}
