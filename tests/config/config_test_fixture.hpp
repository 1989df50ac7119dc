// An instance whose ORVANDEXDIR is a scratch directory with an etc
// directory, and a trace facility that writes everything to a debug file.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "dpl/dpl.h"
#include "support/test_support.hpp"
#include "trace/trace_state.hpp"

namespace dpl::test {

class ConfigTest : public ::testing::Test {
protected:
    void SetUp() override {
        trace::reset_for_tests();
        set_env("INSTALL_LOG", nullptr);
        std::filesystem::create_directories(dir.path() / "etc");
        ASSERT_EQ(HT_OK, ht_trace_start(log_path.c_str(), debug_path.c_str(), 9, 0, "p"));
        block = init_API(0, 1, "p", "12.10.FC1");
        ASSERT_NE(nullptr, block);
        instance = dplGetCurrentInstance(block);
        ASSERT_NE(nullptr, instance);
        ASSERT_EQ(0, dplSetEnvironment(block, "ORVANDEXDIR", dir.path().string().c_str()));
    }
    void TearDown() override {
        finish(block);
        trace::reset_for_tests();
    }

    // Writes `content` as an input file and reads it into the instance.
    int32_t read_text(const std::string &content) {
        write_file(input_path, content);
        return dplReadConfig(instance, input_path.c_str());
    }

    std::string etc_file(const std::string &name) const { return (dir.path() / "etc" / name).string(); }

    // The file written for server "srv", in text mode.
    std::string written() {
        EXPECT_EQ(0, dplSetEnvironment(block, "ORVANDEXSERVER", "srv"));
        EXPECT_EQ(0, dplWriteConfig(instance));
        return read_file_text(etc_file("onconfig.srv"));
    }

    std::string debug() const { return read_file(debug_path); }

    ScratchDir dir;
    const std::string log_path = dir.file("install.log");
    const std::string debug_path = dir.file("install.log.debug");
    const std::string input_path = dir.file("input");
    InstallControlBlock *block = nullptr;
    Instance *instance = nullptr;
};

}  // namespace dpl::test
