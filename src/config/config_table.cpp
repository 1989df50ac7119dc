#include "config/config_table.hpp"

#include <algorithm>
#include <map>
#include <optional>
#include <string>
#include <unordered_map>

namespace dpl::config {
namespace {

using Index = ConfigTable::Index;

// One line of the file. Never moved once it holds text, so the record's
// pointers into the strings stay good.
struct Line {
    ConfigEntry record{};
    std::string name;
    std::string value;
    std::string comment;
    uint64_t version = 0;
};

// NETTYPE, VPCLASS and BUFFERPOOL entries of one name. A value whose first
// field cannot be taken (no ',' or empty) compares equal to every entry of
// the name; such entries are looked at after those with a first field.
struct Repeated {
    std::map<std::string, Index, std::less<>> by_field;
    std::vector<Index> open;  // in file order
};

struct Group {
    Index only = ConfigTable::kNone;  // an ordinary name: its one entry
    std::unique_ptr<Repeated> repeated;
};

std::string_view compare_key(std::string_view name) {
    return name.substr(0, std::min(name.size(), kCompareLimit));
}

// The part of a value before its first ','; nothing when the value is
// missing, empty or has no ','.
std::optional<std::string_view> first_field(std::string_view value) {
    const std::size_t comma = value.find(',');
    if (value.empty() || comma == std::string_view::npos) return std::nullopt;
    return value.substr(0, comma);
}

Index first_match(const Repeated &group, const std::optional<std::string_view> &field) {
    if (field) {
        if (const auto found = group.by_field.find(*field); found != group.by_field.end())
            return found->second;
    } else if (!group.by_field.empty()) {
        return group.by_field.begin()->second;
    }
    return group.open.empty() ? ConfigTable::kNone : group.open.front();
}

void link(Repeated &group, Index index, const std::optional<std::string_view> &field) {
    if (field) {
        group.by_field.emplace(std::string(*field), index);
    } else {
        group.open.insert(std::lower_bound(group.open.begin(), group.open.end(), index), index);
    }
}

void unlink(Repeated &group, Index index, const std::optional<std::string_view> &field) {
    if (field) {
        const auto found = group.by_field.find(*field);
        if (found != group.by_field.end() && found->second == index) group.by_field.erase(found);
    } else {
        const auto found = std::lower_bound(group.open.begin(), group.open.end(), index);
        if (found != group.open.end() && *found == index) group.open.erase(found);
    }
}

}  // namespace

bool is_repeatable(std::string_view name) {
    return name == "NETTYPE" || name == "VPCLASS" || name == "BUFFERPOOL";
}

struct ConfigTable::Impl {
    // The table grows a block of lines at a time, as callers see in its
    // capacity. The lines themselves are kept in small chunks, each reserved
    // whole and filled in place, so that no line ever moves (the records'
    // pointers into their strings stay good) and a new table costs no
    // thousand-line allocation.
    static constexpr std::size_t kChunkLines = 64;
    std::vector<std::vector<Line>> chunks;
    std::size_t blocks = 0;
    std::size_t count = 0;
    uint64_t versions = 0;  // the last version handed out, table-wide
    // Keys view the names inside the lines, which never change.
    std::unordered_map<std::string_view, Group> index;

    Line &line(Index at) { return chunks[at / kChunkLines][at % kChunkLines]; }
    const Line &line(Index at) const { return chunks[at / kChunkLines][at % kChunkLines]; }

    void grow() { ++blocks; }

    Index find(std::string_view name, const std::optional<std::string_view> &field) const {
        const auto found = index.find(compare_key(name));
        if (found == index.end()) return kNone;
        if (!is_repeatable(name)) return found->second.only;
        return found->second.repeated ? first_match(*found->second.repeated, field) : kNone;
    }

