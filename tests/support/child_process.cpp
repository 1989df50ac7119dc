#include "support/child_process.hpp"

#ifdef _WIN32
#include <windows.h>
#else
#include <cerrno>

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace dpl::test {

#ifdef _WIN32

namespace {
constexpr UINT kKilledCode = 137;
}

ChildProcess::ChildProcess(const std::string &program, const std::vector<std::string> &arguments) {
    std::string command = "\"" + program + "\"";
    for (const std::string &argument : arguments) command += " \"" + argument + "\"";
    SECURITY_ATTRIBUTES inherit{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    HANDLE null_output = CreateFileA("NUL", GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherit,
                                     OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    STARTUPINFOA startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
    startup.hStdOutput = null_output;
    startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
    PROCESS_INFORMATION info{};
    if (CreateProcessA(nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                       &info)) {
        CloseHandle(info.hThread);
        process_ = info.hProcess;
    }
    if (null_output != INVALID_HANDLE_VALUE) CloseHandle(null_output);
}

bool ChildProcess::started() const {
    return process_ != nullptr;
}

void ChildProcess::wait() {
    if (process_ == nullptr || ended_) return;
    WaitForSingleObject(process_, INFINITE);
    DWORD code = 0;
    GetExitCodeProcess(process_, &code);
    exit_code_ = static_cast<int>(code);
    ended_ = true;
}

bool ChildProcess::ended() {
    if (process_ == nullptr) return true;
    if (!ended_ && WaitForSingleObject(process_, 0) == WAIT_OBJECT_0) wait();
    return ended_;
}

bool ChildProcess::kill() {
    if (ended()) return false;
    TerminateProcess(process_, kKilledCode);
    wait();
    // A program that ended by itself in the meantime kept its own code.
    killed_ = exit_code_ == static_cast<int>(kKilledCode);
    return killed_;
}

ChildProcess::~ChildProcess() {
    kill();
    if (process_ != nullptr) CloseHandle(process_);
}

#else

ChildProcess::ChildProcess(const std::string &program, const std::vector<std::string> &arguments) {
    std::vector<std::string> storage{program};
    storage.insert(storage.end(), arguments.begin(), arguments.end());
    std::vector<char *> argv;
    argv.reserve(storage.size() + 1);
    for (std::string &argument : storage) argv.push_back(argument.data());
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    pid_t child = -1;
    if (::posix_spawn(&child, program.c_str(), &actions, nullptr, argv.data(), environ) == 0) pid_ = child;
    posix_spawn_file_actions_destroy(&actions);
}

bool ChildProcess::started() const {
    return pid_ > 0;
}

void ChildProcess::wait() {
    if (pid_ <= 0 || ended_) return;
    int status = 0;
    while (::waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
    }
    ended_ = true;
    killed_ = WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
    exit_code_ = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

bool ChildProcess::ended() {
    if (pid_ <= 0) return true;
    if (ended_) return true;
    int status = 0;
    const pid_t done = ::waitpid(pid_, &status, WNOHANG);
    if (done == pid_) {
        ended_ = true;
        killed_ = WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
        exit_code_ = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    return ended_;
}

bool ChildProcess::kill() {
    if (ended()) return false;
    ::kill(pid_, SIGKILL);
    wait();
    // A program that ended by itself just before the signal was not killed.
    return killed_;
}

ChildProcess::~ChildProcess() {
    kill();
}

#endif

}  // namespace dpl::test
