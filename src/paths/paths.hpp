// Path utilities shared by the library: splitting, classifying, finding the
// nearest existing directory, creating a file with its directories, and
// translating paths that name environment variables.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/platform.hpp"

namespace dpl::paths {

inline constexpr int32_t kLastName = 1;
inline constexpr int32_t kDirectoryPart = 2;
// The longest text a translated path may have.
inline constexpr std::size_t kPathLimit = 255;

inline bool is_separator(char c) {
    return c == '/' || c == '\\';
}

// The last name (mode 1) or the directory part (mode 2) of `path`, by the
// same character rules on every system: the last "/" or "\" after the first
// character splits, and a directory part whose separator stands before
// position 4 keeps it ("C:\" stays a root). Nothing without such a
// separator, or for another mode.
std::optional<std::string> name_part(std::string_view path, int32_t mode);

// -975 missing, -972 directory, -949 empty file, -950 file with content.
int32_t classify(const std::string &path);

// The path itself when it is a directory, else its nearest ancestor that is
// one; nothing when there is none.
std::optional<std::string> nearest_existing_directory(const char *path);

// dplCreateFile: 0, -966, -971 or -952.
int32_t create_file(const char *path);

// dplXlateFilePath for a non-empty path: the translated text, or nothing
// (after logging why).
std::optional<std::string> translate(std::string_view path);
// The same against a given system: its environment, separator and short
// path names.
std::optional<std::string> translate(std::string_view path, platform::Platform &os);

}  // namespace dpl::paths
