// Removing an instance from the machine: stop it, then take away its
// registry entries, Windows service, services-file entries, chunks, message
// logs, environment, script, configuration and connection files. After the
// configuration has been read every phase is best effort.
#include <string>

#include "core/control_block.hpp"
#include "deploy/instance_removal.hpp"
#include "trace/trace.hpp"

using dpl::trace::kInstance;

namespace {

// "<ORVANDEXDIR>/etc/<name>.<server>", with this system's separator.
std::string etc_file(const std::string &directory, const char *name, const std::string &server) {
    const char separator = dpl::platform::current().path_separator();
    return directory + separator + "etc" + separator + name + "." + server;
}

void remove_message_logs(Instance &instance) {
    for (const char *parameter : {"MSGPATH", "BAR_ACT_LOG", "JVPPROPFILE", "JVPLOGFILE", "CONSOLE"}) {
        const char *value = nullptr;
        if (dplGetConfig(&instance, parameter, &value, nullptr) != DPL_OK) {
            ht_debug(5, kInstance, __LINE__, "Couldn't retrieve (%s) from configFile\n", parameter);
            continue;
        }
        if (value != nullptr && *value != '\0')
            dpl::deploy::remove_instance_file(dpl::deploy::kMessageLogLabel, value);
    }
}

int32_t remove_instance(InstallControlBlock &block, const std::string &server) {
    if (block.current == nullptr) return DPL_E_BAD_CONTEXT;
    Instance &instance = *block.current;
    const dpl::core::EnvironmentEntry *dir_entry = dpl::core::find_environment(instance, "ORVANDEXDIR");
    if (dir_entry == nullptr) {
        ht_debug(5, kInstance, __LINE__, "Error retrieving orvandexdir.\n");
        return DPL_E_FAIL;
    }
    const std::string directory = dir_entry->value;
    if (dplStopInstance(&block, server.c_str()) == DPL_E_FAIL) {
        ht_debug(5, kInstance, __LINE__, "Failed to stop instance (%s) -- aborting removal\n",
                 server.c_str());
        return DPL_E_FAIL;
    }
    const std::string onconfig = etc_file(directory, "onconfig", server);
    const std::string sqlhosts = etc_file(directory, "sqlhosts", server);
    dplSetEnvironment(&block, "ORVANDEXSERVER", server.c_str());

    if (dplServicesStatus(&block) == 0) {
        std::string services = dpl::platform::current().services_database_path();
        if (services.size() > 255) services.resize(255);
        const int32_t rc = dplServicesLoad(&block, services.c_str());
        if (rc != DPL_OK) {
            ht_debug(5, kInstance, __LINE__, "Failed to read services file (%s) rc = %d\n", services.c_str(),
                     static_cast<int>(rc));
        }
    }
    if (dplReadConfig(&instance, onconfig.c_str()) != DPL_OK) {
        ht_debug(5, kInstance, __LINE__, "Failed to read configuration file (%s)\n", onconfig.c_str());
        return DPL_E_FAIL;
    }
    remove_message_logs(instance);

    int32_t result = DPL_OK;
    const int32_t registry = dplRemoveInstanceRegistry(&block, server.c_str());
    if (registry != DPL_OK) {
        ht_debug(5, kInstance, __LINE__, "Failed to clean registry for instance (%s) rc = %d\n",
                 server.c_str(), static_cast<int>(registry));
    } else {
        ht_debug(5, kInstance, __LINE__, "Registry cleanup complete for instance (%s)\n", server.c_str());
    }
    const int32_t service = dplWinServiceDelete(&block, server.c_str());
    if (service != DPL_OK) {
        ht_debug(5, kInstance, __LINE__, "Failed to remove windows service (%s) rc = %d\n", server.c_str(),
                 static_cast<int>(service));
        result = service;
    } else {
        ht_debug(5, kInstance, __LINE__, "Successfully removed service (%s)\n", server.c_str());
    }
    if (dplServicesStatus(&block) != 0) {
        const int32_t deployed = dplServicesDeploy(&block);
        if (deployed != DPL_OK) {
            ht_debug(5, kInstance, __LINE__, "Failed to deploy services file rc = %d\n",
                     static_cast<int>(deployed));
            result = deployed;
        } else {
            ht_debug(5, kInstance, __LINE__, "Services file rewritten\n");
        }
    } else {
        ht_debug(5, kInstance, __LINE__, "Services file rewritten\n");
    }

    dpl::deploy::remove_chunk_files(instance, directory, server);
    ht_debug(5, kInstance, __LINE__, "Chunk file removal phase complete for instance (%s).", server.c_str());

    const char separator = dpl::platform::current().path_separator();
    dpl::deploy::remove_instance_file(dpl::deploy::kEnvironmentLabel,
                                      directory + separator + server + ".cmd");
    dpl::deploy::remove_instance_file(
        dpl::deploy::kEnvironmentLabel,
        directory + separator + "etc" + separator + "sysadmin" + separator + "sch_init_" + server + ".sql");
    ht_debug(5, kInstance, __LINE__, "Environment file removal phase complete for instance (%s).",
             server.c_str());

    dpl::deploy::remove_instance_file(dpl::deploy::kOnconfigLabel, onconfig);
    dpl::deploy::remove_instance_file(dpl::deploy::kSqlhostsLabel, sqlhosts);
    return result;
}

}  // namespace

extern "C" int32_t dplRemoveInstance(InstallControlBlock *pointer, const char *server_name) {
    InstallControlBlock *block = dpl::core::as_block(pointer);
    if (block == nullptr) return DPL_E_BAD_CONTEXT;
    if (server_name == nullptr || *server_name == '\0') return DPL_E_NULL_ARGUMENT;
    return dpl::trace::traced_call(kInstance, __LINE__, "dplRemoveInstance", [&]() -> int32_t {
        const std::string server(server_name);
        const int32_t rc = remove_instance(*block, server);
        // Closes every path past the argument checks, failures included.
        ht_debug(5, kInstance, __LINE__, "Instance files for '%s have been removed.", server.c_str());
        return rc;
    });
}
