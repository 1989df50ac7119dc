// Whether ports and names are free.
#include <string>
#include <vector>

#include "services/services_fixture.hpp"
#include "support/listener.hpp"

namespace dpl::test {
namespace {

using platform::PortProbe;

class ServicesProbe : public ServicesTest {
protected:
    void SetUp() override {
        ServicesTest::SetUp();
        ASSERT_EQ(0, load("udponly 5000/udp\nboth 5001/tcp b-alias\nboth 5002/udp\nhigh 40000/tcp\n"));
        forget_messages();
    }
};

TEST_F(ServicesProbe, APortOfTheFileCountsOnlyForItsProtocol) {
    EXPECT_EQ(0, dplServicesTestPort(block, 5000, "tcp"));
    EXPECT_EQ((std::vector<uint16_t>{5000}), os.probed);
    EXPECT_EQ(2, dplServicesTestPort(block, 5000, ""));
    EXPECT_EQ(2, dplServicesTestPort(block, 5000, nullptr));
    EXPECT_EQ(2, dplServicesTestPort(block, 5000, "udp"));
    EXPECT_EQ(1u, os.probed.size());
    os.port_answers[5000] = PortProbe::InUse;
    EXPECT_EQ(1, dplServicesTestPort(block, 5000, "tcp"));
}

TEST_F(ServicesProbe, EveryProbeOutcomeIsLogged) {
    os.port_answers[6001] = PortProbe::InUse;
    os.port_answers[6002] = PortProbe::StartupFailed;
    os.port_answers[6003] = PortProbe::SocketFailed;
    EXPECT_EQ(0, dplServicesTestPort(block, 6000, "tcp"));
    os.probe_error = 10048;
    EXPECT_EQ(1, dplServicesTestPort(block, 6001, "tcp"));
    os.probe_error = 10091;
    EXPECT_EQ(1, dplServicesTestPort(block, 6002, "tcp"));
    os.probe_error = 10093;
    EXPECT_EQ(1, dplServicesTestPort(block, 6003, "udp"));
    EXPECT_EQ((std::vector<std::string>{
                  "Bound to port 6000; port is clear",
                  "Could not bind to port 6001, port in use. Code: 10048",
                  "Error: WSAStartup returned failure. Code: 10091",
                  "Error: Could not create socket. Code: 10093",
              }),
              messages());
}

TEST_F(ServicesProbe, PortArgumentErrors) {
    EXPECT_EQ(DPL_E_BAD_CONTEXT, dplServicesTestPort(nullptr, 1, nullptr));
    EXPECT_EQ(DPL_E_INVALID_VALUE, dplServicesTestPort(block, 0, nullptr));
    EXPECT_EQ(DPL_E_BAD_CONTEXT, dplServicesCheatSockets(nullptr));
    EXPECT_EQ((std::vector<std::string>{
                  "Error: Install structure is null in dplServicesTestPort.",
                  "Error: The port is the reserved value 0 in dplServicesTestPort.",
                  "Error: The install structure is null in dplServicesCheatSockets.",
              }),
              messages());
    dplServicesFree(block);
    EXPECT_EQ(DPL_E_BAD_CONTEXT, dplServicesTestPort(block, 1, nullptr));
    EXPECT_EQ(DPL_E_BAD_CONTEXT, dplServicesCheatSockets(block));
}

TEST_F(ServicesProbe, WithSocketsOffOnlyTheFileCounts) {
    os.default_probe = PortProbe::InUse;
    EXPECT_EQ(1, dplServicesTestPort(block, 6000, "tcp"));
    ASSERT_EQ(0, dplServicesCheatSockets(block));
    os.probed.clear();
    EXPECT_EQ(0, dplServicesTestPort(block, 6000, "tcp"));
    EXPECT_EQ(2, dplServicesTestPort(block, 5001, "tcp"));
    EXPECT_TRUE(os.probed.empty());
}

TEST_F(ServicesProbe, APortWithARealListenerIsInUseUntilSocketsAreTurnedOff) {
    os.real_sockets = true;
    Listener listener;
    ASSERT_NE(0, listener.port());
    EXPECT_EQ(1, dplServicesTestPort(block, listener.port(), "tcp"));
    EXPECT_EQ(1, dplServicesTestPort(block, listener.port(), nullptr));
    ASSERT_EQ(0, dplServicesCheatSockets(block));
    EXPECT_EQ(0, dplServicesTestPort(block, listener.port(), "tcp"));
}

TEST_F(ServicesProbe, ANameIsUsedByTheFileOrByAnInstalledService) {
    EXPECT_EQ(1, dplServicesTestName(block, "both", nullptr));
    EXPECT_EQ(1, dplServicesTestName(block, "both", "udp"));
    EXPECT_EQ(1, dplServicesTestName(block, "b-alias", "tcp"));
    EXPECT_EQ(0, dplServicesTestName(block, "b-alias", "udp"));
    EXPECT_EQ(1, dplServicesTestName(block, "b-alias", ""));
    EXPECT_EQ(0, dplServicesTestName(block, "Both", nullptr));
    EXPECT_EQ(0, dplServicesTestName(block, "free", nullptr));
    os.installed.insert("free");
    EXPECT_EQ(1, dplServicesTestName(block, "free", nullptr));
    EXPECT_EQ(0, dplCheckAliasList(block, "both", nullptr));
    EXPECT_EQ(0, dplCheckAliasList(nullptr, nullptr, nullptr));
}

TEST_F(ServicesProbe, NameArgumentErrors) {
    os.manager_unavailable = true;
    EXPECT_EQ(DPL_E_NULL_ARGUMENT, dplServicesTestName(block, "both", nullptr));
    EXPECT_EQ(DPL_E_BAD_CONTEXT, dplServicesTestName(nullptr, "x", nullptr));
    EXPECT_EQ(DPL_E_NULL_ARGUMENT, dplServicesTestName(block, "", nullptr));
    EXPECT_EQ(DPL_E_NULL_ARGUMENT, dplServicesTestName(block, nullptr, nullptr));
    EXPECT_EQ((std::vector<std::string>{
                  "dplServicesTestName: OpenSCManager failed: 1722",
                  "Error: The install structure is null in dplServicestestName.",
                  "Error: The name parameter is null or blank in dplServicesTestName.",
                  "Error: The name parameter is null or blank in dplServicesTestName.",
              }),
              messages());
}

TEST_F(ServicesProbe, ThePortOfANameComesFromTheLastLineThatCarriesIt) {
    EXPECT_EQ(5002, dplServicesGetPortFromName(block, "both", nullptr));
    EXPECT_EQ(5001, dplServicesGetPortFromName(block, "both", "tcp"));
    EXPECT_EQ(5002, dplServicesGetPortFromName(block, "both", ""));
    EXPECT_EQ(5001, dplServicesGetPortFromName(block, "b-alias", nullptr));
    EXPECT_EQ(0, dplServicesGetPortFromName(block, "b-alias", "udp"));
    EXPECT_EQ(0, dplServicesGetPortFromName(block, "nothing", nullptr));
    // Above 32767 the port comes back negative.
    const int16_t high = dplServicesGetPortFromName(block, "high", "tcp");
    EXPECT_EQ(-25536, high);
    EXPECT_EQ(40000, static_cast<uint16_t>(high));
}

TEST_F(ServicesProbe, ALineWithPortZeroAnswersZeroAndEndsTheSearch) {
    dplServicesFree(block);
    ASSERT_EQ(0, load("zero 80/tcp\nother 0/tcp zero\n"));
    EXPECT_EQ(0, dplServicesGetPortFromName(block, "zero", nullptr));
    EXPECT_EQ(1, dplServicesTestName(block, "zero", nullptr));
    ASSERT_EQ(0, dplServicesRemoveService(block, 0, "other", nullptr));
    EXPECT_EQ(80, dplServicesGetPortFromName(block, "zero", nullptr));
}

TEST_F(ServicesProbe, PortLookupErrorsGoToTheLog) {
    EXPECT_EQ(DPL_E_BAD_CONTEXT, dplServicesGetPortFromName(nullptr, "x", nullptr));
    EXPECT_EQ(DPL_E_NULL_ARGUMENT, dplServicesGetPortFromName(block, nullptr, nullptr));
    EXPECT_EQ(DPL_E_NULL_ARGUMENT, dplServicesGetPortFromName(block, "", nullptr));
    const std::vector<std::string> lines = lines_of(read_file(log_path));
    ASSERT_GE(lines.size(), 3u);
    EXPECT_EQ(" p Error: The install structure is null.", lines[lines.size() - 3]);
    EXPECT_EQ(" p Error: Port cannot be NULL or blank.", lines[lines.size() - 2]);
    EXPECT_EQ(" p Error: Port cannot be NULL or blank.", lines[lines.size() - 1]);
}

}  // namespace
}  // namespace dpl::test
