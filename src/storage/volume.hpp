// Where a path lives: its nearest existing directory, that directory's
// device number and the size of its volume; and the display unit divisor.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>

namespace dpl::storage {

struct PathVolume {
    std::string directory;  // the nearest existing directory of the path
    uint32_t device = 0;
};

// Device numbers already asked for, per directory. Planning thousands of
// chunks in a few directories then costs no status query after the first
// one per directory.
class DeviceCache {
public:
    // 0, or -980 when the directory's status cannot be queried.
    int32_t device_of(const std::string &directory, uint32_t *device);

private:
    std::unordered_map<std::string, uint32_t> devices_;
};

// 0, or -980 when the path has no existing directory or it cannot be
// queried. The path must not be null or empty.
int32_t locate(DeviceCache &cache, const char *path, PathVolume *out);

// KB figures of the volume of an existing directory (available: what the
// caller may still use): 0, or -980.
int32_t volume_kb(const std::string &directory, uint64_t *total_kb, uint64_t *available_kb);

// What a KB figure is divided by for the block's display unit (KB .. PB).
int64_t unit_divisor(int32_t units);

}  // namespace dpl::storage
