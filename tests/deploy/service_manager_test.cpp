// Creating, deleting and stopping services against a scripted service
// manager: every branch, its code, its messages, and every handle closed.
#include <string>
#include <vector>

#include "deploy/deploy_fixture.hpp"

namespace dpl::test {
namespace {

using platform::scstate::kStopped;
using platform::scstate::kStopPending;
using Fault = uint32_t ScriptedServices::*;
constexpr Fault kNone = nullptr, kManager = &ScriptedServices::manager_error,
                kOpen = &ScriptedServices::open_error, kCreate = &ScriptedServices::create_error,
                kDescribe = &ScriptedServices::description_error, kDelete = &ScriptedServices::delete_error,
                kControl = &ScriptedServices::control_error, kQuery = &ScriptedServices::query_error;

class ServiceManager : public DeployTestOn<ScriptedServices> {
protected:
    void TearDown() override {
        EXPECT_EQ(0, os.open_handles);
        DeployTestOn::TearDown();
    }
    // Only `fault` fails, with `code`; a service opened by name is `opened`.
    void script(Fault fault, uint32_t code, uint32_t opened = 0) {
        for (Fault each : {kManager, kCreate, kDescribe, kDelete, kControl, kQuery}) os.*each = 0;
        os.open_error = opened;
        if (fault != kNone) os.*fault = code;
        forget_messages();
    }
};

TEST_F(ServiceManager, CreateReportsEachOutcome) {
    const struct {
        const char *name, *command, *account, *password, *description;
        Fault fault;
        uint32_t code;
        int32_t rc;
        std::string said;  // after "dplWinServiceCreate: "
    } cases[] = {
        {nullptr, "c", nullptr, nullptr, nullptr, kNone, 0, -967, "name or image not specified"},
        {"s", "", nullptr, nullptr, nullptr, kNone, 0, -967, "name or image not specified"},
        {"s", "c", "u", "", nullptr, kNone, 0, -967, "user was specified, password must also be specified"},
        {"s", "c", nullptr, nullptr, nullptr, kManager, 5, -1, "OpenSCManager failed: 5"},
        {"s", "c", nullptr, nullptr, nullptr, kOpen, 0, -966, "service s already exists"},
        {"s", "c", "u", "pw", nullptr, kCreate, 1057, -985, "CreateService s failed: 1057"},
        {"s", "c", nullptr, nullptr, nullptr, kCreate, 1073, -1, "CreateService s failed: 1073"},
        {"s", "c", "u", "pw", "d", kNone, 0, 0, "successfully created s with description"},
        {"s", "c", nullptr, nullptr, "d", kDescribe, 5, 0,
         "service s created, but could not set description"},
        {"s", "c", nullptr, "ignored", "", kNone, 0, 0, "successfully created s"},
    };
    for (const auto &c : cases) {
        script(c.fault, c.code, platform::err::kServiceDoesNotExist);
        EXPECT_EQ(c.rc, dplWinServiceCreate(block, c.name, "shown", c.description, c.command, c.account,
                                            c.password))
            << c.said;
        EXPECT_EQ(Texts{"dplWinServiceCreate: " + c.said}, messages());
    }
    // The account's password is handed on, none without an account.
    EXPECT_EQ("<none>", os.password);
    EXPECT_EQ("", os.created.account);
    EXPECT_EQ("shown", os.created.display_name);
    EXPECT_EQ("d", os.description);
    EXPECT_EQ(-947, dplWinServiceCreate(nullptr, "s", "", "", "c", nullptr, nullptr));
}

TEST_F(ServiceManager, DeleteReportsEachOutcome) {
    const struct {
        const char *name;
        Fault fault;
        uint32_t code;
        int32_t rc;
        std::string said;  // after "dplWinServiceDelete: "
    } cases[] = {
        {"", kNone, 0, -967, "service name not specified"},
        {"s", kManager, 5, -1, "OpenSCManager failed: 5"},
        {"s", kOpen, 1060, -966, "service s does not exist"},
        {"s", kDelete, 1072, 0, "DeleteService s failed: 1072"},
        {"s", kNone, 0, 0, "successfully deleted s"},
    };
    for (const auto &c : cases) {
        script(c.fault, c.code);
        EXPECT_EQ(c.rc, dplWinServiceDelete(block, c.name)) << c.said;
        EXPECT_EQ(Texts{"dplWinServiceDelete: " + c.said}, messages());
    }
}

TEST_F(ServiceManager, StopPollsEveryFiveSecondsForThreeMinutes) {
    const struct {
        Fault fault;
        uint32_t code;
        std::vector<uint32_t> states;
        int32_t rc;
        std::size_t polls;
        uint32_t slept_ms;
        Texts said;  // after "Stopping service (s)...", whose trailing blank the trace drops
    } cases[] = {
        {kManager, 5, {kStopped}, -1, 0, 0, {"Error: Stopping s, OpenScManager() failed"}},
        {kOpen, 1060, {kStopped}, 0, 0, 0, {"Stopping service. Service not present in SCMD: s"}},
        {kOpen, 5, {kStopped}, -1, 0, 0, {"Error: Stop service failed: s - Error: 5"}},
        {kControl, 1062, {kStopped}, 0, 1, 0, {"Service not active: s"}},
        {kControl, 1053, {kStopPending, kStopped}, 0, 2, 5000, {"Error: ControlService() time-out error: s"}},
        {kControl, 1061, {kStopped}, -1, 0, 0, {"Error: Ensure that s service is stopped and try again"}},
        {kNone, 0, {kStopped}, 0, 1, 0, {}},
        {kNone, 0, {kStopPending, kStopPending, kStopPending, kStopped}, 0, 4, 15000, {}},
        {kNone, 0, {kStopPending}, -1, 36, 180000, {"Error: Time-out stopping service in 180 secs.: s"}},
        {kQuery, 6, {kStopped}, -1, 0, 0, {"Error: Stop service failed: s - Error: 6"}},
    };
    for (const auto &c : cases) {
        script(c.fault, c.code);
        os.states = c.states;
        os.queries = 0;
        os.slept_ms = 0;
        Texts said{"Stopping service (s)..."};
        said.insert(said.end(), c.said.begin(), c.said.end());
        EXPECT_EQ(c.rc, dplStopInstance(block, "s")) << said.back();
        EXPECT_EQ(said, messages());
        EXPECT_EQ(c.polls, os.queries) << said.back();
        EXPECT_EQ(c.slept_ms, os.slept_ms) << said.back();
    }
    EXPECT_EQ(-967, dplStopInstance(block, ""));
    EXPECT_EQ(-947, dplStopInstance(nullptr, "s"));
}

TEST_F(ServiceManager, TheOptionWordStartsEmptyAndHoldsTheDemoFlag) {
    EXPECT_EQ(0u, dplGetInstallOptions(block));
    EXPECT_EQ(0, dplSetInstallOptions(block, DPL_OPTION_DEMO));
    EXPECT_EQ(DPL_OPTION_DEMO, dplGetInstallOptions(block));
    EXPECT_EQ(0u, dplGetInstallMode(block));
    EXPECT_EQ(-947, dplSetInstallOptions(nullptr, DPL_OPTION_DEMO));
    EXPECT_EQ(0u, dplGetInstallOptions(nullptr));
}

}  // namespace
}  // namespace dpl::test
