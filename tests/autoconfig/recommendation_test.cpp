// Adjusting single figures after a calculation, and reading them back in the
// block's display unit.
#include <memory>
#include <string>
#include <vector>

#include "autoconfig_fixture.hpp"

namespace dpl::test {
namespace {

using AutoconfigRecommendation = AutoconfigTest;
using Messages = std::vector<std::string>;

struct UpdateCase {
    int32_t code;
    std::string value;
    int32_t rc;
    Messages messages;
    int32_t figure_code;  // read back with dplGetRecommendation, -1 for none
    int64_t figure;
};

TEST_F(AutoconfigRecommendation, UpdatesCheckAndRoundTheirValues) {
    const std::string path = dir.file("spaces");
    const std::vector<UpdateCase> cases = {
        {20, "100", 0, {}, 20, 4096},
        {20, "0", -966, {"Invalid value 0 for rootdbs size"}, 20, 4096},
        {20, "abc", -966, {"Invalid value abc for rootdbs size"}, -1, 0},
        {21, "10MB", 0, {}, 21, 1060864},
        {22, "x", -966, {"Invalid value x for physlog size"}, 22, 12288},
        {22, "9999999999999PB", -966, {"Invalid value 9999999999999PB for physlog size"}, 22, 12288},
        {24, "2", -966, {"Invalid number of logs (2) specified"}, -1, 0},
        {24, "32768", -966, {"Invalid number of logs (32768) specified"}, -1, 0},
        {24, "5", 0, {}, 23, 4096},
        {25, "8192", 0, {}, 23, 45056},
        {25, "", -966, {"Invalid value  for logical log size"}, 25, 8193},
        {26, "50MB", 0, {}, 26, 53248},
        {28, "-1", -966, {"Invalid value -1 for physlog size"}, 28, 0},
        {30, "4097", 0, {}, 30, 8192},
        {23, "1", -966, {"dplUpdateRecommendation: Unknown type 23 "}, 24, 5},
        {56,
         "1",
         -966,
         {"dplUpdateRecommendation: Unknown type 56 "},
         19,
         4096 + 1060864 + 45056 + 53248 + 8192},
        {50, path, 0, {}, -1, 0},
        {51, "no-such-place", -975, {"Path no-such-place is not valid"}, -1, 0},
    };
    for (const UpdateCase &c : cases) {
        new_messages();
        EXPECT_EQ(c.rc, dplUpdateRecommendation(block, c.code, c.value.c_str())) << c.code << " " << c.value;
        EXPECT_EQ(c.messages, new_messages()) << c.code << " " << c.value;
        if (c.figure_code >= 0) {
            EXPECT_EQ(c.figure, dplGetRecommendation(block, c.figure_code)) << c.code;
        }
    }
    const std::unique_ptr<char, decltype(&dplFree)> root(dplGetRecommendationString(block, 50), &dplFree);
    ASSERT_NE(nullptr, root);
    EXPECT_EQ(path, root.get());
    EXPECT_NE(nullptr, dplGetDiskLocations(block));
    EXPECT_EQ(nullptr, dplGetRecommendationString(block, 55));
    EXPECT_EQ(nullptr, dplGetRecommendationString(block, 49));
    EXPECT_EQ(Messages{"Failed to retrieve TEMPPATH"}, new_messages());
}

TEST_F(AutoconfigRecommendation, FiguresInTheDisplayUnit) {
    record->shm_virtual_size = 105472;
    record->shm_add = 3290;
    record->buffers = 23680;
    record->locks = 40000;
    record->space[DPL_SPACE_ENTRY_DATA].size = 53248;
    record->space[DPL_SPACE_ENTRY_DATA].chunks = 3;
    EXPECT_EQ(94720, dplGetRecommendation(block, 0));
    EXPECT_EQ(201129, dplGetRecommendation(block, 4));
    EXPECT_EQ(40000, dplGetRecommendation(block, 6));
    EXPECT_EQ(3, dplGetRecommendation(block, 27));
    EXPECT_EQ(1, dplGetRecommendation(block, 32));
    for (const int32_t code : {9, 18, 33, -1}) EXPECT_EQ(-966, dplGetRecommendation(block, code)) << code;
    ASSERT_EQ(DPL_UNITS_MB, dplSetDiskMemUnits(block, "MB"));
    EXPECT_EQ(103, dplGetRecommendation(block, 1));
    EXPECT_EQ(52, dplGetRecommendation(block, 26));
    EXPECT_EQ(52, dplGetRecommendation(block, 19));
    // The parts of the total memory figure are 32-bit products.
    record->buffers = 1 << 20;
    ASSERT_EQ(DPL_UNITS_KB, dplSetDiskMemUnits(block, "KB"));
    EXPECT_EQ(106409, dplGetRecommendation(block, 4));
    EXPECT_EQ(-947, dplGetRecommendation(nullptr, 0));
}

}  // namespace
}  // namespace dpl::test
