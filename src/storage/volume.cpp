#include "storage/volume.hpp"

#include <optional>

#include "dpl/dpl.h"
#include "paths/paths.hpp"
#include "platform/platform.hpp"

namespace dpl::storage {

int32_t DeviceCache::device_of(const std::string &directory, uint32_t *device) {
    const auto found = devices_.find(directory);
    if (found != devices_.end()) {
        *device = found->second;
        return DPL_OK;
    }
    platform::SysError error;
    if (!platform::current().device_number(directory, device, &error)) return DPL_E_NO_DIRECTORY;
    devices_.emplace(directory, *device);
    return DPL_OK;
}

int32_t locate(DeviceCache &cache, const char *path, PathVolume *out) {
    std::optional<std::string> directory = paths::nearest_existing_directory(path);
    if (!directory) return DPL_E_NO_DIRECTORY;
    const int32_t rc = cache.device_of(*directory, &out->device);
    if (rc != DPL_OK) return rc;
    out->directory = std::move(*directory);
    return DPL_OK;
}

int32_t volume_kb(const std::string &directory, uint64_t *total_kb, uint64_t *available_kb) {
    platform::VolumeSpace space;
    platform::SysError error;
    if (!platform::current().volume_space(directory, &space, &error)) return DPL_E_NO_DIRECTORY;
    if (total_kb != nullptr) *total_kb = space.total >> 10;
    if (available_kb != nullptr) *available_kb = space.available >> 10;
    return DPL_OK;
}

int64_t unit_divisor(int32_t units) {
    if (units < DPL_UNITS_KB || units > DPL_UNITS_PB) return 1;
    return int64_t{1} << (10 * units);
}

}  // namespace dpl::storage
