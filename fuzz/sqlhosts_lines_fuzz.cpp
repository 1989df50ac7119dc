// Any bytes as the text of an sqlhosts file, straight into the line reader
// the file reader uses. Every byte belongs to one line, in order; a comment
// line is kept whole; the fields of a connection line are the first five
// words, cut to their limits; and a line written from the fields reads back
// as the same fields.
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "connections/sqlhosts_line.hpp"
#include "fuzz_support.hpp"

namespace {

using dpl::connections::SqlhostsFields;
using dpl::connections::SqlhostsLine;
using dpl::connections::SqlhostsLineKind;
using dpl::connections::SqlhostsLines;
using dpl::fuzz::check;
using dpl::fuzz::is_space;

// The words of a line, each cut to the limit of its field.
SqlhostsFields expected_fields(std::string_view line) {
    static constexpr std::size_t kLimits[] = {dpl::connections::kAliasLimit, dpl::connections::kProtocolLimit,
                                              dpl::connections::kHostLimit, dpl::connections::kServiceLimit,
                                              dpl::connections::kOptionsLimit};
    std::vector<std::string> words;
    std::size_t at = 0;
    while (words.size() < 5) {
        while (at < line.size() && is_space(line[at])) ++at;
        const std::size_t start = at;
        while (at < line.size() && !is_space(line[at])) ++at;
        words.emplace_back(line.substr(start, at - start).substr(0, kLimits[words.size()]));
    }
    return SqlhostsFields{words[0], words[1], words[2], words[3], words[4]};
}

bool same(const SqlhostsFields &a, const SqlhostsFields &b) {
    return a.alias == b.alias && a.protocol == b.protocol && a.host == b.host && a.service == b.service &&
           a.options == b.options;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char *>(data), size);
    SqlhostsLines lines(text);
    SqlhostsLine line;
    std::size_t at = 0;
    while (lines.next(&line)) {
        // Each line is the next piece of the text, at most 1023 bytes, and
        // ends at its first line end.
        check(!line.text.empty() && line.text.size() < dpl::connections::kSqlhostsLinePiece);
        check(line.text.data() == text.data() + at);
        const std::size_t newline = line.text.find('\n');
        check(newline == std::string_view::npos || newline == line.text.size() - 1);
        at += line.text.size();
        check(newline != std::string_view::npos || at == text.size() ||
              line.text.size() == dpl::connections::kSqlhostsLinePiece - 1);

        const char first = line.text[0];
        switch (line.kind) {
            case SqlhostsLineKind::kSkipped:
                check(first == '\n' || first == '\r');
                break;
            case SqlhostsLineKind::kComment:
                check(first == '#');
                break;
            case SqlhostsLineKind::kConnection: {
                check(first != '\n' && first != '\r' && first != '#');
                check(same(line.fields, expected_fields(line.text)));
                // As the writer writes it: the five fields joined by blanks.
                const SqlhostsFields &f = line.fields;
                const std::string written =
                    f.alias + ' ' + f.protocol + ' ' + f.host + ' ' + f.service + ' ' + f.options + '\n';
                SqlhostsLines again(written);
                SqlhostsLine reread;
                check(again.next(&reread));
                const bool starts_blank = written[0] == '\n' || written[0] == '\r' || written[0] == '#';
                check(starts_blank ||
                      (reread.kind == SqlhostsLineKind::kConnection && same(reread.fields, f)));
                break;
            }
        }
    }
    check(at == text.size());
    return 0;
}
