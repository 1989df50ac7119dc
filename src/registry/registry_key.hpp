// Registry handles as the library's C interface and the platform layer see
// them, and a key that closes itself.
#pragma once

#include <cstdint>
#include <string>

#include "dpl/dpl.h"
#include "platform/platform.hpp"

namespace dpl::registry {

inline platform::RegKey to_key(DplHKEY key) {
    return reinterpret_cast<platform::RegKey>(key);
}

inline platform::RegView to_view(int32_t selector) {
    if (selector == DPL_REG_VIEW_32) return platform::RegView::Bits32;
    if (selector == DPL_REG_VIEW_64) return platform::RegView::Bits64;
    return platform::RegView::Default;
}

class OpenKey {
public:
    OpenKey() = default;
    OpenKey(const OpenKey &) = delete;
    OpenKey &operator=(const OpenKey &) = delete;
    ~OpenKey() { close(); }

    uint32_t open(platform::RegKey parent, const std::string &path, platform::RegView view) {
        close();
        return platform::current().reg_open_key(parent, path, view, &key_);
    }
    uint32_t create(platform::RegKey parent, const std::string &path, platform::RegView view) {
        close();
        return platform::current().reg_create_key(parent, path, view, &key_);
    }
    platform::RegKey get() const { return key_; }
    void close() {
        if (key_ != platform::kNoKey) platform::current().reg_close_key(key_);
        key_ = platform::kNoKey;
    }

private:
    platform::RegKey key_ = platform::kNoKey;
};

}  // namespace dpl::registry
