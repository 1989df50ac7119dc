// What a path names, the nearest directory that exists above it, and
// creating a file together with the directories it needs.
#include <algorithm>
#include <utility>

#include "core/control_block.hpp"
#include "dpl/dpl.h"
#include "paths/paths.hpp"
#include "platform/platform.hpp"
#include "trace/trace.hpp"

namespace dpl::paths {
namespace {

constexpr uint32_t kNotFound = platform::err::kFileNotFound;

bool is_directory(const std::string &path) {
    platform::PathStatus status;
    platform::SysError error;
    return platform::current().path_status(path, &status, &error) &&
           status.kind == platform::PathKind::Directory;
}

// Makes `component` a directory unless it is one; false when it cannot be.
bool ensure_directory(const std::string &component) {
    platform::Platform &os = platform::current();
    platform::PathStatus status;
    platform::SysError error;
    if (os.path_status(component, &status, &error)) return status.kind == platform::PathKind::Directory;
    if (error.win32 != kNotFound && error.win32 != platform::err::kOk) return false;
    if (os.create_directory(component, &error)) return true;
    // Someone else may have made it in the meantime.
    return is_directory(component);
}

// Builds `directory` from its start, creating what is missing, and gives
// it back written with this system's separator.
std::optional<std::string> make_directories(std::string_view directory) {
    const char separator = platform::current().path_separator();
    std::string built;
    std::size_t at = 0;
    if (directory.size() >= 2 && directory[1] == ':') {
        at = directory.size() < 3 ? directory.size() : 3;
        built.assign(directory.substr(0, at));
    }
    // A leading separator (or the pair of a network name) is kept.
    for (; at < directory.size() && is_separator(directory[at]); ++at) built += separator;
    while (at < directory.size()) {
        const std::size_t end = std::min(directory.find_first_of("/\\", at), directory.size());
        if (!built.empty() && !is_separator(built.back())) built += separator;
        built.append(directory.substr(at, end - at));
        if (!ensure_directory(built)) return std::nullopt;
        at = end;
        while (at < directory.size() && is_separator(directory[at])) ++at;
    }
    return built;
}

}  // namespace

int32_t classify(const std::string &path) {
    platform::PathStatus status;
    platform::SysError error;
    if (!platform::current().path_status(path, &status, &error)) return DPL_E_PATH_MISSING;
    if (status.kind == platform::PathKind::Directory) return DPL_E_PATH_DIRECTORY;
    return status.size == 0 ? DPL_E_PATH_EMPTY_FILE : DPL_E_PATH_FILE;
}

std::optional<std::string> nearest_existing_directory(const char *path) {
    if (path == nullptr || path[0] == '\0') {
        ht_log("Invalid path: %s", path == nullptr ? "(null)" : path);
        return std::nullopt;
    }
    std::string candidate = path;
    while (classify(candidate) != DPL_E_PATH_DIRECTORY) {
        std::optional<std::string> part = name_part(candidate, kDirectoryPart);
        // A root keeps its own directory part; past it there is nothing.
        if (!part || part->empty() || *part == candidate) return std::nullopt;
        candidate = std::move(*part);
    }
    return candidate;
}

int32_t create_file(const char *path) {
    if (path == nullptr || path[0] == '\0') {
        ht_log("Invalid filename passed to dplCreateFile");
        return DPL_E_INVALID_VALUE;
    }
    const std::optional<std::string> directory = name_part(path, kDirectoryPart);
    const std::optional<std::string> name = name_part(path, kLastName);
    if (!directory || !name) {
        ht_log("Unable to determine pathname");
        return DPL_E_PATH_CREATE;
    }
    std::optional<std::string> file_path = make_directories(*directory);
    if (!file_path) {
        ht_log("Failed to create directory component for %s", path);
        return DPL_E_PATH_CREATE;
    }
    // The file goes where its directory was made, whichever separators the
    // path was written with.
    if (!file_path->empty() && !is_separator(file_path->back()))
        *file_path += platform::current().path_separator();
    *file_path += *name;
    // Opening for appending creates the file and keeps what is in it.
    platform::OpenOptions options;
    options.read = false;
    options.write = true;
    options.share_write = true;
    options.disposition = platform::Disposition::OpenAlways;
    platform::Platform &os = platform::current();
    uint32_t error = 0;
    const platform::FileHandle file = os.open_file(*file_path, options, &error);
    if (file == platform::kNoFile) {
        ht_log("Cannot create file: %s\n", path);
        return DPL_E_OPEN_WRITE;
    }
    os.close_file(file);
    return DPL_OK;
}

}  // namespace dpl::paths

extern "C" int32_t dplCreateFile(InstallControlBlock *pointer, const char *path) {
    if (dpl::core::as_block(pointer) == nullptr) return DPL_E_BAD_CONTEXT;
    return dpl::trace::traced_call(dpl::trace::kApi, __LINE__, "dplCreateFile",
                                   [&] { return dpl::paths::create_file(path); });
}
