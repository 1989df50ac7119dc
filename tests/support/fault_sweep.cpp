#include "support/fault_sweep.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <iostream>
#include <optional>

#include "support/fault_injection.hpp"
#include "support/test_support.hpp"

namespace dpl::test {
namespace {

using Snapshot = std::optional<std::string>;

Snapshot snapshot(const std::string &path) {
    if (!std::filesystem::exists(path)) return std::nullopt;
    return read_file(path);
}

std::string shown(const Snapshot &content) {
    if (!content) return "<absent>";
    return std::to_string(content->size()) + " bytes";
}

// Files of an interrupted replacement in the directories of the watched files.
std::vector<std::string> leftovers(const std::vector<WatchedFile> &files) {
    std::vector<std::string> found;
    for (const WatchedFile &file : files) {
        const std::filesystem::path directory = std::filesystem::path(file.path).parent_path();
        std::error_code error;
        for (const auto &entry : std::filesystem::directory_iterator(directory, error)) {
            const std::string name = entry.path().filename().string();
            if (name.find(".dpl-new-") != std::string::npos) found.push_back(entry.path().string());
        }
    }
    return found;
}

bool whole_line_beginning(const std::string &part, const std::string &whole) {
    return whole.compare(0, part.size(), part) == 0 && (part.empty() || part.back() == '\n');
}

struct Expectation {
    std::vector<Snapshot> old_content;
    std::vector<Snapshot> new_content;
};

void check_files(const FaultSweep &sweep, const Expectation &expected, int32_t rc, const std::string &where) {
    for (std::size_t i = 0; i < sweep.files.size(); ++i) {
        const WatchedFile &file = sweep.files[i];
        const Snapshot now = snapshot(file.path);
        const bool new_one = now == expected.new_content[i];
        if (rc == 0 && file.new_on_success) {
            EXPECT_TRUE(new_one) << where << ": " << file.path << " is not new after a success";
            continue;
        }
        const bool old_one = now == expected.old_content[i];
        const bool partial = file.partial_codes.count(rc) == 1 && now && expected.new_content[i] &&
                             whole_line_beginning(*now, *expected.new_content[i]);
        EXPECT_TRUE(old_one || new_one || partial)
            << where << ": " << file.path << " is neither old (" << shown(expected.old_content[i])
            << ") nor new (" << shown(expected.new_content[i]) << ") but " << shown(now);
    }
}

}  // namespace

uint64_t run_fault_sweep(const FaultSweep &sweep) {
    FaultInjectionPlatform faults;
    Expectation expected;

    faults.arm(0, false);
    sweep.prepare();
    for (const WatchedFile &file : sweep.files) expected.old_content.push_back(snapshot(file.path));
    const int32_t clean = sweep.run();
    const uint64_t total = faults.calls();
    sweep.release();
    EXPECT_EQ(0, clean) << "the run without faults";
    for (const WatchedFile &file : sweep.files) expected.new_content.push_back(snapshot(file.path));
    EXPECT_TRUE(leftovers(sweep.files).empty()) << "the run without faults left a replacement file";
    std::cout << "[ sweep    ] " << total << " calls, each failed once and from then on\n";

    for (const bool persistent : {false, true}) {
        for (uint64_t call = 1; call <= total; ++call) {
            faults.arm(0, false);
            sweep.prepare();
            faults.arm(call, persistent);
            const int32_t rc = sweep.run();
            const std::string where = std::string(persistent ? "from call " : "call ") +
                                      std::to_string(call) + " of " + std::to_string(total) + " failing (" +
                                      faults.first_failed() + ")";
            const bool deletion_failed = faults.failed_delete();
            faults.arm(0, false);
            sweep.release();
            EXPECT_TRUE(sweep.codes.count(rc) == 1) << where << ": undocumented result " << rc;
            check_files(sweep, expected, rc, where);
            if (leftovers(sweep.files).empty()) continue;
            // Only a refused deletion may leave a replacement behind, and the
            // next write of the file removes it.
            EXPECT_TRUE(deletion_failed) << where << ": a replacement file was left behind";
            sweep.prepare();
            EXPECT_EQ(0, sweep.run()) << where << ": the write after it";
            sweep.release();
            EXPECT_TRUE(leftovers(sweep.files).empty())
                << where << ": the next write left a replacement file";
        }
    }
    return total;
}

}  // namespace dpl::test
