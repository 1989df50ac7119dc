#include "platform/posix/posix_markers.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>

namespace dpl::platform::posix {
namespace {

// A name is one file name: nothing that could climb out of the directory.
bool usable_name(const std::string &name) {
    return !name.empty() && name != "." && name != ".." && name.find('/') == std::string::npos;
}

std::string events_directory(const std::string &root) {
    return (root == "/" ? std::string() : root) + "/var/lib/dpl/events";
}

bool make_directories(const std::string &path) {
    for (std::size_t at = 1; at <= path.size(); ++at) {
        if (at != path.size() && path[at] != '/') continue;
        const std::string part = path.substr(0, at);
        if (::mkdir(part.c_str(), 0755) != 0 && errno != EEXIST) return false;
    }
    return true;
}

int open_marker(const std::string &path, int flags) {
    int fd = -1;
    do {
        fd = ::open(path.c_str(), flags | O_CLOEXEC, 0666);
    } while (fd < 0 && errno == EINTR);
    return fd;
}

// flock without giving up on a signal.
int lock(int fd, int operation) {
    int rc = -1;
    do {
        rc = ::flock(fd, operation);
    } while (rc != 0 && errno == EINTR);
    return rc;
}

}  // namespace

InstanceMarkers::~InstanceMarkers() {
    for (const auto &marker : held_) ::close(marker.second);
}

bool InstanceMarkers::exists(const std::string &root, const std::string &name) {
    if (!usable_name(name)) return false;
    const int fd = open_marker(events_directory(root) + "/" + name, O_RDONLY);
    if (fd < 0) return false;
    // A shared lock from a description of our own is refused exactly while
    // some live process holds the marker's exclusive lock.
    const bool held = lock(fd, LOCK_SH | LOCK_NB) != 0 && errno == EWOULDBLOCK;
    ::close(fd);
    return held;
}

bool InstanceMarkers::create(const std::string &root, const std::string &name) {
    if (!usable_name(name)) return false;
    const std::lock_guard<std::mutex> guard(mutex_);
    if (held_.count(name) != 0) return true;
    const std::string directory = events_directory(root);
    if (!make_directories(directory)) return false;
    const int fd = open_marker(directory + "/" + name, O_RDWR | O_CREAT);
    if (fd < 0) return false;
    // Testers hold a shared lock only for an instant; a lock still refused
    // after a while belongs to a live process that marks the instance too.
    constexpr int kAttempts = 50;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        if (lock(fd, LOCK_EX | LOCK_NB) == 0) {
            held_.emplace(name, fd);
            return true;
        }
        if (errno != EWOULDBLOCK) break;
        timespec pause{0, 1000000L};
        ::nanosleep(&pause, nullptr);
    }
    const bool marked_elsewhere = errno == EWOULDBLOCK;
    ::close(fd);
    return marked_elsewhere;
}

bool InstanceMarkers::release(const std::string &name) {
    const std::lock_guard<std::mutex> guard(mutex_);
    const auto found = held_.find(name);
    if (found == held_.end()) return false;
    // The file stays: removing it could leave a concurrent marker holding
    // the lock of a file nobody can open any more.
    ::close(found->second);
    held_.erase(found);
    return true;
}

}  // namespace dpl::platform::posix
