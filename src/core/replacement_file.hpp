// Files rewritten whole, safely: the new content goes to a file beside the
// old one ("<name>.dpl-new-<process id>"), is put on the disk, and is then
// moved over the old file in one step. A crash at any moment leaves the old
// file or the new one, each complete; a leftover of a crashed run is removed
// by the next write of the same file.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/platform.hpp"

namespace dpl::core {

// Text mode, as TextFileWriter: "\n" is written as the platform's line end.
class ReplacementFile {
public:
    ReplacementFile() = default;
    ReplacementFile(const ReplacementFile &) = delete;
    ReplacementFile &operator=(const ReplacementFile &) = delete;
    // An uncommitted file is abandoned: the old one stays as it was.
    ~ReplacementFile() { abandon(); }

    // Prepares the rewrite of `path`. False when it cannot be written there
    // (a missing directory, a read-only file, a directory of that name);
    // `error` then holds the system code and nothing was changed.
    bool open(const std::string &path, uint32_t *error);
    // False once any write has failed; the rest is then not written.
    bool write(std::string_view text);
    // Moves the new content into place. False when a write, the flush or the
    // move failed: the old file is then as it was and the new one is gone.
    bool commit();
    // Removes the new file; the old one stays.
    void abandon();

private:
    bool flush_pending();

    std::string target_;
    std::string temporary_;
    platform::FileHandle file_ = platform::kNoFile;
    std::string pending_;  // written in large pieces, not once per line
    bool failed_ = false;
};

enum class ReplaceResult {
    Replaced,
    NotCreated,  // the file cannot be written there: nothing changed
    NotWritten,  // writing or moving the new file failed: the old one stays
};

// Replaces the file at `path` with `text` (text mode) in one step.
ReplaceResult replace_file(const std::string &path, std::string_view text, uint32_t *error = nullptr);

// The name a replacement of `path` is written under by this process.
std::string replacement_name(const std::string &path, uint32_t process_id);
// Whether `name` (a name in the directory of `path`) is a replacement of
// `path` left by some process, whose id is then stored in `process_id`.
bool is_replacement_of(const std::string &path, const std::string &name, uint32_t *process_id);

}  // namespace dpl::core
