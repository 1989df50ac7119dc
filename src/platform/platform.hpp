// The one door to the operating system. Everything outside src/platform talks
// to the machine through this interface, so that tests can put a fake or a
// fault-injecting wrapper in front of the real backend.
#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <optional>
#include <string>
#include <vector>

#include "dpl/dpl.h"

namespace dpl::platform {

// System error codes that portable code tests are Windows' own numbers on
// both backends (the registry calls answer these), so it need not care which
// backend produced them.
namespace err {
inline constexpr uint32_t kOk = 0;
inline constexpr uint32_t kFileNotFound = 2;
inline constexpr uint32_t kPathNotFound = 3;
inline constexpr uint32_t kAccessDenied = 5;
inline constexpr uint32_t kInvalidHandle = 6;
inline constexpr uint32_t kNotEnoughMemory = 8;
inline constexpr uint32_t kWriteFault = 29;
inline constexpr uint32_t kLockViolation = 33;
inline constexpr uint32_t kBadNetPath = 53;
inline constexpr uint32_t kFileExists = 80;
inline constexpr uint32_t kInvalidParameter = 87;
inline constexpr uint32_t kMoreData = 234;
inline constexpr uint32_t kNoMoreItems = 259;
inline constexpr uint32_t kKeyDeleted = 1018;
inline constexpr uint32_t kRegistryCorrupt = 1015;
inline constexpr uint32_t kRegistryIoFailed = 1016;
// Service manager.
inline constexpr uint32_t kInvalidName = 123;
inline constexpr uint32_t kDirNotEmpty = 145;
inline constexpr uint32_t kServiceRequestTimeout = 1053;
inline constexpr uint32_t kInvalidServiceAccount = 1057;
inline constexpr uint32_t kServiceDoesNotExist = 1060;
inline constexpr uint32_t kServiceCannotAcceptControl = 1061;
inline constexpr uint32_t kServiceNotActive = 1062;
inline constexpr uint32_t kDatabaseDoesNotExist = 1065;
inline constexpr uint32_t kServiceMarkedForDelete = 1072;
inline constexpr uint32_t kServiceExists = 1073;
}  // namespace err

// ---- files ---------------------------------------------------------------

// An open file. -1 means none, as the trace facility's records expect.
using FileHandle = std::intptr_t;
inline constexpr FileHandle kNoFile = -1;

enum class Disposition { CreateNew, CreateAlways, OpenExisting, OpenAlways, TruncateExisting };

struct OpenOptions {
    bool read = true;
    bool write = false;
    bool share_read = true;
    bool share_write = false;
    Disposition disposition = Disposition::OpenExisting;
    bool write_through = false;
};

enum class StdStream { Output, Error };

enum class LockResult {
    Locked,       // the caller now holds the whole-file lock
    Busy,         // someone else holds it; worth retrying
    Unsupported,  // this handle cannot be locked at all (a pipe, a console)
};

// ---- registry ------------------------------------------------------------

// A registry key handle. The predefined roots carry Windows' values on both
// backends: the 32-bit numbers sign-extended to pointer width, exactly as
// HKEY_LOCAL_MACHINE is defined on 64-bit Windows.
using RegKey = std::uintptr_t;
constexpr RegKey predefined_key(uint32_t value) {
    return static_cast<RegKey>(static_cast<std::intptr_t>(static_cast<int32_t>(value)));
}
inline constexpr RegKey kNoKey = 0;
inline constexpr RegKey kClassesRoot = predefined_key(0x80000000u);
inline constexpr RegKey kCurrentUser = predefined_key(0x80000001u);
inline constexpr RegKey kLocalMachine = predefined_key(0x80000002u);
inline constexpr RegKey kUsers = predefined_key(0x80000003u);
inline constexpr RegKey kPerformanceData = predefined_key(0x80000004u);
inline constexpr RegKey kCurrentConfig = predefined_key(0x80000005u);

enum class RegView { Default, Bits32, Bits64 };

// Registry value types, Windows' numbers.
namespace regtype {
inline constexpr uint32_t kNone = 0;
inline constexpr uint32_t kSz = 1;
inline constexpr uint32_t kExpandSz = 2;
inline constexpr uint32_t kBinary = 3;
inline constexpr uint32_t kDword = 4;
inline constexpr uint32_t kMultiSz = 7;
inline constexpr uint32_t kQword = 11;
}  // namespace regtype

// A value as the narrow (ANSI) Win32 calls see it: strings are the bytes
// followed by their terminating zero(s), exactly as RegQueryValueExA hands
// them out; numbers are little-endian.
struct RegValue {
    uint32_t type = regtype::kNone;
    std::string data;
};

// Sizes a key reports about itself (RegQueryInfoKey).
struct RegKeyInfo {
    uint32_t subkeys = 0;
    uint32_t max_subkey_len = 0;
    uint32_t values = 0;
    uint32_t max_value_name_len = 0;
    uint32_t max_value_len = 0;
};

// ---- network and service manager ------------------------------------------

enum class PortProbe {
    Clear,          // a socket could be bound to the port on every address
    InUse,          // the bind failed
    StartupFailed,  // the socket library could not be started
    SocketFailed,   // no socket could be created
};

enum class ServiceQuery { Installed, NotInstalled, ManagerUnavailable };

// ---- service manager ---------------------------------------------------------

// A handle of the service manager or of one service (SC_HANDLE on Windows).
using ScHandle = std::uintptr_t;
inline constexpr ScHandle kNoScHandle = 0;

// The name of the manager's database of installed services.
inline constexpr const char *kServicesActiveDatabase = "ServicesActive";

// Access rights, Windows' numbers.
namespace scaccess {
inline constexpr uint32_t kManagerAll = 0xF003F;
inline constexpr uint32_t kServiceAll = 0xF01FF;
inline constexpr uint32_t kQueryStatus = 0x0004;
inline constexpr uint32_t kStop = 0x0020;
inline constexpr uint32_t kDelete = 0x10000;
}  // namespace scaccess

// States of a service, Windows' numbers.
namespace scstate {
inline constexpr uint32_t kStopped = 1;
inline constexpr uint32_t kStartPending = 2;
inline constexpr uint32_t kStopPending = 3;
inline constexpr uint32_t kRunning = 4;
}  // namespace scstate

// A service as it is created: a program of its own process, started
// automatically at boot, with normal error control.
struct ServiceDefinition {
    std::string name;
    std::string display_name;  // empty: the name
    std::string command_line;
    std::string account;  // empty: the system account
    // Not owned; only handed to the system, never kept or logged.
    const char *password = nullptr;
};

struct ServiceStatus {
    uint32_t current_state = 0;  // scstate
};

// ---- file system and descriptor I/O ---------------------------------------

// A failed call of the calls below. `native` is the system's own code
// (GetLastError() on Windows, errno elsewhere), the number that reports
// print; `win32` is the Windows code of the same condition, which portable
// code tests and maps, so that both builds decide alike.
struct SysError {
    uint32_t native = 0;
    uint32_t win32 = 0;
};

enum class PathKind { Directory, File };

struct PathStatus {
    PathKind kind = PathKind::File;
    uint64_t size = 0;  // bytes, for a file
};

// How a descriptor-style open asks for its file.
struct DescriptorOpen {
    bool read = true;
    bool write = false;
    Disposition disposition = Disposition::OpenExisting;
    bool no_buffering = false;   // bypass the system's cache where the file system allows it
    bool write_through = false;  // every write reaches the device before it returns
};

enum class SeekFrom { Start, Current, End };

// ---- accounts, groups and rights ------------------------------------------

// System error codes of the account calls, Windows' numbers on both backends.
namespace err {
inline constexpr uint32_t kNotSupported = 50;
inline constexpr uint32_t kLogonFailure = 1326;
inline constexpr uint32_t kNoneMapped = 1332;
inline constexpr uint32_t kNoSuchDomain = 1355;
inline constexpr uint32_t kMemberInAlias = 1378;
inline constexpr uint32_t kAliasExists = 1379;
inline constexpr uint32_t kNoSuchMember = 1387;
inline constexpr uint32_t kGroupNotFound = 2220;
inline constexpr uint32_t kUserNotFound = 2221;
inline constexpr uint32_t kGroupExists = 2223;
inline constexpr uint32_t kUserExists = 2224;
inline constexpr uint32_t kUserInGroup = 2236;
inline constexpr uint32_t kInvalidComputer = 2351;
}  // namespace err

// An open security policy (LSA_HANDLE on Windows).
using PolicyHandle = std::uintptr_t;
inline constexpr PolicyHandle kNoPolicy = 0;

// Who runs this process: the account's name and the domain it belongs to.
struct AccountIdentity {
    std::string name;
    std::string domain;
};

// Local groups belong to one computer; global groups to a domain.
enum class GroupScope { Local, Global };

// A user account to create (USER_INFO_1): normal account, user privilege,
// empty home directory and script path.
struct NewUser {
    std::string name;
    std::string password;
    std::string comment;
    uint32_t flags = 0;
};

// ---- system figures ---------------------------------------------------------

// The size of a volume in bytes; `available` is what the calling user may
// still fill (quotas and reserved blocks excluded).
struct VolumeSpace {
    uint64_t total = 0;
    uint64_t free = 0;
    uint64_t available = 0;
};

class Platform {
public:
    Platform() = default;
    Platform(const Platform &) = delete;
    Platform &operator=(const Platform &) = delete;
    virtual ~Platform() = default;

