// Lookups answer what a walk over the lines would answer, whatever the
// sequence of loads, additions and removals that built the model.
#include <random>
#include <string>
#include <vector>

#include "services/services_fixture.hpp"

namespace dpl::test {
namespace {

using services::ServicesLine;

const std::vector<std::string> kNames = {"n0", "n1", "n2", "n3", "n4", "n5", "n6", "n7"};
const std::vector<const char *> kProtocols = {nullptr, "", "tcp", "udp", "sctp"};

bool protocol_matches(const ServicesLine &line, const char *protocol) {
    return protocol == nullptr || protocol[0] == '\0' || line.protocol == protocol;
}

bool carries(const ServicesLine &line, const std::string &name) {
    if (line.text_or_name == name) return true;
    for (const std::string &alias : line.aliases) {
        if (alias == name) return true;
    }
    return false;
}

// The answers of a walk from the most recently added line.
int walk_port(const services::ServicesFile &file, const std::string &name, const char *protocol) {
    for (auto it = file.lines().rbegin(); it != file.lines().rend(); ++it) {
        if (it->kind == services::kServiceLine && protocol_matches(*it, protocol) && carries(*it, name)) {
            return static_cast<int16_t>(it->port);
        }
    }
    return 0;
}

bool walk_has_port(const services::ServicesFile &file, uint16_t port, const char *protocol) {
    for (const ServicesLine &line : file.lines()) {
        if (line.kind == services::kServiceLine && line.port == port && protocol_matches(line, protocol))
            return true;
    }
    return false;
}

class ServicesIndex : public ServicesTest {
protected:
    void SetUp() override {
        ServicesTest::SetUp();
        // Thousands of calls: keep the debug file quiet.
        uint32_t old = 0;
        ASSERT_EQ(HT_OK, ht_set_severity(0, &old));
    }

    void check_lookups() {
        for (const std::string &name : kNames) {
            for (const char *protocol : kProtocols) {
                ASSERT_EQ(walk_port(model(), name, protocol),
                          dplServicesGetPortFromName(block, name.c_str(), protocol))
                    << name << "/" << (protocol != nullptr ? protocol : "(null)");
                ASSERT_EQ(walk_named(name, protocol) ? 1 : 0,
                          dplServicesTestName(block, name.c_str(), protocol));
            }
        }
        for (uint16_t port = 1; port <= 12; ++port) {
            for (const char *protocol : kProtocols) {
                ASSERT_EQ(walk_has_port(model(), port, protocol) ? 2 : 0,
                          dplServicesTestPort(block, port, protocol))
                    << port;
            }
        }
    }

    bool walk_named(const std::string &name, const char *protocol) const {
        for (const ServicesLine &line : model().lines()) {
            if (line.kind == services::kServiceLine && protocol_matches(line, protocol) &&
                carries(line, name)) {
                return true;
            }
        }
        return false;
    }

    std::mt19937 random{12345};
    std::string pick_name() { return kNames[random() % kNames.size()]; }
    const char *pick_protocol() { return kProtocols[random() % kProtocols.size()]; }
    uint16_t pick_port() { return static_cast<uint16_t>(random() % 13); }

    std::string random_file() {
        std::string text;
        for (int i = 0; i < 40; ++i) {
            switch (random() % 6) {
                case 0:
                    text += "# comment\n";
                    break;
                case 1:
                    text += "broken ";
                    text += std::to_string(pick_port());
                    text += '\n';
                    break;
                default: {
                    const char *protocol = pick_protocol();
                    text += pick_name();
                    text += ' ';
                    text += std::to_string(pick_port());
                    text += '/';
                    text += protocol != nullptr && protocol[0] != '\0' ? protocol : "tcp";
                    for (unsigned a = random() % 4; a > 0; --a) {
                        text += ' ';
                        text += pick_name();
                    }
                    text += '\n';
                }
            }
        }
        return text;
    }
};

TEST_F(ServicesIndex, LookupsAgreeWithAWalkOverTheLines) {
    for (int round = 0; round < 20; ++round) {
        dplServicesFree(block);
        ASSERT_EQ(0, load(random_file()));
        ASSERT_EQ(0, dplServicesCheatSockets(block));
        check_lookups();
        for (int step = 0; step < 30; ++step) {
            switch (random() % 3) {
                case 0: {
                    const std::string name = pick_name();
                    const std::string alias = pick_name();
                    const char *aliases[] = {alias.c_str(), alias.c_str()};
                    const char *protocol = pick_protocol();
                    dplServicesAddService(block, name.c_str(), pick_port(), protocol,
                                          static_cast<int32_t>(random() % 3), aliases, nullptr);
                    break;
                }
                case 1: {
                    const std::string name = random() % 2 != 0 ? pick_name() : "";
                    dplServicesRemoveService(block, pick_port(), name.c_str(), pick_protocol());
                    break;
                }
                default:
                    dplServicesAddComment(block, "x\ny");
                    break;
            }
            check_lookups();
        }
        // What is written reads back into the same answers, and a file
        // written from a fresh load is written again unchanged.
        const std::string text = written();
        dplServicesFree(block);
        ASSERT_EQ(0, load(text));
        ASSERT_EQ(0, dplServicesCheatSockets(block));
        check_lookups();
        const std::string again = written();
        dplServicesFree(block);
        ASSERT_EQ(0, load(again));
        EXPECT_EQ(again, written());
    }
}

}  // namespace
}  // namespace dpl::test
