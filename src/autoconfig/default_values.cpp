// Default space paths under the instance path, and log figures taken from
// the parameters already in the configuration.
#include <string>

#include "autoconfig/autoconfig_state.hpp"
#include "autoconfig/autoconfig_steps.hpp"
#include "autoconfig/parameter_writer.hpp"
#include "autoconfig/setting_texts.hpp"
#include "core/control_block.hpp"
#include "trace/trace.hpp"

namespace dpl::autoconfig {

namespace {

constexpr std::size_t kPathBuffer = 255;
constexpr int64_t kLogReserve = 1048576;

constexpr const char *kChunkNames[kSpaceEntries] = {"rootdbs.000", "plogdbs.000", "llogdbs.000",
                                                    "datadbs.000", "sbspace.000", "tempdbs.000"};

// The configuration must have been read, and the unit becomes kilobytes.
int32_t prepare(InstallControlBlock &block) {
    if (!block.current->config_read) {
        ht_log("ONCONFIG file has not been read yet\n");
        return DPL_E_NULL_ARGUMENT;
    }
    const int32_t units = dplSetDiskMemUnits(&block, "KB");
    if (units < 0) {
        ht_log("Failed to reset disk/memory io units to KB\n");
        return units;
    }
    return DPL_OK;
}

// A parameter's value, or null after nothing was found.
const char *parameter(InstallControlBlock &block, const char *name, int32_t *rc) {
    const char *value = nullptr;
    *rc = dplGetConfig(block.current, name, &value, nullptr);
    return *rc == DPL_OK ? value : nullptr;
}

int32_t default_space_paths(InstallControlBlock &block, State &state) {
    if (const int32_t rc = prepare(block); rc != DPL_OK) return rc;
    ServerPlace place;
    if (const int32_t rc = read_server_place(block, &place, "ORVANDEXSERVER not set yet...\n",
                                             "ORVANDEXDIR not set yet...\n");
        rc != DPL_OK) {
        return rc;
    }
    AutoConfigSettings &s = state.settings;
    if (s.instance_path == nullptr) {
        std::string path = join_path(join_path(place.directory, place.server), "dbspaces");
        // The folder name is made in a buffer of 255 bytes.
        if (path.size() >= kPathBuffer) path.resize(kPathBuffer - 1);
        if (!replace_text(s.instance_path, path)) return DPL_E_NOMEM;
    }
    for (int index = 0; index < kSpaceEntries; ++index) {
        if (!replace_text(state.recommendation.space[index].path,
                          join_path(s.instance_path, kChunkNames[index]))) {
            return DPL_E_NOMEM;
        }
    }
    return DPL_OK;
}

int32_t default_log_values(InstallControlBlock &block, State &state) {
    if (const int32_t rc = prepare(block); rc != DPL_OK) return rc;
    Recommendation &r = state.recommendation;
    int32_t rc = DPL_OK;

    const char *logfiles = parameter(block, "LOGFILES", &rc);
    const ReadInteger count = logfiles != nullptr ? read_integer(logfiles) : ReadInteger{};
    if (logfiles == nullptr || count.error != 0) {
        ht_log("Failed to get paramameter LOGFILES from onconfig\n");
        return logfiles == nullptr ? rc : DPL_E_INVALID_VALUE;
    }
    SpaceAllocation &llog = r.space[DPL_SPACE_ENTRY_LLOG];
    llog.log_count = count.value;
    ht_log("Read default value of %d for LOGFILES", static_cast<int>(count.value));

    const char *logsize = parameter(block, "LOGSIZE", &rc);
    const int64_t log_kb = logsize != nullptr ? dplParseSize(logsize) : DPL_E_INVALID_VALUE;
    if (log_kb < 0) {
        ht_log("Failed to get parameter LOGSIZE from onconfig\n");
        return logsize == nullptr ? rc : DPL_E_INVALID_VALUE;
    }
    llog.unit_size = log_kb * 1024;
    ht_log("Read default value of %ld for LOGSIZE", static_cast<long>(log_kb));
    llog.size = round_to_page((int64_t{llog.log_count} * llog.unit_size + kLogReserve) / 1024);

    const char *physfile = parameter(block, "PHYSFILE", &rc);
    const int64_t phys_kb = physfile != nullptr ? dplParseSize(physfile) : DPL_E_INVALID_VALUE;
    if (phys_kb < 0) {
        ht_log("Failed to get parameter PHYSFILE from onconfig\n");
        return physfile == nullptr ? rc : DPL_E_INVALID_VALUE;
    }
    SpaceAllocation &plog = r.space[DPL_SPACE_ENTRY_PLOG];
    plog.unit_size = phys_kb * 1024;
    ht_log("Read default value of %ld for PHYSFILE", static_cast<long>(phys_kb));
    plog.size = (plog.unit_size + kLogReserve) / 1024;
    return DPL_OK;
}

}  // namespace
}  // namespace dpl::autoconfig

extern "C" {

int32_t load_default_space_paths(InstallControlBlock *block) {
    dpl::autoconfig::State *state = dpl::autoconfig::state_of(block);
    if (state == nullptr) return DPL_E_BAD_CONTEXT;
    return dpl::trace::traced_call(dpl::trace::kGenconfig, __LINE__, "load_default_space_paths",
                                   [&] { return dpl::autoconfig::default_space_paths(*block, *state); });
}

int32_t load_default_log_values(InstallControlBlock *block) {
    dpl::autoconfig::State *state = dpl::autoconfig::state_of(block);
    if (state == nullptr) return DPL_E_BAD_CONTEXT;
    return dpl::trace::traced_call(dpl::trace::kGenconfig, __LINE__, "load_default_log_values",
                                   [&] { return dpl::autoconfig::default_log_values(*block, *state); });
}

}  // extern "C"
