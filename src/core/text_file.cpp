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

void append_text_mode(std::string *out, std::string_view text) {
    const std::string_view line_end = platform::current().text_line_end();
    if (line_end == "\n") {
        out->append(text);
        return;
    }
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t newline = text.find('\n', at);
        out->append(text.substr(at, newline - at));
        if (newline == std::string_view::npos) break;
        out->append(line_end);
        at = newline + 1;
    }
}

}  // namespace dpl::core
