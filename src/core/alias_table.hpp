// An open-addressing table from alias to the first entry that carries it.
// Keys are views of the entries' own alias texts, which never change, so a
// lookup touches one slot and one entry instead of chasing list nodes.
#pragma once

#include <cstdint>
#include <functional>
#include <string_view>
#include <vector>

namespace dpl::core {

template <class Value>
class AliasTable {
public:
    Value *find(std::string_view key) const {
        if (slots_.empty()) return nullptr;
        const uint64_t hash = hash_of(key);
        for (std::size_t at = hash & mask(); slots_[at].value != nullptr; at = (at + 1) & mask()) {
            if (slots_[at].hash == hash && slots_[at].key == key) return slots_[at].value;
        }
        return nullptr;
    }
    // Adds `key` unless present; the key's text must outlive the table entry.
    void insert_if_absent(std::string_view key, Value *value) {
        if ((used_ + 1) * 2 > slots_.size()) grow();
        const uint64_t hash = hash_of(key);
        std::size_t at = hash & mask();
        for (; slots_[at].value != nullptr; at = (at + 1) & mask()) {
            if (slots_[at].hash == hash && slots_[at].key == key) return;
        }
        slots_[at] = Slot{hash, key, value};
        ++used_;
    }

private:
    struct Slot {
        uint64_t hash = 0;
        std::string_view key;
        Value *value = nullptr;
    };
    static uint64_t hash_of(std::string_view key) { return std::hash<std::string_view>{}(key); }
    std::size_t mask() const { return slots_.size() - 1; }
    void grow() {
        std::vector<Slot> old = std::move(slots_);
        slots_.assign(old.empty() ? 16 : old.size() * 2, Slot{});
        for (const Slot &slot : old) {
            if (slot.value == nullptr) continue;
            std::size_t at = slot.hash & mask();
            while (slots_[at].value != nullptr) at = (at + 1) & mask();
            slots_[at] = slot;
        }
    }

    std::vector<Slot> slots_;
    std::size_t used_ = 0;
};

}  // namespace dpl::core