    // Files. `error` receives the system's own code of a failure (GetLastError
    // on Windows, errno elsewhere): it is only reported, never tested.
    virtual FileHandle open_file(const std::string &path, const OpenOptions &options, uint32_t *error) = 0;
    virtual FileHandle std_handle(StdStream stream) = 0;
    // Non-blocking attempt at an exclusive lock of the whole file.
    virtual LockResult lock_file(FileHandle file) = 0;
    virtual bool unlock_file(FileHandle file) = 0;
    virtual bool seek_to_end(FileHandle file) = 0;
    virtual bool write_file(FileHandle file, const void *data, std::size_t size) = 0;
    // 0, or the system error code of a failed close.
    virtual uint32_t close_file(FileHandle file) = 0;
    // Reads up to `size` bytes; `*read` is 0 at the end of the file.
    virtual bool read_file(FileHandle file, void *buffer, std::size_t size, std::size_t *read) = 0;
    // The line end that text mode writes: "\r\n" on Windows, "\n" elsewhere.
    virtual const char *text_line_end() = 0;

    // Process and time.
    virtual std::optional<std::string> get_env(const std::string &name) = 0;
    virtual uint32_t process_id() = 0;
    virtual uint32_t thread_id() = 0;
    virtual bool local_time(std::tm *out) = 0;
    virtual void sleep_ms(uint32_t milliseconds) = 0;
    // The last C runtime errno, for messages that report it.
    virtual int last_errno() = 0;

