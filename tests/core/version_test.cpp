// Version texts: their numbers and flags, and how two of them compare.
#include <gtest/gtest.h>

#include "dpl/dpl.h"

namespace {

TEST(VersionCompare, CasesInBothOrders) {
    const struct {
        const char *first;
        const char *second;
        int32_t forward;   // first against second
        int32_t backward;  // second against first
    } cases[] = {
        {"12.10.FC1", "12.10.FC1", DPL_VERS_SAME, DPL_VERS_SAME},
        {"12.10.FC1", "11.70.FC8", DPL_VERS_NEWER, DPL_VERS_OLDER},
        {"12.10.FC1", "12.10.UC1", DPL_E_VERS_FAMILY, DPL_E_VERS_FAMILY},
        {"11.70.FC8W2", "11.70.FC8W1", DPL_VERS_NEWER, DPL_VERS_OLDER},
        {"11.70.FC8W1", "11.70.FC8", DPL_VERS_NEWER, DPL_VERS_OLDER},
        {"12.10.FC1", "12.10.FC01", DPL_E_VERS_UNDECIDED, DPL_E_VERS_UNDECIDED},
        {"11.50.FC9X1", "11.50.FC9", DPL_VERS_NEWER, DPL_VERS_OLDER},
        // Numbers, compared as numbers, in the order major, minor, level.
        {"12.10.FC1", "12.11.FC0", DPL_VERS_OLDER, DPL_VERS_NEWER},
        {"12.10.FC10", "12.10.FC9", DPL_VERS_NEWER, DPL_VERS_OLDER},
        {"10.00.TC1", "9.40.TC5", DPL_VERS_NEWER, DPL_VERS_OLDER},
        // The family letters are looked for before any number.
        {"14.10.TC1", "9.40.FC5", DPL_E_VERS_FAMILY, DPL_E_VERS_FAMILY},
        {"12.10.FC1", "12.10.C1", DPL_E_VERS_FAMILY, DPL_E_VERS_FAMILY},
        // Betas are older than releases and ordered by build; equal ones go
        // on to the markers. "X" makes a text no beta even with "B" in it.
        {"12.10.FB1", "12.10.FC1", DPL_VERS_OLDER, DPL_VERS_NEWER},
        {"12.10.FB1.7", "12.10.FB1.3", DPL_VERS_NEWER, DPL_VERS_OLDER},
        {"12.10.FB1.3", "12.10.FB01.3", DPL_E_VERS_UNDECIDED, DPL_E_VERS_UNDECIDED},
        {"12.10.FXB1", "12.10.FC1", DPL_VERS_NEWER, DPL_VERS_OLDER},
        // Under W: the build, then the further token, then X.
        {"11.70.FC8W1.2", "11.70.FC8W1", DPL_VERS_NEWER, DPL_VERS_OLDER},
        {"11.70.FC8W1.2", "11.70.FC8W1.3", DPL_VERS_UNORDERED, DPL_VERS_UNORDERED},
        {"11.70.FC8W1X", "11.70.FC8W1", DPL_VERS_NEWER, DPL_VERS_OLDER},
        {"11.70.FC8W1", "11.70.FC8W01", DPL_E_VERS_UNDECIDED, DPL_E_VERS_UNDECIDED},
        {"11.70.FC8W1X2", "11.70.FC8W1X3", DPL_VERS_UNORDERED, DPL_VERS_UNORDERED},
        // Without W: a W on the other side wins before X is looked at.
        {"11.50.FC9X1", "11.50.FC9X2", DPL_VERS_UNORDERED, DPL_VERS_UNORDERED},
        {"11.50.FC9", "11.50.FC9X2", DPL_VERS_OLDER, DPL_VERS_NEWER},
        {"11.50.FC9X1", "11.50.FC9W1", DPL_VERS_OLDER, DPL_VERS_NEWER},
        // Empty and odd texts parse to zeros and compare like any other.
        {"", "...", DPL_E_VERS_UNDECIDED, DPL_E_VERS_UNDECIDED},
        {"", "1", DPL_VERS_OLDER, DPL_VERS_NEWER},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(c.forward, dplCompareVers(c.first, c.second)) << c.first << " vs " << c.second;
        EXPECT_EQ(c.backward, dplCompareVers(c.second, c.first)) << c.second << " vs " << c.first;
    }
    // A missing text is one that cannot be parsed.
    EXPECT_EQ(DPL_E_NOMEM, dplCompareVers(nullptr, "12.10.FC1"));
    EXPECT_EQ(DPL_E_NOMEM, dplCompareVers("12.10.FC1", nullptr));
}

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
