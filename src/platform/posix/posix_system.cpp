// Device numbers, volume sizes, processors, memory and the tick counter on
// POSIX systems.
#include "platform/posix/posix_system.hpp"

#include <sys/stat.h>
#include <sys/statvfs.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <fstream>

#include "platform/posix/posix_fileio.hpp"

#if defined(__x86_64__) || defined(__i386__)
#include <x86intrin.h>
#define DPL_HAVE_TSC 1
#endif

namespace dpl::platform::posix {
namespace {

bool fail_with_errno(SysError *error) {
    const int number = errno;
    if (error != nullptr) {
        error->native = static_cast<uint32_t>(number);
        error->win32 = win32_code_of(number);
    }
    return false;
}

#if !defined(DPL_HAVE_TSC)
constexpr int64_t kNanosecondsPerSecond = 1000000000;
#endif

}  // namespace

bool device_number(const std::string &path, uint32_t *device, SysError *error) {
    struct stat info {};
    if (::stat(path.c_str(), &info) != 0) return fail_with_errno(error);
    // Callers compare devices as 32-bit numbers.
    if (device != nullptr) *device = static_cast<uint32_t>(info.st_dev);
    return true;
}

bool volume_space(const std::string &directory, VolumeSpace *space, SysError *error) {
    struct statvfs info {};
    if (::statvfs(directory.c_str(), &info) != 0) return fail_with_errno(error);
    if (space != nullptr) {
        const uint64_t unit = info.f_frsize != 0 ? info.f_frsize : info.f_bsize;
        space->total = static_cast<uint64_t>(info.f_blocks) * unit;
        space->free = static_cast<uint64_t>(info.f_bfree) * unit;
        space->available = static_cast<uint64_t>(info.f_bavail) * unit;
    }
    return true;
}

uint32_t processor_count() {
    const long count = ::sysconf(_SC_NPROCESSORS_ONLN);
    return count > 0 ? static_cast<uint32_t>(count) : 1;
}

uint64_t physical_memory_bytes() {
    const long pages = ::sysconf(_SC_PHYS_PAGES);
    const long page_size = ::sysconf(_SC_PAGESIZE);
    if (pages <= 0 || page_size <= 0) return 0;
    return static_cast<uint64_t>(pages) * static_cast<uint64_t>(page_size);
}

std::optional<uint32_t> processor_mhz() {
    std::ifstream cpuinfo("/proc/cpuinfo");
    std::string line;
    while (std::getline(cpuinfo, line)) {
        if (line.rfind("cpu MHz", 0) != 0) continue;
        const std::size_t colon = line.find(':');
        if (colon == std::string::npos) return std::nullopt;
        const double mhz = std::strtod(line.c_str() + colon + 1, nullptr);
        if (!(mhz >= 1.0) || mhz > 1.0e6) return std::nullopt;
        return static_cast<uint32_t>(std::lround(mhz));
    }
    return std::nullopt;
}

uint64_t ticks() {
#if defined(DPL_HAVE_TSC)
    return __rdtsc();
#else
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<uint64_t>(now.tv_sec) * kNanosecondsPerSecond + static_cast<uint64_t>(now.tv_nsec);
#endif
}

std::optional<int64_t> tick_rate() {
#if defined(DPL_HAVE_TSC)
    return std::nullopt;
#else
    return kNanosecondsPerSecond;
#endif
}

}  // namespace dpl::platform::posix
