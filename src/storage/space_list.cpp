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
    spaces_.reserve(spaces_.size() + 1);
    if (node->name) first_of_name_.emplace(*node->name, &node->record);
    node->link_texts();
    node->record.next = nullptr;
    if (!spaces_.empty()) spaces_.back()->record.next = &node->record;
    spaces_.push_back(std::move(node));
}

StorageSpace *SpaceList::find(const std::string &name) {
    const auto found = first_of_name_.find(name);
    return found != first_of_name_.end() ? found->second : nullptr;
}

StorageSpace *SpaceList::keep_mirror(std::unique_ptr<SpaceNode> node) {
    mirrors_.reserve(mirrors_.size() + 1);
    node->link_texts();
    mirrors_.push_back(std::move(node));
    return &mirrors_.back()->record;
}

}  // namespace dpl::storage
