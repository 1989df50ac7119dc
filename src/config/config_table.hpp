// The in-memory model of an instance's onconfig file: every line of the
// file in file order, with an index of the parameters by their comparison
// key so that lookups and insertions do not need to sort.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "dpl/dpl.h"

namespace dpl::config {

// Names compare on at most this many characters, and a lookup value is cut
// to this length before its first field is taken.
inline constexpr std::size_t kCompareLimit = 255;
// Entries are allocated in blocks of this many; the first block comes with
// the table.
inline constexpr std::size_t kBlockEntries = 1000;

// True for NETTYPE, VPCLASS and BUFFERPOOL, which may occur once per
// distinct first field of their value.
bool is_repeatable(std::string_view name);

// The `ConfigEntry` records handed to callers never move: they live in
// blocks that are never reallocated. A value pointer stays valid until that
// entry's value is replaced.
class ConfigTable {
public:
    using Index = std::size_t;  // position of a line in file order
    static constexpr Index kNone = static_cast<Index>(-1);

    struct Insertion {
        Index index = kNone;
        bool added = false;  // false: an equal parameter was already there
    };

    ConfigTable();
    ~ConfigTable();
    ConfigTable(ConfigTable &&) noexcept;
    ConfigTable &operator=(ConfigTable &&) noexcept;
    ConfigTable(const ConfigTable &) = delete;
    ConfigTable &operator=(const ConfigTable &) = delete;

    bool has_storage() const;
    // Allocates the first block when the table has none (a moved-from table).
    void ensure_storage();
    // Makes room for one more entry, growing by a block when full.
    void reserve_one();

    Index append_blank();
    // A comment or verbatim line; `text` carries its own line end.
    Index append_text(std::string_view text);
    // Adds a parameter unless an equal one exists (same name, and for the
    // repeatable names the same first field).
    Insertion insert_parameter(std::string_view name, std::string_view value,
                               std::optional<std::string_view> comment);
    // The parameter that compares equal to (name, value); a null value
    // matches any entry of the name.
    Index find(std::string_view name, const char *value) const;
    // Gives a parameter a new value; its comment and sequence stay. `index`
    // is what find() answers for the name and the new value (as a setting
    // does), so the first fields of the repeatable names stay distinct.
    void replace_value(Index index, std::string_view value);
    // Appends to a parameter's value in place, in amortised constant time
    // per character, for lists that grow an item at a time. Not for the
    // repeatable names, whose first field is an index key.
    void append_value(Index index, std::string_view suffix);
    // Differs from every earlier answer for `index` once its value was
    // replaced or appended to, so that a cache of the value can tell it is stale.
    uint64_t value_version(Index index) const;
    // A parameter's value with its length known (no scan for the terminator).
    std::string_view value_view(Index index) const;

    ConfigEntry &entry(Index index);
    const ConfigEntry &entry(Index index) const;
    std::size_t size() const;
    std::size_t capacity() const;

    // All entries by sequence number; equal numbers keep file order.
    std::vector<const ConfigEntry *> in_sequence_order() const;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace dpl::config
