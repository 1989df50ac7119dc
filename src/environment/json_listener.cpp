// dplDeployJsonListenerFile: the JSON listener's property file and its entry
// in the services database.
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include "core/control_block.hpp"
#include "environment/whole_file.hpp"
#include "platform/platform.hpp"
#include "trace/trace.hpp"

using dpl::trace::kInstance;

namespace {

constexpr const char *kWriter = "dplDeployJsonListenerFile";
constexpr uint16_t kFirstListenerPort = 27017;
constexpr uint32_t kProtocolClassMask = 192;

struct Loopback {
    std::string name;  // empty and port 0 when the instance has none
    uint16_t port = 0;
};

// The first socket connection of the instance on the loopback address.
Loopback find_loopback(Instance &instance) {
    for (const Connection *entry = instance.connections.head(); entry != nullptr; entry = entry->next) {
        const uint32_t klass = entry->protocol & kProtocolClassMask;
        if (entry->kind == DPL_CONNECTION_ENTRY && entry->protocol != DPL_PROTOCOL_GROUP &&
            (klass == 64 || klass == 128) && entry->host != nullptr &&
            std::strcmp(entry->host, "127.0.0.1") == 0) {
            return Loopback{entry->alias != nullptr ? entry->alias : "", entry->port};
        }
    }
    return Loopback{};
}

const std::string *setting(Instance &instance, const char *name) {
    const dpl::core::EnvironmentEntry *entry = dpl::core::find_environment(instance, name);
    if (entry == nullptr) {
        ht_debug(5, kInstance, __LINE__, "%s: Missing required %s environment.", kWriter, name);
        return nullptr;
    }
    return &entry->value;
}

std::string property_text(uint16_t listener_port, const Loopback &loopback) {
    char port_line[32];
    std::snprintf(port_line, sizeof port_line, "listener.port=%d\n", static_cast<int>(listener_port));
    char url_start[96];
    std::snprintf(
        url_start, sizeof url_start,
        "url=jdbc:orvandex-sqli://localhost:%d/sysmaster:ORVANDEXSERVER=", static_cast<int>(loopback.port));
    return std::string(port_line) + url_start + loopback.name + "\n";
}

int32_t deploy_listener(InstallControlBlock &block) {
    if (block.current == nullptr) return DPL_E_BAD_CONTEXT;
    Instance &instance = *block.current;
    const std::string *directory = setting(instance, "ORVANDEXDIR");
    const std::string *server = setting(instance, "ORVANDEXSERVER");
    if (directory == nullptr || server == nullptr) return DPL_E_FAIL;
    const std::string comment = "JSON listener for " + *server;
    const char separator = dpl::platform::current().path_separator();
    const std::string path = *directory + separator + "etc" + separator + "jsonListener.properties";

    // The file is made empty first, and stays so when no port can be found.
    uint32_t error = 0;
    if (!dpl::environment::write_whole_file(path, "", &error)) {
        ht_log("%s: Cannot OPEN/CREATE '%s'. errno = %d.", kWriter, path.c_str(), static_cast<int>(error));
        return DPL_E_OPEN_WRITE;
    }
    const Loopback loopback = find_loopback(instance);

    uint16_t port = 0;
    int32_t rc = dplServicesGeneratePort(&block, &port, kFirstListenerPort);
    if (rc != DPL_OK) {
        ht_log("Unable to generate port for JSON wired listener.");
        return rc;
    }
    char *generated = nullptr;
    rc = dplServicesGenerateName(&block, &generated, (*server + "_json").c_str());
    const std::unique_ptr<char, decltype(&dplFree)> name(generated, &dplFree);
    if (rc != DPL_OK) {
        ht_log("Unable to generate port for JSON wired listener.");
        return rc;
    }
    const int32_t added = dplServicesAddService(&block, name.get(), port, "tcp", 0, nullptr, comment.c_str());

    if (!dpl::environment::write_whole_file(path, property_text(port, loopback), &error)) {
        ht_log("%s: Cannot OPEN/CREATE '%s'. errno = %d.", kWriter, path.c_str(), static_cast<int>(error));
        return DPL_E_OPEN_WRITE;
    }
    return added;
}

}  // namespace

extern "C" {

int32_t dplDeployJsonListenerFile(InstallControlBlock *pointer) {
    InstallControlBlock *block = dpl::core::as_block(pointer);
    if (block == nullptr) return DPL_E_BAD_CONTEXT;
    return dpl::trace::traced_call(kInstance, __LINE__, kWriter, [&] { return deploy_listener(*block); });
}

}  // extern "C"
