// Making up free service names and ports.
#include <string>
#include <vector>

#include "services/services_fixture.hpp"

namespace dpl::test {
namespace {

using platform::PortProbe;

class ServicesGenerate : public ServicesTest {
protected:
    void SetUp() override {
        ServicesTest::SetUp();
        ASSERT_EQ(0, load("orvx 40000/udp orvx_2\n"));
        forget_messages();
    }

    // The generated name, or the code as text.
    std::string generated(const char *preferred) {
        char *name = nullptr;
        const int32_t rc = dplServicesGenerateName(block, &name, preferred);
        if (rc != 0) {
            EXPECT_EQ(nullptr, name);
            return "rc " + std::to_string(rc);
        }
        std::string text = name != nullptr ? name : "(null)";
        dplFree(name);
        return text;
    }
};

TEST_F(ServicesGenerate, AFreePreferredNameIsTaken) {
    EXPECT_EQ("fresh", generated("fresh"));
    EXPECT_EQ((std::vector<std::string>{"Generated a name: fresh"}), messages());
}

TEST_F(ServicesGenerate, ATakenNameGetsTheFirstFreeDigit) {
    os.installed.insert("orvx_1");
    EXPECT_EQ("orvx_3", generated("orvx"));
    EXPECT_EQ((std::vector<std::string>{"orvx", "orvx_1", "orvx_2", "orvx_3"}), os.queried);
}

TEST_F(ServicesGenerate, WhenAllNineAreTakenTheTimeStampDecides) {
    for (int n = 4; n <= 9; ++n) os.installed.insert("orvx_" + std::to_string(n));
    os.installed.insert("orvx_1");
    os.installed.insert("orvx_3");
    EXPECT_EQ("orvx_20261121090807", generated("orvx"));
    EXPECT_EQ((std::vector<std::string>{"Generated a unique name: orvx_20261121090807"}), messages());
}

TEST_F(ServicesGenerate, AFailingManagerMakesEveryNameTaken) {
    os.manager_unavailable = true;
    EXPECT_EQ("fresh_20261121090807", generated("fresh"));
    os.clock_works = false;
    forget_messages();
    EXPECT_EQ("rc -1", generated("fresh"));
    EXPECT_TRUE(has_message("Error: dplServicesGenerateName could not get localtime for unique name."));
}

TEST_F(ServicesGenerate, NameArgumentErrors) {
    char *name = nullptr;
    EXPECT_EQ(DPL_E_BAD_CONTEXT, dplServicesGenerateName(nullptr, &name, "x"));
    EXPECT_EQ(DPL_E_NULL_ARGUMENT, dplServicesGenerateName(block, nullptr, "x"));
    char dummy = 'd';
    name = &dummy;
    EXPECT_EQ(DPL_E_INVALID_VALUE, dplServicesGenerateName(block, &name, nullptr));
    EXPECT_EQ(nullptr, name);
    EXPECT_EQ(DPL_E_INVALID_VALUE, dplServicesGenerateName(block, &name, ""));
    EXPECT_EQ((std::vector<std::string>{
                  "Error: The install structure is null in dplServicesGenerateName.",
                  "Error: The buffer return parameter is null in dplServicesGenerateName.",
                  "Error: The preferred service name is null or blank in dplServicesGenerateName.",
                  "Error: The preferred service name is null or blank in dplServicesGenerateName.",
              }),
              messages());
}

TEST_F(ServicesGenerate, AFreeFirstCandidateIsTaken) {
    uint16_t port = 1;
    ASSERT_EQ(0, dplServicesGeneratePort(block, &port, 7000));
    EXPECT_EQ(7000, port);
    EXPECT_EQ((std::vector<std::string>{"Bound to port 7000; port is clear", "Generated a port: 7000"}),
              messages());
}

TEST_F(ServicesGenerate, CandidateZeroIsRejectedOnceAndRandomPortsFollow) {
    uint16_t port = 0;
    ASSERT_EQ(0, dplServicesGeneratePort(block, &port, 0));
    EXPECT_GE(port, 1026);
    EXPECT_LE(port, 33793);
    const auto texts = messages();
    ASSERT_EQ(3u, texts.size());
    EXPECT_EQ("Error: The port is the reserved value 0 in dplServicesTestPort.", texts[0]);
    EXPECT_EQ("Bound to port " + std::to_string(port) + "; port is clear", texts[1]);
    EXPECT_EQ("Generated a port: " + std::to_string(port), texts[2]);
}

TEST_F(ServicesGenerate, PortsOfTheFileAreSkippedForEveryProtocol) {
    uint16_t port = 0;
    ASSERT_EQ(0, dplServicesGeneratePort(block, &port, 40000));
    EXPECT_NE(40000, port);
    EXPECT_EQ(std::vector<uint16_t>{port}, os.probed);
}

TEST_F(ServicesGenerate, AfterAThousandFailuresItGivesUp) {
    os.default_probe = PortProbe::InUse;
    uint16_t port = 1;
    EXPECT_EQ(DPL_E_FAIL, dplServicesGeneratePort(block, &port, 7000));
    EXPECT_EQ(0, port);
    ASSERT_EQ(1000u, os.probed.size());
    EXPECT_EQ(7000, os.probed[0]);
    for (const uint16_t candidate : os.probed) {
        EXPECT_GE(candidate, 1026);
        EXPECT_LE(candidate, 33793);
    }
    const auto texts = messages();
    ASSERT_FALSE(texts.empty());
    EXPECT_EQ("Error: No free port could be found in a reasonable time.", texts.back());
}

TEST_F(ServicesGenerate, TheCandidatesAreSeededByEachLoad) {
    os.default_probe = PortProbe::SocketFailed;
    uint16_t port = 0;
    EXPECT_EQ(DPL_E_FAIL, dplServicesGeneratePort(block, &port, 7000));
    const std::vector<uint16_t> first = os.probed;
    os.probed.clear();
    EXPECT_EQ(DPL_E_FAIL, dplServicesGeneratePort(block, &port, 7000));
    EXPECT_NE(first, os.probed);
    // The same clock gives the same seed.
    dplServicesFree(block);
    ASSERT_EQ(0, load("orvx 40000/tcp\n"));
    os.probed.clear();
    EXPECT_EQ(DPL_E_FAIL, dplServicesGeneratePort(block, &port, 7000));
    EXPECT_EQ(first, os.probed);
}

TEST_F(ServicesGenerate, WithSocketsOffOnlyTheFileCounts) {
    os.default_probe = PortProbe::InUse;
    ASSERT_EQ(0, dplServicesCheatSockets(block));
    uint16_t port = 0;
    ASSERT_EQ(0, dplServicesGeneratePort(block, &port, 7000));
    EXPECT_EQ(7000, port);
    EXPECT_TRUE(os.probed.empty());
}

TEST_F(ServicesGenerate, PortArgumentErrors) {
    uint16_t port = 5;
    EXPECT_EQ(DPL_E_BAD_CONTEXT, dplServicesGeneratePort(nullptr, &port, 7000));
    EXPECT_EQ(5, port);
    EXPECT_EQ(DPL_E_NULL_ARGUMENT, dplServicesGeneratePort(block, nullptr, 7000));
    EXPECT_EQ((std::vector<std::string>{
                  "Error: The install structure is null in dplServicesGeneratePort.",
                  "Error: The port return parameter is null in dplServicesGeneratePort.",
              }),
              messages());
    dplServicesFree(block);
    EXPECT_EQ(DPL_E_BAD_CONTEXT, dplServicesGeneratePort(block, &port, 7000));
    char *name = nullptr;
    EXPECT_EQ(DPL_E_BAD_CONTEXT, dplServicesGenerateName(block, &name, "x"));
}

}  // namespace
}  // namespace dpl::test
