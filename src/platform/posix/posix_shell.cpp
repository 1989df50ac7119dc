#include "platform/posix/posix_shell.hpp"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>  // environ

#include <cerrno>
#include <filesystem>
#include <system_error>
#include <vector>

#include "platform/posix/posix_fileio.hpp"

namespace dpl::platform::posix {
namespace {

bool fail(SysError *error, int error_number) {
    if (error != nullptr) *error = SysError{static_cast<uint32_t>(error_number), win32_code_of(error_number)};
    return false;
}

}  // namespace

bool run_command(const std::string &command, uint32_t *exit_status, SysError *error) {
    std::string shell = "sh";
    std::string flag = "-c";
    std::string text = command;
    std::vector<char *> argv = {shell.data(), flag.data(), text.data(), nullptr};
    pid_t child = -1;
    const int spawned = ::posix_spawn(&child, "/bin/sh", nullptr, nullptr, argv.data(), environ);
    if (spawned != 0) return fail(error, spawned);
    int status = 0;
    while (::waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) return fail(error, errno);
    }
    uint32_t result = 0;
    if (WIFEXITED(status)) {
        result = static_cast<uint32_t>(WEXITSTATUS(status));
    } else if (WIFSIGNALED(status)) {
        result = 128u + static_cast<uint32_t>(WTERMSIG(status));
    }
    if (exit_status != nullptr) *exit_status = result;
    return true;
}

bool remove_directory_tree(const std::string &path, SysError *error) {
    std::error_code code;
    std::filesystem::remove_all(path, code);
    if (code) return fail(error, code.value());
    return true;
}

}  // namespace dpl::platform::posix
