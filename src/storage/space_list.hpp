// The storage spaces planned for an instance, in creation order, with the
// mirror records linked from them.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "dpl/dpl.h"

namespace dpl::storage {

// One space or mirror; the record points into the strings beside it (null
// for a text that was not given).
struct SpaceNode {
    StorageSpace record{};
    std::optional<std::string> name;
    std::optional<std::string> path;
    std::optional<std::string> mirror_path;
    std::optional<std::string> options;

    // Points the record's texts at the strings.
    void link_texts();
};

class SpaceList {
public:
    StorageSpace *head() { return spaces_.empty() ? nullptr : &spaces_.front()->record; }
    bool empty() const { return spaces_.empty(); }
    // The spaces in list order, for the writers that change a space's texts.
    std::vector<std::unique_ptr<SpaceNode>> &nodes() { return spaces_; }
    // Appends at the tail and links it from the last space.
    void append(std::unique_ptr<SpaceNode> node);
    // The first space of that name (exact, case-sensitive), or null.
    StorageSpace *find(const std::string &name);
    // Keeps a mirror record for as long as the list lives.
    StorageSpace *keep_mirror(std::unique_ptr<SpaceNode> node);

private:
    std::vector<std::unique_ptr<SpaceNode>> spaces_;
    std::vector<std::unique_ptr<SpaceNode>> mirrors_;
    // The first space of each name, so that a mirror finds its space at once.
    std::unordered_map<std::string, StorageSpace *> first_of_name_;
};

}  // namespace dpl::storage
