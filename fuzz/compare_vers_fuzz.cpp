// Any two texts as version texts: the answer is one of the documented codes,
// a text equals itself, and the rules that are symmetric stay symmetric.
#include <cstdlib>
#include <string>

#include "dpl/dpl.h"

namespace {

bool documented(int32_t code) {
    switch (code) {
        case DPL_VERS_SAME:
        case DPL_VERS_NEWER:
        case DPL_VERS_OLDER:
        case DPL_VERS_UNORDERED:
        case DPL_E_VERS_UNDECIDED:
        case DPL_E_VERS_FAMILY:
            return true;
        default:
            return false;
    }
}

int32_t opposite(int32_t code) {
    if (code == DPL_VERS_NEWER) return DPL_VERS_OLDER;
    if (code == DPL_VERS_OLDER) return DPL_VERS_NEWER;
    return code;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size) {
    const std::string input(reinterpret_cast<const char *>(data), size);
    const std::size_t split = input.find('\n');
    const std::string first_bytes = input.substr(0, split);
    const std::string second_bytes = split == std::string::npos ? std::string() : input.substr(split + 1);
    const char *first = first_bytes.c_str();
    const char *second = second_bytes.c_str();

    const int32_t forward = dplCompareVers(first, second);
    const int32_t backward = dplCompareVers(second, first);
    if (!documented(forward) || !documented(backward)) std::abort();
    if (dplCompareVers(first, first) != DPL_VERS_SAME) std::abort();
    if ((forward == DPL_VERS_SAME) != (backward == DPL_VERS_SAME)) std::abort();
    if ((forward == DPL_E_VERS_FAMILY) != (backward == DPL_E_VERS_FAMILY)) std::abort();

    DplVersionInfo a{};
    DplVersionInfo b{};
    dplExtractVersInfo(&a, first);
    dplExtractVersInfo(&b, second);
    const bool numbers_differ = a.major != b.major || a.minor != b.minor || a.level != b.level;
    if (forward != DPL_E_VERS_FAMILY && forward != DPL_VERS_SAME && numbers_differ &&
        (forward != opposite(backward) || (forward != DPL_VERS_NEWER && forward != DPL_VERS_OLDER))) {
        std::abort();
    }
    return 0;
}