    // Where the operating system keeps its services database.
    virtual std::string services_database_path() = 0;

    // Network: whether a host name resolves (IPv4, as gethostbyname), and
    // whether a TCP socket can be bound to a port on the wildcard address.
    // `error` receives the socket library's code of a failure.
    virtual bool resolve_host(const std::string &name) = 0;
    virtual PortProbe probe_tcp_port(uint16_t port, uint32_t *error) = 0;
    // Whether the service manager of this machine knows a service of that name.
    virtual ServiceQuery query_service(const std::string &name, uint32_t *error) = 0;

    // Registry, with Windows' semantics and error codes on both backends.
    // `machine` is empty for this machine or "\\NAME" for another one; the
    // result is a handle to that machine's HKEY_LOCAL_MACHINE.
    virtual uint32_t reg_connect(const std::string &machine, RegKey root, RegKey *out) = 0;
    virtual uint32_t reg_open_key(RegKey parent, const std::string &path, RegView view, RegKey *out) = 0;
    virtual uint32_t reg_create_key(RegKey parent, const std::string &path, RegView view, RegKey *out) = 0;
    virtual uint32_t reg_close_key(RegKey key) = 0;
    virtual uint32_t reg_query_info(RegKey key, RegKeyInfo *info) = 0;
    virtual uint32_t reg_enum_key(RegKey key, uint32_t index, std::string *name) = 0;
    virtual uint32_t reg_enum_value(RegKey key, uint32_t index, std::string *name, RegValue *value) = 0;
    virtual uint32_t reg_query_value(RegKey key, const std::string &name, RegValue *value) = 0;
    virtual uint32_t reg_set_value(RegKey key, const std::string &name, const RegValue &value) = 0;
    virtual uint32_t reg_delete_value(RegKey key, const std::string &name) = 0;
    // Deletes `subkey` of `parent` with everything below it.
    virtual uint32_t reg_delete_tree(RegKey parent, const std::string &subkey, RegView view) = 0;
    // Groups the registry changes of one library call so that a file-backed
    // store is rewritten once, when the outermost batch ends. Returns the
    // error of that final write, 0 otherwise.
    virtual void reg_begin_batch() = 0;
    virtual uint32_t reg_end_batch() = 0;

