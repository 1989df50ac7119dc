#include "storage/file_systems.hpp"

#include <utility>

namespace dpl::storage {

FileSystemEntry *FileSystemList::find_device(uint32_t device) {
    for (FileSystemEntry *entry = head(); entry != nullptr; entry = entry->next) {
        if (entry->device == device) return entry;
    }
    return nullptr;
}

FileSystemEntry *FileSystemList::find_directory(const std::string &directory) {
    for (FileSystemEntry *entry = head(); entry != nullptr; entry = entry->next) {
        if (entry->directory != nullptr && directory == entry->directory) return entry;
    }
    return nullptr;
}

void FileSystemList::append(std::unique_ptr<FileSystemNode> node) {
    nodes_.reserve(nodes_.size() + 1);
    node->record.path = node->path.data();
    node->record.directory = node->directory.data();
    node->record.next = nullptr;
    if (!nodes_.empty()) nodes_.back()->record.next = &node->record;
    nodes_.push_back(std::move(node));
}

}  // namespace dpl::storage
