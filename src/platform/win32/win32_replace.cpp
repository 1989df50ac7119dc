// Whole-file replacement on Windows: the old file's access control and
// attributes are given to the new file, which is then renamed over it with
// MoveFileExA (write-through, replacing the old one).
#include <vector>

#include "platform/win32/win32_platform.hpp"

namespace dpl::platform::win32 {
namespace {

bool fail_last(SysError *error) {
    const DWORD code = GetLastError();
    if (error != nullptr) {
        error->native = code;
        error->win32 = code;
    }
    return false;
}

// The old file's access control goes to its replacement: its owner and group
// too where the process may set them, else the access list alone.
void keep_security(const std::string &from, const std::string &to) {
    constexpr SECURITY_INFORMATION kAll =
        OWNER_SECURITY_INFORMATION | GROUP_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION;
    DWORD needed = 0;
    GetFileSecurityA(from.c_str(), kAll, nullptr, 0, &needed);
    if (needed == 0) return;
    std::vector<unsigned char> descriptor(needed);
    if (!GetFileSecurityA(from.c_str(), kAll, descriptor.data(), needed, &needed)) return;
    if (SetFileSecurityA(to.c_str(), kAll, descriptor.data())) return;
    SetFileSecurityA(to.c_str(), DACL_SECURITY_INFORMATION, descriptor.data());
}

}  // namespace

bool Win32Platform::list_directory(const std::string &path, std::vector<std::string> *names,
                                   SysError *error) {
    std::string pattern = path;
    if (!pattern.empty() && pattern.back() != '\\' && pattern.back() != '/') pattern += '\\';
    pattern += '*';
    WIN32_FIND_DATAA found{};
    HANDLE search = FindFirstFileA(pattern.c_str(), &found);
    names->clear();
    if (search == INVALID_HANDLE_VALUE) {
        // An empty directory has no entry at all only at a drive's root.
        return GetLastError() == ERROR_FILE_NOT_FOUND ? true : fail_last(error);
    }
    bool complete = true;
    do {
        const std::string name = found.cFileName;
        if (name != "." && name != "..") names->push_back(name);
    } while (FindNextFileA(search, &found));
    if (GetLastError() != ERROR_NO_MORE_FILES) complete = fail_last(error);
    FindClose(search);
    return complete;
}

bool Win32Platform::process_running(uint32_t process_id) {
    HANDLE process = OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, process_id);
    // A process we may not look at still runs.
    if (process == nullptr) return GetLastError() == ERROR_ACCESS_DENIED;
    DWORD code = 0;
    const bool running = GetExitCodeProcess(process, &code) && code == STILL_ACTIVE;
    CloseHandle(process);
    return running;
}

bool Win32Platform::flush_file(FileHandle file, SysError *error) {
    if (unusable(file)) {
        SetLastError(ERROR_INVALID_HANDLE);
        return fail_last(error);
    }
    if (!FlushFileBuffers(to_handle(file))) return fail_last(error);
    return true;
}

bool Win32Platform::replace_file(const std::string &replacement, const std::string &target, SysError *error) {
    const DWORD attributes = GetFileAttributesA(target.c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
        keep_security(target, replacement);
        constexpr DWORD kKept = FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_ARCHIVE |
                                FILE_ATTRIBUTE_NOT_CONTENT_INDEXED;
        if ((attributes & kKept) != 0 && !SetFileAttributesA(replacement.c_str(), attributes & kKept)) {
            return fail_last(error);
        }
    }
    // One rename that replaces the old name's file: the file system makes
    // it in one step, so the name never points at a missing or partial
    // file. (ReplaceFileA keeps the same things but, under Wine, does it in
    // several renames with a moment in between where the name is missing.)
    if (!MoveFileExA(replacement.c_str(), target.c_str(),
                     MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)) {
        return fail_last(error);
    }
    return true;
}

}  // namespace dpl::platform::win32
