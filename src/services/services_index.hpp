// Which lines of the services model carry a given key (a name, an alias, a
// port), kept so that lookups do not walk the whole file.
#pragma once

#include <cstdint>
#include <list>
#include <map>
#include <string>
#include <unordered_map>

namespace dpl::services {

struct ServicesLine;
using LineList = std::list<ServicesLine>;
using LineRef = LineList::iterator;

// The lines of one key, ordered by the serial number they got when added:
// the last entry is the most recently added line.
using Postings = std::map<uint64_t, LineRef>;

class LineIndex {
public:
    using Entry = std::unordered_map<std::string, Postings>::value_type;

    // Records that `line` carries `key`. The entry returned stays valid
    // (elements of an unordered map do not move) until the key loses its
    // last line, and lets remove() work without building the key again.
    Entry *add(std::string key, uint64_t serial, LineRef line) {
        const auto slot = postings_.try_emplace(std::move(key)).first;
        try {
            slot->second.emplace(serial, line);
        } catch (...) {
            if (slot->second.empty()) postings_.erase(slot);
            throw;
        }
        return &*slot;
    }

    // Allocates nothing, so a line can always be taken out again.
    void remove(Entry *entry, uint64_t serial) noexcept {
        entry->second.erase(serial);
        if (entry->second.empty()) postings_.erase(postings_.find(entry->first));
    }

    // The lines carrying `key`, or null when there are none.
    const Postings *find(const std::string &key) const {
        const auto found = postings_.find(key);
        return found == postings_.end() ? nullptr : &found->second;
    }

    void clear() noexcept { postings_.clear(); }

private:
    std::unordered_map<std::string, Postings> postings_;
};

// One index entry of a line: which index, and the entry in it.
struct IndexSlot {
    uint32_t index = 0;
    LineIndex::Entry *entry = nullptr;
};

}  // namespace dpl::services
