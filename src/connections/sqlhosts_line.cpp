#include "connections/sqlhosts_line.hpp"

namespace dpl::connections {
namespace {

bool is_space(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

// Takes the next word from `line` at `at`, keeping at most `limit` characters.
std::string next_word(std::string_view line, std::size_t &at, std::size_t limit) {
    while (at < line.size() && is_space(line[at])) ++at;
    const std::size_t start = at;
    while (at < line.size() && !is_space(line[at])) ++at;
    const std::size_t length = at - start;
    return std::string(line.substr(start, length < limit ? length : limit));
}

}  // namespace

SqlhostsFields split_sqlhosts_line(std::string_view line) {
    SqlhostsFields fields;
    std::size_t at = 0;
    fields.alias = next_word(line, at, kAliasLimit);
    fields.protocol = next_word(line, at, kProtocolLimit);
    fields.host = next_word(line, at, kHostLimit);
    fields.service = next_word(line, at, kServiceLimit);
    fields.options = next_word(line, at, kOptionsLimit);
    return fields;
}

bool SqlhostsLines::next(SqlhostsLine *line) {
    std::string_view piece;
    if (!pieces_.next(&piece)) return false;
    line->text = piece;
    if (piece.empty() || piece[0] == '\n' || piece[0] == '\r') {
        line->kind = SqlhostsLineKind::kSkipped;
    } else if (piece[0] == '#') {
        line->kind = SqlhostsLineKind::kComment;
    } else {
        line->kind = SqlhostsLineKind::kConnection;
        line->fields = split_sqlhosts_line(piece);
    }
    return true;
}

const std::string &sqlhosts_key() {
    static const std::string key = "SOFTWARE\\Orvandex\\SQLHOSTS";
    return key;
}

}  // namespace dpl::connections
