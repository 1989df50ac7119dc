#include "support/child_process.hpp"

#include <memory>

#include "support/test_support.hpp"

#ifdef _WIN32
#include <windows.h>
#else
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
extern char **environ;
#endif

namespace dpl::test {

#ifdef _WIN32

namespace {
constexpr UINT kKilledCode = 137;
}

ChildProcess::ChildProcess(const std::string &program, const std::vector<std::string> &arguments,
                           const std::string &output_file) {
    // Every argument quoted: the command line is split at blanks.
    std::string command = "\"" + program + "\"";
    for (const std::string &argument : arguments) command += " \"" + argument + "\"";
    SECURITY_ATTRIBUTES inherit{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    HANDLE output = CreateFileA(
        output_file.empty() ? "NUL" : output_file.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
        &inherit, output_file.empty() ? OPEN_EXISTING : CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    STARTUPINFOA startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
    startup.hStdOutput = output;
    startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
    PROCESS_INFORMATION info{};
    if (CreateProcessA(nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                       &info)) {
        CloseHandle(info.hThread);
        process_ = info.hProcess;
    }
    if (output != INVALID_HANDLE_VALUE) CloseHandle(output);
}

bool ChildProcess::started() const {
    return process_ != nullptr;
}

int ChildProcess::wait() {
    if (process_ == nullptr || ended_) return exit_code_;
    WaitForSingleObject(process_, INFINITE);
    DWORD code = 0;
    GetExitCodeProcess(process_, &code);
    exit_code_ = static_cast<int>(code);
    ended_ = true;
    return exit_code_;
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

namespace {

// Collects the end of `pid`, without waiting when `options` says so.
bool reaped(pid_t pid, int options, int *exit_code, bool *killed) {
    int status = 0;
    pid_t done = -1;
    while ((done = ::waitpid(pid, &status, options)) < 0 && errno == EINTR) {
    }
    if (done != pid) return false;
    *killed = WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
    *exit_code = WIFEXITED(status) ? static_cast<signed char>(WEXITSTATUS(status)) : -1000;
    return true;
}

}  // namespace

ChildProcess::ChildProcess(const std::string &program, const std::vector<std::string> &arguments,
                           const std::string &output_file) {
    std::vector<std::string> storage{program};
    storage.insert(storage.end(), arguments.begin(), arguments.end());
    std::vector<char *> argv;
    for (std::string &argument : storage) argv.push_back(argument.data());
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, output_file.empty() ? "/dev/null" : output_file.c_str(),
                                     O_WRONLY | O_CREAT | O_TRUNC, 0644);
    pid_t child = -1;
    if (::posix_spawn(&child, program.c_str(), &actions, nullptr, argv.data(), environ) == 0) pid_ = child;
    posix_spawn_file_actions_destroy(&actions);
}

bool ChildProcess::started() const {
    return pid_ > 0;
}

int ChildProcess::wait() {
    if (pid_ > 0 && !ended_) {
        reaped(pid_, 0, &exit_code_, &killed_);
        ended_ = true;
    }
    return exit_code_;
}

bool ChildProcess::ended() {
    if (pid_ > 0 && !ended_) ended_ = reaped(pid_, WNOHANG, &exit_code_, &killed_);
    return pid_ <= 0 || ended_;
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

ProgramResult run_program(const std::string &program, const std::vector<std::string> &arguments) {
    ScratchDir scratch;
    const std::string output_file = scratch.file("stdout.txt");
    ProgramResult result;
    result.exit_code = ChildProcess(program, arguments, output_file).wait();
    result.output = read_file(output_file);
    return result;
}

std::vector<int> run_concurrently(const std::string &program,
                                  const std::vector<std::vector<std::string>> &argument_sets) {
    std::vector<std::unique_ptr<ChildProcess>> children;
    for (const auto &arguments : argument_sets)
        children.push_back(std::make_unique<ChildProcess>(program, arguments));
    std::vector<int> codes;
    for (const auto &child : children) codes.push_back(child->wait());
    return codes;
}

}  // namespace dpl::test
