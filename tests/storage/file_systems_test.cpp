// Per-device requirements, the volume figures of real directories and the
// installation directory.
#include <gtest/gtest.h>

#include <string>

#include "storage/storage_fixture.hpp"
#include "support/installed_platform.hpp"
#include "support/recording_platform.hpp"

namespace dpl::test {
namespace {

using FileSystems = StorageTest;

TEST_F(FileSystems, VolumeFiguresAreTheSystemsOwn) {
    const std::string path = dir.file("not/made/yet");
    const std::string directory = dir.path().string();
    const auto total = [](const VolumeKb &kb) { return kb.total; };
    const auto available = [](const VolumeKb &kb) { return kb.available; };
    const auto available_mb = [](const VolumeKb &kb) { return kb.available >> 10; };
    const auto info = [&](bool want_total) {
        uint64_t total_kb = 0;
        uint64_t free_kb = 0;
        EXPECT_EQ(0, dplGetFileSysInfo(block, path.c_str(), &total_kb, &free_kb));
        return want_total ? total_kb : free_kb;
    };
    const auto free_space = [&] {
        return static_cast<uint64_t>(dplGetFileSysFreespace(block, path.c_str()));
    };
    EXPECT_TRUE(matches_system(
        directory, [&] { return info(true); }, total));
    EXPECT_TRUE(matches_system(
        directory, [&] { return info(false); }, available));
    EXPECT_TRUE(matches_system(directory, free_space, available));
    ASSERT_EQ(DPL_UNITS_MB, dplSetDiskMemUnits(block, "MB"));
    EXPECT_TRUE(matches_system(directory, free_space, available_mb));
    EXPECT_EQ(0, dplGetFileSysInfo(block, path.c_str(), nullptr, nullptr));
}

// A volume of 8 PiB: a figure in KB past 32 bits comes back whole through
// the call's guard, whose exit mark carries only 32 bits.
class HugeVolume : public InstalledPlatform {
public:
    bool volume_space(const std::string &, platform::VolumeSpace *space, platform::SysError *) override {
        *space = platform::VolumeSpace{uint64_t{1} << 53, uint64_t{1} << 53, uint64_t{1} << 53};
        return true;
    }
};

TEST_F(FileSystems, FiguresBeyondThirtyTwoBitsComeBackWhole) {
    HugeVolume os;
    EXPECT_EQ(int64_t{1} << 43, dplGetFileSysFreespace(block, dir.path().string().c_str()));
}

TEST_F(FileSystems, TwoDirectoriesOnOneVolumeGiveOneEntry) {
    const std::string first = subdirectory("one") + "/chunk1";
    const std::string second = subdirectory("two") + "/chunk2";
    const VolumeKb before = system_volume(dir.path().string());
    ASSERT_EQ(0, dplSetFileSysInfo(block, first.c_str(), 1000));
    const VolumeKb after = system_volume(dir.path().string());
    ASSERT_EQ(0, dplSetFileSysInfo(block, second.c_str(), 536));
    const FileSystemEntry *entry = dplGetFileSysList(block);
    ASSERT_NE(nullptr, entry);
    EXPECT_EQ(nullptr, entry->next);
    EXPECT_EQ(first, entry->path);
    EXPECT_EQ(dir.file("one"), entry->directory);
    EXPECT_EQ(1536u, entry->required_kb);
    EXPECT_EQ(0u, entry->reserved1);
    EXPECT_EQ(static_cast<uint32_t>(before.total), entry->total_kb);
    EXPECT_TRUE(between(entry->free_kb, before.available, after.available));

    ASSERT_EQ(DPL_UNITS_MB, dplSetDiskMemUnits(block, "MB"));
    EXPECT_EQ(1, dplGetFileSysRequiredspace(block, first.c_str(), 0));
    EXPECT_PRED2(contains, log(), "Path (" + first + ") has a requirement for 1\n");
    EXPECT_PRED2(contains, log(), "Found total requirement of 1\n");
}

TEST_F(FileSystems, RequirementFallsBackToTheRecommendation) {
    Recommendation *recommendation = dplGetRecommendationRecord(block);
    ASSERT_NE(nullptr, recommendation);
    char *const saved = recommendation->space[DPL_SPACE_ENTRY_DATA].path;
    std::string planned = dir.file("data/chunk");
    std::string elsewhere = "no-such-dir/chunk";
    recommendation->space[DPL_SPACE_ENTRY_DATA].path = planned.data();
    recommendation->space[DPL_SPACE_ENTRY_DATA].size = 1536;
    char *const saved_temp = recommendation->space[DPL_SPACE_ENTRY_TEMP].path;
    recommendation->space[DPL_SPACE_ENTRY_TEMP].path = elsewhere.data();
    ASSERT_EQ(DPL_UNITS_MB, dplSetDiskMemUnits(block, "MB"));
    const std::string queried = dir.file("other");
    EXPECT_EQ(1, dplGetFileSysRequiredspace(block, queried.c_str(), 0));
    ASSERT_EQ(DPL_UNITS_KB, dplSetDiskMemUnits(block, "KB"));
    EXPECT_EQ(1536, dplGetFileSysRequiredspace(block, queried.c_str(), 0));
    recommendation->space[DPL_SPACE_ENTRY_DATA].path = saved;
    recommendation->space[DPL_SPACE_ENTRY_TEMP].path = saved_temp;
    EXPECT_EQ(0, dplGetFileSysRequiredspace(block, queried.c_str(), 0));

    const std::string root = dir.path().string();
    EXPECT_PRED2(contains, log(),
                 " p Found total requirement of 0\n"
                 " p No path found for dbspace type 0\n"
                 " p No path found for dbspace type 1\n"
                 " p No path found for dbspace type 2\n"
                 " p Comparing subpaths (" +
                     root + ") and (" + root +
                     ")\n"
                     " p Recommendation found for 1536 KB\n"
                     " p No path found for dbspace type 4\n"
                     " p Could not determine valid subpath for (no-such-dir/chunk) in "
                     "dplGetFileSysRequiredspace\n"
                     " p Path (" +
                     queried + ") has a requirement for 1\n");
}

TEST_F(FileSystems, BadInputGetsCodesAndMessages) {
    uint32_t foreign[16] = {0x12345678u};
    auto *fake = reinterpret_cast<InstallControlBlock *>(foreign);
    struct Case {
        InstallControlBlock *block;
        const char *path;
        int32_t code;
    } const cases[] = {{fake, "x", DPL_E_BAD_CONTEXT},
                       {nullptr, "x", DPL_E_BAD_CONTEXT},
                       {block, nullptr, DPL_E_NULL_ARGUMENT},
                       {block, "", DPL_E_NULL_ARGUMENT},
                       {block, "no-such-dir/chunk", DPL_E_NO_DIRECTORY}};
    for (const Case &c : cases) {
        const std::string shown = c.path != nullptr ? c.path : "<null>";
        EXPECT_EQ(c.code, dplSetFileSysInfo(c.block, c.path, 1)) << shown;
        EXPECT_EQ(c.code, dplGetFileSysRequiredspace(c.block, c.path, 0)) << shown;
        EXPECT_EQ(c.code, dplGetFileSysFreespace(c.block, c.path)) << shown;
        EXPECT_EQ(c.code, dplGetFileSysInfo(c.block, c.path, nullptr, nullptr)) << shown;
    }
    EXPECT_EQ(nullptr, dplGetFileSysList(block));
    EXPECT_EQ(nullptr, dplGetFileSysList(fake));
    EXPECT_PRED2(contains, log(), "Null or blank path passed to dplGetFileSysRequiredspace\n");
    EXPECT_PRED2(contains, log(),
                 "Could not determine valid subpath for (no-such-dir/chunk) in "
                 "dplGetFileSysRequiredSpace\n");
}

// Counts the device status queries.
class CountingPlatform : public RecordingPlatform {
public:
    bool device_number(const std::string &path, uint32_t *device, platform::SysError *error) override {
        ++queries;
        return RecordingPlatform::device_number(path, device, error);
    }
    int queries = 0;
};

TEST_F(FileSystems, DeviceStatusIsAskedOncePerDirectory) {
    CountingPlatform counting;
    const std::string a = subdirectory("a") + "/c";
    const std::string b = subdirectory("b") + "/c";
    for (int i = 0; i < 50; ++i) {
        ASSERT_EQ(0, dplCreateSpace(block, 100, "s", (a + std::to_string(i)).c_str(), "1", "0"));
        ASSERT_EQ(0, dplCreateSpace(block, 100, "s", (b + std::to_string(i)).c_str(), "1", "0"));
    }
    EXPECT_EQ(2, counting.queries);
    EXPECT_EQ(100u, dplGetFileSysList(block)->required_kb);
}

TEST_F(FileSystems, InstallDirectory) {
    EXPECT_EQ(std::string(), dplGetInstallDir(block));
    EXPECT_EQ(0, dplSetInstallDir(block, "C:\\Program Files\\Orvandex"));
    EXPECT_EQ(0, dplSetInstallDir(block, "C:\\Program Files\\Orvandex"));
    EXPECT_EQ(std::string("C:\\Program Files\\Orvandex"), dplGetInstallDir(block));
    const std::string long_path(300, 'd');
    EXPECT_EQ(0, dplSetInstallDir(block, long_path.c_str()));
    EXPECT_EQ(long_path.substr(0, 259), dplGetInstallDir(block));
    EXPECT_EQ(DPL_E_NULL_ARGUMENT, dplSetInstallDir(block, ""));
    EXPECT_EQ(DPL_E_NULL_ARGUMENT, dplSetInstallDir(block, nullptr));
    uint32_t foreign[16] = {0x12345678u};
    auto *fake = reinterpret_cast<InstallControlBlock *>(foreign);
    EXPECT_EQ(DPL_E_BAD_CONTEXT, dplSetInstallDir(fake, "x"));
    EXPECT_EQ(nullptr, dplGetInstallDir(fake));
}

}  // namespace
}  // namespace dpl::test
