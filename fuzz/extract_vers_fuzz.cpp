// Any text as a version text: the record holds flags of 0 or 1, never both
// beta and X, numbers that are never negative, and a build only under a
// beta or W marker.
#include <cstdlib>
#include <string>

#include "dpl/dpl.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size) {
    const std::string text(reinterpret_cast<const char *>(data), size);
    DplVersionInfo info;
    if (dplExtractVersInfo(&info, text.c_str()) != &info) std::abort();
    for (const int32_t flag : {info.beta, info.x, info.w, info.failed, info.further}) {
        if (flag != 0 && flag != 1) std::abort();
    }
    if (info.failed != 0 || (info.beta != 0 && info.x != 0)) std::abort();
    if (info.major < 0 || info.minor < 0 || info.level < 0 || info.build < 0) std::abort();
    if (info.build != 0 && info.beta == 0 && info.w == 0) std::abort();
    if (dplExtractVersInfo(nullptr, text.c_str()) != nullptr) std::abort();
    return 0;
}
