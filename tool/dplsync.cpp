// dplsync: copies sqlhosts connection definitions from a source to a target
// (an sqlhosts file, the local registry node, or \\machine).
#include <cstdio>
#include <string>

#include "dpl/dpl.h"
#include "sync_arguments.hpp"

namespace {

constexpr uint32_t kModeNoPortTest = DPL_MODE_NO_PORT_TEST;

InstallControlBlock *open_context() {
    return init_API(kModeNoPortTest, 0, "not important", "12.10.FC1");
}

int run(const dplsync::SyncArguments &arguments) {
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

    // Reading, copying and writing the connections come with the
    // connection layer; until then the run ends here with success.
    const int result = 0;

    finish(target);
    if (source != target) finish(source);
    return result;
}

}  // namespace

int main(int argc, char **argv) {
    dplsync::SyncArguments arguments;
    try {
        if (!dplsync::parse_arguments(argc, argv, arguments)) {
            const std::string usage = dplsync::usage_text(argc > 0 ? argv[0] : "dplsync");
            std::fputs(usage.c_str(), stdout);
            std::fflush(stdout);
            return -1;
        }
        return run(arguments);
    } catch (...) {
        return -1;
    }
}
