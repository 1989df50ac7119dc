// Keeping the line list and its lookup indexes in step.
#include "services/services_file.hpp"

#include <algorithm>
#include <string_view>

namespace dpl::services {
namespace {

std::string port_key(uint16_t port) {
    return std::to_string(port);
}

std::string with_protocol(std::string key, std::string_view protocol) {
    // Names, ports and protocols never contain a NUL, so it separates them.
    key.push_back('\0');
    key.append(protocol);
    return key;
}

// The name and the aliases of a service line, each once.
std::vector<std::string> names_of(const ServicesLine &line) {
    std::vector<std::string> names;
    names.reserve(line.aliases.size() + 1);
    names.push_back(line.text_or_name);
    names.insert(names.end(), line.aliases.begin(), line.aliases.end());
    std::sort(names.begin(), names.end());
    names.erase(std::unique(names.begin(), names.end()), names.end());
    return names;
}

bool given(const char *text) {
    return text != nullptr && text[0] != '\0';
}

}  // namespace

void ServicesFile::add_line(ServicesLine line) {
    line.serial = next_serial_;
    line.index_slots.clear();
    lines_.push_back(std::move(line));
    const LineRef added = std::prev(lines_.end());
    if (added->kind == kServiceLine) {
        try {
            index_line(added);
        } catch (...) {
            unindex_line(*added);
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
    unindex_line(*line);
    lines_.erase(line);
}

void ServicesFile::clear() noexcept {
    for (LineIndex &index : indexes_) index.clear();
    lines_.clear();
    path.reset();
    status = kNotLoaded;
    name_width = 0;
    protocol_width = 0;
    alias_width = 0;
}

void ServicesFile::index_line(LineRef line) {
    const std::vector<std::string> names = names_of(*line);
    // Reserved up front so that recording a slot never fails after the
    // index took the entry.
    line->index_slots.reserve(2 * names.size() + 2);
    const auto record = [&](IndexId id, std::string key) {
        LineIndex::Entry *entry = indexes_[id].add(std::move(key), line->serial, line);
        line->index_slots.push_back(IndexSlot{id, entry});
    };
    for (const std::string &name : names) {
        record(kByName, name);
        record(kByNameProtocol, with_protocol(name, line->protocol));
    }
    record(kByPort, port_key(line->port));
    record(kByPortProtocol, with_protocol(port_key(line->port), line->protocol));
}

void ServicesFile::unindex_line(ServicesLine &line) noexcept {
    for (const IndexSlot &slot : line.index_slots) indexes_[slot.index].remove(slot.entry, line.serial);
    line.index_slots.clear();
}

const ServicesLine *ServicesFile::latest_named(const std::string &name, const char *protocol) const {
    const Postings *found = given(protocol) ? indexes_[kByNameProtocol].find(with_protocol(name, protocol))
                                            : indexes_[kByName].find(name);
    if (found == nullptr) return nullptr;
    return &*found->rbegin()->second;
}

bool ServicesFile::has_port(uint16_t port, const char *protocol) const {
    const Postings *found = given(protocol)
                                ? indexes_[kByPortProtocol].find(with_protocol(port_key(port), protocol))
                                : indexes_[kByPort].find(port_key(port));
    return found != nullptr;
}

std::vector<LineRef> ServicesFile::candidates(const std::string &name, uint16_t port) const {
    const Postings *found =
        name.empty() ? indexes_[kByPort].find(port_key(port)) : indexes_[kByName].find(name);
    std::vector<LineRef> lines;
    if (found == nullptr) return lines;
    lines.reserve(found->size());
    for (auto it = found->rbegin(); it != found->rend(); ++it) lines.push_back(it->second);
    return lines;
}

}  // namespace dpl::services
