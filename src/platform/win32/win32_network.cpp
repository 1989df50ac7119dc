// Win32 backend: host names, TCP ports and the service control manager.
// The lean windows.h leaves out Winsock and the service API; both come here.
#include <winsock2.h>
#include <ws2tcpip.h>

#include "platform/win32/win32_platform.hpp"

#include <winsvc.h>

namespace dpl::platform::win32 {
namespace {

// Winsock is started once, on first use, and stopped when the process ends.
class Winsock {
public:
    Winsock() {
        WSADATA data{};
        status_ = WSAStartup(MAKEWORD(2, 2), &data);
    }
    Winsock(const Winsock &) = delete;
    Winsock &operator=(const Winsock &) = delete;
    ~Winsock() {
        if (status_ == 0) WSACleanup();
    }
    // 0, or the error WSAStartup reported.
    int status() const { return status_; }

private:
    int status_ = 0;
};

int winsock_status() {
    static Winsock winsock;
    return winsock.status();
}

class Socket {
public:
    Socket() : socket_(::socket(AF_INET, SOCK_STREAM, IPPROTO_TCP)) {}
    Socket(const Socket &) = delete;
    Socket &operator=(const Socket &) = delete;
    ~Socket() {
        if (socket_ != INVALID_SOCKET) closesocket(socket_);
    }
    SOCKET get() const { return socket_; }

private:
    SOCKET socket_;
};

class ServiceHandle {
public:
    explicit ServiceHandle(SC_HANDLE handle) : handle_(handle) {}
    ServiceHandle(const ServiceHandle &) = delete;
    ServiceHandle &operator=(const ServiceHandle &) = delete;
    ~ServiceHandle() {
        if (handle_ != nullptr) CloseServiceHandle(handle_);
    }
    SC_HANDLE get() const { return handle_; }

private:
    SC_HANDLE handle_;
};

}  // namespace

bool Win32Platform::resolve_host(const std::string &name) {
    // gethostbyname("") answers the local host; keep that meaning.
    if (name.empty()) return true;
    if (winsock_status() != 0) return false;
    addrinfo hints{};
    hints.ai_family = AF_INET;
    addrinfo *found = nullptr;
    const int rc = getaddrinfo(name.c_str(), nullptr, &hints, &found);
    if (found != nullptr) freeaddrinfo(found);
    return rc == 0;
}

PortProbe Win32Platform::probe_tcp_port(uint16_t port, uint32_t *error) {
    uint32_t ignored = 0;
    uint32_t &code = error != nullptr ? *error : ignored;
    code = 0;
    if (const int started = winsock_status(); started != 0) {
        code = static_cast<uint32_t>(started);
        return PortProbe::StartupFailed;
    }
    const Socket socket;
    if (socket.get() == INVALID_SOCKET) {
        code = static_cast<uint32_t>(WSAGetLastError());
        return PortProbe::SocketFailed;
    }
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_ANY);
    address.sin_port = htons(port);
    if (bind(socket.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0) {
        code = static_cast<uint32_t>(WSAGetLastError());
        return PortProbe::InUse;
    }
    return PortProbe::Clear;
}

ServiceQuery Win32Platform::query_service(const std::string &name, uint32_t *error) {
    uint32_t ignored = 0;
    uint32_t &code = error != nullptr ? *error : ignored;
    code = 0;
    const ServiceHandle manager(OpenSCManagerA(nullptr, nullptr, SC_MANAGER_CONNECT));
    if (manager.get() == nullptr) {
        code = GetLastError();
        return ServiceQuery::ManagerUnavailable;
    }
    const ServiceHandle service(OpenServiceA(manager.get(), name.c_str(), SERVICE_QUERY_STATUS));
    if (service.get() != nullptr) return ServiceQuery::Installed;
    code = GetLastError();
    // Being refused access to a service proves that it exists.
    return code == ERROR_ACCESS_DENIED ? ServiceQuery::Installed : ServiceQuery::NotInstalled;
}

}  // namespace dpl::platform::win32
