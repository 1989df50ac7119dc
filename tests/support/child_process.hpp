// A program started in the background that the test may kill at any moment:
// SIGKILL on POSIX, TerminateProcess (what "taskkill /F" does) on Windows.
#pragma once

#include <string>
#include <vector>

namespace dpl::test {

class ChildProcess {
public:
    // Starts `program` with `arguments`, its standard output discarded.
    ChildProcess(const std::string &program, const std::vector<std::string> &arguments);
    ChildProcess(const ChildProcess &) = delete;
    ChildProcess &operator=(const ChildProcess &) = delete;
    // A child still running is killed and waited for.
    ~ChildProcess();

    bool started() const;
    // Whether it has ended (by itself or killed); then `exit_code` holds
    // its code.
    bool ended();
    // Kills it unless it has ended; true when the kill ended it.
    bool kill();
    int exit_code() const { return exit_code_; }

private:
    void wait();

#ifdef _WIN32
    void *process_ = nullptr;
#else
    int pid_ = -1;
#endif
    bool ended_ = false;
    bool killed_ = false;
    int exit_code_ = -1;
};

}  // namespace dpl::test
