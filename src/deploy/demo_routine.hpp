// The set-up routine of a demonstration instance.
#pragma once

#include <string>

namespace dpl::deploy {

// The routine's whole text, each line ended by "\n"; the listener lines only
// with `json_listener`. `page_kb` is the page size the temporary spaces of
// shared-disk secondaries get.
std::string demo_routine(bool json_listener, int page_kb);

}  // namespace dpl::deploy
