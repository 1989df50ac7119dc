// The descriptor-style file layer: open, read, write, seek, status, access,
// transfers at a position record, and the errno table. Standard output is
// captured, and single platform calls fail on request.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <optional>
#include <string>

#include "dpl/dpl.h"
#include "support/recording_platform.hpp"
#include "support/test_support.hpp"

#ifdef _WIN32
#include <windows.h>
#endif

// errno after a call that answers -1 (errno cleared before it); -1 when the
// call answers anything else.
#define DPL_ERRNO_OF(call) (errno = 0, (call) == -1 ? errno : -1)

namespace dpl::test {
namespace {

// The code a report prints: Windows' own on Windows, errno elsewhere.
std::string system_code([[maybe_unused]] uint32_t windows_code, [[maybe_unused]] int posix_errno) {
#ifdef _WIN32
    return std::to_string(windows_code);
#else
    return std::to_string(posix_errno);
#endif
}

std::string report(const std::string &call, const std::string &code, int line) {
    return call + ": w32ec=" + code + " at API/nt_filio:" + std::to_string(line) + "\n";
}

class FaultyFiles : public RecordingPlatform {
public:
    using SysError = platform::SysError;
    using FileHandle = platform::FileHandle;

    // Any path opens `open_as` when one is given, so that raw drives can be tried.
    FileHandle open_descriptor(const std::string &path, const platform::DescriptorOpen &options,
                               SysError *error) override {
        return RecordingPlatform::open_descriptor(open_as.empty() ? path : open_as, options, error);
    }
    bool file_size(FileHandle file, uint64_t *size, SysError *error) override {
        return !faulted(fault, error) && RecordingPlatform::file_size(file, size, error);
    }
    bool read_at(FileHandle file, void *buffer, uint32_t count, DplIoCount *done, DplOverlapped *where,
                 SysError *error) override {
        return !faulted(fault, error) && RecordingPlatform::read_at(file, buffer, count, done, where, error);
    }
    bool write_at(FileHandle file, const void *data, uint32_t count, DplIoCount *done, DplOverlapped *where,
                  SysError *error) override {
        return !faulted(fault, error) && RecordingPlatform::write_at(file, data, count, done, where, error);
    }
    bool seek(FileHandle file, int64_t offset, platform::SeekFrom from, int64_t *position,
              SysError *error) override {
        return !faulted(seek_fault, error) && RecordingPlatform::seek(file, offset, from, position, error);
    }
    bool set_end_of_file(FileHandle file, SysError *error) override {
        return !faulted(end_fault, error) && RecordingPlatform::set_end_of_file(file, error);
    }
    bool close_descriptor(FileHandle file, SysError *error) override {
        ++closes;
        return RecordingPlatform::close_descriptor(file, error);
    }
    FileHandle std_handle(platform::StdStream stream) override {
        if (stream == platform::StdStream::Error && no_standard_error) return platform::kNoFile;
        return RecordingPlatform::std_handle(stream);
    }

