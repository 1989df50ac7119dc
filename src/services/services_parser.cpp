// Lines of a services file as the C library would read them: white space
// and digits of the C locale, the name, port/protocol, aliases, comment.
#include "services/services_parser.hpp"

#include <algorithm>
#include <climits>
#include <new>

#include "core/text_file.hpp"
#include "trace/trace.hpp"

namespace dpl::services {
namespace {

using trace::kServices;

std::size_t skip_blanks(std::string_view text, std::size_t at) {
    while (at < text.size() && is_blank(text[at])) ++at;
    return at;
}

std::size_t skip_word(std::string_view text, std::size_t at) {
    while (at < text.size() && !is_blank(text[at])) ++at;
    return at;
}

// The value of a run of digits as atoi gives it, held at INT_MAX instead of
// overflowing.
int digits_value(std::string_view digits) {
    long long value = 0;
    for (const char c : digits) {
        value = value * 10 + (c - '0');
        if (value > INT_MAX) return INT_MAX;
    }
    return static_cast<int>(value);
}

// Copies `text` into `out`; false, with the message at `level`, when memory
// runs out.
bool copy_text(std::string &out, std::string_view text, int32_t level) {
    try {
        out.assign(text);
        return true;
    } catch (const std::bad_alloc &) {
        ht_debug(level, kServices, __LINE__, "Error: Couldn't allocate a new string.");
        return false;
    }
}

}  // namespace

int32_t parse_alias_list(std::string_view text, std::size_t start, std::size_t end,
                         std::vector<std::string> *aliases) {
    if (end < start) {
        ht_debug(5, kServices, __LINE__, "Error: Alias parser was given a string of negative length.");
        return DPL_E_INVALID_VALUE;
    }
    const std::string_view span = text.substr(0, end);
    std::size_t at = skip_blanks(span, start);
    while (at < span.size()) {
        const std::size_t word_end = skip_word(span, at);
        try {
            aliases->emplace_back();
        } catch (const std::bad_alloc &) {
            ht_debug(5, kServices, __LINE__, "Error: Couldn't allocate a new name node.");
            return DPL_E_NOMEM;
        }
        if (!copy_text(aliases->back(), span.substr(at, word_end - at), 5)) {
            aliases->pop_back();
            return DPL_E_NOMEM;
        }
        at = skip_blanks(span, word_end);
    }
    return DPL_OK;
}

int32_t parse_service_line(std::string_view text, ServicesLine *line) {
    std::size_t at = skip_blanks(text, 0);
    std::size_t end = skip_word(text, at);
    if (!copy_text(line->text_or_name, text.substr(at, end - at), 5)) return DPL_E_NOMEM;

    at = skip_blanks(text, end);
    end = at;
    while (end < text.size() && is_digit(text[end])) ++end;
    if (end == at) {
        ht_debug(5, kServices, __LINE__, "Warning: Port appears to be missing.");
        return DPL_E_PARSE;
    }
    const int port = digits_value(text.substr(at, end - at));
    if (port > 0xFFFF) {
        ht_debug(5, kServices, __LINE__, "Warning: Read a port that won't fit in a uint16: %d\n", port);
        return DPL_E_PARSE;
    }
    line->port = static_cast<uint16_t>(port);

    if (end >= text.size() || text[end] != '/') {
        ht_debug(5, kServices, __LINE__, "Warning The slash appears to be missing.");
        return DPL_E_PARSE;
    }
    at = end + 1;
    end = skip_word(text, at);
    if (end == at) {
        ht_debug(5, kServices, __LINE__, "Warning: The protocol appears to be missing.");
        return DPL_E_PARSE;
    }
    if (!copy_text(line->protocol, text.substr(at, end - at), 5)) return DPL_E_NOMEM;

    // A '#' inside the name or the protocol belongs to them; the comment
    // starts at the first one after the protocol.
    const std::size_t hash = text.find('#', end);
    const std::size_t aliases_end = hash == std::string_view::npos ? text.size() : hash;
    const int32_t rc = parse_alias_list(text, end, aliases_end, &line->aliases);
    if (rc != DPL_OK) return rc;

    if (hash != std::string_view::npos) {
        const std::string_view rest = text.substr(hash + 1);
        std::string comment;
        if (!copy_text(comment, rest.substr(0, rest.find_first_of("\r\n")), 5)) return DPL_E_NOMEM;
        line->comment = std::move(comment);
    }
    line->kind = kServiceLine;
    return DPL_OK;
}

int32_t parse_line(ServicesFile &file, std::string_view text) {
    ServicesLine line;
    if (text.empty() || text[0] == '\n' || text[0] == '\r') {
        line.kind = kBlankLine;
    } else if (text[0] == '#') {
        line.kind = kCommentLine;
        if (!copy_text(line.text_or_name, text.substr(1), 2)) return DPL_E_NOMEM;
    } else {
        const int32_t rc = parse_service_line(text, &line);
        if (rc == DPL_E_PARSE) {
            ht_debug(9, kServices, __LINE__, "Warning: Parsing error on line: %.*s\n",
                     static_cast<int>(text.size()), text.data());
            line = ServicesLine{};
            line.kind = kVerbatimLine;
            if (!copy_text(line.text_or_name, text, 2)) return DPL_E_NOMEM;
        } else if (rc != DPL_OK) {
            return rc;
        }
    }
    try {
        file.add_line(std::move(line));
    } catch (const std::bad_alloc &) {
        ht_debug(5, kServices, __LINE__, "Error: Couldn't allocate a new line.");
        return DPL_E_NOMEM;
    }
    return DPL_OK;
}

int32_t parse_text(ServicesFile &file, std::string_view content) {
    file.reserve(static_cast<std::size_t>(std::count(content.begin(), content.end(), '\n')) + 1);
    core::LinePieces pieces(content, kLineBuffer);
    std::string_view piece;
    std::string with_end;
    while (pieces.next(&piece)) {
        // The line is a C string: an embedded NUL ends it.
        std::string_view text = piece.substr(0, piece.find('\0'));
        // A last line without its line end gets one; a piece that filled the
        // buffer has not yet met the end of the file.
        if (pieces.at_end() && piece.back() != '\n' && piece.size() < kLineBuffer - 1) {
            with_end.assign(text);
            with_end.push_back('\n');
            text = with_end;
        }
        const int32_t rc = parse_line(file, text);
        if (rc != DPL_OK) return rc;
    }
    return DPL_OK;
}

}  // namespace dpl::services
