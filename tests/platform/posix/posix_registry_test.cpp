#include "platform/posix/posix_registry.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>

#include "support/test_support.hpp"

namespace dpl::platform {
namespace {

namespace fs = std::filesystem;

RegValue sz(const std::string &text) {
    return RegValue{regtype::kSz, text + '\0'};
}

RegValue dword(uint32_t number) {
    std::string data;
    for (int i = 0; i < 4; ++i) data.push_back(static_cast<char>((number >> (8 * i)) & 0xFF));
    return RegValue{regtype::kDword, data};
}

std::string crlf(std::string_view text) {
    std::string out;
    for (char c : text) {
        if (c == '\n') out.push_back('\r');
        out.push_back(c);
    }
    return out;
}

// Each test gets its own machine: DPL_SYSROOT points at a fresh directory.
class PosixRegistryTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (const char *old = std::getenv("DPL_SYSROOT")) saved_ = old;
        test::set_env("DPL_SYSROOT", root_.path().c_str());
    }
    void TearDown() override { test::set_env("DPL_SYSROOT", saved_ ? saved_->c_str() : nullptr); }

    std::string store_dir() const { return (root_.path() / "var/lib/dpl").string(); }
    std::string store_file() const { return store_dir() + "/registry.reg"; }
    uint64_t store_inode() const {
        struct stat st {};
        return ::stat(store_file().c_str(), &st) == 0 ? static_cast<uint64_t>(st.st_ino) : 0;
    }

    // Creates HKLM\path and returns an open handle to it.
    RegKey create(PosixRegistry &registry, const std::string &path) {
        RegKey key = kNoKey;
        EXPECT_EQ(registry.reg_create_key(kLocalMachine, path, RegView::Default, &key), err::kOk) << path;
        return key;
    }

    test::ScratchDir root_;
    std::optional<std::string> saved_;
};

