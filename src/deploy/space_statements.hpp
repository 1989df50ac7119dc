// The task statements that create one storage space (and its mirror).
#pragma once

#include <string>

#include "dpl/dpl.h"

namespace dpl::deploy {

// Appends the statements of `space` to `text`, exactly as the server's
// administration function takes them.
void append_space_statements(const StorageSpace &space, std::string &text);

}  // namespace dpl::deploy
