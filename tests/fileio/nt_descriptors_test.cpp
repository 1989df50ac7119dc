#include <filesystem>
#include <string>

#include "fileio/fileio_fixture.hpp"

namespace dpl::test {
namespace {

class FileIoDescriptors : public FileIoTest {
protected:
    std::string read_back(int32_t fd, uint32_t count) {
        std::string text(count, '\0');
        const int32_t got = nt_read(fd, text.data(), count);
        if (got < 0) return "<failed>";
        text.resize(static_cast<std::size_t>(got));
        return text;
    }
};

TEST_F(FileIoDescriptors, MissingFileWithoutCreateIsSilent) {
    EXPECT_EQ(-1, nt_open(dir.file("absent").c_str(), DPL_O_RDONLY));
    EXPECT_EQ(ENOENT, errno);
    errno = 0;
    EXPECT_EQ(-1, nt_open((dir.file("absent") + "/below").c_str(), DPL_O_RDWR | DPL_O_TRUNC));
    EXPECT_EQ(ENOENT, errno);
    EXPECT_EQ("", os.standard_output);
}

TEST_F(FileIoDescriptors, ExclusiveCreateOfAnExistingFileIsReported) {
    write_file(dir.file("there"), "x");
    EXPECT_EQ(-1, nt_open(dir.file("there").c_str(), DPL_O_CREAT | DPL_O_EXCL | DPL_O_WRONLY));
    EXPECT_EQ(EEXIST, errno);
    EXPECT_EQ(report("CreateFile()", system_code(80, EEXIST), 349), os.standard_output);
}

TEST_F(FileIoDescriptors, ADirectoryIsNoFileForThisLayer) {
    EXPECT_EQ(-1, nt_open(dir.path().string().c_str(), DPL_O_RDONLY));
    EXPECT_EQ(EACCES, errno);
    EXPECT_EQ(report("CreateFile()", system_code(5, EISDIR), 349), os.standard_output);
}

TEST_F(FileIoDescriptors, StarsAskForUnbufferedAccessAndTwoForAnExistingFile) {
    const std::string path = dir.file("starred");
    EXPECT_EQ(-1, nt_open(("**" + path).c_str(), DPL_O_CREAT | DPL_O_RDWR));
    EXPECT_EQ(ENOENT, errno);
    EXPECT_FALSE(std::filesystem::exists(path));
    const int32_t fd = nt_open(("*" + path).c_str(), DPL_O_CREAT | DPL_O_RDWR);
    ASSERT_NE(-1, fd);
    EXPECT_TRUE(std::filesystem::exists(path));
    EXPECT_EQ(0, nt_close(fd));
    write_file(path, "content");
    // "**" never truncates either: the file is always opened as it is.
    const int32_t again = nt_open(("**" + path).c_str(), DPL_O_CREAT | DPL_O_TRUNC | DPL_O_RDWR);
    ASSERT_NE(-1, again);
    EXPECT_EQ(0, nt_close(again));
    EXPECT_EQ("content", read_file(path));
    EXPECT_EQ("", os.standard_output);
}

TEST_F(FileIoDescriptors, ReadWriteSeekAndClose) {
    const std::string path = dir.file("data");
    const int32_t fd = nt_open(path.c_str(), DPL_O_CREAT | DPL_O_RDWR);
    ASSERT_NE(-1, fd);
    EXPECT_EQ(11, nt_write(fd, "hello world", 11));
    EXPECT_EQ(0, nt_lseek(fd, 0, DPL_SEEK_SET));
    EXPECT_EQ("hello", read_back(fd, 5));
    EXPECT_EQ(5, nt_lseek(fd, 0, DPL_SEEK_CUR));
    EXPECT_EQ(11, nt_lseek(fd, 0, DPL_SEEK_END));
    EXPECT_EQ(8, nt_lseek(fd, -3, DPL_SEEK_END));
    EXPECT_EQ("rld", read_back(fd, 100));
    EXPECT_EQ("", read_back(fd, 100));
    EXPECT_EQ(int64_t{5} << 32, nt_lseek(fd, int64_t{5} << 32, DPL_SEEK_SET));
    EXPECT_EQ(0, nt_write(fd, "", 0));
    EXPECT_EQ(0, nt_close(fd));
    EXPECT_EQ("hello world", read_file(path));
    EXPECT_EQ("", os.standard_output);
}

TEST_F(FileIoDescriptors, CreateTruncateAndAppendDispositions) {
    const std::string path = dir.file("f");
    write_file(path, "old text");
    int32_t fd = nt_open(path.c_str(), DPL_O_WRONLY | DPL_O_APPEND);
    ASSERT_NE(-1, fd);
    EXPECT_EQ(1, nt_write(fd, "!", 1));
    EXPECT_EQ(0, nt_close(fd));
    EXPECT_EQ("old text!", read_file(path));
    // Append moves to the end once, when opening.
    fd = nt_open(path.c_str(), DPL_O_RDWR | DPL_O_APPEND);
    ASSERT_NE(-1, fd);
    EXPECT_EQ(0, nt_lseek(fd, 0, DPL_SEEK_SET));
    EXPECT_EQ(3, nt_write(fd, "OLD", 3));
    EXPECT_EQ(0, nt_close(fd));
    EXPECT_EQ("OLD text!", read_file(path));
    fd = nt_open(path.c_str(), DPL_O_WRONLY | DPL_O_TRUNC);
    ASSERT_NE(-1, fd);
    EXPECT_EQ(0, nt_close(fd));
    EXPECT_EQ("", read_file(path));
    EXPECT_EQ(-1, nt_open(dir.file("not-yet").c_str(), DPL_O_WRONLY | DPL_O_TRUNC));
    fd = nt_open(dir.file("not-yet").c_str(), DPL_O_CREAT | DPL_O_TRUNC | DPL_O_WRONLY);
    ASSERT_NE(-1, fd);
    EXPECT_EQ(0, nt_close(fd));
    EXPECT_TRUE(std::filesystem::exists(dir.file("not-yet")));
    EXPECT_EQ("", os.standard_output);
}

TEST_F(FileIoDescriptors, AppendWhoseMoveToTheEndFailsGivesNoDescriptor) {
    const std::string path = dir.file("f");
    write_file(path, "x");
    os.seek_error = platform::SysError{1117, 1117};
    EXPECT_EQ(-1, nt_open(path.c_str(), DPL_O_WRONLY | DPL_O_APPEND));
    EXPECT_EQ(EIO, errno);
    EXPECT_EQ(1, os.closes);
    EXPECT_EQ(report("SetFilePointer()", "1117", 371), os.standard_output);
    // Ending the file there failing is only reported.
    os.seek_error.reset();
    os.end_error = platform::SysError{5, 5};
    os.standard_output.clear();
    const int32_t fd = nt_open(path.c_str(), DPL_O_WRONLY | DPL_O_APPEND);
    ASSERT_NE(-1, fd);
    EXPECT_EQ(report("SetEndOfFile()", "5", 378), os.standard_output);
    EXPECT_EQ(0, nt_close(fd));
}

TEST_F(FileIoDescriptors, BadDescriptorsAndWhenceFailSilently) {
    char byte = 0;
    EXPECT_EQ(-1, nt_read(-1, &byte, 1));
    EXPECT_EQ(EBADF, errno);
    errno = 0;
    EXPECT_EQ(-1, nt_write(-1, "x", 1));
    EXPECT_EQ(EBADF, errno);
    errno = 0;
    EXPECT_EQ(-1, nt_close(-1));
    EXPECT_EQ(EBADF, errno);
    const int32_t fd = nt_open(dir.file("f").c_str(), DPL_O_CREAT | DPL_O_RDWR);
    ASSERT_NE(-1, fd);
    errno = 0;
    EXPECT_EQ(-1, nt_lseek(fd, 0, 3));
    EXPECT_EQ(EINVAL, errno);
    EXPECT_EQ(-1, nt_lseek(fd, 0, -1));
    EXPECT_EQ(-1, nt_read(fd, nullptr, 1));
    EXPECT_EQ(EINVAL, errno);
    EXPECT_EQ(-1, nt_write(fd, nullptr, 1));
    EXPECT_EQ(-1, nt_open(nullptr, DPL_O_RDONLY));
    EXPECT_EQ(EINVAL, errno);
    EXPECT_EQ(0, nt_close(fd));
    EXPECT_EQ("", os.standard_output);
}

TEST_F(FileIoDescriptors, SeekFailuresAreReportedAsBadDescriptors) {
    EXPECT_EQ(-1, nt_lseek(-1, 0, DPL_SEEK_SET));
    EXPECT_EQ(EBADF, errno);
    EXPECT_EQ(report("SetFilePointer()", system_code(6, EBADF), 493), os.standard_output);
    const int32_t fd = nt_open(dir.file("f").c_str(), DPL_O_CREAT | DPL_O_RDWR);
    ASSERT_NE(-1, fd);
    os.standard_output.clear();
    errno = 0;
    EXPECT_EQ(-1, nt_lseek(fd, -1, DPL_SEEK_SET));
    EXPECT_EQ(EBADF, errno);
    EXPECT_EQ(report("SetFilePointer()", system_code(131, EINVAL), 493), os.standard_output);
    EXPECT_EQ(0, nt_close(fd));
}

TEST_F(FileIoDescriptors, StandardOutputAndErrorByNumber) {
    EXPECT_EQ(4, nt_write(1, "out\n", 4));
    EXPECT_EQ(4, nt_write(2, "err\n", 4));
    EXPECT_EQ("out\n", os.written_out);
    EXPECT_EQ("err\n", os.written_err);
    os.no_standard_error = true;
    EXPECT_EQ(-1, nt_write(2, "lost", 4));
    EXPECT_EQ(EBADF, errno);
    EXPECT_EQ(report("GetStdHandle()", "6", 431), os.standard_output);
    EXPECT_EQ("err\n", os.written_err);
}

TEST_F(FileIoDescriptors, UnlinkRemovesEvenReadOnlyFiles) {
    const std::string path = dir.file("f");
    write_file(path, "x");
    std::filesystem::permissions(path, std::filesystem::perms::owner_read);
    EXPECT_EQ(0, nt_unlink(path.c_str()));
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_EQ(-1, nt_unlink(path.c_str()));
    EXPECT_EQ(ENOENT, errno);
    EXPECT_EQ("", os.standard_output);
    EXPECT_EQ(-1, nt_unlink(nullptr));
    EXPECT_EQ(EINVAL, errno);
    // A directory is no file to delete.
    errno = 0;
    EXPECT_EQ(-1, nt_unlink(dir.path().string().c_str()));
    EXPECT_EQ(EACCES, errno);
    EXPECT_EQ(report("DeleteFile()", system_code(5, EISDIR), 522), os.standard_output);
    EXPECT_TRUE(std::filesystem::is_directory(dir.path()));
}

}  // namespace
}  // namespace dpl::test
