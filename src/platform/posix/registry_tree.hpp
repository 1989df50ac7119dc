// The registry as a tree in memory: what the POSIX backend loads from its
// store file, changes, and writes back. Names compare the way Windows
// compares them (ASCII letters without regard to case) but keep the case
// they were created with.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/platform.hpp"

namespace dpl::platform::posix {

// Windows' own limits, so that a store written here is one Windows accepts.
inline constexpr std::size_t kMaxKeyNameLength = 255;
inline constexpr std::size_t kMaxValueNameLength = 16383;
// Levels below a hive root.
inline constexpr std::size_t kMaxKeyDepth = 512;

// The form under which names are compared and ordered: ASCII upper case,
// as the registry orders subkeys.
std::string fold_name(std::string_view name);
bool names_equal(std::string_view a, std::string_view b);
// A name's length in UTF-16 units, which is what Windows counts characters
// in.
std::size_t name_length(std::string_view name);

struct NamedValue {
    std::string name;
    RegValue value;
};

class RegTreeKey {
public:
    RegTreeKey() = default;
    explicit RegTreeKey(std::string name);
    RegTreeKey(const RegTreeKey &) = delete;
    RegTreeKey &operator=(const RegTreeKey &) = delete;
    RegTreeKey(RegTreeKey &&) noexcept = default;
    RegTreeKey &operator=(RegTreeKey &&) noexcept = default;
    // Iterative, so that no depth of tree can exhaust the stack.
    ~RegTreeKey();

    const std::string &name() const { return name_; }

    // Subkeys, enumerated in case-insensitive alphabetical order.
    RegTreeKey *find_subkey(std::string_view name);
    const RegTreeKey *find_subkey(std::string_view name) const;
    // The key `depth` levels down along `path`, or null.
    RegTreeKey *find_path(const std::vector<std::string> &path, std::size_t depth);
    const RegTreeKey *find_path(const std::vector<std::string> &path, std::size_t depth) const;
    // The existing subkey of that name (whose case is kept), or a new one.
    RegTreeKey &add_subkey(std::string_view name);
    bool remove_subkey(std::string_view name);
    void clear_subkeys();
    std::size_t subkey_count() const { return subkeys_.size(); }
    const RegTreeKey &subkey(std::size_t index) const { return *subkeys_[index]; }
    RegTreeKey &subkey(std::size_t index) { return *subkeys_[index]; }

    // Values, enumerated in creation order. Setting an existing value keeps
    // its place and its name's case.
    const RegValue *find_value(std::string_view name) const;
    void set_value(std::string_view name, RegValue value);
    bool remove_value(std::string_view name);
    void clear_values();
    std::size_t value_count() const { return values_.size(); }
    const NamedValue &value(std::size_t index) const { return values_[index]; }

    // Exact equality of the whole subtree: names with their case, value
    // order, types and data.
    bool same_as(const RegTreeKey &other) const;

private:
    void release_leaf_by_leaf() noexcept;
    std::size_t subkey_position(std::string_view folded) const;

    std::string name_;
    std::string folded_;
    // Sorted by folded name.
    std::vector<std::unique_ptr<RegTreeKey>> subkeys_;
    std::vector<NamedValue> values_;
    // Folded value name to its position in values_.
    std::unordered_map<std::string, std::size_t> value_index_;
};

}  // namespace dpl::platform::posix