TEST_F(PosixRegistryTest, WritesTheStoreWhenTheFirstChangeIsMade) {
    PosixRegistry registry;
    RegKey key = kNoKey;
    EXPECT_EQ(registry.reg_open_key(kLocalMachine, "SOFTWARE\\Orvandex", RegView::Default, &key),
              err::kFileNotFound);
    EXPECT_EQ(key, kNoKey);
    EXPECT_FALSE(fs::exists(store_file()));

    key = create(registry, "SOFTWARE\\Orvandex");
    EXPECT_NE(key, kNoKey);
    EXPECT_EQ(registry.reg_set_value(key, "Name", sz("ol_server")), err::kOk);
    EXPECT_EQ(registry.reg_set_value(key, "Port", dword(9088)), err::kOk);
    EXPECT_EQ(test::read_file(store_file()), crlf(R"(Windows Registry Editor Version 5.00

[HKEY_LOCAL_MACHINE]

[HKEY_LOCAL_MACHINE\SOFTWARE]

[HKEY_LOCAL_MACHINE\SOFTWARE\Orvandex]
"Name"="ol_server"
"Port"=dword:00002380

)"));
    EXPECT_EQ(registry.store_writes(), 3u);
    EXPECT_TRUE(fs::exists(store_dir() + "/registry.lock"));
    EXPECT_FALSE(fs::exists(store_dir() + "/registry.reg.new"));
    EXPECT_EQ(registry.reg_close_key(key), err::kOk);
}

TEST_F(PosixRegistryTest, SkipsTheWriteWhenNothingChanges) {
    PosixRegistry registry;
    const RegKey key = create(registry, "SOFTWARE\\Orvandex");
    ASSERT_EQ(registry.reg_set_value(key, "Port", dword(1)), err::kOk);
    const uint64_t writes = registry.store_writes();
    RegKey again = kNoKey;
    EXPECT_EQ(registry.reg_create_key(kLocalMachine, "software\\ORVANDEX", RegView::Default, &again),
              err::kOk);
    EXPECT_EQ(registry.reg_set_value(key, "Port", dword(1)), err::kOk);
    EXPECT_EQ(registry.reg_delete_value(key, "missing"), err::kFileNotFound);
    EXPECT_EQ(registry.store_writes(), writes);
}

TEST_F(PosixRegistryTest, ReachesAnotherMachineThroughItsDirectory) {
    const fs::path machine = root_.path() / "var/lib/dpl/machines/DBHOST";
    fs::create_directories(machine);
    PosixRegistry registry;
    RegKey remote = kNoKey;
    ASSERT_EQ(registry.reg_connect("\\\\DBHOST", kLocalMachine, &remote), err::kOk);
    EXPECT_NE(remote, kNoKey);
    EXPECT_NE(remote, kLocalMachine);
    RegKey key = kNoKey;
    ASSERT_EQ(registry.reg_create_key(remote, "SOFTWARE\\Orvandex", RegView::Default, &key), err::kOk);
    ASSERT_EQ(registry.reg_set_value(key, "Where", sz("remote")), err::kOk);
    EXPECT_TRUE(fs::exists(machine / "var/lib/dpl/registry.reg"));
    EXPECT_FALSE(fs::exists(store_file()));
    RegKey local = kNoKey;
    EXPECT_EQ(registry.reg_open_key(kLocalMachine, "SOFTWARE\\Orvandex", RegView::Default, &local),
              err::kFileNotFound);

    // Machine names are not case-sensitive.
    RegKey again = kNoKey;
    ASSERT_EQ(registry.reg_connect("\\\\dbhost", kLocalMachine, &again), err::kOk);
    RegValue value;
    ASSERT_EQ(registry.reg_open_key(again, "software\\orvandex", RegView::Default, &key), err::kOk);
    EXPECT_EQ(registry.reg_query_value(key, "Where", &value), err::kOk);
    EXPECT_EQ(value.data, sz("remote").data);

    RegKey users = kNoKey;
    EXPECT_EQ(registry.reg_connect("\\\\DBHOST", kUsers, &users), err::kOk);
    RegKey other = kNoKey;
    EXPECT_EQ(registry.reg_connect("\\\\DBHOST", kCurrentUser, &other), err::kInvalidHandle);
    EXPECT_EQ(registry.reg_connect("\\\\DBHOST", kPerformanceData, &other), err::kInvalidHandle);
    for (const char *name : {"\\\\OTHERHOST", "DBHOST", "\\DBHOST", "\\\\", "\\\\DBHOST\\x", "\\\\..",
                             "\\\\machines/DBHOST", "//DBHOST"}) {
        other = 1;
        EXPECT_EQ(registry.reg_connect(name, kLocalMachine, &other), err::kBadNetPath) << name;
        EXPECT_EQ(other, kNoKey);
    }
    EXPECT_EQ(registry.reg_connect("", kLocalMachine, &other), err::kOk);
}

TEST_F(PosixRegistryTest, ACorruptStoreFailsEveryCallAndIsLeftAlone) {
    fs::create_directories(store_dir());
    const std::string garbage =
        "Windows Registry Editor Version 5.00\r\n[HKLM\\X]\r\n\"a\"=dword:nonsense\r\n";
    test::write_file(store_file(), garbage);
    PosixRegistry registry;
    RegKey key = kNoKey;
    RegValue value;
    std::string name;
    RegKeyInfo info;
    EXPECT_EQ(registry.reg_open_key(kLocalMachine, "X", RegView::Default, &key), err::kRegistryCorrupt);
    EXPECT_EQ(registry.reg_create_key(kLocalMachine, "Y", RegView::Default, &key), err::kRegistryCorrupt);
    EXPECT_EQ(registry.reg_query_value(kLocalMachine, "a", &value), err::kRegistryCorrupt);
    EXPECT_EQ(registry.reg_query_info(kLocalMachine, &info), err::kRegistryCorrupt);
    EXPECT_EQ(registry.reg_enum_key(kLocalMachine, 0, &name), err::kRegistryCorrupt);
    EXPECT_EQ(registry.reg_enum_value(kLocalMachine, 0, &name, &value), err::kRegistryCorrupt);
    EXPECT_EQ(registry.reg_set_value(kLocalMachine, "a", dword(1)), err::kRegistryCorrupt);
    EXPECT_EQ(registry.reg_delete_value(kLocalMachine, "a"), err::kRegistryCorrupt);
    EXPECT_EQ(registry.reg_delete_tree(kLocalMachine, "X", RegView::Default), err::kRegistryCorrupt);
    EXPECT_EQ(registry.reg_connect("", kLocalMachine, &key), err::kRegistryCorrupt);
    registry.reg_begin_batch();
    EXPECT_EQ(registry.reg_set_value(kLocalMachine, "a", dword(1)), err::kRegistryCorrupt);
    EXPECT_EQ(registry.reg_end_batch(), err::kOk);
    EXPECT_EQ(test::read_file(store_file()), garbage);
    EXPECT_EQ(registry.store_writes(), 0u);

    // Once repaired, by hand or by another process, the store is usable again.
    test::write_file(store_file(), "REGEDIT4\n[HKEY_LOCAL_MACHINE\\X]\n\"a\"=dword:00000007\n");
    ASSERT_EQ(registry.reg_open_key(kLocalMachine, "X", RegView::Default, &key), err::kOk);
    EXPECT_EQ(registry.reg_query_value(key, "a", &value), err::kOk);
    EXPECT_EQ(value.data, dword(7).data);
}

TEST_F(PosixRegistryTest, AFailedWriteLosesNothingAndPretendsNothing) {
    PosixRegistry registry;
    const RegKey key = create(registry, "SOFTWARE\\Orvandex");
    ASSERT_EQ(registry.reg_set_value(key, "Kept", sz("before")), err::kOk);
    const std::string before = test::read_file(store_file());

    // A directory where the new file would be written makes every write fail,
    // even for root, whom file permissions do not stop.
    const fs::path obstacle = fs::path(store_dir()) / std::string(PosixRegistry::kTempFileName);
    fs::create_directories(obstacle / "inside");
    const uint32_t error = registry.reg_set_value(key, "Lost", sz("after"));
    EXPECT_TRUE(error == err::kRegistryIoFailed || error == err::kAccessDenied) << error;
    RegKey child = kNoKey;
    EXPECT_NE(registry.reg_create_key(key, "Child", RegView::Default, &child), err::kOk);
    EXPECT_EQ(child, kNoKey);
    registry.reg_begin_batch();
    EXPECT_EQ(registry.reg_set_value(key, "InBatch", sz("x")), err::kOk);
    const uint32_t batch_error = registry.reg_end_batch();
    EXPECT_TRUE(batch_error == err::kRegistryIoFailed || batch_error == err::kAccessDenied) << batch_error;
    EXPECT_EQ(test::read_file(store_file()), before);

    RegValue value;
    EXPECT_EQ(registry.reg_query_value(key, "Lost", &value), err::kFileNotFound);
    EXPECT_EQ(registry.reg_query_value(key, "InBatch", &value), err::kFileNotFound);
    EXPECT_EQ(registry.reg_open_key(key, "Child", RegView::Default, &child), err::kFileNotFound);
    ASSERT_EQ(registry.reg_query_value(key, "Kept", &value), err::kOk);
    EXPECT_EQ(value.data, sz("before").data);

    fs::remove_all(obstacle);
    EXPECT_EQ(registry.reg_set_value(key, "Lost", sz("after")), err::kOk);
    EXPECT_EQ(registry.reg_query_value(key, "Lost", &value), err::kOk);
}

TEST_F(PosixRegistryTest, ABatchWritesTheStoreOnce) {
    PosixRegistry registry;
    const RegKey key = create(registry, "SOFTWARE\\Orvandex");
    const uint64_t inode = store_inode();
    const std::string before = test::read_file(store_file());
    const uint64_t writes = registry.store_writes();

    registry.reg_begin_batch();
    registry.reg_begin_batch();
    for (int i = 0; i < 100; ++i) {
        ASSERT_EQ(registry.reg_set_value(key, "v" + std::to_string(i), dword(static_cast<uint32_t>(i))),
                  err::kOk);
    }
    RegValue value;
    EXPECT_EQ(registry.reg_query_value(key, "v42", &value), err::kOk);
    EXPECT_EQ(value.data, dword(42).data);
    EXPECT_EQ(registry.reg_end_batch(), err::kOk);
    // Still inside the outer batch: nothing written yet.
    EXPECT_EQ(test::read_file(store_file()), before);
    EXPECT_EQ(store_inode(), inode);
    EXPECT_EQ(registry.reg_end_batch(), err::kOk);

    EXPECT_EQ(registry.store_writes(), writes + 1);
    EXPECT_NE(store_inode(), inode);
    const std::string after = test::read_file(store_file());
    EXPECT_NE(after.find("\"v0\"=dword:00000000\r\n\"v1\"=dword:00000001\r\n"), std::string::npos);
    EXPECT_NE(after.find("\"v99\"=dword:00000063\r\n"), std::string::npos);
    // An unbalanced end is harmless.
    EXPECT_EQ(registry.reg_end_batch(), err::kOk);
}

TEST_F(PosixRegistryTest, TwoRegistriesSeeEachOthersChanges) {
    PosixRegistry first;
    PosixRegistry second;
    const RegKey mine = create(first, "SOFTWARE\\Orvandex");
    ASSERT_EQ(first.reg_set_value(mine, "Port", dword(1)), err::kOk);

    RegKey theirs = kNoKey;
    ASSERT_EQ(second.reg_open_key(kLocalMachine, "SOFTWARE\\ORVANDEX", RegView::Default, &theirs), err::kOk);
    RegValue value;
    ASSERT_EQ(second.reg_query_value(theirs, "port", &value), err::kOk);
    EXPECT_EQ(value.data, dword(1).data);
    ASSERT_EQ(second.reg_set_value(theirs, "Port", dword(2)), err::kOk);
    ASSERT_EQ(first.reg_query_value(mine, "Port", &value), err::kOk);
    EXPECT_EQ(value.data, dword(2).data);

    ASSERT_EQ(second.reg_delete_tree(kLocalMachine, "SOFTWARE\\Orvandex", RegView::Default), err::kOk);
    EXPECT_EQ(first.reg_query_value(mine, "Port", &value), err::kKeyDeleted);
    EXPECT_EQ(first.reg_set_value(mine, "Port", dword(3)), err::kKeyDeleted);
    RegKey child = kNoKey;
    EXPECT_EQ(first.reg_create_key(mine, "Child", RegView::Default, &child), err::kKeyDeleted);
    EXPECT_EQ(first.reg_close_key(mine), err::kOk);
    EXPECT_EQ(first.reg_close_key(mine), err::kInvalidHandle);
}

// A batch holds the lock from its first call to its end, so another process
// that changes the store in the meantime waits and then builds on the result.
TEST_F(PosixRegistryTest, ABatchKeepsOtherProcessesOut) {
    PosixRegistry registry;
    const RegKey key = create(registry, "SOFTWARE\\Orvandex");
    registry.reg_begin_batch();
    ASSERT_EQ(registry.reg_set_value(key, "Parent", sz("1")), err::kOk);
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        PosixRegistry other;
        RegKey theirs = kNoKey;
        uint32_t error = other.reg_open_key(kLocalMachine, "SOFTWARE\\Orvandex", RegView::Default, &theirs);
        if (error == err::kOk) error = other.reg_set_value(theirs, "Child", sz("2"));
        ::_exit(error == err::kOk ? 0 : 1);
    }
    ::usleep(300 * 1000);
    int status = 0;
    EXPECT_EQ(::waitpid(child, &status, WNOHANG), 0) << "the other process did not wait for the lock";
    EXPECT_EQ(registry.reg_end_batch(), err::kOk);
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
    RegValue value;
    EXPECT_EQ(registry.reg_query_value(key, "Parent", &value), err::kOk);
    EXPECT_EQ(registry.reg_query_value(key, "Child", &value), err::kOk);
}

