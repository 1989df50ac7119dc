// An onconfig file of n parameter lines read, every name looked up, and the
// table written back. Growth with n should stay close to linear.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "core/instance.hpp"
#include "dpl/dpl.h"

namespace {

struct Lookup {
    std::string name;
    std::string selector;  // first field of a repeatable parameter, or empty
};

// Mostly ordinary parameters with comments, some repeatable ones, and a
// comment or blank line now and then, as in a real file.
std::string make_onconfig(int lines, std::vector<Lookup> *lookups) {
    std::string text = "# generated onconfig\n\n";
    char line[160];
    for (int i = 0; i < lines; ++i) {
        if (i % 100 == 0) {
            std::snprintf(line, sizeof line, "NETTYPE         proto%d,1,50,NET\n", i);
            char field[32];
            std::snprintf(field, sizeof field, "proto%d,", i);
            lookups->push_back(Lookup{"NETTYPE", field});
        } else {
            std::snprintf(line, sizeof line, "PARAM_%06d    value_%d    # what parameter %d is for\n", i, i,
                          i);
            char name[32];
            std::snprintf(name, sizeof name, "PARAM_%06d", i);
            lookups->push_back(Lookup{name, ""});
        }
        text += line;
        if (i % 50 == 49) text += "\n# section\n";
    }
    return text;
}

void BM_OnconfigReadQueryWrite(benchmark::State &state) {
    const int lines = static_cast<int>(state.range(0));
    const std::filesystem::path home =
        std::filesystem::temp_directory_path() / ("dpl-onconfig-bench-" + std::to_string(lines));
    std::filesystem::create_directories(home / "etc");
    const std::string input = (home / "onconfig.in").string();
    std::vector<Lookup> lookups;
    {
        std::ofstream out(input, std::ios::binary | std::ios::trunc);
        out << make_onconfig(lines, &lookups);
    }

    InstallControlBlock *block = init_API(0, 1, "bench", "12.10.FC1");
    Instance *instance = dplGetCurrentInstance(block);
    dplSetEnvironment(block, "ORVANDEXDIR", home.string().c_str());
    dplSetEnvironment(block, "ONCONFIG", "onconfig.bench");
    dplSetEnvironment(block, "ORVANDEXSERVER", "bench");

    for (auto _ : state) {
        state.PauseTiming();
        instance->config = dpl::config::ConfigTable();
        state.ResumeTiming();
        if (dplReadConfig(instance, input.c_str()) != DPL_OK) state.SkipWithError("read failed");
        for (const Lookup &lookup : lookups) {
            const char *value = lookup.selector.empty() ? nullptr : lookup.selector.c_str();
            if (dplGetConfig(instance, lookup.name.c_str(), &value, nullptr) != DPL_OK) {
                state.SkipWithError("lookup failed");
                break;
            }
            benchmark::DoNotOptimize(value);
        }
        if (dplWriteConfig(instance) != DPL_OK) state.SkipWithError("write failed");
    }
    state.SetItemsProcessed(state.iterations() * lines);

    finish(block);
    std::error_code ignored;
    std::filesystem::remove_all(home, ignored);
}

BENCHMARK(BM_OnconfigReadQueryWrite)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);

}  // namespace
