// dplsync copying definitions between files and registries, run as a
// program the way an administrator runs it.
#include <cstdlib>

#include "support/machine_fixture.hpp"

namespace dpl::test {
namespace {

const char kRegistrySeed[] =
    "Windows Registry Editor Version 5.00\r\n"
    "\r\n"
    "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Orvandex\\SQLHOSTS\\ol_reg]\r\n"
    "\"HOST\"=\"*localhost\"\r\n"
    "\"OPTIONS\"=\"\"\r\n"
    "\"PROTOCOL\"=\"onsoctcp\"\r\n"
    "\"SERVICE\"=\"svc_a\"\r\n";

class DplsyncSync : public MachineTest {
protected:
    ProgramResult sync(const std::vector<std::string> &arguments) {
        return run_program(DPL_TEST_DPLSYNC, arguments);
    }
};

TEST_F(DplsyncSync, MergesASourceFileIntoATargetFile) {
    const std::string source = root.file("source");
    const std::string target = root.file("target");
    write_file(source, "# source\nol_a onsoctcp localhost svc_a\nol_b onipcshm localhost ol_b\n");
    write_file(target, "# target\nol_a onsoctcp localhost 1234 k=1\nol_t onsoctcp localhost svc_b\n");
    const ProgramResult result = sync({"-source", source, "-target", target});
    EXPECT_EQ("", result.output);
    EXPECT_EQ(0, result.exit_code);
    EXPECT_EQ(
        "# target\n"
        "ol_a onsoctcp localhost svc_a k=1\n"
        "ol_t onsoctcp localhost svc_b \n"
        "# source\n"
        "ol_b onipcshm localhost ol_b \n",
        read_file_text(target));
}

TEST_F(DplsyncSync, CopiesOnlyTheListedServers) {
    const std::string source = root.file("source");
    const std::string target = root.file("target");
    write_file(source,
               "ol_a onsoctcp localhost svc_a\nol_b onsoctcp localhost svc_b\nol_c onsoctcp localhost 77\n");
    const ProgramResult result =
        sync({"-source", source, "-target", target, "-servers", "ol_c", "nothere", "ol_a"});
    EXPECT_EQ("", result.output);
    EXPECT_EQ(0, result.exit_code);
    EXPECT_EQ("ol_c onsoctcp localhost 77 \nol_a onsoctcp localhost svc_a \n", read_file_text(target));
}

TEST_F(DplsyncSync, ANewTargetFileReceivesTheLocalRegistry) {
    import_registry(kRegistrySeed);
    const std::string target = root.file("new-target");
    const ProgramResult result = sync({"-target", target});
    EXPECT_EQ("", result.output);
    EXPECT_EQ(0, result.exit_code);
    EXPECT_EQ("ol_reg onsoctcp *localhost svc_a \n", read_file_text(target));
}

TEST_F(DplsyncSync, ASourceFileIsMergedIntoTheLocalRegistry) {
    import_registry(kRegistrySeed);
    const std::string source = root.file("source");
    write_file(source, "ol_new onsoctcp localhost svc_b g=grp\n");
    const ProgramResult result = sync({"-source", source});
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
    const ProgramResult result = sync({"-source", source, "-servers"});
    EXPECT_EQ("ERROR: could not process target sqlhost", result.output);
    EXPECT_EQ(0, result.exit_code);
    EXPECT_EQ("<missing>", subkeys_of("SOFTWARE\\Orvandex\\SQLHOSTS"));

    const ProgramResult merged = sync({"-source", source});
    EXPECT_EQ("ERROR: could not process target sqlhost", merged.output);
    EXPECT_EQ(0, merged.exit_code);
    EXPECT_EQ("ol_a\n", subkeys_of("SOFTWARE\\Orvandex\\SQLHOSTS"));
}

TEST_F(DplsyncSync, AnUnreadableSourceIsReported) {
    const std::string target = root.file("target");
    write_file(target, "ol_t onsoctcp localhost svc_b\n");
    const ProgramResult result = sync({"-source", root.file("missing"), "-target", target});
    EXPECT_EQ("ERROR could not process source sqlhost", result.output);
    EXPECT_EQ(0, result.exit_code);
    EXPECT_EQ("ol_t onsoctcp localhost svc_b \n", read_file_text(target));
}

TEST_F(DplsyncSync, AWriteFailureBecomesTheExitStatus) {
    const std::string source = root.file("source");
    write_file(source, "ol_a onsoctcp localhost svc_a\n");
    const ProgramResult result = sync({"-source", source, "-target", root.file("no-dir/target")});
#ifdef _WIN32
    EXPECT_EQ(-952, result.exit_code);
#else
    EXPECT_EQ(-952 & 0xFF, result.exit_code);  // the shell keeps the low byte
#endif
}

#ifndef _WIN32
TEST_F(DplsyncSync, AnotherMachineIsReadAndTheWriteGoesToTheLocalRegistry) {
    const std::string machine = add_machine("dbhost", kRegistrySeed);
    const ProgramResult result = sync({"-target", machine, "-source", root.file("missing")});
    EXPECT_EQ("ERROR could not process source sqlhost", result.output);
    EXPECT_EQ(0, result.exit_code);
    EXPECT_EQ("ol_reg\n", subkeys_of("SOFTWARE\\Orvandex\\SQLHOSTS"));
}
#endif

}  // namespace
}  // namespace dpl::test
