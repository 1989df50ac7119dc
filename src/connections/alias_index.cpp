#include "connections/alias_index.hpp"

namespace dpl::connections {

namespace {
template <class T>
T &at(std::vector<T> &items, int32_t index) {
    return items[static_cast<std::size_t>(index)];
}
template <class T>
const T &at(const std::vector<T> &items, int32_t index) {
    return items[static_cast<std::size_t>(index)];
}
}  // namespace

void AliasIndex::clear() {
    states_.clear();
    edges_.clear();
    add_state(0, kNone);
    for (int32_t &slot : root_targets_) slot = kNone;
    last_ = 0;
    valid_ = false;
}

int32_t AliasIndex::target(int32_t state, unsigned char symbol) const {
    if (state == 0) return root_targets_[symbol];
    const State &from = at(states_, state);
    for (int i = 0; i < from.inline_count; ++i) {
        if (from.symbol[i] == symbol) return from.target[i];
    }
    for (int32_t edge = from.first_edge; edge != kNone; edge = at(edges_, edge).next) {
        if (at(edges_, edge).symbol == symbol) return at(edges_, edge).target;
    }
    return kNone;
}

void AliasIndex::set_target(int32_t state, unsigned char symbol, int32_t target) {
    if (state == 0) {
        root_targets_[symbol] = target;
        return;
    }
    State &from = at(states_, state);
    for (int i = 0; i < from.inline_count; ++i) {
        if (from.symbol[i] == symbol) {
            from.target[i] = target;
            return;
        }
    }
    for (int32_t edge = from.first_edge; edge != kNone; edge = at(edges_, edge).next) {
        if (at(edges_, edge).symbol == symbol) {
            at(edges_, edge).target = target;
            return;
        }
    }
}

void AliasIndex::add_edge(int32_t state, unsigned char symbol, int32_t target) {
    if (state == 0) {
        root_targets_[symbol] = target;
        return;
    }
    State &from = at(states_, state);
    if (from.inline_count < kInlineEdges) {
        from.symbol[from.inline_count] = symbol;
        from.target[from.inline_count] = target;
        ++from.inline_count;
        return;
    }
    edges_.push_back(Edge{target, from.first_edge, symbol});
    from.first_edge = static_cast<int32_t>(edges_.size() - 1);
}

int32_t AliasIndex::add_state(int32_t length, int32_t link) {
    State state{};
    state.length = length;
    state.link = link;
    state.first_edge = kNone;
    states_.push_back(state);
    return static_cast<int32_t>(states_.size() - 1);
}

int32_t AliasIndex::split(int32_t state, unsigned char symbol, int32_t next) {
    const int32_t clone = add_state(at(states_, state).length + 1, at(states_, next).link);
    // Copy the edges of `next` (by value: add_state may have moved the states).
    const State original = at(states_, next);
    for (int i = 0; i < original.inline_count; ++i) add_edge(clone, original.symbol[i], original.target[i]);
    for (int32_t edge = original.first_edge; edge != kNone; edge = at(edges_, edge).next) {
        const Edge copy = at(edges_, edge);
        add_edge(clone, copy.symbol, copy.target);
    }
    while (state != kNone && target(state, symbol) == next) {
        set_target(state, symbol, clone);
        state = at(states_, state).link;
    }
    at(states_, next).link = clone;
    return clone;
}

// One character of the current run. A run that repeats what an earlier run
// already spelled reuses its states, as in a suffix automaton of many words.
void AliasIndex::extend(unsigned char symbol) {
    const int32_t existing = target(last_, symbol);
    if (existing != kNone) {
        last_ = at(states_, last_).length + 1 == at(states_, existing).length
                    ? existing
                    : split(last_, symbol, existing);
        return;
    }
    const int32_t current = add_state(at(states_, last_).length + 1, kNone);
    int32_t state = last_;
    while (state != kNone && target(state, symbol) == kNone) {
        add_edge(state, symbol, current);
        state = at(states_, state).link;
    }
    if (state == kNone) {
        at(states_, current).link = 0;
    } else {
        const int32_t next = target(state, symbol);
        at(states_, current).link =
            at(states_, state).length + 1 == at(states_, next).length ? next : split(state, symbol, next);
    }
    last_ = current;
}

void AliasIndex::rebuild(std::size_t entry, uint64_t version, std::string_view text) {
    clear();
    entry_ = entry;
    valid_ = true;
    appended(version, text);
}

void AliasIndex::appended(uint64_t version, std::string_view suffix) {
    version_ = version;
    for (const char c : suffix) {
        if (c == ' ') {
            last_ = 0;  // a blank ends the run
        } else {
            extend(static_cast<unsigned char>(c));
        }
    }
}

bool AliasIndex::contains(std::string_view alias) const {
    int32_t state = 0;
    for (const char c : alias) {
        state = target(state, static_cast<unsigned char>(c));
        if (state == kNone) return false;
    }
    return true;
}

}  // namespace dpl::connections
