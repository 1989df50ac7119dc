// Reading and adjusting the calculated figures, and applying them by stage.
#include <cstdint>

#include "autoconfig/autoconfig_state.hpp"
#include "autoconfig/autoconfig_steps.hpp"
#include "autoconfig/machine_figures.hpp"
#include "autoconfig/path_setting.hpp"
#include "autoconfig/setting_texts.hpp"
#include "core/c_text.hpp"
#include "core/control_block.hpp"
#include "trace/trace.hpp"

namespace {

using dpl::autoconfig::round_to_page;
using dpl::autoconfig::State;
using dpl::trace::kGenconfig;

constexpr int32_t kFirstPathCode = 50;
constexpr int32_t kLastPathCode = 55;
constexpr int32_t kMinLogs = 3;
constexpr int32_t kMaxLogs = 32767;
constexpr int64_t kLogReserve = 1048576;
constexpr int64_t kPageSize = 4096;
constexpr int64_t kLockBytes = 24;

// A size text in KB rounded up to the page; nothing for a text the size
// parser refuses or a size that is not positive.
bool read_page_size(const char *value, int64_t *size) {
    const int64_t parsed = dplParseSize(value);
    if (parsed < 1) return false;
    *size = round_to_page(parsed);
    return *size > 0;
}

// Products of the log figures wrap rather than overflow for absurd sizes.
int64_t wrapped_product(int64_t a, int64_t b) {
    return static_cast<int64_t>(static_cast<uint64_t>(a) * static_cast<uint64_t>(b));
}

void size_logical_logs(SpaceAllocation &llog) {
    llog.size = round_to_page((wrapped_product(llog.unit_size, llog.log_count) + kLogReserve) / 1024);
}

int32_t update_size(Recommendation &r, int32_t code, const char *value) {
    int64_t size = 0;
    switch (code) {
        case 20:
            if (!read_page_size(value, &size)) {
                ht_log("Invalid value %s for rootdbs size\n", value);
                return DPL_E_INVALID_VALUE;
            }
            r.space[DPL_SPACE_ENTRY_ROOT].size = size;
            return DPL_OK;
        case 21:
        case 22: {
            if (!read_page_size(value, &size)) {
                ht_log("Invalid value %s for physlog size\n", value);
                return DPL_E_INVALID_VALUE;
            }
            SpaceAllocation &plog = r.space[DPL_SPACE_ENTRY_PLOG];
            plog.unit_size = size * 1024;
            plog.size = round_to_page(plog.unit_size / 1024 + kLogReserve);
            return DPL_OK;
        }
        case 24: {
            const auto n = dpl::autoconfig::read_integer(value);
            if (n.error != 0 || n.value < kMinLogs || n.value > kMaxLogs) {
                ht_log("Invalid number of logs (%d) specified", static_cast<int>(n.value));
                return DPL_E_INVALID_VALUE;
            }
            r.space[DPL_SPACE_ENTRY_LLOG].log_count = n.value;
            size_logical_logs(r.space[DPL_SPACE_ENTRY_LLOG]);
            return DPL_OK;
        }
        case 25:
            if (!read_page_size(value, &size)) {
                ht_log("Invalid value %s for logical log size\n", value);
                return DPL_E_INVALID_VALUE;
            }
            r.space[DPL_SPACE_ENTRY_LLOG].unit_size = size * 1024;
            size_logical_logs(r.space[DPL_SPACE_ENTRY_LLOG]);
            return DPL_OK;
        case 26:
        case 28:
        case 30: {
            // The physical log's text serves for these three, as it always has.
            if (!read_page_size(value, &size)) {
                ht_log("Invalid value %s for physlog size\n", value);
                return DPL_E_INVALID_VALUE;
            }
            const int entry = code == 26   ? DPL_SPACE_ENTRY_DATA
                              : code == 28 ? DPL_SPACE_ENTRY_SLOB
                                           : DPL_SPACE_ENTRY_TEMP;
            r.space[entry].size = size;
            return DPL_OK;
        }
        default:
            ht_log("dplUpdateRecommendation: Unknown type %d \n", static_cast<int>(code));
            return DPL_E_INVALID_VALUE;
    }
}

int64_t in_units(int64_t kb, int64_t divisor) {
    return kb / divisor;
}

}  // namespace

