// Reading and writing sqlhosts files.
#include "connections/connection_test_fixture.hpp"
#include "support/installed_platform.hpp"
#include "support/test_support.hpp"

namespace dpl::test {
namespace {

using SqlhostsFile = ConnectionTest<>;

TEST_F(SqlhostsFile, ReadsConnectionsAndKeepsCommentsInPlace) {
    const std::string path = dir.file("sqlhosts");
    write_file(path,
               "# first comment\n"
               "ol_a onsoctcp localhost svc_a k=1 ignored words\n"
               "\n"
               "ol_b\tonipcshm   localhost\t svc_b\n"
               "#second\n"
               "ol_grp group - - i=1\n"
               "ol_c drsoctcp localhost 1526\n"
               "ol_d onsoctcp localhost alias_a");
    ASSERT_EQ(0, dplReadConnections(block, path.c_str()));
    EXPECT_EQ(
        "comment # first comment\n"
        "ol_a:94:localhost:9001:svc_a:k=1\n"
        "ol_b:70:localhost:9002:svc_b:(null)\n"
        "comment #second\n"
        "ol_grp:256:-:0:-:i=1\n"
        "ol_c:30:localhost:0:1526:(null)\n"
        "ol_d:94:localhost:9001:alias_a:(null)\n",
        listing());
    EXPECT_EQ(DPL_SQLHOSTS_FILE, dplGetSqlhostsLocation(block));
    EXPECT_EQ("ol_a", config("DBSERVERNAME"));
    EXPECT_EQ("ol_b, ol_grp, ol_c, ol_d", config("DBSERVERALIASES"));
    const char *server = nullptr;
    ASSERT_EQ(0, dplGetEnvironment(block, "ORVANDEXSERVER", &server));
    EXPECT_STREQ("ol_a", server);
}

TEST_F(SqlhostsFile, FieldsAreCutAtTheirLimitsAndLongLinesSplit) {
    const std::string path = dir.file("sqlhosts");
    const std::string alias(130, 'a');
    const std::string host(300, 'h');
    // A physical line of more than 1023 characters continues as a line of its own.
    const std::string long_line = "ol_x onsoctcp " + host + " svc_a " +
                                  std::string(1023 - 14 - 300 - 7, 'o') + " ol_y onsoctcp localhost svc_b\n";
    write_file(path, alias + " onsoctcpABC host svc_a\n" + long_line);
    ASSERT_EQ(0, dplReadConnections(block, path.c_str()));
    const Connection *first = block->current->connections.head();
    ASSERT_NE(nullptr, first);
    EXPECT_EQ(std::string(128, 'a'), first->alias);
    EXPECT_EQ(0x5Eu, first->protocol);
    const Connection *second = first->next;
    ASSERT_NE(nullptr, second);
    EXPECT_EQ(std::string(256, 'h'), second->host);
    EXPECT_EQ(std::string(1023 - 14 - 300 - 7, 'o').substr(0, 256), second->options);
    ASSERT_NE(nullptr, second->next);
    EXPECT_STREQ("ol_y", second->next->alias);  // the continuation is a line of its own
}

TEST_F(SqlhostsFile, BadLinesStopTheRead) {
    const std::string path = dir.file("sqlhosts");
    write_file(path, "ol_a onsoctcp localhost svc_a\n \nol_b onsoctcp localhost svc_b\n");
    EXPECT_EQ(DPL_E_FAIL, dplReadConnections(block, path.c_str()));
    EXPECT_EQ("ol_a:94:localhost:9001:svc_a:(null)\n", listing());

    write_file(path, "  # indented comment\n");
    EXPECT_EQ(DPL_E_FAIL, dplReadConnections(block, path.c_str()));
    EXPECT_EQ(DPL_E_OPEN_READ, dplReadConnections(block, dir.file("missing").c_str()));
    EXPECT_EQ(DPL_E_BAD_CONTEXT, dplReadConnections(nullptr, path.c_str()));
}

TEST_F(SqlhostsFile, ReadingTwiceUpdatesAliasesButRepeatsComments) {
    const std::string path = dir.file("sqlhosts");
    write_file(path, "#c\nol_a onsoctcp localhost svc_a\nol_b onsoctcp\n");
    ASSERT_EQ(0, dplReadConnections(block, path.c_str()));
    ASSERT_EQ(0, dplReadConnections(block, path.c_str()));
    EXPECT_EQ(
        "comment #c\nol_a:94:localhost:9001:svc_a:(null)\nol_b:94:(null):64569:(null):(null)\ncomment #c\n",
        listing());
}

TEST_F(SqlhostsFile, WritesTheFileNamedByTheEnvironment) {
    const std::string in = dir.file("in");
    const std::string out = dir.file("out");
    write_file(in,
               "# header\n"
               "ol_a onsoctcp *localhost svc_a\n"
               "\n"
               "ol_b onsoctcp localhost 9100 s=1\n"
               "ol_g group - - i=1\n"
               "ol_c onipcshm localhost svc_b\n");
    ASSERT_EQ(0, dplReadConnections(block, in.c_str()));
    ASSERT_EQ(0, dplSetEnvironment(block, "ORVANDEXSQLHOSTS", out.c_str()));
    ASSERT_EQ(0, dplWriteConnection(block));
    // Blank lines are not kept by the reader; a missing options field
    // leaves a blank before the line end.
    EXPECT_EQ(
        "# header\n"
        "ol_a onsoctcp *localhost svc_a \n"
        "ol_b onsoctcp localhost 9100 s=1\n"
        "ol_g group - - i=1\n"
        "ol_c onipcshm localhost svc_b \n",
        read_file_text(out));
}

TEST_F(SqlhostsFile, PrivateModeWritesPortNumbersAndCarriesTheLastOne) {
    const std::string out = dir.file("out");
    ASSERT_EQ(0, dplSetInstallModePrivate(block));
    ASSERT_EQ(0, dplSetEnvironment(block, "ORVANDEXSQLHOSTS", out.c_str()));
    dplAddConnection(block, "ol_a", 0x5E, "localhost", 9001, "svc_a", nullptr);
    dplAddConnection(block, "ol_b", 0x5E, "localhost", 0, "unknown", nullptr);
    ASSERT_EQ(0, dplWriteConnection(block));
    EXPECT_EQ("ol_a onsoctcp localhost 9001 \nol_b onsoctcp localhost 9001 \n", read_file_text(out));
}

TEST_F(SqlhostsFile, FileNameFallsBackToTheServerName) {
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(dir.path());
    dplAddConnection(block, "ol_srv", 0x5E, "localhost", 9001, "svc_a", nullptr);
    const int32_t named = dplWriteConnection(block);
    block->current->environment.clear();
    const int32_t plain = dplWriteConnection(block);
    std::filesystem::current_path(before);
    EXPECT_EQ(0, named);
    EXPECT_EQ(0, plain);
    EXPECT_EQ("ol_srv onsoctcp localhost svc_a \n", read_file_text(dir.file("sqlhosts.ol_srv")));
    EXPECT_EQ("ol_srv onsoctcp localhost svc_a \n", read_file_text(dir.file("sqlhosts")));
}

// Names beginning with "bad" do not resolve; the rest ask the real resolver.
class Resolver : public InstalledPlatform {
public:
    bool resolve_host(const std::string &name) override {
        asked.push_back(name);
        return name.rfind("bad", 0) != 0 && ForwardingPlatform::resolve_host(name);
    }
    std::vector<std::string> asked;
};

TEST_F(SqlhostsFile, AnUnresolvableHostStopsTheWriteWithWhatCameBefore) {
    Resolver resolver;
    const std::string out = dir.file("out");
    ASSERT_EQ(0, dplSetEnvironment(block, "ORVANDEXSQLHOSTS", out.c_str()));
    dplAddConnection(block, "ol_a", 0x5E, "localhost", 9001, "svc_a", nullptr);
    dplAddConnection(block, "ol_g", 256, "bad-but-group", 0, "x", nullptr);
    dplAddConnection(block, "ol_s", 0x5E, "*localhost", 9001, "svc_a", nullptr);
    dplAddConnection(block, "ol_b", 0x5E, "bad-host", 9002, "svc_b", nullptr);
    dplAddConnection(block, "ol_c", 0x5E, "localhost", 9001, "svc_a", nullptr);
    EXPECT_EQ(DPL_E_FAIL, dplWriteConnection(block));
    EXPECT_EQ(
        "ol_a onsoctcp localhost svc_a \nol_g group bad-but-group x \nol_s onsoctcp *localhost svc_a \n",
        read_file_text(out));
    // Groups are not resolved, a star is not part of the name, and a name is asked once.
    EXPECT_EQ((std::vector<std::string>{"localhost", "bad-host"}), resolver.asked);

    ASSERT_EQ(0, dplSetEnvironment(block, "ORVANDEXSQLHOSTS", dir.file("no-dir/out").c_str()));
    EXPECT_EQ(DPL_E_OPEN_WRITE, dplWriteConnection(block));
}

TEST_F(SqlhostsFile, ASocketPortHeldByAProgramStopsTheWriteUnlessPortTestsAreOff) {
    Listener listener;
    ASSERT_NE(0, listener.port());
    const std::string out = dir.file("out");
    ASSERT_EQ(0, dplSetEnvironment(block, "ORVANDEXSQLHOSTS", out.c_str()));
    dplAddConnection(block, "ol_shm", 0x46, "localhost", listener.port(), "held", nullptr);
    dplAddConnection(block, "ol_tcp", 0x5E, "localhost", listener.port(), "held", nullptr);
    // The context was opened with mode 0x4: no port test.
    EXPECT_EQ(0, dplWriteConnection(block));

    finish(block);
    block = init_API(0, 1, "p", "12.10.FC1");
    ASSERT_NE(nullptr, block);
    ASSERT_EQ(0, dplSetEnvironment(block, "ORVANDEXSQLHOSTS", out.c_str()));
    dplAddConnection(block, "ol_shm", 0x46, "localhost", listener.port(), "held", nullptr);
    dplAddConnection(block, "ol_tcp", 0x5E, "localhost", listener.port(), "held", nullptr);
    EXPECT_EQ(DPL_E_PORT_IN_USE, dplWriteConnection(block));
    // Only the interface type "soc" is port-tested.
    EXPECT_EQ("ol_shm onipcshm localhost held \n", read_file_text(out));
    dplAddConnection(block, "ol_zero", 0x5E, "localhost", 0, "zero", nullptr);
}

}  // namespace
}  // namespace dpl::test
