// The automatic-configuration records of the current instance, as C callers
// (and the disk measurement) reach them.
#include "autoconfig/autoconfig_state.hpp"

using dpl::autoconfig::state_of;

extern "C" {

AutoConfigSettings *dplGetAutoConfigSettings(InstallControlBlock *block) {
    dpl::autoconfig::State *state = state_of(block);
    return state != nullptr ? &state->settings : nullptr;
}

Recommendation *dplGetRecommendationRecord(InstallControlBlock *block) {
    dpl::autoconfig::State *state = state_of(block);
    return state != nullptr ? &state->recommendation : nullptr;
}

}  // extern "C"