    // ---- file system and descriptor I/O ----
    // Each call answers true, or false with `error` filled.

    // The separator this system writes between path components.
    virtual char path_separator() = 0;
    // What `path` names; fails (code 2 or 3) when nothing is there.
    virtual bool path_status(const std::string &path, PathStatus *status, SysError *error) = 0;
    virtual bool create_directory(const std::string &path, SysError *error) = 0;
    // The short (8.3) form of an existing path, when the system has one of at
    // most `limit` characters.
    virtual std::optional<std::string> short_path(const std::string &path, std::size_t limit) = 0;
    // Opens for the descriptor layer: shared for reading and writing, never a
    // directory. kNoFile on failure.
    virtual FileHandle open_descriptor(const std::string &path, const DescriptorOpen &options,
                                       SysError *error) = 0;
    // Whether an existing file or directory could be opened with that access.
    virtual bool access_path(const std::string &path, bool read, bool write, SysError *error) = 0;
    // One transfer of at most `count` bytes at the current position.
    virtual bool read_once(FileHandle file, void *buffer, uint32_t count, uint32_t *done,
                           SysError *error) = 0;
    virtual bool write_once(FileHandle file, const void *data, uint32_t count, uint32_t *done,
                            SysError *error) = 0;
    // One transfer where the caller's record says (dpl.h: the overlapped
    // record on Windows, an explicit offset elsewhere). A failure may still
    // mean a started transfer (ERROR_IO_PENDING).
    virtual bool read_at(FileHandle file, void *buffer, uint32_t count, DplIoCount *done,
                         DplOverlapped *where, SysError *error) = 0;
    virtual bool write_at(FileHandle file, const void *data, uint32_t count, DplIoCount *done,
                          DplOverlapped *where, SysError *error) = 0;
    virtual bool seek(FileHandle file, int64_t offset, SeekFrom from, int64_t *position, SysError *error) = 0;
    // Ends the file at the current position.
    virtual bool set_end_of_file(FileHandle file, SysError *error) = 0;
    virtual bool file_size(FileHandle file, uint64_t *size, SysError *error) = 0;
    virtual bool close_descriptor(FileHandle file, SysError *error) = 0;
    // Clears what would keep a file from being deleted (the read-only attribute).
    virtual bool make_deletable(const std::string &path, SysError *error) = 0;
    virtual bool delete_file(const std::string &path, SysError *error) = 0;