    std::string open_as;
    // The Windows codes that sizes and transfers, seeks, and ending a file fail with.
    std::optional<uint32_t> fault, seek_fault, end_fault;
    bool no_standard_error = false;
    int closes = 0;

private:
    static bool faulted(const std::optional<uint32_t> &code, SysError *error) {
        if (code) *error = SysError{*code, *code};
        return code.has_value();
    }
};

class FileIoDescriptors : public ::testing::Test {
protected:
    FaultyFiles os;
    ScratchDir dir;
};

TEST_F(FileIoDescriptors, FlagsChooseHowTheFileIsOpened) {
    const struct {
        bool exists;
        const char *stars;  // "*" no buffering; "**" also write-through, existing files only
        int32_t flags;
        int error;          // -1 when a descriptor comes back
        const char *after;  // the content then, null for no file
    } cases[] = {
        {false, "", DPL_O_RDONLY, ENOENT, nullptr},
        {false, "", DPL_O_RDWR | DPL_O_TRUNC, ENOENT, nullptr},
        {false, "", DPL_O_CREAT | DPL_O_RDWR, -1, ""},
        {false, "", DPL_O_CREAT | DPL_O_TRUNC | DPL_O_WRONLY, -1, ""},
        {false, "*", DPL_O_CREAT | DPL_O_RDWR, -1, ""},
        {false, "**", DPL_O_CREAT | DPL_O_RDWR, ENOENT, nullptr},
        {true, "", DPL_O_RDONLY, -1, "old"},
        {true, "", DPL_O_WRONLY | DPL_O_TRUNC, -1, ""},
        {true, "", DPL_O_CREAT | DPL_O_TRUNC | DPL_O_WRONLY, -1, ""},
        {true, "", DPL_O_CREAT | DPL_O_RDWR, -1, "old"},
        {true, "**", DPL_O_CREAT | DPL_O_TRUNC | DPL_O_RDWR, -1, "old"},
    };
    const std::string path = dir.file("f");
    for (const auto &c : cases) {
        std::filesystem::remove(path);
        if (c.exists) write_file(path, "old");
        int32_t fd = -1;
        EXPECT_EQ(c.error, DPL_ERRNO_OF(fd = nt_open((c.stars + path).c_str(), c.flags)))
            << c.stars << c.flags;
        EXPECT_EQ(0, fd == -1 ? 0 : nt_close(fd));
        EXPECT_EQ(c.after ? c.after : "no file", std::filesystem::exists(path) ? read_file(path) : "no file")
            << c.stars << c.flags;
    }
    // A missing file is an expected failure; others are reported.
    EXPECT_EQ("", os.standard_output);
    EXPECT_EQ(EEXIST, DPL_ERRNO_OF(nt_open(path.c_str(), DPL_O_CREAT | DPL_O_EXCL | DPL_O_WRONLY)));
    EXPECT_EQ(EACCES, DPL_ERRNO_OF(nt_open(dir.path().string().c_str(), DPL_O_RDONLY)));
    EXPECT_EQ(report("CreateFile()", system_code(80, EEXIST), 349) +
                  report("CreateFile()", system_code(5, EISDIR), 349),
              os.standard_output);
    EXPECT_EQ(EINVAL, DPL_ERRNO_OF(nt_open(nullptr, DPL_O_RDONLY)));
}

TEST_F(FileIoDescriptors, WriteSeekReadRoundTrip) {
    const std::string path = dir.file("data");
    const int32_t fd = nt_open(path.c_str(), DPL_O_CREAT | DPL_O_RDWR);
    ASSERT_NE(-1, fd);
    EXPECT_EQ(11, nt_write(fd, "hello world", 11));
    EXPECT_EQ(6, nt_lseek(fd, 6, DPL_SEEK_SET));
    EXPECT_EQ(8, nt_lseek(fd, 2, DPL_SEEK_CUR));
    EXPECT_EQ(5, nt_lseek(fd, -6, DPL_SEEK_END));
    char text[16] = {};
    EXPECT_EQ(6, nt_read(fd, text, sizeof text));
    EXPECT_EQ(" world", std::string(text));
    EXPECT_EQ(0, nt_read(fd, text, sizeof text));
    EXPECT_EQ(int64_t{5} << 32, nt_lseek(fd, int64_t{5} << 32, DPL_SEEK_SET));
    EXPECT_EQ(0, nt_close(fd));
    EXPECT_EQ("hello world", read_file(path));
    // Appending moves to the end once, when opening.
    const int32_t again = nt_open(path.c_str(), DPL_O_RDWR | DPL_O_APPEND);
    ASSERT_NE(-1, again);
    EXPECT_EQ(1, nt_write(again, "!", 1));
    EXPECT_EQ(0, nt_lseek(again, 0, DPL_SEEK_SET));
    EXPECT_EQ(1, nt_write(again, "H", 1));
    EXPECT_EQ(0, nt_close(again));
    EXPECT_EQ("Hello world!", read_file(path));
    EXPECT_EQ("", os.standard_output);
}

TEST_F(FileIoDescriptors, AppendingWhoseMoveToTheEndFailsGivesNoDescriptor) {
    const std::string path = dir.file("f");
    write_file(path, "x");
    os.seek_fault = 1117;
    EXPECT_EQ(EIO, DPL_ERRNO_OF(nt_open(path.c_str(), DPL_O_WRONLY | DPL_O_APPEND)));
    EXPECT_EQ(1, os.closes);
    // Ending the file there failing is only reported.
    os.seek_fault.reset();
    os.end_fault = 5;
    const int32_t fd = nt_open(path.c_str(), DPL_O_WRONLY | DPL_O_APPEND);
    EXPECT_EQ(0, nt_close(fd));
    EXPECT_EQ(report("SetFilePointer()", "1117", 371) + report("SetEndOfFile()", "5", 378),
              os.standard_output);
}

TEST_F(FileIoDescriptors, BadArgumentsFailSilentlyButRefusedSeeksAreReported) {
    char byte = 0;
    EXPECT_EQ(EBADF, DPL_ERRNO_OF(nt_read(-1, &byte, 1)));
    EXPECT_EQ(EBADF, DPL_ERRNO_OF(nt_write(-1, "x", 1)));
    EXPECT_EQ(EBADF, DPL_ERRNO_OF(nt_close(-1)));
    const int32_t fd = nt_open(dir.file("f").c_str(), DPL_O_CREAT | DPL_O_RDWR);
    ASSERT_NE(-1, fd);
    EXPECT_EQ(EINVAL, DPL_ERRNO_OF(nt_lseek(fd, 0, 3)));
    EXPECT_EQ(EINVAL, DPL_ERRNO_OF(nt_read(fd, nullptr, 1)));
    EXPECT_EQ(EINVAL, DPL_ERRNO_OF(nt_write(fd, nullptr, 1)));
    EXPECT_EQ("", os.standard_output);
    EXPECT_EQ(EBADF, DPL_ERRNO_OF(nt_lseek(fd, -1, DPL_SEEK_SET)));
    EXPECT_EQ(0, nt_close(fd));
    // Descriptor 2 is standard error.
    os.no_standard_error = true;
    EXPECT_EQ(EBADF, DPL_ERRNO_OF(nt_write(2, "lost", 4)));
    EXPECT_EQ(report("SetFilePointer()", system_code(131, EINVAL), 493) + report("GetStdHandle()", "6", 431),
              os.standard_output);
}

TEST_F(FileIoDescriptors, UnlinkRemovesEvenReadOnlyFiles) {
    const std::string path = dir.file("f");
    write_file(path, "x");
    std::filesystem::permissions(path, std::filesystem::perms::owner_read);
    EXPECT_EQ(0, nt_unlink(path.c_str()));
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_EQ(ENOENT, DPL_ERRNO_OF(nt_unlink(path.c_str())));
    EXPECT_EQ(EINVAL, DPL_ERRNO_OF(nt_unlink(nullptr)));
    EXPECT_EQ("", os.standard_output);
    EXPECT_EQ(EACCES, DPL_ERRNO_OF(nt_unlink(dir.path().string().c_str())));
    EXPECT_EQ(report("DeleteFile()", system_code(5, EISDIR), 522), os.standard_output);
}

// The caller's handle and position records of this build.
DplNativeFile native_file(int32_t fd) {
#ifdef _WIN32
    return reinterpret_cast<void *>(static_cast<intptr_t>(fd));
#else
    return fd;
#endif
}

DplOverlapped at_offset(uint32_t offset) {
    DplOverlapped where{};
#ifdef _WIN32
    where.Offset = offset;
#else
    where.offset = offset;
#endif
    return where;
}

TEST_F(FileIoDescriptors, TransfersAtTheRecordsPositionOrTheCurrentOne) {
    const int32_t fd = nt_open(dir.file("f").c_str(), DPL_O_CREAT | DPL_O_RDWR);
    ASSERT_NE(-1, fd);
    DplIoCount done = 0;
    char buffer[8] = {};
    DplOverlapped where = at_offset(10);
    ASSERT_EQ(0, nt_writefile(native_file(fd), "abcdef", 6, &done, &where));
    EXPECT_EQ(6u, done);
    where = at_offset(12);
    ASSERT_EQ(0, nt_readfile(native_file(fd), buffer, 3, &done, &where));
    EXPECT_EQ("cde", std::string(buffer, done));
    ASSERT_EQ(0, nt_lseek(fd, 0, DPL_SEEK_SET));
    ASSERT_EQ(0, nt_writefile(native_file(fd), "XY", 2, &done, nullptr));
    ASSERT_EQ(0, nt_readfile(native_file(fd), buffer, 2, &done, nullptr));
    EXPECT_EQ(std::string(2, '\0'), std::string(buffer, done));
    EXPECT_EQ("XY" + std::string(8, '\0') + "abcdef", read_file(dir.file("f")));
    EXPECT_EQ("", os.standard_output);
    // Neither a count nor a record, or no buffer: nothing to work with.
    EXPECT_EQ(EINVAL, DPL_ERRNO_OF(nt_readfile(native_file(fd), buffer, 4, nullptr, nullptr)));
    EXPECT_EQ(EINVAL, DPL_ERRNO_OF(nt_writefile(native_file(fd), nullptr, 4, &done, nullptr)));
    EXPECT_EQ(EBADF, DPL_ERRNO_OF(nt_readfile(native_file(-1), buffer, 4, &done, nullptr)));
    EXPECT_EQ(report("ReadFile()", system_code(6, EBADF), 640), os.standard_output);

    // The outcomes of overlapped transfers.
    const struct {
        uint32_t code;
        int32_t result;
        int error;
        bool reported;
    } cases[] = {
        {8, -1, EAGAIN, false},   {38, -1, ENXIO, true}, {997, 0, EDEADLK, false},
        {1784, -1, EFAULT, true}, {5, -1, EACCES, true}, {31, -1, 0, true},
    };
    for (const auto &c : cases) {
        os.fault = c.code;
        for (const bool reading : {true, false}) {
            os.standard_output.clear();
            errno = 12345;
            EXPECT_EQ(c.result, reading ? nt_readfile(native_file(fd), buffer, 4, &done, &where)
                                        : nt_writefile(native_file(fd), buffer, 4, &done, &where));
            EXPECT_EQ(c.error, errno) << c.code;
            EXPECT_EQ(c.reported ? report(reading ? "ReadFile()" : "WriteFile()", std::to_string(c.code),
                                          reading ? 640 : 676)
                                 : "",
                      os.standard_output)
                << c.code;
        }
    }
    EXPECT_EQ(0, nt_close(fd));
}

TEST(FileIoErrno, WindowsCodesMapToTheRuntimesErrno) {
    const auto maps_to = [](int32_t error, std::initializer_list<uint32_t> codes) {
        for (const uint32_t code : codes) EXPECT_EQ(error, nt_errno_from_win32(code)) << code;
    };
    maps_to(ENOENT, {2, 3, 20, 55, 161, 267});
    maps_to(EACCES, {5, 32, 33, 65});
    maps_to(EBADF, {6});
    maps_to(ENOMEM, {8, 14, 1453, 1454});
    maps_to(ENXIO, {38});
    maps_to(EBUSY, {54, 148});
    maps_to(EEXIST, {80, 183});
    maps_to(EINVAL, {87});
    maps_to(EIO, {110, 995, 996, 1117});
    maps_to(ENAMETOOLONG, {111});
    maps_to(EDEADLK, {997});
    maps_to(E2BIG, {1455});
    maps_to(EFAULT, {1784});
    maps_to(0, {0, 1, 4, 31, 112, 206, 1452, 1456, 0xFFFFFFFFu});
}

TEST(FileIoErrno, RawDriveNames) {
    for (const char *device :
         {"\\\\.\\PhysicalDrive0", "//./physicaldrive12", "\\\\.\\PHYSICALDRIVE",
          "//./PhysicalDrive0/extra/parts/that/go/on/past/thirty-one", "//./c:", "\\\\.\\C:", "//.//:"}) {
        EXPECT_EQ(1, nt_is_device(device)) << device;
    }
    for (const char *other :
         {"//./c:/x", "//./c:\\", "//./cc:", "//./c", "//./physicaldriv", "//?/PhysicalDrive0",
          "///physicaldrive0", "C:\\x", "", static_cast<const char *>(nullptr)}) {
        EXPECT_EQ(0, nt_is_device(other)) << (other ? other : "(null)");
    }
    // Only the first 31 characters are looked at.
    EXPECT_EQ(0, nt_is_device((std::string(31, 'x') + "//./c:").c_str()));
}

class FileIoStatus : public FileIoDescriptors {
protected:
    void SetUp() override { std::memset(&status, 0xA5, sizeof status); }
    // Zeros apart from the mode and the size.
    bool status_is(int mode, int64_t size) const {
        struct stat expected;
        std::memset(&expected, 0, sizeof expected);
        expected.st_mode = static_cast<decltype(expected.st_mode)>(mode);
        expected.st_size = static_cast<decltype(expected.st_size)>(size);
        return std::memcmp(&expected, &status, sizeof status) == 0;
    }
    struct stat status;
};

TEST_F(FileIoStatus, StatAndFstatGiveModeAndSize) {
    const std::string file = dir.file("f");
    write_file(file, std::string(1234, 'x'));
    const int32_t fd = nt_open(file.c_str(), DPL_O_RDONLY);
    EXPECT_EQ(0, nt_fstat(fd, &status));
    EXPECT_TRUE(status_is(DPL_S_IFREG, 1234));
    // A raw drive is a character device of size zero.
    os.open_as = file;
    EXPECT_EQ(0, nt_stat("\\\\.\\PhysicalDrive0", &status));
    EXPECT_TRUE(status_is(DPL_S_IFCHR, 0));
    os.open_as.clear();
    errno = 77;
    EXPECT_EQ(0, nt_stat(file.c_str(), &status));
    EXPECT_EQ(0, errno);
    EXPECT_TRUE(status_is(DPL_S_IFREG, 1234));
    EXPECT_EQ(2, os.closes);
    // A failure without an errno of its own is reported as invalid; others keep theirs.
    os.fault = 31;
    EXPECT_EQ(EINVAL, DPL_ERRNO_OF(nt_fstat(fd, &status)));
    os.fault = 1117;
    EXPECT_EQ(EIO, DPL_ERRNO_OF(nt_stat(file.c_str(), &status)));
    EXPECT_EQ(3, os.closes);
    EXPECT_EQ(report("GetFileInformationByHandle", "31", 546), os.standard_output);
    EXPECT_EQ(0, nt_close(fd));
    EXPECT_EQ(EINVAL, DPL_ERRNO_OF(nt_fstat(fd, nullptr)));
    EXPECT_EQ(ENOENT, DPL_ERRNO_OF(nt_stat(dir.file("absent").c_str(), &status)));
}

TEST_F(FileIoStatus, AccessModes) {
    const std::string file = dir.file("f");
    write_file(file, "x");
    for (const int32_t mode : {0, 1, 2, 4, 6, 7, 0x10 | 4})
        EXPECT_EQ(0, nt_access(file.c_str(), mode)) << mode;
    EXPECT_EQ(0, nt_access(dir.path().string().c_str(), DPL_R_OK));
    EXPECT_EQ(ENOENT, DPL_ERRNO_OF(nt_access(dir.file("absent").c_str(), DPL_F_OK)));
    EXPECT_EQ(EINVAL, DPL_ERRNO_OF(nt_access(nullptr, DPL_F_OK)));
    // Execution cannot be tested: refused before the file is looked at.
    for (const int32_t mode : {3, 5, 8 | 3, 8 | 5})
        EXPECT_EQ(EACCES, DPL_ERRNO_OF(nt_access(dir.file("absent").c_str(), mode)));
}

}  // namespace
}  // namespace dpl::test
