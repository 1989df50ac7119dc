#include "platform/posix/posix_network.hpp"

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>

namespace dpl::platform::posix {

bool resolve_host(const std::string &name) {
    // gethostbyname("") answers the local host on Windows; do the same.
    if (name.empty()) return true;
    addrinfo hints{};
    hints.ai_family = AF_INET;
    addrinfo *found = nullptr;
    const int rc = ::getaddrinfo(name.c_str(), nullptr, &hints, &found);
    if (found != nullptr) ::freeaddrinfo(found);
    return rc == 0;
}

PortProbe probe_tcp_port(uint16_t port, uint32_t *error) {
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, IPPROTO_TCP);
    if (fd < 0) {
        if (error != nullptr) *error = static_cast<uint32_t>(errno);
        return PortProbe::SocketFailed;
    }
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_ANY);
    address.sin_port = htons(port);
    const bool bound = ::bind(fd, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0;
    if (error != nullptr) *error = bound ? 0 : static_cast<uint32_t>(errno);
    ::shutdown(fd, SHUT_RDWR);
    ::close(fd);
    return bound ? PortProbe::Clear : PortProbe::InUse;
}

}  // namespace dpl::platform::posix
