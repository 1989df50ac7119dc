// The storage locations offered for the server's spaces, whose read speed
// the disk measurement times. Kept on the block, in order of addition.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "dpl/dpl.h"

namespace dpl::sysinfo {

// One location; the record points into the path beside it.
struct LocationNode {
    DiskLocation record{};
    std::string path;
    std::optional<uint32_t> device;  // of its directory, when known
};

class DiskLocationList {
public:
    DiskLocation *head() { return nodes_.empty() ? nullptr : &nodes_.front()->record; }
    bool has_device(uint32_t device) const;
    // Appends at the tail and links it from the last location.
    DiskLocation &append(std::unique_ptr<LocationNode> node);

private:
    std::vector<std::unique_ptr<LocationNode>> nodes_;
};

// Adds a directory location (is_file 0, offset 0) for the nearest existing
// directory of `path`, sized by the KB available on its volume, unless the
// list already holds a location on the same device. 0 (added or already
// covered), -967 for an empty path, -980 when the directory or its volume
// cannot be queried. Throws std::bad_alloc.
int32_t add_directory_location(InstallControlBlock &block, const std::string &path);

// Adds the file or raw device `path` itself, tested at byte `offset`; its
// size is the KB available on its volume when that can be queried, else 0.
int32_t add_file_location(InstallControlBlock &block, const std::string &path, int32_t offset);

}  // namespace dpl::sysinfo