TEST_F(PosixRegistryTest, SeesAStoreReplacedBehindItsBack) {
    PosixRegistry registry;
    const RegKey key = create(registry, "X");
    RegValue value;
    EXPECT_EQ(registry.reg_query_value(key, "a", &value), err::kFileNotFound);
    const std::string text = "REGEDIT4\r\n[HKEY_LOCAL_MACHINE\\X]\r\n\"a\"=\"1\"\r\n";
    test::write_file(store_file() + ".edited", text);
    fs::rename(store_file() + ".edited", store_file());
    ASSERT_EQ(registry.reg_query_value(key, "a", &value), err::kOk);
    EXPECT_EQ(value.data, sz("1").data);
    fs::remove(store_file());
    EXPECT_EQ(registry.reg_query_value(key, "a", &value), err::kKeyDeleted);
    std::string name;
    EXPECT_EQ(registry.reg_enum_key(kLocalMachine, 0, &name), err::kNoMoreItems);
}

TEST_F(PosixRegistryTest, RedirectsThe32BitView) {
    PosixRegistry registry;
    RegKey key = kNoKey;
    ASSERT_EQ(registry.reg_create_key(kLocalMachine, "Software\\Orvandex", RegView::Bits32, &key), err::kOk);
    ASSERT_EQ(registry.reg_set_value(key, "Bits", dword(32)), err::kOk);
    EXPECT_NE(test::read_file(store_file()).find("[HKEY_LOCAL_MACHINE\\Software\\WOW6432Node\\Orvandex]\r\n"),
              std::string::npos);
    RegKey other = kNoKey;
    EXPECT_EQ(registry.reg_open_key(kLocalMachine, "SOFTWARE\\Orvandex", RegView::Default, &other),
              err::kFileNotFound);
    EXPECT_EQ(registry.reg_open_key(kLocalMachine, "SOFTWARE\\Orvandex", RegView::Bits64, &other),
              err::kFileNotFound);
    EXPECT_EQ(
        registry.reg_open_key(kLocalMachine, "SOFTWARE\\WOW6432Node\\Orvandex", RegView::Default, &other),
        err::kOk);
    EXPECT_EQ(
        registry.reg_open_key(kLocalMachine, "SOFTWARE\\WOW6432Node\\Orvandex", RegView::Bits32, &other),
        err::kOk);
    RegKey software = kNoKey;
    ASSERT_EQ(registry.reg_open_key(kLocalMachine, "SOFTWARE", RegView::Bits32, &software), err::kOk);
    EXPECT_EQ(registry.reg_open_key(software, "Orvandex", RegView::Bits32, &other), err::kOk);
    EXPECT_EQ(registry.reg_open_key(software, "Orvandex", RegView::Default, &other), err::kFileNotFound);
    // Only HKEY_LOCAL_MACHINE is redirected.
    ASSERT_EQ(registry.reg_create_key(kCurrentUser, "Software\\Orvandex", RegView::Bits32, &other), err::kOk);
    EXPECT_EQ(registry.reg_open_key(kCurrentUser, "Software\\Orvandex", RegView::Default, &other), err::kOk);
    EXPECT_EQ(registry.reg_delete_tree(kLocalMachine, "SOFTWARE\\Orvandex", RegView::Bits32), err::kOk);
    EXPECT_EQ(
        registry.reg_open_key(kLocalMachine, "SOFTWARE\\WOW6432Node\\Orvandex", RegView::Default, &other),
        err::kFileNotFound);
}

