// Keeping the line list and its lookup indexes in step.
#include "services/services_file.hpp"

#include <algorithm>

namespace dpl::services {
namespace {

bool given(const char *text) {
    return text != nullptr && text[0] != '\0';
}

uint64_t serial_of(LineRef line) {
    return line->serial;
}

bool has_protocol(const ServicesLine &line, const char *protocol) {
    return !given(protocol) || line.protocol == protocol;
}

}  // namespace

void ServicesFile::reserve(std::size_t lines) {
    by_name_.reserve(lines);
    by_port_.reserve(std::min<std::size_t>(lines, 65536));
}

void ServicesFile::add_line(ServicesLine line) {
    line.serial = next_serial_;
    lines_.push_back(std::move(line));
    const LineRef added = std::prev(lines_.end());
    if (added->kind == kServiceLine) {
        try {
            index_line(added);
        } catch (...) {
            unindex_line(added);
            lines_.erase(added);
            throw;
        }
        uint64_t alias_length = 0;
        for (const std::string &alias : added->aliases) alias_length += alias.size() + 1;
        name_width = std::max<uint64_t>(name_width, added->text_or_name.size());
        protocol_width = std::max<uint64_t>(protocol_width, added->protocol.size());
        alias_width = std::max(alias_width, alias_length);
    }
    ++next_serial_;
}

void ServicesFile::remove_line(LineRef line) noexcept {
    if (line->kind == kServiceLine) unindex_line(line);
    lines_.erase(line);
}

void ServicesFile::clear() noexcept {
    by_name_.clear();
    by_port_.clear();
    lines_.clear();
    path.reset();
    status = kNotLoaded;
    name_width = 0;
    protocol_width = 0;
    alias_width = 0;
}

void ServicesFile::index_line(LineRef line) {
    by_name_.add(line->text_or_name, line);
    for (const std::string &alias : line->aliases) by_name_.add(alias, line);
    by_port_.add(line->port, line);
}

void ServicesFile::unindex_line(LineRef line) noexcept {
    // Removing a key the line was never recorded under does nothing, so this
    // also undoes a half-finished index_line().
    by_name_.remove(line->text_or_name, line, serial_of);
    for (const std::string &alias : line->aliases) by_name_.remove(alias, line, serial_of);
    by_port_.remove(line->port, line, serial_of);
}

const ServicesLine *ServicesFile::latest_named(const std::string &name, const char *protocol) const {
    const Postings *found = by_name_.find(name);
    if (found == nullptr) return nullptr;
    for (auto it = found->rbegin(); it != found->rend(); ++it) {
        if (has_protocol(**it, protocol)) return &**it;
    }
    return nullptr;
}

bool ServicesFile::has_port(uint16_t port, const char *protocol) const {
    const Postings *found = by_port_.find(port);
    if (found == nullptr) return false;
    return std::any_of(found->begin(), found->end(),
                       [protocol](LineRef line) { return has_protocol(*line, protocol); });
}

std::vector<LineRef> ServicesFile::candidates(const std::string &name, uint16_t port) const {
    const Postings *found = name.empty() ? by_port_.find(port) : by_name_.find(name);
    if (found == nullptr) return {};
    return std::vector<LineRef>(found->rbegin(), found->rend());
}

}  // namespace dpl::services
