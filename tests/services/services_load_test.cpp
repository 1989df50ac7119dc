// Reading a services file into the model and writing it out again, and
// the codes and messages of bad calls.
#include <string>
#include <utility>
#include <vector>

#include "services/services_fixture.hpp"

namespace dpl::test {
namespace {

using ServicesLoad = ServicesTest;

TEST_F(ServicesLoad, EveryKindOfLineIsWrittenBackInTheColumnsOfTheModel) {
    const std::string nul_first("\0skipped\n#kept\0lost\n", 20);
    const struct {
        std::string input;
        std::string written;
    } cases[] = {
        {"svc 1234/tcp one two # the text\r\n\t zero   007/udp #\nhash 9/x#y\n",
         "svc \t 1234/tcp\t one two\t# the text\n"
         "zero\t    7/udp\t        \t#\n"
         "hash\t    9/x#y\t        \n"},
        // A line that starts with '\r' is blank.
        {"# first\n\n#\n\rjunk\n", "# first\n\n#\n\n"},
        // The last line gets a line end.
        {"#c\nx 1/tcp", "#c\nx\t    1/tcp\t\n"},
        // Pieces of 255 characters are lines of their own; a full piece at
        // the end of the file gets no line end.
        {"#" + std::string(254, 'a') + "x 5/tcp\n", "#" + std::string(254, 'a') + "x\t    5/tcp\t\n"},
        {"#" + std::string(254, 'b'), "#" + std::string(254, 'b')},
        // A NUL ends the text of its line.
        {nul_first, "\n#kept"},
        {"", ""},
    };
    for (const auto &c : cases) {
        ASSERT_EQ(0, load(c.input)) << c.input;
        EXPECT_EQ(c.written, written()) << c.input;
    }
}

TEST_F(ServicesLoad, UnparsableLinesAreKeptVerbatimWithTheirWarnings) {
    const std::pair<std::string, std::string> lines[] = {
        {"big 70000/tcp", "Warning: Read a port that won't fit in a uint16: 70000"},
        {"huge 99999999999999999999/tcp", "Warning: Read a port that won't fit in a uint16: 2147483647"},
        {"noslash 1234 tcp", "Warning The slash appears to be missing."},
        {"noproto 1234/ x", "Warning: The protocol appears to be missing."},
        {"  # x", "Warning: Port appears to be missing."},
        {"justname", "Warning: Port appears to be missing."},
    };
    std::string text;
    Texts expected;
    for (const auto &[line, warning] : lines) {
        text += line + "\n";
        expected.insert(expected.end(), {warning, "Warning: Parsing error on line: " + line});
    }
    text.pop_back();  // the last line without its line end
    write_file(services_path, text);
    ASSERT_EQ(0, dplServicesLoad(block, services_path.c_str()));
    expected.push_back("Loaded services file " + services_path);
    EXPECT_EQ(expected, messages());
    EXPECT_EQ(text + "\n", written());
    // Verbatim lines do not count for the columns.
    EXPECT_EQ(0u, block->services.name_width);
}

TEST_F(ServicesLoad, ASecondLoadIsRefusedAndFreeKeepsOnlyTheSocketSwitch) {
    ASSERT_EQ(0, load("longer-name 1/tcp alias\n"));
    const std::string other = dir.file("other");
    write_file(other, "b 2/tcp\n");
    EXPECT_EQ(-966, dplServicesLoad(block, other.c_str()));
    EXPECT_TRUE(messages().empty());
    EXPECT_EQ(0, dplServicesGetPortFromName(block, "b", nullptr));
    ASSERT_EQ(0, dplServicesCheatSockets(block));
    dplServicesFree(block);
    EXPECT_EQ((Texts{"All resources released."}), messages());
    EXPECT_EQ(0, dplServicesStatus(block));
    EXPECT_EQ(1u, block->services.sockets_off);
    // A new load starts from nothing and switches socket probing back on.
    ASSERT_EQ(0, dplServicesLoad(block, other.c_str()));
    EXPECT_EQ(0u, block->services.sockets_off);
    EXPECT_EQ(0, dplServicesGetPortFromName(block, "alias", nullptr));
    EXPECT_EQ("b\t    2/tcp\t\n", written());
}

TEST_F(ServicesLoad, DeployRewritesTheLoadedFileOnlyWhenChangedAndNotPrivate) {
    const std::string file = "a 1/tcp\n#c\n";  // not in the columns: a rewrite would show
    ASSERT_EQ(0, load(file));
    EXPECT_EQ(0, dplServicesDeploy(block));
    EXPECT_EQ(file, read_file(services_path));
    // A failed write keeps the change for a later attempt.
    ASSERT_EQ(0, dplServicesAddComment(block, "added"));
    const std::string nowhere = dir.file("no-such-directory/services");
    EXPECT_EQ(DPL_E_INVALID_VALUE, dplServicesDeployFile(block, nowhere.c_str()));
    EXPECT_EQ(0, dplServicesDeploy(block));
    EXPECT_EQ(
        (Texts{"Warning: dplServicesDeploy refusing to rewrite services file as it has not been changed.",
               "Added comment line: added",
               "Error: The file " + nowhere + " could not be opened for writing in dplServicesDeployFile",
               "Wrote services to " + services_path}),
        messages());
    EXPECT_EQ("a\t    1/tcp\t\n#c\n#added\n", read_file_text(services_path));
    EXPECT_EQ(1, dplServicesStatus(block));

    // A private installation never rewrites it, but writes files of its own.
    ASSERT_EQ(0, dplSetInstallModePrivate(block));
    ASSERT_EQ(0, dplServicesAddComment(block, "again"));
    EXPECT_EQ(0, dplServicesDeploy(block));
    EXPECT_EQ(2, dplServicesStatus(block));
    EXPECT_EQ("a\t    1/tcp\t\n#c\n#added\n", read_file_text(services_path));
    EXPECT_EQ("a\t    1/tcp\t\n#c\n#added\n#again\n", written());
}

TEST_F(ServicesLoad, BadCallsGiveTheirCodesAndMessages) {
    uint32_t foreign[64] = {0x12345678u};
    auto *fake = reinterpret_cast<InstallControlBlock *>(foreign);
    const std::string missing = dir.file("missing");
    char dummy = 'd';
    char *name = &dummy;
    uint16_t port = 5;
    // The arguments are evaluated first: the messages are those of the call.
    const auto expect = [&](int32_t rc, int32_t expected, const std::string &message) {
        EXPECT_EQ(expected, rc) << message;
        EXPECT_EQ(Texts{message}, messages());
        forget_messages();
    };
    const std::string null = "Error: The install structure is null in dplServices";
    expect(dplServicesLoad(fake, services_path.c_str()), DPL_E_BAD_CONTEXT, null + "Load.");
    expect(dplServicesLoad(block, ""), DPL_E_NULL_ARGUMENT,
           "Error: The file parameter is null or blank in dplServicesLoad.");
    expect(dplServicesLoad(block, missing.c_str()), DPL_E_OPEN_READ,
           "Error: The file " + missing + " can't be opened for reading in dplServicesLoad");
    expect((dplServicesFree(fake), 0), 0,
           "Warning: The install structure is null in dplServicesFree; nothing is being freed.");
    EXPECT_EQ(0x12345678u, foreign[0]);
    // Nothing loaded: each call refuses the context with one message.
    for (const int32_t rc :
         {dplServicesDeploy(block), dplServicesDeployFile(block, "x"), dplServicesAddComment(block, "x"),
          dplServicesAddService(block, "n", 1, "tcp", 0, nullptr, nullptr),
          dplServicesRemoveService(block, 1, "n", nullptr), dplServicesGenerateName(block, &name, "x"),
          dplServicesGeneratePort(block, &port, 7000), dplServicesTestPort(block, 1, nullptr),
          dplServicesTestName(block, "x", nullptr), dplServicesCheatSockets(block)}) {
        EXPECT_EQ(DPL_E_BAD_CONTEXT, rc);
    }
    EXPECT_EQ(10u, messages().size());
    EXPECT_EQ(5, port);

    ASSERT_EQ(0, load("a 1/tcp\n"));
    expect(dplServicesRemoveService(block, 0, "", "tcp"), DPL_E_INVALID_VALUE,
           "Error: The port and name parameters are both unspecified in dplServicesRemoveService.");
    expect(dplServicesAddComment(block, ""), DPL_E_NULL_ARGUMENT,
           "Error: The text parameter is null in dplServicesAddComment.");
    expect(dplServicesGenerateName(block, &name, ""), DPL_E_INVALID_VALUE,
           "Error: The preferred service name is null or blank in dplServicesGenerateName.");
    EXPECT_EQ(nullptr, name);
    // Lookups by name report to the log.
    expect(dplServicesGetPortFromName(block, "", nullptr), DPL_E_NULL_ARGUMENT,
           "Error: Port cannot be NULL or blank.");
    EXPECT_EQ(" p Error: Port cannot be NULL or blank.", lines_of(read_file(log_path)).back());
}

}  // namespace
}  // namespace dpl::test
