// The instances of a machine: those registered, whichever installation they
// belong to, and whether one is running (markers of this process and of
// another one), and the server-number call.
#include <chrono>
#include <thread>

#include "discovery/discovery_fixture.hpp"
#include "support/test_support.hpp"

namespace dpl::test {
namespace {

using InstanceMarker = DiscoveryTest;

TEST_F(InstanceMarker, MarkersOfThisProcess) {
    open();
    InstallControlBlock foreign{};
    foreign.magic = 0x1234;
    const std::string long_name(10000, 'n');
    EXPECT_EQ(0, instance_event_exists("ol_here"));
    EXPECT_EQ(0, dplCheckforInstance(block, "ol_here"));
    ASSERT_EQ(0, dplCreateInstanceMarker("ol_here"));
    EXPECT_EQ(0, dplCreateInstanceMarker("ol_here"));  // already held
    const struct {
        const char *name;
        int32_t running;
    } cases[] = {{"ol_here", 1}, {"ol_other", 0}, {"OL_HERE_", 0}, {nullptr, 0}, {long_name.c_str(), 0}};
    for (const auto &c : cases) {
        EXPECT_EQ(c.running, instance_event_exists(c.name)) << (c.name ? c.name : "null");
        EXPECT_EQ(c.running, dplCheckforInstance(block, c.name));
        EXPECT_EQ(c.running, dplCheckforInstance(nullptr, c.name));
    }
    EXPECT_EQ(DPL_E_BAD_CONTEXT, dplCheckforInstance(&foreign, "ol_here"));
    EXPECT_EQ(0, dplReleaseInstanceMarker("ol_here"));
    EXPECT_EQ(0, instance_event_exists("ol_here"));
    EXPECT_EQ(-1, dplReleaseInstanceMarker("ol_here"));
    EXPECT_EQ(-1, dplCreateInstanceMarker(""));
    EXPECT_EQ(-1, dplCreateInstanceMarker(nullptr));
    EXPECT_EQ(-1, dplCreateInstanceMarker(long_name.c_str()));

    for (int i = 0; i < 3; ++i) EXPECT_EQ(0, dplCreateServerNum(block));
    EXPECT_EQ(0, dplCreateServerNum(nullptr));
    EXPECT_EQ(-1, dplCreateServerNum(&foreign));
    EXPECT_EQ("", take_log());
}

TEST_F(InstanceMarker, AMarkerHeldByAnotherProcessEndsWithIt) {
    open();
    ChildProcess child(child_program(), {"mark", "ol_child"});
    ASSERT_TRUE(child.started());
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (instance_event_exists("ol_child") == 0 && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    EXPECT_EQ(1, dplCheckforInstance(block, "ol_child"));
    // Marking the same instance here too neither fails nor takes it over.
    EXPECT_EQ(0, dplCreateInstanceMarker("ol_child"));
    EXPECT_EQ(-1, dplReleaseInstanceMarker("ol_child"));
    child.kill();
    EXPECT_EQ(0, dplCheckforInstance(block, "ol_child"));
}

using InstanceNames = DiscoveryTest;

std::string listed(char **names, int32_t count) {
    std::string text;
    for (int32_t i = 0; i < count; ++i) text.append(names[i]).append("|");
    return text;
}

TEST_F(InstanceNames, EveryRegisteredInstanceOfBothInstallations) {
    const std::string online = "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Orvandex\\Online\\";
    import_registry("Windows Registry Editor Version 5.00\r\n\r\n" + online +
                    "ol_a\\Environment]\r\n\"ORVANDEXDIR\"=\"C:\\\\One\"\r\n\r\n" + online +
                    "ol_b\\Environment]\r\n\"ORVANDEXDIR\"=\"C:\\\\Two\"\r\n\r\n" + online +
                    "ol_c\\Environment]\r\n\"ORVANDEXDIR\"=\"c:\\\\two\"\r\n\r\n" + online +
                    "ol_d\\Environment]\r\n\"ORVANDEXDIR\"=dword:00000007\r\n\r\n" + online +
                    "ol_e]\r\n\"Version\"=\"12.10.FC1\"\r\n");
    open();
    int32_t count = -1;
    char **names = get_instance_names(block, &count);
    ASSERT_EQ(5, count);
    EXPECT_EQ("ol_a|ol_b|ol_c|ol_d|ol_e|", listed(names, count));
    dplFreeNameList(names, count);
    EXPECT_EQ(
        "Getting NQR service names...\n"
        "Unable to get value of ORVANDEXDIR from ol_d\n"
        "\nUnable to open Environment registry key\n"
        "Unable to get value of ORVANDEXDIR from ol_e\n",
        take_log());
}

TEST_F(InstanceNames, NoOnlineKeyGivesNoList) {
    open();
    int32_t count = -1;
    EXPECT_EQ(nullptr, get_instance_names(block, &count));
    EXPECT_EQ(0, count);
    EXPECT_EQ(nullptr, get_instance_names(block, nullptr));
    EXPECT_EQ(
        "Getting NQR service names...\n"
        "Error: Cannot open registry key: SOFTWARE\\Orvandex\\Online registry key\n"
        "Getting NQR service names...\n"
        "Error: Cannot open registry key: SOFTWARE\\Orvandex\\Online registry key\n",
        take_log());
}

}  // namespace
}  // namespace dpl::test
