// One run of dplsync, in the order the program has always made its calls.
#include "sync_run.hpp"

#include <cstdio>
#include <string>

#include "dpl/dpl.h"

namespace dplsync {
namespace {

constexpr uint32_t kModeNoPortTest = DPL_MODE_NO_PORT_TEST;

InstallControlBlock *open_context() {
    return init_API(kModeNoPortTest, 0, "not important", "12.10.FC1");
}

}  // namespace

int run_sync(const SyncArguments &arguments) {
    InstallControlBlock *target = open_context();
    if (target == nullptr) return -1;
    InstallControlBlock *source = target;
    if (arguments.has_server_list) {
        source = open_context();
        if (source == nullptr) {
            finish(target);
            return -1;
        }
    }
    if (arguments.target) dplSetEnvironment(target, "ORVANDEXSQLHOSTS", arguments.target->c_str());

    const char *target_place = arguments.target ? arguments.target->c_str() : nullptr;
    const char *source_place = arguments.source ? arguments.source->c_str() : nullptr;
    const int32_t target_read = dplWindowsReadConnections(target, target_place);
    // Reading the source from a registry changes the location; the write
    // goes back to where the target came from.
    const int32_t target_location = dplGetSqlhostsLocation(target);
    // A target file that does not exist yet is expected.
    if (target_read != DPL_OK && target_read != DPL_E_OPEN_READ) {
        std::fputs("ERROR: could not process target sqlhost", stdout);
    }
    if (dplWindowsReadConnections(source, source_place) != DPL_OK) {
        std::fputs("ERROR could not process source sqlhost", stdout);
    }
    for (const std::string &alias : arguments.servers) {
        Connection *entry = nullptr;
        if (dplGetConnection(source, alias.c_str(), &entry) == DPL_OK) {
            dplAddConnection(target, entry->alias, entry->protocol, entry->host, entry->port, entry->service,
                             entry->options);
        }
    }
    if (target_location >= 0) dplSetSqlhostsLocation(target, static_cast<uint32_t>(target_location));
    std::fflush(stdout);
    const int result = dplWriteConnection(target);

    finish(target);
    if (source != target) finish(source);
    return result;
}

}  // namespace dplsync
