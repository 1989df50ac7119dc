// Where the file goes and under which name.
#include <filesystem>
#include <string>

#include "config_test_fixture.hpp"

namespace dpl::test {
namespace {

class ConfigWrite : public ConfigTest {
protected:
    bool exists(const std::string &name) const { return std::filesystem::exists(etc_file(name)); }
};

TEST_F(ConfigWrite, MismatchOfDbservernameAndOrvandexserverWritesNothing) {
    ASSERT_EQ(0, read_text("DBSERVERNAME ol_one\n"));
    ASSERT_EQ(0, dplSetEnvironment(block, "ORVANDEXSERVER", "ol_two"));
    ASSERT_EQ(0, dplSetEnvironment(block, "ONCONFIG", "onconfig.x"));
    EXPECT_EQ(DPL_E_FAIL, dplWriteConfig(instance));
    EXPECT_FALSE(exists("onconfig.x"));
    EXPECT_FALSE(exists("onconfig.ol_one"));
    EXPECT_FALSE(exists("onconfig.ol_two"));
    EXPECT_NE(std::string::npos, debug().find("ORVANDEXSERVER/DBSERVERNAME mismatch"));
}

TEST_F(ConfigWrite, EmptyDbservernameDiffersFromAServer) {
    ASSERT_EQ(0, read_text("DBSERVERNAME\n"));
    ASSERT_EQ(0, dplSetEnvironment(block, "ORVANDEXSERVER", "ol_two"));
    EXPECT_EQ(DPL_E_FAIL, dplWriteConfig(instance));
}

TEST_F(ConfigWrite, LeadingBlanksOfDbservernameAreSkippedForTheComparison) {
    ASSERT_EQ(0, dplSetConfig(instance, "DBSERVERNAME", "  ol_one", nullptr));
    ASSERT_EQ(0, dplSetEnvironment(block, "ORVANDEXSERVER", "ol_one"));
    ASSERT_EQ(0, dplWriteConfig(instance));
    EXPECT_EQ("DBSERVERNAME   ol_one\n", text_of(etc_file("onconfig.ol_one")));
}

TEST_F(ConfigWrite, DbservernameAloneNamesTheFile) {
    ASSERT_EQ(0, dplSetConfig(instance, "DBSERVERNAME", "ol_one", nullptr));
    ASSERT_EQ(0, dplWriteConfig(instance));
    EXPECT_TRUE(exists("onconfig.ol_one"));
}

TEST_F(ConfigWrite, OrvandexserverAloneNamesTheFile) {
    ASSERT_EQ(0, dplSetEnvironment(block, "ORVANDEXSERVER", "ol_two"));
    ASSERT_EQ(0, dplWriteConfig(instance));
    EXPECT_EQ("", text_of(etc_file("onconfig.ol_two")));
}

TEST_F(ConfigWrite, OnconfigNamesTheFileButTheServerIsStillNeeded) {
    ASSERT_EQ(0, dplSetEnvironment(block, "ONCONFIG", "onconfig.mine"));
    EXPECT_EQ(DPL_E_FAIL, dplWriteConfig(instance));
    EXPECT_FALSE(exists("onconfig.mine"));
    ASSERT_EQ(0, dplSetEnvironment(block, "ORVANDEXSERVER", ""));
    ASSERT_EQ(0, dplWriteConfig(instance));
    EXPECT_TRUE(exists("onconfig.mine"));
}

TEST_F(ConfigWrite, NoServerNameAndNoOnconfigGivesMinusOne) {
    ASSERT_EQ(0, dplSetEnvironment(block, "ORVANDEXSERVER", ""));
    EXPECT_EQ(DPL_E_FAIL, dplWriteConfig(instance));
    ASSERT_EQ(0, dplSetEnvironment(block, "ONCONFIG", ""));
    EXPECT_EQ(DPL_E_FAIL, dplWriteConfig(instance));
    EXPECT_FALSE(exists("onconfig."));
}

TEST_F(ConfigWrite, EnvironmentIsRequired) {
    InstallControlBlock *other = init_API(0, 1, "p", "12.10.FC1");
    ASSERT_NE(nullptr, other);
    Instance *bare = dplGetCurrentInstance(other);
    EXPECT_EQ(DPL_E_FAIL, dplWriteConfig(bare));  // empty environment
    ASSERT_EQ(0, dplSetEnvironment(other, "ORVANDEXSERVER", "s"));
    EXPECT_EQ(DPL_E_FAIL, dplWriteConfig(bare));  // no ORVANDEXDIR
    ASSERT_EQ(0, dplSetEnvironment(other, "ORVANDEXDIR", dir.file("missing").c_str()));
    EXPECT_EQ(DPL_E_OPEN_WRITE, dplWriteConfig(bare));
    finish(other);
}

TEST_F(ConfigWrite, FileIsReplaced) {
    write_file(etc_file("onconfig.s"), "OLD CONTENT\nMORE\n");
    ASSERT_EQ(0, dplSetEnvironment(block, "ORVANDEXSERVER", "s"));
    ASSERT_EQ(0, dplAddConfig(instance, "A", "1", nullptr));
    ASSERT_EQ(0, dplWriteConfig(instance));
    EXPECT_EQ("A 1\n", text_of(etc_file("onconfig.s")));
}

}  // namespace
}  // namespace dpl::test
