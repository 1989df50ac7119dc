// A full recommendation calculation over pre-measured storage locations: no
// disk I/O, only the settings check, the figures and the free-space query.
#include <benchmark/benchmark.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "dpl/dpl.h"

namespace {

void BM_CalculateRecommendation(benchmark::State &state) {
    const std::filesystem::path home = std::filesystem::temp_directory_path() / "dpl-autoconfig-bench";
    std::filesystem::create_directories(home / "etc");
    const std::string onconfig = (home / "etc" / "onconfig.srv").string();
    std::ofstream(onconfig) << "ROOTSIZE 200000\n";

    InstallControlBlock *block = init_API(0, 1, "bench", "12.10.FC1");
    dplSetEnvironment(block, "ORVANDEXDIR", home.string().c_str());
    dplSetEnvironment(block, "ORVANDEXSERVER", "srv");
    dplReadConfig(dplGetCurrentInstance(block), onconfig.c_str());
    dplSetAutoConfig(block, DPL_SET_INSTANCEPATH, (home / "dbspaces").string().c_str());
    dplSetAutoConfig(block, DPL_SET_MAXMEM, "200000");
    dplSetAutoConfig(block, DPL_SET_MAXDISK, "100MB");
    for (DiskLocation *at = dplGetDiskLocations(block); at != nullptr; at = at->next) {
        at->measured = 1;
        at->read_speed = 2000;
    }
    for (auto _ : state) {
        if (dplCalculateRecommendation(block) != 0) state.SkipWithError("calculation failed");
    }
    finish(block);
    std::filesystem::remove_all(home);
}
BENCHMARK(BM_CalculateRecommendation)->Unit(benchmark::kMicrosecond);

}  // namespace
