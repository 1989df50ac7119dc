// Timing every storage location offered for the server: a scratch file per
// directory (or the named file itself), 10 MB read and 10 MB written, and a
// summary of the figures in the instance's recommendation.
#include <cerrno>
#include <string>

#include "core/control_block.hpp"
#include "platform/platform.hpp"
#include "sysinfo/speed_io.hpp"
#include "trace/trace.hpp"

namespace dpl::sysinfo {
namespace {

using trace::kSysinfo;

constexpr const char *kScratchName = "mtest";

bool is_speed_failure(int32_t rc) {
    return rc == DPL_E_DISK_SLOW || rc == DPL_E_NO_DIRECTORY;
}

bool exists(const std::string &path) {
    platform::PathStatus status;
    platform::SysError error;
    return platform::current().path_status(path, &status, &error);
}

// The open test file of one location: closed, and removed when this run
// made it, however the test ends.
class TestFile {
public:
    TestFile() = default;
    TestFile(const TestFile &) = delete;
    TestFile &operator=(const TestFile &) = delete;
    ~TestFile() { release(nullptr); }

    void open(int32_t fd, std::string made) {
        fd_ = fd;
        made_ = std::move(made);
    }
    int32_t fd() const { return fd_; }

    // Closes and removes; a failed removal is reported under `report_as`
    // when given, and does not count as a failure.
    void release(const char *report_as) {
        if (fd_ != -1) nt_close(fd_);
        fd_ = -1;
        if (made_.empty()) return;
        if (nt_unlink(made_.c_str()) != 0 && report_as != nullptr) {
            const int error = errno;
            ht_log("Unable to remove %s rc = %d\n", report_as, error);
        }
        made_.clear();
    }

private:
    int32_t fd_ = -1;
    std::string made_;
};

struct Sums {
    int64_t read = 0;
    int64_t write = 0;
    int32_t count = 0;
};

// Opens the location's test file, making it (and `created`) when it is not
// there. 0, the creation's negative code, or -980.
int32_t open_test_file(InstallControlBlock &block, const DiskLocation &location, bool *created,
                       TestFile *file) {
    const std::string path = location.path;
    std::string test_path;
    std::string real_file;
    if (location.is_file != 0) {
        test_path = path;
        // A leading "*" only asks for unbuffered I/O; the file is what follows.
        const std::size_t plain = path.find_first_not_of('*');
        real_file = plain == std::string::npos ? std::string() : path.substr(plain);
    } else {
        const char separator = platform::current().path_separator();
        real_file = path + separator + kScratchName;
        // The leading "*" asks the file layer for unbuffered I/O.
        test_path = "*" + real_file;
        ht_debug(2, kSysinfo, __LINE__, "testpathfile %s.", test_path.c_str());
        ht_debug(2, kSysinfo, __LINE__, "realfile %s.", real_file.c_str());
    }
    if (location.is_file != 0 && exists(real_file)) {
        const int32_t fd = nt_open(test_path.c_str(), DPL_O_RDWR);
        if (fd == -1) return DPL_E_NO_DIRECTORY;
        file->open(fd, std::string());
        return DPL_OK;
    }
    const int32_t made = dplCreateFile(&block, real_file.c_str());
    if (made < 0) {
        ht_log("Failed to create file %s for testing disk speed\n", test_path.c_str());
        return made;
    }
    const int32_t fd = nt_open(test_path.c_str(), DPL_O_CREAT | DPL_O_RDWR);
    if (fd == -1) {
        const int error = errno;
        ht_log("Unable to create disk %s - errno %d\n", path.c_str(), error);
        nt_unlink(real_file.c_str());
        return DPL_E_NO_DIRECTORY;
    }
    file->open(fd, real_file);
    *created = true;
    return made;
}

// Times one location and stores its figures. 0 or a negative code.
int32_t measure_location(InstallControlBlock &block, DiskLocation &location, bool *created, Sums *sums) {
    if (location.path == nullptr) return DPL_E_NULL_ARGUMENT;
    TestFile file;
    const int32_t opened = open_test_file(block, location, created, &file);
    if (opened < 0) return opened;
    // A new scratch file is filled first, so that there is something to read.
    if (*created) {
        const int32_t filled = test_write_speed(&block, &location, file.fd(), kMeasureBytes, 0);
        if (filled < 0) return filled;
    }
    ht_log("Measuring read speed %s...\n", location.path);
    const int32_t read_speed = test_read_speed(&block, &location, file.fd(), kMeasureBytes, 1);
    if (read_speed < 0) {
        if (is_speed_failure(read_speed))
            ht_log("Received disk error during read speed test r_speed = %d", read_speed);
        return read_speed;
    }
    location.read_speed = read_speed;
    ht_log("Measuring write speed %s...\n", location.path);
    const int32_t write_speed = test_write_speed(&block, &location, file.fd(), kMeasureBytes, 1);
    if (write_speed < 0) {
        if (is_speed_failure(write_speed))
            ht_log("Received disk error during write speed test w_speed = %d", write_speed);
        return write_speed;
    }
    // The write test answers its status, so a tested location's write figure is 0.
    location.write_speed = write_speed;
    sums->read += read_speed;
    sums->write += write_speed;
    const std::string shown = location.is_file != 0 ? std::string(location.path)
                                                    : "*" + std::string(location.path) +
                                                          platform::current().path_separator() + kScratchName;
    file.release(shown.c_str());
    ++sums->count;
    return opened;
}

int32_t measure_all(InstallControlBlock &block) {
    Recommendation *summary = dplGetRecommendationRecord(&block);
    if (summary == nullptr) return DPL_E_BAD_CONTEXT;
    DiskLocation *first = block.disk_locations.head();
    ht_log("Testing speed fotr disk '%s'.",
           first != nullptr && first->path != nullptr ? first->path : "(null)");
    summary->cleaners = 1;
    Sums sums;
    bool created = false;
    int32_t result = DPL_OK;
    for (DiskLocation *location = first; location != nullptr; location = location->next) {
        ++summary->cleaners;
        if (location->measured != 0) {
            sums.read += location->read_speed;
            sums.write += location->write_speed;
            ++sums.count;
            continue;
        }
        result = measure_location(block, *location, &created, &sums);
        if (result < 0) return result;
    }
    summary->disk_count = sums.count;
    const int64_t average_write = sums.count != 0 ? sums.write / sums.count : 0;
    const int64_t average_read = sums.count != 0 ? sums.read / sums.count : 0;
    summary->disk_speed_avg = static_cast<int32_t>((average_read + average_write) / 2);
    summary->disk_speed_avg_eighth = summary->disk_speed_avg / 8;
    summary->disk_speed_min =
        static_cast<int32_t>(average_read < average_write ? average_read : average_write);
    return result;
}

}  // namespace
}  // namespace dpl::sysinfo

extern "C" int32_t measure_disk_speed(InstallControlBlock *pointer) {
    return dpl::trace::traced_call(dpl::trace::kSysinfo, __LINE__, "measure_disk_speed", [&]() -> int32_t {
        InstallControlBlock *block = dpl::core::as_block(pointer);
        if (block == nullptr) return DPL_E_BAD_CONTEXT;
        return dpl::sysinfo::measure_all(*block);
    });
}
