// The POSIX backend. Files are plain descriptors; machine state that Windows
// keeps in the system (services database, registry) lives in files under the
// machine root given by DPL_SYSROOT ("/" when unset).
#include <fcntl.h>
#include <sys/file.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "platform/platform.hpp"
#include "platform/posix/posix_fileio.hpp"
#include "platform/posix/posix_markers.hpp"
#include "platform/posix/posix_network.hpp"
#include "platform/posix/posix_registry.hpp"
#include "platform/posix/posix_shell.hpp"

namespace dpl::platform {
namespace {

int descriptor(FileHandle file) {
    return static_cast<int>(file);
}

int open_flags(const OpenOptions &options) {
    const int flags = posix::access_flags(options.read, options.write, options.disposition);
    // Share modes have no POSIX counterpart: other processes always may open
    // the file; writers coordinate through lock_file. Write-through is left
    // to the page cache, which every process sees at once.
    return flags;
}

std::string machine_root() {
    const char *root = std::getenv("DPL_SYSROOT");
    std::string path = (root != nullptr && root[0] != '\0') ? root : "/";
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    return path;
}

class PosixPlatform final : public Platform {
public:
    FileHandle open_file(const std::string &path, const OpenOptions &options, uint32_t *error) override {
        int fd = -1;
        do {
            fd = ::open(path.c_str(), open_flags(options), 0666);
        } while (fd < 0 && errno == EINTR);
        if (fd < 0) {
            if (error != nullptr) *error = static_cast<uint32_t>(errno);
            return kNoFile;
        }
        if (error != nullptr) *error = 0;
        return fd;
    }

    FileHandle std_handle(StdStream stream) override {
        return stream == StdStream::Output ? STDOUT_FILENO : STDERR_FILENO;
    }

    LockResult lock_file(FileHandle file) override {
        if (::flock(descriptor(file), LOCK_EX | LOCK_NB) == 0) return LockResult::Locked;
        return (errno == EWOULDBLOCK || errno == EINTR) ? LockResult::Busy : LockResult::Unsupported;
    }

    bool unlock_file(FileHandle file) override { return ::flock(descriptor(file), LOCK_UN) == 0; }

    bool seek_to_end(FileHandle file) override { return ::lseek(descriptor(file), 0, SEEK_END) >= 0; }

    bool write_file(FileHandle file, const void *data, std::size_t size) override {
        const auto *bytes = static_cast<const char *>(data);
        while (size > 0) {
            const ssize_t written = ::write(descriptor(file), bytes, size);
            if (written < 0) {
                if (errno == EINTR) continue;
                return false;
            }
            bytes += written;
            size -= static_cast<std::size_t>(written);
        }
        return true;
    }

    uint32_t close_file(FileHandle file) override {
        if (::close(descriptor(file)) != 0) return static_cast<uint32_t>(errno);
        return 0;
    }

    bool read_file(FileHandle file, void *buffer, std::size_t size, std::size_t *read) override {
        ssize_t got = -1;
        do {
            got = ::read(descriptor(file), buffer, size);
        } while (got < 0 && errno == EINTR);
        if (read != nullptr) *read = got > 0 ? static_cast<std::size_t>(got) : 0;
        return got >= 0;
    }

    const char *text_line_end() override { return "\n"; }

    bool resolve_host(const std::string &name) override { return posix::resolve_host(name); }
    PortProbe probe_tcp_port(uint16_t port, uint32_t *error) override {
        return posix::probe_tcp_port(port, error);
    }
    ServiceQuery query_service(const std::string &name, uint32_t *error) override {
        return posix::query_service(machine_root(), name, error);
    }

    std::optional<std::string> get_env(const std::string &name) override {
        const char *value = std::getenv(name.c_str());
        if (value == nullptr) return std::nullopt;
        return std::string(value);
    }

    uint32_t process_id() override { return static_cast<uint32_t>(::getpid()); }

    uint32_t thread_id() override {
#if defined(SYS_gettid)
        return static_cast<uint32_t>(::syscall(SYS_gettid));
#else
        return static_cast<uint32_t>(::getpid());
#endif
    }

    bool local_time(std::tm *out) override {
        const time_t now = ::time(nullptr);
        return now != static_cast<time_t>(-1) && ::localtime_r(&now, out) != nullptr;
    }

    void sleep_ms(uint32_t milliseconds) override {
        timespec pause{static_cast<time_t>(milliseconds / 1000),
                       static_cast<long>(milliseconds % 1000) * 1000000L};
        while (::nanosleep(&pause, &pause) != 0 && errno == EINTR) {
        }
    }

    int last_errno() override {
        return errno;
    }

    std::string services_database_path() override {
        const std::string root = machine_root();
        return (root == "/" ? std::string() : root) + "/etc/services";
    }

