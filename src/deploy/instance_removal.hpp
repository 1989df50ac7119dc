// The pieces of removing an instance that work on files: one file at a time,
// and the chunk files the server's bootstrap file lists.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "core/instance.hpp"

namespace dpl::deploy {

// Labels of the removal messages.
inline constexpr const char *kChunkLabel = "CHUNK";
inline constexpr const char *kMessageLogLabel = "MESSAGE LOG";
inline constexpr const char *kEnvironmentLabel = "ENVIRONMENT";
inline constexpr const char *kOnconfigLabel = "ONCONFIG";
inline constexpr const char *kSqlhostsLabel = "SQLHOSTS";

// The characters of a bootstrap line that are read; the rest of a longer
// line is skipped.
inline constexpr std::size_t kBootstrapLineLimit = 1024;

// Removes one file and says how that went; never fails the removal.
void remove_instance_file(const char *label, const std::string &path);

// The chunk path a bootstrap line names: a line whose first word is "Chunk"
// (or "Mchunk" when `mirror`), with the length of the path after the line's
// tenth blank and the path after the blank that follows the length. The path
// ends at the line's end or a line break when the length runs past it.
// Nothing for any other line, a length that is not a number, or an empty path.
std::optional<std::string> chunk_path_of_line(std::string_view line, bool mirror);

// Whether `path` lies strictly inside `directory`: the directory's text,
// then a separator, then at least one component, none of them "." or "..".
// "/" and "\" count as the same character.
bool inside_directory(std::string_view path, std::string_view directory);

// Removes every chunk the bootstrap file lists, each parent directory of a
// chunk inside `installation` (or its short form) that is left empty, and
// then the bootstrap file.
void remove_listed_chunks(const std::string &bootstrap, bool mirror, const std::string &installation);

// The chunk phase of an instance: its bootstrap file is found from
// `installation`, `server_name` and SERVERNUM; MIRROR says whether mirror
// chunks go too.
void remove_chunk_files(Instance &instance, const std::string &installation, const std::string &server_name);

}  // namespace dpl::deploy
