// Which lines of the services model carry a given key (a name, an alias, a
// port), kept so that lookups do not walk the whole file.
#pragma once

#include <algorithm>
#include <cstdint>
#include <list>
#include <unordered_map>
#include <vector>

namespace dpl::services {

struct ServicesLine;
using LineList = std::list<ServicesLine>;
using LineRef = LineList::iterator;

// The lines of one key in the order they were added: the last one is the
// most recently added line.
using Postings = std::vector<LineRef>;

// Lines are ordered by their serial number, which the model gives them in
// the order they are added.
template <class Key>
class LineIndex {
public:
    void reserve(std::size_t keys) { postings_.reserve(keys); }

    // Records that `line`, the most recently added line, carries `key`. A key
    // that a line carries twice is recorded once.
    void add(const Key &key, LineRef line) {
        Postings &lines = postings_[key];
        if (!lines.empty() && lines.back() == line) return;
        lines.push_back(line);
    }

    // Takes `line` out of the lines of `key`, if it is there; `serial_of`
    // reads the serial number of a line. Allocates nothing, so a line can
    // always be taken out again.
    template <class SerialOf>
    void remove(const Key &key, LineRef line, SerialOf serial_of) noexcept {
        const auto found = postings_.find(key);
        if (found == postings_.end()) return;
        Postings &lines = found->second;
        const auto at =
            std::lower_bound(lines.begin(), lines.end(), serial_of(line),
                             [&](LineRef entry, uint64_t wanted) { return serial_of(entry) < wanted; });
        if (at != lines.end() && *at == line) lines.erase(at);
        if (lines.empty()) postings_.erase(found);
    }

    // The lines carrying `key`, or null when there are none.
    const Postings *find(const Key &key) const {
        const auto found = postings_.find(key);
        return found == postings_.end() ? nullptr : &found->second;
    }

    void clear() noexcept { postings_.clear(); }

private:
    std::unordered_map<Key, Postings> postings_;
};

}  // namespace dpl::services
