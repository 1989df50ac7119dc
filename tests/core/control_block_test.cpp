// Creating, changing and releasing contexts; the instance's environment and
// connection list.
#include <gtest/gtest.h>

#include <cstdint>

#include "core/control_block.hpp"
#include "dpl/dpl.h"
#include "support/test_support.hpp"
#include "trace/trace_state.hpp"

namespace dpl::test {
namespace {

class ControlBlock : public ::testing::Test {
protected:
    void SetUp() override {
        trace::reset_for_tests();
        set_env("INSTALL_LOG", nullptr);
        block = init_API(0x4, 1, "product", "12.10.FC1");
        ASSERT_NE(nullptr, block);
    }
    void TearDown() override {
        if (block != nullptr) {
            EXPECT_EQ(0, finish(block));
        }
        trace::reset_for_tests();
    }
    InstallControlBlock *block = nullptr;
};

TEST_F(ControlBlock, StartsWithTheGivenModeAndOneCurrentInstance) {
    EXPECT_EQ(0x4u, dplGetInstallMode(block));
    Instance *instance = dplGetCurrentInstance(block);
    ASSERT_NE(nullptr, instance);
    EXPECT_EQ(DPL_SQLHOSTS_FILE, dplGetSqlhostsLocation(block));
    EXPECT_EQ(1u, block->instances.size());
    EXPECT_EQ("product", block->product->name);
    EXPECT_EQ(12, block->product->version_info.major);
    EXPECT_EQ(10, block->product->version_info.minor);
    EXPECT_EQ(1, block->product->version_info.level);
}

TEST_F(ControlBlock, SettersTouchOnlyTheirBitsAndFields) {
    EXPECT_EQ(0, dplSetInstallModeNoSQL(block));
    EXPECT_EQ(0xCu, dplGetInstallMode(block));
    EXPECT_EQ(0, dplSetInstallModePrivate(block));
    EXPECT_EQ(0xEu, dplGetInstallMode(block));
    EXPECT_EQ(0, dplUnSetInstallModeNoSQL(block));
    EXPECT_EQ(0x6u, dplGetInstallMode(block));
    EXPECT_EQ(0, dplSetInstallType(block, 7));
    EXPECT_EQ(7u, block->install_type);
    // Sqlhosts locations are 0 to 2; a refused one stores nothing.
    EXPECT_EQ(0, dplSetSqlhostsLocation(block, DPL_SQLHOSTS_REMOTE_REGISTRY));
    EXPECT_EQ(DPL_E_INVALID_VALUE, dplSetSqlhostsLocation(block, 3));
    EXPECT_EQ(DPL_SQLHOSTS_REMOTE_REGISTRY, dplGetSqlhostsLocation(block));
}

TEST_F(ControlBlock, NullAndForeignPointersAreRefused) {
    uint32_t foreign[16] = {0x12345678u};
    auto *fake = reinterpret_cast<InstallControlBlock *>(foreign);
    for (InstallControlBlock *bad : {static_cast<InstallControlBlock *>(nullptr), fake}) {
        EXPECT_EQ(DPL_E_BAD_CONTEXT, dplSetInstallType(bad, 1));
        EXPECT_EQ(DPL_E_BAD_CONTEXT, dplSetInstallModeNoSQL(bad));
        EXPECT_EQ(DPL_E_BAD_CONTEXT, dplUnSetInstallModeNoSQL(bad));
        EXPECT_EQ(DPL_E_BAD_CONTEXT, dplSetInstallModePrivate(bad));
        EXPECT_EQ(DPL_E_BAD_CONTEXT, dplSetDiskMemUnits(bad, "MB"));
        EXPECT_EQ(DPL_E_BAD_CONTEXT, dplGetSqlhostsLocation(bad));
        EXPECT_EQ(DPL_E_BAD_CONTEXT, dplSetSqlhostsLocation(bad, 1));
        EXPECT_EQ(DPL_E_BAD_CONTEXT, dplInitInstanceStruct(bad));
        EXPECT_EQ(DPL_E_BAD_CONTEXT, dplGetConnection(bad, "a", nullptr));
        EXPECT_EQ(DPL_E_BAD_CONTEXT, dplGetEnvironment(bad, "a", nullptr));
        EXPECT_EQ(DPL_E_BAD_CONTEXT, dplSetEnvironment(bad, "a", "b"));
        EXPECT_EQ(DPL_E_BAD_CONTEXT, finish(bad));
        EXPECT_EQ(0u, dplGetInstallMode(bad));
        EXPECT_EQ(nullptr, dplGetCurrentInstance(bad));
    }
    EXPECT_EQ(0x12345678u, foreign[0]);
}

TEST_F(ControlBlock, DiskAndMemoryUnitsTakeAUnitName) {
    EXPECT_EQ(DPL_UNITS_MB, dplSetDiskMemUnits(block, "mb"));
    EXPECT_EQ(DPL_UNITS_PB, dplSetDiskMemUnits(block, "P"));
    EXPECT_EQ(DPL_UNITS_GB, dplSetDiskMemUnits(block, "Gb"));
    EXPECT_EQ(DPL_UNITS_KB, dplSetDiskMemUnits(block, "KB"));
    EXPECT_EQ(DPL_UNITS_TB, dplSetDiskMemUnits(block, "t"));
    for (const char *bad : {"", "B", "MBX", "16M", "X", " MB", "KBB"}) {
        EXPECT_EQ(DPL_E_INVALID_VALUE, dplSetDiskMemUnits(block, bad)) << bad;
    }
    EXPECT_EQ(DPL_E_INVALID_VALUE, dplSetDiskMemUnits(block, nullptr));
    EXPECT_EQ(DPL_UNITS_TB, block->disk_mem_units);  // failures store nothing
}

TEST_F(ControlBlock, NewInstancesBecomeCurrent) {
    Instance *first = dplGetCurrentInstance(block);
    ASSERT_EQ(0, dplSetEnvironment(block, "ONCONFIG", "onconfig.1"));
    ASSERT_EQ(0, dplInitInstanceStruct(block));
    EXPECT_NE(first, dplGetCurrentInstance(block));
    EXPECT_EQ(DPL_E_FAIL, dplGetEnvironment(block, "ONCONFIG", nullptr));
    EXPECT_EQ(2u, block->instances.size());
}

TEST_F(ControlBlock, TwoContextsAreIndependent) {
    InstallControlBlock *second = init_API(0, 0, "other", "11.70.UC8W2");
    ASSERT_NE(nullptr, second);
    ASSERT_EQ(0, dplSetEnvironment(block, "ORVANDEXSQLHOSTS", "first"));
    ASSERT_EQ(0, dplSetEnvironment(second, "ORVANDEXSQLHOSTS", "second"));
    const char *value = nullptr;
    ASSERT_EQ(0, dplGetEnvironment(block, "ORVANDEXSQLHOSTS", &value));
    EXPECT_STREQ("first", value);
    ASSERT_EQ(0, dplGetEnvironment(second, "ORVANDEXSQLHOSTS", &value));
    EXPECT_STREQ("second", value);
    EXPECT_EQ(0u, dplGetInstallMode(second));
    EXPECT_EQ(0, finish(second));
}

TEST_F(ControlBlock, SettingTwiceKeepsOneEntryInItsPlace) {
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

TEST_F(ControlBlock, NamesAreCaseSensitiveAndAbsentNamesGiveMinusOne) {
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

TEST_F(ControlBlock, ConnectionLookupFindsTheFirstEntryOnly) {
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

}  // namespace
}  // namespace dpl::test
