// Figures of the block that the calculation needs in kilobytes whatever the
// display unit, and the display unit's divisor.
#pragma once

#include <cstdint>

#include "dpl/dpl.h"

namespace dpl::autoconfig {

// 1 for KB, 1024 for MB, ... 1024^4 for PB.
int64_t unit_divisor(const InstallControlBlock &block);

// Total memory of the machine in KB.
int64_t total_memory_kb(InstallControlBlock &block);

// Free KB of the volume of path's nearest existing directory, or the
// negative status of the query.
int64_t free_space_kb(InstallControlBlock &block, const char *path);

// Sets the block's display unit to kilobytes and puts the old one back when
// it goes, unless told to keep kilobytes.
class KilobyteUnits {
public:
    explicit KilobyteUnits(InstallControlBlock &block);
    ~KilobyteUnits();
    KilobyteUnits(const KilobyteUnits &) = delete;
    KilobyteUnits &operator=(const KilobyteUnits &) = delete;
    void keep_kilobytes() { restore_ = false; }

private:
    InstallControlBlock &block_;
    int32_t saved_;
    bool restore_ = true;
};

}  // namespace dpl::autoconfig
