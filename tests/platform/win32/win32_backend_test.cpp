// What only the Win32 backend can show: locks held between real handles,
// consoles and pipes, Windows' own error codes, the service manager, and the
// registry views.
#include <windows.h>
#include <winsock2.h>

#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "platform/platform.hpp"

namespace dpl::platform {
namespace {

class Win32BackendTest : public ::testing::Test {
protected:
    void SetUp() override {
        char directory[MAX_PATH + 1] = {};
        const DWORD length = GetTempPathA(sizeof directory, directory);
        ASSERT_GT(length, 0u);
        ASSERT_LT(length, sizeof directory);
        path_ = std::string(directory, length) + "dpl_win32_" + std::to_string(GetCurrentProcessId()) + "_" +
                ::testing::UnitTest::GetInstance()->current_test_info()->name() + ".tmp";
    }
    void TearDown() override { DeleteFileA(path_.c_str()); }

    FileHandle open(Disposition disposition, uint32_t *error = nullptr) {
        OpenOptions options;
        options.write = true;
        options.share_write = true;
        options.disposition = disposition;
        uint32_t ignored = 0;
        return p_.open_file(path_, options, error != nullptr ? error : &ignored);
    }

    std::string contents() const {
        std::ifstream in(path_, std::ios::binary | std::ios::ate);
        std::string text(static_cast<std::size_t>(in.tellg()), '\0');
        in.seekg(0);
        in.read(text.data(), static_cast<std::streamsize>(text.size()));
        return text;
    }

    Platform &p_ = native();
    std::string path_;
};

TEST_F(Win32BackendTest, ServicesDatabaseIsUnderTheSystemDirectory) {
    const std::string path = p_.services_database_path();
    const std::string tail = "\\drivers\\etc\\services";
    ASSERT_GT(path.size(), tail.size());
    EXPECT_EQ(path.substr(path.size() - tail.size()), tail);
    EXPECT_NE(GetFileAttributesA(path.c_str()), INVALID_FILE_ATTRIBUTES) << path;
}

TEST_F(Win32BackendTest, LockHeldByOneHandleIsBusyForAnotherUntilReleased) {
    const FileHandle first = open(Disposition::CreateAlways);
    const FileHandle second = open(Disposition::OpenExisting);
    ASSERT_NE(first, kNoFile);
    ASSERT_NE(second, kNoFile);

    EXPECT_EQ(p_.lock_file(first), LockResult::Locked);
    EXPECT_EQ(p_.lock_file(second), LockResult::Busy);
    EXPECT_TRUE(p_.unlock_file(first));
    EXPECT_EQ(p_.lock_file(second), LockResult::Locked);
    EXPECT_TRUE(p_.unlock_file(second));

    EXPECT_EQ(p_.close_file(first), 0u);
    EXPECT_EQ(p_.close_file(second), 0u);
}

TEST_F(Win32BackendTest, ConsolesAndPipesAreNeverBusy) {
    // A writer that waits for Busy to clear must not wait forever on these.
    for (StdStream stream : {StdStream::Output, StdStream::Error}) {
        const FileHandle handle = p_.std_handle(stream);
        if (handle == kNoFile) continue;
        const LockResult result = p_.lock_file(handle);
        EXPECT_NE(result, LockResult::Busy);
        if (result == LockResult::Locked) {
            EXPECT_TRUE(p_.unlock_file(handle));
        }
    }

    HANDLE read_end = nullptr;
    HANDLE write_end = nullptr;
    ASSERT_TRUE(CreatePipe(&read_end, &write_end, nullptr, 0));
    const FileHandle writer = reinterpret_cast<FileHandle>(write_end);
    const FileHandle reader = reinterpret_cast<FileHandle>(read_end);
    EXPECT_EQ(p_.lock_file(writer), LockResult::Unsupported);
    EXPECT_TRUE(p_.write_file(writer, "x", 1));
    EXPECT_EQ(p_.close_file(writer), 0u);

    // Once the writer is gone, the reader sees an ordinary end of file.
    char buffer[8];
    std::size_t got = 0;
    EXPECT_TRUE(p_.read_file(reader, buffer, sizeof buffer, &got));
    EXPECT_EQ(got, 1u);
    EXPECT_TRUE(p_.read_file(reader, buffer, sizeof buffer, &got));
    EXPECT_EQ(got, 0u);
    EXPECT_EQ(p_.close_file(reader), 0u);
}

TEST_F(Win32BackendTest, StandardHandlesSurviveClose) {
    const FileHandle handle = p_.std_handle(StdStream::Error);
    if (handle == kNoFile) GTEST_SKIP() << "no standard error";
    EXPECT_EQ(p_.close_file(handle), 0u);
    DWORD flags = 0;
    EXPECT_TRUE(GetHandleInformation(reinterpret_cast<HANDLE>(handle), &flags));
}

TEST_F(Win32BackendTest, OpenReportsWindowsErrorCodes) {
    uint32_t error = 0;
    EXPECT_EQ(open(Disposition::OpenExisting, &error), kNoFile);
    EXPECT_EQ(error, err::kFileNotFound);

    const FileHandle created = open(Disposition::CreateNew, &error);
    ASSERT_NE(created, kNoFile);
    EXPECT_EQ(error, err::kOk);
    EXPECT_EQ(p_.close_file(created), 0u);

    EXPECT_EQ(open(Disposition::CreateNew, &error), kNoFile);
    EXPECT_EQ(error, err::kFileExists);

    // OPEN_ALWAYS on an existing file succeeds although Windows notes it existed.
    const FileHandle reopened = open(Disposition::OpenAlways, &error);
    ASSERT_NE(reopened, kNoFile);
    EXPECT_EQ(error, err::kOk);
    EXPECT_EQ(p_.close_file(reopened), 0u);
}

TEST_F(Win32BackendTest, SeekToEndAppends) {
    FileHandle file = open(Disposition::CreateAlways);
    ASSERT_NE(file, kNoFile);
    ASSERT_TRUE(p_.write_file(file, "first\n", 6));
    ASSERT_EQ(p_.close_file(file), 0u);

    file = open(Disposition::OpenExisting);
    ASSERT_NE(file, kNoFile);
    ASSERT_TRUE(p_.seek_to_end(file));
    ASSERT_TRUE(p_.write_file(file, "second\n", 7));
    ASSERT_EQ(p_.close_file(file), 0u);

    EXPECT_EQ(contents(), "first\nsecond\n");
}

TEST_F(Win32BackendTest, EnvironmentMissingAndLongValues) {
    EXPECT_FALSE(p_.get_env("DPL_WIN32_TEST_SURELY_UNSET").has_value());

    // Longer than the first buffer the backend tries.
    const std::string value(1000, 'v');
    ASSERT_TRUE(SetEnvironmentVariableA("DPL_WIN32_TEST_LONG", value.c_str()));
    EXPECT_EQ(p_.get_env("DPL_WIN32_TEST_LONG"), value);
    SetEnvironmentVariableA("DPL_WIN32_TEST_LONG", nullptr);
}

TEST_F(Win32BackendTest, ServiceManagerAndTcpPorts) {
    uint32_t error = 0;
    // The RPC service is part of every Windows, and of Wine.
    EXPECT_EQ(p_.query_service("RpcSs", &error), ServiceQuery::Installed);
    EXPECT_EQ(p_.query_service("DplSurelyNoSuchService", &error), ServiceQuery::NotInstalled);
    EXPECT_EQ(error, static_cast<uint32_t>(ERROR_SERVICE_DOES_NOT_EXIST));

    WSADATA data{};
    ASSERT_EQ(WSAStartup(MAKEWORD(2, 2), &data), 0);
    const SOCKET listener = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
    ASSERT_NE(listener, INVALID_SOCKET);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_ANY);
    int length = sizeof address;
    ASSERT_EQ(bind(listener, reinterpret_cast<const sockaddr *>(&address), sizeof address), 0);
    ASSERT_EQ(listen(listener, 1), 0);
    ASSERT_EQ(getsockname(listener, reinterpret_cast<sockaddr *>(&address), &length), 0);

