// Where a machine's registry store lives, shared by the store's file
// handling and the registry calls.
#pragma once

#include <sys/stat.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "platform/platform.hpp"

namespace dpl::platform::posix {

inline uint32_t io_error(int error) {
    if (error == EACCES || error == EPERM || error == EROFS) return err::kAccessDenied;
    return err::kRegistryIoFailed;
}

inline std::string local_root() {
    const char *value = std::getenv("DPL_SYSROOT");
    std::string root = (value != nullptr && *value != '\0') ? value : "/";
    while (root.size() > 1 && root.back() == '/') root.pop_back();
    return root;
}

inline std::string store_dir(const std::string &machine) {
    return (machine == "/" ? "" : machine) + "/var/lib/dpl";
}

inline std::string in_store_dir(const std::string &machine, std::string_view file) {
    return store_dir(machine) + "/" + std::string(file);
}

inline bool is_directory(const std::string &path) {
    struct stat st {};
    return ::stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

}  // namespace dpl::platform::posix
