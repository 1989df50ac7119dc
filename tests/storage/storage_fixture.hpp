// A block with the trace facility writing everything to a log in a scratch
// directory, for the storage and machine-figure tests.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <string>

#if defined(_WIN32)
#include <windows.h>
#else
#include <sys/statvfs.h>
#endif

#include "dpl/dpl.h"
#include "support/test_support.hpp"
#include "trace/trace_state.hpp"

namespace dpl::test {

class StorageTest : public ::testing::Test {
protected:
    void SetUp() override {
        trace::reset_for_tests();
        set_env("INSTALL_LOG", nullptr);
        ASSERT_EQ(HT_OK, ht_trace_start(log_path.c_str(), nullptr, 9, 0, "p"));
        block = init_API(0, 1, "p", "12.10.FC1");
        ASSERT_NE(nullptr, block);
    }
    void TearDown() override {
        finish(block);
        trace::reset_for_tests();
    }
    std::string log() const { return read_file_text(log_path); }
    // A directory below the scratch directory, made on the spot.
    std::string subdirectory(const std::string &name) const {
        std::filesystem::create_directories(dir.file(name));
        return dir.file(name);
    }

    ScratchDir dir;
    const std::string log_path = dir.file("install.log");
    InstallControlBlock *block = nullptr;
};

inline bool contains(const std::string &text, const std::string &part) {
    return text.find(part) != std::string::npos;
}

struct VolumeKb {
    uint64_t total = 0;
    uint64_t available = 0;
};

// What the system itself reports for the volume of `directory`.
inline VolumeKb system_volume(const std::string &directory) {
    VolumeKb kb;
#if defined(_WIN32)
    ULARGE_INTEGER available{}, total{}, free{};
    if (GetDiskFreeSpaceExA(directory.c_str(), &available, &total, &free)) {
        kb.total = total.QuadPart >> 10;
        kb.available = available.QuadPart >> 10;
    }
#else
    struct statvfs info {};
    if (statvfs(directory.c_str(), &info) == 0) {
        kb.total = (static_cast<uint64_t>(info.f_blocks) * info.f_frsize) >> 10;
        kb.available = (static_cast<uint64_t>(info.f_bavail) * info.f_frsize) >> 10;
    }
#endif
    return kb;
}

// Other processes write to the same volume: a figure counts as the
// system's when it lies between what the system reports just before and
// just after it. `expected` picks the figure out of the system's report.
inline bool between(uint64_t value, uint64_t one, uint64_t other) {
    return (one <= value && value <= other) || (other <= value && value <= one);
}

template <class Query, class Expected>
bool matches_system(const std::string &directory, Query &&query, Expected &&expected) {
    for (int attempt = 0; attempt < 20; ++attempt) {
        const VolumeKb before = system_volume(directory);
        const uint64_t ours = query();
        const VolumeKb after = system_volume(directory);
        if (between(ours, expected(before), expected(after))) return true;
    }
    return false;
}

}  // namespace dpl::test