extern "C" {

int32_t dplUpdateRecommendation(InstallControlBlock *block, int32_t code, const char *value) {
    State *state = dpl::autoconfig::state_of(block);
    if (state == nullptr) return DPL_E_BAD_CONTEXT;
    return dpl::trace::traced_call(kGenconfig, __LINE__, "dplUpdateRecommendation", [&]() -> int32_t {
        if (value == nullptr) return DPL_E_NULL_ARGUMENT;
        Recommendation &r = state->recommendation;
        if (code >= kFirstPathCode && code <= kLastPathCode) {
            const int offset = code - kFirstPathCode;
            SpaceAllocation &entry = r.space[dpl::autoconfig::space_entry_of_path(offset)];
            return dpl::autoconfig::set_path(*block, entry.path, value,
                                             dpl::autoconfig::update_path_label(offset));
        }
        return update_size(r, code, value);
    });
}

char *dplGetRecommendationString(InstallControlBlock *block, int32_t code) {
    State *state = dpl::autoconfig::state_of(block);
    if (state == nullptr || code < kFirstPathCode || code > kLastPathCode) return nullptr;
    static constexpr const char *kNames[] = {"ROOTPATH", "LLOGPATH", "PLOGPATH",
                                             "DATAPATH", "SLOBPATH", "TEMPPATH"};
    const int offset = code - kFirstPathCode;
    const char *path = state->recommendation.space[dpl::autoconfig::space_entry_of_path(offset)].path;
    char *copy = path != nullptr ? dpl::core::c_copy(path) : nullptr;
    if (copy == nullptr) ht_log("Failed to retrieve %s\n", kNames[offset]);
    return copy;
}

int64_t dplGetRecommendation(InstallControlBlock *pointer, int32_t code) {
    State *state = dpl::autoconfig::state_of(pointer);
    if (state == nullptr) return DPL_E_BAD_CONTEXT;
    const Recommendation &r = state->recommendation;
    const int64_t units = dpl::autoconfig::unit_divisor(*pointer);
    const SpaceAllocation *space = r.space;
    switch (code) {
        case 0:
            return in_units(int64_t{r.buffers} * kPageSize / 1024, units);
        case 1:
            return in_units(r.shm_virtual_size, units);
        case 2:
            return in_units(r.shm_add, units);
        case 3:
            return r.vp_memory_cache;
        case 4: {
            // Each part on 32 bits, as the figure has always been reported.
            const auto shm = static_cast<int32_t>(static_cast<uint32_t>(r.shm_virtual_size) * 1024u);
            const auto pool = static_cast<int32_t>(static_cast<uint32_t>(r.buffers) * uint32_t{kPageSize});
            const auto locks = static_cast<int32_t>(static_cast<uint32_t>(r.locks) * uint32_t{kLockBytes});
            return in_units((int64_t{shm} + pool + locks) / 1024, units);
        }
        case 5:
            return r.cleaners;
        case 6:
            return r.locks;
        case 7:
            return r.net_poll_threads;
        case 8:
            return r.lrus;
        case 19: {
            int64_t sum = 0;
            for (int index = 0; index < dpl::autoconfig::kSpaceEntries; ++index) sum += space[index].size;
            return in_units(sum, units);
        }
        case 20:
            return in_units(space[DPL_SPACE_ENTRY_ROOT].size, units);
        case 21:
            return in_units(space[DPL_SPACE_ENTRY_PLOG].size, units);
        case 22:
            return in_units(space[DPL_SPACE_ENTRY_PLOG].unit_size / 1024, units);
        case 23:
            return in_units(space[DPL_SPACE_ENTRY_LLOG].size, units);
        case 24:
            return space[DPL_SPACE_ENTRY_LLOG].log_count;
        case 25:
            return in_units(space[DPL_SPACE_ENTRY_LLOG].unit_size / 1024, units) + 1;
        case 26:
            return in_units(space[DPL_SPACE_ENTRY_DATA].size, units);
        case 27:
            return space[DPL_SPACE_ENTRY_DATA].chunks;
        case 28:
            return in_units(space[DPL_SPACE_ENTRY_SLOB].size, units);
        case 29:
            return space[DPL_SPACE_ENTRY_SLOB].chunks;
        case 30:
            return in_units(space[DPL_SPACE_ENTRY_TEMP].size, units);
        case 31:
            return space[DPL_SPACE_ENTRY_TEMP].chunks;
        case 32:
            return state->settings.max_cpu;
        default:
            return DPL_E_INVALID_VALUE;
    }
}

int32_t dplLoadRecommendation(InstallControlBlock *block) {
    State *state = dpl::autoconfig::state_of(block);
    if (state == nullptr) return DPL_E_BAD_CONTEXT;
    return dpl::trace::traced_call(kGenconfig, __LINE__, "dplLoadRecommendation", [&]() -> int32_t {
        switch (state->recommendation.stage) {
            case dpl::autoconfig::kStageCalculated: {
                const int32_t rc = write_generated_config(block);
                if (rc != DPL_OK) ht_log("Failed in results step rc = %d\n", static_cast<int>(rc));
                return rc;
            }
            case dpl::autoconfig::kStageDefaultsLoaded:
                if (load_defaults_to_config(block) != DPL_OK) {
                    ht_log("Failed in update of default configuration rc = %d\n", 1);
                    return 1;
                }
                return DPL_OK;
            default:
                return DPL_OK;
        }
    });
}

}  // extern "C"
