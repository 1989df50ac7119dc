// Running-instance markers on Windows: the named event a running server
// holds. The events this process creates stay open until released or until
// the process ends, when the system closes them.
#include <map>
#include <mutex>
#include <string>

#include "platform/win32/win32_platform.hpp"

namespace dpl::platform::win32 {
namespace {

struct HeldEvents {
    std::mutex mutex;
    std::map<std::string, HANDLE> events;
};

HeldEvents &held() {
    static HeldEvents table;
    return table;
}

}  // namespace

bool Win32Platform::instance_marker_exists(const std::string &name) {
    HANDLE event = OpenEventA(SYNCHRONIZE, FALSE, name.c_str());
    if (event == nullptr) return false;
    CloseHandle(event);
    return true;
}

bool Win32Platform::create_instance_marker(const std::string &name) {
    HeldEvents &table = held();
    const std::lock_guard<std::mutex> guard(table.mutex);
    if (table.events.count(name) != 0) return true;
    HANDLE event = CreateEventA(nullptr, TRUE, FALSE, name.c_str());
    if (event == nullptr) return false;
    if (GetLastError() == ERROR_ALREADY_EXISTS) {
        // Another process marks the instance: the mark stands, and stays
        // theirs, as with the lock files of other systems.
        CloseHandle(event);
        return true;
    }
    table.events.emplace(name, event);
    return true;
}

bool Win32Platform::release_instance_marker(const std::string &name) {
    HeldEvents &table = held();
    const std::lock_guard<std::mutex> guard(table.mutex);
    const auto found = table.events.find(name);
    if (found == table.events.end()) return false;
    CloseHandle(found->second);
    table.events.erase(found);
    return true;
}

}  // namespace dpl::platform::win32
