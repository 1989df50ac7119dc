// Whether an instance is running: markers of this process and of another
// one, and the server-number call.
#include <chrono>
#include <thread>

#include "discovery/discovery_fixture.hpp"

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
    BackgroundChild child("mark ol_child");
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

}  // namespace
}  // namespace dpl::test
