#include "platform/posix/posix_services.hpp"

#include <strings.h>

#include <utility>

namespace dpl::platform::posix {
namespace {

constexpr uint32_t kOwnProcess = 0x10;
constexpr uint32_t kAutoStart = 2;
constexpr uint32_t kErrorNormal = 1;
constexpr std::size_t kMaxNameLength = 256;

// A name the manager accepts: a key name of its own, never a path.
bool valid_name(const std::string &name) {
    return !name.empty() && name.size() <= kMaxNameLength && name.find_first_of("\\/") == std::string::npos;
}

std::string key_path(const std::string &name) {
    return std::string(kServicesKey) + "\\" + name;
}

RegValue text_value(uint32_t type, const std::string &text) {
    RegValue value;
    value.type = type;
    value.data = text;
    value.data.push_back('\0');
    return value;
}

RegValue dword_value(uint32_t number) {
    RegValue value;
    value.type = regtype::kDword;
    for (int shift = 0; shift < 32; shift += 8)
        value.data.push_back(static_cast<char>((number >> shift) & 0xFF));
    return value;
}

// A registry missing key means a service that is not (or no longer) there.
uint32_t service_gone(uint32_t registry_error) {
    return registry_error == err::kFileNotFound ? err::kServiceMarkedForDelete : registry_error;
}

// The key of one service, closed at the end of its scope.
class ServiceKey {
public:
    explicit ServiceKey(PosixRegistry &registry) : registry_(registry) {}
    ServiceKey(const ServiceKey &) = delete;
    ServiceKey &operator=(const ServiceKey &) = delete;
    ~ServiceKey() {
        if (key_ != kNoKey) registry_.reg_close_key(key_);
    }

    uint32_t open(const std::string &name) {
        return registry_.reg_open_key(kLocalMachine, key_path(name), RegView::Default, &key_);
    }
    uint32_t create(const std::string &name) {
        return registry_.reg_create_key(kLocalMachine, key_path(name), RegView::Default, &key_);
    }
    uint32_t set(const char *name, const RegValue &value) {
        return registry_.reg_set_value(key_, name, value);
    }

