// dplCompareVers: which of two product version texts is the newer. The rules
// are deliberately lopsided for builds and the "W" and "X" markers; their
// order is part of the contract.
#include <cstring>
#include <initializer_list>

#include "dpl/dpl.h"

namespace {

bool contains(const char *text, char letter) {
    return std::strchr(text, letter) != nullptr;
}

// 3003 when a is the greater, 3004 when the smaller, 0 when equal.
int32_t order(int32_t a, int32_t b) {
    if (a > b) return DPL_VERS_NEWER;
    if (a < b) return DPL_VERS_OLDER;
    return 0;
}

// The X marker decides last: both have it, neither can be ordered.
int32_t by_x_marker(const DplVersionInfo &a, const DplVersionInfo &b) {
    if (a.x != 0) return b.x != 0 ? DPL_VERS_UNORDERED : DPL_VERS_NEWER;
    return b.x != 0 ? DPL_VERS_OLDER : DPL_E_VERS_UNDECIDED;
}

int32_t compare(const char *first, const char *second) {
    DplVersionInfo a{};
    DplVersionInfo b{};
    dplExtractVersInfo(&a, first);
    dplExtractVersInfo(&b, second);
    if (a.failed != 0 || b.failed != 0) return DPL_E_NOMEM;
    if (std::strcmp(first, second) == 0) return DPL_VERS_SAME;
    for (const char family : {'T', 'U', 'F'}) {
        if (contains(first, family) != contains(second, family)) return DPL_E_VERS_FAMILY;
    }
    for (const auto field : {&DplVersionInfo::major, &DplVersionInfo::minor, &DplVersionInfo::level}) {
        if (const int32_t decided = order(a.*field, b.*field)) return decided;
    }
    if (a.beta != 0 && b.beta == 0) return DPL_VERS_OLDER;
    if (b.beta != 0 && a.beta == 0) return DPL_VERS_NEWER;
    if (a.beta != 0) {
        if (const int32_t decided = order(a.build, b.build)) return decided;
    }
    if (a.w != 0) {
        if (b.w == 0) return DPL_VERS_NEWER;
        if (const int32_t decided = order(a.build, b.build)) return decided;
        if (a.further != 0) return b.further != 0 ? DPL_VERS_UNORDERED : DPL_VERS_NEWER;
        if (b.further != 0) return DPL_VERS_OLDER;
        return by_x_marker(a, b);
    }
    if (b.w != 0) return DPL_VERS_OLDER;
    return by_x_marker(a, b);
}

}  // namespace

extern "C" int32_t dplCompareVers(const char *first, const char *second) {
    // A missing text is one that cannot be parsed.
    if (first == nullptr || second == nullptr) return DPL_E_NOMEM;
    return compare(first, second);
}