    EXPECT_EQ(p_.probe_tcp_port(ntohs(address.sin_port), &error), PortProbe::InUse);
    EXPECT_EQ(error, static_cast<uint32_t>(WSAEADDRINUSE));
    closesocket(listener);
    WSACleanup();
}

TEST_F(Win32BackendTest, RegistryViewsAreSeparateAndDeletedInTheirOwnView) {
    const std::string path = "SOFTWARE\\DplWin32Test" + std::to_string(GetCurrentProcessId());
    RegKey key = kNoKey;
    const uint32_t rc = p_.reg_create_key(kLocalMachine, path + "\\Child", RegView::Bits32, &key);
    if (rc == err::kAccessDenied) GTEST_SKIP() << "HKEY_LOCAL_MACHINE is not writable here";
    ASSERT_EQ(rc, 0u);
    EXPECT_EQ(p_.reg_set_value(key, "v", RegValue{regtype::kSz, std::string("x\0", 2)}), 0u);
    EXPECT_EQ(p_.reg_close_key(key), 0u);

    RegKey other = kNoKey;
    EXPECT_EQ(p_.reg_open_key(kLocalMachine, path, RegView::Bits64, &other), err::kFileNotFound);

    EXPECT_EQ(p_.reg_delete_tree(kLocalMachine, path, RegView::Bits32), 0u);
    EXPECT_EQ(p_.reg_open_key(kLocalMachine, path, RegView::Bits32, &other), err::kFileNotFound);
}

}  // namespace
}  // namespace dpl::platform
