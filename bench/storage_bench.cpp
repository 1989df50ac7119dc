// Planning many spaces over three devices, the disk measurement of one
// location, and making and releasing a context (which must not time the
// processor).
#include <benchmark/benchmark.h>

#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include "dpl/dpl.h"

namespace {

// Existing directories on up to three different devices.
std::vector<std::string> device_directories() {
    std::vector<std::string> directories{std::filesystem::temp_directory_path().string()};
    for (const char *candidate : {"/dev/shm", "/sys/fs/cgroup"}) {
        std::error_code ignored;
        if (std::filesystem::is_directory(candidate, ignored)) directories.emplace_back(candidate);
    }
    while (directories.size() < 3) directories.push_back(directories.front());
    return directories;
}

void BM_CreateSpacesOverThreeDevices(benchmark::State &state) {
    const int count = static_cast<int>(state.range(0));
    const std::vector<std::string> directories = device_directories();
    std::vector<std::string> names;
    std::vector<std::string> paths;
    for (int i = 0; i < count; ++i) {
        names.push_back("space" + std::to_string(i));
        paths.push_back(directories[i % 3] + "/dpl-bench-chunk" + std::to_string(i));
    }
    for (auto _ : state) {
        InstallControlBlock *block = init_API(0, 1, "bench", "12.10.FC1");
        for (int i = 0; i < count; ++i) {
            dplCreateDBSpace(block, names[i].c_str(), paths[i].c_str(), "100M", "0", nullptr, nullptr,
                             nullptr, nullptr, nullptr, 0);
        }
        for (const std::string &directory : directories) {
            benchmark::DoNotOptimize(dplGetFileSysRequiredspace(block, directory.c_str(), 0));
        }
        finish(block);
    }
    state.SetComplexityN(count);
}
BENCHMARK(BM_CreateSpacesOverThreeDevices)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);

void BM_MeasureDiskSpeedOneLocation(benchmark::State &state) {
    const std::filesystem::path directory = std::filesystem::temp_directory_path() / "dpl-bench-disk";
    std::filesystem::create_directories(directory);
    InstallControlBlock *block = init_API(0, 1, "bench", "12.10.FC1");
    dplAddDiskLocation(block, directory.string().c_str(), 0, 0);
    for (auto _ : state) {
        if (measure_disk_speed(block) != 0) state.SkipWithError("measurement failed");
    }
    finish(block);
    std::filesystem::remove_all(directory);
}
BENCHMARK(BM_MeasureDiskSpeedOneLocation)->Iterations(5)->Unit(benchmark::kMillisecond);

void BM_InitAndFinish(benchmark::State &state) {
    for (auto _ : state) finish(init_API(0, 1, "bench", "12.10.FC1"));
}
BENCHMARK(BM_InitAndFinish)->Unit(benchmark::kMicrosecond);

}  // namespace
