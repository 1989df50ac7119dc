// The in-memory model of the operating system's services database. Every
// line of the file is kept, so that a rewrite reproduces comments, blank
// lines and lines that could not be understood.
#pragma once

#include <cstdint>
#include <list>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "services/services_index.hpp"

namespace dpl::services {

enum LineKind : uint32_t {
    kBlankLine = 1,
    kCommentLine = 2,
    kServiceLine = 3,
    kVerbatimLine = 4,  // could not be parsed; written back as read
};

inline constexpr uint32_t kNotLoaded = 0;
inline constexpr uint32_t kUnchanged = 1;
inline constexpr uint32_t kChanged = 2;

struct ServicesLine {
    uint32_t kind = kBlankLine;
    // Comment: the text after the '#', line end included. Verbatim: the
    // whole line, line end included. Service: the service name.
    std::string text_or_name;
    uint16_t port = 0;
    std::string protocol;
    std::vector<std::string> aliases;    // in the order of the line
    std::optional<std::string> comment;  // text after '#'; none without a '#'
    uint64_t serial = 0;                 // order of addition, set by the model
};

struct ServicesFile {
    ServicesFile() = default;
    ServicesFile(const ServicesFile &) = delete;
    ServicesFile &operator=(const ServicesFile &) = delete;
    ServicesFile(ServicesFile &&) = default;
    ServicesFile &operator=(ServicesFile &&) = default;
    ~ServicesFile() = default;

    uint32_t status = kNotLoaded;  // 0 not loaded, 1 loaded and unchanged, 2 changed
    uint32_t sockets_off = 0;      // 1: port tests consult the file only
    std::optional<std::string> path;
    // Column widths of the written file; they only grow while the model lives.
    uint64_t name_width = 0;
    uint64_t protocol_width = 0;
    uint64_t alias_width = 0;
    // Draws candidate ports; seeded at each load.
    std::minstd_rand random;

    // The lines in file order: the most recently added one is the last.
    const LineList &lines() const { return lines_; }

    // Makes room in the indexes for a file of about `lines` lines.
    void reserve(std::size_t lines);
    // Appends a line at the end of the file order and widens the columns for
    // a service line. On failure (out of memory) the model is unchanged.
    void add_line(ServicesLine line);
    // Takes a service line out of the model.
    void remove_line(LineRef line) noexcept;
    // Frees every line and the path, zeroes the status and the widths;
    // sockets_off stays as it is.
    void clear() noexcept;

    // The most recently added service line that carries `name` as its name
    // or as an alias, with `protocol` unless that is null or empty.
    const ServicesLine *latest_named(const std::string &name, const char *protocol) const;
    // Whether a service line has `port`, with `protocol` unless that is null
    // or empty.
    bool has_port(uint16_t port, const char *protocol) const;
    // The service lines carrying `name` (or, when it is empty, `port`), most
    // recently added first: the candidates of a removal.
    std::vector<LineRef> candidates(const std::string &name, uint16_t port) const;

private:
    void index_line(LineRef line);
    void unindex_line(LineRef line) noexcept;

    LineList lines_;
    uint64_t next_serial_ = 0;
    LineIndex<std::string> by_name_;  // service lines by name and by alias
    LineIndex<uint16_t> by_port_;     // service lines by port
};

}  // namespace dpl::services
