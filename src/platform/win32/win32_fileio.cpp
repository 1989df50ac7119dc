// File-system and descriptor calls on Windows: the narrow file API, each
// failure reported with the code GetLastError() gave.
#include <limits>
#include <vector>

#include "platform/win32/win32_platform.hpp"

namespace dpl::platform::win32 {
namespace {

bool fail(SysError *error, DWORD code) {
    if (error != nullptr) {
        error->native = code;
        error->win32 = code;
    }
    return false;
}

bool fail_last(SysError *error) {
    return fail(error, GetLastError());
}

DWORD access_of(bool read, bool write) {
    DWORD access = 0;
    if (read) access |= GENERIC_READ;
    if (write) access |= GENERIC_WRITE;
    return access;
}

// What the descriptor layer's results can report.
DWORD bounded(uint32_t count) {
    constexpr uint32_t kMax = static_cast<uint32_t>(std::numeric_limits<int32_t>::max());
    return count > kMax ? kMax : count;
}

}  // namespace

char Win32Platform::path_separator() {
    return '\\';
}

bool Win32Platform::path_status(const std::string &path, PathStatus *status, SysError *error) {
    WIN32_FILE_ATTRIBUTE_DATA data{};
    if (!GetFileAttributesExA(path.c_str(), GetFileExInfoStandard, &data)) return fail_last(error);
    if (status != nullptr) {
        status->kind =
            (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0 ? PathKind::Directory : PathKind::File;
        status->size = (static_cast<uint64_t>(data.nFileSizeHigh) << 32) | data.nFileSizeLow;
    }
    return true;
}

bool Win32Platform::create_directory(const std::string &path, SysError *error) {
    if (!CreateDirectoryA(path.c_str(), nullptr)) return fail_last(error);
    return true;
}

std::optional<std::string> Win32Platform::short_path(const std::string &path, std::size_t limit) {
    if (limit >= std::numeric_limits<DWORD>::max()) return std::nullopt;
    std::vector<char> buffer(limit + 1, '\0');
    const DWORD length = GetShortPathNameA(path.c_str(), buffer.data(), static_cast<DWORD>(buffer.size()));
    // 0 is a failure; a length beyond the buffer is the size it would need.
    if (length == 0 || length > limit) return std::nullopt;
    return std::string(buffer.data(), length);
}

FileHandle Win32Platform::open_descriptor(const std::string &path, const DescriptorOpen &options,
                                          SysError *error) {
    DWORD flags = FILE_ATTRIBUTE_NORMAL;
    if (options.no_buffering) flags |= FILE_FLAG_NO_BUFFERING;
    if (options.write_through) flags |= FILE_FLAG_WRITE_THROUGH;
    HANDLE handle =
        CreateFileA(path.c_str(), access_of(options.read, options.write), FILE_SHARE_READ | FILE_SHARE_WRITE,
                    nullptr, creation_disposition(options.disposition), flags, nullptr);
    if (handle == INVALID_HANDLE_VALUE) {
        fail_last(error);
        return kNoFile;
    }
    return from_handle(handle);
}

bool Win32Platform::access_path(const std::string &path, bool read, bool write, SysError *error) {
    // A read-only file refuses writing even to a process whose system user
    // may write anything (Wine run by the superuser).
    const DWORD attributes = GetFileAttributesA(path.c_str());
    if (write && attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_READONLY) != 0 &&
        (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
        return fail(error, ERROR_ACCESS_DENIED);
    }
    // Backup semantics let a directory be opened too.
    HANDLE handle =
        CreateFileA(path.c_str(), access_of(read, write), FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                    OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS | FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle == INVALID_HANDLE_VALUE) return fail_last(error);
    CloseHandle(handle);
    return true;
}

bool Win32Platform::read_once(FileHandle file, void *buffer, uint32_t count, uint32_t *done,
                              SysError *error) {
    if (done != nullptr) *done = 0;
    if (unusable(file)) return fail(error, ERROR_INVALID_HANDLE);
    DWORD got = 0;
    if (!ReadFile(to_handle(file), buffer, bounded(count), &got, nullptr)) return fail_last(error);
    if (done != nullptr) *done = got;
    return true;
}

bool Win32Platform::write_once(FileHandle file, const void *data, uint32_t count, uint32_t *done,
                               SysError *error) {
    if (done != nullptr) *done = 0;
    if (unusable(file)) return fail(error, ERROR_INVALID_HANDLE);
    DWORD put = 0;
    if (!WriteFile(to_handle(file), data, bounded(count), &put, nullptr)) return fail_last(error);
    if (done != nullptr) *done = put;
    return true;
}

bool Win32Platform::read_at(FileHandle file, void *buffer, uint32_t count, DplIoCount *done,
                            DplOverlapped *where, SysError *error) {
    if (unusable(file)) return fail(error, ERROR_INVALID_HANDLE);
    if (!ReadFile(to_handle(file), buffer, count, done, where)) return fail_last(error);
    return true;
}

bool Win32Platform::write_at(FileHandle file, const void *data, uint32_t count, DplIoCount *done,
                             DplOverlapped *where, SysError *error) {
    if (unusable(file)) return fail(error, ERROR_INVALID_HANDLE);
    if (!WriteFile(to_handle(file), data, count, done, where)) return fail_last(error);
    return true;
}

bool Win32Platform::seek(FileHandle file, int64_t offset, SeekFrom from, int64_t *position, SysError *error) {
    if (unusable(file)) return fail(error, ERROR_INVALID_HANDLE);
    const DWORD method =
        from == SeekFrom::Start ? FILE_BEGIN : (from == SeekFrom::Current ? FILE_CURRENT : FILE_END);
    const uint64_t bits = static_cast<uint64_t>(offset);
    LONG high = static_cast<LONG>(static_cast<int32_t>(bits >> 32));
    const LONG low = static_cast<LONG>(static_cast<int32_t>(bits & 0xFFFFFFFFu));
    // The low half of a real position may equal the failure answer, so only
    // the error code tells them apart.
    SetLastError(NO_ERROR);
    const DWORD reached_low = SetFilePointer(to_handle(file), low, &high, method);
    if (reached_low == INVALID_SET_FILE_POINTER) {
        const DWORD code = GetLastError();
        if (code != NO_ERROR) return fail(error, code);
    }
    if (position != nullptr) {
        *position =
            static_cast<int64_t>((static_cast<uint64_t>(static_cast<uint32_t>(high)) << 32) | reached_low);
    }
    return true;
}

bool Win32Platform::set_end_of_file(FileHandle file, SysError *error) {
    if (unusable(file)) return fail(error, ERROR_INVALID_HANDLE);
    if (!SetEndOfFile(to_handle(file))) return fail_last(error);
    return true;
}

bool Win32Platform::file_size(FileHandle file, uint64_t *size, SysError *error) {
    if (unusable(file)) return fail(error, ERROR_INVALID_HANDLE);
    BY_HANDLE_FILE_INFORMATION information{};
    if (!GetFileInformationByHandle(to_handle(file), &information)) return fail_last(error);
    if (size != nullptr) {
        *size = (static_cast<uint64_t>(information.nFileSizeHigh) << 32) | information.nFileSizeLow;
    }
    return true;
}

bool Win32Platform::close_descriptor(FileHandle file, SysError *error) {
    if (unusable(file)) return fail(error, ERROR_INVALID_HANDLE);
    if (!CloseHandle(to_handle(file))) return fail_last(error);
    return true;
}

bool Win32Platform::make_deletable(const std::string &path, SysError *error) {
    if (!SetFileAttributesA(path.c_str(), FILE_ATTRIBUTE_NORMAL)) return fail_last(error);
    return true;
}

bool Win32Platform::delete_file(const std::string &path, SysError *error) {
    if (!DeleteFileA(path.c_str())) return fail_last(error);
    return true;
}

bool Win32Platform::remove_directory(const std::string &path, SysError *error) {
    if (!RemoveDirectoryA(path.c_str())) return fail_last(error);
    return true;
}

}  // namespace dpl::platform::win32
