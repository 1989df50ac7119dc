// Adding and removing service lines and adding comments.
#include <string>
#include <vector>

#include "services/services_fixture.hpp"

namespace dpl::test {
namespace {

const std::string kFile =
    "# head\n"
    "longservicename 1500/tcp svc-a svc-b   # main\n"
    "short 1501/udp\n"
    "\n";
// The same in the columns of the model.
const std::string kWritten =
    "# head\n"
    "longservicename\t 1500/tcp\t svc-a svc-b\t# main\n"
    "short          \t 1501/udp\t            \n"
    "\n";

class ServicesEdit : public ServicesTest {
protected:
    void SetUp() override {
        ServicesTest::SetUp();
        ASSERT_EQ(0, load(kFile));
        forget_messages();
    }
};

TEST_F(ServicesEdit, ANewLineIsWrittenInTheColumnsOfTheFile) {
    const char *aliases[] = {"al"};
    ASSERT_EQ(0, dplServicesAddService(block, "alpha", 9088, "tcp", 1, aliases, "new\nline\r"));
    EXPECT_EQ(2, dplServicesStatus(block));
    EXPECT_EQ(
        "# head\n"
        "longservicename\t 1500/tcp\t svc-a svc-b\t# main\n"
        "short          \t 1501/udp\t            \n"
        "\n"
        "alpha          \t 9088/tcp\t al         \t#new line \n",
        written());
    EXPECT_EQ(1, dplServicesStatus(block));
    EXPECT_TRUE(has_message("Adding a service: alpha on 9088/tcp"));
}

TEST_F(ServicesEdit, AWiderLineWidensEveryColumn) {
    const char *aliases[] = {"first-alias", "second-alias"};
    ASSERT_EQ(0, dplServicesAddService(block, "a-much-longer-service", 9, "sctp", 2, aliases, nullptr));
    const std::string blanks6(6, ' ');
    const std::string blanks13(13, ' ');
    const std::string blanks16(16, ' ');
    const std::string blanks25(25, ' ');
    EXPECT_EQ(
        "# head\n"
        "longservicename" +
            blanks6 + "\t 1500/tcp \t svc-a svc-b" + blanks13 + "\t# main\n" + "short" + blanks16 +
            "\t 1501/udp \t" + blanks25 + "\n" +
            "\n"
            "a-much-longer-service\t    9/sctp\t first-alias second-alias\n",
        written());
}

TEST_F(ServicesEdit, WidthsDoNotShrinkWhenTheWidestLineGoes) {
    ASSERT_EQ(0, dplServicesRemoveService(block, 1500, nullptr, nullptr));
    EXPECT_EQ(
        "# head\n"
        "short          \t 1501/udp\t            \n"
        "\n",
        written());
}

TEST_F(ServicesEdit, ANameWithADotIsRefused) {
    EXPECT_EQ(DPL_E_INVALID_VALUE, dplServicesAddService(block, "a.b", 9088, "tcp", 0, nullptr, nullptr));
    EXPECT_EQ((std::vector<std::string>{"Bound to port 9088; port is clear",
                                        "Error: The name \"a.b\" contains invalid character '.' in "
                                        "dplServicesAddService"}),
              messages());
    EXPECT_EQ(1, dplServicesStatus(block));
    EXPECT_EQ(kWritten, written());
}

TEST_F(ServicesEdit, ANullSecondAliasRefusesTheWholeLine) {
    const char *aliases[] = {"good", nullptr};
    EXPECT_EQ(DPL_E_NULL_ARGUMENT, dplServicesAddService(block, "alpha", 9088, "tcp", 2, aliases, nullptr));
    EXPECT_TRUE(has_message("Error: Alias 1 is null or blank in dplServicesAddService"));
    EXPECT_EQ(1, dplServicesStatus(block));
    EXPECT_EQ(kWritten, written());
}

TEST_F(ServicesEdit, ChecksComeInTheirOrderWithTheirCodes) {
    const char *with_dot[] = {"a.b"};
    const char *used[] = {"svc-a"};
    const char *empty[] = {""};
    const char *fine[] = {"fine"};
    uint32_t foreign[64] = {0x12345678u};
    auto *fake = reinterpret_cast<InstallControlBlock *>(foreign);
    EXPECT_EQ(DPL_E_BAD_CONTEXT, dplServicesAddService(nullptr, "n", 1, "tcp", 0, nullptr, nullptr));
    EXPECT_EQ(DPL_E_BAD_CONTEXT, dplServicesAddService(fake, "n", 1, "tcp", 0, nullptr, nullptr));
    EXPECT_EQ(DPL_E_NULL_ARGUMENT, dplServicesAddService(block, nullptr, 1, "tcp", 0, nullptr, nullptr));
    EXPECT_EQ(DPL_E_NULL_ARGUMENT, dplServicesAddService(block, "n", 1, "", 0, nullptr, nullptr));
    EXPECT_EQ(DPL_E_INVALID_VALUE, dplServicesAddService(block, "n.", 0, "tcp", 0, nullptr, nullptr));
    EXPECT_EQ(DPL_E_INVALID_VALUE, dplServicesAddService(block, "n.", 1500, "tcp", 0, nullptr, nullptr));
    EXPECT_EQ(DPL_E_INVALID_VALUE, dplServicesAddService(block, "svc-b", 7000, "tcp", 0, fine, nullptr));
    EXPECT_EQ(DPL_E_NULL_ARGUMENT, dplServicesAddService(block, "n", 7000, "tcp", 1, nullptr, nullptr));
    EXPECT_EQ(DPL_E_NULL_ARGUMENT, dplServicesAddService(block, "n", 7000, "tcp", 1, empty, nullptr));
    EXPECT_EQ(DPL_E_INVALID_VALUE, dplServicesAddService(block, "n", 7000, "tcp", 1, with_dot, nullptr));
    EXPECT_EQ(DPL_E_INVALID_VALUE, dplServicesAddService(block, "n", 7000, "tcp", 1, used, nullptr));
    EXPECT_EQ((std::vector<std::string>{
                  "Error: The install structure is null in dplServicesAddService.",
                  "Error: The install structure is null in dplServicesAddService.",
                  "Error: The name or protocol parameter is null or blank in dplServicesAddService.",
                  "Error: The name or protocol parameter is null or blank in dplServicesAddService.",
                  "Error: The port is the reserved value 0 in dplServicesAddService.",
                  "Error: Port 1500 is already used in dplServicesAddService (check before adding, please).",
                  "Bound to port 7000; port is clear",
                  "Warning: Aliascount is zero and aliases is zero in dplServicesAddService; is this "
                  "intentional?.",
                  "Error: Name svc-b is already used in dplServicesAddService (check before adding, please)",
                  "Bound to port 7000; port is clear",
                  "Error: The aliascount is greater than zero and aliases is null in dplServicesAddService.",
                  "Bound to port 7000; port is clear",
                  "Error: Alias 0 is null or blank in dplServicesAddService",
                  "Bound to port 7000; port is clear",
                  "Error: Alias \"a.b\" contains an invalid character '.' in dplServicesAddService",
                  "Bound to port 7000; port is clear",
                  "Error: Alias svc-a is already used in dplServicesAddService (check before adding, please)",
              }),
              messages());
    EXPECT_EQ(1, dplServicesStatus(block));
    EXPECT_EQ(kWritten, written());
}

TEST_F(ServicesEdit, APortTheMachineUsesIsRefused) {
    os.port_answers[7000] = platform::PortProbe::InUse;
    EXPECT_EQ(DPL_E_INVALID_VALUE, dplServicesAddService(block, "n", 7000, "tcp", 0, nullptr, nullptr));
    EXPECT_TRUE(has_message(
        "Error: Port 7000 is already used in dplServicesAddService (check before adding, please)."));
}

TEST_F(ServicesEdit, AnInstalledServiceNameOrAFailingManagerCountsAsUsed) {
    os.installed.insert("winsvc");
    EXPECT_EQ(DPL_E_INVALID_VALUE, dplServicesAddService(block, "winsvc", 7000, "tcp", 0, nullptr, nullptr));
    os.manager_unavailable = true;
    EXPECT_EQ(DPL_E_INVALID_VALUE, dplServicesAddService(block, "other", 7000, "tcp", 0, nullptr, nullptr));
    EXPECT_TRUE(has_message("dplServicesTestName: OpenSCManager failed: 1722"));
    EXPECT_TRUE(
        has_message("Error: Name other is already used in dplServicesAddService (check before adding, "
                    "please)"));
}

TEST_F(ServicesEdit, NamesOfAnotherProtocolAndANegativeAliasCountAreAccepted) {
    // "short" is only used for udp; an alias is not checked against its own
    // line's name.
    const char *aliases[] = {"other"};
    ASSERT_EQ(0, dplServicesAddService(block, "short", 7000, "tcp", -3, nullptr, nullptr));
    ASSERT_EQ(0, dplServicesAddService(block, "other", 7001, "tcp", 1, aliases, ""));
    EXPECT_EQ(7000, dplServicesGetPortFromName(block, "short", "tcp"));
    EXPECT_EQ(1501, dplServicesGetPortFromName(block, "short", "udp"));
    EXPECT_EQ(7000, dplServicesGetPortFromName(block, "short", nullptr));
    EXPECT_EQ(7001, dplServicesGetPortFromName(block, "other", nullptr));
    // An empty comment makes no comment column.
    EXPECT_EQ(kWritten +
                  "short          \t 7000/tcp\t            \n"
                  "other          \t 7001/tcp\t other      \n",
              written());
}

TEST_F(ServicesEdit, RemovingByAnAliasRemovesTheLineThatCarriesIt) {
    ASSERT_EQ(0, dplServicesRemoveService(block, 0, "svc-b", nullptr));
    EXPECT_EQ((std::vector<std::string>{"Deleting a service: longservicename on 1500/tcp"}), messages());
    EXPECT_EQ(2, dplServicesStatus(block));
    EXPECT_EQ(0, dplServicesGetPortFromName(block, "svc-a", nullptr));
    EXPECT_EQ(0, dplServicesGetPortFromName(block, "longservicename", nullptr));
    EXPECT_EQ(0, dplServicesTestPort(block, 1500, nullptr));
}

TEST_F(ServicesEdit, RemovingByPortTakesEveryProtocolUnlessOneIsGiven) {
    dplServicesFree(block);
    ASSERT_EQ(0, load("a 7000/tcp\nb 7000/udp\nc 7001/tcp\nd 7000/tcp\n"));
    forget_messages();
    ASSERT_EQ(0, dplServicesRemoveService(block, 7000, nullptr, "tcp"));
    EXPECT_EQ(
        (std::vector<std::string>{"Deleting a service: d on 7000/tcp", "Deleting a service: a on 7000/tcp"}),
        messages());
    EXPECT_EQ(2, dplServicesTestPort(block, 7000, nullptr));
    ASSERT_EQ(0, dplServicesRemoveService(block, 7000, "", nullptr));
    EXPECT_EQ(0, dplServicesTestPort(block, 7000, nullptr));
    EXPECT_EQ("c\t 7001/tcp\t\n", written());
}

TEST_F(ServicesEdit, EveryGivenCriterionMustMatch) {
    ASSERT_EQ(0, dplServicesRemoveService(block, 1501, "longservicename", nullptr));
    ASSERT_EQ(0, dplServicesRemoveService(block, 0, "short", "tcp"));
    ASSERT_EQ(0, dplServicesRemoveService(block, 0, "nobody", nullptr));
    ASSERT_EQ(0, dplServicesRemoveService(block, 0, "#", nullptr));
    EXPECT_TRUE(messages().empty());
    EXPECT_EQ(1, dplServicesStatus(block));
    ASSERT_EQ(0, dplServicesRemoveService(block, 1501, "short", "udp"));
    EXPECT_EQ(2, dplServicesStatus(block));
    EXPECT_EQ(0, dplServicesGetPortFromName(block, "short", nullptr));
}

TEST_F(ServicesEdit, RemovalArgumentErrors) {
    EXPECT_EQ(DPL_E_BAD_CONTEXT, dplServicesRemoveService(nullptr, 1, "a", nullptr));
    EXPECT_EQ(DPL_E_INVALID_VALUE, dplServicesRemoveService(block, 0, nullptr, "tcp"));
    EXPECT_EQ(DPL_E_INVALID_VALUE, dplServicesRemoveService(block, 0, "", "tcp"));
    EXPECT_EQ((std::vector<std::string>{
                  "Error: The install structure is null in dplServicesRemoveService.",
                  "Error: The port and name parameters are both unspecified in dplServicesRemoveService.",
                  "Error: The port and name parameters are both unspecified in dplServicesRemoveService.",
              }),
              messages());
}

TEST_F(ServicesEdit, CommentsAreSplitAtEveryLineEnd) {
    ASSERT_EQ(0, dplServicesAddComment(block, "one\r\ntwo\n"));
    EXPECT_EQ((std::vector<std::string>{"Added comment line: one", "Added comment line: ",
                                        "Added comment line: two", "Added comment line: "}),
              messages());
    EXPECT_EQ(2, dplServicesStatus(block));
    ASSERT_EQ(0, dplServicesAddComment(block, "three"));
    EXPECT_EQ(kWritten + "#one\n#\n#two\n#\n#three\n", written());
}

TEST_F(ServicesEdit, CommentArgumentErrors) {
    EXPECT_EQ(DPL_E_BAD_CONTEXT, dplServicesAddComment(nullptr, "x"));
    EXPECT_EQ(DPL_E_NULL_ARGUMENT, dplServicesAddComment(block, nullptr));
    EXPECT_EQ(DPL_E_NULL_ARGUMENT, dplServicesAddComment(block, ""));
    EXPECT_EQ((std::vector<std::string>{
                  "Error: The install structure is null in dplServicesAddComment.",
                  "Error: The text parameter is null in dplServicesAddComment.",
                  "Error: The text parameter is null in dplServicesAddComment.",
              }),
              messages());
    EXPECT_EQ(1, dplServicesStatus(block));
    dplServicesFree(block);
    EXPECT_EQ(DPL_E_BAD_CONTEXT, dplServicesAddComment(block, "x"));
    EXPECT_EQ(DPL_E_BAD_CONTEXT, dplServicesAddService(block, "n", 1, "tcp", 0, nullptr, nullptr));
    EXPECT_EQ(DPL_E_BAD_CONTEXT, dplServicesRemoveService(block, 1, nullptr, nullptr));
}

}  // namespace
}  // namespace dpl::test
