// A context made and released with the installing user's context, as every
// installer run starts; and the password maker.
#include <benchmark/benchmark.h>

#include <filesystem>
#include <string>

#include "dpl/dpl.h"
#include "support/test_support.hpp"

namespace {

void BM_InitAndFinish(benchmark::State &state) {
    dpl::test::ScratchDir dir;
    std::filesystem::create_directories(dir.path() / "etc");
    std::string services;
    for (int i = 0; i < 300; ++i)
        services += "svc_" + std::to_string(i) + " " + std::to_string(20000 + i) + "/tcp\n";
    dpl::test::write_file(dir.file("etc/services"), services);
    dpl::test::set_env("DPL_SYSROOT", dir.path().string().c_str());
    dpl::test::set_env("INSTALL_LOG", nullptr);
    for (auto _ : state) {
        InstallControlBlock *block =
            init_API(0, static_cast<int32_t>(state.range(0)), "product", "12.10.FC1");
        if (block == nullptr) {
            state.SkipWithError("init_API failed");
            break;
        }
        benchmark::DoNotOptimize(dplGetComputerName(block));
        finish(block);
    }
    dpl::test::set_env("DPL_SYSROOT", nullptr);
}
// Product mode 0 also takes the installation's tag from the registry.
BENCHMARK(BM_InitAndFinish)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

void BM_GeneratePassword(benchmark::State &state) {
    std::string buffer(static_cast<std::size_t>(state.range(0)), '\0');
    for (auto _ : state) {
        if (dplGeneratePassword(buffer.data(), static_cast<uint32_t>(buffer.size())) != 0) {
            state.SkipWithError("dplGeneratePassword failed");
            break;
        }
        benchmark::DoNotOptimize(buffer.data());
    }
}
BENCHMARK(BM_GeneratePassword)->Arg(21)->Arg(1024)->Unit(benchmark::kMicrosecond);

}  // namespace