    uint32_t reg_connect(const std::string &machine, RegKey root, RegKey *out) override {
        return registry_.reg_connect(machine, root, out);
    }
    uint32_t reg_open_key(RegKey parent, const std::string &path, RegView view, RegKey *out) override {
        return registry_.reg_open_key(parent, path, view, out);
    }
    uint32_t reg_create_key(RegKey parent, const std::string &path, RegView view, RegKey *out) override {
        return registry_.reg_create_key(parent, path, view, out);
    }
    uint32_t reg_close_key(RegKey key) override {
        return registry_.reg_close_key(key);
    }
    uint32_t reg_query_info(RegKey key, RegKeyInfo *info) override {
        return registry_.reg_query_info(key, info);
    }
    uint32_t reg_enum_key(RegKey key, uint32_t index, std::string *name) override {
        return registry_.reg_enum_key(key, index, name);
    }
    uint32_t reg_enum_value(RegKey key, uint32_t index, std::string *name, RegValue *value) override {
        return registry_.reg_enum_value(key, index, name, value);
    }
    uint32_t reg_query_value(RegKey key, const std::string &name, RegValue *value) override {
        return registry_.reg_query_value(key, name, value);
    }
    uint32_t reg_set_value(RegKey key, const std::string &name, const RegValue &value) override {
        return registry_.reg_set_value(key, name, value);
    }
    uint32_t reg_delete_value(RegKey key, const std::string &name) override {
        return registry_.reg_delete_value(key, name);
    }
    uint32_t reg_delete_tree(RegKey parent, const std::string &subkey, RegView view) override {
        return registry_.reg_delete_tree(parent, subkey, view);
    }
    void reg_begin_batch() override {
        registry_.reg_begin_batch();
    }
    uint32_t reg_end_batch() override {
        return registry_.reg_end_batch();
    }

    char path_separator() override {
        return '/';
    }
    bool path_status(const std::string &path, PathStatus *status, SysError *error) override {
        return posix::path_status(path, status, error);
    }
    bool create_directory(const std::string &path, SysError *error) override {
        return posix::create_directory(path, error);
    }
    // No short form here: a path is its own short form.
    std::optional<std::string> short_path(const std::string &, std::size_t) override {
        return std::nullopt;
    }
    FileHandle open_descriptor(const std::string &path, const DescriptorOpen &options,
                               SysError *error) override {
        return posix::open_descriptor(path, options, error);
    }
    bool access_path(const std::string &path, bool read, bool write, SysError *error) override {
        return posix::access_path(path, read, write, error);
    }
    bool read_once(FileHandle file, void *buffer, uint32_t count, uint32_t *done, SysError *error) override {
        return posix::read_once(file, buffer, count, done, error);
    }
    bool write_once(FileHandle file, const void *data, uint32_t count, uint32_t *done,
                    SysError *error) override {
        return posix::write_once(file, data, count, done, error);
    }
    bool read_at(FileHandle file, void *buffer, uint32_t count, DplIoCount *done, DplOverlapped *where,
                 SysError *error) override {
        return posix::read_at(file, buffer, count, done, where, error);
    }
    bool write_at(FileHandle file, const void *data, uint32_t count, DplIoCount *done, DplOverlapped *where,
                  SysError *error) override {
        return posix::write_at(file, data, count, done, where, error);
    }
    bool seek(FileHandle file, int64_t offset, SeekFrom from, int64_t *position, SysError *error) override {
        return posix::seek(file, offset, from, position, error);
    }
    bool set_end_of_file(FileHandle file, SysError *error) override {
        return posix::set_end_of_file(file, error);
    }
    bool file_size(FileHandle file, uint64_t *size, SysError *error) override {
        return posix::file_size(file, size, error);
    }
    bool close_descriptor(FileHandle file, SysError *error) override {
        return posix::close_descriptor(file, error);
    }
    // Deleting needs no permission on the file itself, only on its directory.
    bool make_deletable(const std::string &, SysError *) override {
        return true;
    }
    bool delete_file(const std::string &path, SysError *error) override {
        return posix::delete_file(path, error);
    }

    bool instance_marker_exists(const std::string &name) override {
        return markers_.exists(machine_root(), name);
    }
    bool create_instance_marker(const std::string &name) override {
        return markers_.create(machine_root(), name);
    }
    bool release_instance_marker(const std::string &name) override {
        return markers_.release(name);
    }
    bool run_command(const std::string &command, uint32_t *exit_status, SysError *error) override {
        return posix::run_command(command, exit_status, error);
    }
    // The all-users program groups live in the machine root.
    std::optional<std::string> common_programs_folder() override {
        const std::string root = machine_root();
        return (root == "/" ? std::string() : root) + "/var/lib/dpl/programs";
    }
    bool remove_directory_tree(const std::string &path, SysError *error) override {
        return posix::remove_directory_tree(path, error);
    }

private:
    PosixRegistry registry_;
    posix::InstanceMarkers markers_;
};

}  // namespace

Platform &native() {
    static PosixPlatform instance;
    return instance;
}

}  // namespace dpl::platform
