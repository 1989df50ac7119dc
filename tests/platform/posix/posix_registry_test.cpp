#include "platform/posix/posix_registry.hpp"

#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "support/machine_fixture.hpp"

namespace dpl::platform {
namespace {

namespace fs = std::filesystem;

RegValue sz(const std::string &text) {
    return RegValue{regtype::kSz, text + '\0'};
}

RegValue dword(char low_byte) {
    return RegValue{regtype::kDword, std::string{low_byte, 0, 0, 0}};
}

// A value's data, or "error N" with the code the query gave.
std::string value_of(PosixRegistry &registry, RegKey key, const std::string &name) {
    RegValue value;
    const uint32_t error = registry.reg_query_value(key, name, &value);
    return error == err::kOk ? value.data : "error " + std::to_string(error);
}

uint32_t opens(PosixRegistry &registry, RegKey parent, const std::string &path,
               RegView view = RegView::Default) {
    RegKey key = kNoKey;
    return registry.reg_open_key(parent, path, view, &key);
}

RegKey create(PosixRegistry &registry, const std::string &path) {
    RegKey key = kNoKey;
    EXPECT_EQ(registry.reg_create_key(kLocalMachine, path, RegView::Default, &key), err::kOk) << path;
    return key;
}

// Each test gets its own machine root, and so its own store.
class PosixRegistryTest : public test::MachineTest {
protected:
    std::string store_dir() const { return (root.path() / "var/lib/dpl").string(); }
    std::string store_file() const { return store_dir() + "/registry.reg"; }
    std::string store() const { return test::read_file(store_file()); }
};

TEST_F(PosixRegistryTest, WritesTheStoreOnlyWhenSomethingChanges) {
    PosixRegistry registry;
    EXPECT_EQ(opens(registry, kLocalMachine, "SOFTWARE\\Orvandex"), err::kFileNotFound);
    EXPECT_FALSE(fs::exists(store_file()));
    const RegKey key = create(registry, "SOFTWARE\\Orvandex");
    ASSERT_EQ(registry.reg_set_value(key, "Name", sz("ol_server")), err::kOk);
    ASSERT_EQ(registry.reg_set_value(key, "Port", dword(0x23)), err::kOk);
    EXPECT_EQ(store(),
              "Windows Registry Editor Version 5.00\r\n\r\n[HKEY_LOCAL_MACHINE]\r\n\r\n"
              "[HKEY_LOCAL_MACHINE\\SOFTWARE]\r\n\r\n[HKEY_LOCAL_MACHINE\\SOFTWARE\\Orvandex]\r\n"
              "\"Name\"=\"ol_server\"\r\n\"Port\"=dword:00000023\r\n\r\n");
    EXPECT_EQ(registry.store_writes(), 3u);

    create(registry, "software\\ORVANDEX");
    EXPECT_EQ(registry.reg_set_value(key, "Port", dword(0x23)), err::kOk);
    EXPECT_EQ(registry.reg_delete_value(key, "missing"), err::kFileNotFound);
    EXPECT_EQ(registry.store_writes(), 3u);
}

TEST_F(PosixRegistryTest, ReachesAnotherMachineThroughItsDirectory) {
    add_machine("DBHOST", "REGEDIT4\n[HKEY_LOCAL_MACHINE\\X]\n\"Where\"=\"remote\"\n");
    PosixRegistry registry;
    RegKey remote = kNoKey;
    RegKey key = kNoKey;
    // Machine names are not case-sensitive.
    ASSERT_EQ(registry.reg_connect("\\\\dbhost", kLocalMachine, &remote), err::kOk);
    ASSERT_EQ(registry.reg_open_key(remote, "x", RegView::Default, &key), err::kOk);
    EXPECT_EQ(value_of(registry, key, "Where"), sz("remote").data);
    ASSERT_EQ(registry.reg_set_value(key, "Where", sz("changed")), err::kOk);
    EXPECT_EQ(test::read_file(root.file("var/lib/dpl/machines/DBHOST/var/lib/dpl/registry.reg")),
              "Windows Registry Editor Version 5.00\r\n\r\n[HKEY_LOCAL_MACHINE]\r\n\r\n"
              "[HKEY_LOCAL_MACHINE\\X]\r\n\"Where\"=\"changed\"\r\n\r\n");
    ASSERT_EQ(registry.reg_connect("", kLocalMachine, &remote), err::kOk);
    EXPECT_EQ(opens(registry, remote, "X"), err::kFileNotFound);
    EXPECT_EQ(registry.reg_connect("\\\\DBHOST", kCurrentUser, &remote), err::kInvalidHandle);
    for (const char *name : {"\\\\OTHERHOST", "DBHOST", "\\\\..", "\\\\DBHOST\\x"}) {
        remote = 1;
        EXPECT_EQ(registry.reg_connect(name, kLocalMachine, &remote), err::kBadNetPath) << name;
        EXPECT_EQ(remote, kNoKey);
    }
}

TEST_F(PosixRegistryTest, ACorruptStoreFailsEveryCallAndIsLeftAlone) {
    fs::create_directories(store_dir());
    const std::string garbage =
        "Windows Registry Editor Version 5.00\r\n[HKLM\\X]\r\n\"a\"=dword:nonsense\r\n";
    test::write_file(store_file(), garbage);
    PosixRegistry registry;
    RegKey key = kNoKey;
    EXPECT_EQ(opens(registry, kLocalMachine, "X"), err::kRegistryCorrupt);
    EXPECT_EQ(registry.reg_create_key(kLocalMachine, "Y", RegView::Default, &key), err::kRegistryCorrupt);
    EXPECT_EQ(value_of(registry, kLocalMachine, "a"), "error 1015");
    EXPECT_EQ(registry.reg_set_value(kLocalMachine, "a", dword(1)), err::kRegistryCorrupt);
    EXPECT_EQ(registry.reg_delete_tree(kLocalMachine, "X", RegView::Default), err::kRegistryCorrupt);
    EXPECT_EQ(registry.reg_connect("", kLocalMachine, &key), err::kRegistryCorrupt);
    registry.reg_begin_batch();
    EXPECT_EQ(registry.reg_set_value(kLocalMachine, "a", dword(1)), err::kRegistryCorrupt);
    EXPECT_EQ(registry.reg_end_batch(), err::kOk);
    EXPECT_EQ(store(), garbage);
    EXPECT_EQ(registry.store_writes(), 0u);

    // Repaired by hand or by another process, the store is usable again;
    // removed, it is an empty registry.
    test::write_file(store_file(), "REGEDIT4\n[HKEY_LOCAL_MACHINE\\X]\n\"a\"=dword:00000007\n");
    ASSERT_EQ(registry.reg_open_key(kLocalMachine, "X", RegView::Default, &key), err::kOk);
    EXPECT_EQ(value_of(registry, key, "a"), dword(7).data);
    fs::remove(store_file());
    EXPECT_EQ(value_of(registry, key, "a"), "error 1018");
}

TEST_F(PosixRegistryTest, AFailedWriteLosesNothingAndPretendsNothing) {
    PosixRegistry registry;
    const RegKey key = create(registry, "SOFTWARE\\Orvandex");
    ASSERT_EQ(registry.reg_set_value(key, "Kept", sz("before")), err::kOk);
    const std::string before = store();

    // A directory where the new file would be written makes every write fail,
    // even for root, whom file permissions do not stop.
    const fs::path obstacle = fs::path(store_dir()) / std::string(PosixRegistry::kTempFileName);
    fs::create_directories(obstacle / "inside");
    EXPECT_EQ(registry.reg_set_value(key, "Lost", sz("after")), err::kRegistryIoFailed);
    RegKey child = kNoKey;
    EXPECT_EQ(registry.reg_create_key(key, "Child", RegView::Default, &child), err::kRegistryIoFailed);
    registry.reg_begin_batch();
    EXPECT_EQ(registry.reg_set_value(key, "InBatch", sz("x")), err::kOk);
    EXPECT_EQ(registry.reg_end_batch(), err::kRegistryIoFailed);
    EXPECT_EQ(store(), before);
    EXPECT_EQ(value_of(registry, key, "Lost"), "error 2");
    EXPECT_EQ(value_of(registry, key, "InBatch"), "error 2");
    EXPECT_EQ(opens(registry, key, "Child"), err::kFileNotFound);
    EXPECT_EQ(value_of(registry, key, "Kept"), sz("before").data);

    fs::remove_all(obstacle);
    EXPECT_EQ(registry.reg_set_value(key, "Lost", sz("after")), err::kOk);
    EXPECT_EQ(value_of(registry, key, "Lost"), sz("after").data);
}

// A batch holds the lock from its first call to its end, so another process
// that changes the store in the meantime waits and then builds on the result.
TEST_F(PosixRegistryTest, ABatchWritesOnceAtItsOutermostEndAndKeepsOthersWaiting) {
    PosixRegistry registry;
    const RegKey key = create(registry, "SOFTWARE\\Orvandex");
    const std::string before = store();
    const uint64_t writes = registry.store_writes();
    registry.reg_begin_batch();
    registry.reg_begin_batch();
    ASSERT_EQ(registry.reg_set_value(key, "v0", dword(0)), err::kOk);
    ASSERT_EQ(registry.reg_set_value(key, "v1", dword(1)), err::kOk);
    EXPECT_EQ(value_of(registry, key, "v1"), dword(1).data);
    EXPECT_EQ(registry.reg_end_batch(), err::kOk);
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        PosixRegistry other;
        ::_exit(other.reg_set_value(kLocalMachine, "Child", sz("2")) == err::kOk ? 0 : 1);
    }
    ::usleep(300 * 1000);
    int status = 0;
    EXPECT_EQ(::waitpid(child, &status, WNOHANG), 0) << "the other process did not wait for the lock";
    EXPECT_EQ(store(), before);
    EXPECT_EQ(registry.reg_end_batch(), err::kOk);
    EXPECT_EQ(registry.store_writes(), writes + 1);
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    EXPECT_EQ(store(),
              "Windows Registry Editor Version 5.00\r\n\r\n[HKEY_LOCAL_MACHINE]\r\n\"Child\"=\"2\"\r\n\r\n"
              "[HKEY_LOCAL_MACHINE\\SOFTWARE]\r\n\r\n[HKEY_LOCAL_MACHINE\\SOFTWARE\\Orvandex]\r\n"
              "\"v0\"=dword:00000000\r\n\"v1\"=dword:00000001\r\n\r\n");
    EXPECT_EQ(registry.reg_end_batch(), err::kOk);  // an unbalanced end is harmless
}

TEST_F(PosixRegistryTest, TwoRegistriesSeeEachOthersChanges) {
    PosixRegistry first;
    PosixRegistry second;
    const RegKey mine = create(first, "SOFTWARE\\Orvandex");
    ASSERT_EQ(first.reg_set_value(mine, "Port", dword(1)), err::kOk);
    const RegKey theirs = create(second, "SOFTWARE\\ORVANDEX");
    EXPECT_EQ(value_of(second, theirs, "port"), dword(1).data);
    ASSERT_EQ(second.reg_set_value(theirs, "Port", dword(2)), err::kOk);
    EXPECT_EQ(value_of(first, mine, "Port"), dword(2).data);

    ASSERT_EQ(second.reg_delete_tree(kLocalMachine, "SOFTWARE\\Orvandex", RegView::Default), err::kOk);
    EXPECT_EQ(value_of(first, mine, "Port"), "error 1018");
    EXPECT_EQ(first.reg_set_value(mine, "Port", dword(3)), err::kKeyDeleted);
    RegKey child = kNoKey;
    EXPECT_EQ(first.reg_create_key(mine, "Child", RegView::Default, &child), err::kKeyDeleted);
    EXPECT_EQ(first.reg_close_key(mine), err::kOk);
    EXPECT_EQ(first.reg_close_key(mine), err::kInvalidHandle);
}

TEST_F(PosixRegistryTest, RedirectsThe32BitViewOfMachineSoftware) {
    PosixRegistry registry;
    RegKey key = kNoKey;
    ASSERT_EQ(registry.reg_create_key(kLocalMachine, "Software\\Orvandex", RegView::Bits32, &key), err::kOk);
    ASSERT_EQ(registry.reg_set_value(key, "Bits", dword(32)), err::kOk);
    EXPECT_NE(store().find("[HKEY_LOCAL_MACHINE\\Software\\WOW6432Node\\Orvandex]\r\n"), std::string::npos);
    EXPECT_EQ(opens(registry, kLocalMachine, "SOFTWARE\\Orvandex"), err::kFileNotFound);
    EXPECT_EQ(opens(registry, kLocalMachine, "SOFTWARE\\Orvandex", RegView::Bits64), err::kFileNotFound);
    EXPECT_EQ(opens(registry, kLocalMachine, "SOFTWARE\\WOW6432Node\\Orvandex", RegView::Bits32), err::kOk);
    RegKey software = kNoKey;
    ASSERT_EQ(registry.reg_open_key(kLocalMachine, "SOFTWARE", RegView::Bits32, &software), err::kOk);
    EXPECT_EQ(opens(registry, software, "Orvandex", RegView::Bits32), err::kOk);
    EXPECT_EQ(opens(registry, software, "Orvandex"), err::kFileNotFound);
    // Only HKEY_LOCAL_MACHINE is redirected.
    ASSERT_EQ(registry.reg_create_key(kCurrentUser, "Software\\Orvandex", RegView::Bits32, &key), err::kOk);
    EXPECT_EQ(opens(registry, kCurrentUser, "Software\\Orvandex"), err::kOk);
    EXPECT_EQ(registry.reg_delete_tree(kLocalMachine, "SOFTWARE\\Orvandex", RegView::Bits32), err::kOk);
    EXPECT_EQ(opens(registry, kLocalMachine, "SOFTWARE\\WOW6432Node\\Orvandex"), err::kFileNotFound);
}

TEST_F(PosixRegistryTest, RejectsBadHandlesAndNamesAndCountsNamesInUtf16Units) {
    PosixRegistry registry;
    RegKey key = kNoKey;
    EXPECT_EQ(opens(registry, 0x1234, "X"), err::kInvalidHandle);
    EXPECT_EQ(registry.reg_close_key(0x1234), err::kInvalidHandle);
    EXPECT_EQ(registry.reg_open_key(kLocalMachine, "A", RegView::Default, nullptr), err::kInvalidParameter);
    EXPECT_EQ(opens(registry, kLocalMachine, "A\\" + std::string(256, 'x')), err::kInvalidParameter);
    EXPECT_EQ(opens(registry, kLocalMachine, "A\nB"), err::kInvalidParameter);
    EXPECT_EQ(registry.reg_set_value(kLocalMachine, std::string("a\0b", 3), dword(1)),
              err::kInvalidParameter);
    std::string deep, accented;
    for (int i = 0; i < 513; ++i) deep += "d\\";
    for (int i = 0; i < 255; ++i) accented += "\xC3\xA9";
    EXPECT_EQ(opens(registry, kCurrentUser, deep), err::kInvalidParameter);

    // 255 two-byte characters make a name of 255; one beyond the BMP counts two.
    const RegKey parent = create(registry, "A");
    ASSERT_EQ(registry.reg_create_key(parent, accented, RegView::Default, &key), err::kOk);
    ASSERT_EQ(registry.reg_set_value(parent, "\xF0\x9D\x84\x9E", sz("1234567")), err::kOk);
    RegKeyInfo info;
    ASSERT_EQ(registry.reg_query_info(parent, &info), err::kOk);
    EXPECT_EQ(info.max_subkey_len, 255u);
    EXPECT_EQ(info.max_value_name_len, 2u);
    EXPECT_EQ(info.max_value_len, 8u);
}

}  // namespace
}  // namespace dpl::platform
