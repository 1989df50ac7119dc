#include <gtest/gtest.h>

#include "dpl/dpl.h"

namespace {

struct Comparison {
    const char *first;
    const char *second;
    int32_t forward;   // first against second
    int32_t backward;  // second against first
};

// The documented cases, each in both orders.
TEST(VersionCompare, DocumentedCasesInBothOrders) {
    const Comparison cases[] = {
        {"12.10.FC1", "12.10.FC1", DPL_VERS_SAME, DPL_VERS_SAME},
        {"12.10.FC1", "11.70.FC8", DPL_VERS_NEWER, DPL_VERS_OLDER},
        {"12.10.FC1", "12.10.UC1", DPL_E_VERS_FAMILY, DPL_E_VERS_FAMILY},
        {"11.70.FC8W2", "11.70.FC8W1", DPL_VERS_NEWER, DPL_VERS_OLDER},
        {"11.70.FC8W1", "11.70.FC8", DPL_VERS_NEWER, DPL_VERS_OLDER},
        {"12.10.FC1", "12.10.FC01", DPL_E_VERS_UNDECIDED, DPL_E_VERS_UNDECIDED},
        {"11.50.FC9X1", "11.50.FC9", DPL_VERS_NEWER, DPL_VERS_OLDER},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(c.forward, dplCompareVers(c.first, c.second)) << c.first << " vs " << c.second;
        EXPECT_EQ(c.backward, dplCompareVers(c.second, c.first)) << c.second << " vs " << c.first;
    }
}

TEST(VersionCompare, NumbersDecideInOrderMajorMinorLevel) {
    EXPECT_EQ(DPL_VERS_NEWER, dplCompareVers("12.10.FC1", "11.99.FC99"));
    EXPECT_EQ(DPL_VERS_OLDER, dplCompareVers("12.10.FC1", "12.11.FC0"));
    EXPECT_EQ(DPL_VERS_NEWER, dplCompareVers("12.10.FC10", "12.10.FC9"));
    // Numbers are compared as numbers, not as text.
    EXPECT_EQ(DPL_VERS_NEWER, dplCompareVers("10.00.TC1", "9.40.TC5"));
    // The family letters are looked for before any number.
    EXPECT_EQ(DPL_E_VERS_FAMILY, dplCompareVers("14.10.TC1", "9.40.FC5"));
    EXPECT_EQ(DPL_E_VERS_FAMILY, dplCompareVers("12.10.C1", "12.10.UC1"));
}

TEST(VersionCompare, BetasAreOlderThanReleasesAndOrderedByBuild) {
    EXPECT_EQ(DPL_VERS_OLDER, dplCompareVers("12.10.FB1", "12.10.FC1"));
    EXPECT_EQ(DPL_VERS_NEWER, dplCompareVers("12.10.FC1", "12.10.FB1"));
    EXPECT_EQ(DPL_VERS_NEWER, dplCompareVers("12.10.FB1.7", "12.10.FB1.3"));
    EXPECT_EQ(DPL_VERS_OLDER, dplCompareVers("12.10.FB1.3", "12.10.FB1.7"));
    // Equal betas go on to the markers: none decides.
    EXPECT_EQ(DPL_E_VERS_UNDECIDED, dplCompareVers("12.10.FB1.3", "12.10.FB01.3"));
    // "X" makes a text no beta even with "B" in it.
    EXPECT_EQ(DPL_VERS_NEWER, dplCompareVers("12.10.FXB1", "12.10.FC1"));
}

TEST(VersionCompare, WMarkerRules) {
    // Builds under W, then the further token, then X.
    EXPECT_EQ(DPL_VERS_NEWER, dplCompareVers("11.70.FC8W1.2", "11.70.FC8W1"));
    EXPECT_EQ(DPL_VERS_OLDER, dplCompareVers("11.70.FC8W1", "11.70.FC8W1.2"));
    EXPECT_EQ(DPL_VERS_UNORDERED, dplCompareVers("11.70.FC8W1.2", "11.70.FC8W1.3"));
    EXPECT_EQ(DPL_VERS_NEWER, dplCompareVers("11.70.FC8W1X", "11.70.FC8W1"));
    EXPECT_EQ(DPL_VERS_OLDER, dplCompareVers("11.70.FC8W1", "11.70.FC8W1X"));
    EXPECT_EQ(DPL_E_VERS_UNDECIDED, dplCompareVers("11.70.FC8W1", "11.70.FC8W01"));
    // A W text with X and a further token: the further token decides first.
    EXPECT_EQ(DPL_VERS_UNORDERED, dplCompareVers("11.70.FC8W1X2", "11.70.FC8W1X3"));
}

TEST(VersionCompare, XMarkerWithoutW) {
    EXPECT_EQ(DPL_VERS_UNORDERED, dplCompareVers("11.50.FC9X1", "11.50.FC9X2"));
    EXPECT_EQ(DPL_VERS_OLDER, dplCompareVers("11.50.FC9", "11.50.FC9X2"));
    // Without W, a W on the other side wins before X is looked at.
    EXPECT_EQ(DPL_VERS_OLDER, dplCompareVers("11.50.FC9X1", "11.50.FC9W1"));
}

TEST(VersionCompare, TextsThatCannotBeParsed) {
    EXPECT_EQ(DPL_E_NOMEM, dplCompareVers(nullptr, "12.10.FC1"));
    EXPECT_EQ(DPL_E_NOMEM, dplCompareVers("12.10.FC1", nullptr));
    EXPECT_EQ(DPL_E_NOMEM, dplCompareVers(nullptr, nullptr));
    // Empty and odd texts parse to zeros and compare like any other.
    EXPECT_EQ(DPL_VERS_SAME, dplCompareVers("", ""));
    EXPECT_EQ(DPL_E_VERS_UNDECIDED, dplCompareVers("", "..."));
    EXPECT_EQ(DPL_VERS_OLDER, dplCompareVers("", "1"));
}

}  // namespace
