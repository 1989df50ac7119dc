// Stopping the service of an instance and waiting until it has stopped.
#include "core/control_block.hpp"
#include "platform/platform.hpp"
#include "trace/trace.hpp"

using dpl::trace::kInstance;
namespace platform = dpl::platform;

namespace {

// 36 polls 5 seconds apart: a server gets three minutes to shut down.
constexpr int kStopPolls = 36;
constexpr uint32_t kPollIntervalMs = 5000;

int32_t stop_instance(InstallControlBlock *pointer, const char *name) {
    if (dpl::core::as_block(pointer) == nullptr) return DPL_E_BAD_CONTEXT;
    if (name == nullptr || name[0] == '\0') return DPL_E_NULL_ARGUMENT;
    ht_debug(5, kInstance, __LINE__, "Stopping service (%s)... ", name);

    auto &os = platform::current();
    platform::ScopedScHandle manager;
    if (os.sc_open_manager("", manager.out()) != 0) {
        ht_debug(5, kInstance, __LINE__, "Error: Stopping %s, OpenScManager() failed", name);
        return DPL_E_FAIL;
    }
    platform::ScopedScHandle service;
    if (const uint32_t rc = os.sc_open_service(
            manager.get(), name, platform::scaccess::kStop | platform::scaccess::kQueryStatus, service.out());
        rc != 0) {
        if (rc == platform::err::kServiceDoesNotExist) {
            ht_debug(5, kInstance, __LINE__, "Stopping service. Service not present in SCMD: %s", name);
            return DPL_OK;
        }
        ht_debug(5, kInstance, __LINE__, "Error: Stop service failed: %s - Error: %d", name,
                 static_cast<int>(rc));
        return DPL_E_FAIL;
    }

    platform::ServiceStatus status;
    switch (os.sc_control_stop(service.get(), &status)) {
        case platform::err::kOk:
            break;
        case platform::err::kServiceNotActive:
            ht_debug(5, kInstance, __LINE__, "Service not active: %s", name);
            break;
        case platform::err::kServiceRequestTimeout:
            ht_debug(5, kInstance, __LINE__, "Error: ControlService() time-out error: %s", name);
            break;
        default:
            ht_debug(5, kInstance, __LINE__, "Error: Ensure that %s service is stopped and try again", name);
            return DPL_E_FAIL;
    }

    for (int poll = 0; poll < kStopPolls; ++poll) {
        if (const uint32_t rc = os.sc_query_status(service.get(), &status); rc != 0) {
            // A status that cannot be had now will not come later either.
            ht_debug(5, kInstance, __LINE__, "Error: Stop service failed: %s - Error: %d", name,
                     static_cast<int>(rc));
            return DPL_E_FAIL;
        }
        if (status.current_state == platform::scstate::kStopped) return DPL_OK;
        os.sleep_ms(kPollIntervalMs);
    }
    ht_debug(5, kInstance, __LINE__, "Error: Time-out stopping service in 180 secs.: %s", name);
    return DPL_E_FAIL;
}

}  // namespace

extern "C" int32_t dplStopInstance(InstallControlBlock *block, const char *service_name) {
    return dpl::trace::traced_call(kInstance, __LINE__, "dplStopInstance",
                                   [&] { return stop_instance(block, service_name); });
}
