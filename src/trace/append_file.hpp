// A text file opened for appending, as stdio's "a+" would: created when
// missing, every write lands at the current end. Used for the small
// diagnostics files named by environment variables.
#pragma once

#include <cstring>
#include <string>

#include "platform/platform.hpp"

namespace dpl::trace {

class AppendFile {
public:
    AppendFile() = default;
    explicit AppendFile(const std::string &path) {
        platform::OpenOptions options;
        options.write = true;
        options.share_write = true;
        options.disposition = platform::Disposition::OpenAlways;
        uint32_t error = 0;
        file_ = platform::current().open_file(path, options, &error);
    }
    AppendFile(const AppendFile &) = delete;
    AppendFile &operator=(const AppendFile &) = delete;
    ~AppendFile() { close(); }

    bool is_open() const { return file_ != platform::kNoFile; }
    void write(const char *text) {
        if (!is_open()) return;
        auto &os = platform::current();
        os.seek_to_end(file_);
        os.write_file(file_, text, std::strlen(text));
    }
    void close() {
        if (is_open()) platform::current().close_file(file_);
        file_ = platform::kNoFile;
    }

private:
    platform::FileHandle file_ = platform::kNoFile;
};

}  // namespace dpl::trace
