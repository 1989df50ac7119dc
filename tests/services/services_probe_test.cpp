// Whether ports and names are free, the port of a name, making up free
// names and ports, and the machine's own services file.
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#ifdef _WIN32
#include <winsock2.h>
#else
#include <arpa/inet.h>
#include <netdb.h>
#endif

#include "platform/platform.hpp"
#include "services/services_fixture.hpp"

namespace dpl::test {
namespace {

using platform::PortProbe;

class ServicesProbe : public ServicesTest {
protected:
    void SetUp() override {
        ServicesTest::SetUp();
        ASSERT_EQ(
            0, load("udponly 5000/udp\nboth 5001/tcp b-alias\nboth 5002/udp orvx orvx_2\nhigh 40000/tcp\n"));
    }

    // The generated name, or the code as text.
    std::string generated(const char *preferred) {
        char *name = nullptr;
        const int32_t rc = dplServicesGenerateName(block, &name, preferred);
        const std::string text = rc != 0 ? "rc " + std::to_string(rc) : name;
        dplFree(name);
        return text;
    }
};

TEST_F(ServicesProbe, APortOfTheFileCountsForItsProtocolOthersAreProbedUnlessSocketsAreOff) {
    EXPECT_EQ(2, dplServicesTestPort(block, 5000, ""));
    EXPECT_EQ(2, dplServicesTestPort(block, 5000, "udp"));
    EXPECT_TRUE(os.probed.empty());
    EXPECT_EQ(0, dplServicesTestPort(block, 5000, "tcp"));
    os.port_answers[6001] = PortProbe::InUse;
    os.port_answers[6002] = PortProbe::StartupFailed;
    os.port_answers[6003] = PortProbe::SocketFailed;
    EXPECT_EQ(1, dplServicesTestPort(block, 6001, "tcp"));
    EXPECT_EQ(1, dplServicesTestPort(block, 6002, "tcp"));
    EXPECT_EQ(1, dplServicesTestPort(block, 6003, nullptr));
    EXPECT_EQ(
        (Texts{"Bound to port 5000; port is clear", "Could not bind to port 6001, port in use. Code: 10048",
               "Error: WSAStartup returned failure. Code: 10048",
               "Error: Could not create socket. Code: 10048"}),
        messages());
    // A real listener holds its port until sockets are turned off.
    os.real_sockets = true;
    Listener listener;
    ASSERT_NE(0, listener.port());
    EXPECT_EQ(1, dplServicesTestPort(block, listener.port(), "tcp"));
    ASSERT_EQ(0, dplServicesCheatSockets(block));
    os.probed.clear();
    EXPECT_EQ(0, dplServicesTestPort(block, listener.port(), "tcp"));
    EXPECT_EQ(2, dplServicesTestPort(block, 5001, "tcp"));
    uint16_t port = 0;
    ASSERT_EQ(0, dplServicesGeneratePort(block, &port, listener.port()));
    EXPECT_EQ(listener.port(), port);
    EXPECT_TRUE(os.probed.empty());
}

TEST_F(ServicesProbe, NamesOfTheFileOrOfInstalledServicesAreUsedAndPortsAreSigned) {
    EXPECT_EQ(0, dplServicesTestName(block, "Both", nullptr));
    os.installed.insert("free");
    EXPECT_EQ(1, dplServicesTestName(block, "free", nullptr));
    os.manager_unavailable = true;
    forget_messages();
    EXPECT_EQ(DPL_E_NULL_ARGUMENT, dplServicesTestName(block, "both", nullptr));
    EXPECT_EQ((Texts{"dplServicesTestName: OpenSCManager failed: 1722"}), messages());
    os.manager_unavailable = false;

    EXPECT_EQ(-25536, dplServicesGetPortFromName(block, "high", "tcp"));  // above 32767: negative
    // A line with port 0 answers 0 and ends the search.
    ASSERT_EQ(0, load("zero 80/tcp\nother 0/tcp zero\n"));
    EXPECT_EQ(0, dplServicesGetPortFromName(block, "zero", nullptr));
    EXPECT_EQ(1, dplServicesTestName(block, "zero", nullptr));
    ASSERT_EQ(0, dplServicesRemoveService(block, 0, "other", nullptr));
    EXPECT_EQ(80, dplServicesGetPortFromName(block, "zero", nullptr));
}

TEST_F(ServicesProbe, GeneratedNamesTryTheDigitsOneToNineThenTheTimeStamp) {
    EXPECT_EQ("fresh", generated("fresh"));
    EXPECT_EQ((Texts{"Generated a name: fresh"}), messages());
    os.installed.insert("orvx_1");
    EXPECT_EQ("orvx_3", generated("orvx"));
    for (int n = 3; n <= 9; ++n) os.installed.insert("orvx_" + std::to_string(n));
    forget_messages();
    EXPECT_EQ("orvx_20261121090807", generated("orvx"));
    EXPECT_EQ((Texts{"Generated a unique name: orvx_20261121090807"}), messages());
    // A failing service manager makes every name taken.
    os.manager_unavailable = true;
    EXPECT_EQ("fresh_20261121090807", generated("fresh"));
    os.clock_works = false;
    EXPECT_EQ("rc -1", generated("fresh"));
    EXPECT_EQ("Error: dplServicesGenerateName could not get localtime for unique name.", messages().back());
}

TEST_F(ServicesProbe, GeneratedPortsStartAtTheCandidateSkipThoseOfTheFileAndGiveUp) {
    uint16_t port = 1;
    ASSERT_EQ(0, dplServicesGeneratePort(block, &port, 7000));
    EXPECT_EQ((Texts{"Bound to port 7000; port is clear", "Generated a port: 7000"}), messages());
    // 5000 is in the file for udp, which counts for every protocol.
    os.probed.clear();
    ASSERT_EQ(0, dplServicesGeneratePort(block, &port, 5000));
    EXPECT_EQ(std::vector<uint16_t>{port}, os.probed);
    // Candidate 0 is rejected once; random ports follow.
    forget_messages();
    ASSERT_EQ(0, dplServicesGeneratePort(block, &port, 0));
    EXPECT_TRUE(port >= 1026 && port <= 33793) << port;
    EXPECT_EQ((Texts{"Error: The port is the reserved value 0 in dplServicesTestPort.",
                     "Bound to port " + std::to_string(port) + "; port is clear",
                     "Generated a port: " + std::to_string(port)}),
              messages());
    // Giving up after a thousand candidates, not the same ones each time.
    os.default_probe = PortProbe::InUse;
    os.probed.clear();
    EXPECT_EQ(DPL_E_FAIL, dplServicesGeneratePort(block, &port, 7000));
    EXPECT_EQ(0, port);
    ASSERT_EQ(1000u, os.probed.size());
    EXPECT_EQ(7000, os.probed[0]);
    for (const uint16_t candidate : os.probed)
        ASSERT_TRUE(candidate >= 1026 && candidate <= 33793) << candidate;
    EXPECT_EQ("Error: No free port could be found in a reasonable time.", messages().back());
    const std::vector<uint16_t> first = os.probed;
    os.probed.clear();
    EXPECT_EQ(DPL_E_FAIL, dplServicesGeneratePort(block, &port, 7000));
    EXPECT_NE(first, os.probed);
}

// The name, port, protocol and aliases of "name port/protocol aliases #
// comment", the port without leading zeros; none for other lines.
std::optional<std::vector<std::string>> service_fields(const std::string &line) {
    std::istringstream in(line);
    std::string name, port_protocol;
    if (line[0] == '\r' || !(in >> name >> port_protocol) || name[0] == '#') return std::nullopt;
    const std::size_t slash = port_protocol.find('/');
    if (slash == 0 || slash > 5 || slash + 1 == port_protocol.size() ||
        port_protocol.find_first_not_of("0123456789") != slash || std::stoul(port_protocol) > 65535)
        return std::nullopt;
    std::vector<std::string> fields = {name, std::to_string(std::stoul(port_protocol)),
                                       port_protocol.substr(slash + 1)};
    std::string rest;
    std::getline(in, rest);
    std::istringstream aliases(rest.substr(0, rest.find('#')));
    for (std::string alias; aliases >> alias;) fields.push_back(alias);
    return fields;
}

// The machine's own services file survives a load and a rewrite, and its
// lookups agree with the system's resolver.
using ServicesSystemFile = ServicesTest;

TEST_F(ServicesSystemFile, EveryLineSurvivesALoadAndARewrite) {
#ifdef _WIN32
    const std::string path = platform::current().services_database_path();
    WSADATA data;
    ASSERT_EQ(0, WSAStartup(MAKEWORD(2, 2), &data));  // for getservbyname
#else
    const std::string path = "/etc/services";
#endif
    std::string input = read_file_text(path);
    if (input.empty()) GTEST_SKIP() << "no services file at " << path;
    if (input.back() != '\n') input.push_back('\n');
    const std::vector<std::string> lines = lines_of(input);
    for (const std::string &line : lines) {
        if (line.size() >= 255 || line.find('\0') != std::string::npos)
            GTEST_SKIP() << "unusual line: " << line;
    }

    ASSERT_EQ(0, dplServicesLoad(block, path.c_str()));
    const std::vector<std::string> rewritten = lines_of(written());
    ASSERT_EQ(lines.size(), rewritten.size());

    std::map<std::pair<std::string, std::string>, std::vector<std::string>>
        ports;  // by name or alias, protocol
    std::size_t service_lines = 0;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const auto fields = service_fields(lines[i]);
        if (!fields) {
            EXPECT_EQ(lines[i][0] == '\r' ? "" : lines[i], rewritten[i]) << "line " << i + 1;
            continue;
        }
        ++service_lines;
        EXPECT_EQ(fields, service_fields(rewritten[i])) << "line " << i + 1 << ": " << rewritten[i];
        for (std::size_t at = 0; at < fields->size(); at += at == 0 ? 3 : 1)
            ports[{(*fields)[at], (*fields)[2]}].push_back((*fields)[1]);
    }

    std::size_t compared = 0;
    for (const auto &[key, found] : ports) {
        const servent *entry = ::getservbyname(key.first.c_str(), key.second.c_str());
        if (found.size() != 1 || entry == nullptr) continue;
        ++compared;
        const uint16_t expected = ntohs(static_cast<uint16_t>(entry->s_port));
        EXPECT_EQ(std::to_string(expected), found.front()) << key.first << "/" << key.second;
        EXPECT_EQ(expected, static_cast<uint16_t>(
                                dplServicesGetPortFromName(block, key.first.c_str(), key.second.c_str())))
            << key.first << "/" << key.second;
    }
#ifdef _WIN32
    WSACleanup();
#endif
    EXPECT_TRUE(service_lines == 0 || compared > 0);
}

}  // namespace
}  // namespace dpl::test
