// The command processor, the all-users program groups and whole-directory
// removal on Windows.
#include <string>
#include <vector>

#include "platform/win32/win32_platform.hpp"

#include <shlobj.h>

namespace dpl::platform::win32 {
namespace {

bool fail(SysError *error, DWORD code) {
    if (error != nullptr) *error = SysError{code, code};
    return false;
}

class Handle {
public:
    explicit Handle(HANDLE handle) : handle_(handle) {}
    Handle(const Handle &) = delete;
    Handle &operator=(const Handle &) = delete;
    ~Handle() {
        if (handle_ != nullptr && handle_ != INVALID_HANDLE_VALUE) CloseHandle(handle_);
    }
    HANDLE get() const { return handle_; }

private:
    HANDLE handle_;
};

std::string command_processor() {
    char directory[MAX_PATH + 1] = {};
    const UINT length = GetSystemDirectoryA(directory, MAX_PATH);
    if (length == 0 || length > MAX_PATH) return "cmd.exe";
    return std::string(directory, length) + "\\cmd.exe";
}

bool remove_tree(const std::string &path, SysError *error) {
    WIN32_FIND_DATAA found{};
    HANDLE search = FindFirstFileA((path + "\\*").c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) {
        const DWORD code = GetLastError();
        if (code != ERROR_FILE_NOT_FOUND) return fail(error, code);
    } else {
        bool ok = true;
        do {
            const std::string name = found.cFileName;
            if (name == "." || name == "..") continue;
            const std::string entry = path + "\\" + name;
            const bool directory = (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0 &&
                                   (found.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0;
            SetFileAttributesA(entry.c_str(), FILE_ATTRIBUTE_NORMAL);
            if (directory) {
                ok = remove_tree(entry, error);
            } else if ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
                ok = RemoveDirectoryA(entry.c_str()) != 0 || fail(error, GetLastError());
            } else {
                ok = DeleteFileA(entry.c_str()) != 0 || fail(error, GetLastError());
            }
        } while (ok && FindNextFileA(search, &found));
        FindClose(search);
        if (!ok) return false;
    }
    if (!RemoveDirectoryA(path.c_str())) return fail(error, GetLastError());
    return true;
}

}  // namespace

// "/s /c" with the command in one pair of quotes makes cmd.exe take exactly
// the text between them, whatever quotes the command holds itself.
bool Win32Platform::run_command(const std::string &command, uint32_t *exit_status, SysError *error) {
    const std::string processor = command_processor();
    std::string line = "cmd.exe /s /c \"" + command + "\"";
    std::vector<char> writable(line.begin(), line.end());
    writable.push_back('\0');
    STARTUPINFOA startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    if (!CreateProcessA(processor.c_str(), writable.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                        &startup, &process)) {
        return fail(error, GetLastError());
    }
    const Handle child(process.hProcess);
    const Handle thread(process.hThread);
    if (WaitForSingleObject(child.get(), INFINITE) == WAIT_FAILED) return fail(error, GetLastError());
    DWORD code = 0;
    if (!GetExitCodeProcess(child.get(), &code)) return fail(error, GetLastError());
    if (exit_status != nullptr) *exit_status = code;
    return true;
}

std::optional<std::string> Win32Platform::common_programs_folder() {
    char folder[MAX_PATH + 1] = {};
    if (FAILED(SHGetFolderPathA(nullptr, CSIDL_COMMON_PROGRAMS, nullptr, 0, folder))) return std::nullopt;
    return std::string(folder);
}

bool Win32Platform::remove_directory_tree(const std::string &path, SysError *error) {
    return remove_tree(path, error);
}

}  // namespace dpl::platform::win32
