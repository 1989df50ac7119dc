// A port some program holds, for the tests of port checks.
#pragma once

#include <cstdint>

namespace dpl::test {

// A real TCP socket listening on a free port of every address, for tests
// that need a port some program holds.
class Listener {
public:
    Listener();
    Listener(const Listener &) = delete;
    Listener &operator=(const Listener &) = delete;
    ~Listener();
    // The port, or 0 when no socket could be set up.
    uint16_t port() const { return port_; }

private:
    std::intptr_t socket_ = -1;
#ifdef _WIN32
    bool started_ = false;  // Winsock was started for this socket
#endif
    uint16_t port_ = 0;
};

}  // namespace dpl::test
