// Creating the storage spaces of the current instance: DBspaces, Smart
// BLOBspaces, BLOBspaces and their mirrors, each charged to the file-system
// list of its device.
#include <memory>
#include <string>

#include "core/control_block.hpp"
#include "storage/space_list.hpp"
#include "trace/trace.hpp"

namespace dpl::storage {
namespace {

bool given(const char *text) {
    return text != nullptr && text[0] != '\0';
}

std::optional<std::string> copy_of(const char *text) {
    if (text == nullptr) return std::nullopt;
    return std::string(text);
}

// A size text in KB; absent text is 0, and a refused one stays the code
// the conversion gave.
uint64_t size_of(const char *text) {
    return given(text) ? static_cast<uint64_t>(dplParseSize(text)) : 0;
}

// The current instance's space list, or the code of the missing piece.
int32_t spaces_of(InstallControlBlock *pointer, SpaceList **spaces) {
    if (pointer == nullptr) return DPL_E_NULL_ARGUMENT;
    InstallControlBlock *block = core::as_block(pointer);
    if (block == nullptr) return DPL_E_BAD_CONTEXT;
    if (block->current == nullptr) return DPL_E_NULL_ARGUMENT;
    *spaces = &block->current->spaces;
    return DPL_OK;
}

std::unique_ptr<SpaceNode> new_space(uint32_t kind, const char *name, const char *path, const char *size,
                                     const char *offset) {
    auto node = std::make_unique<SpaceNode>();
    node->record.kind = kind;
    node->name = copy_of(name);
    node->path = copy_of(path);
    node->record.size = size_of(size);
    node->record.offset = size_of(offset);
    return node;
}

void set_mirror(SpaceNode &node, const char *mirror_path, const char *mirror_offset) {
    if (!given(mirror_path)) return;
    node.record.mirrored = 1;
    node.mirror_path = mirror_path;
    node.record.mirror_offset = size_of(mirror_offset);
}

// Lists the space, makes its mirror when one was given, and charges the
// primary chunk to its device.
int32_t list_space(InstallControlBlock *block, SpaceList &spaces, std::unique_ptr<SpaceNode> node,
                   const char *mirror_path, const char *mirror_offset) {
    const uint64_t size = node->record.size;
    const std::optional<std::string> name = node->name;
    const std::optional<std::string> path = node->path;
    spaces.append(std::move(node));
    // The mirror's own result does not decide the creation's.
    if (given(mirror_path))
        dplCreateMirrorSpace(block, name ? name->c_str() : nullptr, mirror_path, mirror_offset);
    return dplSetFileSysInfo(block, path ? path->c_str() : nullptr, size);
}

int32_t create_db_space(InstallControlBlock *block, const char *name, const char *path, const char *size,
                        const char *offset, const char *page_size, const char *mirror_path,
                        const char *mirror_offset, const char *first_extent, const char *next_extent,
                        uint32_t temporary) {
    SpaceList *spaces = nullptr;
    if (const int32_t rc = spaces_of(block, &spaces); rc != DPL_OK) return rc;
    std::unique_ptr<SpaceNode> node = new_space(DPL_SPACE_DB, name, path, size, offset);
    if (given(page_size)) node->record.page_size = size_of(page_size);
    set_mirror(*node, mirror_path, mirror_offset);
    // A next extent only counts together with a first one.
    if (given(first_extent)) {
        node->record.first_extent = size_of(first_extent);
        if (given(next_extent)) node->record.next_extent = size_of(next_extent);
    }
    node->record.temporary = temporary;
    return list_space(block, *spaces, std::move(node), mirror_path, mirror_offset);
}

int32_t create_sb_space(InstallControlBlock *block, const char *name, const char *path, const char *size,
                        const char *offset, const char *mirror_path, const char *mirror_offset,
                        const char *metadata_size, const char *metadata_offset, uint32_t temporary,
                        const char *options) {
    SpaceList *spaces = nullptr;
    if (const int32_t rc = spaces_of(block, &spaces); rc != DPL_OK) return rc;
    std::unique_ptr<SpaceNode> node = new_space(DPL_SPACE_SB, name, path, size, offset);
    set_mirror(*node, mirror_path, mirror_offset);
    if (given(metadata_size)) node->record.metadata_size = size_of(metadata_size);
    if (given(metadata_offset)) node->record.metadata_offset = size_of(metadata_offset);
    node->record.temporary = temporary;
    if (given(options)) node->options = options;
    return list_space(block, *spaces, std::move(node), mirror_path, mirror_offset);
}

int32_t create_blob_space(InstallControlBlock *block, const char *name, const char *path, const char *size,
                          const char *offset, uint32_t blob_page_size, const char *mirror_path,
                          const char *mirror_offset) {
    SpaceList *spaces = nullptr;
    if (const int32_t rc = spaces_of(block, &spaces); rc != DPL_OK) return rc;
    std::unique_ptr<SpaceNode> node = new_space(DPL_SPACE_BLOB, name, path, size, offset);
    node->record.blob_page_size = blob_page_size;
    set_mirror(*node, mirror_path, mirror_offset);
    return list_space(block, *spaces, std::move(node), mirror_path, mirror_offset);
}

int32_t create_mirror(InstallControlBlock *block, const char *name, const char *mirror_path,
                      const char *mirror_offset) {
    SpaceList *spaces = nullptr;
    if (const int32_t rc = spaces_of(block, &spaces); rc != DPL_OK) return rc;
    if (spaces->empty() || name == nullptr) return DPL_E_NULL_ARGUMENT;
    auto node = std::make_unique<SpaceNode>();
    node->name = name;
    node->path = copy_of(mirror_path);
    node->record.offset = size_of(mirror_offset);
    StorageSpace *space = spaces->find(name);
    if (space == nullptr) return DPL_E_NULL_ARGUMENT;
    const bool base_kind =
        space->kind == DPL_SPACE_DB || space->kind == DPL_SPACE_SB || space->kind == DPL_SPACE_BLOB;
    if (!base_kind) return DPL_E_LOG_SPACE_KIND;
    // A primary not flagged mirrored leaves the mirror without kind and size.
    if (space->mirrored == 1) {
        node->record.kind = space->kind;
        node->record.size = space->size;
    }
    const uint64_t size = node->record.size;
    space->mirror = spaces->keep_mirror(std::move(node));
    return dplSetFileSysInfo(block, mirror_path, size);
}

}  // namespace
}  // namespace dpl::storage

