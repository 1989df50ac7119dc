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
#include "platform/posix/posix_accounts.hpp"
#include "platform/posix/posix_fileio.hpp"
#include "platform/posix/posix_markers.hpp"
#include "platform/posix/posix_network.hpp"
#include "platform/posix/posix_registry.hpp"
#include "platform/posix/posix_services.hpp"
#include "platform/posix/posix_system.hpp"
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
        return services_.query_service(name, error);
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
    bool remove_directory(const std::string &path, SysError *error) override {
        return posix::remove_directory(path, error);
    }

    uint32_t sc_open_manager(const std::string &database, ScHandle *out) override {
        return services_.open_manager(database, out);
    }
    // Access rights are not checked here: every caller may do everything.
    uint32_t sc_open_service(ScHandle manager, const std::string &name, uint32_t, ScHandle *out) override {
        return services_.open_service(manager, name, out);
    }
    uint32_t sc_create_service(ScHandle manager, const ServiceDefinition &service, ScHandle *out) override {
        return services_.create_service(manager, service, out);
    }
    uint32_t sc_set_description(ScHandle service, const std::string &description) override {
        return services_.set_description(service, description);
    }
    uint32_t sc_delete_service(ScHandle service) override {
        return services_.delete_service(service);
    }
    uint32_t sc_control_stop(ScHandle service, ServiceStatus *status) override {
        return services_.control_stop(service, status);
    }
    uint32_t sc_query_status(ScHandle service, ServiceStatus *status) override {
        return services_.query_status(service, status);
    }
    uint32_t sc_close(ScHandle handle) override {
        return services_.close(handle);
    }

    // Accounts (posix_accounts.cpp): never in a domain, so there is no
    // controller to find.
    uint32_t account_installing_user(AccountIdentity *out) override {
        return posix::installing_user(out);
    }
    uint32_t account_computer_name(std::string *out) override {
        return posix::computer_name(out);
    }
    uint32_t account_domain_controller(std::string *) override {
        return err::kNoSuchDomain;
    }
    uint32_t account_open_policy(const std::string &server, PolicyHandle *out, int32_t *status) override {
        return posix::open_policy(machine_root(), server, out, status);
    }
    void account_close_policy(PolicyHandle) override {}
    uint32_t account_administrators_group(std::string *out) override {
        *out = "Administrators";
        return err::kOk;
    }
    uint32_t account_find_group(const std::string &server, GroupScope scope,
                                const std::string &name) override {
        return posix::find_group(server, scope, name);
    }
    uint32_t account_find_user(const std::string &server, const std::string &name) override {
        return posix::find_user(server, name);
    }
    uint32_t account_add_group(const std::string &server, GroupScope scope, const std::string &name,
                               const std::string &comment) override {
        return posix::add_group(server, scope, name, comment);
    }
    uint32_t account_delete_group(const std::string &server, GroupScope scope,
                                  const std::string &name) override {
        return posix::delete_group(server, scope, name);
    }
    uint32_t account_add_member(const std::string &server, GroupScope scope, const std::string &group,
                                const std::string &member) override {
        return posix::add_member(server, scope, group, member);
    }
    uint32_t account_add_user(const std::string &server, const NewUser &user) override {
        return posix::add_user(server, user);
    }
    uint32_t account_delete_user(const std::string &server, const std::string &name) override {
        return posix::delete_user(server, name);
    }
    uint32_t account_lookup_sid(const std::string &name, std::string *sid) override {
        return posix::lookup_sid(name, sid);
    }
    uint32_t account_add_right(PolicyHandle policy, const std::string &sid,
                               const std::string &right) override {
        return posix::add_right(policy, sid, right);
    }
    uint32_t account_remove_right(PolicyHandle policy, const std::string &sid,
                                  const std::string &right) override {
        return posix::remove_right(policy, sid, right);
    }
    uint32_t account_logon(const std::string &domain, const std::string &user,
                           const std::string &password) override {
        return posix::logon(domain, user, password);
    }
    bool secure_random(void *buffer, std::size_t size) override {
        return posix::secure_random(buffer, size);
    }

    bool list_directory(const std::string &path, std::vector<std::string> *names, SysError *error) override {
        return posix::list_directory(path, names, error);
    }
    bool process_running(uint32_t process_id) override {
        return posix::process_running(process_id);
    }
    bool flush_file(FileHandle file, SysError *error) override {
        return posix::flush_file(file, error);
    }
    bool replace_file(const std::string &replacement, const std::string &target, SysError *error) override {
        return posix::replace_file(replacement, target, error);
    }

    bool device_number(const std::string &path, uint32_t *device, SysError *error) override {
        return posix::device_number(path, device, error);
    }
    bool volume_space(const std::string &directory, VolumeSpace *space, SysError *error) override {
        return posix::volume_space(directory, space, error);
    }
    uint32_t processor_count() override {
        return posix::processor_count();
    }
    uint64_t physical_memory_bytes() override {
        return posix::physical_memory_bytes();
    }
    std::optional<uint32_t> processor_mhz() override {
        return posix::processor_mhz();
    }
    uint64_t ticks() override {
        return posix::ticks();
    }
    std::optional<int64_t> tick_rate() override {
        return posix::tick_rate();
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
    posix::PosixServiceManager services_{registry_};
    posix::InstanceMarkers markers_;
};

}  // namespace

Platform &native() {
    static PosixPlatform instance;
    return instance;
}

}  // namespace dpl::platform
