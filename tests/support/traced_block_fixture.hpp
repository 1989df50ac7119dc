// A context whose trace facility writes everything (severity 9, prefix "p")
// to a log and a debug file in a scratch directory, and the debug lines the
// test itself caused. `Base` is the fixture beneath (a plain test, or a
// scratch machine).
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "dpl/dpl.h"
#include "support/test_support.hpp"
#include "trace/trace_state.hpp"

namespace dpl::test {

using Texts = std::vector<std::string>;

template <class Base = ::testing::Test>
class TracedBlockTest : public Base {
protected:
    void SetUp() override {
        Base::SetUp();
        trace::reset_for_tests();
        set_env("INSTALL_LOG", nullptr);
        ASSERT_EQ(HT_OK, ht_trace_start(log_path.c_str(), debug_path.c_str(), 9, 0, "p"));
        block = init_API(0, 1, "p", "12.10.FC1");
        ASSERT_NE(nullptr, block);
        forget_messages();
    }
    void TearDown() override {
        EXPECT_EQ(0, finish(block));
        trace::reset_for_tests();
        Base::TearDown();
    }

    void forget_messages() { seen_ = read_file(debug_path).size(); }

    // The debug lines since forget_messages(), without location, prefix and
    // the entry and exit marks.
    Texts messages() const {
        Texts texts;
        const std::string all = read_file(debug_path);
        for (const std::string &line : lines_of(all.substr(std::min(seen_, all.size())))) {
            const std::size_t at = line.find(" p ");
            const std::string text = at == std::string::npos ? ": ENTER." : line.substr(at + 3);
            if (!text.ends_with(": ENTER.") && text.find(": EXIT. rc=") == std::string::npos)
                texts.push_back(text);
        }
        return texts;
    }

    ScratchDir dir;
    const std::string log_path = dir.file("install.log");
    const std::string debug_path = dir.file("install.log.debug");
    InstallControlBlock *block = nullptr;

private:
    std::size_t seen_ = 0;
};

}  // namespace dpl::test
