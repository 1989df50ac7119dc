// Descriptor calls of the file layer: open, read, write, close, seek, unlink.
// Expected failures are silent; the others also print the fixed report.
#include <cerrno>
#include <string>

#include "dpl/dpl.h"
#include "fileio/nt_report.hpp"

using dpl::fileio::descriptor_call;
using dpl::fileio::errno_from;
using dpl::fileio::handle_of;
using dpl::fileio::report;
using dpl::platform::SysError;
namespace site = dpl::fileio::site;

namespace {

dpl::platform::Disposition disposition_of(int32_t flags) {
    using dpl::platform::Disposition;
    const bool create = (flags & DPL_O_CREAT) != 0;
    if (create && (flags & DPL_O_EXCL) != 0) return Disposition::CreateNew;
    if (create && (flags & DPL_O_TRUNC) != 0) return Disposition::CreateAlways;
    if (create) return Disposition::OpenAlways;
    if ((flags & DPL_O_TRUNC) != 0) return Disposition::TruncateExisting;
    return Disposition::OpenExisting;
}

dpl::platform::DescriptorOpen open_options(const char **name, int32_t flags) {
    dpl::platform::DescriptorOpen options;
    // "*name" asks for no buffering, "**name" also for write-through, and
    // then only an existing file will do.
    if (**name == '*') {
        options.no_buffering = true;
        ++*name;
        if (**name == '*') {
            options.write_through = true;
            ++*name;
        }
    }
    if ((flags & (DPL_O_WRONLY | DPL_O_RDWR | DPL_O_APPEND)) != 0) {
        options.write = true;
        options.read = (flags & DPL_O_WRONLY) == 0;
    }
    options.disposition =
        options.write_through ? dpl::platform::Disposition::OpenExisting : disposition_of(flags);
    return options;
}

int32_t open_descriptor(const char *path, int32_t flags) {
    if (path == nullptr) {
        errno = EINVAL;
        return -1;
    }
    const char *name = path;
    const dpl::platform::DescriptorOpen options = open_options(&name, flags);
    dpl::platform::Platform &os = dpl::platform::current();
    SysError error;
    const dpl::platform::FileHandle file = os.open_descriptor(name, options, &error);
    if (file == dpl::platform::kNoFile) {
        if (errno_from(error) != ENOENT) report("CreateFile()", error.native, site::kOpen);
        return -1;
    }
    if ((flags & DPL_O_APPEND) != 0) {
        if (!os.seek(file, 0, dpl::platform::SeekFrom::End, nullptr, &error)) {
            // Without its end the file is of no use for appending; no
            // descriptor is better than one that names something else.
            report("SetFilePointer()", error.native, site::kOpenSeek);
            SysError ignored;
            os.close_descriptor(file, &ignored);
            errno_from(error);
            return -1;
        }
        if (!os.set_end_of_file(file, &error)) report("SetEndOfFile()", error.native, site::kOpenEnd);
    }
    return dpl::fileio::descriptor_of(file);
}

bool is_standard_stream(int32_t fd) {
    return fd == 1 || fd == 2;
}

dpl::platform::FileHandle output_handle(int32_t fd) {
    if (!is_standard_stream(fd)) return handle_of(fd);
    return dpl::platform::current().std_handle(fd == 1 ? dpl::platform::StdStream::Output
                                                       : dpl::platform::StdStream::Error);
}

}  // namespace

extern "C" {

int32_t nt_open(const char *path, int32_t flags) {
    return descriptor_call<int32_t>([&] { return open_descriptor(path, flags); });
}

int32_t nt_read(int32_t fd, void *buffer, uint32_t count) {
    if (buffer == nullptr && count > 0) {
        errno = EINVAL;
        return -1;
    }
    SysError error;
    uint32_t done = 0;
    if (!dpl::platform::current().read_once(handle_of(fd), buffer, count, &done, &error)) {
        if (errno_from(error) != EBADF) report("ReadFile()", error.native, site::kRead);
        return -1;
    }
    return static_cast<int32_t>(done);
}

int32_t nt_write(int32_t fd, const void *buffer, uint32_t count) {
    if (buffer == nullptr && count > 0) {
        errno = EINVAL;
        return -1;
    }
    const dpl::platform::FileHandle file = output_handle(fd);
    if (is_standard_stream(fd) && file == dpl::platform::kNoFile) {
        report("GetStdHandle()", dpl::platform::err::kInvalidHandle, site::kStdHandle);
        errno = EBADF;
        return -1;
    }
    SysError error;
    uint32_t done = 0;
    if (!dpl::platform::current().write_once(file, buffer, count, &done, &error)) {
        if (errno_from(error) != EBADF) report("WriteFile()", error.native, site::kWrite);
        return -1;
    }
    return static_cast<int32_t>(done);
}

int32_t nt_close(int32_t fd) {
    SysError error;
    if (!dpl::platform::current().close_descriptor(handle_of(fd), &error)) {
        if (errno_from(error) != EBADF) report("CloseHandle()", error.native, site::kClose);
        return -1;
    }
    return 0;
}

int64_t nt_lseek(int32_t fd, int64_t offset, int32_t whence) {
    using dpl::platform::SeekFrom;
    if (whence != DPL_SEEK_SET && whence != DPL_SEEK_CUR && whence != DPL_SEEK_END) {
        errno = EINVAL;
        return -1;
    }
    const SeekFrom from = whence == DPL_SEEK_SET
                              ? SeekFrom::Start
                              : (whence == DPL_SEEK_CUR ? SeekFrom::Current : SeekFrom::End);
    SysError error;
    int64_t position = 0;
    if (!dpl::platform::current().seek(handle_of(fd), offset, from, &position, &error)) {
        report("SetFilePointer()", error.native, site::kSeek);
        errno = EBADF;
        return -1;
    }
    return position;
}

int32_t nt_unlink(const char *path) {
    if (path == nullptr) {
        errno = EINVAL;
        return -1;
    }
    return descriptor_call<int32_t>([&]() -> int32_t {
        const std::string name(path);
        dpl::platform::Platform &os = dpl::platform::current();
        SysError error;
        // A read-only file is made deletable first.
        if (!os.make_deletable(name, &error)) {
            if (errno_from(error) != ENOENT) report("SetFileAttributes()", error.native, site::kAttributes);
            return -1;
        }
        if (!os.delete_file(name, &error)) {
            if (errno_from(error) != ENOENT) report("DeleteFile()", error.native, site::kDelete);
            return -1;
        }
        return 0;
    });
}

}  // extern "C"