TEST_F(PosixRegistryTest, RejectsBadHandlesAndNames) {
    PosixRegistry registry;
    RegKey key = kNoKey;
    RegValue value;
    EXPECT_EQ(registry.reg_open_key(0x1234, "X", RegView::Default, &key), err::kInvalidHandle);
    EXPECT_EQ(registry.reg_query_value(0x1234, "X", &value), err::kInvalidHandle);
    EXPECT_EQ(registry.reg_close_key(0x1234), err::kInvalidHandle);
    EXPECT_EQ(registry.reg_close_key(kLocalMachine), err::kOk);
    EXPECT_EQ(registry.reg_close_key(kCurrentConfig), err::kOk);
    EXPECT_EQ(registry.reg_open_key(kPerformanceData, "", RegView::Default, &key), err::kInvalidHandle);
    EXPECT_EQ(registry.reg_set_value(kPerformanceData, "x", dword(1)), err::kInvalidHandle);
    EXPECT_EQ(registry.reg_close_key(kPerformanceData), err::kInvalidHandle);
    EXPECT_EQ(registry.reg_connect("", kPerformanceData, &key), err::kInvalidHandle);
    EXPECT_EQ(registry.reg_create_key(kLocalMachine, "A\\" + std::string(256, 'x'), RegView::Default, &key),
              err::kInvalidParameter);
    EXPECT_EQ(registry.reg_create_key(kLocalMachine, "A\\" + std::string(255, 'x'), RegView::Default, &key),
              err::kOk);
    EXPECT_EQ(registry.reg_create_key(kLocalMachine, std::string("A\nB"), RegView::Default, &key),
              err::kInvalidParameter);
    EXPECT_EQ(registry.reg_set_value(kLocalMachine, std::string("a\0b", 3), dword(1)),
              err::kInvalidParameter);
    EXPECT_EQ(registry.reg_open_key(kLocalMachine, "A", RegView::Default, nullptr), err::kInvalidParameter);
    std::string deep;
    for (int i = 0; i < 513; ++i) deep += "d\\";
    EXPECT_EQ(registry.reg_create_key(kCurrentUser, deep, RegView::Default, &key), err::kInvalidParameter);
}

TEST_F(PosixRegistryTest, ReportsKeyInformation) {
    PosixRegistry registry;
    const RegKey key = create(registry, "Info");
    RegKey child = kNoKey;
    ASSERT_EQ(registry.reg_create_key(key, "Short", RegView::Default, &child), err::kOk);
    ASSERT_EQ(registry.reg_create_key(key, "A longer name", RegView::Default, &child), err::kOk);
    ASSERT_EQ(registry.reg_set_value(key, "caf\xC3\xA9", sz("1234567")), err::kOk);
    ASSERT_EQ(registry.reg_set_value(key, "n", dword(1)), err::kOk);
    RegKeyInfo info;
    ASSERT_EQ(registry.reg_query_info(key, &info), err::kOk);
    EXPECT_EQ(info.subkeys, 2u);
    EXPECT_EQ(info.max_subkey_len, 13u);
    EXPECT_EQ(info.values, 2u);
    EXPECT_EQ(info.max_value_name_len, 4u);
    EXPECT_EQ(info.max_value_len, 8u);
}

}  // namespace
}  // namespace dpl::platform
