// The calculation over pre-measured locations (no disk I/O): the worked
// figures, the recovery-time and log-size rounding cases, the mirror flags
// and the failures that stop it.
#include <algorithm>
#include <string>
#include <vector>

#include "autoconfig_fixture.hpp"

namespace dpl::test {
namespace {

using AutoconfigCalculation = AutoconfigTest;

bool logged(const std::vector<std::string> &messages, const std::string &text) {
    return std::find(messages.begin(), messages.end(), text) != messages.end();
}

TEST_F(AutoconfigCalculation, InitialSettingsGiveTheWorkedMemoryFigures) {
    small_server(2000, 0);
    ASSERT_EQ(0, dplCalculateRecommendation(block));
    EXPECT_EQ(2, record->stage);
    EXPECT_EQ(1, record->disk_count);
    EXPECT_EQ(1000, record->disk_speed_avg);
    EXPECT_EQ(125, record->disk_speed_avg_eighth);
    EXPECT_EQ(2, record->cleaners);
    EXPECT_EQ(20971520, record->user_memory);
    EXPECT_EQ(26214400, record->ds_memory);
    EXPECT_EQ(105472, record->shm_virtual_size);
    EXPECT_EQ(3290, record->shm_add);
    EXPECT_EQ(23680, record->buffers);
    EXPECT_EQ(16, record->lrus);
    EXPECT_EQ(40000, record->locks);
    EXPECT_EQ(5, record->ds_max_scans);
    EXPECT_EQ(1310720, record->ds_nonpdq_query_mem);
    EXPECT_EQ(0, record->vp_memory_cache);
    EXPECT_EQ(5242880, record->onlidx_maxmem);
    EXPECT_EQ(1, record->net_poll_threads);
    const std::vector<std::string> messages = new_messages();
    EXPECT_TRUE(logged(messages, "107806720 bytes needed from 204800000 bytes granted"));
    EXPECT_TRUE(logged(messages, "Minimum memory is 105280 KB"));

    // rto 60: n = 7, a physical log of 4096 x 7 x 1000 bytes; the logical log
    // is raised to the 24 MB minimum and split in four.
    const SpaceAllocation *space = record->space;
    EXPECT_EQ(28672000, space[DPL_SPACE_ENTRY_PLOG].unit_size);
    EXPECT_EQ(29024, space[DPL_SPACE_ENTRY_PLOG].size);
    EXPECT_EQ(4, space[DPL_SPACE_ENTRY_LLOG].log_count);
    EXPECT_EQ(6291456, space[DPL_SPACE_ENTRY_LLOG].unit_size);
    EXPECT_EQ(28672, space[DPL_SPACE_ENTRY_LLOG].size);
    EXPECT_EQ(155648, space[DPL_SPACE_ENTRY_ROOT].size);
    EXPECT_EQ(53248, space[DPL_SPACE_ENTRY_DATA].size);
    EXPECT_EQ(32768, space[DPL_SPACE_ENTRY_SLOB].size);
    EXPECT_EQ(20480, space[DPL_SPACE_ENTRY_TEMP].size);
    EXPECT_TRUE(logged(messages, "Max plog recoverable 27Mb - Buffer pool 94720Mb"));
    EXPECT_TRUE(logged(messages, "Adjusted calculated llog of 4194304 to minimum size of 24MB"));
    EXPECT_TRUE(logged(messages, "Total space needed: 368640 KB"));
    const std::string root = dir.file("dbspaces") + sep() + "rootdbs.000";
    EXPECT_EQ(root, space[DPL_SPACE_ENTRY_ROOT].path);
    EXPECT_EQ(dir.file("dbspaces") + sep() + "llogdbs.000", space[DPL_SPACE_ENTRY_LLOG].path);
}

struct LogCase {
    const char *rto;
    int32_t read_speed;
    int64_t plog_unit;
    int32_t log_count;
    int64_t llog_unit;
    int64_t llog_size;
    const char *message;
};

TEST_F(AutoconfigCalculation, RecoveryTimeAndLogRounding) {
    const std::vector<LogCase> cases = {
        // rto 61: n = 8.
        {"61", 2000, 32768000, 4, 6291456, 28672, "Max plog recoverable 31Mb - Buffer pool 94720Mb"},
        // 4096 x 8 x 256: exactly 8 MB becomes 12 MB, then the 24 MB minimum.
        {"61", 4096, 67108864, 4, 6291456, 28672,
         "Adjusted calculated llog of 12582912 to minimum size of 24MB"},
        // 4096 x 8 x 544: 17 MB becomes 20 MB, then 24 MB with four logs.
        {"61", 8704, 96993280, 4, 6291456, 28672,
         "Adjusted calculated llog of 20971520 to minimum size of 24MB"},
        // 4096 x 8 x 1024: 32 MB gains 4 MB and is split into eight logs.
        {"61", 16384, 96993280, 8, 4718592, 40960, "Calculated logical log size: 37748736"},
    };
    small_server(0, 0);
    for (const LogCase &c : cases) {
        ASSERT_EQ(0, dplSetAutoConfig(block, DPL_SET_RTOPOLICY, c.rto));
        measured_locations(c.read_speed, 0);
        new_messages();
        ASSERT_EQ(0, dplCalculateRecommendation(block)) << c.read_speed;
        const SpaceAllocation *space = record->space;
        EXPECT_EQ(c.plog_unit, space[DPL_SPACE_ENTRY_PLOG].unit_size) << c.read_speed;
        EXPECT_EQ(c.log_count, space[DPL_SPACE_ENTRY_LLOG].log_count) << c.read_speed;
        EXPECT_EQ(c.llog_unit, space[DPL_SPACE_ENTRY_LLOG].unit_size) << c.read_speed;
        EXPECT_EQ(c.llog_size, space[DPL_SPACE_ENTRY_LLOG].size) << c.read_speed;
        EXPECT_TRUE(logged(new_messages(), c.message)) << c.message;
    }
}

TEST_F(AutoconfigCalculation, MirrorFlagsDoubleRootOrTotalButNotBoth) {
    struct MirrorCase {
        const char *critical;
        const char *all;
        const char *total;
    };
    const std::vector<MirrorCase> cases = {
        {"F", "F", "Total space needed: 368640 KB"},
        {"T", "F", "Total space needed: 524288 KB"},
        {"F", "T", "Total space needed: 737280 KB"},
        {"T", "T", "Total space needed: 368640 KB"},
    };
    small_server(2000, 0);
    for (const MirrorCase &c : cases) {
        ASSERT_EQ(0, dplSetAutoConfig(block, DPL_SET_MIRROR_CRITICAL, c.critical));
        ASSERT_EQ(0, dplSetAutoConfig(block, DPL_SET_MIRROR_ALL, c.all));
        new_messages();
        ASSERT_EQ(0, dplCalculateRecommendation(block));
        EXPECT_TRUE(logged(new_messages(), c.total)) << c.critical << c.all;
        EXPECT_EQ(155648, record->space[DPL_SPACE_ENTRY_ROOT].size);
    }
}

TEST_F(AutoconfigCalculation, FailuresStopAtTheirStepAndLeaveTheOnconfigAlone) {
    new_messages();
    EXPECT_EQ(-1, dplCalculateRecommendation(block));
    EXPECT_EQ((std::vector<std::string>{
                  "Validating calculation parameters", "Error (-975) detected at step 11 -- cannot calculate",
                  "Number of errors = 1", "Failed to validate input parameters rc = -1"}),
              new_messages());

    small_server(2000, 0);
    const std::string before = read_file(onconfig_path());
    ASSERT_EQ(0, dplSetAutoConfig(block, DPL_SET_MAXMEM, "100000"));
    new_messages();
    EXPECT_EQ(-953, dplCalculateRecommendation(block));
    const std::vector<std::string> messages = new_messages();
    EXPECT_TRUE(
        logged(messages, "Calculated memory of 105280 KB exceeds maximum requested value of 100000 KB"));
    EXPECT_TRUE(logged(messages, "Failed in memory calculation step rc = -953"));
    EXPECT_EQ(0, record->stage);
    EXPECT_EQ(0, dplLoadRecommendation(block));
    EXPECT_EQ(before, read_file(onconfig_path()));
}

TEST_F(AutoconfigCalculation, WithoutTransactionsTheLogsComeFromTheOnconfig) {
    small_server(2000, 0);
    read_onconfig("LOGFILES 6\nLOGSIZE 10000\nPHYSFILE 50000\n");
    ASSERT_EQ(0, dplSetAutoConfig(block, DPL_SET_TXNSUPPORT, "false"));
    new_messages();
    ASSERT_EQ(0, dplCalculateRecommendation(block));
    EXPECT_EQ(6, record->space[DPL_SPACE_ENTRY_LLOG].log_count);
    EXPECT_EQ(10240000, record->space[DPL_SPACE_ENTRY_LLOG].unit_size);
    EXPECT_EQ(61440, record->space[DPL_SPACE_ENTRY_LLOG].size);
    EXPECT_EQ(51200000, record->space[DPL_SPACE_ENTRY_PLOG].unit_size);
    EXPECT_EQ(51024, record->space[DPL_SPACE_ENTRY_PLOG].size);
    EXPECT_TRUE(logged(new_messages(),
                       "Transaction logging not requested or DSS server type selected - using "
                       "default log values"));
}

}  // namespace
}  // namespace dpl::test
