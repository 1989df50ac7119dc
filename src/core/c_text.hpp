// Texts and records handed to C callers are allocated with the C heap of the
// library, so that dplFree (and the list release calls) can free them.
#pragma once

#include <cstdlib>
#include <cstring>
#include <string_view>

namespace dpl::core {

// A NUL-terminated copy for a C caller, or null when memory runs out.
inline char *c_copy(std::string_view text) {
    auto *copy = static_cast<char *>(std::malloc(text.size() + 1));
    if (copy == nullptr) return nullptr;
    if (!text.empty()) std::memcpy(copy, text.data(), text.size());
    copy[text.size()] = '\0';
    return copy;
}

// A zero-filled record for a C caller, or null.
template <class Record>
Record *c_record() {
    return static_cast<Record *>(std::calloc(1, sizeof(Record)));
}

}  // namespace dpl::core
