#include <cstring>
#include <filesystem>
#include <string>

#include "fileio/fileio_fixture.hpp"

namespace dpl::test {
namespace {

class FileIoStatus : public FileIoTest {
protected:
    // A record full of noise, so that zeroing shows.
    static struct stat noisy() {
        struct stat status;
        std::memset(&status, 0xA5, sizeof status);
        return status;
    }
    static bool zero_apart_from_mode_and_size(struct stat status) {
        status.st_mode = 0;
        status.st_size = 0;
        struct stat zero;
        std::memset(&zero, 0, sizeof zero);
        return std::memcmp(&status, &zero, sizeof status) == 0;
    }
};

// Lets any path open as the given file, so that raw-drive names can be tried.
class EveryPathOpens : public FaultyFiles {
public:
    explicit EveryPathOpens(std::string real) : real_(std::move(real)) {}
    FileHandle open_descriptor(const std::string &path, const platform::DescriptorOpen &options,
                               SysError *error) override {
        opened = path;
        return FaultyFiles::open_descriptor(real_, options, error);
    }
    std::string opened;

private:
    std::string real_;
};

TEST_F(FileIoStatus, FstatFillsOnlyModeAndSize) {
    write_file(dir.file("f"), std::string(1234, 'x'));
    const int32_t fd = nt_open(dir.file("f").c_str(), DPL_O_RDONLY);
    ASSERT_NE(-1, fd);
    struct stat status = noisy();
    EXPECT_EQ(0, nt_fstat(fd, &status));
    EXPECT_EQ(DPL_S_IFREG, static_cast<int>(status.st_mode));
    EXPECT_EQ(1234, static_cast<int64_t>(status.st_size));
    EXPECT_TRUE(zero_apart_from_mode_and_size(status));
    EXPECT_EQ(-1, nt_fstat(fd, nullptr));
    EXPECT_EQ(EINVAL, errno);
    EXPECT_EQ(0, nt_close(fd));
    errno = 0;
    EXPECT_EQ(-1, nt_fstat(-1, &status));
    EXPECT_EQ(EBADF, errno);
    EXPECT_EQ("", os.standard_output);
}

TEST_F(FileIoStatus, FstatFailureWithoutAnErrnoIsReportedAsInvalid) {
    write_file(dir.file("f"), "x");
    const int32_t fd = nt_open(dir.file("f").c_str(), DPL_O_RDONLY);
    ASSERT_NE(-1, fd);
    os.size_error = platform::SysError{31, 31};
    struct stat status = noisy();
    EXPECT_EQ(-1, nt_fstat(fd, &status));
    EXPECT_EQ(EINVAL, errno);
    EXPECT_EQ(report("GetFileInformationByHandle", "31", 546), os.standard_output);
    // A failure that maps stays silent and keeps its errno.
    os.standard_output.clear();
    os.size_error = platform::SysError{1117, 1117};
    EXPECT_EQ(-1, nt_fstat(fd, &status));
    EXPECT_EQ(EIO, errno);
    EXPECT_EQ("", os.standard_output);
    os.size_error.reset();
    EXPECT_EQ(0, nt_close(fd));
}

TEST_F(FileIoStatus, StatByPath) {
    write_file(dir.file("f"), "12345");
    struct stat status = noisy();
    errno = 77;
    EXPECT_EQ(0, nt_stat(dir.file("f").c_str(), &status));
    EXPECT_EQ(0, errno);
    EXPECT_EQ(DPL_S_IFREG, static_cast<int>(status.st_mode));
    EXPECT_EQ(5, static_cast<int64_t>(status.st_size));
    EXPECT_TRUE(zero_apart_from_mode_and_size(status));
    EXPECT_EQ(1, os.closes);
    EXPECT_EQ(-1, nt_stat(dir.file("absent").c_str(), &status));
    EXPECT_EQ(ENOENT, errno);
    EXPECT_EQ(-1, nt_stat(nullptr, &status));
    EXPECT_EQ(-1, nt_stat(dir.file("f").c_str(), nullptr));
    EXPECT_EQ(EINVAL, errno);
    EXPECT_EQ("", os.standard_output);
}

TEST_F(FileIoStatus, StatOfARawDriveIsACharacterDeviceOfSizeZero) {
    write_file(dir.file("disk"), "not empty");
    EveryPathOpens drive(dir.file("disk"));
    struct stat status = noisy();
    EXPECT_EQ(0, nt_stat("\\\\.\\PhysicalDrive0", &status));
    EXPECT_EQ("\\\\.\\PhysicalDrive0", drive.opened);
    EXPECT_EQ(DPL_S_IFCHR, static_cast<int>(status.st_mode));
    EXPECT_EQ(0, static_cast<int64_t>(status.st_size));
    EXPECT_TRUE(zero_apart_from_mode_and_size(status));
    EXPECT_EQ(1, drive.closes);
    // The status query failing is the status call's errno after closing.
    drive.size_error = platform::SysError{5, 5};
    EXPECT_EQ(-1, nt_stat("C:\\pagefile.sys", &status));
    EXPECT_EQ(EACCES, errno);
    EXPECT_EQ(2, drive.closes);
}

TEST_F(FileIoStatus, AccessModes) {
    write_file(dir.file("f"), "x");
    const std::string file = dir.file("f");
    for (const int32_t mode : {0, 1, 2, 4, 6, 7, 0x10 | 4}) {
        errno = 0;
        EXPECT_EQ(0, nt_access(file.c_str(), mode)) << mode;
        EXPECT_EQ(0, errno) << mode;
    }
    // Directories can be tested too.
    EXPECT_EQ(0, nt_access(dir.path().string().c_str(), DPL_F_OK));
    EXPECT_EQ(0, nt_access(dir.path().string().c_str(), DPL_R_OK));
    EXPECT_EQ(-1, nt_access(dir.file("absent").c_str(), DPL_F_OK));
    EXPECT_EQ(ENOENT, errno);
    EXPECT_EQ(-1, nt_access(nullptr, DPL_F_OK));
    EXPECT_EQ(EINVAL, errno);
    EXPECT_EQ("", os.standard_output);
}

TEST_F(FileIoStatus, ExecutionModesFailWithoutTouchingTheFile) {
    const int checks_before = os.access_checks;
    for (const int32_t mode : {3, 5, 8 | 3, 8 | 5}) {
        errno = 0;
        EXPECT_EQ(-1, nt_access(dir.file("absent").c_str(), mode)) << mode;
        EXPECT_EQ(EACCES, errno) << mode;
    }
    EXPECT_EQ(checks_before, os.access_checks);
}

}  // namespace
}  // namespace dpl::test
