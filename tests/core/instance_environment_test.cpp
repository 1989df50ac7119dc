#include <gtest/gtest.h>

#include "core/control_block.hpp"
#include "dpl/dpl.h"
#include "support/test_support.hpp"
#include "trace/trace_state.hpp"

namespace dpl::test {
namespace {

class InstanceEnvironment : public ::testing::Test {
protected:
    void SetUp() override {
        trace::reset_for_tests();
        set_env("INSTALL_LOG", nullptr);
        block = init_API(4, 0, "not important", "12.10.FC1");
        ASSERT_NE(nullptr, block);
    }
    void TearDown() override { finish(block); }
    InstallControlBlock *block = nullptr;
};

TEST_F(InstanceEnvironment, SettingTwiceKeepsOneEntryInItsPlace) {
    ASSERT_EQ(0, dplSetEnvironment(block, "ORVANDEXDIR", "C:\\orv"));
    ASSERT_EQ(0, dplSetEnvironment(block, "ONCONFIG", "onconfig.ol"));
    ASSERT_EQ(0, dplSetEnvironment(block, "ORVANDEXDIR", "D:\\orv"));
    const auto &environment = block->current->environment;
    ASSERT_EQ(2u, environment.size());
    EXPECT_EQ("ORVANDEXDIR", environment[0].name);
    EXPECT_EQ("D:\\orv", environment[0].value);
    const char *value = nullptr;
    ASSERT_EQ(0, dplGetEnvironment(block, "ORVANDEXDIR", &value));
    EXPECT_STREQ("D:\\orv", value);
}

TEST_F(InstanceEnvironment, NamesAreCaseSensitiveAndAbsentNamesGiveMinusOne) {
    const char *value = "untouched";
    EXPECT_EQ(DPL_E_FAIL, dplGetEnvironment(block, "ORVANDEXSQLHOSTS", &value));
    ASSERT_EQ(0, dplSetEnvironment(block, "ORVANDEXSQLHOSTS", "x"));
    EXPECT_EQ(DPL_E_FAIL, dplGetEnvironment(block, "orvandexsqlhosts", &value));
    EXPECT_STREQ("untouched", value);
    EXPECT_EQ(0, dplGetEnvironment(block, "ORVANDEXSQLHOSTS", nullptr));
    EXPECT_EQ(DPL_E_NULL_ARGUMENT, dplGetEnvironment(block, nullptr, &value));
    EXPECT_EQ(DPL_E_NULL_ARGUMENT, dplSetEnvironment(block, "A", nullptr));
    EXPECT_EQ(DPL_E_NULL_ARGUMENT, dplSetEnvironment(block, nullptr, "v"));
}

TEST_F(InstanceEnvironment, ConnectionLookupFindsTheFirstEntryOnly) {
    Instance *instance = dplGetCurrentInstance(block);
    Connection *found = nullptr;
    EXPECT_EQ(DPL_E_FAIL, dplGetConnection(block, "ol_a", &found));
    ASSERT_EQ(0, core::store_comment(instance, "# ol_a onsoctcp host 1526"));
    ASSERT_EQ(0, core::store_comment(instance, nullptr));
    EXPECT_EQ(DPL_E_FAIL, dplGetConnection(block, "ol_a", &found));
    EXPECT_EQ(nullptr, found);

    instance->connections.append_connection("ol_a", 1, 1526, "1526", "first", "");
    instance->connections.append_connection("ol_a", 2, 1527, "1527", "second", "");
    ASSERT_EQ(0, dplGetConnection(block, "ol_a", &found));
    EXPECT_STREQ("first", found->host);
    EXPECT_EQ(DPL_E_FAIL, dplGetConnection(block, "OL_A", nullptr));
    EXPECT_EQ(DPL_E_INVALID_VALUE, dplGetConnection(block, nullptr, &found));
    EXPECT_EQ(DPL_E_BAD_CONTEXT, core::store_comment(nullptr, "x"));

    // The records form the C list in file order.
    const Connection *head = instance->connections.head();
    ASSERT_NE(nullptr, head);
    EXPECT_EQ(DPL_CONNECTION_COMMENT, head->kind);
    EXPECT_STREQ("# ol_a onsoctcp host 1526", head->alias);
    EXPECT_EQ(DPL_CONNECTION_BLANK, head->next->kind);
    EXPECT_EQ(nullptr, head->next->alias);
    EXPECT_EQ(found, head->next->next);
    EXPECT_STREQ("second", head->next->next->next->host);
    EXPECT_EQ(nullptr, head->next->next->next->next);
}

TEST_F(InstanceEnvironment, UpdatingAnEntryKeepsItsPlaceAndRecord) {
    auto &connections = block->current->connections;
    Connection &entry = connections.append_connection("ol_b", 1, 1, "svc", "h", "k=1");
    connections.append_comment("# after");
    ASSERT_EQ(&entry, connections.update_first("ol_b", 7, 9000, "9000", "newhost", ""));
    EXPECT_EQ(7u, entry.protocol);
    EXPECT_EQ(9000, entry.port);
    EXPECT_STREQ("newhost", entry.host);
    EXPECT_STREQ("", entry.options);
    EXPECT_STREQ("# after", entry.next->alias);
    EXPECT_EQ(nullptr, connections.update_first("missing", 1, 1, "", "", ""));
}

}  // namespace
}  // namespace dpl::test
