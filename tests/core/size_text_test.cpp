#include <gtest/gtest.h>

#include <string>

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
        {"7", 7},
        {"7kb", 7},
        {"3g", 3LL << 20},
        {"3 Gb", 3LL << 20},
        {"1T", 1LL << 30},
        {"1tB", 1LL << 30},
        {"2P", 2LL << 40},
        {"2pb", 2LL << 40},
        {"  \t12  mB \t ", 12288},
        {"0000000000000000000000000000012", 12},
        {"9223372036854775807", INT64_MAX},
        {"8388607P", 8388607LL << 40},
    };
    for (const auto &c : cases) EXPECT_EQ(c.kilobytes, dplParseSize(c.text)) << '"' << c.text << '"';
}

TEST(SizeText, AnythingElseIsInvalid) {
    const char *const bad[] = {"8KX",
                               "",
                               "   ",
                               "M",
                               "K5",
                               "-1",
                               "+1",
                               "1.5M",
                               "1 2",
                               "12 M B",
                               "1X",
                               "1KBB",
                               "1\n",
                               "0x10",
                               "9223372036854775808",
                               "8388608P",
                               "9007199254740992G",
                               "99999999999999999999999",
                               "5 MiB"};
    for (const char *text : bad) EXPECT_EQ(DPL_E_INVALID_VALUE, dplParseSize(text)) << '"' << text << '"';
    EXPECT_EQ(DPL_E_INVALID_VALUE, dplParseSize(nullptr));
    // An embedded zero ends a C text but not a view of it.
    EXPECT_EQ(5, dplParseSize(std::string("5\0K", 3).c_str()));
    EXPECT_EQ(DPL_E_INVALID_VALUE, dpl::core::parse_size_kb(std::string_view("5\0K", 3)));
}

TEST(SizeText, UnitNamesAloneGiveTheirCodes) {
    EXPECT_EQ(DPL_UNITS_KB, dpl::core::unit_code("k"));
    EXPECT_EQ(DPL_UNITS_MB, dpl::core::unit_code("Mb"));
    EXPECT_EQ(DPL_UNITS_PB, dpl::core::unit_code("PB"));
    EXPECT_EQ(DPL_E_INVALID_VALUE, dpl::core::unit_code(""));
    EXPECT_EQ(DPL_E_INVALID_VALUE, dpl::core::unit_code("KBB"));
    EXPECT_EQ(DPL_E_INVALID_VALUE, dpl::core::unit_code("B"));
    EXPECT_EQ(DPL_E_INVALID_VALUE, dpl::core::unit_code("XB"));
    EXPECT_EQ(DPL_E_INVALID_VALUE, dpl::core::parse_unit_name(nullptr));
}

}  // namespace
