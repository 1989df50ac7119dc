// Stopping or removing every registered instance before an installation
// directory is upgraded or uninstalled. What is done to one instance and to
// its JSON listener service goes through small interfaces, so that the walk
// and its counts can be tested on their own.
#pragma once

#include <cstdint>
#include <string>

#include "dpl/dpl.h"

namespace dpl::removal {

// The JSON listener service of an instance ("<server>_json"): stopped, and
// deleted when asked. Nothing is reported; a missing service is passed over.
class ListenerServices {
public:
    virtual ~ListenerServices() = default;
    virtual void stop(const std::string &server, bool remove) = 0;
};

// Stopping and removing one instance.
class InstanceCalls {
public:
    virtual ~InstanceCalls() = default;
    virtual int32_t stop(InstallControlBlock *block, const char *server) = 0;
    virtual int32_t remove(InstallControlBlock *block, const char *server) = 0;
};

// The machine's own: the deployment calls of the library.
ListenerServices &system_listener_services();
InstanceCalls &deployment_instance_calls();

int32_t stop_installation_instances(InstallControlBlock *block, const char *install_dir,
                                    ListenerServices &listeners, InstanceCalls &instances);
int32_t remove_installation_instances(InstallControlBlock *block, const char *install_dir,
                                      ListenerServices &listeners, InstanceCalls &instances);

}  // namespace dpl::removal
