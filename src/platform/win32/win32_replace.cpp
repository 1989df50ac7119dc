// Whole-file replacement on Windows: ReplaceFileA over an existing file (it
// keeps the old file's attributes and access control), MoveFileExA with
// write-through where there is none yet.
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
    if (GetFileAttributesA(target.c_str()) != INVALID_FILE_ATTRIBUTES) {
        if (!ReplaceFileA(target.c_str(), replacement.c_str(), nullptr, REPLACEFILE_IGNORE_MERGE_ERRORS,
                          nullptr, nullptr)) {
            return fail_last(error);
        }
        return true;
    }
    if (!MoveFileExA(replacement.c_str(), target.c_str(),
                     MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)) {
        return fail_last(error);
    }
    return true;
}

}  // namespace dpl::platform::win32
