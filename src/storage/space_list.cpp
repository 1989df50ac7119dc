#include "storage/space_list.hpp"

#include <utility>

namespace dpl::storage {
namespace {

char *text_of(std::optional<std::string> &text) {
    return text ? text->data() : nullptr;
}

}  // namespace

void SpaceNode::link_texts() {
    record.name = text_of(name);
    record.path = text_of(path);
    record.mirror_path = text_of(mirror_path);
    record.options = text_of(options);
}

void SpaceList::append(std::unique_ptr<SpaceNode> node) {
    // Nothing is linked until the node is safely in the list.
    spaces_.push_back(std::move(node));
    SpaceNode &added = *spaces_.back();
    added.link_texts();
    added.record.next = nullptr;
    StorageSpace *previous = spaces_.size() > 1 ? &spaces_[spaces_.size() - 2]->record : nullptr;
    if (previous != nullptr) previous->next = &added.record;
    try {
        if (added.name) first_of_name_.emplace(*added.name, &added.record);
    } catch (...) {
        if (previous != nullptr) previous->next = nullptr;
        spaces_.pop_back();
        throw;
    }
}

StorageSpace *SpaceList::find(const std::string &name) {
    const auto found = first_of_name_.find(name);
    return found != first_of_name_.end() ? found->second : nullptr;
}

StorageSpace *SpaceList::keep_mirror(std::unique_ptr<SpaceNode> node) {
    mirrors_.push_back(std::move(node));
    mirrors_.back()->link_texts();
    return &mirrors_.back()->record;
}

}  // namespace dpl::storage
