// Whole-file replacement: the new content arrives whole or not at all, the
// old file's permissions stay, and no replacement file outlives a write.
#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>

#include "core/replacement_file.hpp"
#include "support/recording_platform.hpp"
#include "support/test_support.hpp"

#ifndef _WIN32
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace dpl::test {
namespace {

using core::ReplaceResult;

std::set<std::string> names_in(const std::filesystem::path &directory) {
    std::set<std::string> names;
    for (const auto &entry : std::filesystem::directory_iterator(directory))
        names.insert(entry.path().filename().string());
    return names;
}

// Processes 77 runs, every other one has ended; this one is 4242.
class SomeProcessesRun : public RecordingPlatform {
public:
    bool process_running(uint32_t process_id) override { return process_id == 77; }
};

TEST(ReplacementFile, WritesANewFileOrReplacesAnOldOneWhole) {
    ScratchDir dir;
    const std::string path = dir.file("target");
    EXPECT_EQ(ReplaceResult::Replaced, core::replace_file(path, "one\ntwo\n"));
    EXPECT_EQ("one\ntwo\n", read_file_text(path));
    EXPECT_EQ(ReplaceResult::Replaced, core::replace_file(path, "three\n"));
    EXPECT_EQ("three\n", read_file_text(path));
    EXPECT_EQ(std::set<std::string>{"target"}, names_in(dir.path()));
}

TEST(ReplacementFile, WhatCannotBeWrittenThereLeavesEverythingAsItWas) {
    ScratchDir dir;
    std::filesystem::create_directory(dir.path() / "sub");
    uint32_t error = 0;
    EXPECT_EQ(ReplaceResult::NotCreated, core::replace_file(dir.file("sub"), "x\n", &error));
    EXPECT_NE(0u, error);
    EXPECT_EQ(ReplaceResult::NotCreated, core::replace_file(dir.file("missing/target"), "x\n"));
    EXPECT_EQ(std::set<std::string>{"sub"}, names_in(dir.path()));
    EXPECT_TRUE(std::filesystem::is_directory(dir.path() / "sub"));
}

TEST(ReplacementFile, AnAbandonedOrFailedReplacementLeavesTheOldFile) {
    ScratchDir dir;
    const std::string path = dir.file("target");
    write_file(path, "old\n");
    {
        core::ReplacementFile file;
        ASSERT_TRUE(file.open(path, nullptr));
        EXPECT_TRUE(file.write("new\n"));
        EXPECT_EQ(2u, names_in(dir.path()).size());
    }
    EXPECT_EQ("old\n", read_file(path));
    EXPECT_EQ(std::set<std::string>{"target"}, names_in(dir.path()));

    core::ReplacementFile file;
    ASSERT_TRUE(file.open(path, nullptr));
    file.write("new\n");
    // The old file's place taken by a directory makes the move fail.
    std::filesystem::remove(path);
    std::filesystem::create_directory(path);
    EXPECT_FALSE(file.commit());
    EXPECT_FALSE(file.commit());
    EXPECT_EQ(std::set<std::string>{"target"}, names_in(dir.path()));
}

TEST(ReplacementFile, LeftoversOfEndedRunsGoWithTheNextWriteOfTheSameFile) {
    SomeProcessesRun processes;
    ScratchDir dir;
    for (const char *name : {"target.dpl-new-78", "target.dpl-new-4242", "target.dpl-new-4000000000",
                             "target.dpl-new-77", "target.dpl-new-", "target.dpl-new-12a",
                             "target.dpl-new-99999999999", "other.dpl-new-78", "target.dpl-old-78"}) {
        write_file(dir.file(name), "torn");
    }
    EXPECT_EQ(ReplaceResult::Replaced, core::replace_file(dir.file("target"), "whole\n"));
    EXPECT_EQ((std::set<std::string>{"target", "target.dpl-new-77", "target.dpl-new-", "target.dpl-new-12a",
                                     "target.dpl-new-99999999999", "other.dpl-new-78", "target.dpl-old-78"}),
              names_in(dir.path()));
}

TEST(ReplacementFile, ReplacementNamesAreRecognisedExactly) {
    struct Case {
        const char *path;
        const char *name;
        bool matches;
        uint32_t process_id;
    };
    const Case cases[] = {
        {"dir/sqlhosts", "sqlhosts.dpl-new-12", true, 12},
        {"sqlhosts", "sqlhosts.dpl-new-4294967295", true, 4294967295u},
        {"sqlhosts", "sqlhosts.dpl-new-4294967296", false, 0},
        {"sqlhosts", "sqlhosts.dpl-new-", false, 0},
        {"sqlhosts", "sqlhosts.dpl-new-1 ", false, 0},
        {"sqlhosts", "sqlhosts.x.dpl-new-1", false, 0},
        {"a/sqlhosts", "Sqlhosts.dpl-new-1", false, 0},
        {"sqlhosts", "sqlhosts", false, 0},
    };
    for (const Case &c : cases) {
        uint32_t process_id = 0;
        EXPECT_EQ(c.matches, core::is_replacement_of(c.path, c.name, &process_id)) << c.name;
        EXPECT_EQ(c.process_id, process_id) << c.name;
    }
    EXPECT_EQ("dir/x.dpl-new-7", core::replacement_name("dir/x", 7));
}

#ifndef _WIN32
TEST(ReplacementFile, ThePermissionsOfTheOldFileStay) {
    ScratchDir dir;
    const std::string path = dir.file("target");
    write_file(path, "old\n");
    ASSERT_EQ(0, ::chmod(path.c_str(), 0640));
    EXPECT_EQ(ReplaceResult::Replaced, core::replace_file(path, "new\n"));
    struct stat info {};
    ASSERT_EQ(0, ::stat(path.c_str(), &info));
    EXPECT_EQ(0640u, info.st_mode & 07777);
    EXPECT_EQ("new\n", read_file(path));
}
#endif

TEST(ReplacementFile, AReadOnlyFileIsNotReplaced) {
#ifndef _WIN32
    if (::geteuid() == 0) GTEST_SKIP() << "the superuser may write any file";
#endif
    ScratchDir dir;
    const std::string path = dir.file("target");
    write_file(path, "old\n");
    std::filesystem::permissions(path, std::filesystem::perms::owner_read);
    EXPECT_EQ(ReplaceResult::NotCreated, core::replace_file(path, "new\n"));
    EXPECT_EQ("old\n", read_file(path));
    std::filesystem::permissions(path, std::filesystem::perms::owner_all);
    EXPECT_EQ(std::set<std::string>{"target"}, names_in(dir.path()));
}

}  // namespace
}  // namespace dpl::test
