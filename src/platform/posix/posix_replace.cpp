// Whole-file replacement on POSIX: the new file is put on the disk, renamed
// over the old one, and the directory that holds both is put on the disk too,
// so that after a crash the name points at one complete file.
#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <cerrno>
#include <limits>
#include <memory>

#include "platform/posix/posix_fileio.hpp"

namespace dpl::platform::posix {
namespace {

bool fail_with_errno(SysError *error) {
    const int error_number = errno;
    if (error != nullptr) {
        error->native = static_cast<uint32_t>(error_number);
        error->win32 = win32_code_of(error_number);
    }
    return false;
}

std::string directory_of(const std::string &path) {
    const std::size_t slash = path.rfind('/');
    if (slash == std::string::npos) return ".";
    if (slash == 0) return "/";
    return path.substr(0, slash);
}

// A rename is only as durable as the directory entry that records it.
// File systems that cannot flush a directory answer EINVAL; the rename has
// then been made as durable as they allow.
bool sync_directory(const std::string &path, SysError *error) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) return fail_with_errno(error);
    int rc = 0;
    do {
        rc = ::fsync(fd);
    } while (rc != 0 && errno == EINTR);
    const bool synced = rc == 0 || errno == EINVAL;
    if (!synced) fail_with_errno(error);
    ::close(fd);
    return synced;
}

}  // namespace

bool list_directory(const std::string &path, std::vector<std::string> *names, SysError *error) {
    struct CloseDirectory {
        void operator()(DIR *directory) const { ::closedir(directory); }
    };
    // Closed also when a name cannot be stored.
    const std::unique_ptr<DIR, CloseDirectory> directory(::opendir(path.c_str()));
    if (!directory) return fail_with_errno(error);
    names->clear();
    errno = 0;
    while (const dirent *entry = ::readdir(directory.get())) {
        const std::string name = entry->d_name;
        if (name != "." && name != "..") names->push_back(name);
    }
    if (errno != 0) return fail_with_errno(error);
    return true;
}

bool process_running(uint32_t process_id) {
    // 0 and values beyond pid_t would address process groups or nothing.
    if (process_id == 0 || process_id > static_cast<uint32_t>(std::numeric_limits<pid_t>::max()))
        return false;
    return ::kill(static_cast<pid_t>(process_id), 0) == 0 || errno == EPERM;
}

bool flush_file(FileHandle file, SysError *error) {
    int rc = 0;
    do {
        rc = ::fsync(static_cast<int>(file));
    } while (rc != 0 && errno == EINTR);
    if (rc != 0) return fail_with_errno(error);
    return true;
}

bool replace_file(const std::string &replacement, const std::string &target, SysError *error) {
    struct stat old {};
    if (::stat(target.c_str(), &old) == 0 && S_ISREG(old.st_mode)) {
        // Only a privileged process may hand a file to another owner; any
        // other keeps the file as its own, as a rewrite in place would not.
        // The owner goes first: changing it clears the set-id bits.
        if (::chown(replacement.c_str(), old.st_uid, old.st_gid) != 0) {
            errno = 0;
        }
        if (::chmod(replacement.c_str(), old.st_mode & 07777) != 0) return fail_with_errno(error);
    }
    if (::rename(replacement.c_str(), target.c_str()) != 0) return fail_with_errno(error);
    return sync_directory(directory_of(target), error);
}

}  // namespace dpl::platform::posix
