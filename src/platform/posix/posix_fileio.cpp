// File-system and descriptor calls on POSIX: stat, mkdir, open, pread and
// friends, each failure reported as errno plus its nearest Windows code.
#include "platform/posix/posix_fileio.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <limits>

namespace dpl::platform::posix {

int access_flags(bool read, bool write, Disposition disposition) {
    int flags = O_CLOEXEC;
    if (read && write) {
        flags |= O_RDWR;
    } else if (write) {
        flags |= O_WRONLY;
    } else {
        flags |= O_RDONLY;
    }
    switch (disposition) {
        case Disposition::CreateNew:
            flags |= O_CREAT | O_EXCL;
            break;
        case Disposition::CreateAlways:
            flags |= O_CREAT | O_TRUNC;
            break;
        case Disposition::OpenExisting:
            break;
        case Disposition::OpenAlways:
            flags |= O_CREAT;
            break;
        case Disposition::TruncateExisting:
            flags |= O_TRUNC;
            break;
    }
    return flags;
}

namespace {

int descriptor(FileHandle file) {
    // Anything that is no int is no descriptor either; -1 makes the call fail with EBADF.
    if (file < std::numeric_limits<int>::min() || file > std::numeric_limits<int>::max()) return -1;
    return static_cast<int>(file);
}

bool fail(SysError *error, int error_number) {
    if (error != nullptr) {
        error->native = static_cast<uint32_t>(error_number);
        error->win32 = win32_code_of(error_number);
    }
    return false;
}

bool fail_with_errno(SysError *error) {
    return fail(error, errno);
}

int open_flags(const DescriptorOpen &options) {
    int flags = access_flags(options.read, options.write, options.disposition);
    if (options.write_through) flags |= O_DSYNC;
    return flags;
}

int open_retrying(const std::string &path, int flags) {
    int fd = -1;
    do {
        fd = ::open(path.c_str(), flags, 0666);
    } while (fd < 0 && errno == EINTR);
    return fd;
}

// A transfer of at most what the result type can report.
std::size_t bounded(uint32_t count) {
    constexpr uint32_t kMax = static_cast<uint32_t>(std::numeric_limits<int32_t>::max());
    return count > kMax ? kMax : count;
}

}  // namespace

uint32_t win32_code_of(int error_number) {
    switch (error_number) {
        case 0:
            return 0;
        case ENOENT:
            return 2;  // ERROR_FILE_NOT_FOUND
        case ENOTDIR:
            return 3;  // ERROR_PATH_NOT_FOUND
        case EMFILE:
        case ENFILE:
            return 4;  // ERROR_TOO_MANY_OPEN_FILES
        case EACCES:
        case EPERM:
        case EISDIR:
            return 5;  // ERROR_ACCESS_DENIED
        case EBADF:
            return 6;  // ERROR_INVALID_HANDLE
        case ENOMEM:
            return 8;  // ERROR_NOT_ENOUGH_MEMORY
        case EXDEV:
            return 17;  // ERROR_NOT_SAME_DEVICE
        case EROFS:
            return 19;  // ERROR_WRITE_PROTECT
        case ETXTBSY:
            return 32;  // ERROR_SHARING_VIOLATION
        case EEXIST:
            return 80;  // ERROR_FILE_EXISTS
        case EINVAL:
            return 87;  // ERROR_INVALID_PARAMETER
        case ENAMETOOLONG:
            return 111;  // ERROR_BUFFER_OVERFLOW: "The file name is too long."
        case ENOSPC:
            return 112;  // ERROR_DISK_FULL
        case ENOTEMPTY:
            return 145;  // ERROR_DIR_NOT_EMPTY
        case EBUSY:
            return 148;  // ERROR_PATH_BUSY
        case EIO:
            return 1117;  // ERROR_IO_DEVICE
        case EFAULT:
            return 1784;  // ERROR_INVALID_USER_BUFFER
        case ELOOP:
            return 1921;  // ERROR_CANT_RESOLVE_FILENAME
        default:
            return 31;  // ERROR_GEN_FAILURE
    }
}

bool path_status(const std::string &path, PathStatus *status, SysError *error) {
    struct stat info {};
    if (::stat(path.c_str(), &info) != 0) return fail_with_errno(error);
    if (status != nullptr) {
        status->kind = S_ISDIR(info.st_mode) ? PathKind::Directory : PathKind::File;
        status->size = info.st_size > 0 ? static_cast<uint64_t>(info.st_size) : 0;
    }
    return true;
}

bool create_directory(const std::string &path, SysError *error) {
    if (::mkdir(path.c_str(), 0777) != 0) return fail_with_errno(error);
    return true;
}

FileHandle open_descriptor(const std::string &path, const DescriptorOpen &options, SysError *error) {
    const int flags = open_flags(options);
    int fd = -1;
#if defined(O_DIRECT)
    // File systems that cannot bypass their cache refuse O_DIRECT; the file
    // is then opened cached rather than not at all.
    if (options.no_buffering) {
        fd = open_retrying(path, flags | O_DIRECT);
        if (fd < 0 && errno != EINVAL) {
            fail_with_errno(error);
            return kNoFile;
        }
    }
#endif
    if (fd < 0) fd = open_retrying(path, flags);
    if (fd < 0) {
        fail_with_errno(error);
        return kNoFile;
    }
    // CreateFile refuses a directory here; so does this layer.
    struct stat info {};
    if (::fstat(fd, &info) == 0 && S_ISDIR(info.st_mode)) {
        ::close(fd);
        fail(error, EISDIR);
        return kNoFile;
    }
    return fd;
}

bool access_path(const std::string &path, bool read, bool write, SysError *error) {
    int mode = F_OK;
    if (read) mode |= R_OK;
    if (write) mode |= W_OK;
    if (::access(path.c_str(), mode) != 0) return fail_with_errno(error);
    return true;
}

bool read_once(FileHandle file, void *buffer, uint32_t count, uint32_t *done, SysError *error) {
    if (done != nullptr) *done = 0;
    ssize_t got = -1;
    do {
        got = ::read(descriptor(file), buffer, bounded(count));
    } while (got < 0 && errno == EINTR);
    if (got < 0) return fail_with_errno(error);
    if (done != nullptr) *done = static_cast<uint32_t>(got);
    return true;
}

bool write_once(FileHandle file, const void *data, uint32_t count, uint32_t *done, SysError *error) {
    if (done != nullptr) *done = 0;
    ssize_t put = -1;
    do {
        put = ::write(descriptor(file), data, bounded(count));
    } while (put < 0 && errno == EINTR);
    if (put < 0) return fail_with_errno(error);
    if (done != nullptr) *done = static_cast<uint32_t>(put);
    return true;
}

bool read_at(FileHandle file, void *buffer, uint32_t count, DplIoCount *done, DplOverlapped *where,
             SysError *error) {
    if (where == nullptr) return read_once(file, buffer, count, done, error);
    if (done != nullptr) *done = 0;
    ssize_t got = -1;
    do {
        got = ::pread(descriptor(file), buffer, bounded(count), static_cast<off_t>(where->offset));
    } while (got < 0 && errno == EINTR);
    if (got < 0) return fail_with_errno(error);
    if (done != nullptr) *done = static_cast<DplIoCount>(got);
    return true;
}

bool write_at(FileHandle file, const void *data, uint32_t count, DplIoCount *done, DplOverlapped *where,
              SysError *error) {
    if (where == nullptr) return write_once(file, data, count, done, error);
    if (done != nullptr) *done = 0;
    ssize_t put = -1;
    do {
        put = ::pwrite(descriptor(file), data, bounded(count), static_cast<off_t>(where->offset));
    } while (put < 0 && errno == EINTR);
    if (put < 0) return fail_with_errno(error);
    if (done != nullptr) *done = static_cast<DplIoCount>(put);
    return true;
}

bool seek(FileHandle file, int64_t offset, SeekFrom from, int64_t *position, SysError *error) {
    const int whence = from == SeekFrom::Start ? SEEK_SET : (from == SeekFrom::Current ? SEEK_CUR : SEEK_END);
    const off_t reached = ::lseek(descriptor(file), static_cast<off_t>(offset), whence);
    if (reached < 0) return fail_with_errno(error);
    if (position != nullptr) *position = static_cast<int64_t>(reached);
    return true;
}

bool set_end_of_file(FileHandle file, SysError *error) {
    const int fd = descriptor(file);
    const off_t here = ::lseek(fd, 0, SEEK_CUR);
    if (here < 0 || ::ftruncate(fd, here) != 0) return fail_with_errno(error);
    return true;
}

bool file_size(FileHandle file, uint64_t *size, SysError *error) {
    struct stat info {};
    if (::fstat(descriptor(file), &info) != 0) return fail_with_errno(error);
    if (size != nullptr) *size = info.st_size > 0 ? static_cast<uint64_t>(info.st_size) : 0;
    return true;
}

bool close_descriptor(FileHandle file, SysError *error) {
    // close is not retried: after EINTR the descriptor is already gone on Linux.
    if (::close(descriptor(file)) != 0) return fail_with_errno(error);
    return true;
}

bool delete_file(const std::string &path, SysError *error) {
    if (::unlink(path.c_str()) != 0) return fail_with_errno(error);
    return true;
}

bool remove_directory(const std::string &path, SysError *error) {
    if (::rmdir(path.c_str()) != 0) return fail_with_errno(error);
    return true;
}

}  // namespace dpl::platform::posix
