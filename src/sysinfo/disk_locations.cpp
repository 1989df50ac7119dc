// Adding storage locations: one directory per device, or a named file or
// raw device.
#include "sysinfo/disk_locations.hpp"

#include <utility>

#include "core/control_block.hpp"
#include "storage/volume.hpp"
#include "trace/trace.hpp"

namespace dpl::sysinfo {

bool DiskLocationList::has_device(uint32_t device) const {
    for (const auto &node : nodes_) {
        if (node->device && *node->device == device) return true;
    }
    return false;
}

DiskLocation &DiskLocationList::append(std::unique_ptr<LocationNode> node) {
    nodes_.push_back(std::move(node));
    LocationNode &added = *nodes_.back();
    added.record.path = added.path.data();
    added.record.next = nullptr;
    if (nodes_.size() > 1) nodes_[nodes_.size() - 2]->record.next = &added.record;
    return added.record;
}

int32_t add_directory_location(InstallControlBlock &block, const std::string &path) {
    if (path.empty()) return DPL_E_NULL_ARGUMENT;
    storage::PathVolume volume;
    int32_t rc = storage::locate(block.file_systems.devices(), path.c_str(), &volume);
    if (rc != DPL_OK) return rc;
    // One disk offered twice is still one disk.
    if (block.disk_locations.has_device(volume.device)) return DPL_OK;
    uint64_t available_kb = 0;
    rc = storage::volume_kb(volume.directory, nullptr, &available_kb);
    if (rc != DPL_OK) return rc;
    auto node = std::make_unique<LocationNode>();
    node->path = std::move(volume.directory);
    node->device = volume.device;
    node->record.size = available_kb;
    node->record.is_file = 0;
    node->record.offset = 0;
    block.disk_locations.append(std::move(node));
    return DPL_OK;
}

int32_t add_file_location(InstallControlBlock &block, const std::string &path, int32_t offset) {
    if (path.empty()) return DPL_E_NULL_ARGUMENT;
    auto node = std::make_unique<LocationNode>();
    // A raw device has no directory to ask about; it is tested all the same.
    storage::PathVolume volume;
    if (storage::locate(block.file_systems.devices(), path.c_str(), &volume) == DPL_OK) {
        uint64_t available_kb = 0;
        if (storage::volume_kb(volume.directory, nullptr, &available_kb) == DPL_OK)
            node->record.size = available_kb;
        node->device = volume.device;
    }
    node->path = path;
    node->record.is_file = 1;
    node->record.offset = offset;
    block.disk_locations.append(std::move(node));
    return DPL_OK;
}

}  // namespace dpl::sysinfo

extern "C" {

DiskLocation *dplGetDiskLocations(InstallControlBlock *pointer) {
    InstallControlBlock *block = dpl::core::as_block(pointer);
    return block != nullptr ? block->disk_locations.head() : nullptr;
}

int32_t dplAddDiskLocation(InstallControlBlock *pointer, const char *path, int32_t is_file, int32_t offset) {
    InstallControlBlock *block = dpl::core::as_block(pointer);
    if (block == nullptr) return DPL_E_BAD_CONTEXT;
    return dpl::trace::traced_call(dpl::trace::kSysinfo, __LINE__, "dplAddDiskLocation", [&]() -> int32_t {
        if (path == nullptr || path[0] == '\0') return DPL_E_NULL_ARGUMENT;
        if (is_file != 0) return dpl::sysinfo::add_file_location(*block, path, offset);
        return dpl::sysinfo::add_directory_location(*block, path);
    });
}

}  // extern "C"
