// Planning storage spaces and their mirrors on the current instance.
#include <gtest/gtest.h>

#include <string>

#include "storage/storage_fixture.hpp"

namespace dpl::test {
namespace {

using Spaces = StorageTest;

std::string text(const char *value) {
    return value != nullptr ? value : "<null>";
}

TEST_F(Spaces, KindNamesAndTheGenericFormsBaseKindAndTemporaryFlag) {
    struct Case {
        uint32_t code;
        const char *name;
        uint32_t kind, temporary;
    } const cases[] = {{100, "DBspace", 100, 0},
                       {101, "Temp DBspace", 100, 1},
                       {102, "Smart BLOBspace", 102, 0},
                       {103, "Temp Smart BLOBspace", 102, 1},
                       {104, "BLOBspace", 104, 0}};
    EXPECT_EQ(nullptr, dplGetSpaceKindName(105));
    EXPECT_EQ(nullptr, dplGetSpaceKindName(99));
    const std::string chunk = dir.file("chunk");
    for (const Case &c : cases) {
        EXPECT_EQ(text(c.name), text(dplGetSpaceKindName(c.code))) << c.code;
        ASSERT_EQ(0, dplCreateSpace(block, c.code, "s", chunk.c_str(), "2M", "8"));
    }
    EXPECT_EQ(0, dplCreateSpace(block, 105, "other", chunk.c_str(), "1", "0"));
    const StorageSpace *space = dplGetSpaceList(block);
    for (const Case &c : cases) {
        ASSERT_NE(nullptr, space);
        EXPECT_EQ(c.kind, space->kind) << c.code;
        EXPECT_EQ(c.temporary, space->temporary) << c.code;
        EXPECT_EQ(2048u, space->size);
        EXPECT_EQ(8u, space->offset);
        EXPECT_EQ(nullptr, space->mirror);
        space = space->next;
    }
    EXPECT_EQ(nullptr, space);
    EXPECT_EQ(5u * 2048u, dplGetFileSysList(block)->required_kb);
}

TEST_F(Spaces, DbSpaceFieldsAndItsMirror) {
    const std::string chunk = dir.file("root");
    const std::string mirror = subdirectory("m") + "/root.mirror";
    ASSERT_EQ(0, dplCreateDBSpace(block, "rootdbs", chunk.c_str(), "100 MB", nullptr, "16", mirror.c_str(),
                                  "4k", "64", "32", 0));
    ASSERT_EQ(0, dplCreateDBSpace(block, "nofirst", chunk.c_str(), "12Q", "1", nullptr, nullptr, nullptr,
                                  nullptr, "32", 1));
    const StorageSpace *db = dplGetSpaceList(block);
    EXPECT_EQ("rootdbs", text(db->name));
    EXPECT_EQ(chunk, text(db->path));
    EXPECT_EQ(102400u, db->size);
    EXPECT_EQ(0u, db->offset);
    EXPECT_EQ(16u, db->page_size);
    EXPECT_EQ(1u, db->mirrored);
    EXPECT_EQ(mirror, text(db->mirror_path));
    EXPECT_EQ(4u, db->mirror_offset);
    EXPECT_EQ(64u, db->first_extent);
    EXPECT_EQ(32u, db->next_extent);
    ASSERT_NE(nullptr, db->mirror);
    EXPECT_EQ(100u, db->mirror->kind);
    EXPECT_EQ(102400u, db->mirror->size);
    EXPECT_EQ(4u, db->mirror->offset);
    EXPECT_EQ(mirror, text(db->mirror->path));
    EXPECT_EQ("rootdbs", text(db->mirror->name));

    const StorageSpace *bare = db->next;
    EXPECT_EQ(static_cast<uint64_t>(DPL_E_INVALID_VALUE), bare->size);
    EXPECT_EQ(0u, bare->first_extent);
    EXPECT_EQ(0u, bare->next_extent);
    EXPECT_EQ(1u, bare->temporary);
    EXPECT_EQ(nullptr, bare->mirror_path);
    // The mirror is charged to its own device with the primary's size.
    EXPECT_EQ(102400u + 102400u + static_cast<uint64_t>(DPL_E_INVALID_VALUE),
              dplGetFileSysList(block)->required_kb);
}

TEST_F(Spaces, SmartBlobAndBlobSpaces) {
    const std::string chunk = dir.file("sb");
    ASSERT_EQ(0, dplCreateSBSpace(block, "sbs", chunk.c_str(), "1G", "0", nullptr, nullptr, "500", "20", 1,
                                  "LOGGING=ON"));
    ASSERT_EQ(0, dplCreateBLOBSpace(block, "bs", chunk.c_str(), "10", "0", 7, chunk.c_str(), nullptr));
    const StorageSpace *sb = dplGetSpaceList(block);
    EXPECT_EQ(102u, sb->kind);
    EXPECT_EQ(1048576u, sb->size);
    EXPECT_EQ(500u, sb->metadata_size);
    EXPECT_EQ(20u, sb->metadata_offset);
    EXPECT_EQ("LOGGING=ON", text(sb->options));
    EXPECT_EQ(0u, sb->mirrored);
    const StorageSpace *blob = sb->next;
    EXPECT_EQ(104u, blob->kind);
    EXPECT_EQ(7u, blob->blob_page_size);
    ASSERT_NE(nullptr, blob->mirror);
    EXPECT_EQ(10u, blob->mirror->size);
}

TEST_F(Spaces, MirrorOfAnUnmirroredSpaceAndBadInput) {
    const std::string chunk = dir.file("d");
    EXPECT_EQ(DPL_E_NULL_ARGUMENT, dplCreateMirrorSpace(block, "d", chunk.c_str(), nullptr));
    ASSERT_EQ(0, dplCreateSpace(block, 100, "d", chunk.c_str(), "10", nullptr));
    ASSERT_EQ(0, dplCreateMirrorSpace(block, "d", chunk.c_str(), "3"));
    const StorageSpace *space = dplGetSpaceList(block);
    ASSERT_NE(nullptr, space->mirror);
    EXPECT_EQ(0u, space->mirror->kind);
    EXPECT_EQ(0u, space->mirror->size);
    EXPECT_EQ(3u, space->mirror->offset);
    EXPECT_EQ(DPL_E_NULL_ARGUMENT, dplCreateMirrorSpace(block, "D", chunk.c_str(), nullptr));

    dplGetSpaceList(block)->kind = 7;
    EXPECT_EQ(DPL_E_LOG_SPACE_KIND, dplCreateMirrorSpace(block, "d", chunk.c_str(), nullptr));

    uint32_t foreign[16] = {0x12345678u};
    auto *fake = reinterpret_cast<InstallControlBlock *>(foreign);
    EXPECT_EQ(DPL_E_NULL_ARGUMENT, dplCreateSpace(nullptr, 100, "x", chunk.c_str(), "1", "0"));
    EXPECT_EQ(DPL_E_BAD_CONTEXT, dplCreateSpace(fake, 100, "x", chunk.c_str(), "1", "0"));
    EXPECT_EQ(DPL_E_BAD_CONTEXT, dplCreateMirrorSpace(fake, "x", chunk.c_str(), "0"));
    EXPECT_EQ(nullptr, dplGetSpaceList(fake));
    // A path without an existing directory is listed all the same.
    EXPECT_EQ(DPL_E_NO_DIRECTORY, dplCreateSpace(block, 104, "lost", "no-such-dir/chunk", "1", "0"));
    EXPECT_EQ("lost", text(dplGetSpaceList(block)->next->name));
}

}  // namespace
}  // namespace dpl::test
