// The deployment calls that stop and remove one instance and delete a
// service. They belong to the public interface of the deployment area;
// repeated here with the same signatures until dpl.h carries them.
#pragma once

#include <cstdint>

#include "dpl/dpl.h"

extern "C" {
DPL_API int32_t dplWinServiceDelete(InstallControlBlock *block, const char *name);
DPL_API int32_t dplStopInstance(InstallControlBlock *block, const char *service_name);
DPL_API int32_t dplRemoveInstance(InstallControlBlock *block, const char *server_name);
}
