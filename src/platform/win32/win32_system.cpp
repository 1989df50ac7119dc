// Device numbers, volume sizes, processors, memory and the tick counter on
// Windows.
#include <sys/stat.h>
#include <sys/types.h>

#include <cerrno>

#include "platform/win32/win32_platform.hpp"

#if defined(_M_X64) || defined(__x86_64__)
#include <intrin.h>
#define DPL_HAVE_TSC 1
#endif

namespace dpl::platform::win32 {

bool Win32Platform::device_number(const std::string &path, uint32_t *device, SysError *error) {
    struct _stat64 info {};
    if (_stat64(path.c_str(), &info) != 0) {
        const int number = errno;
        if (error != nullptr) {
            error->native = static_cast<uint32_t>(number);
            error->win32 = number == ENOENT ? ERROR_FILE_NOT_FOUND : ERROR_INVALID_PARAMETER;
        }
        return false;
    }
    if (device != nullptr) *device = static_cast<uint32_t>(info.st_dev);
    return true;
}

bool Win32Platform::volume_space(const std::string &directory, VolumeSpace *space, SysError *error) {
    ULARGE_INTEGER available{};
    ULARGE_INTEGER total{};
    ULARGE_INTEGER free{};
    if (!GetDiskFreeSpaceExA(directory.c_str(), &available, &total, &free)) {
        const DWORD code = GetLastError();
        if (error != nullptr) {
            error->native = code;
            error->win32 = code;
        }
        return false;
    }
    if (space != nullptr) {
        space->total = total.QuadPart;
        space->free = free.QuadPart;
        space->available = available.QuadPart;
    }
    return true;
}

uint32_t Win32Platform::processor_count() {
    SYSTEM_INFO info{};
    GetSystemInfo(&info);
    return info.dwNumberOfProcessors;
}

uint64_t Win32Platform::physical_memory_bytes() {
    MEMORYSTATUSEX status{};
    status.dwLength = sizeof status;
    if (!GlobalMemoryStatusEx(&status)) return 0;
    return status.ullTotalPhys;
}

// The registry's "~MHz" is Windows' own figure; there is no other.
std::optional<uint32_t> Win32Platform::processor_mhz() {
    return std::nullopt;
}

uint64_t Win32Platform::ticks() {
#if defined(DPL_HAVE_TSC)
    return __rdtsc();
#else
    LARGE_INTEGER now{};
    QueryPerformanceCounter(&now);
    return static_cast<uint64_t>(now.QuadPart);
#endif
}

std::optional<int64_t> Win32Platform::tick_rate() {
#if defined(DPL_HAVE_TSC)
    return std::nullopt;
#else
    LARGE_INTEGER rate{};
    QueryPerformanceFrequency(&rate);
    return static_cast<int64_t>(rate.QuadPart);
#endif
}

}  // namespace dpl::platform::win32
