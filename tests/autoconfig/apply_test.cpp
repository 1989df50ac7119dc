// Writing the recommendation into the onconfig: the generated set after a
// calculation, the shorter set after defaults were loaded, read back from
// the file dplWriteConfig wrote.
#include <filesystem>
#include <string>
#include <vector>

#include "autoconfig/bufferpool_text.hpp"
#include "autoconfig/parameter_writer.hpp"
#include "autoconfig_fixture.hpp"

namespace dpl::test {
namespace {

using AutoconfigApply = AutoconfigTest;

std::vector<std::string> written_lines(Instance *instance, const std::string &path) {
    EXPECT_EQ(0, dplWriteConfig(instance));
    return lines_of(read_file_text(path));
}

TEST_F(AutoconfigApply, GeneratedParametersInTheirOrder) {
    small_server(2000, 0);
    ASSERT_EQ(0, dplCalculateRecommendation(block));
    ASSERT_EQ(0, dplLoadRecommendation(block));
    const std::string server_dir = autoconfig::short_form(dir.path().string());
    const std::string spaces = dir.file("dbspaces");
    const std::vector<std::string> expected = {
        "ROOTSIZE 155648",
        "BUFFERPOOL size=4k,buffers=23680,lrus=16,lru_min_dirty=70,lru_max_dirty=80",
        "CLEANERS 2",
        "DBSPACETEMP tempdbs",
        "CONSOLE " + server_dir + sep() + "srv.con",
        "DS_MAX_QUERIES 5",
        "DS_TOTAL_MEMORY 26214400",
        "DS_MAX_SCANS 5",
        "DS_NONPDQ_QUERY_MEM 1310720",
        "LOGFILES 4",
        "LOGSIZE 6144",
        "LOGBUFF 256",
        "LOCKS 40000",
        "LTAPEDEV ",
        "MIRROR 0",
        "MAX_PDQPRIORITY 100",
        "MULTIPROCESSOR 0",
        "MSGPATH " + server_dir + sep() + "srv.log",
        "ONLIDX_MAXMEM 5242880",
        "OFF_RECVRY_THREADS 5",
        "ON_RECVRY_THREADS 2",
        "PHYSFILE 28000",
        "PHYSBUFF 512",
        "ROOTOFFSET 0",
        "ROOTPATH " + autoconfig::short_form(spaces + sep() + "rootdbs.000"),
        "RTO_SERVER_RESTART 60",
        "SERVERNUM 1",
        "SHMVIRTSIZE 105472",
        "SHMADD 3290",
        "SINGLE_CPU_VP 1",
        "SBSPACENAME sbspace",
        "VP_MEMORY_CACHE_KB 0",
        "VPCLASS cpu,num=1,noage",
    };
    EXPECT_EQ(expected, written_lines(instance, onconfig_path()));
    EXPECT_TRUE(std::filesystem::is_regular_file(spaces + sep() + "rootdbs.000"));
}

TEST_F(AutoconfigApply, MirrorAndConnectionParameters) {
    small_server(2000, 0);
    ASSERT_EQ(0, dplSetAutoConfig(block, DPL_SET_MIRROR_ALL, "T"));
    ASSERT_EQ(0, dplSetAutoConfig(block, DPL_SET_MIRRORPATH, dir.file("mirror").c_str()));
    ASSERT_EQ(0, dplAddConnection(block, "srv", dplMapStringtoProtocol("onsoctcp"), "localhost", 9088,
                                  nullptr, nullptr));
    ASSERT_EQ(0, dplCalculateRecommendation(block));
    ASSERT_EQ(0, write_generated_config(block));
    const char *value = nullptr;
    ASSERT_EQ(0, dplGetConfig(instance, "MIRROR", &value, nullptr));
    EXPECT_STREQ("1", value);
    ASSERT_EQ(0, dplGetConfig(instance, "MIRRORPATH", &value, nullptr));
    EXPECT_EQ(autoconfig::short_form(dir.file("mirror") + sep() + "rootmirr.000"), value);
    ASSERT_EQ(0, dplGetConfig(instance, "NETTYPE", &value, nullptr));
    EXPECT_STREQ("onsoctcp,1,150,NET", value);
}

TEST_F(AutoconfigApply, AFailedWriteKeepsTheParametersBeforeIt) {
    // The instance path lies under a plain file, so its root chunk cannot be made.
    write_file(dir.file("plain"), "x");
    small_server(2000, 0);
    ASSERT_EQ(0, dplSetAutoConfig(block, DPL_SET_INSTANCEPATH, (dir.file("plain") + sep() + "sub").c_str()));
    ASSERT_EQ(0, dplCalculateRecommendation(block));
    new_messages();
    EXPECT_EQ(-971, dplLoadRecommendation(block));
    const std::vector<std::string> messages = new_messages();
    ASSERT_GE(messages.size(), 2u);
    EXPECT_EQ("Failed to create root chunk rc = -971", messages[messages.size() - 2]);
    EXPECT_EQ("Failed in results step rc = -971", messages.back());
    const char *value = nullptr;
    EXPECT_EQ(0, dplGetConfig(instance, "ROOTOFFSET", &value, nullptr));
    EXPECT_EQ(-1, dplGetConfig(instance, "ROOTPATH", &value, nullptr));
    EXPECT_EQ(-1, dplGetConfig(instance, "RTO_SERVER_RESTART", &value, nullptr));
}

TEST_F(AutoconfigApply, DefaultsFromTheOnconfigAndTheShorterSet) {
    EXPECT_EQ(-967, dplLoadDefaultConfig(block));
    EXPECT_EQ(std::vector<std::string>{"ONCONFIG file has not been read yet"}, new_messages());
    read_onconfig(
        "ROOTSIZE 300000\nLOGFILES 6\nLOGSIZE 10000\nPHYSFILE 50000\nSHMVIRTSIZE 32656\n"
        "BUFFERPOOL default,memory=auto\nBUFFERPOOL size=4k,buffers=10000,lrus=8\nSERVERNUM 3\n");
    ASSERT_EQ(DPL_UNITS_GB, dplSetDiskMemUnits(block, "GB"));
    ASSERT_EQ(0, dplLoadDefaultConfig(block));
    EXPECT_EQ(DPL_UNITS_GB, dplSetDiskMemUnits(block, "GB"));
    EXPECT_EQ(3, record->stage);
    EXPECT_EQ(300000, record->space[DPL_SPACE_ENTRY_ROOT].size);
    EXPECT_EQ(10000, record->buffers);
    EXPECT_EQ(32656, record->shm_virtual_size);
    EXPECT_EQ(53248, record->space[DPL_SPACE_ENTRY_DATA].size);
    EXPECT_EQ(32768, record->space[DPL_SPACE_ENTRY_SLOB].size);
    EXPECT_EQ(53248, record->space[DPL_SPACE_ENTRY_TEMP].size);
    EXPECT_EQ(1, record->net_poll_threads);
    const std::string server_dir = autoconfig::short_form(dir.path().string());
    const std::string spaces = server_dir + sep() + "srv" + sep() + "dbspaces";
    EXPECT_EQ(spaces, settings->instance_path);

    ASSERT_EQ(0, dplLoadRecommendation(block));
    const std::vector<std::string> expected = {
        "ROOTSIZE 300000",
        "LOGFILES 6",
        "LOGSIZE 10000",
        "PHYSFILE 50000",
        "SHMVIRTSIZE 32656",
        "BUFFERPOOL default,memory=auto",
        "BUFFERPOOL size=4k,buffers=10000,lrus=8",
        "SERVERNUM 1",
        "LTAPEDEV ",
        "CONSOLE " + server_dir + sep() + "srv.con",
        "MSGPATH " + server_dir + sep() + "srv.log",
        "ROOTPATH " + autoconfig::short_form(spaces + sep() + "rootdbs.000"),
        "SBSPACENAME sbspace",
        "DBSPACETEMP tempdbs",
    };
    EXPECT_EQ(expected, written_lines(instance, onconfig_path()));
}

struct PoolCase {
    const char *text;
    int32_t rc;
    int32_t buffers;
    const char *message;
};

TEST_F(AutoconfigApply, BufferPoolTexts) {
    const std::vector<PoolCase> cases = {
        {"size=4k,buffers=10000,lrus=8", 0, 10000, nullptr},
        {" size=4K , buffers=7 ,default, colour=blue ", 0, 7, nullptr},
        {"size=4,buffers=7,memory=auto,lru_min_dirty=50,lru_max_dirty=60", 0, 7, nullptr},
        {"size=4k", -1, 0, "BUFFERPOOL values are in unknown format"},
        {"buffers=7", -1, 0, "BUFFERPOOL values are in unknown format"},
        {"size=4k,buffers=7,auto", -1, 0, "BUFFERPOOL values are in unknown format"},
        {"size=4k,buffers=-7", -1, 0, "BUFFERPOOL values are in unknown format"},
        {"", -1, 0, "BUFFERPOOL values are in unknown format"},
        {"size=4m,buffers=7", -1, 0, "Incorrect setting for default bufferpool size"},
        {"size=k,buffers=7", -1, 0, "Incorrect setting for default bufferpool size"},
        {"size=0k,buffers=7", -1, 0, "Incorrect pagesize of 0 in bufferpool parameter"},
        {"size=6k,buffers=7", -1, 0, "Sanity check failed for multiple of pagesize"},
        {"size=16k,buffers=7", -1, 0, "BUFFERPOOL values - size is not the correct value"},
    };
    for (const PoolCase &c : cases) {
        new_messages();
        autoconfig::BufferPool pool;
        EXPECT_EQ(c.rc, autoconfig::parse_bufferpool(c.text, 4, &pool)) << c.text;
        if (c.rc == 0) {
            EXPECT_EQ(c.buffers, pool.buffers) << c.text;
        }
        const std::vector<std::string> expected =
            c.message != nullptr ? std::vector<std::string>{c.message} : std::vector<std::string>{};
        EXPECT_EQ(expected, new_messages()) << c.text;
    }
}

}  // namespace
}  // namespace dpl::test
