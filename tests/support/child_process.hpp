// Programs the tests start: in the background, to be killed at any moment,
// or run to their end with their output captured.
#pragma once

#include <string>
#include <vector>

namespace dpl::test {

// A program started without a shell, so that arguments arrive exactly as
// given, which the test may kill at any moment: SIGKILL on POSIX,
// TerminateProcess (what "taskkill /F" does) on Windows.
class ChildProcess {
public:
    // Standard output goes to `output_file`, or is discarded when it is empty.
    ChildProcess(const std::string &program, const std::vector<std::string> &arguments,
                 const std::string &output_file = "");
    ChildProcess(const ChildProcess &) = delete;
    ChildProcess &operator=(const ChildProcess &) = delete;
    // A child still running is killed and waited for.
    ~ChildProcess();

    bool started() const;
    // Whether it has ended (by itself or killed); then `exit_code` holds its
    // code: as the program returned it (-1 stays -1), or -1000 when it did
    // not end by itself.
    bool ended();
    // Waits for the end; the exit code.
    int wait();
    // Kills it unless it has ended; true when the kill ended it.
    bool kill();
    int exit_code() const { return exit_code_; }

private:
#ifdef _WIN32
    void *process_ = nullptr;
#else
    int pid_ = -1;
#endif
    bool ended_ = false;
    bool killed_ = false;
    int exit_code_ = -1000;
};

struct ProgramResult {
    int exit_code = -1;  // as the program returned it: -1 stays -1
    std::string output;  // what it wrote to standard output
};

// Runs `program` with `arguments`, waits, and captures standard output.
ProgramResult run_program(const std::string &program, const std::vector<std::string> &arguments);

// Starts all programs at once and waits for them; returns their exit codes.
std::vector<int> run_concurrently(const std::string &program,
                                  const std::vector<std::vector<std::string>> &argument_sets);

}  // namespace dpl::test
