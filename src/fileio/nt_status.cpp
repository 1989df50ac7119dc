// Status and access calls of the file layer, and the raw-drive test.
#include <cerrno>
#include <cstring>
#include <limits>
#include <string>
#include <string_view>

#include "dpl/dpl.h"
#include "fileio/nt_report.hpp"

using dpl::fileio::errno_from;
using dpl::fileio::handle_of;
using dpl::platform::SysError;

namespace {

// The runtime's size field may be narrower than a file (32 bits on
// Windows); a size it cannot hold is given as its largest value.
template <class Field>
Field size_field(uint64_t size) {
    constexpr auto kMax = static_cast<uint64_t>(std::numeric_limits<Field>::max());
    return static_cast<Field>(size > kMax ? kMax : size);
}

void fill_status(struct stat *status, unsigned mode, uint64_t size) {
    std::memset(status, 0, sizeof *status);
    status->st_mode = static_cast<decltype(status->st_mode)>(mode);
    status->st_size = size_field<decltype(status->st_size)>(size);
}

char lower_ascii(char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}

}  // namespace

extern "C" {

int32_t nt_fstat(int32_t fd, struct stat *status) {
    if (status == nullptr) {
        errno = EINVAL;
        return -1;
    }
    SysError error;
    uint64_t size = 0;
    if (!dpl::platform::current().file_size(handle_of(fd), &size, &error)) {
        if (errno_from(error) == 0) {
            dpl::fileio::report("GetFileInformationByHandle", error.native,
                                dpl::fileio::site::kFileInformation);
            errno = EINVAL;
        }
        return -1;
    }
    fill_status(status, DPL_S_IFREG, size);
    return 0;
}

int32_t nt_is_device(const char *path) {
    if (path == nullptr) return 0;
    static constexpr std::string_view kPhysicalDrive = "//./physicaldrive";
    char text[32] = {};
    std::size_t length = 0;
    for (; length < 31 && path[length] != '\0'; ++length) {
        text[length] = path[length] == '\\' ? '/' : path[length];
    }
    if (length >= kPhysicalDrive.size()) {
        bool same = true;
        for (std::size_t i = 0; i < kPhysicalDrive.size() && same; ++i) {
            same = lower_ascii(text[i]) == kPhysicalDrive[i];
        }
        if (same) return 1;
    }
    // "//./C:": the drive form, with nothing after the colon.
    return (length == 6 && std::string_view(text, 4) == "//./" && text[5] == ':') ? 1 : 0;
}

int32_t nt_stat(const char *path, struct stat *status) {
    if (path == nullptr || status == nullptr) {
        errno = EINVAL;
        return -1;
    }
    const int32_t fd = nt_open(path, DPL_O_RDONLY);
    if (fd == -1) return -1;
    int32_t rc = 0;
    int status_errno = 0;
    if (nt_is_device(path) != 0) {
        fill_status(status, DPL_S_IFCHR, 0);
    } else {
        rc = nt_fstat(fd, status);
        if (rc != 0) status_errno = errno;
    }
    nt_close(fd);
    errno = status_errno;
    return rc;
}

int32_t nt_access(const char *path, int32_t mode) {
    if (path == nullptr) {
        errno = EINVAL;
        return -1;
    }
    // 0 existence, 1 or 4 read, 2 write, 6 or 7 both; 3 and 5 ask for
    // execution, which this layer cannot test.
    const int32_t wanted = mode & 7;
    if (wanted == 3 || wanted == 5) {
        errno = EACCES;
        return -1;
    }
    const bool read = wanted == 1 || wanted == 4 || wanted == 6 || wanted == 7;
    const bool write = wanted == 2 || wanted == 6 || wanted == 7;
    return dpl::fileio::descriptor_call<int32_t>([&]() -> int32_t {
        SysError error;
        if (!dpl::platform::current().access_path(path, read, write, &error)) {
            errno_from(error);
            return -1;
        }
        return 0;
    });
}

}  // extern "C"
