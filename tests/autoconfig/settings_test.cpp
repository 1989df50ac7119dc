// Every setting code: accepted texts, refusals, their codes, messages and
// status slots.
#include <string>
#include <vector>

#include "autoconfig_fixture.hpp"

namespace dpl::test {
namespace {

using AutoconfigSettings = AutoconfigTest;
using Messages = std::vector<std::string>;

constexpr const char *kNames[] = {
    "DPL_SET_MAXCPU",          "DPL_SET_MAXMEM",         "DPL_SET_MAXDISK",    "DPL_SET_MAXCPU_PCT",
    "DPL_SET_MAXMEM_PCT",      "DPL_SET_MAXDISK_PCT",    "DPL_SET_MIRROR_ALL", "DPL_SET_MIRROR_CRITICAL",
    "DPL_SET_SBSPACE_ENABLED", "DPL_SET_SBSPACE_LOGOPT", "DPL_SET_RTOPOLICY",  "DPL_SET_INSTANCEPATH",
    "DPL_SET_MIRRORPATH",      "DPL_SET_MAXUSERS",       "DPL_SET_MAXDSUSERS", "DPL_SET_SERVERTYPE",
    "DPL_SET_SERVERNUM",       "DPL_SET_TXNSUPPORT"};

struct SettingCase {
    int32_t type;
    std::string value;
    int32_t rc;
    Messages messages;  // after the "Set ... to:" line
};

TEST_F(AutoconfigSettings, EachCodeChecksItsTextAndLogsItsMessage) {
    const std::string cpus = std::to_string(dplGetTotalCPU(block));
    const std::string too_many = std::to_string(dplGetTotalCPU(block) + 1);
    const std::string too_much = std::to_string(dplGetTotalMemory(block) + 1);
    const std::vector<SettingCase> cases = {
        {0, cpus, 0, {}},
        {0, "0", -960, {"Must specify at least 1 cpu"}},
        {0, too_many, -962, {"Cannot specify more CPUs than are present on this machine"}},
        {0, "99999999999", -966, {"Value 99999999999 out of range for max cpus errno = 34"}},
        {0, "0x", -966, {"Value 0x out of range for max cpus errno = 22"}},
        {1, "1MB", 0, {}},
        {1, "0", -966, {"Invalid value 0 for maximum memory"}},
        {1, "12 parsecs", -966, {"Invalid value 12 parsecs for maximum memory"}},
        {1, too_much, -961, {"Cannot exceed memory present on this machine"}},
        {2, "-5", -966, {"Invalid value -5 for maximum disk"}},
        {2, "999999PB", -955, {"Insufficient disk space provided"}},
        {3, "100", 0, {}},
        {3, "101", -957, {"Invalid percentage value specified"}},
        {3, "%", -966, {"Value % out of range for max cpu percentage errno = 22"}},
        {4, "0", -957, {"Invalid percentage value specified"}},
        {4, "4294967296", -966, {"Value 4294967296 out of range for max mem percentage errno = 34"}},
        {5, "1 ", 0, {}},
        {5, "5 5", -966, {"Value 5 5 out of range for max disk percentage errno = 22"}},
        {6, " true ", 0, {}},
        {6, "1", -966, {"Invalid value 1 passed for mirror all"}},
        {7, "Tuesday", 0, {}},
        {7, "yes", -966, {"Invalid value yes passed for mirror critical"}},
        {8, "f", 0, {}},
        {8, "\xc3\xa9t\xc3\xa9", -966, {"Invalid value \xc3\xa9t\xc3\xa9 passed for sbspace enable"}},
        {9,
         "TRUE",
         -963,
         {"Set DPL_SET_RTOPOLICY to: TRUE", "Invalid value TRUE passed for RTO_SERVER_RESTART"}},
        {9, "0", 0, {"Invalid value 0 passed for sbspace logging option", "Set DPL_SET_RTOPOLICY to: 0"}},
        {10, "0", 0, {}},
        {10, "60", 0, {}},
        {10, "0x708", 0, {}},
        {10, "59", -963, {"Invalid value 59 passed for RTO_SERVER_RESTART"}},
        {10, "1801", -963, {"Invalid value 1801 passed for RTO_SERVER_RESTART"}},
        {11, "no-such-place", -975, {"Path no-such-place is not valid"}},
        {13, "-1", -964, {"Invalid value -1 specified for concurrent users"}},
        {13, "010", 0, {}},
        {14, "-3", 0, {}},
        {14, "+", -964, {"Invalid value + specified for ds users"}},
        {15, " d s s ", 0, {}},
        {15, "oltp", 0, {}},
        {15, "OLAP", -965, {}},
        {16, "255", 0, {}},
        {16, "256", -966, {"Value 256 out of range for server number"}},
        {17, "F", 0, {}},
        {17, "", -967, {}},
        {17, "maybe", -966, {"Invalid value maybe passed for transaction support"}},
    };
    for (const SettingCase &c : cases) {
        new_messages();
        EXPECT_EQ(c.rc, dplSetAutoConfig(block, c.type, c.value.c_str())) << c.type << " " << c.value;
        Messages expected;
        if (!c.value.empty()) {
            expected.push_back("Set " + std::string(kNames[c.type]) + " to: " + c.value);
            expected.insert(expected.end(), c.messages.begin(), c.messages.end());
            EXPECT_EQ(c.rc, settings->status[c.type]) << c.type << " " << c.value;
        }
        EXPECT_EQ(expected, new_messages()) << c.type << " " << c.value;
    }
}

TEST_F(AutoconfigSettings, AcceptedValuesLandInTheirFields) {
    EXPECT_EQ(0, dplSetAutoConfig(block, DPL_SET_MAXCPU, "1"));
    EXPECT_EQ(0, dplSetAutoConfig(block, DPL_SET_MAXMEM, "2MB"));
    EXPECT_EQ(0, dplSetAutoConfig(block, DPL_SET_RTOPOLICY, "0x708"));
    EXPECT_EQ(0, dplSetAutoConfig(block, DPL_SET_MAXUSERS, "010"));
    EXPECT_EQ(0, dplSetAutoConfig(block, DPL_SET_MAXDSUSERS, "-3"));
    EXPECT_EQ(0, dplSetAutoConfig(block, DPL_SET_SERVERTYPE, " d s s "));
    EXPECT_EQ(0, dplSetAutoConfig(block, DPL_SET_MIRROR_ALL, "t"));
    EXPECT_EQ(0, dplSetAutoConfig(block, DPL_SET_SBSPACE_ENABLED, "false"));
    EXPECT_EQ(-966, dplSetAutoConfig(block, DPL_SET_SERVERNUM, "300"));
    EXPECT_EQ(-966, dplSetAutoConfig(block, DPL_SET_TXNSUPPORT, "1"));
    EXPECT_EQ(-964, dplSetAutoConfig(block, DPL_SET_MAXDSUSERS, "z"));
    EXPECT_EQ(1, settings->max_cpu);
    EXPECT_EQ(1, settings->cpu_mode);
    EXPECT_EQ(2048, settings->max_mem);
    EXPECT_EQ(1, settings->mem_mode);
    EXPECT_EQ(1800, settings->rto_policy);
    EXPECT_EQ(8, settings->max_users);
    EXPECT_EQ(10, settings->max_ds_users);
    EXPECT_EQ(1, settings->server_type);
    EXPECT_EQ(1, settings->mirror_all);
    EXPECT_EQ(0, settings->sbspace_enabled);
    EXPECT_EQ(300, settings->server_num);
    EXPECT_EQ(1, settings->txn_support);
}

TEST_F(AutoconfigSettings, APercentageGoesToItsOwnSlotAndTheAbsoluteOne) {
    EXPECT_EQ(0, dplSetAutoConfig(block, DPL_SET_MAXMEM, "50%"));
    EXPECT_EQ(50, settings->mem_pct);
    EXPECT_EQ(2, settings->mem_mode);
    EXPECT_EQ((Messages{"Set DPL_SET_MAXMEM to: 50%", "Set DPL_SET_MAXMEM_PCT to: 50"}), new_messages());
    EXPECT_EQ(-957, dplSetAutoConfig(block, DPL_SET_MAXCPU, "0%"));
    EXPECT_EQ(-957, settings->status[DPL_SET_MAXCPU]);
    EXPECT_EQ(-957, settings->status[DPL_SET_MAXCPU_PCT]);
    EXPECT_EQ(0, dplSetAutoConfig(block, DPL_SET_MAXDISK, "10%"));
    EXPECT_EQ(10, settings->disk_pct);
}

TEST_F(AutoconfigSettings, UnknownTypesAndMissingValues) {
    EXPECT_EQ(-966, dplSetAutoConfig(block, 24, "1"));
    EXPECT_EQ(-966, dplSetAutoConfig(block, -1, "1"));
    EXPECT_EQ(-966, settings->status[49]);
    EXPECT_EQ((Messages{"Unknown type 24 set to: 1", "Unknown type -1 set to: 1"}), new_messages());
    EXPECT_EQ(-967, dplSetAutoConfig(block, 0, nullptr));
    EXPECT_EQ(-947, dplSetAutoConfig(nullptr, 0, "1"));
}

TEST_F(AutoconfigSettings, PathsOfferOneLocationPerDevice) {
    const std::string first = dir.file("a");
    const std::string second = dir.file("b") + sep() + "c";
    EXPECT_EQ(0, dplSetAutoConfig(block, DPL_SET_INSTANCEPATH, first.c_str()));
    EXPECT_EQ(0, dplSetAutoConfig(block, DPL_SET_ROOTPATH, second.c_str()));
    EXPECT_EQ(0, settings->status[DPL_SET_INSTANCEPATH]);
    EXPECT_EQ(first, settings->instance_path);
    EXPECT_EQ(second, record->space[DPL_SPACE_ENTRY_ROOT].path);
    const DiskLocation *location = dplGetDiskLocations(block);
    ASSERT_NE(nullptr, location);
    EXPECT_EQ(nullptr, location->next);
    EXPECT_EQ(0, location->is_file);
    EXPECT_EQ(0, location->measured);
    uint64_t free_kb = 0;
    ASSERT_EQ(0, dplGetFileSysInfo(block, first.c_str(), nullptr, &free_kb));
    // Disk beyond what the offered device holds is refused, but kept.
    const std::string beyond = std::to_string(location->size + 1);
    EXPECT_EQ(-955, dplSetAutoConfig(block, DPL_SET_MAXDISK, beyond.c_str()));
    EXPECT_EQ(static_cast<int64_t>(location->size + 1), settings->max_disk);
    EXPECT_EQ(0, dplSetAutoConfig(block, DPL_SET_MAXDISK, "1"));
    EXPECT_EQ(1, settings->disk_mode);
}

}  // namespace
}  // namespace dpl::test
