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
#include "support/traced_block_fixture.hpp"

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

class ServicesTest : public TracedBlockTest<> {
protected:
    void SetUp() override {
        TracedBlockTest::SetUp();
        if (HasFatalFailure()) return;
        dplServicesFree(block);  // the one of the system
        forget_messages();
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

    ScriptedPlatform os;
    const std::string services_path = dir.file("services");
};

}  // namespace dpl::test
