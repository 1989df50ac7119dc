// A context with its services model loaded from a scratch file, a backend
// whose socket probe and service manager answer as the test says, and the
// debug file at full detail.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "core/control_block.hpp"
#include "dpl/dpl.h"
#include "support/recording_platform.hpp"
#include "support/test_support.hpp"
#include "trace/trace_state.hpp"

namespace dpl::test {

class ScriptedPlatform : public RecordingPlatform {
public:
    platform::PortProbe probe_tcp_port(uint16_t port, uint32_t *error) override {
        probed.push_back(port);
        if (real_sockets) return RecordingPlatform::probe_tcp_port(port, error);
        const auto scripted = port_answers.find(port);
        const platform::PortProbe answer = scripted != port_answers.end() ? scripted->second : default_probe;
        *error = answer == platform::PortProbe::Clear ? 0 : probe_error;
        return answer;
    }

    platform::ServiceQuery query_service(const std::string &name, uint32_t *error) override {
        queried.push_back(name);
        *error = 0;
        if (manager_unavailable) {
            *error = 1722;
            return platform::ServiceQuery::ManagerUnavailable;
        }
        return installed.count(name) != 0 ? platform::ServiceQuery::Installed
                                          : platform::ServiceQuery::NotInstalled;
    }

    bool real_sockets = false;
    platform::PortProbe default_probe = platform::PortProbe::Clear;
    std::map<uint16_t, platform::PortProbe> port_answers;
    uint32_t probe_error = 10048;
    std::vector<uint16_t> probed;
    std::set<std::string> installed;
    bool manager_unavailable = false;
    std::vector<std::string> queried;
};

// Output of the library as a C program reading it in text mode would see it.
inline std::string read_text(const std::string &path) {
    std::string text = read_file(path);
#ifdef _WIN32
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') continue;
        plain.push_back(text[i]);
    }
    text.swap(plain);
#endif
    return text;
}

class ServicesTest : public ::testing::Test {
protected:
    void SetUp() override {
        trace::reset_for_tests();
        set_env("INSTALL_LOG", nullptr);
        ASSERT_EQ(HT_OK, ht_trace_start(log_path.c_str(), debug_path.c_str(), 9, 0, "p"));
        block = init_API(0, 1, "p", "12.10.FC1");
        ASSERT_NE(nullptr, block);
        dplServicesFree(block);
    }
    void TearDown() override {
        if (block != nullptr) {
            EXPECT_EQ(0, finish(block));
        }
        trace::reset_for_tests();
    }

    // Loads `content` as the services file.
    int32_t load(const std::string &content) {
        write_file(services_path, content);
        forget_messages();
        return dplServicesLoad(block, services_path.c_str());
    }

    // What the model writes.
    std::string written() {
        const std::string out = dir.file("written");
        EXPECT_EQ(0, dplServicesDeployFile(block, out.c_str()));
        return read_text(out);
    }

    const services::ServicesFile &model() const { return block->services; }

    // Forgets the messages so far: messages() then starts after them.
    void forget_messages() { seen_ = read_file(debug_path).size(); }

    // The texts of the debug lines written since forget_messages(), without
    // their location and prefix; the entry and exit marks are left out.
    std::vector<std::string> messages() const {
        std::vector<std::string> texts;
        const std::string all = read_file(debug_path);
        for (const std::string &line : lines_of(all.substr(seen_ < all.size() ? seen_ : all.size()))) {
            const std::size_t at = line.find(" p ");
            if (at == std::string::npos) continue;
            const std::string text = line.substr(at + 3);
            if (text.ends_with(": ENTER.") || text.find(": EXIT. rc=") != std::string::npos) continue;
            texts.push_back(text);
        }
        return texts;
    }

    bool has_message(const std::string &text) const {
        for (const std::string &message : messages()) {
            if (message == text) return true;
        }
        return false;
    }

    ScriptedPlatform os;
    ScratchDir dir;
    const std::string log_path = dir.file("install.log");
    const std::string debug_path = dir.file("install.log.debug");
    const std::string services_path = dir.file("services");
    InstallControlBlock *block = nullptr;

private:
    std::size_t seen_ = 0;
};

}  // namespace dpl::test
