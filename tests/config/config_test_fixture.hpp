// An instance whose ORVANDEXDIR is a scratch directory with an etc
// directory, and a trace facility that writes everything to a log and a
// debug file in that directory.
#pragma once

#include <filesystem>
#include <string>

#include "support/traced_block_fixture.hpp"

namespace dpl::test {

class ConfigTest : public TracedBlockTest<> {
protected:
    void SetUp() override {
        TracedBlockTest<>::SetUp();
        std::filesystem::create_directories(dir.path() / "etc");
        instance = dplGetCurrentInstance(block);
        ASSERT_NE(nullptr, instance);
        ASSERT_EQ(0, dplSetEnvironment(block, "ORVANDEXDIR", dir.path().string().c_str()));
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

    const std::string input_path = dir.file("input");
    Instance *instance = nullptr;
};

}  // namespace dpl::test
