// Adding and removing service lines and adding comments.
#include <string>

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
    }
};

TEST_F(ServicesEdit, NewLinesAreWrittenInTheColumnsOfTheFileAndCommentsSplitAtLineEnds) {
    const char *aliases[] = {"al"};
    ASSERT_EQ(0, dplServicesAddService(block, "alpha", 9088, "tcp", 1, aliases, "new\nline\r"));
    EXPECT_EQ((Texts{"Bound to port 9088; port is clear", "Adding a service: alpha on 9088/tcp"}),
              messages());
    EXPECT_EQ(2, dplServicesStatus(block));
    // A name of another protocol is free, a negative alias count is none, an
    // alias may repeat its own line's name, an empty comment is none.
    const char *other[] = {"other"};
    ASSERT_EQ(0, dplServicesAddService(block, "short", 7000, "tcp", -3, nullptr, nullptr));
    ASSERT_EQ(0, dplServicesAddService(block, "other", 7001, "tcp", 1, other, ""));
    // Comments are split at every line end.
    forget_messages();
    ASSERT_EQ(0, dplServicesAddComment(block, "one\r\ntwo\n"));
    EXPECT_EQ((Texts{"Added comment line: one", "Added comment line: ", "Added comment line: two",
                     "Added comment line: "}),
              messages());
    EXPECT_EQ(kWritten +
                  "alpha          \t 9088/tcp\t al         \t#new line \n"
                  "short          \t 7000/tcp\t            \n"
                  "other          \t 7001/tcp\t other      \n"
                  "#one\n#\n#two\n#\n",
              written());
    EXPECT_EQ(1, dplServicesStatus(block));
}

TEST_F(ServicesEdit, AWiderLineWidensEveryColumnAndWidthsNeverShrink) {
    const char *aliases[] = {"first-alias", "second-alias"};
    ASSERT_EQ(0, dplServicesAddService(block, "a-much-longer-service", 9, "sctp", 2, aliases, nullptr));
    const std::string widened =
        "# head\n"
        "longservicename      \t 1500/tcp \t svc-a svc-b             \t# main\n"
        "short                \t 1501/udp \t                         \n"
        "\n";
    EXPECT_EQ(widened + "a-much-longer-service\t    9/sctp\t first-alias second-alias\n", written());
    ASSERT_EQ(0, dplServicesRemoveService(block, 9, nullptr, nullptr));
    EXPECT_EQ(widened, written());
}

TEST_F(ServicesEdit, ChecksComeInTheirOrderAndARefusedLineChangesNothing) {
    os.port_answers[7001] = platform::PortProbe::InUse;
    const char *with_dot[] = {"a.b"};
    const char *used[] = {"svc-a"};
    const char *second_null[] = {"good", nullptr};
    const auto refused = [&](int32_t rc, int32_t expected, const std::string &last_message) {
        EXPECT_EQ(expected, rc) << last_message;
        EXPECT_EQ(last_message, messages().back());
        forget_messages();
    };
    const std::string used_text = " is already used in dplServicesAddService (check before adding, please)";
    refused(dplServicesAddService(block, "n.", 0, "", 0, nullptr, nullptr), DPL_E_NULL_ARGUMENT,
            "Error: The name or protocol parameter is null or blank in dplServicesAddService.");
    refused(dplServicesAddService(block, "n.", 0, "tcp", 0, nullptr, nullptr), DPL_E_INVALID_VALUE,
            "Error: The port is the reserved value 0 in dplServicesAddService.");
    refused(dplServicesAddService(block, "n.", 1500, "tcp", 0, nullptr, nullptr), DPL_E_INVALID_VALUE,
            "Error: Port 1500" + used_text + ".");
    refused(dplServicesAddService(block, "a.b", 7001, "tcp", 0, nullptr, nullptr), DPL_E_INVALID_VALUE,
            "Error: Port 7001" + used_text + ".");
    refused(dplServicesAddService(block, "a.b", 7000, "tcp", 0, nullptr, nullptr), DPL_E_INVALID_VALUE,
            "Error: The name \"a.b\" contains invalid character '.' in dplServicesAddService");
    EXPECT_EQ(DPL_E_INVALID_VALUE, dplServicesAddService(block, "svc-b", 7000, "tcp", 0, used, nullptr));
    EXPECT_EQ((Texts{"Bound to port 7000; port is clear",
                     "Warning: Aliascount is zero and aliases is zero in dplServicesAddService; is this "
                     "intentional?.",
                     "Error: Name svc-b" + used_text}),
              messages());
    forget_messages();
    refused(dplServicesAddService(block, "n", 7000, "tcp", 2, second_null, nullptr), DPL_E_NULL_ARGUMENT,
            "Error: Alias 1 is null or blank in dplServicesAddService");
    refused(dplServicesAddService(block, "n", 7000, "tcp", 1, with_dot, nullptr), DPL_E_INVALID_VALUE,
            "Error: Alias \"a.b\" contains an invalid character '.' in dplServicesAddService");
    refused(dplServicesAddService(block, "n", 7000, "tcp", 1, used, nullptr), DPL_E_INVALID_VALUE,
            "Error: Alias svc-a" + used_text);
    os.manager_unavailable = true;
    refused(dplServicesAddService(block, "other", 7000, "tcp", 0, nullptr, nullptr), DPL_E_INVALID_VALUE,
            "Error: Name other" + used_text);
    EXPECT_EQ(1, dplServicesStatus(block));
    EXPECT_EQ(kWritten, written());
}

TEST_F(ServicesEdit, RemovingMatchesEveryGivenCriterionByPortOrByAlias) {
    ASSERT_EQ(0, load("#k\na 7000/tcp\nb 7000/udp\nc 7001/tcp c-one c-two\nd 7000/tcp\n"));
    ASSERT_EQ(0, dplServicesRemoveService(block, 7001, "a", nullptr));
    ASSERT_EQ(0, dplServicesRemoveService(block, 0, "b", "tcp"));
    ASSERT_EQ(0, dplServicesRemoveService(block, 0, "#k", nullptr));
    EXPECT_TRUE(messages().empty());
    EXPECT_EQ(1, dplServicesStatus(block));
    ASSERT_EQ(0, dplServicesRemoveService(block, 7000, nullptr, "tcp"));
    EXPECT_EQ(2, dplServicesTestPort(block, 7000, nullptr));
    ASSERT_EQ(0, dplServicesRemoveService(block, 7000, "", nullptr));
    ASSERT_EQ(0, dplServicesRemoveService(block, 0, "c-two", nullptr));
    EXPECT_EQ((Texts{"Deleting a service: d on 7000/tcp", "Deleting a service: a on 7000/tcp",
                     "Deleting a service: b on 7000/udp", "Deleting a service: c on 7001/tcp"}),
              messages());
    EXPECT_EQ(2, dplServicesStatus(block));
    EXPECT_EQ("#k\n", written());
}

}  // namespace
}  // namespace dpl::test