    Line &next_line() {
        if (count == blocks * kBlockEntries) grow();
        if (count == chunks.size() * kChunkLines) {
            std::vector<Line> chunk;
            chunk.reserve(kChunkLines);
            chunks.push_back(std::move(chunk));
        }
        std::vector<Line> &chunk = chunks[count / kChunkLines];
        // A line taken by an insertion that then failed is taken again.
        if (chunk.size() == count % kChunkLines) chunk.emplace_back();
        return chunk[count % kChunkLines];
    }
};

ConfigTable::ConfigTable() {
    ensure_storage();
}
ConfigTable::~ConfigTable() = default;
ConfigTable::ConfigTable(ConfigTable &&) noexcept = default;
ConfigTable &ConfigTable::operator=(ConfigTable &&) noexcept = default;

bool ConfigTable::has_storage() const {
    return impl_ && impl_->blocks > 0;
}

void ConfigTable::ensure_storage() {
    if (!impl_) impl_ = std::make_unique<Impl>();
    if (impl_->blocks == 0) impl_->grow();
}

void ConfigTable::reserve_one() {
    ensure_storage();
    if (impl_->count == capacity()) impl_->grow();
}

Index ConfigTable::append_blank() {
    ensure_storage();
    Line &line = impl_->next_line();
    line.record = ConfigEntry{};
    line.record.kind = DPL_CONFIG_BLANK;
    line.record.sequence = static_cast<int32_t>(impl_->count);
    return impl_->count++;
}

Index ConfigTable::append_text(std::string_view text) {
    ensure_storage();
    Line &line = impl_->next_line();
    line.name.assign(text);
    line.record = ConfigEntry{};
    line.record.kind = DPL_CONFIG_COMMENT;
    line.record.sequence = static_cast<int32_t>(impl_->count);
    line.record.name = line.name.data();
    return impl_->count++;
}

ConfigTable::Insertion ConfigTable::insert_parameter(std::string_view name, std::string_view value,
                                                     std::optional<std::string_view> comment) {
    ensure_storage();
    const std::optional<std::string_view> field = first_field(value);
    if (const Index existing = impl_->find(name, field); existing != kNone) return Insertion{existing, false};

    const Index at = impl_->count;
    Line &line = impl_->next_line();
    line.name.assign(name);
    line.value.assign(value);
    line.comment.assign(comment.value_or(std::string_view()));

    const auto [slot, made] = impl_->index.try_emplace(compare_key(line.name));
    Group &group = slot->second;
    try {
        if (is_repeatable(name)) {
            if (!group.repeated) group.repeated = std::make_unique<Repeated>();
            link(*group.repeated, at, field);
        } else {
            group.only = at;
        }
    } catch (...) {
        // The key views this line's name, which the next insertion reuses.
        if (made) impl_->index.erase(slot);
        throw;
    }

    line.record = ConfigEntry{};
    line.record.kind = DPL_CONFIG_PARAMETER;
    line.record.name = line.name.data();
    line.record.value = line.value.data();
    line.record.comment = comment ? line.comment.data() : nullptr;
    line.version = ++impl_->versions;
    ++impl_->count;
    // A parameter takes the count after its own append.
    line.record.sequence = static_cast<int32_t>(impl_->count);
    return Insertion{at, true};
}

Index ConfigTable::find(std::string_view name, const char *value) const {
    if (!impl_) return kNone;
    std::optional<std::string_view> field;
    if (value != nullptr) {
        const std::string_view key(value);
        field = first_field(key.substr(0, std::min(key.size(), kCompareLimit)));
    }
    return impl_->find(name, field);
}

void ConfigTable::replace_value(Index index, std::string_view value) {
    Line &line = impl_->line(index);
    std::string fresh(value);
    if (is_repeatable(line.name)) {
        const auto old_field = first_field(line.value);
        const auto new_field = first_field(fresh);
        if (old_field != new_field) {
            Repeated &group = *impl_->index.at(compare_key(line.name)).repeated;
            // Link first: if that throws, nothing has changed.
            link(group, index, new_field);
            unlink(group, index, old_field);
        }
    }
    line.value.swap(fresh);
    line.record.value = line.value.data();
    line.version = ++impl_->versions;
}

void ConfigTable::append_value(Index index, std::string_view suffix) {
    Line &line = impl_->line(index);
    line.value.append(suffix);
    line.record.value = line.value.data();
    line.version = ++impl_->versions;
}

uint64_t ConfigTable::value_version(Index index) const {
    return impl_->line(index).version;
}

std::string_view ConfigTable::value_view(Index index) const {
    return impl_->line(index).value;
}

ConfigEntry &ConfigTable::entry(Index index) {
    return impl_->line(index).record;
}
const ConfigEntry &ConfigTable::entry(Index index) const {
    return impl_->line(index).record;
}

std::size_t ConfigTable::size() const {
    return impl_ ? impl_->count : 0;
}

std::size_t ConfigTable::capacity() const {
    return impl_ ? impl_->blocks * kBlockEntries : 0;
}

std::vector<const ConfigEntry *> ConfigTable::in_sequence_order() const {
    std::vector<const ConfigEntry *> ordered;
    ordered.reserve(size());
    for (Index at = 0; at < size(); ++at) ordered.push_back(&impl_->line(at).record);
    std::stable_sort(ordered.begin(), ordered.end(),
                     [](const ConfigEntry *a, const ConfigEntry *b) { return a->sequence < b->sequence; });
    return ordered;
}

}  // namespace dpl::config
