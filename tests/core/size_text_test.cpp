#include <gtest/gtest.h>

#include "core/size_units.hpp"
#include "dpl/dpl.h"

namespace {

TEST(SizeText, NumbersWithUnitsBecomeKilobytes) {
    const struct {
        const char *text;
        int64_t kilobytes;
    } cases[] = {
        {"16M", 16384},
        {"2K", 2},
        {"50 MB", 51200},
        {"0", 0},
        {"7kb", 7},
        {"3 Gb", 3LL << 20},
        {"1t", 1LL << 30},
        {"2pB", 2LL << 40},
        {"  \t12  mB \t ", 12288},
        {"9223372036854775807", INT64_MAX},
        {"8388607P", 8388607LL << 40},
    };
    for (const auto &c : cases) EXPECT_EQ(c.kilobytes, dplParseSize(c.text)) << '"' << c.text << '"';
}

TEST(SizeText, AnythingElseIsInvalid) {
    // Overflow of the number or of its unit's multiple included.
    for (const char *bad : {"8KX", "", "   ", "M", "-1", "1.5M", "1 2", "12 M B", "1X", "1KBB", "0x10",
                            "9223372036854775808", "8388608P", "99999999999999999999999", "5 MiB"}) {
        EXPECT_EQ(DPL_E_INVALID_VALUE, dplParseSize(bad)) << '"' << bad << '"';
    }
    EXPECT_EQ(DPL_E_INVALID_VALUE, dplParseSize(nullptr));
    // A unit name alone.
    EXPECT_EQ(DPL_UNITS_MB, dpl::core::unit_code("Mb"));
    EXPECT_EQ(DPL_E_INVALID_VALUE, dpl::core::unit_code(""));
    EXPECT_EQ(DPL_E_INVALID_VALUE, dpl::core::parse_unit_name(nullptr));
}

}  // namespace
