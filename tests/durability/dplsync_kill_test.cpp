// dplsync killed in the middle of writing: a 20,000-alias merge into a
// 20,000-alias target, killed at a random moment once the write has begun.
// After every kill the target and the services database must each hold
// exactly their old or their new content, and the next run removes what the
// killed one left.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <random>
#include <string>
#include <thread>

#include "platform/platform.hpp"
#include "support/test_support.hpp"

namespace dpl::test {
namespace {

using Clock = std::chrono::steady_clock;

#ifdef _WIN32
constexpr int kKills = 20;  // each Wine process start costs a good part of a second
constexpr int kWorkers = 1;
#else
constexpr int kKills = 100;
constexpr int kWorkers = 2;
#endif
constexpr int kAliases = 20000;

std::string sqlhosts_text(const std::string &prefix) {
    std::string text = "# " + prefix + " aliases\n";
    for (int i = 0; i < kAliases; ++i) {
        text += prefix + std::to_string(i) + " onsoctcp localhost svc_" + std::to_string(i % 50) +
                (i % 7 == 0 ? " k=1" : "") + "\n";
    }
    return text;
}

const std::string kOldTarget = sqlhosts_text("ol_tgt_");

bool has_replacement(const std::filesystem::path &directory) {
    std::error_code error;
    for (const auto &entry : std::filesystem::directory_iterator(directory, error))
        if (entry.path().filename().string().find(".dpl-new-") != std::string::npos) return true;
    return false;
}

// One directory with its source and target, and the dplsync run on it.
struct Worker {
    ScratchDir dir;
    std::string source = dir.file("source");
    std::string target = dir.file("target");
    std::unique_ptr<ChildProcess> run;
    bool write_seen = false;
    Clock::time_point kill_at;

    void start() {
        write_file(target, kOldTarget);
        run = std::make_unique<ChildProcess>(DPL_TEST_DPLSYNC,
                                             std::vector<std::string>{"-source", source, "-target", target});
        write_seen = false;
    }
    // The write has begun when a replacement file appears or the target
    // itself changes size (a rewrite in place would truncate it first).
    bool writing(uintmax_t old_size) {
        std::error_code error;
        const uintmax_t size = std::filesystem::file_size(target, error);
        return has_replacement(dir.path()) || error || size != old_size;
    }
};

TEST(DplsyncKill, EveryKillLeavesTheOldOrTheNewFilesWhole) {
    const std::string source_text = sqlhosts_text("ol_src_");
    const std::string services = platform::current().services_database_path();
#ifndef _WIN32
    ScratchDir machine;
    set_env("DPL_SYSROOT", machine.path().string().c_str());
    std::filesystem::create_directories(machine.path() / "etc");
    std::string services_text;
    for (int i = 0; i < 50; ++i)
        services_text += "svc_" + std::to_string(i) + " " + std::to_string(20000 + i) + "/tcp\n";
    write_file(machine.file("etc/services"), services_text);
#endif
    const std::string old_services = read_file(platform::current().services_database_path());

    std::vector<Worker> workers(kWorkers);
    for (Worker &worker : workers) write_file(worker.source, source_text);
    // One whole run gives the new content and how long a write lasts.
    Worker &first = workers.front();
    first.start();
    ASSERT_TRUE(first.run->started());
    const uintmax_t old_size = std::filesystem::file_size(first.target);
    while (!first.run->ended() && !first.writing(old_size))
        std::this_thread::sleep_for(std::chrono::microseconds(100));
    const Clock::time_point write_began = Clock::now();
    ASSERT_EQ(0, first.run->wait());
    const auto write_time = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - write_began);
    const std::string new_target = read_file(first.target);
    const std::string new_services = read_file(services);
    ASSERT_NE(kOldTarget, new_target);

    std::mt19937 random(20261121);
    // Kills spread over the whole write and a little beyond it.
    std::uniform_int_distribution<long long> delay(0, write_time.count() * 5 / 4 + 1);
    int kills = 0, old_left = 0, new_left = 0, finished = 0, started = 0;
    for (Worker &worker : workers) worker.start();
    started = kWorkers;
    while (kills < kKills && started < 3 * kKills) {
        for (Worker &worker : workers) {
            bool done = worker.run->ended();
            if (!done && !worker.write_seen && worker.writing(old_size)) {
                worker.write_seen = true;
                worker.kill_at = Clock::now() + std::chrono::microseconds(delay(random));
            }
            if (!done && worker.write_seen && Clock::now() >= worker.kill_at) {
                if (worker.run->kill()) ++kills;
                done = true;
            }
            if (!done) continue;
            if (worker.run->exit_code() == 0) ++finished;
            const std::string target = read_file(worker.target);
            EXPECT_TRUE(target == kOldTarget || target == new_target)
                << "target torn after " << kills << " kills: " << target.size() << " bytes";
            const std::string services_now = read_file(services);
            EXPECT_TRUE(services_now == old_services || services_now == new_services) << "services torn";
            (target == kOldTarget ? old_left : new_left) += 1;
            if (::testing::Test::HasFailure()) return;
            worker.start();
            ++started;
        }
        // A write lasts many milliseconds: looking every millisecond is soon
        // enough, and a kill that is due is not kept waiting.
        Clock::time_point wake = Clock::now() + std::chrono::milliseconds(1);
        for (const Worker &worker : workers)
            if (worker.write_seen && worker.kill_at < wake) wake = worker.kill_at;
        std::this_thread::sleep_until(wake);
    }
    for (Worker &worker : workers) worker.run.reset();
    EXPECT_GE(kills, kKills);
    std::cout << "[ kills    ] " << kills << " kills, " << finished << " whole runs; old content " << old_left
              << " times, new " << new_left << " times; write lasts " << write_time.count() << " us\n";

    // The next whole run removes what the killed ones left.
    for (Worker &worker : workers) {
        worker.start();
        EXPECT_EQ(0, worker.run->wait());
        EXPECT_EQ(new_target, read_file(worker.target));
        EXPECT_FALSE(has_replacement(worker.dir.path()));
    }
#ifndef _WIN32
    set_env("DPL_SYSROOT", nullptr);
#endif
}

}  // namespace
}  // namespace dpl::test
