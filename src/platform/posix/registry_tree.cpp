#include "platform/posix/registry_tree.hpp"

#include <algorithm>
#include <new>
#include <utility>

namespace dpl::platform::posix {

std::string fold_name(std::string_view name) {
    std::string folded(name);
    for (char &c : folded) {
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    }
    return folded;
}

bool names_equal(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        char x = a[i];
        char y = b[i];
        if (x >= 'a' && x <= 'z') x = static_cast<char>(x - 'a' + 'A');
        if (y >= 'a' && y <= 'z') y = static_cast<char>(y - 'a' + 'A');
        if (x != y) return false;
    }
    return true;
}

std::size_t name_length(std::string_view name) {
    std::size_t length = 0;
    for (char c : name) {
        const auto byte = static_cast<unsigned char>(c);
        if ((byte & 0xC0u) != 0x80u) ++length;  // not a continuation byte
        if (byte >= 0xF0u) ++length;            // beyond the BMP: a surrogate pair
    }
    return length;
}

RegTreeKey::RegTreeKey(std::string name) : name_(std::move(name)), folded_(fold_name(name_)) {}

RegTreeKey::~RegTreeKey() {
    // Flatten the subtree so that each node dies with no children left: a
    // recursive teardown of a deep tree would run out of stack.
    std::vector<std::unique_ptr<RegTreeKey>> pending = std::move(subkeys_);
    std::unique_ptr<RegTreeKey> key;
    try {
        while (!pending.empty()) {
            key = std::move(pending.back());
            pending.pop_back();
            if (!key) continue;
            for (auto &child : key->subkeys_) pending.push_back(std::move(child));
            key->subkeys_.clear();
            key.reset();  // no children left: nothing recursive
        }
    } catch (const std::bad_alloc &) {
        // No memory to flatten with: what remains is taken apart leaf by
        // leaf, the key being flattened first.
        if (key) key->release_leaf_by_leaf();
        key.reset();
        subkeys_ = std::move(pending);
        release_leaf_by_leaf();
    }
}

// Removes one leaf at a time, found by walking down the last subkeys; needs
// no memory. Slots already emptied by the flattening are dropped on the way.
void RegTreeKey::release_leaf_by_leaf() noexcept {
    for (;;) {
        RegTreeKey *parent = nullptr;
        RegTreeKey *node = this;
        for (;;) {
            while (!node->subkeys_.empty() && !node->subkeys_.back()) node->subkeys_.pop_back();
            if (node->subkeys_.empty()) break;
            parent = node;
            node = node->subkeys_.back().get();
        }
        if (parent == nullptr) return;
        parent->subkeys_.pop_back();
    }
}

// The position of the first subkey not ordered before `folded`.
std::size_t RegTreeKey::subkey_position(std::string_view folded) const {
    auto it = std::lower_bound(subkeys_.begin(), subkeys_.end(), folded,
                               [](const std::unique_ptr<RegTreeKey> &key, std::string_view wanted) {
                                   return std::string_view(key->folded_) < wanted;
                               });
    return static_cast<std::size_t>(it - subkeys_.begin());
}

RegTreeKey *RegTreeKey::find_subkey(std::string_view name) {
    const std::string folded = fold_name(name);
    const std::size_t pos = subkey_position(folded);
    if (pos < subkeys_.size() && subkeys_[pos]->folded_ == folded) return subkeys_[pos].get();
    return nullptr;
}

const RegTreeKey *RegTreeKey::find_subkey(std::string_view name) const {
    return const_cast<RegTreeKey *>(this)->find_subkey(name);
}

RegTreeKey *RegTreeKey::find_path(const std::vector<std::string> &path, std::size_t depth) {
    RegTreeKey *key = this;
    for (std::size_t i = 0; i < depth && key != nullptr; ++i) key = key->find_subkey(path[i]);
    return key;
}

const RegTreeKey *RegTreeKey::find_path(const std::vector<std::string> &path, std::size_t depth) const {
    return const_cast<RegTreeKey *>(this)->find_path(path, depth);
}

RegTreeKey &RegTreeKey::add_subkey(std::string_view name) {
    const std::string folded = fold_name(name);
    const std::size_t pos = subkey_position(folded);
    if (pos < subkeys_.size() && subkeys_[pos]->folded_ == folded) return *subkeys_[pos];
    auto it = subkeys_.insert(subkeys_.begin() + static_cast<std::ptrdiff_t>(pos),
                              std::make_unique<RegTreeKey>(std::string(name)));
    return **it;
}

bool RegTreeKey::remove_subkey(std::string_view name) {
    const std::string folded = fold_name(name);
    const std::size_t pos = subkey_position(folded);
    if (pos >= subkeys_.size() || subkeys_[pos]->folded_ != folded) return false;
    subkeys_.erase(subkeys_.begin() + static_cast<std::ptrdiff_t>(pos));
    return true;
}

// Each child's destructor takes its own subtree apart iteratively.
void RegTreeKey::clear_subkeys() {
    subkeys_.clear();
}

const RegValue *RegTreeKey::find_value(std::string_view name) const {
    auto it = value_index_.find(fold_name(name));
    if (it == value_index_.end()) return nullptr;
    return &values_[it->second].value;
}

void RegTreeKey::set_value(std::string_view name, RegValue value) {
    std::string folded = fold_name(name);
    auto it = value_index_.find(folded);
    if (it != value_index_.end()) {
        values_[it->second].value = std::move(value);
        return;
    }
    value_index_.emplace(std::move(folded), values_.size());
    values_.push_back(NamedValue{std::string(name), std::move(value)});
}

bool RegTreeKey::remove_value(std::string_view name) {
    auto it = value_index_.find(fold_name(name));
    if (it == value_index_.end()) return false;
    const std::size_t pos = it->second;
    value_index_.erase(it);
    values_.erase(values_.begin() + static_cast<std::ptrdiff_t>(pos));
    for (auto &entry : value_index_) {
        if (entry.second > pos) --entry.second;
    }
    return true;
}

void RegTreeKey::clear_values() {
    values_.clear();
    value_index_.clear();
}

bool RegTreeKey::same_as(const RegTreeKey &other) const {
    std::vector<std::pair<const RegTreeKey *, const RegTreeKey *>> pending{{this, &other}};
    while (!pending.empty()) {
        auto [a, b] = pending.back();
        pending.pop_back();
        if (a->name_ != b->name_ || a->values_.size() != b->values_.size() ||
            a->subkeys_.size() != b->subkeys_.size()) {
            return false;
        }
        for (std::size_t i = 0; i < a->values_.size(); ++i) {
            const NamedValue &x = a->values_[i];
            const NamedValue &y = b->values_[i];
            if (x.name != y.name || x.value.type != y.value.type || x.value.data != y.value.data)
                return false;
        }
        for (std::size_t i = 0; i < a->subkeys_.size(); ++i) {
            pending.emplace_back(a->subkeys_[i].get(), b->subkeys_[i].get());
        }
    }
    return true;
}

}  // namespace dpl::platform::posix
