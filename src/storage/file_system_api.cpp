// The per-device requirement of the planned chunks and the free and total
// space of the volume of a path.
#include <optional>
#include <string>

#include "core/control_block.hpp"
#include "paths/paths.hpp"
#include "storage/volume.hpp"
#include "trace/trace.hpp"

namespace dpl::storage {
namespace {

constexpr int32_t kRecommendedSpaces = 6;

bool blank(const char *text) {
    return text == nullptr || text[0] == '\0';
}

int32_t charge(InstallControlBlock &block, const char *path, uint64_t required_kb) {
    if (blank(path)) return DPL_E_NULL_ARGUMENT;
    PathVolume volume;
    int32_t rc = locate(block.file_systems.devices(), path, &volume);
    if (rc != DPL_OK) return rc;
    // Matching is by device alone: the first entry of the device takes it.
    if (FileSystemEntry *entry = block.file_systems.find_device(volume.device)) {
        entry->required_kb += required_kb;
        return DPL_OK;
    }
    uint64_t total_kb = 0;
    uint64_t available_kb = 0;
    rc = volume_kb(volume.directory, &total_kb, &available_kb);
    if (rc != DPL_OK) return rc;
    std::unique_ptr<FileSystemNode> node;
    try {
        node = std::make_unique<FileSystemNode>();
        node->path = path;
        node->directory = std::move(volume.directory);
    } catch (const std::bad_alloc &) {
        ht_log("Memory Allocation Error\n");
        return DPL_E_NOMEM;
    }
    node->record.device = volume.device;
    node->record.total_kb = static_cast<uint32_t>(total_kb);
    node->record.free_kb = available_kb;
    node->record.required_kb = required_kb;
    block.file_systems.append(std::move(node));
    return DPL_OK;
}

// What the recommendation plans in `directory`, in KB.
int64_t recommended_kb(InstallControlBlock &block, const std::string &directory) {
    const Recommendation *recommendation = dplGetRecommendationRecord(&block);
    int64_t sum = 0;
    for (int32_t kind = 0; kind < kRecommendedSpaces; ++kind) {
        const char *path = recommendation != nullptr ? recommendation->space[kind].path : nullptr;
        if (blank(path)) {
            ht_log("No path found for dbspace type %d\n", kind);
            continue;
        }
        const std::optional<std::string> planned = paths::nearest_existing_directory(path);
        if (!planned) {
            ht_log("Could not determine valid subpath for (%s) in dplGetFileSysRequiredspace\n", path);
            continue;
        }
        ht_log("Comparing subpaths (%s) and (%s)\n", planned->c_str(), directory.c_str());
        if (*planned == directory) {
            sum += recommendation->space[kind].size;
            ht_log("Recommendation found for %ld KB\n", static_cast<long>(sum));
        }
    }
    return sum;
}

int64_t required_space(InstallControlBlock &block, const char *path) {
    if (blank(path)) {
        ht_log("Null or blank path passed to dplGetFileSysRequiredspace\n");
        return DPL_E_NULL_ARGUMENT;
    }
    const std::optional<std::string> directory = paths::nearest_existing_directory(path);
    if (!directory) {
        ht_log("Could not determine valid subpath for (%s) in dplGetFileSysRequiredSpace\n", path);
        return DPL_E_NO_DIRECTORY;
    }
    const int64_t divisor = unit_divisor(block.disk_mem_units);
    int64_t total = 0;
    if (const FileSystemEntry *entry = block.file_systems.find_directory(*directory)) {
        total = static_cast<int64_t>(entry->required_kb) / divisor;
        ht_log("Path (%s) has a requirement for %ld\n", path, static_cast<long>(total));
    }
    ht_log("Found total requirement of %ld\n", static_cast<long>(total));
    if (total != 0) return total;
    const int64_t sum = recommended_kb(block, *directory);
    if (sum == 0) return 0;
    total = sum / divisor;
    ht_log("Path (%s) has a requirement for %ld\n", path, static_cast<long>(total));
    return total;
}

// Total and available KB of the volume of the path's nearest existing directory.
int32_t volume_of_path(const char *path, uint64_t *total_kb, uint64_t *available_kb) {
    if (blank(path)) return DPL_E_NULL_ARGUMENT;
    const std::optional<std::string> directory = paths::nearest_existing_directory(path);
    if (!directory) return DPL_E_NO_DIRECTORY;
    return volume_kb(*directory, total_kb, available_kb);
}

}  // namespace
}  // namespace dpl::storage

extern "C" {

FileSystemEntry *dplGetFileSysList(InstallControlBlock *pointer) {
    InstallControlBlock *block = dpl::core::as_block(pointer);
    return block != nullptr ? block->file_systems.head() : nullptr;
}

int32_t dplSetFileSysInfo(InstallControlBlock *pointer, const char *path, uint64_t required_kb) {
    InstallControlBlock *block = dpl::core::as_block(pointer);
    if (block == nullptr) return DPL_E_BAD_CONTEXT;
    return dpl::trace::traced_call(dpl::trace::kInstance, __LINE__, "dplSetFileSysInfo",
                                   [&] { return dpl::storage::charge(*block, path, required_kb); });
}

int64_t dplGetFileSysRequiredspace(InstallControlBlock *pointer, const char *path, int32_t /*reserved*/) {
    InstallControlBlock *block = dpl::core::as_block(pointer);
    if (block == nullptr) return DPL_E_BAD_CONTEXT;
    return dpl::trace::traced_call(dpl::trace::kInstance, __LINE__, "dplGetFileSysRequiredspace",
                                   [&] { return dpl::storage::required_space(*block, path); });
}

int64_t dplGetFileSysFreespace(InstallControlBlock *pointer, const char *path) {
    InstallControlBlock *block = dpl::core::as_block(pointer);
    if (block == nullptr) return DPL_E_BAD_CONTEXT;
    return dpl::trace::traced_call(
        dpl::trace::kInstance, __LINE__, "dplGetFileSysFreespace", [&]() -> int64_t {
            uint64_t available_kb = 0;
            const int32_t rc = dpl::storage::volume_of_path(path, nullptr, &available_kb);
            if (rc != DPL_OK) return rc;
            return static_cast<int64_t>(available_kb) / dpl::storage::unit_divisor(block->disk_mem_units);
        });
}

int32_t dplGetFileSysInfo(InstallControlBlock *pointer, const char *path, uint64_t *total_kb,
                          uint64_t *free_kb) {
    if (dpl::core::as_block(pointer) == nullptr) return DPL_E_BAD_CONTEXT;
    return dpl::trace::traced_call(dpl::trace::kInstance, __LINE__, "dplGetFileSysInfo",
                                   [&] { return dpl::storage::volume_of_path(path, total_kb, free_kb); });
}

}  // extern "C"
