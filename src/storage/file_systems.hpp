// The per-device file-system list of the block: what the planned chunks
// need on each device, beside what the device has.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "dpl/dpl.h"
#include "storage/volume.hpp"

namespace dpl::storage {

// One listed device; the record points into the strings beside it.
struct FileSystemNode {
    FileSystemEntry record{};
    std::string path;
    std::string directory;
};

class FileSystemList {
public:
    FileSystemEntry *head() { return nodes_.empty() ? nullptr : &nodes_.front()->record; }
    // The first entry of the device, or null.
    FileSystemEntry *find_device(uint32_t device);
    // The first entry whose existing directory is `directory`, or null.
    FileSystemEntry *find_directory(const std::string &directory);
    // Appends at the tail and links it from the last entry.
    void append(std::unique_ptr<FileSystemNode> node);
    DeviceCache &devices() { return devices_; }

private:
    std::vector<std::unique_ptr<FileSystemNode>> nodes_;
    DeviceCache devices_;
};

}  // namespace dpl::storage
