#include <gtest/gtest.h>

#include "dpl/dpl.h"

namespace {

struct VersionCase {
    const char *text;
    int32_t major, minor, level, build;
    int32_t beta, x, w, further;
};

TEST(VersionInfo, NumbersAndFlagsOfVersionTexts) {
    const VersionCase cases[] = {
        {"12.10.FC1", 12, 10, 1, 0, 0, 0, 0, 0},
        {"11.70.UC8W2", 11, 70, 8, 2, 0, 0, 1, 0},
        {"9.40.TC5", 9, 40, 5, 0, 0, 0, 0, 0},
        {"12.10.FB2", 12, 10, 2, 0, 1, 0, 0, 0},
        {"14.10.UB3.7", 14, 10, 3, 7, 1, 0, 0, 0},
        {"12.10.XB4.5", 12, 10, 4, 0, 0, 1, 0, 1},
        {"11.50.FC9X1", 11, 50, 9, 0, 0, 1, 0, 1},
        {"12", 12, 0, 0, 0, 0, 0, 0, 0},
        {"", 0, 0, 0, 0, 0, 0, 0, 0},
        {"..HUFT", 0, 0, 0, 0, 0, 0, 0, 0},
        {"a.b7.3x", 0, 0, 3, 0, 0, 0, 0, 0},
        {"99999999999.1.1", INT32_MAX, 1, 1, 0, 0, 0, 0, 0},
    };
    for (const auto &c : cases) {
        DplVersionInfo info;
        ASSERT_EQ(&info, dplExtractVersInfo(&info, c.text));
        EXPECT_EQ(c.major, info.major) << c.text;
        EXPECT_EQ(c.minor, info.minor) << c.text;
        EXPECT_EQ(c.level, info.level) << c.text;
        EXPECT_EQ(c.build, info.build) << c.text;
        EXPECT_EQ(c.beta, info.beta) << c.text;
        EXPECT_EQ(c.x, info.x) << c.text;
        EXPECT_EQ(c.w, info.w) << c.text;
        EXPECT_EQ(c.further, info.further) << c.text;
        EXPECT_EQ(0, info.failed) << c.text;
    }
    // Null arguments are harmless; no text reads as zeros.
    EXPECT_EQ(nullptr, dplExtractVersInfo(nullptr, "12.10.FC1"));
    DplVersionInfo info;
    info.major = 5;
    EXPECT_EQ(&info, dplExtractVersInfo(&info, nullptr));
    EXPECT_EQ(0, info.major);
}

}  // namespace
