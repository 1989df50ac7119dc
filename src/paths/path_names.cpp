// Splitting a path into its directory part and its last name.
#include <new>

#include "core/c_text.hpp"
#include "core/control_block.hpp"
#include "paths/paths.hpp"
#include "trace/trace.hpp"

namespace dpl::paths {

std::optional<std::string> name_part(std::string_view path, int32_t mode) {
    if (mode != kLastName && mode != kDirectoryPart) return std::nullopt;
    // The first character is never a splitting point, so "\x" has no parts.
    std::size_t at = path.size();
    while (at > 1 && !is_separator(path[at - 1])) --at;
    if (at <= 1) return std::nullopt;
    const std::size_t separator = at - 1;
    if (mode == kLastName) return std::string(path.substr(separator + 1));
    if (separator >= 4) return std::string(path.substr(0, separator));
    return std::string(path.substr(0, separator + 1));
}

}  // namespace dpl::paths

extern "C" char *GetNameFromPath(InstallControlBlock *pointer, const char *path, int32_t mode) {
    if (dpl::core::as_block(pointer) == nullptr) return nullptr;
    char *result = nullptr;
    dpl::trace::traced_call(dpl::trace::kApi, __LINE__, "GetNameFromPath", [&]() -> int32_t {
        if (path == nullptr || path[0] == '\0') {
            ht_log("GetNameFromPath called with null filename");
            return DPL_E_FAIL;
        }
        if (mode != dpl::paths::kLastName && mode != dpl::paths::kDirectoryPart) {
            ht_log("GetNameFromPath called with invalid mode");
            return DPL_E_FAIL;
        }
        try {
            const std::optional<std::string> part = dpl::paths::name_part(path, mode);
            if (!part) return DPL_E_FAIL;
            result = dpl::core::c_copy(*part);
        } catch (const std::bad_alloc &) {
            result = nullptr;
        }
        if (result == nullptr) {
            ht_log("GetNameFromPath error");
            return DPL_E_NOMEM;
        }
        return DPL_OK;
    });
    return result;
}
