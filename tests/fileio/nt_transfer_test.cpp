#include <string>

#include "fileio/fileio_fixture.hpp"

#ifdef _WIN32
#include <windows.h>
#endif

namespace dpl::test {
namespace {

// The caller's handle and position records of this build.
DplNativeFile native_file(int32_t fd) {
#ifdef _WIN32
    return reinterpret_cast<void *>(static_cast<intptr_t>(fd));
#else
    return fd;
#endif
}

DplOverlapped at_offset(int64_t offset) {
    DplOverlapped where{};
#ifdef _WIN32
    where.Offset = static_cast<DWORD>(static_cast<uint64_t>(offset) & 0xFFFFFFFFu);
    where.OffsetHigh = static_cast<DWORD>(static_cast<uint64_t>(offset) >> 32);
#else
    where.offset = offset;
#endif
    return where;
}

class FileIoTransfer : public FileIoTest {
protected:
    void SetUp() override {
        FileIoTest::SetUp();
        fd = nt_open(dir.file("f").c_str(), DPL_O_CREAT | DPL_O_RDWR);
        ASSERT_NE(-1, fd);
    }
    void TearDown() override { EXPECT_EQ(0, nt_close(fd)); }
    int32_t fd = -1;
};

TEST_F(FileIoTransfer, TransfersAtTheRecordsPosition) {
    DplIoCount done = 0;
    DplOverlapped where = at_offset(10);
    ASSERT_EQ(0, nt_writefile(native_file(fd), "abcdef", 6, &done, &where));
    EXPECT_EQ(6u, done);
    where = at_offset(12);
    char buffer[8] = {};
    ASSERT_EQ(0, nt_readfile(native_file(fd), buffer, 3, &done, &where));
    EXPECT_EQ(3u, done);
    EXPECT_EQ("cde", std::string(buffer, 3));
    EXPECT_EQ(std::string(10, '\0') + "abcdef", read_file(dir.file("f")));
    // Without a record: at the current position.
    ASSERT_EQ(0, nt_lseek(fd, 0, DPL_SEEK_SET));
    ASSERT_EQ(0, nt_writefile(native_file(fd), "XY", 2, &done, nullptr));
    ASSERT_EQ(0, nt_readfile(native_file(fd), buffer, 2, &done, nullptr));
    EXPECT_EQ(std::string(2, '\0'), std::string(buffer, done));
    EXPECT_EQ("XY" + std::string(8, '\0') + "abcdef", read_file(dir.file("f")));
    EXPECT_EQ("", os.standard_output);
}

TEST_F(FileIoTransfer, ReadingPastTheEnd) {
    DplIoCount done = 99;
    DplOverlapped where = at_offset(100);
    char buffer[4] = {};
    if (kWindows) {
        EXPECT_EQ(-1, nt_readfile(native_file(fd), buffer, 4, &done, &where));
        EXPECT_EQ(ENXIO, errno);
        EXPECT_EQ(report("ReadFile()", "38", 640), os.standard_output);
    } else {
        EXPECT_EQ(0, nt_readfile(native_file(fd), buffer, 4, &done, &where));
        EXPECT_EQ(0u, done);
    }
}

TEST_F(FileIoTransfer, ArgumentsThatCannotWork) {
    char buffer[4] = {};
    DplIoCount done = 0;
    EXPECT_EQ(-1, nt_readfile(native_file(fd), buffer, 4, nullptr, nullptr));
    EXPECT_EQ(EINVAL, errno);
    errno = 0;
    EXPECT_EQ(-1, nt_writefile(native_file(fd), nullptr, 4, &done, nullptr));
    EXPECT_EQ(EINVAL, errno);
    errno = 0;
    EXPECT_EQ(-1, nt_readfile(native_file(-1), buffer, 4, &done, nullptr));
    EXPECT_EQ(EBADF, errno);
    EXPECT_EQ(report("ReadFile()", system_code(6, EBADF), 640), os.standard_output);
}

TEST_F(FileIoTransfer, OverlappedOutcomesBecomeErrnoValues) {
    const struct {
        uint32_t code;
        int32_t result;
        int error;
        bool reported;
    } cases[] = {
        {8, -1, EAGAIN, false},   {38, -1, ENXIO, true}, {997, 0, EDEADLK, false},
        {1784, -1, EFAULT, true}, {5, -1, EACCES, true}, {31, -1, 0, true},
    };
    char buffer[4] = {};
    DplIoCount done = 0;
    DplOverlapped where = at_offset(0);
    for (const auto &c : cases) {
        os.transfer_error = platform::SysError{c.code, c.code};
        for (const bool reading : {true, false}) {
            os.standard_output.clear();
            errno = 12345;
            const int32_t rc = reading ? nt_readfile(native_file(fd), buffer, 4, &done, &where)
                                       : nt_writefile(native_file(fd), buffer, 4, &done, &where);
            EXPECT_EQ(c.result, rc) << c.code;
            EXPECT_EQ(c.error, errno) << c.code;
            const std::string expected = c.reported ? report(reading ? "ReadFile()" : "WriteFile()",
                                                             std::to_string(c.code), reading ? 640 : 676)
                                                    : "";
            EXPECT_EQ(expected, os.standard_output) << c.code;
        }
    }
}

}  // namespace
}  // namespace dpl::test
