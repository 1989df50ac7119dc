// A block with the trace facility writing its log to a scratch file, so
// that tests can read the messages of the path calls.
#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "dpl/dpl.h"
#include "support/test_support.hpp"
#include "trace/trace_state.hpp"

namespace dpl::test {

class PathsTest : public ::testing::Test {
protected:
    void SetUp() override {
        trace::reset_for_tests();
        set_env("INSTALL_LOG", nullptr);
        ASSERT_EQ(HT_OK, ht_trace_start(log_path.c_str(), nullptr, 9, 0, "p"));
        block = init_API(0, 1, "p", "12.10.FC1");
        ASSERT_NE(nullptr, block);
        std::string ignored = log();
        log_before = ignored.size();
    }
    void TearDown() override {
        finish(block);
        trace::reset_for_tests();
    }

    // What the log gained since the block was made.
    std::string new_log() const { return log().substr(log_before); }
    std::string log() const { return read_file(log_path); }

    // The text of a result for the caller, freed.
    static std::optional<std::string> take(char *text) {
        if (text == nullptr) return std::nullopt;
        std::string copy(text);
        dplFree(text);
        return copy;
    }

    ScratchDir dir;
    const std::string log_path = dir.file("install.log");
    std::size_t log_before = 0;
    InstallControlBlock *block = nullptr;
};

}  // namespace dpl::test
