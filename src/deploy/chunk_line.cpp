// Reading the path of a chunk from one line of the server's bootstrap file.
// The line may hold anything; nothing outside it is ever looked at.
#include <algorithm>

#include "deploy/instance_removal.hpp"

namespace dpl::deploy {
namespace {

constexpr int kBlanksBeforeLength = 10;

bool is_blank(char c) {
    return c == ' ' || c == '\t';
}

bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

}  // namespace

std::optional<std::string> chunk_path_of_line(std::string_view line, bool mirror) {
    // A line break (or a NUL, as in C text) ends the line.
    line = line.substr(0, std::min(line.size(), line.find_first_of(std::string_view("\n\r\0", 3))));

    std::size_t at = 0;
    while (at < line.size() && !is_blank(line[at])) ++at;
    const std::string_view first_word = line.substr(0, at);
    if (first_word != "Chunk" && !(mirror && first_word == "Mchunk")) return std::nullopt;

    at = 0;
    for (int blanks = 0; blanks < kBlanksBeforeLength; ++at) {
        if (at == line.size()) return std::nullopt;
        if (is_blank(line[at])) ++blanks;
    }

    // A length past the line's end means "to the end": keep counting no higher.
    const std::size_t digits = at;
    std::size_t length = 0;
    for (; at < line.size() && is_digit(line[at]); ++at) {
        length = std::min(length * 10 + static_cast<std::size_t>(line[at] - '0'), line.size());
    }
    if (at == digits || at == line.size() || !is_blank(line[at])) return std::nullopt;
    const std::string_view path = line.substr(at + 1, length);
    if (path.empty()) return std::nullopt;
    return std::string(path);
}

}  // namespace dpl::deploy
