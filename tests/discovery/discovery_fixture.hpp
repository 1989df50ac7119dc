// A scratch machine whose log the test reads back, and the helper program
// that holds an instance marker until the test kills it.
#pragma once

#include <string>

#include "core/control_block.hpp"
#include "dpl/dpl.h"
#include "support/machine_fixture.hpp"
#include "trace/trace_state.hpp"

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
        const std::string text = read_file_text(log_path);
        // A line end in front, so that every message starts after "\n t ".
        std::string messages = "\n" + text.substr(seen_);
        seen_ = text.size();
        for (std::size_t at = 0; (at = messages.find("\n t ", at)) != std::string::npos; ++at) {
            messages.erase(at + 1, 3);
        }
        return messages.substr(1);
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
