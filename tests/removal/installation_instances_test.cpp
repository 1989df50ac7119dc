// Stopping and removing every registered instance of a machine with two
// installations: what is done to each instance and its listener, the
// counts and the messages; then the same against the machine's own service
// manager.
#include <filesystem>
#include <map>
#include <sstream>
#include <vector>

#include "discovery/discovery_fixture.hpp"
#include "platform/platform.hpp"
#include "removal/installation_instances.hpp"
#include "support/recording_platform.hpp"

namespace dpl::test {
namespace {

const std::string kServices = "SYSTEM\\CurrentControlSet\\Services\\";

// Records what was asked and answers what the test scripted per server.
class ScriptedCalls : public removal::ListenerServices, public removal::InstanceCalls {
public:
    void stop(const std::string &server, bool remove) override {
        done.push_back(server + (remove ? "_json stop+delete" : "_json stop"));
    }
    int32_t stop(InstallControlBlock *, const char *server) override {
        done.push_back(std::string(server) + " stop");
        return results[server];
    }
    int32_t remove(InstallControlBlock *, const char *server) override {
        done.push_back(std::string(server) + " remove");
        return results[server];
    }
    std::map<std::string, int32_t> results;
    std::vector<std::string> done;
};

class InstallationInstances : public DiscoveryTest {
protected:
    void SetUp() override {
        DiscoveryTest::SetUp();
        std::filesystem::create_directories(dir("first"));
        std::filesystem::create_directories(dir("second"));
        const std::string online = "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Orvandex\\Online\\";
        import_registry("Windows Registry Editor Version 5.00\r\n\r\n" + online + "ol_one\\Environment]\r\n" +
                        "\"ORVANDEXDIR\"=" + reg_text(dir("first")) + "\r\n\r\n" + online +
                        "ol_two\\Environment]\r\n\"ORVANDEXDIR\"=" + reg_text(dir("second")) + "\r\n\r\n" +
                        online + "ol_three\\Environment]\r\n\"ORVANDEXDIR\"=" + reg_text(dir("second")) +
                        "\r\n");
    }
    std::string dir(const char *name) const { return (root.path() / name).string(); }
    int32_t stop(const std::string &directory) {
        return removal::stop_installation_instances(block, directory.c_str(), calls, calls);
    }
    int32_t remove(const std::string &directory) {
        return removal::remove_installation_instances(block, directory.c_str(), calls, calls);
    }
    ScriptedCalls calls;
};

TEST_F(InstallationInstances, RemovalCountsPlainFailuresOnly) {
    open("12.10.FC1", DPL_MODE_MAINTENANCE);
    calls.results = {{"ol_one", 0}, {"ol_three", DPL_E_INVALID_VALUE}, {"ol_two", DPL_E_FAIL}};
    const std::string first = dir("first");
    EXPECT_EQ(-1, remove(first));
    EXPECT_EQ(
        (std::vector<std::string>{"ol_one_json stop+delete", "ol_one remove", "ol_three_json stop+delete",
                                  "ol_three remove", "ol_two_json stop+delete", "ol_two remove"}),
        calls.done);
    const char *value = nullptr;
    ASSERT_EQ(0, dplGetEnvironment(block, "ORVANDEXDIR", &value));
    EXPECT_EQ(first, value);
    EXPECT_EQ(first, dplGetInstallDir(block));
    EXPECT_EQ(
        "Getting NQR service names...\n"
        "Found 3 instance(s) to remove for ORVANDEXDIR: " +
            first + "\n" + "Removed 2 instance(s) for ORVANDEXDIR: " + first + "\n" +
            "Unable to remove 1 instance(s) for ORVANDEXDIR: " + first + "\n",
        take_log());
}

TEST_F(InstallationInstances, StoppingEveryInstanceOfTheMachine) {
    open();
    calls.results = {{"ol_one", DPL_E_FAIL}, {"ol_three", 0}, {"ol_two", 1}};
    const std::string second = dir("second");
    EXPECT_EQ(-1, stop(second));
    EXPECT_EQ((std::vector<std::string>{"ol_one_json stop", "ol_one stop", "ol_three_json stop",
                                        "ol_three stop", "ol_two_json stop", "ol_two stop"}),
              calls.done);
    EXPECT_EQ(
        "Getting NQR service names...\n"
        "Found 3 instance(s) to stop for ORVANDEXDIR: " +
            second + "\n" + "Stopped 2 instance(s) for ORVANDEXDIR: " + second + "\n" +
            "Unable to stop 1 instance(s) for ORVANDEXDIR: " + second + "\n",
        take_log());
    calls.results["ol_one"] = 0;
    EXPECT_EQ(0, stop(second));  // ORVANDEXDIR already the directory
    EXPECT_EQ(
        "Getting NQR service names...\n"
        "Found 3 instance(s) to stop for ORVANDEXDIR: " +
            second + "\n" + "Stopped 3 instance(s) for ORVANDEXDIR: " + second + "\n",
        take_log());
}

TEST_F(InstallationInstances, RefusalsAndEmptyMachines) {
    InstallControlBlock foreign{};
    foreign.magic = 7;
    EXPECT_EQ(DPL_E_BAD_CONTEXT, remove(""));  // no block
    block = &foreign;
    EXPECT_EQ(DPL_E_BAD_CONTEXT, remove(dir("first")));
    EXPECT_EQ(DPL_E_BAD_CONTEXT, stop(dir("first")));
    block = nullptr;
    open();
    EXPECT_EQ(DPL_E_NULL_ARGUMENT, remove(""));
    EXPECT_EQ(-1, remove(dir("first")));
    EXPECT_EQ(
        "Function requires installation path as argument\n"
        "Function not supported in INSTALL mode\n",
        take_log());
    close_block();
    platform::current().reg_delete_tree(platform::kLocalMachine, "SOFTWARE\\Orvandex",
                                        platform::RegView::Default);
    for (const uint32_t mode : {0u, DPL_MODE_MAINTENANCE}) {
        open("12.10.FC1", mode);
        if (mode != 0) {
            EXPECT_EQ(0, remove(dir("first")));
        }
        EXPECT_EQ(0, stop(dir("first")));
        const std::string none =
            "Getting NQR service names...\n"
            "Error: Cannot open registry key: SOFTWARE\\Orvandex\\Online registry key\n"
            "No instances to be updated\n";
        EXPECT_EQ(mode != 0 ? none + none : none, take_log());
        close_block();
    }
    EXPECT_TRUE(calls.done.empty());
}

// The three instances and their listeners as services of the machine, each
// instance's configuration file in its installation's etc directory.
class RegisteredServices : public InstallationInstances {
protected:
    void SetUp() override {
        InstallationInstances::SetUp();
        open("12.10.FC1", DPL_MODE_MAINTENANCE);
        for (const auto &[server, installation] : kInstances) {
            std::filesystem::create_directories(root.path() / installation / "etc");
            write_file((root.path() / installation / "etc" / ("onconfig." + server)).string(),
                       "DBSERVERNAME " + server + "\n");
            for (const std::string &service : {server, server + "_json"})
                ASSERT_EQ(0, dplWinServiceCreate(block, service.c_str(), nullptr, nullptr,
                                                 (dir(installation) + "\\bin\\server.exe").c_str(), nullptr,
                                                 nullptr));
        }
#ifndef _WIN32
        // Natively the services run; one listener never finishes stopping,
        // which only a caller that waits for it would notice.
        for (const auto &[server, installation] : kInstances) {
            for (const std::string &service : {server, server + "_json"})
                set_dword(kServices + service, "DplState", platform::scstate::kRunning);
        }
        set_dword(kServices + "ol_two_json", "DplStopPolls", 0xFFFFFFFFu);
#endif
    }
    void TearDown() override {
        for (const auto &[server, installation] : kInstances) {
            dplWinServiceDelete(block, server.c_str());
            dplWinServiceDelete(block, (server + "_json").c_str());
        }
        InstallationInstances::TearDown();
    }
    // "name=state" of every service of the instances still installed.
    static std::string services() {
        auto &os = platform::current();
        platform::ScopedScHandle manager;
        if (os.sc_open_manager("", manager.out()) != 0) return "<no manager>";
        std::ostringstream text;
        for (const auto &[server, installation] : kInstances) {
            for (const std::string &name : {server, server + "_json"}) {
                platform::ScopedScHandle service;
                platform::ServiceStatus status;
                if (os.sc_open_service(manager.get(), name, platform::scaccess::kQueryStatus,
                                       service.out()) == 0 &&
                    os.sc_query_status(service.get(), &status) == 0)
                    text << name << "=" << status.current_state << " ";
            }
        }
        return text.str();
    }
    // The lines of the log that count instances, since the last call.
    std::string count_lines() {
        std::istringstream log(take_log());
        std::string lines;
        for (std::string line; std::getline(log, line);)
            if (line.find(" instance(s) ") != std::string::npos) lines += line + "\n";
        return lines;
    }
    RecordingPlatform recording;  // counts the time spent waiting instead of waiting
    static inline const std::vector<std::pair<std::string, const char *>> kInstances{
        {"ol_one", "first"}, {"ol_two", "second"}, {"ol_three", "second"}};
};

TEST_F(RegisteredServices, StoppingThenRemovingTheSecondInstallation) {
    const std::string second = dir("second");
#ifndef _WIN32
    const std::string stopping_listener = "ol_two_json=3 ";  // the stop control sent, nobody waited
#else
    const std::string stopping_listener = "ol_two_json=1 ";  // Wine's services never ran
#endif
    struct Step {
        bool remove;
        int32_t rc;
        std::vector<std::string> counts;  // each followed by " for ORVANDEXDIR: <second>"
        std::string services;
        std::string online;
    };
    const Step steps[] = {
        {false,
         0,
         {"Found 3 instance(s) to stop", "Stopped 3 instance(s)"},
         "ol_one=1 ol_one_json=1 ol_two=1 " + stopping_listener + "ol_three=1 ol_three_json=1 ",
         "ol_one\nol_three\nol_two\n"},
        // The list is the machine's: the first installation's listener goes
        // too, but its instance cannot be removed from the second's directory.
        {true,
         -1,
         {"Found 3 instance(s) to remove", "Removed 2 instance(s)", "Unable to remove 1 instance(s)"},
         "ol_one=1 ",
         "ol_one\n"},
    };
    for (const Step &step : steps) {
        SCOPED_TRACE(step.remove ? "remove" : "stop");
        EXPECT_EQ(step.rc, step.remove ? dplRemoveInstallationInstances(block, second.c_str())
                                       : dplStopInstallationInstances(block, second.c_str()));
        std::string expected;
        for (const std::string &count : step.counts) expected += count + " for ORVANDEXDIR: " + second + "\n";
        EXPECT_EQ(expected, count_lines());
        EXPECT_EQ(step.services, services());
        EXPECT_EQ(step.online, subkeys_of("SOFTWARE\\Orvandex\\Online"));
        EXPECT_EQ(0u, recording.slept_ms);
    }
    EXPECT_TRUE(std::filesystem::exists(root.path() / "first" / "etc" / "onconfig.ol_one"));
    EXPECT_FALSE(std::filesystem::exists(root.path() / "second" / "etc" / "onconfig.ol_two"));
    EXPECT_FALSE(std::filesystem::exists(root.path() / "second" / "etc" / "onconfig.ol_three"));
}

}  // namespace
}  // namespace dpl::test
