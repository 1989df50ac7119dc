// Setting one of the paths of the automatic configuration: the path must be
// on a volume that can be queried, and it offers its device as a storage
// location for timing.
#pragma once

#include <cstdint>

#include "dpl/dpl.h"

namespace dpl::autoconfig {

// Copies `value` into `field` (releasing the old text) once its volume
// answers, then adds a directory location for it: 0, -975 for a path that
// is not valid, -1000, or the location's status. `label` names the path in
// the copy failure message ("INSTANCEPATH", "LLOG PATH", ...).
int32_t set_path(InstallControlBlock &block, char *&field, const char *value, const char *label);

// The recommendation's space entry that the path codes (root, logical log,
// physical log, data, smart large objects, temporary) refer to, by the
// code's offset from the first of them.
int space_entry_of_path(int offset);

// The label of that path in the copy failure message of a setting (codes
// 18-23) and of an update (codes 50-55), by the same offset. Two labels stand
// for another path's, as the messages have always read.
const char *setting_path_label(int offset);
const char *update_path_label(int offset);

}  // namespace dpl::autoconfig
