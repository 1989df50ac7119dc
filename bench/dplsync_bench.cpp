// dplsync merging sqlhosts files, run in-process through the same code as
// the program: a source of N aliases into a target of N other aliases.
#include <benchmark/benchmark.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "dpl/dpl.h"
#include "support/test_support.hpp"
#include "sync_run.hpp"

namespace {

void write_sqlhosts(const std::string &path, const std::string &prefix, int count) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << "# " << prefix << " aliases\n";
    for (int i = 0; i < count; ++i) {
        out << prefix << i << " onsoctcp localhost svc_" << (i % 50) << (i % 7 == 0 ? " k=1" : "") << "\n";
    }
}

void BM_DplsyncMerge(benchmark::State &state) {
    const int count = static_cast<int>(state.range(0));
    dpl::test::ScratchDir dir;
    std::filesystem::create_directories(dir.path() / "etc");
    {
        std::ofstream services(dir.file("etc/services"));
        for (int i = 0; i < 50; ++i) services << "svc_" << i << " " << 20000 + i << "/tcp\n";
    }
    dpl::test::set_env("DPL_SYSROOT", dir.path().string().c_str());
    const std::string source = dir.file("source");
    const std::string target = dir.file("target");
    write_sqlhosts(source, "ol_src_", count);
    dplsync::SyncArguments arguments;
    arguments.source = source;
    arguments.target = target;
    for (auto _ : state) {
        state.PauseTiming();
        write_sqlhosts(target, "ol_tgt_", count);
        state.ResumeTiming();
        if (dplsync::run_sync(arguments) != 0) state.SkipWithError("dplsync failed");
    }
    state.SetItemsProcessed(state.iterations() * count * 2);
    dpl::test::set_env("DPL_SYSROOT", nullptr);
}
BENCHMARK(BM_DplsyncMerge)->Arg(2000)->Arg(20000)->Unit(benchmark::kMillisecond);

void BM_DplsyncTwoAliases(benchmark::State &state) {
    dpl::test::ScratchDir dir;
    std::filesystem::create_directories(dir.path() / "etc");
    {
        std::ofstream services(dir.file("etc/services"));
        services << "svc_a 9001/tcp\n";
    }
    dpl::test::set_env("DPL_SYSROOT", dir.path().string().c_str());
    const std::string source = dir.file("source");
    dpl::test::write_file(source, "ol_a onsoctcp localhost svc_a\nol_b onipcshm localhost ol_b\n");
    dplsync::SyncArguments arguments;
    arguments.source = source;
    arguments.target = dir.file("target");
    for (auto _ : state) {
        if (dplsync::run_sync(arguments) != 0) state.SkipWithError("dplsync failed");
    }
    dpl::test::set_env("DPL_SYSROOT", nullptr);
}
BENCHMARK(BM_DplsyncTwoAliases)->Unit(benchmark::kMicrosecond);

}  // namespace
