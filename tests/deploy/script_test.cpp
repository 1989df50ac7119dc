// The set-up script, byte for byte: an ordinary instance with spaces of every
// kind, a mirror and both logs, and a demonstration instance with and
// without the JSON listener.
#include <filesystem>
#include <map>
#include <string>

#include "deploy/deploy_fixture.hpp"
#include "platform/platform.hpp"

namespace dpl::test {
namespace {

// The demonstration script with or without the JSON listener's lines, which
// the expected file marks with "@J@".
std::string with_listener_lines(const std::string &text, bool json) {
    std::string kept;
    for (const std::string &line : lines_of(text)) {
        const bool listener = line.starts_with("@J@");
        if (!listener || json) kept += line.substr(listener ? 3 : 0) + "\n";
    }
    return kept;
}

class DeployScript : public DeployTest {
protected:
    void SetUp() override {
        DeployTest::SetUp();
        std::filesystem::create_directories(instance_dir / "etc" / "sysadmin");
        std::filesystem::create_directories(instance_dir / "data");
        ASSERT_EQ(0, dplSetEnvironment(block, "ORVANDEXDIR", instance_dir.string().c_str()));
        ASSERT_EQ(0, dplSetEnvironment(block, "ORVANDEXSERVER", "ol_test"));
        // The grant lines are written only for a server that does not run as
        // the product user.
        ASSERT_EQ(0, dplSetInstallationProperty(block, DPL_P_RUNAS_USER, 0));
        Instance *instance = dplGetCurrentInstance(block);
        ASSERT_EQ(0, dplSetConfig(instance, "ROOTPATH", data("rootdbs").c_str(), nullptr));
        ASSERT_EQ(0, dplSetConfig(instance, "LOGFILES", "6", nullptr));
    }

    std::string data(const std::string &name) const { return (instance_dir / "data" / name).string(); }
    std::string script() const {
        return read_file_text((instance_dir / "etc" / "sysadmin" / "sch_init_ol_test.sql").string());
    }
    // The expected file with its placeholders filled in; chunk paths as the
    // statements give them, in their short form where the system has one.
    std::string expected(const std::string &name, std::map<std::string, std::string> fill,
                         bool chunk_paths = true) const {
        std::string text = read_file_text(std::string(DPL_TEST_DATA_DIR) + "/deploy/" + name);
        fill["@USER@"] = dplGetInstallingUser(block);
        for (const auto &[placeholder, value] : fill) {
            std::string shown = value;
            if (chunk_paths && placeholder != "@USER@")
                shown = platform::current().short_path(value, 255).value_or(value);
            for (std::size_t at = text.find(placeholder); at != std::string::npos;
                 at = text.find(placeholder))
                text.replace(at, placeholder.size(), shown);
        }
        return text;
    }
    void frame_around(void (*body)(InstallControlBlock *)) {
        ASSERT_EQ(0, dplOpenSysadminInDeploy(block));
        ASSERT_EQ(1, dplGrantDBAonLocalInstance(block));
        body(block);
        ASSERT_EQ(0, dplCloseSysadminInDeploy(block));
    }

