// dplsync run as a program the way an administrator runs it: its usage, and
// copying definitions between files and registries.
#include <cstdlib>
#include <string>
#include <vector>

#include "support/machine_fixture.hpp"

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

const char kRegistrySeed[] =
    "Windows Registry Editor Version 5.00\r\n"
    "\r\n"
    "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Orvandex\\SQLHOSTS\\ol_reg]\r\n"
    "\"HOST\"=\"*localhost\"\r\n"
    "\"OPTIONS\"=\"\"\r\n"
    "\"PROTOCOL\"=\"onsoctcp\"\r\n"
    "\"SERVICE\"=\"svc_a\"\r\n";

using DplsyncSync = MachineTest;

TEST_F(DplsyncSync, FileToFile) {
    const struct {
        const char *what;
        const char *source;  // null: no such file
        const char *target;  // null: no such file
        std::vector<std::string> servers;
        const char *output;
        const char *written;
    } cases[] = {
        {"merge",
         "# source\nol_a onsoctcp localhost svc_a\nol_b onipcshm localhost ol_b\n",
         "# target\nol_a onsoctcp localhost 1234 k=1\nol_t onsoctcp localhost svc_b\n",
         {},
         "",
         "# target\nol_a onsoctcp localhost svc_a k=1\nol_t onsoctcp localhost svc_b \n# source\n"
         "ol_b onipcshm localhost ol_b \n"},
        {"listed servers only",
         "ol_a onsoctcp localhost svc_a\nol_b onsoctcp localhost svc_b\nol_c onsoctcp localhost 77\n",
         nullptr,
         {"-servers", "ol_c", "nothere", "ol_a"},
         "",
         "ol_c onsoctcp localhost 77 \nol_a onsoctcp localhost svc_a \n"},
        {"unreadable source",
         nullptr,
         "ol_t onsoctcp localhost svc_b\n",
         {},
         "ERROR could not process source sqlhost",
         "ol_t onsoctcp localhost svc_b \n"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.what);
        ScratchDir files;
        const std::string source = files.file("source");
        const std::string target = files.file("target");
        if (c.source != nullptr) write_file(source, c.source);
        if (c.target != nullptr) write_file(target, c.target);
        std::vector<std::string> arguments = {"-source", source, "-target", target};
        arguments.insert(arguments.end(), c.servers.begin(), c.servers.end());
        const ProgramResult result = run_program(DPL_TEST_DPLSYNC, arguments);
        EXPECT_EQ(c.output, result.output);
        EXPECT_EQ(0, result.exit_code);
        EXPECT_EQ(c.written, read_file_text(target));
    }
}

TEST_F(DplsyncSync, ANewTargetFileReceivesTheLocalRegistry) {
    import_registry(kRegistrySeed);
    const std::string target = root.file("new-target");
    const ProgramResult result = run_program(DPL_TEST_DPLSYNC, {"-target", target});
    EXPECT_EQ("", result.output);
    EXPECT_EQ(0, result.exit_code);
    EXPECT_EQ("ol_reg onsoctcp *localhost svc_a \n", read_file_text(target));
}

TEST_F(DplsyncSync, ASourceFileIsMergedIntoTheLocalRegistry) {
    import_registry(kRegistrySeed);
    const std::string source = root.file("source");
    write_file(source, "ol_new onsoctcp localhost svc_b g=grp\n");
    const ProgramResult result = run_program(DPL_TEST_DPLSYNC, {"-source", source});
    EXPECT_EQ("", result.output);
    EXPECT_EQ(0, result.exit_code);
    EXPECT_EQ("grp\nol_new\nol_reg\n", subkeys_of("SOFTWARE\\Orvandex\\SQLHOSTS"));
    EXPECT_EQ("HOST=*localhost\nOPTIONS=g=grp\nPROTOCOL=onsoctcp\nSERVICE=svc_b\n",
              values_of("SOFTWARE\\Orvandex\\SQLHOSTS\\ol_new"));
    EXPECT_EQ("HOST=*localhost\nOPTIONS=\nPROTOCOL=onsoctcp\nSERVICE=svc_a\n",
              values_of("SOFTWARE\\Orvandex\\SQLHOSTS\\ol_reg"));
#ifdef _WIN32
    // What Wine's own registry tool sees.
    const std::string listing = root.file("query.txt");
    const std::string command =
        "reg query \"HKLM\\SOFTWARE\\Orvandex\\SQLHOSTS\\ol_new\" > \"" + listing + "\"";
    ASSERT_EQ(0, std::system(command.c_str()));
    const std::string seen = read_file_text(listing);
    EXPECT_NE(std::string::npos, seen.find("HOST    REG_SZ    *localhost")) << seen;
    EXPECT_NE(std::string::npos, seen.find("SERVICE    REG_SZ    svc_b")) << seen;
#endif
}

TEST_F(DplsyncSync, AnEmptyRegistryTargetIsReportedAndStillWritten) {
    const std::string source = root.file("source");
    write_file(source, "ol_a onsoctcp localhost svc_a\n");
    const ProgramResult result = run_program(DPL_TEST_DPLSYNC, {"-source", source, "-servers"});
    EXPECT_EQ("ERROR: could not process target sqlhost", result.output);
    EXPECT_EQ(0, result.exit_code);
    EXPECT_EQ("<missing>", subkeys_of("SOFTWARE\\Orvandex\\SQLHOSTS"));

    const ProgramResult merged = run_program(DPL_TEST_DPLSYNC, {"-source", source});
    EXPECT_EQ("ERROR: could not process target sqlhost", merged.output);
    EXPECT_EQ(0, merged.exit_code);
    EXPECT_EQ("ol_a\n", subkeys_of("SOFTWARE\\Orvandex\\SQLHOSTS"));
}

TEST_F(DplsyncSync, AWriteFailureBecomesTheExitStatus) {
    const std::string source = root.file("source");
    write_file(source, "ol_a onsoctcp localhost svc_a\n");
    const ProgramResult result =
        run_program(DPL_TEST_DPLSYNC, {"-source", source, "-target", root.file("no-dir/target")});
#ifdef _WIN32
    EXPECT_EQ(-952, result.exit_code);
#else
    EXPECT_EQ(-952 & 0xFF, result.exit_code);  // the shell keeps the low byte
#endif
}

#ifndef _WIN32
TEST_F(DplsyncSync, AnotherMachineIsReadAndTheWriteGoesToTheLocalRegistry) {
    const std::string machine = add_machine("dbhost", kRegistrySeed);
    const ProgramResult result =
        run_program(DPL_TEST_DPLSYNC, {"-target", machine, "-source", root.file("missing")});
    EXPECT_EQ("ERROR could not process source sqlhost", result.output);
    EXPECT_EQ(0, result.exit_code);
    EXPECT_EQ("ol_reg\n", subkeys_of("SOFTWARE\\Orvandex\\SQLHOSTS"));
}
#endif

}  // namespace
}  // namespace dpl::test
