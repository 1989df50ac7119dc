#pragma once

#include <gtest/gtest.h>

#include "dpl/dpl.h"
#include "support/recording_platform.hpp"
#include "support/test_support.hpp"
#include "trace/trace_state.hpp"

namespace dpl::test {

// Every test starts with the facility never started, and leaves it so.
class TraceTest : public ::testing::Test {
protected:
    void SetUp() override { trace::reset_for_tests(); }
    void TearDown() override { trace::reset_for_tests(); }

    std::string log() const { return read_file(log_path); }
    std::string debug() const { return read_file(debug_path); }

    RecordingPlatform os;
    ScratchDir dir;
    const std::string log_path = dir.file("install.log");
    const std::string debug_path = dir.file("install.log.debug");
};

}  // namespace dpl::test
