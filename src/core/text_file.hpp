// Text files as the C runtime's text mode sees them: "\n" inside the
// program, the platform's line end on disk.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/platform.hpp"

namespace dpl::core {

// Reads a whole file. False when it cannot be opened or read; `error` then
// holds the system error code.
bool read_text_file(const std::string &path, std::string *content, uint32_t *error);

// Splits text into the pieces fgets would hand out with a buffer of
// `capacity` bytes: at most capacity - 1 characters, ending after a '\n'
// when one comes soon enough.
class LinePieces {
public:
    LinePieces(std::string_view text, std::size_t capacity) : text_(text), limit_(capacity - 1) {}
    bool next(std::string_view *piece);
    bool at_end() const { return at_ >= text_.size(); }

private:
    std::string_view text_;
    std::size_t limit_;
    std::size_t at_ = 0;
};

// Appends `text` to `out` as text mode writes it: each "\n" becomes the
// platform's line end.
void append_text_mode(std::string *out, std::string_view text);

}  // namespace dpl::core
