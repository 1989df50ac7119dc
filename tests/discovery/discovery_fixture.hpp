// A scratch machine whose log the test reads back, and a helper program
// that keeps running until the test kills it.
#pragma once

#include <string>

#include "core/control_block.hpp"
#include "dpl/dpl.h"
#include "support/machine_fixture.hpp"
#include "trace/trace_state.hpp"

#ifdef _WIN32
#include <windows.h>
#else
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
extern char **environ;
#endif

namespace dpl::test {

// The helper program as the system's command processor names it.
inline std::string child_program() {
    std::string path = DPL_TEST_DISCOVERY_CHILD;
#ifdef _WIN32
    // Under Wine the build's path is a Unix one; drive Z: is its root.
    if (!path.empty() && path[0] == '/') path = "Z:" + path;
    for (char &c : path) c = c == '/' ? '\\' : c;
#endif
    return path;
}

class BackgroundChild {
public:
    explicit BackgroundChild(const std::string &argument_text) {
#ifdef _WIN32
        std::string line = "\"" + child_program() + "\" " + argument_text;
        STARTUPINFOA startup{};
        startup.cb = sizeof startup;
        PROCESS_INFORMATION info{};
        if (CreateProcessA(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                           &info)) {
            CloseHandle(info.hThread);
            process_ = info.hProcess;
        }
#else
        std::string program = child_program();
        std::string mark = "mark";
        std::string server = argument_text.substr(argument_text.find(' ') + 1);
        char *argv[] = {program.data(), mark.data(), server.data(), nullptr};
        if (::posix_spawn(&pid_, program.c_str(), nullptr, nullptr, argv, environ) != 0) pid_ = -1;
#endif
    }
    BackgroundChild(const BackgroundChild &) = delete;
    BackgroundChild &operator=(const BackgroundChild &) = delete;
    ~BackgroundChild() {
        kill();
    }
    bool started() const {
#ifdef _WIN32
        return process_ != nullptr;
#else
        return pid_ > 0;
#endif
    }
    // Ends the child at once, as a crash would, and waits until it is gone.
    void kill() {
#ifdef _WIN32
        if (process_ == nullptr) return;
        TerminateProcess(process_, 9);
        WaitForSingleObject(process_, INFINITE);
        CloseHandle(process_);
        process_ = nullptr;
#else
        if (pid_ <= 0) return;
        ::kill(pid_, SIGKILL);
        int status = 0;
        ::waitpid(pid_, &status, 0);
        pid_ = -1;
#endif
    }

private:
#ifdef _WIN32
    HANDLE process_ = nullptr;
#else
    pid_t pid_ = -1;
#endif
};

class DiscoveryTest : public MachineTest {
protected:
    void SetUp() override {
        MachineTest::SetUp();
        trace::reset_for_tests();
        set_env("INSTALL_LOG", nullptr);
        log_path = root.file("test.log");
        ASSERT_EQ(HT_OK, ht_trace_start(log_path.c_str(), nullptr, 0, 0, "t"));
    }
    void TearDown() override {
        if (block != nullptr) finish(block);
        trace::reset_for_tests();
        MachineTest::TearDown();
    }
    void open(const char *version = "12.10.FC1", uint32_t mode = 0) {
        block = init_API(mode, 1, "p", version);
        ASSERT_NE(nullptr, block);
        take_log();  // what initialisation logged is not the test's
    }
    // Finishes the block, leaving its last log line unread.
    void close_block() {
        finish(block);
        block = nullptr;
        take_log();
    }
    // The messages logged since the last call, one a line, without the
    // trace's prefix.
    std::string take_log() {
        std::string text = read_file_text(log_path);
        const std::string fresh = text.substr(seen_);
        seen_ = text.size();
        std::string messages;
        std::size_t at = 0;
        while (at < fresh.size()) {
            const std::string prefix = " t ";
            if (fresh.compare(at, prefix.size(), prefix) == 0) at += prefix.size();
            const std::size_t end = fresh.find("\n t ", at);
            const std::size_t stop = end == std::string::npos ? fresh.size() : end + 1;
            messages += fresh.substr(at, stop - at);
            at = stop;
        }
        return messages;
    }
    // A registry export text value of a path or other text.
    static std::string reg_text(const std::string &text) {
        std::string escaped;
        for (const char c : text)
            escaped += c == '\\' || c == '"' ? std::string("\\") + c : std::string(1, c);
        return "\"" + escaped + "\"";
    }

    InstallControlBlock *block = nullptr;
    std::string log_path;

private:
    std::size_t seen_ = 0;
};

}  // namespace dpl::test
