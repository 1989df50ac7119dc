#include "services/services_parser.hpp"

#include <climits>
#include <new>

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
        aliases->emplace_back(span.substr(at, word_end - at));
        at = skip_blanks(span, word_end);
    }
    return DPL_OK;
}

int32_t parse_service_line(std::string_view text, ServicesLine *line) {
    std::size_t at = skip_blanks(text, 0);
    std::size_t end = skip_word(text, at);
    line->text_or_name.assign(text.substr(at, end - at));

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
    line->protocol.assign(text.substr(at, end - at));

    // A '#' inside the name or the protocol belongs to them; the comment
    // starts at the first one after the protocol.
    const std::size_t hash = text.find('#', end);
    const std::size_t aliases_end = hash == std::string_view::npos ? text.size() : hash;
    const int32_t rc = parse_alias_list(text, end, aliases_end, &line->aliases);
    if (rc != DPL_OK) return rc;

    if (hash != std::string_view::npos) {
        const std::string_view rest = text.substr(hash + 1);
        line->comment.emplace(rest.substr(0, rest.find_first_of("\r\n")));
    }
    line->kind = kServiceLine;
    return DPL_OK;
}

int32_t parse_line(ServicesFile &file, std::string_view text) {
    try {
        ServicesLine line;
        if (text.empty() || text[0] == '\n' || text[0] == '\r') {
            line.kind = kBlankLine;
        } else if (text[0] == '#') {
            line.kind = kCommentLine;
            line.text_or_name.assign(text.substr(1));
        } else {
            const int32_t rc = parse_service_line(text, &line);
            if (rc == DPL_E_PARSE) {
                const std::string whole(text);
                ht_debug(9, kServices, __LINE__, "Warning: Parsing error on line: %s\n", whole.c_str());
                line = ServicesLine{};
                line.kind = kVerbatimLine;
                line.text_or_name = whole;
            } else if (rc != DPL_OK) {
                return rc;
            }
        }
        file.add_line(std::move(line));
    } catch (const std::bad_alloc &) {
        ht_debug(5, kServices, __LINE__, "Error: Couldn't allocate a new line.");
        return DPL_E_NOMEM;
    }
    return DPL_OK;
}

}  // namespace dpl::services
