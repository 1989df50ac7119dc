// A setting code and a text, for dplSetAutoConfig and then for
// dplUpdateRecommendation: the result is one of the codes the setting can
// give, and a known setting records it in its status slot.
#include <cstdint>
#include <cstdlib>
#include <initializer_list>
#include <string>

#include "dpl/dpl.h"
#include "fuzz_support.hpp"

namespace {

InstallControlBlock *block() {
    static InstallControlBlock *const shared = init_API(0, 1, "fuzz", "12.10.FC1");
    return shared;
}

bool one_of(int32_t rc, std::initializer_list<int32_t> codes) {
    for (const int32_t code : codes) {
        if (rc == code) return true;
    }
    return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size) {
    if (size < 2) return 0;
    // Codes a little beyond both ends of each table.
    const auto code = static_cast<int32_t>(static_cast<int8_t>(data[0]));
    const auto update = static_cast<int32_t>(data[1] % 64);
    const std::string text(reinterpret_cast<const char *>(data + 2), size - 2);
    InstallControlBlock *ctl = block();
    dpl::fuzz::check(ctl != nullptr);

    const int32_t rc = dplSetAutoConfig(ctl, code, text.c_str());
    dpl::fuzz::check(
        one_of(rc, {0, -955, -957, -960, -961, -962, -963, -964, -965, -966, -967, -975, -980, -1000}));
    const AutoConfigSettings *settings = dplGetAutoConfigSettings(ctl);
    if (code >= 0 && code <= DPL_SET_TEMPPATH && text.c_str()[0] != '\0') {
        dpl::fuzz::check(settings->status[code] == rc);
    }
    if (code < 0 || code > DPL_SET_TEMPPATH) dpl::fuzz::check(rc == -966 || rc == -967);
    dpl::fuzz::check(settings->rto_policy == 0 ||
                     (settings->rto_policy >= 60 && settings->rto_policy <= 1800));

    const int32_t updated = dplUpdateRecommendation(ctl, update, text.c_str());
    dpl::fuzz::check(one_of(updated, {0, -966, -975, -980, -1000}));
    const Recommendation *record = dplGetRecommendationRecord(ctl);
    // Absurd sizes may wrap (the page rounding keeps a 32-bit quotient, as the
    // figures always have); what must hold is that every figure can be read.
    static volatile uint64_t read_back = 0;
    for (const SpaceAllocation &entry : record->space)
        read_back = read_back + static_cast<uint64_t>(entry.size);
    for (int32_t figure = 0; figure <= 33; ++figure) dplGetRecommendation(ctl, figure);
    return 0;
}
