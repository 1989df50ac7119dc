// Looking up, setting and adding parameters, the codes of bad calls, and
// where the file goes.
#include <filesystem>
#include <string>
#include <utility>

#include "config_test_fixture.hpp"
#include "core/instance.hpp"

namespace dpl::test {
namespace {

using ConfigApi = ConfigTest;

TEST_F(ConfigApi, SettingReplacesAValueOrAppendsAfterEverythingRead) {
    ASSERT_EQ(0, read_text("# c\nA 1 # one\n\n"));
    ASSERT_EQ(0, dplSetConfig(instance, "NEW", "v", "not stored"));
    ConfigEntry *entry = nullptr;
    ASSERT_EQ(0, dplGetConfig(instance, "NEW", nullptr, &entry));
    EXPECT_STREQ("", entry->comment);
    ASSERT_EQ(0, dplSetConfig(instance, "A", "2", "other"));  // keeps its comment
    EXPECT_EQ("# c\nA 2 # one\n\nNEW v\n", written());
}

TEST_F(ConfigApi, RepeatableNamesAreKeyedByTheirFirstField) {
    ASSERT_EQ(0, read_text("BUFFERPOOL default,buffers=1\n"
                           "BUFFERPOOL size=2K,buffers=2\n"
                           "BUFFERPOOL size=16K,buffers=3\n"
                           "NETTYPE onsoctcp,1,150,NET\n"
                           "NETTYPE drsoctcp,1,50,NET\n"
                           "NETTYPE onsoctcp,9,9,NET\n"
                           "SERVERNUM 1\n"));
    const struct {
        const char *name;
        const char *key;
        const char *found;  // null: none
    } cases[] = {
        {"BUFFERPOOL", "size=16K,anything", "size=16K,buffers=3"},
        {"NETTYPE", "drsoctcp,", "drsoctcp,1,50,NET"},
        {"NETTYPE", "onsoctcp,x", "onsoctcp,1,150,NET"},
        {"NETTYPE", "onimcsoc,x", nullptr},
        // Without a first field (null, or no ','): the first by first field.
        {"NETTYPE", nullptr, "drsoctcp,1,50,NET"},
        {"NETTYPE", "onsoctcp", "drsoctcp,1,50,NET"},
        {"SERVERNUM", "whatever,", "1"},  // ordinary names ignore the value
    };
    for (const auto &c : cases) {
        const char *value = c.key;
        EXPECT_EQ(c.found != nullptr ? 0 : DPL_E_FAIL, dplGetConfig(instance, c.name, &value, nullptr))
            << c.key;
        EXPECT_STREQ(c.found != nullptr ? c.found : c.key, value);
    }
    ASSERT_EQ(0, dplSetConfig(instance, "BUFFERPOOL", "size=16K,buffers=30", nullptr));
    ASSERT_EQ(0, dplSetConfig(instance, "BUFFERPOOL", "size=8K,buffers=8", nullptr));
    ASSERT_EQ(0, dplAddConfig(instance, "BUFFERPOOL", "size=2K,ignored", nullptr));
    // A value without a first field replaces the first by first field; it is
    // looked at after those with one, and a pool of a new size replaces it.
    ASSERT_EQ(0, dplSetConfig(instance, "BUFFERPOOL", "plain", nullptr));
    const char *value = nullptr;
    ASSERT_EQ(0, dplGetConfig(instance, "BUFFERPOOL", &value, nullptr));
    EXPECT_STREQ("size=16K,buffers=30", value);
    ASSERT_EQ(0, dplSetConfig(instance, "BUFFERPOOL", "size=4K,c", nullptr));
    EXPECT_EQ(
        "BUFFERPOOL size=4K,c\nBUFFERPOOL size=2K,buffers=2\nBUFFERPOOL size=16K,buffers=30\n"
        "NETTYPE onsoctcp,1,150,NET\nNETTYPE drsoctcp,1,50,NET\nSERVERNUM 1\nBUFFERPOOL size=8K,buffers=8\n",
        written());
}

TEST_F(ConfigApi, AddingBlankCommentAndParameterLines) {
    ASSERT_EQ(0, dplAddConfig(instance, nullptr, nullptr, nullptr));
    ASSERT_EQ(0, dplAddConfig(instance, nullptr, nullptr, "# added by hand\n"));
    ASSERT_EQ(0, dplAddConfig(instance, "ROOTNAME", "rootdbs", "root space"));
    ASSERT_EQ(0, dplAddConfig(instance, "ROOTNAME", "other", nullptr));  // already there: nothing
    ASSERT_EQ(0, dplAddConfig(instance, "EMPTY", "", nullptr));
    ASSERT_EQ(0, dplAddConfig(instance, "", "ignored", nullptr));  // an empty name: a blank line
    EXPECT_EQ(DPL_E_INVALID_VALUE, dplAddConfig(instance, "NAME", nullptr, "c"));
    EXPECT_EQ(DPL_E_INVALID_VALUE, dplAddConfig(instance, "", nullptr, "c"));
    // Names compare on their first 255 characters.
    const std::string name = std::string(255, 'N');
    ASSERT_EQ(0, dplAddConfig(instance, (name + "A").c_str(), "1", nullptr));
    ASSERT_EQ(0, dplAddConfig(instance, (name + "B").c_str(), "2", nullptr));
    EXPECT_EQ("\n# added by hand\nROOTNAME rootdbs #root space\nEMPTY \n\n" + name + "A 1\n", written());
}

TEST_F(ConfigApi, NullAndForeignInstancesAndBadArguments) {
    alignas(8) unsigned char junk[64] = {};
    Instance *foreign = reinterpret_cast<Instance *>(junk);
    write_file(input_path, "A 1\n");
    const char *value = nullptr;
    const char *path = input_path.c_str();
    const std::pair<int32_t, int32_t> cases[] = {
        // what came, what should
        {dplReadConfig(nullptr, path), DPL_E_BAD_CONTEXT},
        {dplReadConfig(foreign, path), DPL_E_NULL_ARGUMENT},  // fails at the first line
        {dplReadConfig(instance, nullptr), DPL_E_NULL_ARGUMENT},
        {dplReadConfig(instance, dir.file("absent").c_str()), DPL_E_OPEN_WRITE},
        {dplGetConfig(nullptr, "A", &value, nullptr), DPL_E_NULL_ARGUMENT},
        {dplGetConfig(foreign, "A", &value, nullptr), DPL_E_BAD_CONTEXT},
        {dplGetConfig(instance, nullptr, &value, nullptr), DPL_E_NULL_ARGUMENT},
        {dplGetConfig(instance, "A", &value, nullptr), DPL_E_FAIL},
        {dplSetConfig(nullptr, "A", "1", nullptr), DPL_E_FAIL},
        {dplSetConfig(foreign, "A", "1", nullptr), DPL_E_BAD_CONTEXT},
        {dplSetConfig(instance, nullptr, "v", nullptr), DPL_E_NULL_ARGUMENT},
        {dplSetConfig(instance, "N", nullptr, nullptr), DPL_E_NULL_ARGUMENT},
        {dplSetConfig(instance, "", "v", nullptr), DPL_E_INVALID_VALUE},
        {dplAddConfig(nullptr, "A", "1", nullptr), DPL_E_BAD_CONTEXT},
        {dplAddConfig(foreign, "A", "1", nullptr), DPL_E_NULL_ARGUMENT},
        {dplWriteConfig(nullptr), DPL_E_NULL_ARGUMENT},
        {dplWriteConfig(foreign), DPL_E_BAD_CONTEXT},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i) EXPECT_EQ(cases[i].second, cases[i].first) << i;
    EXPECT_EQ(0u, instance->config.size());
    const std::string trace = debug();
    EXPECT_NE(std::string::npos,
              trace.find("AddConfigValue received NULL parameter value for instance or configLine"));
    EXPECT_NE(std::string::npos, trace.find("dplSetConfig failed for A"));
    // An empty file has no first line to fail at.
    write_file(input_path, "");
    EXPECT_EQ(0, dplReadConfig(foreign, path));
}

TEST_F(ConfigApi, RecordsKeepTheirAddressesWhileTheTableGrows) {
    ASSERT_EQ(0, dplSetConfig(instance, "FIRST", "a value longer than a short string buffer", nullptr));
    ConfigEntry *first = nullptr;
    ASSERT_EQ(0, dplGetConfig(instance, "FIRST", nullptr, &first));
    const ConfigEntry before = *first;
    EXPECT_EQ(1000u, instance->config.capacity());
    for (int i = 0; i < 5000; ++i) {
        std::string name = "P";
        ASSERT_EQ(0, dplAddConfig(instance, name.append(std::to_string(i)).c_str(), "v", nullptr));
    }
    EXPECT_EQ(6000u, instance->config.capacity());
    ConfigEntry *again = nullptr;
    ASSERT_EQ(0, dplGetConfig(instance, "FIRST", nullptr, &again));
    EXPECT_EQ(first, again);
    EXPECT_EQ(before.name, again->name);
    EXPECT_EQ(before.value, again->value);
}

// Where the file goes and under which name.
using ConfigWrite = ConfigTest;

TEST_F(ConfigWrite, TheServerAndOnconfigNameTheFileUnderTheHomeDirectory) {
    const struct {
        const char *home;          // ORVANDEXDIR: null none, "." the scratch directory
        const char *dbservername;  // null: no such parameter
        const char *server;        // null: no ORVANDEXSERVER
        const char *onconfig;      // null: no ONCONFIG
        int32_t rc;
        const char *file;  // the one file written, or null
    } cases[] = {
        {".", "ol_one", "ol_two", "onconfig.x", DPL_E_FAIL, nullptr},  // a mismatch writes nothing
        {".", "", "ol_two", nullptr, DPL_E_FAIL, nullptr},
        {".", "  ol_one", "ol_one", nullptr, 0, "onconfig.ol_one"},  // leading blanks are skipped
        {".", "ol_one", nullptr, nullptr, 0, "onconfig.ol_one"},
        {".", nullptr, "ol_two", nullptr, 0, "onconfig.ol_two"},
        {".", nullptr, nullptr, "onconfig.mine", DPL_E_FAIL, nullptr},  // a server is still needed
        {".", nullptr, "", "onconfig.mine", 0, "onconfig.mine"},
        {".", nullptr, "", "", DPL_E_FAIL, nullptr},
        {nullptr, nullptr, nullptr, nullptr, DPL_E_FAIL, nullptr},  // an empty environment
        {nullptr, nullptr, "s", nullptr, DPL_E_FAIL, nullptr},
        {"missing", nullptr, "s", nullptr, DPL_E_OPEN_WRITE, nullptr},
    };
    for (const auto &c : cases) {
        InstallControlBlock *other = init_API(0, 1, "p", "12.10.FC1");
        Instance *bare = dplGetCurrentInstance(other);
        const std::string home = (dir.path() / (c.home != nullptr ? c.home : "")).string();
        EXPECT_EQ(0, c.home ? dplSetEnvironment(other, "ORVANDEXDIR", home.c_str()) : 0);
        EXPECT_EQ(0, c.dbservername ? dplSetConfig(bare, "DBSERVERNAME", c.dbservername, nullptr) : 0);
        EXPECT_EQ(0, c.server ? dplSetEnvironment(other, "ORVANDEXSERVER", c.server) : 0);
        EXPECT_EQ(0, c.onconfig ? dplSetEnvironment(other, "ONCONFIG", c.onconfig) : 0);
        // What is there is replaced.
        if (c.file != nullptr) write_file(etc_file(c.file), "OLD CONTENT\nMORE\n");
        EXPECT_EQ(c.rc, dplWriteConfig(bare))
            << c.home << "/" << c.dbservername << "/" << c.server << "/" << c.onconfig;
        std::filesystem::directory_iterator files(dir.path() / "etc");
        if (c.file == nullptr) {
            EXPECT_TRUE(files == std::filesystem::directory_iterator());
        } else {
            EXPECT_EQ(c.file, files->path().filename().string());
            EXPECT_EQ(c.dbservername != nullptr ? "DBSERVERNAME " + std::string(c.dbservername) + "\n" : "",
                      read_file_text(files->path().string()));
            std::filesystem::remove(files->path());
        }
        finish(other);
    }
    EXPECT_NE(std::string::npos, debug().find("ORVANDEXSERVER/DBSERVERNAME mismatch"));
}

}  // namespace
}  // namespace dpl::test