    uint32_t dword(const char *name, uint32_t fallback) {
        RegValue value;
        if (registry_.reg_query_value(key_, name, &value) != 0 || value.type != regtype::kDword ||
            value.data.size() < 4) {
            return fallback;
        }
        uint32_t number = 0;
        for (int at = 3; at >= 0; --at) number = (number << 8) | static_cast<unsigned char>(value.data[at]);
        return number;
    }

private:
    PosixRegistry &registry_;
    RegKey key_ = kNoKey;
};

// The changes of one call reach the store in one write.
class Batch {
public:
    explicit Batch(PosixRegistry &registry) : registry_(registry) { registry_.reg_begin_batch(); }
    Batch(const Batch &) = delete;
    Batch &operator=(const Batch &) = delete;
    ~Batch() {
        if (!ended_) registry_.reg_end_batch();
    }
    // The first error of `rc` and the final write.
    uint32_t end(uint32_t rc) {
        ended_ = true;
        const uint32_t written = registry_.reg_end_batch();
        return rc != 0 ? rc : written;
    }

private:
    PosixRegistry &registry_;
    bool ended_ = false;
};

}  // namespace

ServiceQuery PosixServiceManager::query_service(const std::string &name, uint32_t *error) {
    if (error != nullptr) *error = 0;
    if (!valid_name(name)) return ServiceQuery::NotInstalled;
    ServiceKey key(registry_);
    const uint32_t rc = key.open(name);
    if (rc == 0) return ServiceQuery::Installed;
    // A name no service can have is not installed, as the Windows manager
    // answers; only a store that cannot be read leaves the question open.
    if (rc == err::kFileNotFound || rc == err::kPathNotFound || rc == err::kInvalidParameter ||
        rc == err::kInvalidName) {
        return ServiceQuery::NotInstalled;
    }
    if (error != nullptr) *error = rc;
    return ServiceQuery::ManagerUnavailable;
}

uint32_t PosixServiceManager::open_manager(const std::string &database, ScHandle *out) {
    *out = kNoScHandle;
    if (!database.empty() && ::strcasecmp(database.c_str(), kServicesActiveDatabase) != 0) {
        return err::kDatabaseDoesNotExist;
    }
    *out = add_handle(Handle{true, {}});
    return 0;
}

uint32_t PosixServiceManager::open_service(ScHandle manager, const std::string &name, ScHandle *out) {
    *out = kNoScHandle;
    if (!is_manager(manager)) return err::kInvalidHandle;
    if (!valid_name(name)) return err::kInvalidName;
    ServiceKey key(registry_);
    const uint32_t rc = key.open(name);
    if (rc == err::kFileNotFound) return err::kServiceDoesNotExist;
    if (rc != 0) return rc;
    *out = add_handle(Handle{false, name});
    return 0;
}

uint32_t PosixServiceManager::create_service(ScHandle manager, const ServiceDefinition &service,
                                             ScHandle *out) {
    *out = kNoScHandle;
    if (!is_manager(manager)) return err::kInvalidHandle;
    if (!valid_name(service.name)) return err::kInvalidName;
    if (service.command_line.empty()) return err::kInvalidParameter;
    Batch batch(registry_);
    {
        ServiceKey existing(registry_);
        if (existing.open(service.name) == 0) return batch.end(err::kServiceExists);
    }
    ServiceKey key(registry_);
    uint32_t rc = key.create(service.name);
    const std::string &display = service.display_name.empty() ? service.name : service.display_name;
    const std::string &account = service.account.empty() ? std::string("LocalSystem") : service.account;
    if (rc == 0) rc = key.set("Type", dword_value(kOwnProcess));
    if (rc == 0) rc = key.set("Start", dword_value(kAutoStart));
    if (rc == 0) rc = key.set("ErrorControl", dword_value(kErrorNormal));
    if (rc == 0) rc = key.set("ImagePath", text_value(regtype::kExpandSz, service.command_line));
    if (rc == 0) rc = key.set("DisplayName", text_value(regtype::kSz, display));
    if (rc == 0) rc = key.set("ObjectName", text_value(regtype::kSz, account));
    rc = batch.end(rc);
    if (rc != 0) return rc;
    *out = add_handle(Handle{false, service.name});
    return 0;
}

uint32_t PosixServiceManager::set_description(ScHandle service, const std::string &description) {
    std::string name;
    if (!service_name(service, &name)) return err::kInvalidHandle;
    ServiceKey key(registry_);
    if (const uint32_t rc = key.open(name); rc != 0) return service_gone(rc);
    return key.set("Description", text_value(regtype::kSz, description));
}

uint32_t PosixServiceManager::delete_service(ScHandle service) {
    std::string name;
    if (!service_name(service, &name)) return err::kInvalidHandle;
    {
        ServiceKey key(registry_);
        if (const uint32_t rc = key.open(name); rc != 0) return service_gone(rc);
    }
    return service_gone(registry_.reg_delete_tree(kLocalMachine, key_path(name), RegView::Default));
}

uint32_t PosixServiceManager::control_stop(ScHandle service, ServiceStatus *status) {
    std::string name;
    if (!service_name(service, &name)) return err::kInvalidHandle;
    Batch batch(registry_);
    ServiceKey key(registry_);
    if (const uint32_t rc = key.open(name); rc != 0) return batch.end(service_gone(rc));
    uint32_t state = key.dword(kStateValue, scstate::kStopped);
    uint32_t rc = 0;
    if (state == scstate::kStopped) {
        rc = err::kServiceNotActive;
    } else if (state == scstate::kStopPending) {
        rc = err::kServiceCannotAcceptControl;
    } else {
        state = key.dword(kStopPollsValue, 0) == 0 ? scstate::kStopped : scstate::kStopPending;
        rc = key.set(kStateValue, dword_value(state));
    }
    if (status != nullptr) status->current_state = state;
    return batch.end(rc);
}

uint32_t PosixServiceManager::query_status(ScHandle service, ServiceStatus *status) {
    std::string name;
    if (!service_name(service, &name)) return err::kInvalidHandle;
    Batch batch(registry_);
    ServiceKey key(registry_);
    if (const uint32_t rc = key.open(name); rc != 0) return batch.end(service_gone(rc));
    uint32_t state = key.dword(kStateValue, scstate::kStopped);
    uint32_t rc = 0;
    if (state == scstate::kStopPending) {
        // The service counts down the queries it still answers "stop pending".
        const uint32_t polls = key.dword(kStopPollsValue, 0);
        if (polls == 0) {
            state = scstate::kStopped;
            rc = key.set(kStateValue, dword_value(state));
        } else if (polls != kNeverStops) {
            rc = key.set(kStopPollsValue, dword_value(polls - 1));
        }
    }
    if (status != nullptr) status->current_state = state;
    return batch.end(rc);
}

uint32_t PosixServiceManager::close(ScHandle handle) {
    const std::lock_guard<std::mutex> lock(mutex_);
    return handles_.erase(handle) == 1 ? 0 : err::kInvalidHandle;
}

bool PosixServiceManager::is_manager(ScHandle handle) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = handles_.find(handle);
    return found != handles_.end() && found->second.manager;
}

bool PosixServiceManager::service_name(ScHandle handle, std::string *name) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = handles_.find(handle);
    if (found == handles_.end() || found->second.manager) return false;
    *name = found->second.service;
    return true;
}

ScHandle PosixServiceManager::add_handle(Handle handle) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const ScHandle made = next_handle_;
    next_handle_ += 4;
    handles_.emplace(made, std::move(handle));
    return made;
}

}  // namespace dpl::platform::posix
