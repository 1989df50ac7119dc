// Listing the registered instances of a machine with many of them, stopping
// them all, and asking whether an instance is running.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

#include "dpl/dpl.h"

namespace {

// A scratch machine root whose registry holds `count` instances, each with
// its Environment key, as the deployment leaves them.
class RegisteredMachine {
public:
    explicit RegisteredMachine(int count) {
        root_ = std::filesystem::temp_directory_path() / ("dpl-discovery-bench-" + std::to_string(count));
        std::filesystem::create_directories(root_ / "var" / "lib" / "dpl");
        std::string text = "Windows Registry Editor Version 5.00\r\n\r\n";
        for (int i = 0; i < count; ++i) {
            const std::string server = "ol_bench" + std::to_string(i);
            text += "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Orvandex\\Online\\" + server +
                    "]\r\n\"Version\"=\"12.10.FC1\"\r\n\r\n";
            text += "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Orvandex\\Online\\" + server +
                    "\\Environment]\r\n\"ORVANDEXDIR\"=\"C:\\\\Inst" + std::to_string(i % 2) +
                    "\"\r\n\"ORVANDEXSERVER\"=\"" + server + "\"\r\n\r\n";
        }
        std::ofstream(root_ / "var" / "lib" / "dpl" / "registry.reg", std::ios::binary | std::ios::trunc)
            << text;
        ::setenv("DPL_SYSROOT", root_.string().c_str(), 1);
    }
    RegisteredMachine(const RegisteredMachine &) = delete;
    RegisteredMachine &operator=(const RegisteredMachine &) = delete;
    ~RegisteredMachine() {
        ::unsetenv("DPL_SYSROOT");
        std::error_code ignored;
        std::filesystem::remove_all(root_, ignored);
    }

private:
    std::filesystem::path root_;
};

void GetInstanceNames(benchmark::State &state) {
    const RegisteredMachine machine(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        int32_t count = 0;
        char **names = get_instance_names(nullptr, &count);
        if (count != state.range(0)) state.SkipWithError("instances missing");
        dplFreeNameList(names, count);
    }
    state.SetComplexityN(state.range(0));
}
BENCHMARK(GetInstanceNames)
    ->Arg(100)
    ->Arg(250)
    ->Arg(500)
    ->Arg(1000)
    ->Unit(benchmark::kMillisecond)
    ->Complexity();

// Every instance is registered but neither it nor its listener is a service
// of the machine any more.
void StopInstallationInstances(benchmark::State &state) {
    const RegisteredMachine machine(static_cast<int>(state.range(0)));
    InstallControlBlock *block = init_API(0, 1, "Orvandex", "12.10.FC1");
    if (block == nullptr) state.SkipWithError("no block");
    for (auto _ : state) {
        if (dplStopInstallationInstances(block, "C:\\Inst0") != 0) state.SkipWithError("not stopped");
    }
    finish(block);
    state.SetComplexityN(state.range(0));
}
BENCHMARK(StopInstallationInstances)->Arg(100)->Arg(1000)->Unit(benchmark::kMillisecond)->Complexity();

void InstanceEventExists(benchmark::State &state) {
    const RegisteredMachine machine(1);
    const bool running = state.range(0) != 0;
    if (running && dplCreateInstanceMarker("ol_bench_running") != 0) state.SkipWithError("no marker");
    const char *name = running ? "ol_bench_running" : "ol_bench_stopped";
    for (auto _ : state) benchmark::DoNotOptimize(instance_event_exists(name));
    if (running) dplReleaseInstanceMarker("ol_bench_running");
}
BENCHMARK(InstanceEventExists)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

}  // namespace
