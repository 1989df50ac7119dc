// Answers "does this alias occur anywhere in the DBSERVERALIASES text?" — a
// plain substring test — without rescanning a text that grows by one alias
// at a time. An alias without a blank can only occur inside one blank-free
// run of the text, so the runs are kept in one suffix automaton (a run per
// item of the list, shared structure stored once): appended characters cost
// amortised constant time and a test costs time proportional to the alias.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace dpl::connections {

class AliasIndex {
public:
    AliasIndex() { clear(); }
    AliasIndex(const AliasIndex &) = delete;
    AliasIndex &operator=(const AliasIndex &) = delete;

    // Whether the index describes the value of entry `entry` at `version`.
    bool describes(std::size_t entry, uint64_t version) const {
        return valid_ && entry_ == entry && version_ == version;
    }
    // Indexes `text` from scratch.
    void rebuild(std::size_t entry, uint64_t version, std::string_view text);
    // The indexed text was extended by `suffix`; it is now at `version`.
    void appended(uint64_t version, std::string_view suffix);
    // Whether a blank-free `alias` is a substring of the indexed text.
    bool contains(std::string_view alias) const;
    void clear();

private:
    static constexpr int32_t kNone = -1;
    // Most states have one to three edges: those live inside the state, so
    // a step touches one cache line; further edges go to a shared list.
    static constexpr int kInlineEdges = 3;
    struct State {
        int32_t length;
        int32_t link;
        int32_t target[kInlineEdges];
        unsigned char symbol[kInlineEdges];
        unsigned char inline_count;
        int32_t first_edge;  // more edges, in edges_
    };
    struct Edge {
        int32_t target;
        int32_t next;
        unsigned char symbol;
    };

    // The target of `state` on `symbol`, or kNone.
    int32_t target(int32_t state, unsigned char symbol) const;
    void set_target(int32_t state, unsigned char symbol, int32_t target);
    void add_edge(int32_t state, unsigned char symbol, int32_t target);
    int32_t add_state(int32_t length, int32_t link);
    void extend(unsigned char symbol);
    // Splits the state `next` reached from `state` on `symbol`; returns the clone.
    int32_t split(int32_t state, unsigned char symbol, int32_t next);

    bool valid_ = false;
    std::size_t entry_ = 0;
    uint64_t version_ = 0;
    std::vector<State> states_;
    std::vector<Edge> edges_;
    // The root has an edge for nearly every character in use: direct lookup.
    int32_t root_targets_[256];
    int32_t last_ = 0;
};

}  // namespace dpl::connections
