// A context with its services model loaded from a scratch file, a backend
// whose socket probe and service manager answer as the test says, and the
// debug file at full detail.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
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
        *error = answer == platform::PortProbe::Clear ? 0 : 10048;
        return answer;
    }

    platform::ServiceQuery query_service(const std::string &name, uint32_t *error) override {
        *error = manager_unavailable ? 1722 : 0;
        if (manager_unavailable) return platform::ServiceQuery::ManagerUnavailable;
        return installed.count(name) ? platform::ServiceQuery::Installed
                                     : platform::ServiceQuery::NotInstalled;
    }

    bool real_sockets = false;
    platform::PortProbe default_probe = platform::PortProbe::Clear;
    std::map<uint16_t, platform::PortProbe> port_answers;
    std::vector<uint16_t> probed;
    std::set<std::string> installed;
    bool manager_unavailable = false;
};

using Texts = std::vector<std::string>;

class ServicesTest : public ::testing::Test {
protected:
    void SetUp() override {
        trace::reset_for_tests();
        set_env("INSTALL_LOG", nullptr);
        ASSERT_EQ(HT_OK, ht_trace_start(log_path.c_str(), debug_path.c_str(), 9, 0, "p"));
        block = init_API(0, 1, "p", "12.10.FC1");
        ASSERT_NE(nullptr, block);
        dplServicesFree(block);  // the one of the system
        forget_messages();
    }
    void TearDown() override {
        EXPECT_EQ(0, finish(block));
        trace::reset_for_tests();
    }

    // Loads `content` as the services file, after dropping any loaded one,
    // and forgets the messages so far.
    int32_t load(const std::string &content) {
        dplServicesFree(block);
        write_file(services_path, content);
        const int32_t rc = dplServicesLoad(block, services_path.c_str());
        forget_messages();
        return rc;
    }

    // What the model writes.
    std::string written() {
        const std::string out = dir.file("written");
        EXPECT_EQ(0, dplServicesDeployFile(block, out.c_str()));
        return read_file_text(out);
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
