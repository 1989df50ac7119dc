// A scratch machine with tracing at full detail, a context, and a backend
// that records sleeping instead of sleeping, or a scripted one.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "dpl/dpl.h"
#include "support/machine_fixture.hpp"
#include "support/recording_platform.hpp"
#include "support/traced_block_fixture.hpp"

namespace dpl::test {

// A service manager that answers with the codes and states below, and a path
// status that can fail.
class ScriptedServices : public RecordingPlatform {
public:
    uint32_t sc_open_manager(const std::string &, platform::ScHandle *out) override {
        return hand_out(manager_error, out);
    }
    uint32_t sc_open_service(platform::ScHandle, const std::string &, uint32_t,
                             platform::ScHandle *out) override {
        return hand_out(open_error, out);
    }
    uint32_t sc_create_service(platform::ScHandle, const platform::ServiceDefinition &service,
                               platform::ScHandle *out) override {
        created = service;
        password = service.password != nullptr ? service.password : "<none>";
        return hand_out(create_error, out);
    }
    uint32_t sc_set_description(platform::ScHandle, const std::string &text) override {
        description = text;
        return description_error;
    }
    uint32_t sc_delete_service(platform::ScHandle) override { return delete_error; }
    uint32_t sc_control_stop(platform::ScHandle, platform::ServiceStatus *) override { return control_error; }
    uint32_t sc_query_status(platform::ScHandle, platform::ServiceStatus *status) override {
        if (query_error != 0) return query_error;
        status->current_state = states[std::min<std::size_t>(queries++, states.size() - 1)];
        return 0;
    }
    uint32_t sc_close(platform::ScHandle) override {
        --open_handles;
        return 0;
    }
    std::optional<std::string> short_path(const std::string &path, std::size_t limit) override {
        return short_form ? short_form : RecordingPlatform::short_path(path, limit);
    }
    bool path_status(const std::string &path, platform::PathStatus *status,
                     platform::SysError *error) override {
        if (status_errno == 0) return RecordingPlatform::path_status(path, status, error);
        *error = platform::SysError{status_errno, platform::err::kAccessDenied};
        return false;
    }

    uint32_t manager_error = 0, open_error = 0, create_error = 0, description_error = 0, delete_error = 0,
             control_error = 0, query_error = 0, status_errno = 0;
    std::vector<uint32_t> states{platform::scstate::kStopped};  // one per query; the last repeats
    std::size_t queries = 0;
    int open_handles = 0;
    platform::ServiceDefinition created;
    std::string password, description;
    std::optional<std::string> short_form;  // of every path, when set

private:
    uint32_t hand_out(uint32_t error, platform::ScHandle *out) {
        *out = error != 0 ? platform::kNoScHandle : ++handed_out_;
        if (error == 0) ++open_handles;
        return error;
    }
    platform::ScHandle handed_out_ = 0x100;
};

// `Os` is the backend in force while the test runs.
template <class Os>
class DeployTestOn : public TracedBlockTest<MachineTest> {
protected:
    Os os;
};

using DeployTest = DeployTestOn<RecordingPlatform>;

}  // namespace dpl::test