    // ---- accounts, groups and rights ----
    // Each call answers 0 or the system's error code. `server` is empty for
    // this computer or "\\NAME" for another one (a domain controller).

    // The effective user of this process.
    virtual uint32_t account_installing_user(AccountIdentity *out) = 0;
    virtual uint32_t account_computer_name(std::string *out) = 0;
    // "\\NAME" of the primary domain's controller; kNoSuchDomain outside a domain.
    virtual uint32_t account_domain_controller(std::string *out) = 0;
    // Opens the security policy of `server` with all access; `status`
    // receives the policy call's own status (NTSTATUS), 0 on success.
    virtual uint32_t account_open_policy(const std::string &server, PolicyHandle *out, int32_t *status) = 0;
    virtual void account_close_policy(PolicyHandle policy) = 0;
    // The name of the built-in Administrators group (S-1-5-32-544).
    virtual uint32_t account_administrators_group(std::string *out) = 0;
    virtual uint32_t account_find_group(const std::string &server, GroupScope scope,
                                        const std::string &name) = 0;
    virtual uint32_t account_find_user(const std::string &server, const std::string &name) = 0;
    virtual uint32_t account_add_group(const std::string &server, GroupScope scope, const std::string &name,
                                       const std::string &comment) = 0;
    virtual uint32_t account_delete_group(const std::string &server, GroupScope scope,
                                          const std::string &name) = 0;
    // A local group takes its member as "DOMAIN\user", a global group the user name.
    virtual uint32_t account_add_member(const std::string &server, GroupScope scope, const std::string &group,
                                        const std::string &member) = 0;
    virtual uint32_t account_add_user(const std::string &server, const NewUser &user) = 0;
    virtual uint32_t account_delete_user(const std::string &server, const std::string &name) = 0;
    // The security identifier of an account ("DOMAIN\user" or "user"), as opaque bytes.
    virtual uint32_t account_lookup_sid(const std::string &name, std::string *sid) = 0;
    virtual uint32_t account_add_right(PolicyHandle policy, const std::string &sid,
                                       const std::string &right) = 0;
    virtual uint32_t account_remove_right(PolicyHandle policy, const std::string &sid,
                                          const std::string &right) = 0;
    // An interactive logon with the default provider; kLogonFailure when refused.
    virtual uint32_t account_logon(const std::string &domain, const std::string &user,
                                   const std::string &password) = 0;
    // Fills `buffer` from the system's cryptographic generator.
    virtual bool secure_random(void *buffer, std::size_t size) = 0;
    // Removes an empty directory; never one that holds anything.
    virtual bool remove_directory(const std::string &path, SysError *error) = 0;

    // ---- service manager ----
    // Each call answers 0 or the Windows error code of its failure.

    // Opens the manager of this machine with all access; `database` empty
    // means the default one (kServicesActiveDatabase).
    virtual uint32_t sc_open_manager(const std::string &database, ScHandle *out) = 0;
    virtual uint32_t sc_open_service(ScHandle manager, const std::string &name, uint32_t access,
                                     ScHandle *out) = 0;
    virtual uint32_t sc_create_service(ScHandle manager, const ServiceDefinition &service, ScHandle *out) = 0;
    virtual uint32_t sc_set_description(ScHandle service, const std::string &description) = 0;
    virtual uint32_t sc_delete_service(ScHandle service) = 0;
    // Sends the stop control; `status` receives the state the service reported.
    virtual uint32_t sc_control_stop(ScHandle service, ServiceStatus *status) = 0;
    virtual uint32_t sc_query_status(ScHandle service, ServiceStatus *status) = 0;
    virtual uint32_t sc_close(ScHandle handle) = 0;
    // ---- whole-file replacement ----
    // A file rewritten whole is written beside the old one and moved over it
    // in one step, so that a crash leaves either file but never a torn one.

