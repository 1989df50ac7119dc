#include "core/replacement_file.hpp"

#include <vector>

#include "core/text_file.hpp"

namespace dpl::core {
namespace {

constexpr std::string_view kMarker = ".dpl-new-";

bool is_separator(char c) {
    // Windows takes both; elsewhere a backslash is part of a name.
    return c == '/' || (c == '\\' && platform::current().path_separator() == '\\');
}

std::size_t last_separator(const std::string &path) {
    for (std::size_t i = path.size(); i > 0; --i) {
        if (is_separator(path[i - 1])) return i - 1;
    }
    return std::string::npos;
}

std::string directory_of(const std::string &path) {
    const std::size_t at = last_separator(path);
    if (at == std::string::npos) return ".";
    return path.substr(0, at == 0 ? 1 : at);
}

std::string base_name_of(const std::string &path) {
    const std::size_t at = last_separator(path);
    return at == std::string::npos ? path : path.substr(at + 1);
}

// Leftovers of runs that died before moving their file into place. A
// leftover of this process is one whose removal failed earlier: no other
// rewrite of the same file is under way here, since there is one thread.
void remove_leftovers(const std::string &path) {
    auto &os = platform::current();
    std::vector<std::string> names;
    platform::SysError error;
    if (!os.list_directory(directory_of(path), &names, &error)) return;
    const uint32_t own = os.process_id();
    const std::string directory = path.substr(0, path.size() - base_name_of(path).size());
    for (const std::string &name : names) {
        uint32_t owner = 0;
        if (!is_replacement_of(path, name, &owner)) continue;
        if (owner != own && os.process_running(owner)) continue;  // another writer's, under way
        os.delete_file(directory + name, &error);
    }
}

// Whether the old file, if any, may be rewritten: what opening it for
// writing would have said.
bool target_writable(const std::string &path, uint32_t *error) {
    auto &os = platform::current();
    platform::PathStatus status;
    platform::SysError failure;
    if (!os.path_status(path, &status, &failure)) return true;  // a new file
    if (status.kind == platform::PathKind::Directory) {
        if (error != nullptr) *error = platform::err::kAccessDenied;
        return false;
    }
    if (!os.access_path(path, false, true, &failure)) {
        if (error != nullptr) *error = failure.native;
        return false;
    }
    return true;
}

}  // namespace

std::string replacement_name(const std::string &path, uint32_t process_id) {
    return path + std::string(kMarker) + std::to_string(process_id);
}

bool is_replacement_of(const std::string &path, const std::string &name, uint32_t *process_id) {
    const std::string base = base_name_of(path);
    if (name.size() <= base.size() + kMarker.size() || name.compare(0, base.size(), base) != 0 ||
        name.compare(base.size(), kMarker.size(), kMarker) != 0) {
        return false;
    }
    const std::string_view digits = std::string_view(name).substr(base.size() + kMarker.size());
    if (digits.size() > 10) return false;
    uint64_t value = 0;
    for (const char c : digits) {
        if (c < '0' || c > '9') return false;
        value = value * 10 + static_cast<uint64_t>(c - '0');
    }
    if (value > UINT32_MAX) return false;
    *process_id = static_cast<uint32_t>(value);
    return true;
}

bool ReplacementFile::open(const std::string &path, uint32_t *error) {
    abandon();
    auto &os = platform::current();
    remove_leftovers(path);
    if (!target_writable(path, error)) return false;
    platform::OpenOptions options;
    options.read = false;
    options.write = true;
    options.share_read = true;
    options.disposition = platform::Disposition::CreateAlways;
    const std::string temporary = replacement_name(path, os.process_id());
    file_ = os.open_file(temporary, options, error);
    if (file_ == platform::kNoFile) return false;
    target_ = path;
    temporary_ = temporary;
    failed_ = false;
    pending_.clear();
    return true;
}

bool ReplacementFile::write(std::string_view text) {
    if (file_ == platform::kNoFile || failed_) return false;
    append_text_mode(&pending_, text);
    constexpr std::size_t kFlushSize = 1 << 16;
    if (pending_.size() >= kFlushSize) flush_pending();
    return !failed_;
}

bool ReplacementFile::flush_pending() {
    if (!failed_ && !pending_.empty() &&
        !platform::current().write_file(file_, pending_.data(), pending_.size())) {
        failed_ = true;
    }
    pending_.clear();
    return !failed_;
}

bool ReplacementFile::commit() {
    if (file_ == platform::kNoFile) return false;
    auto &os = platform::current();
    platform::SysError error;
    flush_pending();
    if (!failed_ && !os.flush_file(file_, &error)) failed_ = true;
    if (os.close_file(file_) != 0) failed_ = true;
    file_ = platform::kNoFile;
    if (failed_ || !os.replace_file(temporary_, target_, &error)) {
        abandon();
        return false;
    }
    temporary_.clear();
    return true;
}

void ReplacementFile::abandon() {
    auto &os = platform::current();
    if (file_ != platform::kNoFile) {
        os.close_file(file_);
        file_ = platform::kNoFile;
    }
    if (!temporary_.empty()) {
        platform::SysError error;
        os.delete_file(temporary_, &error);
        temporary_.clear();
    }
    pending_.clear();
}

ReplaceResult replace_file(const std::string &path, std::string_view text, uint32_t *error) {
    ReplacementFile file;
    if (!file.open(path, error)) return ReplaceResult::NotCreated;
    file.write(text);
    return file.commit() ? ReplaceResult::Replaced : ReplaceResult::NotWritten;
}

}  // namespace dpl::core
