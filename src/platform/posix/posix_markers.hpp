// Running-instance markers of the POSIX backend. A marker is the lock file
// R/var/lib/dpl/events/NAME held with flock by the marking process, so that
// it vanishes with that process however the process ends.
#pragma once

#include <map>
#include <mutex>
#include <string>

namespace dpl::platform::posix {

class InstanceMarkers {
public:
    InstanceMarkers() = default;
    InstanceMarkers(const InstanceMarkers &) = delete;
    InstanceMarkers &operator=(const InstanceMarkers &) = delete;
    ~InstanceMarkers();

    // `root` is the machine's root directory ("/" for this machine).
    bool exists(const std::string &root, const std::string &name);
    bool create(const std::string &root, const std::string &name);
    bool release(const std::string &name);

private:
    std::mutex mutex_;
    std::map<std::string, int> held_;  // name -> the descriptor holding its lock
};

}  // namespace dpl::platform::posix
