#include "support/listener.hpp"

#ifdef _WIN32
#include <winsock2.h>
#include <ws2tcpip.h>
#else
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>
#endif

namespace dpl::test {

Listener::Listener() {
#ifdef _WIN32
    WSADATA data;
    started_ = WSAStartup(MAKEWORD(2, 2), &data) == 0;
    const SOCKET handle = ::socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
    if (handle == INVALID_SOCKET) return;
    socket_ = static_cast<std::intptr_t>(handle);
#else
    const int handle = ::socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
    if (handle < 0) return;
    socket_ = handle;
#endif
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_ANY);
    address.sin_port = 0;
    if (::bind(handle, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0) return;
    if (::listen(handle, 1) != 0) return;
    socklen_t length = sizeof address;
    if (::getsockname(handle, reinterpret_cast<sockaddr *>(&address), &length) != 0) return;
    port_ = ntohs(address.sin_port);
}

Listener::~Listener() {
#ifdef _WIN32
    if (socket_ != -1) ::closesocket(static_cast<SOCKET>(socket_));
    if (started_) WSACleanup();
#else
    if (socket_ != -1) ::close(static_cast<int>(socket_));
#endif
}

}  // namespace dpl::test
