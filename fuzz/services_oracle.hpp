// What a services file's lines must become, worked out without the
// library's parser: the oracle of the services fuzz programs.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz_support.hpp"
#include "services/services_file.hpp"

namespace dpl::fuzz {

// The lines as a C program reading with fgets into 256 bytes sees them: at
// most 255 characters, cut at a NUL, with a line end added to a short last
// line that has none.
inline std::vector<std::string> pieces_of(std::string_view text) {
    std::vector<std::string> pieces;
    std::size_t at = 0;
    while (at < text.size()) {
        std::size_t length = 0;
        while (at + length < text.size() && length < 255) {
            ++length;
            if (text[at + length - 1] == '\n') break;
        }
        const std::string_view piece = text.substr(at, length);
        at += length;
        std::string line(piece.substr(0, piece.find('\0')));
        if (at == text.size() && piece.back() != '\n' && piece.size() < 255) line.push_back('\n');
        pieces.push_back(line);
    }
    return pieces;
}

struct Service {
    std::string name;
    uint16_t port = 0;
    std::string protocol;
    std::vector<std::string> aliases;
    std::optional<std::string> comment;
};

// "name port/protocol aliases #comment", or nothing when the line is not one.
inline std::optional<Service> parse_service(std::string_view line) {
    std::size_t at = 0;
    const auto skip_space = [&] {
        while (at < line.size() && is_space(line[at])) ++at;
    };
    const auto word = [&] {
        const std::size_t start = at;
        while (at < line.size() && !is_space(line[at])) ++at;
        return std::string(line.substr(start, at - start));
    };
    Service service;
    skip_space();
    service.name = word();
    skip_space();
    const std::size_t digits = at;
    unsigned long port = 0;
    while (at < line.size() && line[at] >= '0' && line[at] <= '9') {
        if (port <= 65535) port = port * 10 + static_cast<unsigned long>(line[at] - '0');
        ++at;
    }
    if (at == digits || port > 65535 || at >= line.size() || line[at] != '/') return std::nullopt;
    service.port = static_cast<uint16_t>(port);
    ++at;
    service.protocol = word();
    if (service.protocol.empty()) return std::nullopt;
    const std::size_t hash = line.find('#', at);
    const std::size_t end = hash == std::string_view::npos ? line.size() : hash;
    while (true) {
        while (at < end && is_space(line[at])) ++at;
        if (at >= end) break;
        const std::size_t start = at;
        while (at < end && !is_space(line[at])) ++at;
        service.aliases.emplace_back(line.substr(start, at - start));
    }
    if (hash != std::string_view::npos) {
        const std::string_view rest = line.substr(hash + 1);
        service.comment.emplace(rest.substr(0, rest.find_first_of("\r\n")));
    }
    return service;
}

inline bool same(const Service &service, const services::ServicesLine &line) {
    return service.name == line.text_or_name && service.port == line.port &&
           service.protocol == line.protocol && service.aliases == line.aliases &&
           service.comment == line.comment;
}

// The model lines against the pieces they were read from, and the written
// file against both.
inline void check_written(const services::ServicesFile &file, const std::vector<std::string> &pieces,
                          const std::string &written) {
    check(file.lines().size() == pieces.size());
    std::size_t at = 0;
    std::size_t index = 0;
    for (const services::ServicesLine &line : file.lines()) {
        const std::string &piece = pieces[index++];
        const std::optional<Service> expected = parse_service(piece);
        switch (line.kind) {
            case services::kBlankLine:
                check(piece.empty() || piece[0] == '\n' || piece[0] == '\r');
                check(written.compare(at, 1, "\n") == 0);
                at += 1;
                break;
            case services::kCommentLine:
                check(piece[0] == '#' && line.text_or_name == piece.substr(1));
                check(written.compare(at, piece.size(), piece) == 0);
                at += piece.size();
                break;
            case services::kVerbatimLine:
                check(!piece.empty() && piece[0] != '#' && piece[0] != '\n' && piece[0] != '\r');
                check(!expected && line.text_or_name == piece);
                check(written.compare(at, piece.size(), piece) == 0);
                at += piece.size();
                break;
            case services::kServiceLine: {
                check(piece[0] != '#' && piece[0] != '\n' && piece[0] != '\r');
                check(expected && same(*expected, line));
                const std::size_t end = written.find('\n', at);
                check(end != std::string::npos);
                const std::optional<Service> again =
                    parse_service(std::string_view(written).substr(at, end + 1 - at));
                check(again && same(*again, line));
                at = end + 1;
                break;
            }
            default:
                check(false);
        }
    }
    check(at == written.size());
}

}  // namespace dpl::fuzz
