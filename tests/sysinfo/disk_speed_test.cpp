// Storage locations and the timed disk measurement on real directories.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "core/control_block.hpp"
#include "platform/forwarding_platform.hpp"
#include "storage/storage_fixture.hpp"
#include "sysinfo/disk_locations.hpp"
#include "sysinfo/system_figures.hpp"

namespace dpl::test {
namespace {

using DiskLocations = StorageTest;

std::vector<std::string> paths_of(DiskLocation *location) {
    std::vector<std::string> paths;
    for (; location != nullptr; location = location->next) paths.emplace_back(location->path);
    return paths;
}

TEST_F(DiskLocations, OneDirectoryLocationPerDevice) {
    const std::string first = subdirectory("a");
    const std::string second = subdirectory("b");
    const VolumeKb before = system_volume(first);
    ASSERT_EQ(0, dplAddDiskLocation(block, (first + "/not/yet/made").c_str(), 0, 99));
    const VolumeKb after = system_volume(first);
    ASSERT_EQ(0, dplAddDiskLocation(block, second.c_str(), 0, 0));
    ASSERT_EQ(0, sysinfo::add_directory_location(*block, dir.path().string()));
    EXPECT_EQ(std::vector<std::string>{first}, paths_of(dplGetDiskLocations(block)));
    DiskLocation *location = dplGetDiskLocations(block);
    EXPECT_EQ(0, location->is_file);
    EXPECT_EQ(0, location->offset);
    EXPECT_EQ(0, location->measured);
    EXPECT_TRUE(between(location->size, before.available, after.available));
}

TEST_F(DiskLocations, FilesAreListedAsGivenAndBadInputGetsCodes) {
    const std::string file = dir.file("raw.dat");
    ASSERT_EQ(0, dplAddDiskLocation(block, dir.path().string().c_str(), 0, 0));
    ASSERT_EQ(0, dplAddDiskLocation(block, file.c_str(), 1, 8192));
    EXPECT_EQ((std::vector<std::string>{dir.path().string(), file}), paths_of(dplGetDiskLocations(block)));
    const DiskLocation *added = dplGetDiskLocations(block)->next;
    EXPECT_EQ(1, added->is_file);
    EXPECT_EQ(8192, added->offset);

    uint32_t foreign[16] = {0x12345678u};
    EXPECT_EQ(DPL_E_BAD_CONTEXT,
              dplAddDiskLocation(reinterpret_cast<InstallControlBlock *>(foreign), "x", 0, 0));
    EXPECT_EQ(DPL_E_BAD_CONTEXT, dplAddDiskLocation(nullptr, "x", 0, 0));
    EXPECT_EQ(DPL_E_NULL_ARGUMENT, dplAddDiskLocation(block, nullptr, 0, 0));
    EXPECT_EQ(DPL_E_NULL_ARGUMENT, dplAddDiskLocation(block, "", 1, 0));
    EXPECT_EQ(DPL_E_NO_DIRECTORY, dplAddDiskLocation(block, "no-such-dir/below", 0, 0));
    EXPECT_EQ(nullptr, dplGetDiskLocations(nullptr));
}

using DiskSpeed = StorageTest;

// Times `directory` together with a pre-measured location; checks the
// summary and that no scratch file is left.
void measure_with_premeasured(InstallControlBlock *block, const std::string &directory) {
    ASSERT_EQ(0, dplAddDiskLocation(block, "no-such-dir/device", 1, 0));
    DiskLocation *known = dplGetDiskLocations(block);
    known->measured = 1;
    known->read_speed = 800;
    known->write_speed = 100;
    ASSERT_EQ(0, dplAddDiskLocation(block, directory.c_str(), 0, 0));

    ASSERT_EQ(0, measure_disk_speed(block));
    const DiskLocation *tested = known->next;
    EXPECT_GT(tested->read_speed, 0);
    EXPECT_EQ(0, tested->write_speed);
    EXPECT_GT(tested->write_rate, 0.0);
    EXPECT_EQ(800, known->read_speed);
    EXPECT_EQ(100, known->write_speed);
    EXPECT_FALSE(std::filesystem::exists("no-such-dir"));
    EXPECT_FALSE(std::filesystem::exists(std::filesystem::path(directory) / "mtest"));

    const Recommendation *summary = dplGetRecommendationRecord(block);
    const int32_t average_read = (800 + tested->read_speed) / 2;
    const int32_t average_write = 100 / 2;
    EXPECT_EQ(3, summary->cleaners);
    EXPECT_EQ(2, summary->disk_count);
    EXPECT_EQ((average_read + average_write) / 2, summary->disk_speed_avg);
    EXPECT_EQ(summary->disk_speed_avg / 8, summary->disk_speed_avg_eighth);
    EXPECT_EQ(std::min(average_read, average_write), summary->disk_speed_min);
}

TEST_F(DiskSpeed, RealDirectoryIsTimedAndItsScratchFileRemoved) {
    measure_with_premeasured(block, dir.path().string());
    const std::string text = log();
    EXPECT_PRED2(contains, text, "Testing speed fotr disk 'no-such-dir/device'.");
    EXPECT_PRED2(contains, text, "Measuring read speed " + dir.path().string() + "...\n");
    EXPECT_PRED2(contains, text, "10 MB in ");
    EXPECT_PRED2(contains, text, "Disk rated at: 10 MB in ");
}

#if !defined(_WIN32)
// A file system that refuses unbuffered I/O is timed through its cache.
TEST_F(DiskSpeed, MemoryFileSystemFallsBackToBufferedIo) {
    if (!std::filesystem::is_directory("/dev/shm")) GTEST_SKIP() << "no /dev/shm";
    ScratchDir unused;
    const std::string shm = "/dev/shm/" + unused.path().filename().string();
    std::filesystem::create_directory(shm);
    measure_with_premeasured(block, shm);
    std::filesystem::remove_all(shm);
}
#endif

// Every counter reading is 101 seconds after the one before.
class SlowDisk : public platform::ForwardingPlatform {
public:
    SlowDisk() : ForwardingPlatform(platform::native()) {
        step_ = static_cast<uint64_t>(sysinfo::ticks_per_second()) * 101;
        platform::install(this);
    }
    SlowDisk(const SlowDisk &) = delete;
    SlowDisk &operator=(const SlowDisk &) = delete;
    ~SlowDisk() override { platform::install(nullptr); }
    uint64_t ticks() override { return now_ += step_; }

private:
    uint64_t step_ = 0;
    uint64_t now_ = 0;
};

TEST_F(DiskSpeed, SlowDeviceStopsTheMeasurement) {
    ASSERT_EQ(0, dplAddDiskLocation(block, dir.path().string().c_str(), 0, 0));
    {
        SlowDisk slow;
        EXPECT_EQ(DPL_E_DISK_SLOW, measure_disk_speed(block));
    }
    EXPECT_PRED2(contains, log(),
                 "Device '" + dir.path().string() + "' too slow.\nUnable to configure system.\n");
    EXPECT_PRED2(contains, log(), "Received disk error during read speed test r_speed = -976");
    EXPECT_FALSE(std::filesystem::exists(dir.path() / "mtest"));

    const std::string file = dir.file("data");
    write_file(file, std::string(8192, 'x'));
    const int32_t fd = nt_open(file.c_str(), DPL_O_RDWR);
    ASSERT_NE(-1, fd);
    DiskLocation location{};
    location.path = const_cast<char *>(file.c_str());
    {
        SlowDisk slow;
        EXPECT_EQ(DPL_E_DISK_SLOW, test_write_speed(block, &location, fd, 8192, 1));
        EXPECT_EQ(0, test_write_speed(block, &location, fd, 8192, 0));
    }
    EXPECT_PRED2(contains, log(), "Device '" + file + "' too slow. Unable to configure system.");
    EXPECT_EQ(0, nt_close(fd));
}

TEST_F(DiskSpeed, BadArgumentsAndIoFailuresGetCodes) {
    DiskLocation location{};
    uint32_t foreign[16] = {0x12345678u};
    auto *fake = reinterpret_cast<InstallControlBlock *>(foreign);
    EXPECT_EQ(DPL_E_BAD_CONTEXT, measure_disk_speed(fake));
    EXPECT_EQ(DPL_E_BAD_CONTEXT, test_read_speed(fake, &location, 0, 4096, 1));
    EXPECT_EQ(DPL_E_BAD_CONTEXT, test_write_speed(fake, &location, 0, 4096, 1));
    EXPECT_EQ(DPL_E_NULL_ARGUMENT, test_read_speed(block, nullptr, 0, 4096, 1));
    EXPECT_EQ(DPL_E_NULL_ARGUMENT, test_write_speed(block, nullptr, 0, 4096, 1));
    // No such descriptor: the first seek fails.
    EXPECT_EQ(DPL_E_NO_DIRECTORY, test_read_speed(nullptr, &location, 1000000, 4096, 1));
    EXPECT_PRED2(contains, log(), "Seek failed at pos 0 in read errno = ");
    // A location without a path ends the measurement.
    ASSERT_EQ(0, dplAddDiskLocation(block, dir.path().string().c_str(), 0, 0));
    dplGetDiskLocations(block)->path = nullptr;
    EXPECT_EQ(DPL_E_NULL_ARGUMENT, measure_disk_speed(block));
}

}  // namespace
}  // namespace dpl::test