    const std::filesystem::path instance_dir = root.path() / "inst";
};

TEST_F(DeployScript, OrdinaryInstanceWithEveryKindOfSpaceAMirrorAndBothLogs) {
    const std::string mirror = (root.path() / "mirror.chk").string();
    ASSERT_EQ(0, dplCreateDBSpace(block, "datadbs", data("datadbs").c_str(), "100 MB", "0", "4",
                                  mirror.c_str(), "8", "16", "32", 0));
    // Extents are reached only through a page size.
    ASSERT_EQ(0, dplCreateDBSpace(block, "tmpdbs", data("tmpdbs").c_str(), "8 MB", "0", nullptr, nullptr,
                                  nullptr, "16", nullptr, 1));
    ASSERT_EQ(0, dplCreateSBSpace(block, "sbspace", data("sbspace").c_str(), "50 MB", "4", nullptr, nullptr,
                                  "2000", "0", 0, "LOGGING=ON"));
    ASSERT_EQ(0, dplCreateSpace(block, DPL_SPACE_TEMP_SB, "tmpsbs", data("tmpsbs").c_str(), "20 MB", "0"));
    ASSERT_EQ(0,
              dplCreateBLOBSpace(block, "blobs", data("blobs").c_str(), "10 MB", "0", 8, nullptr, nullptr));
    ASSERT_EQ(0, dplCreateSpace(block, DPL_SPACE_DB, "plogdbs", data("plogdbs").c_str(), "40 MB", "0"));
    ASSERT_EQ(0, dplCreateSpace(block, DPL_SPACE_DB, "llogdbs", data("llogdbs").c_str(), "60 MB", "0"));
    ASSERT_EQ(0, dplCreateLog(block, 0, "plogdbs", 0, "30 MB"));
    ASSERT_EQ(0, dplCreateLog(block, 1, "llogdbs", 10, "5000"));

    frame_around([](InstallControlBlock *b) {
        EXPECT_EQ(0, dplDeploySpaces(b));
        EXPECT_EQ(0, dplDeployLogs(b));
    });
    EXPECT_EQ(expected("ordinary.sql", {{"@DATADBS@", data("datadbs")},
                                        {"@MIRROR@", mirror},
                                        {"@TMPDBS@", data("tmpdbs")},
                                        {"@SBSPACE@", data("sbspace")},
                                        {"@TMPSBS@", data("tmpsbs")},
                                        {"@BLOBS@", data("blobs")},
                                        {"@PLOGDBS@", data("plogdbs")},
                                        {"@LLOGDBS@", data("llogdbs")}}),
              script());
    // Every chunk exists now; a second pass writes nothing new for them.
    for (const char *name : {"rootdbs", "datadbs", "tmpdbs", "sbspace", "blobs", "llogdbs"})
        EXPECT_TRUE(std::filesystem::exists(data(name))) << name;
    const std::string before = script();
    EXPECT_EQ(0, dplDeploySpaces(block));
    EXPECT_EQ(before, script());
}

TEST_F(DeployScript, DemonstrationInstanceWithAndWithoutTheListener) {
    const std::string pool = (root.path() / "pool").string();
    std::filesystem::create_directories(pool);
    ASSERT_EQ(0, dplSetAutoConfig(block, DPL_SET_INSTANCEPATH, pool.c_str()));
    for (const bool json : {false, true}) {
        std::filesystem::remove(instance_dir / "etc" / "sysadmin" / "sch_init_ol_test.sql");
        ASSERT_EQ(0, json ? dplSetInstallModeNoSQL(block) : dplUnSetInstallModeNoSQL(block));
        frame_around([](InstallControlBlock *b) { EXPECT_EQ(0, dplDeployDemoInstance(b)); });
        EXPECT_EQ(with_listener_lines(expected("demo.sql", {{"@DATA@", pool}}, false), json), script())
            << json;
    }
}

TEST_F(DeployScript, RefusalsAndTheirCodes) {
    ASSERT_EQ(0, dplCreateSpace(block, DPL_SPACE_BLOB, "blobs", data("blobs").c_str(), "1 MB", "0"));
    EXPECT_EQ(DPL_E_INVALID_VALUE, dplCreateLog(block, 2, "llogdbs", 3, "1000"));
    EXPECT_EQ(DPL_E_NULL_ARGUMENT, dplCreateLog(block, 1, "", 3, "1000"));
    EXPECT_EQ(DPL_E_NULL_ARGUMENT, dplCreateLog(nullptr, 1, "llogdbs", 3, "1000"));
    EXPECT_EQ(DPL_E_LOG_SPACE_KIND, dplCreateLog(block, 0, "blobs", 0, "1000"));
    EXPECT_EQ(DPL_NOTHING_TO_DEPLOY, dplDeployLogs(block));
    // A demonstration instance needs the path its storage pool lives in.
    EXPECT_EQ(DPL_E_NULL_ARGUMENT, dplDeployDemoInstance(block));
    // Without ROOTPATH nothing is created or written.
    ASSERT_EQ(0, dplSetConfig(dplGetCurrentInstance(block), "ROOTPATH", "", nullptr));
    EXPECT_EQ(DPL_E_FAIL, dplDeploySpaces(block));
    EXPECT_FALSE(std::filesystem::exists(data("blobs")));
    // A script directory that is missing: each writer reports it.
    std::filesystem::remove_all(instance_dir / "etc" / "sysadmin");
    EXPECT_EQ(0, dplOpenSysadminInDeploy(block));
    EXPECT_EQ(DPL_E_OPEN_WRITE, dplGrantDBAonLocalInstance(block));
    const std::string log = read_file(log_path);
    for (const char *line : {"ROOTPATH not set.", "ROOTPATH must be set using dplSetConfig()",
                             "Logical/Physical Logs must be located in a dbspace.",
                             "DPL_SET_INSTANCEPATH must be set for a demo instance",
                             "dplOpenSysadminInDeploy: Deploy File not found.",
                             "dplGrantDBAonLocalInstance: Deploy File not found."}) {
        EXPECT_NE(std::string::npos, log.find(line)) << line;
    }
}

}  // namespace
}  // namespace dpl::test
