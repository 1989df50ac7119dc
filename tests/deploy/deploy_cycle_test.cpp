// A whole deployment and its removal: what deployInstallation lays down is
// on disk, in the registry and in the service manager, and after
// dplRemoveInstance the machine and the installation directory are as before.
#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>

#include "dpl/dpl.h"
#include "support/machine_fixture.hpp"

namespace dpl::test {
namespace {

namespace fs = std::filesystem;

// Every path below `dir` (relative) with the content of each file.
std::set<std::string> snapshot(const fs::path &dir) {
    std::set<std::string> entries;
    for (const auto &entry : fs::recursive_directory_iterator(dir)) {
        std::string line = fs::relative(entry.path(), dir).generic_string();
        if (entry.is_regular_file()) {
            line += '=';
            line += read_file(entry.path().string());
        }
        entries.insert(line);
    }
    return entries;
}

using DeployCycle = MachineTest;

TEST_F(DeployCycle, DeployThenRemoveLeavesTheMachineAsBefore) {
    const fs::path inst = root.path() / "inst";
    fs::create_directories(inst / "etc" / "sysadmin");
    fs::create_directories(inst / "data");
    write_file((inst / "data" / "README").string(), "the installer's own file\n");
    InstallControlBlock *block = init_API(DPL_MODE_NO_PORT_TEST, 1, "Orvandex", "12.10");
    ASSERT_NE(nullptr, block);
    const auto installation_before = snapshot(inst);
#ifndef _WIN32
    const auto services_before = snapshot(root.path() / "etc");
#endif

    const std::string dir = inst.string();
    ASSERT_EQ(0, dplSetEnvironment(block, "ORVANDEXDIR", dir.c_str()));
    ASSERT_EQ(0, dplSetEnvironment(block, "ORVANDEXSERVER", "ol_cycle"));
    ASSERT_EQ(0, dplSetEnvironment(block, "ONCONFIG", "onconfig.ol_cycle"));
    ASSERT_EQ(0, dplSetEnvironment(block, "ORVANDEXSQLHOSTS",
                                   (inst / "etc" / "sqlhosts.ol_cycle").string().c_str()));
    Instance *instance = dplGetCurrentInstance(block);
    const std::string rootdbs = (inst / "data" / "chunks" / "rootdbs").string();
    ASSERT_EQ(0, dplSetConfig(instance, "ROOTPATH", rootdbs.c_str(), nullptr));
    ASSERT_EQ(0, dplSetConfig(instance, "SERVERNUM", "3", nullptr));
    // The server's message logs, which it writes where its onconfig says.
    const char *const message_logs[] = {"MSGPATH", "BAR_ACT_LOG", "JVPPROPFILE", "JVPLOGFILE", "CONSOLE"};
    const auto message_log = [&](const std::string &parameter) {
        return (inst / (parameter + ".log")).string();
    };
    for (const char *parameter : message_logs)
        ASSERT_EQ(0, dplSetConfig(instance, parameter, message_log(parameter).c_str(), nullptr));
    ASSERT_EQ(0, dplAddConnection(block, "ol_cycle", dplMapStringtoProtocol("onsoctcp"), "localhost", 0,
                                  "svc_a", nullptr));
    ASSERT_EQ(0, dplSetInstallationProperty(block, DPL_P_RUNAS_USER, 0));
    ASSERT_EQ(0, dplAddUserGroupRequired(block, DPL_ACCOUNT_PRODUCT_USER, "orvandex", "orvandex"));

    ASSERT_EQ(0, deployInstallation(block));
    for (const fs::path &made :
         {inst / "ol_cycle.cmd", inst / "etc" / "onconfig.ol_cycle", inst / "etc" / "sqlhosts.ol_cycle",
          inst / "etc" / "sysadmin" / "sch_init_ol_cycle.sql", fs::path(rootdbs)})
        EXPECT_TRUE(fs::exists(made)) << made;
    EXPECT_NE("<missing>", values_of("SOFTWARE\\Orvandex\\Online\\ol_cycle\\Environment"));
    EXPECT_NE("<missing>", values_of("SYSTEM\\CurrentControlSet\\Services\\ol_cycle"));
    // A second deployment of the same instance does nothing.
    const std::string script = read_file((inst / "etc" / "sysadmin" / "sch_init_ol_cycle.sql").string());
    EXPECT_EQ(0, deployInstallation(block));
    EXPECT_EQ(script, read_file((inst / "etc" / "sysadmin" / "sch_init_ol_cycle.sql").string()));

    // The server's bootstrap file names its chunks (the path's length first,
    // after the line's tenth blank).
    write_file((inst / "etc" / "oncfg_ol_cycle.3").string(),
               "Chunk 1 2 3 4 5 6 7 8 9 " + std::to_string(rootdbs.size()) + " " + rootdbs + "\n");
    for (const char *parameter : message_logs) write_file(message_log(parameter), "up\n");
    EXPECT_EQ(0, dplRemoveInstance(block, "ol_cycle"));
    EXPECT_EQ("<missing>", values_of("SYSTEM\\CurrentControlSet\\Services\\ol_cycle"));
    EXPECT_EQ("<missing>", subkeys_of("SOFTWARE\\Orvandex"));
    finish(block);
    EXPECT_EQ(installation_before, snapshot(inst));
#ifndef _WIN32
    EXPECT_EQ(services_before, snapshot(root.path() / "etc"));
#endif
}

}  // namespace
}  // namespace dpl::test
