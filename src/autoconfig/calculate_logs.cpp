// Physical and logical log sizes from the recovery-time policy, the disk
// speed and the buffer pool (or from the processor speed without a policy).
#include <algorithm>
#include <cstdint>

#include "autoconfig/autoconfig_state.hpp"
#include "autoconfig/autoconfig_steps.hpp"
#include "core/control_block.hpp"

namespace dpl::autoconfig {

namespace {

constexpr int64_t kPageSize = 4096;
constexpr double kPlogFactor = 80.0;
constexpr double kLlogFactor = 1200.0;
constexpr double kMultiplier = 300.0;
constexpr double kReferenceTicks = 1996314023.0;
constexpr int64_t kMegabyte = 1048576;
constexpr int64_t kLlogGranule = kPageSize * 1024;
constexpr int64_t kMinLlog = 25165824;
constexpr int64_t kEightLogsFrom = 33554432;
constexpr int32_t kRtoBase = 45;
constexpr double kMinPlogShare = 0.2;
constexpr int64_t kLogReserve = 1048576;

int64_t wrapped_product(int64_t a, int64_t b) {
    return static_cast<int64_t>(static_cast<uint64_t>(a) * static_cast<uint64_t>(b));
}

}  // namespace

int32_t calculate_log_sizes(InstallControlBlock &block) {
    State *state = state_of(&block);
    if (state == nullptr) return DPL_E_BAD_CONTEXT;
    const AutoConfigSettings &s = state->settings;
    Recommendation &r = state->recommendation;

    if (s.txn_support == 0 || s.server_type == 1) {
        const int32_t rc = load_default_log_values(&block);
        if (rc != DPL_OK) {
            ht_log("Failed to set default log parameters from onconfig\n");
            return rc;
        }
        ht_log("Transaction logging not requested or DSS server type selected - using default log values\n");
        return DPL_OK;
    }

    const int64_t pool = int64_t{r.buffers} * kPageSize;
    int64_t plog = 0;
    int64_t llog = 0;
    if (s.rto_policy != 0) {
        const int64_t n = (s.rto_policy - kRtoBase) / 2;
        const int64_t recoverable = kPageSize * n * r.disk_speed_avg;
        plog = std::min(recoverable, pool);
        llog = kPageSize * n * r.disk_speed_avg_eighth;
        // The buffer pool figure is in KB whatever the label says.
        ht_log("Max plog recoverable %lldMb - Buffer pool %lldMb\n",
               static_cast<long long>(recoverable / kMegabyte), static_cast<long long>(pool / 1024));
        ht_log("Max llog recoverable %lldMb - Buffer pool %lldMb\n", static_cast<long long>(llog / kMegabyte),
               static_cast<long long>(pool / 1024));
    } else {
        const double ratio = dplGetCPUSpeed(&block) / kReferenceTicks;
        const double scale = ratio * kMultiplier * s.max_cpu * static_cast<double>(kPageSize);
        plog = truncate_to_integer(kPlogFactor * scale);
        llog = truncate_to_integer(kLlogFactor * scale);
        ht_log("clock_speed_ratio %.5f\n", ratio);
    }

    // Up to the next 4 MB strictly above: an exact multiple still gains 4 MB.
    llog += kLlogGranule - (kLlogGranule + llog) % kLlogGranule;
    if (llog < kMinLlog) {
        ht_log("Adjusted calculated llog of %ld to minimum size of 24MB\n", static_cast<long>(llog));
        llog = kMinLlog;
    }
    const double min_plog = static_cast<double>(pool) * kMinPlogShare;
    if (min_plog > static_cast<double>(plog)) {
        ht_log("Adjusted calculated plog of %ld to minimum size\n", static_cast<long>(plog));
        plog = truncate_to_integer(min_plog);
    }
    ht_log("Calculated logical log size: %ld\n", static_cast<long>(llog));
    ht_log("Calculated physical log size: %ld\n", static_cast<long>(plog));

    SpaceAllocation &logical = r.space[DPL_SPACE_ENTRY_LLOG];
    logical.log_count = llog >= kEightLogsFrom ? 8 : 4;
    logical.unit_size = round_to_page(llog / logical.log_count);
    logical.size =
        round_to_page((wrapped_product(logical.unit_size, logical.log_count) + kLogReserve) / 1024);

    SpaceAllocation &physical = r.space[DPL_SPACE_ENTRY_PLOG];
    physical.size = (plog + kLogReserve) / 1024;
    physical.unit_size = round_to_page(plog);

    ht_log("Logical log allocations: %d logs of %ld for total logspace of %ld\n",
           static_cast<int>(logical.log_count), static_cast<long>(logical.unit_size),
           static_cast<long>(logical.size));
    ht_log("Physical log allocation: %ld for total logspace of %ld\n", static_cast<long>(physical.unit_size),
           static_cast<long>(physical.size));
    return DPL_OK;
}

}  // namespace dpl::autoconfig
