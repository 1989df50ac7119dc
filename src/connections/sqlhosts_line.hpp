// One connection line of an sqlhosts file, split into its five fields.
#pragma once

#include <string>
#include <string_view>

#include "core/text_file.hpp"

namespace dpl::connections {

// Longest kept length of each field; the rest of a longer word is dropped.
inline constexpr std::size_t kAliasLimit = 128;
inline constexpr std::size_t kProtocolLimit = 8;
inline constexpr std::size_t kHostLimit = 256;
inline constexpr std::size_t kServiceLimit = 128;
inline constexpr std::size_t kOptionsLimit = 256;

struct SqlhostsFields {
    std::string alias, protocol, host, service, options;
};

// Splits at runs of white space (the C locale's isspace set); missing
// trailing fields are empty and words after the fifth are ignored.
SqlhostsFields split_sqlhosts_line(std::string_view line);

// What one line of an sqlhosts file is to the reader.
enum class SqlhostsLineKind {
    kSkipped,     // empty, or only a line end
    kComment,     // '#' in the first column: kept whole, line end included
    kConnection,  // the five fields
};

struct SqlhostsLine {
    SqlhostsLineKind kind = SqlhostsLineKind::kSkipped;
    std::string_view text;  // the line as read, line end included
    SqlhostsFields fields;  // for a connection line only
};

// Lines are read in pieces of at most 1023 characters; the continuation of a
// longer physical line is a line of its own.
inline constexpr std::size_t kSqlhostsLinePiece = 1024;

// The lines of an sqlhosts text in file order, as the file reader takes
// them. Every byte of the text belongs to exactly one line.
class SqlhostsLines {
public:
    explicit SqlhostsLines(std::string_view text) : pieces_(text, kSqlhostsLinePiece) {}
    bool next(SqlhostsLine *line);

private:
    core::LinePieces pieces_;
};

// The registry key that holds one subkey per alias.
const std::string &sqlhosts_key();

}  // namespace dpl::connections
