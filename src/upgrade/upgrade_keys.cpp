#include "upgrade/upgrade_keys.hpp"

#include <cstdio>

#include "registry/registry_key.hpp"

namespace dpl::upgrade {

std::string version_key(int32_t major, int32_t minor) {
    char text[40];
    if (major == 10 && minor == 0) {
        std::snprintf(text, sizeof text, "%d.%d0", static_cast<int>(major), static_cast<int>(minor));
    } else {
        std::snprintf(text, sizeof text, "%d.%d", static_cast<int>(major), static_cast<int>(minor));
    }
    return std::string("SOFTWARE\\Orvandex\\DBMS\\") + text;
}

std::string security_key(int32_t major, int32_t minor, int32_t tag) {
    // The tag's text has room for four characters.
    char tag_text[5] = "";
    if (tag != 0) std::snprintf(tag_text, sizeof tag_text, "%d", static_cast<int>(tag));
    return version_key(major, minor) + "\\Security" + tag_text;
}

std::string display_text(int32_t major, int32_t minor) {
    const char *word = "Talix Server";
    if (major == 11 && minor == 70) {
        word = "Talix";
    } else if (major < 11) {
        word = "Orvandex Dynamic Server";
    }
    char numbers[40];
    std::snprintf(numbers, sizeof numbers, " %d.%d", static_cast<int>(major), static_cast<int>(minor));
    return word + std::string(numbers);
}

bool is_text_value(uint32_t type) {
    return type == platform::regtype::kSz || type == platform::regtype::kExpandSz;
}

bool nothing_there(uint32_t error) {
    return error == platform::err::kFileNotFound || error == platform::err::kPathNotFound;
}

int32_t copy_tree(platform::RegKey destination, platform::RegKey source) {
    return dplCopyRegTree(reinterpret_cast<DplHKEY>(destination), reinterpret_cast<DplHKEY>(source));
}

}  // namespace dpl::upgrade
