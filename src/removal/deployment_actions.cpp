// The listener services and instance calls of the machine, over the
// library's deployment calls.
#include "dpl/dpl.h"
#include "removal/installation_instances.hpp"

namespace dpl::removal {
namespace {

class SystemListeners final : public ListenerServices {
public:
    void stop(InstallControlBlock *block, const std::string &server, bool remove) override {
        const std::string service = server + "_json";
        (void)dplStopInstance(block, service.c_str());
        if (remove) (void)dplWinServiceDelete(block, service.c_str());
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
