// The listener services and instance calls of the machine.
#include "dpl/dpl.h"
#include "platform/platform.hpp"
#include "removal/installation_instances.hpp"

namespace dpl::removal {
namespace {

// Only the stop control is sent: nobody waits for a listener to go down, and
// nothing here is reported.
class SystemListeners final : public ListenerServices {
public:
    void stop(const std::string &server, bool remove) override {
        auto &os = platform::current();
        platform::ScopedScHandle manager;
        if (os.sc_open_manager("", manager.out()) != 0) return;
        platform::ScopedScHandle service;
        if (os.sc_open_service(manager.get(), server + "_json", platform::scaccess::kServiceAll,
                               service.out()) != 0) {
            return;
        }
        platform::ServiceStatus status;
        (void)os.sc_control_stop(service.get(), &status);
        if (remove) (void)os.sc_delete_service(service.get());
    }
};

class DeploymentCalls final : public InstanceCalls {
public:
    int32_t stop(InstallControlBlock *block, const char *server) override {
        return dplStopInstance(block, server);
    }
    int32_t remove(InstallControlBlock *block, const char *server) override {
        return dplRemoveInstance(block, server);
    }
};

}  // namespace

ListenerServices &system_listener_services() {
    static SystemListeners listeners;
    return listeners;
}

InstanceCalls &deployment_instance_calls() {
    static DeploymentCalls calls;
    return calls;
}

}  // namespace dpl::removal
