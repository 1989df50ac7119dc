// What initialisation writes to the log and debug files named by INSTALL_LOG.
#include "trace/trace_test_fixture.hpp"

namespace dpl::test {
namespace {

// What building the installing user's context logs.
std::string user_log_lines(InstallControlBlock *block) {
    const std::string at = "2026-11-21 09:08:07    42  4242 ";
    return at + "installing as " + dplGetDoaminName(block) + "\\" + dplGetInstallingUser(block) + "\n" + at +
           "Installing on host " + dplGetComputerName(block) + "\n";
}

class InitLogging : public TraceTest {
protected:
    void TearDown() override {
        set_env("INSTALL_LOG", nullptr);
        set_env("INSTALL_API_DEBUG", nullptr);
        TraceTest::TearDown();
    }
};

TEST_F(InitLogging, InstallLogNamesTheLogAndItsDebugFile) {
    set_env("INSTALL_LOG", log_path.c_str());
    InstallControlBlock *block = init_API(0, 1, "p", "12.10.FC1");
    ASSERT_NE(nullptr, block);
    EXPECT_EQ(0, dplSetEnvironment(block, "ORVANDEXSQLHOSTS", "C:\\etc\\sqlhosts"));
    EXPECT_EQ(0, dplSetEnvironment(block, "ORVANDEXSQLHOSTS", "\\\\host"));
    const std::string user_lines = user_log_lines(block);
    EXPECT_EQ(0, finish(block));

    EXPECT_EQ(user_lines + "2026-11-21 09:08:07    42  4242 finish entered\n", log());
    // The lines of this file's calls, leaving out those of the services load
    // and of the installing user's context.
    std::vector<std::string> lines;
    bool after_services = false;
    for (const auto &line : lines_of(debug())) {
        const bool services =
            line.find("API/dpl_services") != std::string::npos ||
            line.find("API/dpl_user") != std::string::npos ||
            (!line.empty() && line[0] == ' ' && line.find("nstalling ") != std::string::npos);
        if (!services && !(after_services && line.empty())) lines.push_back(line);
        after_services = services;
    }
    const std::string at = "2026-11-21 09:08:07    42  4242 ";
    ASSERT_EQ(15u, lines.size());
    EXPECT_EQ(at + "initInstallAPI: ENTER.", lines[0].substr(33));
    EXPECT_EQ("  ", lines[0].substr(0, 2));
    EXPECT_EQ(" API/API                  ", lines[0].substr(7, 26));
    EXPECT_EQ(at + "initInstallAPI: EXIT. rc=0(0x0).", lines[1].substr(33));
    EXPECT_EQ("", lines[2]);
    EXPECT_EQ(at + "dplSetEnvironment: ENTER.", lines[3].substr(33));
    EXPECT_EQ(" API/dpl_instance         ", lines[4].substr(7, 26));
    EXPECT_EQ(at + "dplSetEnvironment, set, ORVANDEXSQLHOSTS='C:\\etc\\sqlhosts'", lines[4].substr(33));
    EXPECT_EQ(at + "dplSetEnvironment, reset, ORVANDEXSQLHOSTS='\\\\host'", lines[8].substr(33));
    EXPECT_EQ(at + "finish: ENTER.", lines[11].substr(33));
    EXPECT_EQ(std::string(33, ' ') + at + "finish entered", lines[12]);
    EXPECT_EQ(at + "finish: EXIT. rc=0(0x0).", lines[13].substr(33));
}

TEST_F(InitLogging, ALongInstallLogKeepsTheLogButDropsTheDebugFile) {
    const std::string long_log = dir.file(std::string(200, 'L'));
    ASSERT_GE(long_log.size(), 200u);
    set_env("INSTALL_LOG", long_log.c_str());
    InstallControlBlock *block = init_API(0, 1, "p", "12.10.FC1");
    ASSERT_NE(nullptr, block);
    uint32_t severity = 99;
    EXPECT_EQ(HT_OK, ht_get_severity(&severity));
    EXPECT_EQ(0u, severity);
    const std::string user_lines = user_log_lines(block);
    EXPECT_EQ(0, finish(block));
    EXPECT_EQ(user_lines + "2026-11-21 09:08:07    42  4242 finish entered\n", read_file(long_log));
    EXPECT_FALSE(std::filesystem::exists(long_log + ".debug"));
}

TEST_F(InitLogging, InstallApiDebugBracketsTheStart) {
    const std::string notes = dir.file("api-debug.txt");
    set_env("INSTALL_API_DEBUG", notes.c_str());
    InstallControlBlock *first = init_API(0, 1, "p", "12.10.FC1");
    InstallControlBlock *second = init_API(0, 1, "p", "12.10.FC1");
    ASSERT_NE(nullptr, first);
    ASSERT_NE(nullptr, second);
    finish(second);
    finish(first);
    // No log name: nothing starts, so the second start does not find it running.
    EXPECT_EQ(
        "Before starting tracing.\nAfter starting tracing. nrc = 0.\n"
        "Before starting tracing.\nAfter starting tracing. nrc = 0.\n",
        read_file(notes));

    trace::reset_for_tests();
    EXPECT_EQ(0, setupIATrace(log_path.c_str(), nullptr, 0));
    EXPECT_EQ(0, setupIATrace(log_path.c_str(), nullptr, 0));  // 10005 counts as success
    EXPECT_NE(std::string::npos, read_file(notes).find("After starting tracing. nrc = 10005.\n"));
}

}  // namespace
}  // namespace dpl::test
