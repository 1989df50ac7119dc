// The one door to the operating system. Everything outside src/platform talks
// to the machine through this interface, so that tests can put a fake or a
// fault-injecting wrapper in front of the real backend.
#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <optional>
#include <string>

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

}  // namespace dpl::platform
