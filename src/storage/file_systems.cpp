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
    nodes_.push_back(std::move(node));
    FileSystemNode &added = *nodes_.back();
    added.record.path = added.path.data();
    added.record.directory = added.directory.data();
    added.record.next = nullptr;
    if (nodes_.size() > 1) nodes_[nodes_.size() - 2]->record.next = &added.record;
}

}  // namespace dpl::storage
