// After a calculation: the full set of generated parameters written into
// the instance's configuration, in a fixed order.
#include <cstdio>
#include <string>

#include "autoconfig/autoconfig_state.hpp"
#include "autoconfig/parameter_writer.hpp"
#include "core/control_block.hpp"
#include "trace/trace.hpp"

namespace {

using dpl::autoconfig::join_path;
using dpl::autoconfig::State;

constexpr int64_t kPageKb = 4;
constexpr int64_t kLogBuffer = 256;
constexpr int64_t kPhysBuffer = 512;
constexpr int64_t kRecoveryThreadsPerDisk = 5;
constexpr int32_t kMinRecoveryThreads = 2;

std::string bufferpool_value(const Recommendation &r, const AutoConfigSettings &s) {
    char text[160];
    std::snprintf(text, sizeof text, "size=%lldk,buffers=%d,lrus=%d,lru_min_dirty=%.0f,lru_max_dirty=%.0f",
                  static_cast<long long>(kPageKb), static_cast<int>(r.buffers), static_cast<int>(r.lrus),
                  s.lru_min_dirty, s.lru_max_dirty);
    return text;
}

int32_t write_generated(InstallControlBlock &block, State &state) {
    const Recommendation &r = state.recommendation;
    const AutoConfigSettings &s = state.settings;
    if (r.stage != dpl::autoconfig::kStageCalculated) return DPL_E_STAGE;
    dpl::autoconfig::ServerPlace place;
    if (const int32_t rc = dpl::autoconfig::read_server_place(
            block, &place, "ORVANDEXSERVER not set yet...\n", "ORVANDEXDIR not set yet...\n");
        rc != DPL_OK) {
        return rc;
    }
    if (s.instance_path == nullptr) return DPL_E_STAGE;
    ht_log("Setting ONCONFIG parameters to generated values...\n");
    const SpaceAllocation *space = r.space;
    const bool mirrored = s.mirror_critical != 0 || s.mirror_all != 0;

    dpl::autoconfig::ParameterWriter w(block.current);
    w.text("BUFFERPOOL", bufferpool_value(r, s));
    w.number("CLEANERS", r.cleaners);
    w.text("DBSPACETEMP", "tempdbs");
    w.text("CONSOLE", join_path(place.directory, place.server + ".con"));
    w.number("DS_MAX_QUERIES", s.max_ds_users);
    w.number("DS_TOTAL_MEMORY", r.ds_memory);
    w.number("DS_MAX_SCANS", r.ds_max_scans);
    w.number("DS_NONPDQ_QUERY_MEM", r.ds_nonpdq_query_mem);
    w.number("LOGFILES", space[DPL_SPACE_ENTRY_LLOG].log_count);
    w.number("LOGSIZE", space[DPL_SPACE_ENTRY_LLOG].unit_size / 1024);
    w.number("LOGBUFF", kLogBuffer);
    w.number("LOCKS", r.locks);
    w.text("LTAPEDEV", "");
    w.text("MIRROR", mirrored ? "1" : "0");
    if (mirrored && w.ok()) {
        if (s.mirror_path == nullptr) return DPL_E_STAGE;
        const std::string mirror = join_path(s.mirror_path, "rootmirr.000");
        ht_log("Attempting to create MIRRORPATH = %s\n", mirror.c_str());
        dpl::autoconfig::write_chunk_path(block, w, "MIRRORPATH", mirror, "mirror root");
    }
    w.text("MAX_PDQPRIORITY", "100");
    w.text("MULTIPROCESSOR", s.max_cpu < 2 ? "0" : "1");
    w.text("MSGPATH", join_path(place.directory, place.server + ".log"));
    dpl::autoconfig::write_nettypes(block, w, r.net_poll_threads);
    w.number("ONLIDX_MAXMEM", r.onlidx_maxmem);
    w.number("OFF_RECVRY_THREADS", int64_t{r.disk_count} * kRecoveryThreadsPerDisk);
    w.number("ON_RECVRY_THREADS", s.max_cpu < kMinRecoveryThreads ? kMinRecoveryThreads : s.max_cpu);
    w.number("PHYSFILE", space[DPL_SPACE_ENTRY_PLOG].unit_size / 1024);
    w.number("PHYSBUFF", kPhysBuffer);
    w.number("ROOTSIZE", space[DPL_SPACE_ENTRY_ROOT].size);
    w.text("ROOTOFFSET", "0");
    if (w.ok()) {
        const std::string root = join_path(s.instance_path, "rootdbs.000");
        ht_log("Attempting to create ROOTPATH = %s\n", root.c_str());
        dpl::autoconfig::write_chunk_path(block, w, "ROOTPATH", root, "root");
    }
    w.number("RTO_SERVER_RESTART", s.rto_policy);
    w.number("SERVERNUM", s.server_num);
    w.number("SHMVIRTSIZE", r.shm_virtual_size);
    w.number("SHMADD", r.shm_add);
    w.text("SINGLE_CPU_VP", s.max_cpu == 1 ? "1" : "0");
    w.text("SBSPACENAME", "sbspace");
    w.number("VP_MEMORY_CACHE_KB", r.vp_memory_cache);
    w.text("VPCLASS", "cpu,num=" + std::to_string(s.max_cpu) + ",noage");
    return w.status();
}

}  // namespace

extern "C" int32_t write_generated_config(InstallControlBlock *block) {
    State *state = dpl::autoconfig::state_of(block);
    if (state == nullptr) return DPL_E_BAD_CONTEXT;
    return dpl::trace::traced_call(dpl::trace::kGenconfig, __LINE__, "write_generated_config",
                                   [&] { return write_generated(*block, *state); });
}
