// Memory, buffer pool, lock and network figures from the caller's limits.
#include <algorithm>
#include <cmath>
#include <cstdint>

#include "autoconfig/autoconfig_state.hpp"
#include "autoconfig/autoconfig_steps.hpp"
#include "autoconfig/machine_figures.hpp"
#include "core/control_block.hpp"

namespace dpl::autoconfig {

namespace {

constexpr int64_t kPageSize = 4096;
constexpr int64_t kUserBytes = 1048576;
constexpr int64_t kDsUserBytes = 5242880;
constexpr int64_t kBaseBytes = 52428800;
constexpr int64_t kLocksPerUser = 2000;
constexpr double kCacheFactor = 0.2;
constexpr double kDssMemoryShare = 0.8;
constexpr double kDssQueryShare = 0.9;
constexpr double kMachineMemoryShare = 0.8;
constexpr double kUsableDiskShare = 0.9;
constexpr int64_t kShmGranule = 256;
constexpr int64_t kShmAddDivisor = 32;
constexpr int32_t kBuffersPerLru = 10240;
constexpr int32_t kMinLrus = 16;
constexpr int64_t kMinVpCache = 800;
constexpr int64_t kIndexMemoryWithoutDsUsers = 5120;
constexpr int32_t kUsersPerPollThread = 150;
constexpr int32_t kMaxPollThreads = 5;

int64_t round_to_granule(int64_t value) {
    return (value + kShmGranule - 1) / kShmGranule * kShmGranule;
}

// Percentages of the machine become absolute limits.
int32_t resolve_percentages(InstallControlBlock &block, AutoConfigSettings &s) {
    if (s.cpu_mode == 2) {
        const double share = s.cpu_pct / 100.0 * dplGetTotalCPU(&block);
        s.max_cpu = std::max(1, static_cast<int32_t>(std::floor(share)));
        ht_log("Setting max cpu at %ld\n", static_cast<long>(s.max_cpu));
    }
    if (s.mem_mode == 2) {
        const double share =
            std::floor(static_cast<double>(total_memory_kb(block)) * kMachineMemoryShare * s.mem_pct / 100.0);
        s.max_mem = round_to_page(static_cast<int64_t>(share));
        ht_log("Setting maximum memory at %ld\n", static_cast<long>(s.max_mem));
    }
    if (s.disk_mode == 2) {
        if (s.instance_path == nullptr) {
            ht_log("Must have instance path set\n");
            return DPL_E_STAGE;
        }
        const int64_t free = free_space_kb(block, s.instance_path);
        if (free < 0) return static_cast<int32_t>(free);
        s.max_disk = static_cast<int64_t>(
            std::floor(s.disk_pct / 100.0 * (static_cast<double>(free) * kUsableDiskShare)));
        ht_log("Setting maximum disk to %ld\n", static_cast<long>(s.max_disk));
    }
    return DPL_OK;
}

}  // namespace

int32_t calculate_memory(InstallControlBlock &block) {
    State *state = state_of(&block);
    if (state == nullptr) return DPL_E_BAD_CONTEXT;
    AutoConfigSettings &s = state->settings;
    Recommendation &r = state->recommendation;
    if (const int32_t rc = resolve_percentages(block, s); rc != DPL_OK) return rc;

    r.user_memory = kUserBytes * s.max_users;
    ht_log("User memory requirement = %ld (bytes)\n", static_cast<long>(r.user_memory));
    const int64_t ds_memory = kDsUserBytes * s.max_ds_users;
    ht_log("DS User memory requirement = %ld (bytes)\n", static_cast<long>(ds_memory));

    const int64_t needed = (kPageSize * kLocksPerUser + kBaseBytes + r.user_memory + ds_memory) / 1024;
    ht_log("%ld bytes needed from %ld bytes granted\n", static_cast<long>(needed * 1024),
           static_cast<long>(s.max_mem * 1024));
    if (needed > s.max_mem) {
        ht_log("Calculated memory of %ld KB exceeds maximum requested value of %ld KB\n",
               static_cast<long>(needed), static_cast<long>(s.max_mem));
        return DPL_E_MEMORY_ABOVE_MAX;
    }
    ht_log("Minimum memory is %ld KB\n", static_cast<long>(needed));
    r.ds_max_scans = int64_t{r.disk_count} * s.max_ds_users;

    const int64_t kb_per_page = kPageSize / 1024;
    if (s.server_type == 1) {
        const auto share = static_cast<int64_t>(static_cast<double>(s.max_mem) * kDssMemoryShare);
        r.shm_virtual_size = round_to_granule(share);
        r.ds_memory =
            round_to_granule(static_cast<int64_t>(kDssQueryShare * static_cast<double>(r.shm_virtual_size)));
        r.shm_add = r.shm_virtual_size / kShmAddDivisor;
        r.buffers = static_cast<int32_t>((s.max_mem - share) / kb_per_page);
    } else {
        r.ds_memory = ds_memory;
        r.shm_virtual_size = round_to_granule(needed);
        r.shm_add = needed / kShmAddDivisor;
        r.buffers = static_cast<int32_t>((s.max_mem - needed) / kb_per_page);
    }
    if (r.buffers > 0 && r.buffers % 2 != 0) ++r.buffers;
    ht_log("Number of buffers calculated = %d\n", static_cast<int>(r.buffers));

    r.lrus = std::max(kMinLrus, r.buffers / kBuffersPerLru);
    r.ds_nonpdq_query_mem = s.max_users != 0 ? r.ds_memory / s.max_users : 0;
    r.vp_memory_cache = s.max_cpu >= 2
                            ? std::max(kMinVpCache, static_cast<int64_t>(static_cast<double>(needed) *
                                                                         kCacheFactor / s.max_cpu))
                            : 0;
    r.onlidx_maxmem = s.max_ds_users != 0 ? r.ds_memory / s.max_ds_users : kIndexMemoryWithoutDsUsers;
    const int64_t users = int64_t{s.max_users} + s.max_ds_users;
    r.net_poll_threads =
        static_cast<int32_t>(std::clamp<int64_t>(users / kUsersPerPollThread, 1, kMaxPollThreads));
    r.locks = static_cast<int32_t>(kLocksPerUser * s.max_users);
    return DPL_OK;
}

}  // namespace dpl::autoconfig
