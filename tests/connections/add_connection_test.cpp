// Adding connections, with the server name and alias bookkeeping.
#include "connections/connection_test_fixture.hpp"

namespace dpl::test {
namespace {

using AddConnection = ConnectionTest<>;

TEST_F(AddConnection, FirstAliasNamesTheServerAndTheOthersBecomeAliases) {
    EXPECT_EQ(0, dplAddConnection(block, "alpha", 0x5E, "h1", 9001, "svc_a", nullptr));
    EXPECT_EQ(0, dplAddConnection(block, "beta", 0x5E, "h2", 9002, "svc_b", nullptr));
    EXPECT_EQ(0, dplAddConnection(block, "gamma", 0x46, "h3", 0, "", ""));
    EXPECT_EQ("alpha", config("DBSERVERNAME"));
    EXPECT_EQ("beta, gamma", config("DBSERVERALIASES"));
    const char *server = nullptr;
    ASSERT_EQ(0, dplGetEnvironment(block, "ORVANDEXSERVER", &server));
    EXPECT_STREQ("alpha", server);
    EXPECT_EQ(
        "alpha:94:h1:9001:svc_a:(null)\n"
        "beta:94:h2:9002:svc_b:(null)\n"
        "gamma:70:h3:0:(null):(null)\n",
        listing());

    // The server name itself and substrings of listed aliases change nothing.
    EXPECT_EQ(0, dplAddConnection(block, "alpha", 0x5E, nullptr, 0, nullptr, nullptr));
    EXPECT_EQ(0, dplAddConnection(block, "amm", 0x5E, "h", 1, "s", nullptr));
    EXPECT_EQ(0, dplAddConnection(block, "et", 0x5E, "h", 1, "s", nullptr));
    EXPECT_EQ("beta, gamma", config("DBSERVERALIASES"));
    EXPECT_EQ(0, dplAddConnection(block, "delta", 0x5E, "h", 1, "s", nullptr));
    EXPECT_EQ("beta, gamma, delta", config("DBSERVERALIASES"));
}

TEST_F(AddConnection, AnExistingAliasIsUpdatedInPlace) {
    ASSERT_EQ(0, dplAddConnection(block, "alpha", 0x5E, "old", 9001, "svc_a", "k=1"));
    ASSERT_EQ(0, dplAddConnection(block, "beta", 0x5E, "h2", 9002, "svc_b", nullptr));
    Connection *before = nullptr;
    ASSERT_EQ(0, dplGetConnection(block, "alpha", &before));
    ASSERT_EQ(0, dplAddConnection(block, "alpha", 0, "new", 0, "", nullptr));
    EXPECT_EQ("alpha:0:new:9001:svc_a:k=1\nbeta:94:h2:9002:svc_b:(null)\n", listing());
    ASSERT_EQ(0, dplAddConnection(block, "alpha", 0x46, nullptr, 7, "svc_x", "o=2"));
    EXPECT_EQ("alpha:70:new:7:svc_x:o=2\nbeta:94:h2:9002:svc_b:(null)\n", listing());
    // The record a caller holds stays the entry's.
    Connection *after = nullptr;
    ASSERT_EQ(0, dplGetConnection(block, "alpha", &after));
    EXPECT_EQ(before, after);
}

TEST_F(AddConnection, AliasesContainedInTheListAreNotAddedAgain) {
    ASSERT_EQ(0, dplAddConnection(block, "main", 0x5E, "h", 1, "s", nullptr));
    ASSERT_EQ(0, dplSetConfig(block->current, "DBSERVERALIASES", "srv_tcp", nullptr));
    ASSERT_EQ(0, dplAddConnection(block, "srv", 0x5E, "h", 1, "s", nullptr));
    EXPECT_EQ("srv_tcp", config("DBSERVERALIASES"));

    ASSERT_EQ(0, dplSetConfig(block->current, "DBSERVERALIASES", "", nullptr));
    ASSERT_EQ(0, dplAddConnection(block, "other", 0x5E, "h", 1, "s", nullptr));
    EXPECT_EQ("other", config("DBSERVERALIASES"));
}

TEST_F(AddConnection, EntriesWithoutAnAliasAreKeptEmpty) {
    EXPECT_EQ(0, dplAddConnection(block, "", 0x5E, "h", 1, "s", "o"));
    EXPECT_EQ(0, dplAddConnection(block, nullptr, 0x5E, "h", 1, "s", "o"));
    EXPECT_EQ("(null):0:(null):0:(null):(null)\n(null):0:(null):0:(null):(null)\n", listing());
    EXPECT_EQ(DPL_E_BAD_CONTEXT, dplAddConnection(nullptr, "a", 1, "h", 1, "s", "o"));
}

}  // namespace
}  // namespace dpl::test
