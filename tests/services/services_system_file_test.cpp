// The machine's own services file survives a load and a rewrite.
#include <map>
#include <optional>
#include <string>
#include <utility>
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

struct Service {
    std::string name;
    unsigned port = 0;
    std::string protocol;
    std::vector<std::string> aliases;
    bool operator==(const Service &) const = default;
};

bool blank(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

// "name port/protocol aliases # comment", as the file format has it.
std::optional<Service> parse_service(const std::string &line) {
    std::size_t at = 0;
    const auto skip_blanks = [&] {
        while (at < line.size() && blank(line[at])) ++at;
    };
    const auto word = [&] {
        const std::size_t start = at;
        while (at < line.size() && !blank(line[at])) ++at;
        return line.substr(start, at - start);
    };
    Service service;
    skip_blanks();
    service.name = word();
    skip_blanks();
    const std::size_t digits = at;
    while (at < line.size() && line[at] >= '0' && line[at] <= '9') {
        service.port = service.port * 10 + static_cast<unsigned>(line[at] - '0');
        if (service.port > 65535) return std::nullopt;
        ++at;
    }
    if (at == digits || at >= line.size() || line[at] != '/') return std::nullopt;
    ++at;
    service.protocol = word();
    if (service.protocol.empty()) return std::nullopt;
    const std::size_t hash = line.find('#', at);
    const std::string rest = line.substr(at, hash == std::string::npos ? std::string::npos : hash - at);
    std::size_t i = 0;
    while (i < rest.size()) {
        while (i < rest.size() && blank(rest[i])) ++i;
        const std::size_t start = i;
        while (i < rest.size() && !blank(rest[i])) ++i;
        if (i > start) service.aliases.push_back(rest.substr(start, i - start));
    }
    return service;
}

// Windows needs its socket library started before getservbyname.
class SocketLibrary {
public:
    SocketLibrary() {
#ifdef _WIN32
        WSADATA data;
        started_ = WSAStartup(MAKEWORD(2, 2), &data) == 0;
#endif
    }
    SocketLibrary(const SocketLibrary &) = delete;
    SocketLibrary &operator=(const SocketLibrary &) = delete;
    ~SocketLibrary() {
#ifdef _WIN32
        if (started_) WSACleanup();
#endif
    }

private:
    [[maybe_unused]] bool started_ = false;
};

// The port the system's resolver gives for a name and protocol, or none.
std::optional<unsigned> system_port(const std::string &name, const std::string &protocol) {
    const servent *entry = ::getservbyname(name.c_str(), protocol.c_str());
    if (entry == nullptr) return std::nullopt;
    return static_cast<unsigned>(ntohs(static_cast<uint16_t>(entry->s_port)));
}

using ServicesSystemFile = ServicesTest;

TEST_F(ServicesSystemFile, EveryLineSurvivesALoadAndARewrite) {
#ifdef _WIN32
    const std::string path = platform::current().services_database_path();
#else
    const std::string path = "/etc/services";
#endif
    std::string input = read_text(path);
    if (input.empty()) GTEST_SKIP() << "no services file at " << path;
    if (input.back() != '\n') input.push_back('\n');
    const std::vector<std::string> lines = lines_of(input);
    for (const std::string &line : lines) {
        if (line.size() >= 255 || line.find('\0') != std::string::npos)
            GTEST_SKIP() << "unusual line: " << line;
    }

    ASSERT_EQ(0, dplServicesLoad(block, path.c_str()));
    const std::string out = dir.file("rewritten");
    ASSERT_EQ(0, dplServicesDeployFile(block, out.c_str()));
    const std::vector<std::string> rewritten = lines_of(read_text(out));
    ASSERT_EQ(lines.size(), rewritten.size());

    std::map<std::pair<std::string, std::string>, std::vector<unsigned>> ports;  // by name or alias, protocol
    std::size_t service_lines = 0;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const std::string &line = lines[i];
        if (line.empty() || line[0] == '#') {
            EXPECT_EQ(line, rewritten[i]) << "line " << i + 1;
            continue;
        }
        if (line[0] == '\r') {
            EXPECT_EQ("", rewritten[i]) << "line " << i + 1;
            continue;
        }
        const std::optional<Service> service = parse_service(line);
        if (!service) {
            EXPECT_EQ(line, rewritten[i]) << "line " << i + 1;
            continue;
        }
        ++service_lines;
        EXPECT_EQ(service, parse_service(rewritten[i])) << "line " << i + 1 << ": " << rewritten[i];
        ports[{service->name, service->protocol}].push_back(service->port);
        for (const std::string &alias : service->aliases)
            ports[{alias, service->protocol}].push_back(service->port);
    }
    RecordProperty("service_lines", static_cast<int>(service_lines));

    SocketLibrary sockets;
    std::size_t compared = 0;
    for (const auto &[key, found] : ports) {
        if (found.size() != 1) continue;
        const std::optional<unsigned> expected = system_port(key.first, key.second);
        if (!expected) continue;
        ++compared;
        EXPECT_EQ(*expected, found.front()) << key.first << "/" << key.second;
        EXPECT_EQ(*expected, static_cast<uint16_t>(
                                 dplServicesGetPortFromName(block, key.first.c_str(), key.second.c_str())))
            << key.first << "/" << key.second;
    }
    RecordProperty("compared_with_resolver", static_cast<int>(compared));
    if (service_lines > 0) {
        EXPECT_GT(compared, 0u);
    }
}

}  // namespace
}  // namespace dpl::test
