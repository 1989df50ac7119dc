// A block whose current instance has ORVANDEXDIR and ORVANDEXSERVER set to a
// scratch directory and server "srv", with a trace facility that writes
// everything to a log and a debug file in that directory.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "dpl/dpl.h"
#include "support/test_support.hpp"
#include "trace/trace_state.hpp"

namespace dpl::test {

class AutoconfigTest : public ::testing::Test {
protected:
    void SetUp() override {
        trace::reset_for_tests();
        set_env("INSTALL_LOG", nullptr);
        std::filesystem::create_directories(dir.path() / "etc");
        ASSERT_EQ(HT_OK, ht_trace_start(log_path.c_str(), debug_path.c_str(), 9, 0, "p"));
        block = init_API(0, 1, "p", "12.10.FC1");
        ASSERT_NE(nullptr, block);
        instance = dplGetCurrentInstance(block);
        settings = dplGetAutoConfigSettings(block);
        record = dplGetRecommendationRecord(block);
        ASSERT_NE(nullptr, settings);
        ASSERT_NE(nullptr, record);
        ASSERT_EQ(0, dplSetEnvironment(block, "ORVANDEXDIR", dir.path().string().c_str()));
        ASSERT_EQ(0, dplSetEnvironment(block, "ORVANDEXSERVER", "srv"));
        new_messages();  // what initialisation logged is not the test's
    }
    void TearDown() override {
        finish(block);
        trace::reset_for_tests();
    }

    // Reads `content` as the instance's onconfig.
    void read_onconfig(const std::string &content) {
        write_file(onconfig_path(), content);
        ASSERT_EQ(0, dplReadConfig(instance, onconfig_path().c_str()));
    }
    std::string onconfig_path() const { return (dir.path() / "etc" / "onconfig.srv").string(); }
    std::string log() const { return read_file_text(log_path); }
    // The messages logged since the last call, without their " p " prefix.
    std::vector<std::string> new_messages() {
        const std::string text = log();
        std::vector<std::string> messages;
        for (const std::string &line : lines_of(text.substr(std::min(seen_, text.size())))) {
            messages.push_back(line.rfind(" p ", 0) == 0 ? line.substr(3) : line);
        }
        seen_ = text.size();
        return messages;
    }
    // Makes every storage location measured with these figures, so that a
    // calculation does no disk I/O.
    void measured_locations(int32_t read_speed, int32_t write_speed) {
        for (DiskLocation *at = dplGetDiskLocations(block); at != nullptr; at = at->next) {
            at->measured = 1;
            at->read_speed = read_speed;
            at->write_speed = write_speed;
        }
    }
    // A calculation that fits any scratch volume: the instance path in the
    // scratch directory, 200,000 KB of memory and 100 MB of disk.
    void small_server(int32_t read_speed, int32_t write_speed) {
        read_onconfig("ROOTSIZE 200000\n");
        ASSERT_EQ(0, dplSetAutoConfig(block, DPL_SET_INSTANCEPATH, dir.file("dbspaces").c_str()));
        ASSERT_EQ(0, dplSetAutoConfig(block, DPL_SET_MAXMEM, "200000"));
        ASSERT_EQ(0, dplSetAutoConfig(block, DPL_SET_MAXDISK, "100MB"));
        measured_locations(read_speed, write_speed);
    }
    std::string sep() const { return std::string(1, std::filesystem::path::preferred_separator); }

    ScratchDir dir;
    const std::string log_path = dir.file("install.log");
    const std::string debug_path = dir.file("install.log.debug");
    InstallControlBlock *block = nullptr;
    Instance *instance = nullptr;
    AutoConfigSettings *settings = nullptr;
    Recommendation *record = nullptr;

private:
    std::size_t seen_ = 0;
};

}  // namespace dpl::test
