// Which lines of an onconfig text must be written back as they were read,
// worked out without the library's parser.
#pragma once

#include <string_view>
#include <vector>

#include "fuzz_support.hpp"

namespace dpl::fuzz {

// Lines that must be written as they were read: short enough to be read
// whole, without NUL, and blank, a comment, or white space before any '#'.
// Such a line is left out when the written text can join it to what comes
// before: after a line with a NUL, or after one read in pieces (a piece
// without its line end is kept as a comment, and when the pieces and lines
// after it are parameters already present they are dropped, so the next
// line follows on directly).
inline std::vector<std::string_view> verbatim_lines(std::string_view text) {
    std::vector<std::string_view> kept;
    bool joinable = false;
    std::size_t start = 0;
    while (start < text.size()) {
        std::size_t end = text.find('\n', start);
        const bool has_end = end != std::string_view::npos;
        if (!has_end) end = text.size();
        const std::string_view line = text.substr(start, end - start);
        const bool nul = line.find('\0') != std::string_view::npos;
        const std::size_t limit = has_end ? 253 : 254;
        std::size_t at = 0;
        while (at < line.size() && line[at] != '#' && is_space(line[at])) ++at;
        const bool comment = at == line.size() || line[at] == '#';
        if (!nul && !joinable && line.size() <= limit && comment) kept.push_back(line);
        joinable = nul || line.size() > limit || (joinable && !comment);
        start = end + 1;
    }
    return kept;
}

}  // namespace dpl::fuzz
