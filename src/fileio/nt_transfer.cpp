// nt_readfile and nt_writefile: one transfer where the caller's record says,
// with the overlapped-I/O outcomes sorted into errno values.
#include <cerrno>

#include "dpl/dpl.h"
#include "fileio/nt_report.hpp"

using dpl::platform::SysError;

namespace {

constexpr uint32_t kNotEnoughMemory = 8;
constexpr uint32_t kHandleEof = 38;
constexpr uint32_t kIoPending = 997;
constexpr uint32_t kInvalidUserBuffer = 1784;

int32_t outcome(const SysError &error, const char *call, int line) {
    switch (error.win32) {
        case kNotEnoughMemory:
            errno = EAGAIN;
            return -1;
        case kHandleEof:
            dpl::fileio::report(call, error.native, line);
            errno = ENXIO;
            return -1;
        case kIoPending:
            // Started, not failed: the caller waits for it.
            errno = EDEADLK;
            return 0;
        case kInvalidUserBuffer:
            dpl::fileio::report(call, error.native, line);
            errno = EFAULT;
            return -1;
        default:
            dpl::fileio::report(call, error.native, line);
            dpl::fileio::errno_from(error);
            return -1;
    }
}

// ReadFile and WriteFile need somewhere to put the count unless the
// transfer is overlapped.
bool arguments_usable(const void *buffer, uint32_t count, const DplIoCount *done,
                      const DplOverlapped *where) {
    if (buffer == nullptr && count > 0) return false;
    return done != nullptr || where != nullptr;
}

}  // namespace

extern "C" {

int32_t nt_readfile(DplNativeFile file, void *buffer, uint32_t count, DplIoCount *done,
                    DplOverlapped *overlapped) {
    if (!arguments_usable(buffer, count, done, overlapped)) {
        errno = EINVAL;
        return -1;
    }
    SysError error;
    if (dpl::platform::current().read_at(dpl::fileio::handle_of(file), buffer, count, done, overlapped,
                                         &error)) {
        return 0;
    }
    return outcome(error, "ReadFile()", dpl::fileio::site::kReadFile);
}

int32_t nt_writefile(DplNativeFile file, const void *buffer, uint32_t count, DplIoCount *done,
                     DplOverlapped *overlapped) {
    if (!arguments_usable(buffer, count, done, overlapped)) {
        errno = EINVAL;
        return -1;
    }
    SysError error;
    if (dpl::platform::current().write_at(dpl::fileio::handle_of(file), buffer, count, done, overlapped,
                                          &error)) {
        return 0;
    }
    return outcome(error, "WriteFile()", dpl::fileio::site::kWriteFile);
}

}  // extern "C"
