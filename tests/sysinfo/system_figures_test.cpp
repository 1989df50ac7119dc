// Processor count, memory, page size and the processor frequency's sources.
#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "core/control_block.hpp"
#include "storage/storage_fixture.hpp"
#include "support/installed_platform.hpp"
#include "sysinfo/system_figures.hpp"

namespace dpl::test {
namespace {

// A machine of fixed figures; "~MHz" and the system's own figure as given.
class FixedMachine : public InstalledPlatform {
public:
    uint32_t processor_count() override { return 6; }
    uint64_t physical_memory_bytes() override { return uint64_t{8} << 30; }
    std::optional<uint32_t> processor_mhz() override { return own_mhz; }
    uint32_t reg_open_key(platform::RegKey parent, const std::string &path, platform::RegView view,
                          platform::RegKey *out) override {
        if (path != "HARDWARE\\DESCRIPTION\\System\\CentralProcessor\\0") {
            return ForwardingPlatform::reg_open_key(parent, path, view, out);
        }
        if (!registry_mhz) return platform::err::kFileNotFound;
        *out = 0x1234;
        return 0;
    }
    uint32_t reg_query_value(platform::RegKey key, const std::string &name,
                             platform::RegValue *value) override {
        if (key != 0x1234) return ForwardingPlatform::reg_query_value(key, name, value);
        if (name != "~MHz") return platform::err::kFileNotFound;
        value->type = platform::regtype::kDword;
        value->data.assign(reinterpret_cast<const char *>(&*registry_mhz), sizeof(uint32_t));
        return 0;
    }
    uint32_t reg_close_key(platform::RegKey key) override {
        return key == 0x1234 ? 0 : ForwardingPlatform::reg_close_key(key);
    }

    std::optional<uint32_t> registry_mhz;
    std::optional<uint32_t> own_mhz;
};

using SystemFigures = StorageTest;

TEST_F(SystemFigures, InitialisationFillsCountMemoryAndPageSize) {
    struct Case {
        const char *units;
        int64_t memory;
    } const cases[] = {{"KB", 8388608}, {"MB", 8192}, {"GB", 8}, {"TB", 0}};
    FixedMachine machine;
    init_system_info(block);
    EXPECT_EQ(6u, dplGetTotalCPU(block));
    EXPECT_EQ(4096u, dplGetPageSize(block));
    EXPECT_EQ(2097152, block->system.large_block_size);
    for (const Case &c : cases) {
        ASSERT_GE(dplSetDiskMemUnits(block, c.units), 0) << c.units;
        EXPECT_EQ(c.memory, dplGetTotalMemory(block)) << c.units;
    }
}

TEST_F(SystemFigures, ProcessorFrequencyComesFromRegistryThenSystemThenDefault) {
    struct Case {
        std::optional<uint32_t> registry, own;
        uint32_t expected;
    } const cases[] = {
        {2900, 2400, 2900}, {std::nullopt, 2400, 2400}, {0, 2400, 2400}, {std::nullopt, std::nullopt, 1000}};
    FixedMachine machine;
    for (const Case &c : cases) {
        machine.registry_mhz = c.registry;
        machine.own_mhz = c.own;
        EXPECT_EQ(c.expected, sysinfo::get_cpu_mhz());
    }
}

TEST_F(SystemFigures, RealMachineFiguresAndProcessorSpeed) {
    EXPECT_EQ(platform::native().processor_count(), dplGetTotalCPU(block));
    EXPECT_EQ(static_cast<int64_t>(platform::native().physical_memory_bytes() / 1024),
              dplGetTotalMemory(block));
    EXPECT_GT(dplGetTotalCPU(block), 0u);
    EXPECT_GT(sysinfo::ticks_per_second(), 0);
    const double speed = dplGetCPUSpeed(block);
    EXPECT_GT(speed, 0.0);
    // Timed once per process: every block sees the same figure.
    InstallControlBlock *second = init_API(0, 1, "p", "12.10.FC1");
    EXPECT_EQ(speed, dplGetCPUSpeed(second));
    finish(second);
}

TEST_F(SystemFigures, ForeignBlocksAreRefused) {
    uint32_t foreign[16] = {0x12345678u};
    auto *fake = reinterpret_cast<InstallControlBlock *>(foreign);
    for (InstallControlBlock *bad : {static_cast<InstallControlBlock *>(nullptr), fake}) {
        EXPECT_EQ(-947.0, dplGetCPUSpeed(bad));
        EXPECT_EQ(static_cast<uint32_t>(-947), dplGetTotalCPU(bad));
        EXPECT_EQ(-947, dplGetTotalMemory(bad));
        EXPECT_EQ(static_cast<uint64_t>(-947), dplGetPageSize(bad));
        init_system_info(bad);
    }
    EXPECT_EQ(0x12345678u, foreign[0]);
}

}  // namespace
}  // namespace dpl::test
