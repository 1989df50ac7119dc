// Without a calculation: the recommendation filled from the parameters
// already in the configuration plus fixed sizes, and the shorter set of
// parameters written from it.
#include <string>

#include "autoconfig/autoconfig_state.hpp"
#include "autoconfig/autoconfig_steps.hpp"
#include "autoconfig/bufferpool_text.hpp"
#include "autoconfig/parameter_writer.hpp"
#include "core/control_block.hpp"
#include "trace/trace.hpp"

namespace {

using dpl::autoconfig::State;
using dpl::trace::kGenconfig;

constexpr int64_t kPageSize = 4096;

// A parameter read as a size in KB: 0, the lookup's code, or -966 for a
// value the size parser refuses; `missing` is logged on either failure.
int32_t size_parameter(InstallControlBlock &block, const char *name, const char *missing, int64_t *size) {
    const char *value = nullptr;
    int32_t rc = dplGetConfig(block.current, name, &value, nullptr);
    if (rc == DPL_OK) {
        *size = dplParseSize(value);
        if (*size < 0) rc = DPL_E_INVALID_VALUE;
    }
    if (rc != DPL_OK) ht_log("%s", missing);
    return rc;
}

// A fixed default size; false after logging the refusal.
bool fixed_size(const char *text, int64_t *size) {
    const int64_t parsed = dplParseSize(text);
    if (parsed < 1) {
        ht_log("Invalid value %s for physlog size\n", text);
        return false;
    }
    *size = dpl::autoconfig::round_to_page(parsed);
    return true;
}

int32_t fill_from_config(InstallControlBlock &block, State &state) {
    Recommendation &r = state.recommendation;
    if (const int32_t rc = load_default_space_paths(&block); rc != DPL_OK) {
        ht_log("Failed to load default dbspace paths - error %d\n", static_cast<int>(rc));
        return rc;
    }
    int32_t rc = size_parameter(block, "ROOTSIZE", "Failed to get parameter ROOTSIZE from onconfig\n",
                                &r.space[DPL_SPACE_ENTRY_ROOT].size);
    if (rc != DPL_OK) return rc;
    ht_log("Read default value of %ld for ROOTSIZE", static_cast<long>(r.space[DPL_SPACE_ENTRY_ROOT].size));

    rc = load_default_log_values(&block);
    if (rc != DPL_OK) {
        ht_log("Failed to set default log parameters from onconfig\n");
        return rc;
    }

    // The pool of the page size is the one whose first field is size=<page>k.
    const std::string selector = "size=" + std::to_string(kPageSize / 1024) + "k,";
    const char *pool_text = selector.c_str();
    rc = dplGetConfig(block.current, "BUFFERPOOL", &pool_text, nullptr);
    if (rc != DPL_OK) {
        ht_log("Failed to get parameter BUFFERPOOL from onconfig\n");
        return rc;
    }
    dpl::autoconfig::BufferPool pool;
    if (dpl::autoconfig::parse_bufferpool(pool_text, kPageSize / 1024, &pool) != DPL_OK) {
        ht_log("Failed to parse BUFFERPOOL parameter in onconfig\n");
        return DPL_E_INVALID_VALUE;
    }
    r.buffers = pool.buffers;
    ht_log("Read default value of %ld for BUFFERS\n", static_cast<long>(r.buffers));

    rc = size_parameter(block, "SHMVIRTSIZE", "Failed to get parameter SHMVIRTSIZE from onconfig\n",
                        &r.shm_virtual_size);
    if (rc != DPL_OK) return rc;
    ht_log("Read default value of %ld for SHMVIRTSIZE", static_cast<long>(r.shm_virtual_size));

    if (!fixed_size("50MB", &r.space[DPL_SPACE_ENTRY_DATA].size))
        ht_log("Failed to create datadbs of 50MB\n");
    if (!fixed_size("32MB", &r.space[DPL_SPACE_ENTRY_SLOB].size))
        ht_log("Failed to create sbspace of 32MB\n");
    int32_t result = DPL_OK;
    if (!fixed_size("50MB", &r.space[DPL_SPACE_ENTRY_TEMP].size)) {
        ht_log("Failed to create tempdbs of 50MB\n");
        result = DPL_E_INVALID_VALUE;
    }
    r.net_poll_threads = 1;
    r.stage = dpl::autoconfig::kStageDefaultsLoaded;
    return result;
}

int32_t load_default_config(InstallControlBlock &block, State &state) {
    if (!block.current->config_read) {
        ht_log("ONCONFIG file has not been read yet\n");
        return DPL_E_NULL_ARGUMENT;
    }
    const int32_t saved_units = block.disk_mem_units;
    const int32_t units = dplSetDiskMemUnits(&block, "KB");
    if (units < 0) {
        ht_log("Failed to reset disk/memory io units to KB\n");
        return units;
    }
    const int32_t rc = fill_from_config(block, state);
    block.disk_mem_units = saved_units;
    return rc;
}

int32_t write_defaults(InstallControlBlock &block, State &state) {
    const Recommendation &r = state.recommendation;
    if (r.stage != dpl::autoconfig::kStageDefaultsLoaded) return DPL_E_STAGE;
    dpl::autoconfig::ServerPlace place;
    if (const int32_t rc = dpl::autoconfig::read_server_place(
            block, &place, "Error: ORVANDEXSERVER not set yet.", "ORVANDEXDIR not set yet...\n");
        rc != DPL_OK) {
        return rc;
    }
    if (state.settings.instance_path == nullptr) return DPL_E_STAGE;
    const SpaceAllocation *space = r.space;
    dpl::autoconfig::ParameterWriter w(block.current);
    w.text("LTAPEDEV", "");
    w.text("CONSOLE", dpl::autoconfig::join_path(place.directory, place.server + ".con"));
    w.number("LOGFILES", space[DPL_SPACE_ENTRY_LLOG].log_count);
    w.number("LOGSIZE", space[DPL_SPACE_ENTRY_LLOG].unit_size / 1024);
    w.number("PHYSFILE", space[DPL_SPACE_ENTRY_PLOG].unit_size / 1024);
    w.number("ROOTSIZE", space[DPL_SPACE_ENTRY_ROOT].size);
    w.text("MSGPATH", dpl::autoconfig::join_path(place.directory, place.server + ".log"));
    dpl::autoconfig::write_nettypes(block, w, r.net_poll_threads);
    w.number("SERVERNUM", state.settings.server_num);
    if (!w.ok()) return w.status();
    ht_log("Attempting to create ROOTPATH = %s.", "(null)");
    const std::string root = dpl::autoconfig::join_path(state.settings.instance_path, "rootdbs.000");
    ht_log("Attempting to create ROOTPATH = %s.", root.c_str());
    dpl::autoconfig::write_chunk_path(block, w, "ROOTPATH", root, "root");
    w.text("SBSPACENAME", "sbspace");
    w.text("DBSPACETEMP", "tempdbs");
    return w.status();
}

}  // namespace

extern "C" {

int32_t dplLoadDefaultConfig(InstallControlBlock *block) {
    State *state = dpl::autoconfig::state_of(block);
    if (state == nullptr) return DPL_E_BAD_CONTEXT;
    return dpl::trace::traced_call(kGenconfig, __LINE__, "dplLoadDefaultConfig",
                                   [&] { return load_default_config(*block, *state); });
}

int32_t load_defaults_to_config(InstallControlBlock *block) {
    State *state = dpl::autoconfig::state_of(block);
    if (state == nullptr) return DPL_E_BAD_CONTEXT;
    return dpl::trace::traced_call(kGenconfig, __LINE__, "load_defaults_to_config",
                                   [&] { return write_defaults(*block, *state); });
}

}  // extern "C"
