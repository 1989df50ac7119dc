// Deploying an instance with many spaces and both logs, and cleaning the
// registry of an instance on a machine with many connections and services.
#include <benchmark/benchmark.h>

#include <filesystem>
#include <string>

#include "dpl/dpl.h"
#include "support/test_support.hpp"

namespace {

namespace fs = std::filesystem;
using dpl::test::ScratchDir;
using dpl::test::set_env;
using dpl::test::write_file;

// A scratch machine root with an installation directory in it; tracing
// off, so that only the work is timed.
class Machine {
public:
    Machine() {
        fs::create_directories(dir_.path() / "etc");
        fs::create_directories(dir_.path() / "var" / "lib" / "dpl");
        fs::create_directories(installation() / "etc" / "sysadmin");
        set_env("DPL_SYSROOT", dir_.path().string().c_str());
        set_env("INSTALL_LOG", nullptr);
    }
    Machine(const Machine &) = delete;
    Machine &operator=(const Machine &) = delete;
    ~Machine() { set_env("DPL_SYSROOT", nullptr); }

    fs::path installation() const { return dir_.path() / "inst"; }
    std::string file(const std::string &name) const { return dir_.file(name); }

private:
    ScratchDir dir_;
};

// A block whose current instance is ready to deploy: `spaces` DBspaces in
// `data` (the last two hold the physical and the logical logs) and one
// connection.
InstallControlBlock *instance_with_spaces(const Machine &machine, const fs::path &data, int spaces) {
    InstallControlBlock *block = init_API(DPL_MODE_NO_PORT_TEST, 1, "Orvandex", "12.10");
    dplSetEnvironment(block, "ORVANDEXDIR", machine.installation().string().c_str());
    dplSetEnvironment(block, "ORVANDEXSERVER", "ol_bench");
    dplSetEnvironment(block, "ONCONFIG", "onconfig.ol_bench");
    dplSetEnvironment(block, "ORVANDEXSQLHOSTS",
                      (machine.installation() / "etc" / "sqlhosts.ol_bench").string().c_str());
    Instance *instance = dplGetCurrentInstance(block);
    dplSetConfig(instance, "ROOTPATH", (data / "rootdbs").string().c_str(), nullptr);
    dplSetConfig(instance, "LOGFILES", "6", nullptr);
    dplAddConnection(block, "ol_bench", dplMapStringtoProtocol("onsoctcp"), "localhost", 9088, nullptr,
                     nullptr);
    for (int i = 0; i < spaces; ++i) {
        const std::string name = "dbs" + std::to_string(i);
        dplCreateSpace(block, DPL_SPACE_DB, name.c_str(), (data / name).string().c_str(), "100 MB", "0");
    }
    const std::string plog = "dbs" + std::to_string(spaces - 2);
    const std::string llog = "dbs" + std::to_string(spaces - 1);
    dplCreateLog(block, 0, plog.c_str(), 1, "50 MB");
    dplCreateLog(block, 1, llog.c_str(), 10, "10 MB");
    dplSetInstallationProperty(block, DPL_P_RUNAS_USER, 0);
    dplAddUserGroupRequired(block, DPL_ACCOUNT_PRODUCT_USER, "orvandex", "orvandex");
    return block;
}

// The whole deployment: environment, connection, onconfig, the script of
// every space and both logs (with each space's chunk file), the service.
// The second argument puts the (empty) chunk files on the installation's
// disk (0) or on tmpfs (1). Each iteration's chunks go into a directory of
// their own, all removed at the end: ext4 makes files slowly where many were
// deleted a moment before, which is not where an installer creates them.
void BM_DeployInstallation(benchmark::State &state) {
    const int spaces = static_cast<int>(state.range(0));
    const Machine machine;
    const bool tmpfs = state.range(1) != 0;
    if (tmpfs && !fs::is_directory("/dev/shm")) {
        state.SkipWithError("no /dev/shm");
        return;
    }
    const fs::path chunks =
        tmpfs
            ? fs::path("/dev/shm") / ("dpl-bench-" + machine.installation().parent_path().filename().string())
            : machine.installation() / "data";
    int iteration = 0;
    for (auto _ : state) {
        state.PauseTiming();
        InstallControlBlock *block =
            instance_with_spaces(machine, chunks / std::to_string(iteration++), spaces);
        state.ResumeTiming();
        if (deployInstallation(block) != 0) state.SkipWithError("deployment failed");
        state.PauseTiming();
        dplWinServiceDelete(block, "ol_bench");
        finish(block);
        fs::remove(machine.installation() / "etc" / "sysadmin" / "sch_init_ol_bench.sql");
        state.ResumeTiming();
    }
    fs::remove_all(chunks);
}
BENCHMARK(BM_DeployInstallation)
    ->Args({100, 0})
    ->Args({1000, 0})
    ->Args({100, 1})
    ->Args({1000, 1})
    ->Unit(benchmark::kMillisecond);

// The server's name, then its aliases.
std::string alias_name(int i) {
    return i == 0 ? std::string("ol_bench") : "ol_bench_" + std::to_string(i);
}

// A machine registry of `connections` connection keys under SQLHOSTS (each
// naming its service), `instance_aliases` of them the instance's, and its
// key under Online; a services file of `services` entries.
void write_machine(const Machine &machine, int connections, int instance_aliases, int services) {
    std::string reg = "Windows Registry Editor Version 5.00\r\n\r\n";
    auto connection = [&](const std::string &alias, const std::string &service) {
        reg += "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Orvandex\\SQLHOSTS\\" + alias +
               "]\r\n\"HOST\"=\"localhost\"\r\n" +
               "\"OPTIONS\"=\"\"\r\n\"PROTOCOL\"=\"onsoctcp\"\r\n\"SERVICE\"=\"" + service + "\"\r\n\r\n";
    };
    for (int i = 0; i < instance_aliases; ++i) connection(alias_name(i), "svc" + std::to_string(i));
    for (int i = instance_aliases; i < connections; ++i)
        connection("ol_other_" + std::to_string(i), "svc" + std::to_string(i % services));
    reg +=
        "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Orvandex\\Online\\ol_bench\\Environment]\r\n\"ORVANDEXSERVER\"="
        "\"ol_bench\"\r\n\r\n";
    reg +=
        "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Orvandex\\Online\\ol_other\\Environment]\r\n\"ORVANDEXSERVER\"="
        "\"ol_other\"\r\n\r\n";
    write_file(machine.file("var/lib/dpl/registry.reg"), reg);
    std::string text;
    for (int i = 0; i < services; ++i)
        text += "svc" + std::to_string(i) + " " + std::to_string(10000 + i) + "/tcp\n";
    write_file(machine.file("etc/services"), text);
}

// The registry clean-up of an instance with N aliases (the server's name is
// the first) among 10,000 connections and 1,000 services entries.
void BM_RemoveInstanceRegistry(benchmark::State &state) {
    const int aliases = static_cast<int>(state.range(0));
    const Machine machine;
    std::string list;
    for (int i = 1; i < aliases; ++i) {
        if (i > 1) list += ',';
        list += alias_name(i);
    }
    for (auto _ : state) {
        state.PauseTiming();
        write_machine(machine, 10000, aliases, 1000);
        InstallControlBlock *block = init_API(0, 1, "Orvandex", "12.10");
        dplSetEnvironment(block, "ORVANDEXDIR", machine.installation().string().c_str());
        dplSetConfig(dplGetCurrentInstance(block), "DBSERVERALIASES", list.c_str(), nullptr);
        state.ResumeTiming();
        if (dplRemoveInstanceRegistry(block, "ol_bench") != 0) state.SkipWithError("clean-up failed");
        state.PauseTiming();
        finish(block);
        state.ResumeTiming();
    }
}
// Natively most of the time is reading and writing the machine's registry
// store, one file of all 10,000 keys, once per call; the walk itself grows
// with the aliases.
BENCHMARK(BM_RemoveInstanceRegistry)->Arg(10)->Arg(100)->Arg(1000)->Unit(benchmark::kMillisecond);

}  // namespace
