// Stopping and removing every registered instance of a machine with two
// installations: what is done to each instance and its listener, the
// counts and the messages.
#include <filesystem>
#include <map>
#include <vector>

#include "discovery/discovery_fixture.hpp"
#include "removal/installation_instances.hpp"

namespace dpl::test {
namespace {

// Records what was asked and answers what the test scripted per server.
class ScriptedCalls : public removal::ListenerServices, public removal::InstanceCalls {
public:
    void stop(InstallControlBlock *, const std::string &server, bool remove) override {
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

}  // namespace
}  // namespace dpl::test
