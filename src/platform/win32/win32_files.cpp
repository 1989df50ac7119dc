// Win32 backend: files, process, time, and the backend instance itself.
#include <cerrno>
#include <initializer_list>
#include <limits>

#include "platform/win32/win32_platform.hpp"

namespace dpl::platform {

Platform &native() {
    static win32::Win32Platform instance;
    return instance;
}

namespace win32 {
namespace {

bool is_standard_handle(HANDLE handle) {
    for (DWORD which : {STD_INPUT_HANDLE, STD_OUTPUT_HANDLE, STD_ERROR_HANDLE}) {
        if (GetStdHandle(which) == handle) return true;
    }
    return false;
}

// One ReadFile or WriteFile moves at most a DWORD's worth of bytes.
DWORD clamp_to_dword(std::size_t size) {
    constexpr DWORD kMax = std::numeric_limits<DWORD>::max();
    return size > kMax ? kMax : static_cast<DWORD>(size);
}

bool is_leap(int year) {
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

int day_of_year(int year, int month, int day) {
    static constexpr int kDaysBefore[12] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334};
    int yday = kDaysBefore[month - 1] + day - 1;
    if (month > 2 && is_leap(year)) ++yday;
    return yday;
}

}  // namespace

FileHandle Win32Platform::open_file(const std::string &path, const OpenOptions &options, uint32_t *error) {
    DWORD access = 0;
    if (options.read) access |= GENERIC_READ;
    if (options.write) access |= GENERIC_WRITE;
    DWORD share = 0;
    if (options.share_read) share |= FILE_SHARE_READ;
    if (options.share_write) share |= FILE_SHARE_WRITE;
    DWORD flags = FILE_ATTRIBUTE_NORMAL;
    if (options.write_through) flags |= FILE_FLAG_WRITE_THROUGH;

    HANDLE handle = CreateFileA(path.c_str(), access, share, nullptr,
                                creation_disposition(options.disposition), flags, nullptr);
    if (handle == INVALID_HANDLE_VALUE) {
        if (error != nullptr) *error = GetLastError();
        return kNoFile;
    }
    // CREATE_ALWAYS and OPEN_ALWAYS leave ERROR_ALREADY_EXISTS behind on
    // success; that is not a failure for our callers.
    if (error != nullptr) *error = err::kOk;
    return from_handle(handle);
}

FileHandle Win32Platform::std_handle(StdStream stream) {
    HANDLE handle = GetStdHandle(stream == StdStream::Output ? STD_OUTPUT_HANDLE : STD_ERROR_HANDLE);
    // A process without a console or redirection has a null standard handle.
    if (handle == nullptr || handle == INVALID_HANDLE_VALUE) return kNoFile;
    return from_handle(handle);
}

LockResult Win32Platform::lock_file(FileHandle file) {
    if (unusable(file)) return LockResult::Unsupported;
    if (LockFile(to_handle(file), 0, 0, 0xFFFFFFFFu, 0xFFFFFFFFu)) return LockResult::Locked;
    // Consoles and pipes fail with other codes; retrying would never help.
    return GetLastError() == ERROR_LOCK_VIOLATION ? LockResult::Busy : LockResult::Unsupported;
}

bool Win32Platform::unlock_file(FileHandle file) {
    if (unusable(file)) return false;
    return UnlockFile(to_handle(file), 0, 0, 0xFFFFFFFFu, 0xFFFFFFFFu) != 0;
}

bool Win32Platform::seek_to_end(FileHandle file) {
    if (unusable(file)) return false;
    LARGE_INTEGER distance{};
    return SetFilePointerEx(to_handle(file), distance, nullptr, FILE_END) != 0;
}

bool Win32Platform::write_file(FileHandle file, const void *data, std::size_t size) {
    if (unusable(file)) return false;
    const char *next = static_cast<const char *>(data);
    while (size > 0) {
        const DWORD chunk = clamp_to_dword(size);
        DWORD written = 0;
        if (!WriteFile(to_handle(file), next, chunk, &written, nullptr)) return false;
        // A device that accepts nothing would otherwise keep us here forever.
        if (written == 0) return false;
        next += written;
        size -= written;
    }
    return true;
}

uint32_t Win32Platform::close_file(FileHandle file) {
    if (unusable(file)) return err::kInvalidHandle;
    HANDLE handle = to_handle(file);
    // The standard handles belong to the process, not to whoever asked for them.
    if (is_standard_handle(handle)) return err::kOk;
    return CloseHandle(handle) ? err::kOk : GetLastError();
}

bool Win32Platform::read_file(FileHandle file, void *buffer, std::size_t size, std::size_t *read) {
    if (read != nullptr) *read = 0;
    if (unusable(file)) return false;
    const DWORD chunk = clamp_to_dword(size);
    DWORD got = 0;
    if (!ReadFile(to_handle(file), buffer, chunk, &got, nullptr)) {
        // A pipe whose writer has gone is at its end, not broken for the reader.
        return GetLastError() == ERROR_BROKEN_PIPE;
    }
    if (read != nullptr) *read = got;
    return true;
}

const char *Win32Platform::text_line_end() {
    return "\r\n";
}

std::optional<std::string> Win32Platform::get_env(const std::string &name) {
    std::string value(256, '\0');
    for (;;) {
        // An empty variable also yields 0, so only the explicit code means "unset".
        SetLastError(ERROR_SUCCESS);
        const DWORD length =
            GetEnvironmentVariableA(name.c_str(), value.data(), static_cast<DWORD>(value.size()));
        if (length == 0) {
            if (GetLastError() != ERROR_SUCCESS) return std::nullopt;
            return std::string();
        }
        if (length < value.size()) {
            value.resize(length);
            return value;
        }
        // Too small: `length` is the size needed, terminating zero included.
        value.assign(length, '\0');
    }
}

uint32_t Win32Platform::process_id() {
    return GetCurrentProcessId();
}

uint32_t Win32Platform::thread_id() {
    return GetCurrentThreadId();
}

bool Win32Platform::local_time(std::tm *out) {
    if (out == nullptr) return false;
    SYSTEMTIME now{};
    GetLocalTime(&now);
    *out = std::tm{};
    out->tm_year = now.wYear - 1900;
    out->tm_mon = now.wMonth - 1;
    out->tm_mday = now.wDay;
    out->tm_hour = now.wHour;
    out->tm_min = now.wMinute;
    out->tm_sec = now.wSecond;
    out->tm_wday = now.wDayOfWeek;
    out->tm_yday = day_of_year(now.wYear, now.wMonth, now.wDay);
    out->tm_isdst = -1;
    return true;
}

void Win32Platform::sleep_ms(uint32_t milliseconds) {
    Sleep(milliseconds);
}

int Win32Platform::last_errno() {
    return errno;
}

std::string Win32Platform::services_database_path() {
    // The system directory is reported in at most 255 characters; a longer or
    // unreadable one leaves no usable path.
    char directory[256] = {};
    const UINT length = GetSystemDirectoryA(directory, sizeof directory);
    if (length == 0 || length >= sizeof directory) return std::string();
    return std::string(directory, length) + "\\drivers\\etc\\services";
}

}  // namespace win32
}  // namespace dpl::platform
