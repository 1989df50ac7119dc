// Loading a large services file and asking for the port of every name in it.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>
#include <vector>

#include "dpl/dpl.h"

namespace {

constexpr int kLines = 50000;

// A file of kLines lines in the shape of a real one: mostly services with
// aliases, some comments and blank lines, names repeated for udp.
struct LargeFile {
    LargeFile() {
        std::string text;
        text.reserve(static_cast<std::size_t>(kLines) * 48);
        for (int i = 0; i < kLines; ++i) {
            const std::string name = "svc" + std::to_string(i / 2);
            if (i % 50 == 0) {
                text += "# block " + std::to_string(i) + "\n";
            } else if (i % 97 == 0) {
                text += "\n";
            } else {
                const char *protocol = i % 2 == 0 ? "tcp" : "udp";
                text += name + "\t" + std::to_string(1024 + i / 2) + "/" + protocol + "\t" + name + "-a " +
                        name + "-b\t# line " + std::to_string(i) + "\n";
                if (i % 2 == 0) names.push_back(name);
            }
        }
        dir = std::filesystem::temp_directory_path() / "dpl-services-bench";
        std::filesystem::create_directories(dir);
        path = (dir / "services").string();
        std::ofstream(path, std::ios::binary | std::ios::trunc) << text;
    }
    LargeFile(const LargeFile &) = delete;
    LargeFile &operator=(const LargeFile &) = delete;
    ~LargeFile() {
        std::error_code ignored;
        std::filesystem::remove_all(dir, ignored);
    }

    std::filesystem::path dir;
    std::string path;
    std::vector<std::string> names;
};

void ServicesLoadAndLookUpEveryName(benchmark::State &state) {
    static const LargeFile file;
    InstallControlBlock *block = init_API(0, 1, "p", "12.10.FC1");
    if (block == nullptr) {
        state.SkipWithError("no context");
        return;
    }
    for (auto _ : state) {
        state.PauseTiming();
        dplServicesFree(block);
        state.ResumeTiming();
        if (dplServicesLoad(block, file.path.c_str()) != 0) {
            state.SkipWithError("load failed");
            break;
        }
        int64_t sum = 0;
        for (const std::string &name : file.names)
            sum += dplServicesGetPortFromName(block, name.c_str(), nullptr);
        benchmark::DoNotOptimize(sum);
    }
    state.counters["lines"] = kLines;
    state.counters["lookups"] = static_cast<double>(file.names.size());
    finish(block);
}
BENCHMARK(ServicesLoadAndLookUpEveryName)->Unit(benchmark::kMillisecond);

}  // namespace
