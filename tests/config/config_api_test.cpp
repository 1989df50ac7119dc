// Looking up, setting and adding parameters, and the codes of bad calls.
#include <string>
#include <vector>

#include "config_test_fixture.hpp"
#include "core/instance.hpp"

namespace dpl::test {
namespace {

class ConfigApi : public ConfigTest {
protected:
    std::string written() {
        EXPECT_EQ(0, dplSetEnvironment(block, "ORVANDEXSERVER", "srv"));
        EXPECT_EQ(0, dplWriteConfig(instance));
        return text_of(etc_file("onconfig.srv"));
    }
};

TEST_F(ConfigApi, SettingAnAbsentNameAppendsItAfterEverythingRead) {
    ASSERT_EQ(0, read_text("# c\nA 1 # one\n\n"));
    ASSERT_EQ(0, dplSetConfig(instance, "NEW", "v", "not stored"));
    ConfigEntry *entry = nullptr;
    const char *value = nullptr;
    ASSERT_EQ(0, dplGetConfig(instance, "NEW", &value, &entry));
    EXPECT_STREQ("v", value);
    ASSERT_NE(nullptr, entry->comment);
    EXPECT_STREQ("", entry->comment);
    // Setting an existing one keeps its comment.
    ASSERT_EQ(0, dplSetConfig(instance, "A", "2", "other"));
    EXPECT_EQ("# c\nA 2 # one\n\nNEW v\n", written());
}

TEST_F(ConfigApi, SettingAPoolReplacesOnlyThePoolOfThatSize) {
    ASSERT_EQ(0, read_text("BUFFERPOOL default,buffers=1\n"
                           "BUFFERPOOL size=2K,buffers=2\n"
                           "BUFFERPOOL size=16K,buffers=3\n"));
    ConfigEntry *pool16 = nullptr;
    const char *value = "size=16K,anything";
    ASSERT_EQ(0, dplGetConfig(instance, "BUFFERPOOL", &value, &pool16));
    EXPECT_STREQ("size=16K,buffers=3", value);

    ASSERT_EQ(0, dplSetConfig(instance, "BUFFERPOOL", "size=16K,buffers=30", nullptr));
    EXPECT_STREQ("size=16K,buffers=30", pool16->value);
    ASSERT_EQ(0, dplSetConfig(instance, "BUFFERPOOL", "size=8K,buffers=8", nullptr));
    EXPECT_EQ(
        "BUFFERPOOL default,buffers=1\n"
        "BUFFERPOOL size=2K,buffers=2\n"
        "BUFFERPOOL size=16K,buffers=30\n"
        "BUFFERPOOL size=8K,buffers=8\n",
        written());
}

TEST_F(ConfigApi, RepeatableNamesAreKeyedByTheirFirstField) {
    ASSERT_EQ(0, read_text("NETTYPE onsoctcp,1,150,NET\n"
                           "NETTYPE drsoctcp,1,50,NET\n"
                           "NETTYPE onsoctcp,9,9,NET\n"
                           "VPCLASS cpu,num=2\n"
                           "VPCLASS cpu,num=4\n"
                           "SERVERNUM 1\n"));
    const char *value = "drsoctcp,";
    ASSERT_EQ(0, dplGetConfig(instance, "NETTYPE", &value, nullptr));
    EXPECT_STREQ("drsoctcp,1,50,NET", value);
    value = "onsoctcp,x";
    ASSERT_EQ(0, dplGetConfig(instance, "NETTYPE", &value, nullptr));
    EXPECT_STREQ("onsoctcp,1,150,NET", value);
    value = "onimcsoc,x";
    EXPECT_EQ(DPL_E_FAIL, dplGetConfig(instance, "NETTYPE", &value, nullptr));
    EXPECT_STREQ("onimcsoc,x", value);
    // No first field (null, or no ','): any entry of the name, the first by
    // first field.
    value = nullptr;
    ASSERT_EQ(0, dplGetConfig(instance, "NETTYPE", &value, nullptr));
    EXPECT_STREQ("drsoctcp,1,50,NET", value);
    value = "onsoctcp";
    ASSERT_EQ(0, dplGetConfig(instance, "NETTYPE", &value, nullptr));
    EXPECT_STREQ("drsoctcp,1,50,NET", value);
    // The value passed in is cut to 255 characters before its field is taken.
    const std::string long_key = std::string(255, 'x') + ",";
    value = long_key.c_str();
    ASSERT_EQ(0, dplGetConfig(instance, "NETTYPE", &value, nullptr));
    EXPECT_STREQ("drsoctcp,1,50,NET", value);
    // Ordinary names ignore the value.
    value = "whatever,";
    ASSERT_EQ(0, dplGetConfig(instance, "SERVERNUM", &value, nullptr));
    EXPECT_STREQ("1", value);
    value = nullptr;
    ASSERT_EQ(0, dplGetConfig(instance, "VPCLASS", &value, nullptr));
    EXPECT_STREQ("cpu,num=2", value);
    EXPECT_EQ("NETTYPE onsoctcp,1,150,NET\nNETTYPE drsoctcp,1,50,NET\nVPCLASS cpu,num=2\nSERVERNUM 1\n",
              written());
}

TEST_F(ConfigApi, AValueWithoutFirstFieldMatchesAnyEntryOfItsName) {
    ASSERT_EQ(0, read_text("BUFFERPOOL default,a\nBUFFERPOOL size=2K,b\n"));
    // Replaces the first pool by first field.
    ASSERT_EQ(0, dplSetConfig(instance, "BUFFERPOOL", "plain", nullptr));
    const char *value = "default,";
    ASSERT_EQ(0, dplGetConfig(instance, "BUFFERPOOL", &value, nullptr));
    EXPECT_STREQ("plain", value);
    // Entries with a first field are looked at before those without.
    value = "size=2K,";
    ASSERT_EQ(0, dplGetConfig(instance, "BUFFERPOOL", &value, nullptr));
    EXPECT_STREQ("size=2K,b", value);
    value = nullptr;
    ASSERT_EQ(0, dplGetConfig(instance, "BUFFERPOOL", &value, nullptr));
    EXPECT_STREQ("size=2K,b", value);
    // A pool of a new size takes the place of the entry without a field.
    ASSERT_EQ(0, dplSetConfig(instance, "BUFFERPOOL", "size=4K,c", nullptr));
    ASSERT_EQ(0, dplAddConfig(instance, "BUFFERPOOL", "size=8K,d", nullptr));
    EXPECT_EQ("BUFFERPOOL size=4K,c\nBUFFERPOOL size=2K,b\nBUFFERPOOL size=8K,d\n", written());
}

TEST_F(ConfigApi, NamesCompareOnTheirFirst255Characters) {
    const std::string name = std::string(255, 'N');
    ASSERT_EQ(0, dplAddConfig(instance, (name + "A").c_str(), "1", nullptr));
    ASSERT_EQ(0, dplAddConfig(instance, (name + "B").c_str(), "2", nullptr));
    EXPECT_EQ(1u, instance->config.size());
    const char *value = nullptr;
    ASSERT_EQ(0, dplGetConfig(instance, name.c_str(), &value, nullptr));
    EXPECT_STREQ("1", value);
    EXPECT_EQ(DPL_E_FAIL, dplGetConfig(instance, "n", &value, nullptr));
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
    ASSERT_EQ(5u, instance->config.size());
    EXPECT_EQ(DPL_CONFIG_BLANK, instance->config.entry(0).kind);
    EXPECT_EQ(DPL_CONFIG_COMMENT, instance->config.entry(1).kind);
    EXPECT_EQ(nullptr, instance->config.entry(3).comment);
    EXPECT_EQ("\n# added by hand\nROOTNAME rootdbs #root space\nEMPTY \n\n", written());
}

TEST_F(ConfigApi, ArgumentChecks) {
    const char *value = nullptr;
    EXPECT_EQ(DPL_E_NULL_ARGUMENT, dplGetConfig(instance, nullptr, &value, nullptr));
    EXPECT_EQ(DPL_E_NULL_ARGUMENT, dplSetConfig(instance, nullptr, "v", nullptr));
    EXPECT_EQ(DPL_E_NULL_ARGUMENT, dplSetConfig(instance, "N", nullptr, nullptr));
    EXPECT_EQ(DPL_E_INVALID_VALUE, dplSetConfig(instance, "", "v", nullptr));
    EXPECT_EQ(0u, instance->config.size());
    // Only the entry is wanted.
    ASSERT_EQ(0, dplSetConfig(instance, "N", "v", nullptr));
    ConfigEntry *entry = nullptr;
    ASSERT_EQ(0, dplGetConfig(instance, "N", nullptr, &entry));
    EXPECT_STREQ("v", entry->value);
}

TEST_F(ConfigApi, NullAndForeignInstances) {
    alignas(8) unsigned char junk[64] = {};
    Instance *foreign = reinterpret_cast<Instance *>(junk);
    const std::string path = dir.file("input");
    write_file(path, "A 1\n");
    const char *value = nullptr;

    EXPECT_EQ(DPL_E_BAD_CONTEXT, dplReadConfig(nullptr, path.c_str()));
    EXPECT_EQ(DPL_E_NULL_ARGUMENT, dplReadConfig(foreign, path.c_str()));
    EXPECT_EQ(DPL_E_NULL_ARGUMENT, dplGetConfig(nullptr, "A", &value, nullptr));
    EXPECT_EQ(DPL_E_BAD_CONTEXT, dplGetConfig(foreign, "A", &value, nullptr));
    EXPECT_EQ(DPL_E_FAIL, dplSetConfig(nullptr, "A", "1", nullptr));
    EXPECT_EQ(DPL_E_BAD_CONTEXT, dplSetConfig(foreign, "A", "1", nullptr));
    EXPECT_EQ(DPL_E_BAD_CONTEXT, dplAddConfig(nullptr, "A", "1", nullptr));
    EXPECT_EQ(DPL_E_NULL_ARGUMENT, dplAddConfig(foreign, "A", "1", nullptr));
    EXPECT_EQ(DPL_E_NULL_ARGUMENT, dplWriteConfig(nullptr));
    EXPECT_EQ(DPL_E_BAD_CONTEXT, dplWriteConfig(foreign));

    const std::string trace = debug();
    EXPECT_NE(std::string::npos,
              trace.find("AddConfigValue received NULL parameter value for instance or configLine"));
    EXPECT_NE(std::string::npos, trace.find("dplSetConfig failed for A"));
    // The foreign read opened its file and failed at the first line; an
    // empty file has no first line.
    write_file(path, "");
    EXPECT_EQ(0, dplReadConfig(foreign, path.c_str()));
    EXPECT_EQ(DPL_E_OPEN_WRITE, dplReadConfig(foreign, dir.file("absent").c_str()));
}

TEST_F(ConfigApi, RecordsKeepTheirAddressesWhileTheTableGrows) {
    ASSERT_EQ(0, dplSetConfig(instance, "FIRST", "a value longer than a short string buffer", nullptr));
    ConfigEntry *first = nullptr;
    const char *first_value = nullptr;
    ASSERT_EQ(0, dplGetConfig(instance, "FIRST", &first_value, &first));
    const char *first_name = first->name;
    EXPECT_EQ(1000u, instance->config.capacity());
    for (int i = 0; i < 2500; ++i) {
        std::string name = "P";
        name += std::to_string(i);
        ASSERT_EQ(0, dplAddConfig(instance, name.c_str(), "v", nullptr));
        ASSERT_EQ(0, dplAddConfig(instance, nullptr, nullptr, "# c\n"));
    }
    EXPECT_EQ(5001u, instance->config.size());
    EXPECT_EQ(6000u, instance->config.capacity());
    ConfigEntry *again = nullptr;
    const char *value = nullptr;
    ASSERT_EQ(0, dplGetConfig(instance, "FIRST", &value, &again));
    EXPECT_EQ(first, again);
    EXPECT_EQ(first_value, value);
    EXPECT_EQ(first_name, again->name);
    ASSERT_EQ(0, dplGetConfig(instance, "P2499", &value, nullptr));
    EXPECT_STREQ("v", value);
}

}  // namespace
}  // namespace dpl::test
