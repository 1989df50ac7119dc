// dplsync run as a user runs it.
#include <gtest/gtest.h>

#include "support/test_support.hpp"
#include "sync_arguments.hpp"

namespace dpl::test {
namespace {

const std::string kUsageTail =
    " [-source <sqlhostvalue>] [-target <sqlhostvalue>] [-servers {serverlist }]\n\n"
    "if source or target is not specified it defaults to local orvandexsqlhosts registery node\n"
    "sqlhostvalue is either \\\\machine name or an sqlhosts file.\n"
    "serverlist is a space seperated list of orvandex server entries that are copyed from source to target\n";

// The usage text begins with the name the program was started by.
void expect_usage(const ProgramResult &result) {
    EXPECT_EQ(-1, result.exit_code);
    // Standard output is in text mode: on Windows each "\n" arrives as CRLF.
    const std::string output = without_carriage_returns(result.output);
    ASSERT_GT(output.size(), kUsageTail.size());
    const std::string name = output.substr(0, output.size() - kUsageTail.size());
    EXPECT_EQ(kUsageTail, output.substr(name.size()));
#ifdef _WIN32
    EXPECT_NE(std::string::npos, name.find("dplsync")) << name;
#else
    EXPECT_EQ(DPL_TEST_DPLSYNC, name);
#endif
}

TEST(DplsyncProgram, UsageErrorsPrintTheUsageAndExitMinusOne) {
    expect_usage(run_program(DPL_TEST_DPLSYNC, {}));
    expect_usage(run_program(DPL_TEST_DPLSYNC, {"word", "-target", "x"}));
    expect_usage(run_program(DPL_TEST_DPLSYNC, {"-servers", "ol_a", "ol_b"}));
    expect_usage(run_program(DPL_TEST_DPLSYNC, {"-source"}));
}

TEST(DplsyncProgram, ValidArgumentsOpenAndReleaseTheContexts) {
    ScratchDir dir;
    const std::string log = dir.file("sync.log");
    set_env("INSTALL_LOG", log.c_str());
    const ProgramResult result = run_program(
        DPL_TEST_DPLSYNC, {"-source", dir.file("a"), "-target", dir.file("b"), "-servers", "ol_x"});
    set_env("INSTALL_LOG", nullptr);
    // The source file does not exist: reported, and the (new) target written.
    EXPECT_EQ(0, result.exit_code);
    EXPECT_EQ("ERROR could not process source sqlhost", result.output);
    EXPECT_EQ("", read_file(dir.file("b")));
    // Two contexts: the target's and the source's, each logging its installation tag when it is
    // made, released in that order.
    const auto lines = lines_of(read_file(log));
    ASSERT_GE(lines.size(), 4u);
    std::size_t tags = 0;
    for (const auto &line : lines) tags += line.find("Unique installation identifier: ") != std::string::npos;
    EXPECT_EQ(2u, tags);
    for (std::size_t i = lines.size() - 2; i < lines.size(); ++i) {
        EXPECT_EQ("finish entered", lines[i].substr(lines[i].size() - 14));
    }
    const std::string debug = read_file(log + ".debug");
    EXPECT_NE(std::string::npos,
              debug.find("dplSetEnvironment, set, ORVANDEXSQLHOSTS='" + dir.file("b") + "'"));
}

}  // namespace
}  // namespace dpl::test
