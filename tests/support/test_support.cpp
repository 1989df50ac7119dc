#include "support/test_support.hpp"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

#ifdef _WIN32
#include <process.h>
#else
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
extern char **environ;
#endif

namespace dpl::test {
namespace {
std::atomic<int> g_counter{0};

#ifdef _WIN32
int current_pid() {
    return _getpid();
}
#else
int current_pid() {
    return static_cast<int>(::getpid());
}
#endif

#ifdef _WIN32
std::string quote_argument(const std::string &argument) {
    return "\"" + argument + "\"";
}
#endif

std::vector<char *> argv_of(const std::string &program, const std::vector<std::string> &arguments,
                            std::vector<std::string> &storage) {
    storage.clear();
    storage.push_back(program);
    for (const auto &argument : arguments) storage.push_back(argument);
#ifdef _WIN32
    // The C runtime joins spawn arguments with blanks; quote every one.
    for (auto &argument : storage) argument = quote_argument(argument);
#endif
    std::vector<char *> argv;
    for (auto &argument : storage) argv.push_back(argument.data());
    argv.push_back(nullptr);
    return argv;
}
}  // namespace

ScratchDir::ScratchDir() {
    const auto base = std::filesystem::temp_directory_path();
    for (;;) {
        path_ = base / ("dpl-test-" + std::to_string(current_pid()) + "-" + std::to_string(g_counter++));
        if (std::filesystem::create_directory(path_)) break;
    }
}

ScratchDir::~ScratchDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::string read_file(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream content;
    content << in.rdbuf();
    return content.str();
}

std::string read_file_text(const std::string &path) {
    return without_carriage_returns(read_file(path));
}

std::string without_carriage_returns(const std::string &raw) {
    std::string text;
    text.reserve(raw.size());
    for (std::size_t i = 0; i < raw.size(); ++i) {
        if (raw[i] == '\r' && i + 1 < raw.size() && raw[i + 1] == '\n') continue;
        text.push_back(raw[i]);
    }
    return text;
}

void write_file(const std::string &path, const std::string &content) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << content;
}

std::vector<std::string> lines_of(const std::string &text) {
    std::vector<std::string> lines;
    std::size_t start = 0;
    while (start < text.size()) {
        std::size_t end = text.find('\n', start);
        if (end == std::string::npos) end = text.size();
        lines.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return lines;
}

void set_env(const char *name, const char *value) {
#ifdef _WIN32
    _putenv_s(name, value != nullptr ? value : "");
#else
    if (value != nullptr) {
        ::setenv(name, value, 1);
    } else {
        ::unsetenv(name);
    }
#endif
}

ProgramResult run_program(const std::string &program, const std::vector<std::string> &arguments) {
    ScratchDir scratch;
    const std::string output_file = scratch.file("stdout.txt");
    ProgramResult result;
#ifdef _WIN32
    // cmd.exe strips one pair of outer quotes from the whole line.
    std::string command = "\"";
    command += quote_argument(program);
    for (const auto &argument : arguments) {
        command += ' ';
        command += quote_argument(argument);
    }
    command += " > ";
    command += quote_argument(output_file);
    command += '"';
    result.exit_code = std::system(command.c_str());
#else
    // Started without a shell, so that arguments arrive exactly as given.
    std::vector<std::string> storage;
    std::vector<char *> argv = argv_of(program, arguments, storage);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, output_file.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    pid_t child = -1;
    const int spawned = ::posix_spawn(&child, program.c_str(), &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    int status = 0;
    if (spawned == 0 && ::waitpid(child, &status, 0) == child && WIFEXITED(status)) {
        result.exit_code = static_cast<signed char>(WEXITSTATUS(status));
    } else {
        result.exit_code = -1000;
    }
#endif
    result.output = read_file(output_file);
    return result;
}

std::vector<int> run_concurrently(const std::string &program,
                                  const std::vector<std::vector<std::string>> &argument_sets) {
    std::vector<int> codes;
#ifdef _WIN32
    std::vector<intptr_t> children;
    for (const auto &arguments : argument_sets) {
        std::vector<std::string> storage;
        std::vector<char *> argv = argv_of(program, arguments, storage);
        children.push_back(_spawnv(_P_NOWAIT, program.c_str(), argv.data()));
    }
    for (const intptr_t child : children) {
        int code = -1;
        if (child == -1 || _cwait(&code, child, 0) == -1) code = -1;
        codes.push_back(code);
    }
#else
    std::vector<pid_t> children;
    for (const auto &arguments : argument_sets) {
        std::vector<std::string> storage;
        std::vector<char *> argv = argv_of(program, arguments, storage);
        pid_t child = -1;
        if (::posix_spawn(&child, program.c_str(), nullptr, nullptr, argv.data(), environ) != 0) child = -1;
        children.push_back(child);
    }
    for (const pid_t child : children) {
        int status = 0;
        if (child == -1 || ::waitpid(child, &status, 0) != child || !WIFEXITED(status)) {
            codes.push_back(-1);
        } else {
            codes.push_back(WEXITSTATUS(status));
        }
    }
#endif
    return codes;
}

}  // namespace dpl::test
