// Processor count, speed and memory: gathered when a block is made, except
// the processor speed, which takes a timed pause and is measured only when
// first needed, once for the whole process.
#include "sysinfo/system_figures.hpp"

#include <cstring>

#include "core/control_block.hpp"
#include "platform/platform.hpp"
#include "storage/volume.hpp"
#include "trace/trace.hpp"

namespace dpl::sysinfo {
namespace {

using trace::kSysinfo;

constexpr const char *kProcessorKey = "HARDWARE\\DESCRIPTION\\System\\CentralProcessor\\0";
constexpr uint32_t kDefaultMhz = 1000;
// The counter is timed over this pause and scaled to one second.
constexpr uint32_t kTimingWindowMs = 250;
constexpr uint64_t kWindowsPerSecond = 1000 / kTimingWindowMs;

uint32_t registry_mhz() {
    platform::Platform &os = platform::current();
    platform::RegKey key = platform::kNoKey;
    if (os.reg_open_key(platform::kLocalMachine, kProcessorKey, platform::RegView::Default, &key) != 0)
        return 0;
    uint32_t mhz = 0;
    platform::RegValue value;
    if (os.reg_query_value(key, "~MHz", &value) == 0 && value.type == platform::regtype::kDword &&
        value.data.size() >= sizeof mhz) {
        std::memcpy(&mhz, value.data.data(), sizeof mhz);
    }
    os.reg_close_key(key);
    return mhz;
}

int64_t compute_ticks_per_second() {
    if (const std::optional<int64_t> rate = platform::current().tick_rate(); rate && *rate > 0) return *rate;
    return static_cast<int64_t>(get_cpu_mhz()) * 1000000;
}

double time_counter() {
    platform::Platform &os = platform::current();
    const uint64_t start = os.ticks();
    os.sleep_ms(kTimingWindowMs);
    // Unsigned arithmetic carries a wrapped counter over by itself.
    const uint64_t elapsed = os.ticks() - start;
    return static_cast<double>(elapsed) * static_cast<double>(kWindowsPerSecond);
}

}  // namespace

uint32_t get_cpu_mhz() {
    uint32_t mhz = registry_mhz();
    if (mhz == 0) mhz = platform::current().processor_mhz().value_or(0);
    return mhz != 0 ? mhz : kDefaultMhz;
}

int64_t ticks_per_second() {
    static const int64_t rate = compute_ticks_per_second();
    return rate;
}

double measure_cpu_speed() {
    static const double speed = time_counter();
    return speed;
}

}  // namespace dpl::sysinfo

extern "C" {

void init_system_info(InstallControlBlock *pointer) {
    InstallControlBlock *block = dpl::core::as_block(pointer);
    if (block == nullptr) return;
    dpl::platform::Platform &os = dpl::platform::current();
    dpl::sysinfo::SystemFigures &figures = block->system;
    figures.page_size = dpl::sysinfo::kPageSize;
    figures.large_block_size = static_cast<int32_t>(figures.page_size << 9);
    figures.processor_count = os.processor_count();
    figures.processor_speed = 0.0;
    figures.total_memory_kb = static_cast<int64_t>(os.physical_memory_bytes() / 1024);
}

double dplGetCPUSpeed(InstallControlBlock *pointer) {
    InstallControlBlock *block = dpl::core::as_block(pointer);
    if (block == nullptr) return static_cast<double>(DPL_E_BAD_CONTEXT);
    if (block->system.processor_speed == 0.0)
        block->system.processor_speed = dpl::sysinfo::measure_cpu_speed();
    return block->system.processor_speed;
}

uint32_t dplGetTotalCPU(InstallControlBlock *pointer) {
    InstallControlBlock *block = dpl::core::as_block(pointer);
    if (block == nullptr) return static_cast<uint32_t>(DPL_E_BAD_CONTEXT);
    return block->system.processor_count;
}

int64_t dplGetTotalMemory(InstallControlBlock *pointer) {
    InstallControlBlock *block = dpl::core::as_block(pointer);
    if (block == nullptr) return DPL_E_BAD_CONTEXT;
    return block->system.total_memory_kb / dpl::storage::unit_divisor(block->disk_mem_units);
}

uint64_t dplGetPageSize(InstallControlBlock *pointer) {
    InstallControlBlock *block = dpl::core::as_block(pointer);
    if (block == nullptr) return static_cast<uint64_t>(static_cast<int64_t>(DPL_E_BAD_CONTEXT));
    return block->system.page_size;
}

}  // extern "C"
