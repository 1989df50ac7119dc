// The native backend with a fixed clock and fixed ids, standard output
// captured, and lock results that a test can script.
#pragma once

#include <deque>
#include <string>

#include "support/installed_platform.hpp"

namespace dpl::test {

class RecordingPlatform : public InstalledPlatform {
public:
    bool local_time(std::tm *out) override {
        if (!clock_works) return false;
        *out = std::tm{};
        out->tm_year = 2026 - 1900;
        out->tm_mon = 10;
        out->tm_mday = 21;
        out->tm_hour = 9;
        out->tm_min = 8;
        out->tm_sec = 7;
        return true;
    }
    uint32_t thread_id() override { return 42; }
    uint32_t process_id() override { return 4242; }

    bool write_file(platform::FileHandle file, const void *data, std::size_t size) override {
        if (file == std_handle(platform::StdStream::Output)) {
            standard_output.append(static_cast<const char *>(data), size);
            return true;
        }
        return ForwardingPlatform::write_file(file, data, size);
    }

    platform::LockResult lock_file(platform::FileHandle file) override {
        ++lock_attempts;
        if (!scripted_locks.empty()) {
            const platform::LockResult result = scripted_locks.front();
            scripted_locks.pop_front();
            return result;
        }
        return ForwardingPlatform::lock_file(file);
    }
    void sleep_ms(uint32_t milliseconds) override { slept_ms += milliseconds; }

    bool clock_works = true;
    std::string standard_output;
    std::deque<platform::LockResult> scripted_locks;
    int lock_attempts = 0;
    uint32_t slept_ms = 0;
};

}  // namespace dpl::test
