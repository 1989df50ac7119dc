// One run of dplsync over parsed arguments: open the contexts, read the
// target and the source, copy, write the target, release.
#pragma once

#include "sync_arguments.hpp"

namespace dplsync {

// The result of writing the target (0, or a negative library code); -1
// when a context cannot be opened. Messages go to standard output.
int run_sync(const SyncArguments &arguments);

}  // namespace dplsync
