// The records every instance starts with, and their reset.
#include "autoconfig/autoconfig_state.hpp"
#include "autoconfig_fixture.hpp"

namespace dpl::test {
namespace {

using AutoconfigRecords = AutoconfigTest;

TEST_F(AutoconfigRecords, StartWithTheInitialSettingsAndAResetRecommendation) {
    EXPECT_EQ(0x5844504Cu, settings->signature);
    EXPECT_EQ(20, settings->max_users);
    EXPECT_EQ(5, settings->max_ds_users);
    EXPECT_EQ(60, settings->rto_policy);
    EXPECT_EQ(1, settings->txn_support);
    EXPECT_EQ(0, settings->mirror_critical + settings->mirror_all + settings->sbspace_logopt);
    EXPECT_EQ(1, settings->sbspace_enabled);
    EXPECT_EQ(314572800, settings->max_disk);
    EXPECT_EQ(134217728, settings->max_mem);
    EXPECT_EQ(nullptr, settings->instance_path);
    EXPECT_EQ(1, settings->max_cpu);
    EXPECT_EQ(0, settings->server_type);
    EXPECT_EQ(1, settings->server_num);
    EXPECT_EQ(70.0, settings->lru_min_dirty);
    EXPECT_EQ(80.0, settings->lru_max_dirty);
    for (int slot = 0; slot < 50; ++slot) EXPECT_EQ(slot == 11 ? -975 : 0, settings->status[slot]) << slot;

    EXPECT_EQ(0x5844504Cu, record->signature);
    EXPECT_EQ(0, record->stage);
    for (uint32_t index = 0; index < 6; ++index) {
        EXPECT_EQ(index, record->space[index].kind);
        EXPECT_EQ(1, record->space[index].chunks);
        EXPECT_EQ(nullptr, record->space[index].path);
    }
}

TEST_F(AutoconfigRecords, ResetClearsFiguresAndPaths) {
    record->stage = 2;
    record->buffers = 7;
    record->space[3].size = 99;
    ASSERT_TRUE(autoconfig::replace_text(record->space[3].path, "x"));
    autoconfig::reset_recommendation(*record);
    EXPECT_EQ(0, record->stage);
    EXPECT_EQ(0, record->buffers);
    EXPECT_EQ(0, record->space[3].size);
    EXPECT_EQ(nullptr, record->space[3].path);
    EXPECT_EQ(DPL_E_NULL_ARGUMENT, autoconfig::init_autoconfig(nullptr));
}

TEST_F(AutoconfigRecords, BelongToTheCurrentInstance) {
    uint32_t foreign[16] = {0x12345678u};
    EXPECT_EQ(nullptr, dplGetAutoConfigSettings(nullptr));
    EXPECT_EQ(nullptr, dplGetRecommendationRecord(reinterpret_cast<InstallControlBlock *>(foreign)));
    ASSERT_EQ(0, dplInitInstanceStruct(block));
    EXPECT_NE(settings, dplGetAutoConfigSettings(block));
    EXPECT_NE(record, dplGetRecommendationRecord(block));
}

}  // namespace
}  // namespace dpl::test
