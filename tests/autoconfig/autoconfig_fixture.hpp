// The instance of a server "srv" in the scratch directory, with its
// autoconfig settings and recommendation records.
#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "config/config_test_fixture.hpp"

namespace dpl::test {

class AutoconfigTest : public ConfigTest {
protected:
    void SetUp() override {
        ConfigTest::SetUp();
        settings = dplGetAutoConfigSettings(block);
        record = dplGetRecommendationRecord(block);
        ASSERT_NE(nullptr, settings);
        ASSERT_NE(nullptr, record);
        ASSERT_EQ(0, dplSetEnvironment(block, "ORVANDEXSERVER", "srv"));
        new_messages();  // what initialisation logged is not the test's
    }

    // Reads `content` as the instance's onconfig.
    void read_onconfig(const std::string &content) {
        write_file(onconfig_path(), content);
        ASSERT_EQ(0, dplReadConfig(instance, onconfig_path().c_str()));
    }
    std::string onconfig_path() const { return etc_file("onconfig.srv"); }
    // The messages logged since the last call, without their " p " prefix.
    std::vector<std::string> new_messages() {
        const std::string text = read_file_text(log_path);
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

    AutoConfigSettings *settings = nullptr;
    Recommendation *record = nullptr;

private:
    std::size_t seen_ = 0;
};

}  // namespace dpl::test
