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
#include "trace/trace_state.hpp"

namespace dpl::test {

using Texts = std::vector<std::string>;

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
class DeployTestOn : public MachineTest {
protected:
    void SetUp() override {
        MachineTest::SetUp();
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
        MachineTest::TearDown();
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

    Os os;
    ScratchDir dir;
    const std::string log_path = dir.file("install.log");
    const std::string debug_path = dir.file("install.log.debug");
    InstallControlBlock *block = nullptr;

private:
    std::size_t seen_ = 0;
};

using DeployTest = DeployTestOn<RecordingPlatform>;

}  // namespace dpl::test
