#include "deploy/space_statements.hpp"

#include "deploy/deploy_script.hpp"

namespace dpl::deploy {
namespace {

// The texts print sizes as signed longs, whatever the record holds.
std::string kb(uint64_t value) {
    return number(static_cast<int64_t>(value));
}

const char *text_or_empty(const char *text) {
    return text != nullptr ? text : "";
}

// "\"<name>\", \"<path>\", <size>, <offset>" after the kind word.
std::string space_arguments(const StorageSpace &space) {
    return std::string("\", \"") + text_or_empty(space.name) + "\", \"" + text_or_empty(space.path) + "\", " +
           kb(space.size) + ", " + kb(space.offset);
}

}  // namespace

void append_space_statements(const StorageSpace &space, std::string &text) {
    text.append("\nEXECUTE FUNCTION task(\"create ");
    // Which field says "mirrored": a Smart BLOBspace keeps its metadata size
    // where the others keep the flag, and the test reads that place.
    uint64_t mirrored = space.mirrored;
    switch (space.kind) {
        case DPL_SPACE_DB:
            if (space.temporary == 0) {
                text.append("dbspace").append(space_arguments(space));
            } else if (space.temporary == 1) {
                text.append("tempdbspace").append(space_arguments(space));
            }
            // The extents are only reached through a page size.
            if (space.page_size != 0) {
                text.append(", ").append(kb(space.page_size));
                if (space.first_extent != 0) {
                    text.append(", ").append(kb(space.first_extent));
                    if (space.next_extent != 0) text.append(", ").append(kb(space.next_extent));
                }
            }
            text.append(");");
            break;
        case DPL_SPACE_SB:
            text.append("sbspace").append(space_arguments(space)).append(");");
            mirrored = space.metadata_size;
            break;
        case DPL_SPACE_BLOB:
            text.append("blobspace").append(space_arguments(space));
            if (space.blob_page_size != 0)
                text.append(", ").append(number(static_cast<int32_t>(space.blob_page_size)));
            text.append(");");
            break;
        default:
            return;
    }
    if (mirrored == 1) {
        const char *mirror_path = space.mirror != nullptr ? space.mirror->path : space.mirror_path;
        const uint64_t mirror_offset = space.mirror != nullptr ? space.mirror->offset : space.mirror_offset;
        text.append("\n\nEXECUTE FUNCTION task(\"add mirror").append(space_arguments(space));
        text.append(", \"")
            .append(text_or_empty(mirror_path))
            .append("\", ")
            .append(kb(mirror_offset))
            .append(");");
        text.append("\nEXECUTE FUNCTION task(\"start mirroring\", \"")
            .append(text_or_empty(space.name))
            .append("\");");
    }
    text.append("\n\n");
}

}  // namespace dpl::deploy
