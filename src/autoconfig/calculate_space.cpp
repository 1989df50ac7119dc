// Sizes of the root, log, data, smart-large-object and temporary spaces,
// checked against the free space of the instance path.
#include <cstdint>

#include "autoconfig/autoconfig_state.hpp"
#include "autoconfig/autoconfig_steps.hpp"
#include "autoconfig/machine_figures.hpp"
#include "core/control_block.hpp"

namespace dpl::autoconfig {

namespace {

constexpr int64_t kPageSize = 4096;
constexpr int64_t kSystemSpaceBytes = 104857600;
constexpr int64_t kFixedSlobKb = 32768;
constexpr double kSlobShare = 0.3;
constexpr double kTempShare = 0.2;
constexpr double kDataShare = 0.5;
constexpr double kTempShareWithoutSlob = 0.2;
constexpr double kDataShareWithoutSlob = 0.8;

// ((x + page - 1) / page) cut to 32 bits, times the page.
int64_t round_product(double x) {
    const int64_t pages =
        truncate_to_integer((x + static_cast<double>(kPageSize) - 1.0) / static_cast<double>(kPageSize));
    return int64_t{static_cast<int32_t>(pages)} * kPageSize;
}

}  // namespace

int32_t calculate_space(InstallControlBlock &block) {
    State *state = state_of(&block);
    if (state == nullptr) return DPL_E_BAD_CONTEXT;
    if (const int32_t rc = load_default_space_paths(&block); rc != DPL_OK) {
        ht_log("Failed to load default dbspace paths - error %d\n", static_cast<int>(rc));
        return rc;
    }
    const AutoConfigSettings &s = state->settings;
    Recommendation &r = state->recommendation;
    KilobyteUnits units(block);
    const int64_t free = dplGetFileSysFreespace(&block, s.instance_path);

    SpaceAllocation &plog = r.space[DPL_SPACE_ENTRY_PLOG];
    SpaceAllocation &llog = r.space[DPL_SPACE_ENTRY_LLOG];
    const int64_t llog_bytes = int64_t{llog.log_count} * llog.unit_size;
    const int64_t root = round_to_page((kSystemSpaceBytes + plog.unit_size + llog_bytes) / 1024);
    r.space[DPL_SPACE_ENTRY_ROOT].size = root;
    const bool critical_only = s.mirror_critical != 0 && s.mirror_all == 0;
    const bool all_only = s.mirror_all != 0 && s.mirror_critical == 0;

    const int64_t startup_llog = round_to_page(llog_bytes / 1024);
    const int64_t startup_plog = round_to_page(plog.unit_size / 1024);
    const int64_t log_space = (critical_only ? 2 * root : root) + round_to_page(2 * (plog.unit_size / 1024)) +
                              round_to_page(2 * (llog_bytes / 1024));

    const int64_t disk = s.max_disk;
    const auto d = static_cast<double>(disk);
    int64_t &slob = r.space[DPL_SPACE_ENTRY_SLOB].size;
    int64_t &temp = r.space[DPL_SPACE_ENTRY_TEMP].size;
    int64_t &data = r.space[DPL_SPACE_ENTRY_DATA].size;
    if (s.sbspace_enabled != 0) {
        slob = round_product(d * kSlobShare);
        temp = round_product(d * kTempShare);
        data = round_product(d * kDataShare);
    } else {
        const auto rest = static_cast<double>(disk - kFixedSlobKb);
        slob = round_product(static_cast<double>(kFixedSlobKb));
        temp = round_product(rest * kTempShareWithoutSlob);
        data = round_product(rest * kDataShareWithoutSlob);
    }
    // Both mirror flags together double nothing at all.
    int64_t total = log_space + temp + data + slob;
    if (all_only) total *= 2;

    ht_log("Root space allocation: %ld KB\n", static_cast<long>(root));
    ht_log("\tSystem space: %ld KB\n", static_cast<long>(kSystemSpaceBytes / 1024));
    ht_log("\tStartup LLog space allocation: %ld KB\n", static_cast<long>(startup_llog));
    ht_log("\tStartup PLog space allocation: %ld KB\n", static_cast<long>(startup_plog));
    ht_log("LLog space allocation: %ld KB\n", static_cast<long>(startup_llog));
    ht_log("PLog space allocation: %ld KB\n", static_cast<long>(startup_plog));
    ht_log("User's allocation of data space: %ld KB\n", static_cast<long>(disk));
    ht_log("\tTemp space allocation: %ld KB\n", static_cast<long>(temp));
    ht_log("\tSlob space allocation: %ld KB\n", static_cast<long>(slob));
    ht_log("\tData space allocation: %ld KB\n", static_cast<long>(data));
    ht_log("Total space needed: %ld KB\n", static_cast<long>(total));
    ht_log("Free space: %ld KB\n", static_cast<long>(free));
    if (total <= free) return DPL_OK;
    ht_log("Calculated space requirement exceeds free space available on disk.\n");
    // The unit stays at kilobytes after this failure, as it always has.
    units.keep_kilobytes();
    return DPL_E_SPACE_ABOVE_FREE;
}

}  // namespace dpl::autoconfig
