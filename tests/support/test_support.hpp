// Helpers shared by the tests: scratch directories, whole files, programs.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace dpl::test {

// A fresh directory, removed with everything in it at the end of the test.
class ScratchDir {
public:
    ScratchDir();
    ScratchDir(const ScratchDir &) = delete;
    ScratchDir &operator=(const ScratchDir &) = delete;
    ~ScratchDir();
    const std::filesystem::path &path() const { return path_; }
    std::string file(const std::string &name) const { return (path_ / name).string(); }

private:
    std::filesystem::path path_;
};

std::string read_file(const std::string &path);
// The file as a text-mode read sees it: CRLF line ends become "\n".
std::string read_file_text(const std::string &path);
std::string without_carriage_returns(const std::string &text);
void write_file(const std::string &path, const std::string &content);
std::vector<std::string> lines_of(const std::string &text);

// Sets (or with null, removes) a variable of this process's environment,
// which programs started afterwards inherit.
void set_env(const char *name, const char *value);

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

// A real TCP socket listening on a free port of every address, for tests
// that need a port some program holds.
class Listener {
public:
    Listener();
    Listener(const Listener &) = delete;
    Listener &operator=(const Listener &) = delete;
    ~Listener();
    // The port, or 0 when no socket could be set up.
    uint16_t port() const { return port_; }

private:
    std::intptr_t socket_ = -1;
#ifdef _WIN32
    bool started_ = false;  // Winsock was started for this socket
#endif
    uint16_t port_ = 0;
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
