#include "core/text_file.hpp"

#include <cstring>

namespace dpl::core {

bool read_text_file(const std::string &path, std::string *content, uint32_t *error) {
    auto &os = platform::current();
    platform::OpenOptions options;
    options.read = true;
    options.share_read = true;
    options.share_write = true;
    options.disposition = platform::Disposition::OpenExisting;
    const platform::FileHandle file = os.open_file(path, options, error);
    if (file == platform::kNoFile) return false;
    std::string raw;
    char buffer[65536];
    bool ok = true;
    for (;;) {
        std::size_t got = 0;
        if (!os.read_file(file, buffer, sizeof buffer, &got)) {
            ok = false;
            break;
        }
        if (got == 0) break;
        raw.append(buffer, got);
    }
    os.close_file(file);
    if (!ok) {
        if (error != nullptr) *error = static_cast<uint32_t>(os.last_errno());
        return false;
    }
    if (std::strcmp(os.text_line_end(), "\r\n") == 0) {
        std::string text;
        text.reserve(raw.size());
        for (std::size_t i = 0; i < raw.size(); ++i) {
            if (raw[i] == '\r' && i + 1 < raw.size() && raw[i + 1] == '\n') continue;
            text.push_back(raw[i]);
        }
        raw.swap(text);
    }
    *content = std::move(raw);
    return true;
}

bool LinePieces::next(std::string_view *piece) {
    if (at_ >= text_.size()) return false;
    const std::size_t room = text_.size() - at_ < limit_ ? text_.size() - at_ : limit_;
    const std::size_t newline = text_.substr(at_, room).find('\n');
    const std::size_t length = newline == std::string_view::npos ? room : newline + 1;
    *piece = text_.substr(at_, length);
    at_ += length;
    return true;
}

bool TextFileWriter::open(const std::string &path, uint32_t *error) {
    close();
    platform::OpenOptions options;
    options.read = false;
    options.write = true;
    options.share_read = true;
    options.disposition = platform::Disposition::CreateAlways;
    file_ = platform::current().open_file(path, options, error);
    failed_ = false;
    return file_ != platform::kNoFile;
}

bool TextFileWriter::write(std::string_view text) {
    if (file_ == platform::kNoFile) return false;
    const char *line_end = platform::current().text_line_end();
    if (std::strcmp(line_end, "\n") == 0) {
        pending_.append(text);
    } else {
        for (const char c : text) {
            if (c == '\n') {
                pending_ += line_end;
            } else {
                pending_.push_back(c);
            }
        }
    }
    constexpr std::size_t kFlushSize = 1 << 16;
    if (pending_.size() >= kFlushSize) flush();
    return !failed_;
}

bool TextFileWriter::flush() {
    if (!pending_.empty() && !platform::current().write_file(file_, pending_.data(), pending_.size())) {
        failed_ = true;
    }
    pending_.clear();
    return !failed_;
}

bool TextFileWriter::close() {
    if (file_ == platform::kNoFile) return !failed_;
    flush();
    if (platform::current().close_file(file_) != 0) failed_ = true;
    file_ = platform::kNoFile;
    return !failed_;
}

}  // namespace dpl::core
