// What only the Win32 backend can show: locks held between real handles,
// pipes, Windows' own error codes, the service manager, and the registry
// views.
#include <windows.h>

#include <gtest/gtest.h>

#include <string>

#include "platform/platform.hpp"
#include "support/test_support.hpp"

namespace dpl::platform {
namespace {

Platform &p = native();

FileHandle open(const std::string &path, Disposition disposition, uint32_t *error) {
    OpenOptions options;
    options.write = true;
    options.share_write = true;
    options.disposition = disposition;
    return p.open_file(path, options, error);
}

TEST(Win32Backend, FilesReportWindowsCodesAndLockBetweenHandlesButNotOnPipes) {
    test::ScratchDir dir;
    const std::string path = dir.file("locked");
    uint32_t error = 0;
    EXPECT_EQ(open(path, Disposition::OpenExisting, &error), kNoFile);
    EXPECT_EQ(error, err::kFileNotFound);
    const FileHandle first = open(path, Disposition::CreateNew, &error);
    ASSERT_NE(first, kNoFile);
    EXPECT_EQ(open(path, Disposition::CreateNew, &error), kNoFile);
    EXPECT_EQ(error, err::kFileExists);
    // OPEN_ALWAYS on an existing file succeeds although Windows notes it existed.
    const FileHandle second = open(path, Disposition::OpenAlways, &error);
    ASSERT_NE(second, kNoFile);
    EXPECT_EQ(error, err::kOk);
    EXPECT_EQ(p.lock_file(first), LockResult::Locked);
    EXPECT_EQ(p.lock_file(second), LockResult::Busy);
    EXPECT_TRUE(p.unlock_file(first));
    EXPECT_EQ(p.lock_file(second), LockResult::Locked);
    EXPECT_TRUE(p.unlock_file(second));
    EXPECT_EQ(p.close_file(first), 0u);
    EXPECT_EQ(p.close_file(second), 0u);

    // A writer that waits for Busy to clear must not wait forever on a pipe,
    // whose reader sees an ordinary end once the writer has gone.
    HANDLE read_end = nullptr;
    HANDLE write_end = nullptr;
    ASSERT_TRUE(CreatePipe(&read_end, &write_end, nullptr, 0));
    const auto writer = reinterpret_cast<FileHandle>(write_end);
    const auto reader = reinterpret_cast<FileHandle>(read_end);
    EXPECT_EQ(p.lock_file(writer), LockResult::Unsupported);
    EXPECT_TRUE(p.write_file(writer, "x", 1));
    EXPECT_EQ(p.close_file(writer), 0u);
    char buffer[8];
    std::size_t got = 0;
    EXPECT_TRUE(p.read_file(reader, buffer, sizeof buffer, &got) && got == 1);
    EXPECT_TRUE(p.read_file(reader, buffer, sizeof buffer, &got) && got == 0);
    EXPECT_EQ(p.close_file(reader), 0u);

    // Standard handles belong to the process: closing them leaves them open.
    const FileHandle standard = p.std_handle(StdStream::Error);
    if (standard == kNoFile) return;
    EXPECT_EQ(p.close_file(standard), 0u);
    DWORD flags = 0;
    EXPECT_TRUE(GetHandleInformation(reinterpret_cast<HANDLE>(standard), &flags));
}

TEST(Win32Backend, ServicesFileEnvironmentAndServiceManager) {
    const std::string path = p.services_database_path();
    const std::string tail = "\\drivers\\etc\\services";
    ASSERT_GT(path.size(), tail.size());
    EXPECT_EQ(path.substr(path.size() - tail.size()), tail);
    EXPECT_NE(GetFileAttributesA(path.c_str()), INVALID_FILE_ATTRIBUTES) << path;

    EXPECT_FALSE(p.get_env("DPL_WIN32_TEST_SURELY_UNSET").has_value());
    // Longer than the first buffer the backend tries.
    const std::string value(1000, 'v');
    ASSERT_TRUE(SetEnvironmentVariableA("DPL_WIN32_TEST_LONG", value.c_str()));
    EXPECT_EQ(p.get_env("DPL_WIN32_TEST_LONG"), value);
    SetEnvironmentVariableA("DPL_WIN32_TEST_LONG", nullptr);

    uint32_t error = 0;
    // The RPC service is part of every Windows, and of Wine.
    EXPECT_EQ(p.query_service("RpcSs", &error), ServiceQuery::Installed);
    EXPECT_EQ(p.query_service("DplSurelyNoSuchService", &error), ServiceQuery::NotInstalled);
    EXPECT_EQ(error, static_cast<uint32_t>(ERROR_SERVICE_DOES_NOT_EXIST));
}

TEST(Win32Backend, RegistryViewsAreSeparateAndDeletedInTheirOwnView) {
    const std::string path = "SOFTWARE\\DplWin32Test" + std::to_string(GetCurrentProcessId());
    RegKey key = kNoKey;
    const uint32_t rc = p.reg_create_key(kLocalMachine, path + "\\Child", RegView::Bits32, &key);
    if (rc == err::kAccessDenied) GTEST_SKIP() << "HKEY_LOCAL_MACHINE is not writable here";
    ASSERT_EQ(rc, 0u);
    EXPECT_EQ(p.reg_set_value(key, "v", RegValue{regtype::kSz, std::string("x\0", 2)}), 0u);
    EXPECT_EQ(p.reg_close_key(key), 0u);
    EXPECT_EQ(p.reg_open_key(kLocalMachine, path, RegView::Bits64, &key), err::kFileNotFound);
    EXPECT_EQ(p.reg_delete_tree(kLocalMachine, path, RegView::Bits32), 0u);
    EXPECT_EQ(p.reg_open_key(kLocalMachine, path, RegView::Bits32, &key), err::kFileNotFound);
}

}  // namespace
}  // namespace dpl::platform
