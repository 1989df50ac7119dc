// Install tags read from a machine registry: the next free tag of a version
// key with N install values, the tag of a directory among N version keys,
// and a context made and released with its tag.
#include <benchmark/benchmark.h>

#include <filesystem>
#include <string>

#include "dpl/dpl.h"
#include "support/test_support.hpp"

namespace {

// A scratch machine whose registry holds `text` (REGEDIT 5 sections).
class Machine {
public:
    explicit Machine(const std::string &sections) {
        std::filesystem::create_directories(dir_.path() / "etc");
        std::filesystem::create_directories(dir_.path() / "var" / "lib" / "dpl");
        dpl::test::write_file(dir_.file("etc/services"), "svc_a 9001/tcp\n");
        dpl::test::write_file(dir_.file("var/lib/dpl/registry.reg"),
                              "Windows Registry Editor Version 5.00\r\n\r\n" + sections);
        dpl::test::set_env("DPL_SYSROOT", dir_.path().string().c_str());
    }
    Machine(const Machine &) = delete;
    Machine &operator=(const Machine &) = delete;
    ~Machine() { dpl::test::set_env("DPL_SYSROOT", nullptr); }

private:
    dpl::test::ScratchDir dir_;
};

std::string version_key(const std::string &version, int first_tag, int count) {
    std::string text = "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Orvandex\\DBMS\\" + version + "]\r\n";
    for (int tag = first_tag; tag < first_tag + count; ++tag) {
        text += "\"Install_Dir" + std::to_string(tag) + "\"=\"C:\\\\Talix\\\\" + version + "_" +
                std::to_string(tag) + "\"\r\n";
    }
    return text + "\r\n";
}

void BM_UniqueInstallTag(benchmark::State &state) {
    const int values = static_cast<int>(state.range(0));
    const Machine machine(version_key("12.10", 1, values));
    for (auto _ : state) {
        if (dplUniqueInstallTag(12, 10) != values + 1) state.SkipWithError("wrong tag");
    }
    state.SetComplexityN(values);
}
BENCHMARK(BM_UniqueInstallTag)->Arg(100)->Arg(1000)->Unit(benchmark::kMillisecond)->Complexity(benchmark::oN);

void BM_RetrieveInstallTag(benchmark::State &state) {
    const int versions = static_cast<int>(state.range(0));
    std::string sections;
    for (int i = 0; i < versions; ++i) sections += version_key(std::to_string(10 + i) + ".10", 0, 4);
    const Machine machine(sections);
    const std::string last = "c:\\talix\\" + std::to_string(10 + versions - 1) + ".10_3";
    dpl::test::set_env("INSTALL_LOG", nullptr);
    InstallControlBlock *block = init_API(0, 1, "p", "12.10.FC1");
    for (auto _ : state) {
        if (dplRetrieveInstallTag(block, last.c_str()) != 3) state.SkipWithError("wrong tag");
    }
    finish(block);
    state.SetComplexityN(versions);
}
BENCHMARK(BM_RetrieveInstallTag)->Arg(10)->Arg(100)->Unit(benchmark::kMillisecond)->Complexity(benchmark::oN);

void BM_InitFinishWithInstallTag(benchmark::State &state) {
    const Machine machine(version_key("12.10", 0, 3));
    dpl::test::set_env("INSTALL_LOG", nullptr);
    for (auto _ : state) {
        InstallControlBlock *block = init_API(0, 0, "p", "12.10.FC1");
        if (block == nullptr || dplGetUniqueInstallTag(block) != 3) state.SkipWithError("no context");
        finish(block);
    }
}
BENCHMARK(BM_InitFinishWithInstallTag)->Unit(benchmark::kMicrosecond);

}  // namespace
