// The recommendation calculation: five steps in a fixed order, stopping at
// the first that fails.
#include <cmath>
#include <cstdint>
#include <limits>

#include "autoconfig/autoconfig_state.hpp"
#include "autoconfig/autoconfig_steps.hpp"
#include "core/control_block.hpp"
#include "trace/trace.hpp"

namespace dpl::autoconfig {

namespace {

constexpr int64_t kPageSize = 4096;

}  // namespace

int64_t round_to_page(int64_t value) {
    const uint64_t sum = static_cast<uint64_t>(value) + static_cast<uint64_t>(kPageSize - 1);
    const int64_t quotient = static_cast<int64_t>(sum) / kPageSize;
    return int64_t{static_cast<int32_t>(quotient)} * kPageSize;
}

int64_t truncate_to_integer(double value) {
    constexpr double kLimit = 9.2e18;
    if (std::isnan(value)) return 0;
    if (value >= kLimit) return std::numeric_limits<int64_t>::max();
    if (value <= -kLimit) return std::numeric_limits<int64_t>::min();
    return static_cast<int64_t>(value);
}

}  // namespace dpl::autoconfig

namespace {

using dpl::trace::kGenconfig;

int32_t calculate(InstallControlBlock &block, dpl::autoconfig::State &state) {
    dpl::autoconfig::reset_recommendation(state.recommendation);
    int32_t rc = dpl::autoconfig::validate_settings(block);
    if (rc != DPL_OK) {
        ht_log("Failed to validate input parameters rc = %d\n", static_cast<int>(rc));
        return rc;
    }
    // Every successful instance path offers a location, so the list is empty
    // only when the caller's own state says otherwise.
    if (dplGetDiskLocations(&block) == nullptr) {
        ht_log("Failed in disk speed measurement step rc = %d\n", DPL_E_NULL_ARGUMENT);
        return DPL_E_NULL_ARGUMENT;
    }
    rc = measure_disk_speed(&block);
    if (rc != DPL_OK) {
        ht_log("Failed in disk speed measurement step rc = %d\n", static_cast<int>(rc));
        return rc;
    }
    rc = dpl::autoconfig::calculate_memory(block);
    if (rc != DPL_OK) {
        ht_log("Failed in memory calculation step rc = %d\n", static_cast<int>(rc));
        return rc;
    }
    rc = dpl::autoconfig::calculate_log_sizes(block);
    if (rc != DPL_OK) {
        ht_log("Failed in logsize calculation step rc = %d\n", static_cast<int>(rc));
        return rc;
    }
    rc = dpl::autoconfig::calculate_space(block);
    if (rc != DPL_OK) {
        ht_log("Failed in space calculation step rc = %d\n", static_cast<int>(rc));
        return rc;
    }
    state.recommendation.stage = dpl::autoconfig::kStageCalculated;
    return DPL_OK;
}

}  // namespace

extern "C" int32_t dplCalculateRecommendation(InstallControlBlock *block) {
    dpl::autoconfig::State *state = dpl::autoconfig::state_of(block);
    if (state == nullptr) return DPL_E_BAD_CONTEXT;
    return dpl::trace::traced_call(kGenconfig, __LINE__, "dplCalculateRecommendation",
                                   [&] { return calculate(*block, *state); });
}
