// dplsync: copies sqlhosts connection definitions from a source to a target
// (an sqlhosts file, the local registry node, or \\machine).
#include <cstdio>
#include <string>

#include "dpl/dpl.h"
#include "sync_arguments.hpp"
#include "sync_run.hpp"

int main(int argc, char **argv) {
    dplsync::SyncArguments arguments;
    try {
        if (!dplsync::parse_arguments(argc, argv, arguments)) {
            const std::string usage = dplsync::usage_text(argc > 0 ? argv[0] : "dplsync");
            std::fputs(usage.c_str(), stdout);
            std::fflush(stdout);
            return -1;
        }
        return dplsync::run_sync(arguments);
    } catch (...) {
        return -1;
    }
}
