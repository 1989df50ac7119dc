// What the descriptor calls share: turning descriptors into platform handles
// and back, setting errno from a system error, and the one fixed report of an
// unexpected failure.
#pragma once

#include <cerrno>
#include <cstdint>
#include <new>

#include "platform/platform.hpp"

namespace dpl::fileio {

// The lines that reports name, one per call site. Fixed numbers, so that a
// report reads the same whatever becomes of the source around it.
namespace site {
inline constexpr int kOpen = 349;
inline constexpr int kOpenSeek = 371;
inline constexpr int kOpenEnd = 378;
inline constexpr int kRead = 405;
inline constexpr int kStdHandle = 431;
inline constexpr int kWrite = 442;
inline constexpr int kClose = 461;
inline constexpr int kSeek = 493;
inline constexpr int kAttributes = 515;
inline constexpr int kDelete = 522;
inline constexpr int kFileInformation = 546;
inline constexpr int kReadFile = 640;
inline constexpr int kWriteFile = 676;
}  // namespace site

// A descriptor is the low 32 bits of a handle; handles fit in them.
inline platform::FileHandle handle_of(int32_t descriptor) {
    return static_cast<platform::FileHandle>(descriptor);
}
inline platform::FileHandle handle_of(void *handle) {
    return reinterpret_cast<platform::FileHandle>(handle);
}
inline int32_t descriptor_of(platform::FileHandle handle) {
    return static_cast<int32_t>(handle);
}

// Sets errno from the Windows code of `error` and answers it.
int errno_from(const platform::SysError &error);

// Prints "<call>: w32ec=<code> at API/nt_filio:<line>\n" on standard output.
void report(const char *call, uint32_t code, int line) noexcept;

// Runs `body`; memory running out inside answers -1 with ENOMEM, so nothing
// thrown crosses the C boundary.
template <class Result, class Body>
Result descriptor_call(Body &&body) noexcept {
    try {
        return body();
    } catch (...) {
        errno = ENOMEM;
        return static_cast<Result>(-1);
    }
}

}  // namespace dpl::fileio