    // The names in a directory, without "." and "..".
    virtual bool list_directory(const std::string &path, std::vector<std::string> *names,
                                SysError *error) = 0;
    // Whether a process with this id runs now (a leftover of a dead one may go).
    virtual bool process_running(uint32_t process_id) = 0;
    // Puts what was written to an open file on the device.
    virtual bool flush_file(FileHandle file, SysError *error) = 0;
    // Moves `replacement` over `target` in one step, keeping the old file's
    // attributes, permissions and owner where the process may set them, and
    // puts the change of name on the device before it returns.
    virtual bool replace_file(const std::string &replacement, const std::string &target, SysError *error) = 0;

    // ---- system figures ----
    // The device (drive) number that a status query of `path` reports.
    virtual bool device_number(const std::string &path, uint32_t *device, SysError *error) = 0;
    // The volume that holds the existing directory `directory`.
    virtual bool volume_space(const std::string &directory, VolumeSpace *space, SysError *error) = 0;
    virtual uint32_t processor_count() = 0;
    virtual uint64_t physical_memory_bytes() = 0;
    // The system's own figure of the processor frequency in MHz, if it keeps one.
    virtual std::optional<uint32_t> processor_mhz() = 0;
    // A free-running tick count: the processor's time-stamp counter where
    // there is one, else a monotonic clock.
    virtual uint64_t ticks() = 0;
    // The rate of `ticks` when it is a clock of known rate; nothing when it is
    // the processor's counter, which runs at the processor's frequency.
    virtual std::optional<int64_t> tick_rate() = 0;
    // ---- running-instance markers, command processor, program groups ----

    // Whether a live process holds the named marker of a running instance
    // (the named event on Windows, a held lock file elsewhere).
    virtual bool instance_marker_exists(const std::string &name) = 0;
    // Holds the named marker for this process until it is released or the
    // process ends. A marker that another process holds also stands.
    virtual bool create_instance_marker(const std::string &name) = 0;
    // False when this process does not hold that marker.
    virtual bool release_instance_marker(const std::string &name) = 0;
    // Hands `command` whole to the system's command processor (cmd.exe on
    // Windows, /bin/sh elsewhere) and waits for it. False when it could not
    // be started (`error` says why); otherwise `exit_status` is its status.
    virtual bool run_command(const std::string &command, uint32_t *exit_status, SysError *error) = 0;
    // The all-users Start menu's Programs folder, or nothing.
    virtual std::optional<std::string> common_programs_folder() = 0;
    // Removes a directory with everything below it.
    virtual bool remove_directory_tree(const std::string &path, SysError *error) = 0;
};

// The backend in force: the native one unless a test installed another.
Platform &current();
// The real backend of this build.
Platform &native();
// Installs `replacement` (not owned) in place of the current backend;
// nullptr restores the native one.
void install(Platform *replacement);

// Keeps a registry batch open for the lifetime of the object.
class RegistryBatch {
public:
    RegistryBatch() { current().reg_begin_batch(); }
    RegistryBatch(const RegistryBatch &) = delete;
    RegistryBatch &operator=(const RegistryBatch &) = delete;
    ~RegistryBatch() {
        if (!ended_) current().reg_end_batch();
    }
    uint32_t end() {
        ended_ = true;
        return current().reg_end_batch();
    }

private:
    bool ended_ = false;
};

// Closes a service-manager handle at the end of its scope.
class ScopedScHandle {
public:
    ScopedScHandle() = default;
    ScopedScHandle(const ScopedScHandle &) = delete;
    ScopedScHandle &operator=(const ScopedScHandle &) = delete;
    ~ScopedScHandle() {
        if (handle_ != kNoScHandle) current().sc_close(handle_);
    }
    ScHandle get() const { return handle_; }
    ScHandle *out() { return &handle_; }

private:
    ScHandle handle_ = kNoScHandle;
};

}  // namespace dpl::platform
