// The service manager of the POSIX backend. Services live where Windows keeps
// their configuration: one key per service under
// HKEY_LOCAL_MACHINE\SYSTEM\CurrentControlSet\Services in the machine's
// registry store, with Windows' value names and types. A service is installed
// when its key exists.
//
// Nothing runs here, so the state a service is in is a value of its key that
// whoever plays the service (a test, an administrator) sets:
//   DplState      REG_DWORD, Windows' state number: 1 stopped (also when the
//                 value is absent), 3 stop pending, 4 running.
//   DplStopPolls  REG_DWORD, how many status queries after a stop control
//                 still answer "stop pending" before the service is stopped;
//                 0 or absent stops it at once, 0xFFFFFFFF never.
// Passwords are not stored at all.
#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <string>

#include "platform/platform.hpp"
#include "platform/posix/posix_registry.hpp"

namespace dpl::platform::posix {

inline constexpr const char *kServicesKey = "SYSTEM\\CurrentControlSet\\Services";
inline constexpr const char *kStateValue = "DplState";
inline constexpr const char *kStopPollsValue = "DplStopPolls";
inline constexpr uint32_t kNeverStops = 0xFFFFFFFFu;

class PosixServiceManager {
public:
    explicit PosixServiceManager(PosixRegistry &registry) : registry_(registry) {}
    PosixServiceManager(const PosixServiceManager &) = delete;
    PosixServiceManager &operator=(const PosixServiceManager &) = delete;

    ServiceQuery query_service(const std::string &name, uint32_t *error);
    uint32_t open_manager(const std::string &database, ScHandle *out);
    uint32_t open_service(ScHandle manager, const std::string &name, ScHandle *out);
    uint32_t create_service(ScHandle manager, const ServiceDefinition &service, ScHandle *out);
    uint32_t set_description(ScHandle service, const std::string &description);
    uint32_t delete_service(ScHandle service);
    uint32_t control_stop(ScHandle service, ServiceStatus *status);
    uint32_t query_status(ScHandle service, ServiceStatus *status);
    uint32_t close(ScHandle handle);

private:
    struct Handle {
        bool manager = false;
        std::string service;  // the name it was opened by
    };

    bool is_manager(ScHandle handle);
    // The name behind a service handle, or false.
    bool service_name(ScHandle handle, std::string *name);
    ScHandle add_handle(Handle handle);

    PosixRegistry &registry_;
    std::mutex mutex_;
    std::map<ScHandle, Handle> handles_;
    ScHandle next_handle_ = 0x5C000;
};

}  // namespace dpl::platform::posix
