#include "autoconfig/machine_figures.hpp"

#include "core/control_block.hpp"

namespace dpl::autoconfig {

int64_t unit_divisor(const InstallControlBlock &block) {
    const int32_t units = block.disk_mem_units;
    if (units < DPL_UNITS_KB || units > DPL_UNITS_PB) return 1;
    return int64_t{1} << (10 * units);
}

int64_t total_memory_kb(InstallControlBlock &block) {
    const KilobyteUnits units(block);
    return dplGetTotalMemory(&block);
}

int64_t free_space_kb(InstallControlBlock &block, const char *path) {
    const KilobyteUnits units(block);
    return dplGetFileSysFreespace(&block, path);
}

KilobyteUnits::KilobyteUnits(InstallControlBlock &block) : block_(block), saved_(block.disk_mem_units) {
    block_.disk_mem_units = DPL_UNITS_KB;
}

KilobyteUnits::~KilobyteUnits() {
    if (restore_) block_.disk_mem_units = saved_;
}

}  // namespace dpl::autoconfig
