// The timed read and write of one storage location through the descriptor
// file layer.
#include <cerrno>
#include <cstdint>

#include "core/control_block.hpp"
#include "platform/platform.hpp"
#include "sysinfo/speed_io.hpp"
#include "trace/trace.hpp"

namespace dpl::sysinfo {
namespace {

using trace::kSysinfo;

constexpr int32_t kIosFactor = static_cast<int32_t>(kBytesPerMb / static_cast<int64_t>(kPageSize));

const char *path_of(const DiskLocation &location) {
    return location.path != nullptr ? location.path : "(null)";
}

int32_t timed_read(DiskLocation &location, int32_t fd, int64_t measure_size, int32_t measure) {
    const std::size_t block = io_block_size(measure);
    AlignedBuffer buffer(block);
    platform::Platform &os = platform::current();
    const uint64_t start = os.ticks();
    uint64_t now = start;
    int64_t done = 0;
    int64_t ios = 0;
    while (done < measure_size) {
        const int64_t position = location.offset + done;
        if (nt_lseek(fd, position, DPL_SEEK_SET) != position) {
            const int error = errno;
            ht_log("Seek failed at pos %d in read errno = %d\n", static_cast<int>(position), error);
            return DPL_E_NO_DIRECTORY;
        }
        errno = 0;
        int32_t got = nt_read(fd, buffer.data(), static_cast<uint32_t>(block));
        while (got == -1 && errno == EINTR) {
            errno = 0;
            got = nt_read(fd, buffer.data(), static_cast<uint32_t>(block));
        }
        if (errno != 0) {
            const int error = errno;
            ht_log("Error %d doing I/O to disk nb = %d", error, got);
            return DPL_E_NO_DIRECTORY;
        }
        done += static_cast<int64_t>(block);
        ++ios;
        now = os.ticks();
        if (measure != 0 && seconds_between(start, now) > kTooSlowSeconds) {
            ht_log("Device '%s' too slow.\nUnable to configure system.\n", path_of(location));
            return DPL_E_DISK_SLOW;
        }
    }
    if (measure == 0) return 0;
    const double seconds = seconds_between(start, now);
    const long long megabytes = done / kBytesPerMb;
    const double rate = static_cast<double>(megabytes) / seconds;
    const double ios_per_second = static_cast<double>(ios) / seconds;
    const int32_t speed = speed_figure(kIosFactor * rate);
    ht_log("%lld MB in %.3f secs, Rate: %.3f MB/sec, IO: %.3f ios/sec r_speed %d\n", megabytes, seconds, rate,
           ios_per_second, speed);
    return speed;
}

int32_t timed_write(DiskLocation &location, int32_t fd, int64_t measure_size, int32_t measure) {
    const std::size_t block = io_block_size(measure);
    AlignedBuffer buffer(block);
    if (nt_lseek(fd, location.offset, DPL_SEEK_SET) != location.offset) {
        ht_debug(2, kSysinfo, __LINE__, "Seek failed at pos %d in write errno = %d", location.offset, errno);
        return DPL_E_NO_DIRECTORY;
    }
    platform::Platform &os = platform::current();
    const uint64_t start = os.ticks();
    uint64_t now = start;
    int64_t done = 0;
    int64_t ios = 0;
    int32_t status = DPL_OK;
    while (done < measure_size) {
        errno = 0;
        int32_t put = nt_write(fd, buffer.data(), static_cast<uint32_t>(block));
        while (put == -1 && errno == EINTR) {
            errno = 0;
            put = nt_write(fd, buffer.data(), static_cast<uint32_t>(block));
        }
        if (put != static_cast<int32_t>(block) && errno != 0) {
            const int error = errno;
            ht_log("Error %d doing I/O to disk nb = %d", error, put);
            status = DPL_E_NO_DIRECTORY;
            break;
        }
        done += static_cast<int64_t>(block);
        ++ios;
        now = os.ticks();
        if (measure != 0 && seconds_between(start, now) > kTooSlowSeconds) {
            ht_log("Device '%s' too slow. Unable to configure system.", path_of(location));
            status = DPL_E_DISK_SLOW;
            break;
        }
    }
    if (status == DPL_OK && measure != 0) {
        const double seconds = seconds_between(start, now);
        const long long megabytes = done / kBytesPerMb;
        const double rate = static_cast<double>(megabytes) / seconds;
        const double ios_per_second = static_cast<double>(ios) / seconds;
        location.write_rate = rate;
        ht_log("Disk rated at: %lld MB in %.3f secs, Rate: %.3f MB/sec, IO: %.3f ios/sec w_speed %d\n",
               megabytes, seconds, rate, ios_per_second, speed_figure(static_cast<double>(kPageSize) * rate));
    }
    ht_debug(9, kSysinfo, __LINE__, "releasing buffer at 0x%x.",
             static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(buffer.data())));
    return status;
}

// A null block is read through (nothing of it is needed); a foreign one is
// refused.
bool foreign_block(InstallControlBlock *pointer) {
    return pointer != nullptr && core::as_block(pointer) == nullptr;
}

}  // namespace
}  // namespace dpl::sysinfo

extern "C" {

int32_t test_read_speed(InstallControlBlock *block, DiskLocation *location, int32_t fd, int64_t measure_size,
                        int32_t measure) {
    if (dpl::sysinfo::foreign_block(block)) return DPL_E_BAD_CONTEXT;
    if (location == nullptr) return DPL_E_NULL_ARGUMENT;
    try {
        return dpl::sysinfo::timed_read(*location, fd, measure_size, measure);
    } catch (const std::bad_alloc &) {
        return DPL_E_NOMEM;
    } catch (...) {
        return DPL_E_FAIL;
    }
}

int32_t test_write_speed(InstallControlBlock *block, DiskLocation *location, int32_t fd, int64_t measure_size,
                         int32_t measure) {
    return dpl::trace::traced_call(dpl::trace::kSysinfo, __LINE__, "test_write_speed", [&]() -> int32_t {
        ht_debug(2, dpl::trace::kSysinfo, __LINE__, "fd = %d, measure_size = %ld, measure = %d.", fd,
                 static_cast<long>(measure_size), measure);
        if (dpl::sysinfo::foreign_block(block)) return DPL_E_BAD_CONTEXT;
        if (location == nullptr) return DPL_E_NULL_ARGUMENT;
        return dpl::sysinfo::timed_write(*location, fd, measure_size, measure);
    });
}

}  // extern "C"