extern "C" {

int32_t dplCreateDBSpace(InstallControlBlock *block, const char *name, const char *path, const char *size,
                         const char *offset, const char *page_size, const char *mirror_path,
                         const char *mirror_offset, const char *first_extent, const char *next_extent,
                         uint32_t temporary) {
    return dpl::trace::traced_call(dpl::trace::kInstance, __LINE__, "dplCreateDBSpace", [&] {
        return dpl::storage::create_db_space(block, name, path, size, offset, page_size, mirror_path,
                                             mirror_offset, first_extent, next_extent, temporary);
    });
}

int32_t dplCreateSBSpace(InstallControlBlock *block, const char *name, const char *path, const char *size,
                         const char *offset, const char *mirror_path, const char *mirror_offset,
                         const char *metadata_size, const char *metadata_offset, uint32_t temporary,
                         const char *options) {
    return dpl::trace::traced_call(dpl::trace::kInstance, __LINE__, "dplCreateSBSpace", [&] {
        return dpl::storage::create_sb_space(block, name, path, size, offset, mirror_path, mirror_offset,
                                             metadata_size, metadata_offset, temporary, options);
    });
}

int32_t dplCreateBLOBSpace(InstallControlBlock *block, const char *name, const char *path, const char *size,
                           const char *offset, uint32_t blob_page_size, const char *mirror_path,
                           const char *mirror_offset) {
    return dpl::trace::traced_call(dpl::trace::kInstance, __LINE__, "dplCreateBLOBSpace", [&] {
        return dpl::storage::create_blob_space(block, name, path, size, offset, blob_page_size, mirror_path,
                                               mirror_offset);
    });
}

int32_t dplCreateMirrorSpace(InstallControlBlock *block, const char *name, const char *mirror_path,
                             const char *mirror_offset) {
    return dpl::trace::traced_call(dpl::trace::kInstance, __LINE__, "dplCreateMirrorSpace", [&] {
        return dpl::storage::create_mirror(block, name, mirror_path, mirror_offset);
    });
}

int32_t dplCreateSpace(InstallControlBlock *block, uint32_t kind, const char *name, const char *path,
                       const char *size, const char *offset) {
    switch (kind) {
        case DPL_SPACE_DB:
        case DPL_SPACE_TEMP_DB:
            return dplCreateDBSpace(block, name, path, size, offset, nullptr, nullptr, nullptr, nullptr,
                                    nullptr, kind == DPL_SPACE_TEMP_DB ? 1 : 0);
        case DPL_SPACE_SB:
        case DPL_SPACE_TEMP_SB:
            return dplCreateSBSpace(block, name, path, size, offset, nullptr, nullptr, nullptr, nullptr,
                                    kind == DPL_SPACE_TEMP_SB ? 1 : 0, nullptr);
        case DPL_SPACE_BLOB:
            return dplCreateBLOBSpace(block, name, path, size, offset, 0, nullptr, nullptr);
        default:
            return DPL_OK;
    }
}

const char *dplGetSpaceKindName(uint32_t kind) {
    switch (kind) {
        case DPL_SPACE_DB:
            return "DBspace";
        case DPL_SPACE_TEMP_DB:
            return "Temp DBspace";
        case DPL_SPACE_SB:
            return "Smart BLOBspace";
        case DPL_SPACE_TEMP_SB:
            return "Temp Smart BLOBspace";
        case DPL_SPACE_BLOB:
            return "BLOBspace";
        default:
            return nullptr;
    }
}

StorageSpace *dplGetSpaceList(InstallControlBlock *pointer) {
    InstallControlBlock *block = dpl::core::as_block(pointer);
    if (block == nullptr || block->current == nullptr) return nullptr;
    return block->current->spaces.head();
}

}  // extern "C"
