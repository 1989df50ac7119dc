#include "autoconfig/autoconfig_state.hpp"

#include <cstdlib>

#include "core/c_text.hpp"
#include "core/control_block.hpp"

namespace dpl::autoconfig {

namespace {

void release_paths(Recommendation &record) {
    for (SpaceAllocation &entry : record.space) release_text(entry.path);
}

}  // namespace

State::State() {
    init_autoconfig(this);
}

State::~State() {
    release_text(settings.instance_path);
    release_text(settings.mirror_path);
    release_paths(recommendation);
}

int32_t init_autoconfig(State *state) {
    if (state == nullptr) return DPL_E_NULL_ARGUMENT;
    AutoConfigSettings &s = state->settings;
    release_text(s.instance_path);
    release_text(s.mirror_path);
    s = AutoConfigSettings{};
    s.signature = kRecordSignature;
    s.max_users = kDefaultMaxUsers;
    s.max_ds_users = kDefaultMaxDsUsers;
    s.rto_policy = kDefaultRtoPolicy;
    s.txn_support = 1;
    s.sbspace_enabled = 1;
    s.max_disk = kDefaultMaxDiskKb;
    s.max_mem = kDefaultMaxMemKb;
    s.max_cpu = 1;
    s.server_num = 1;
    s.lru_min_dirty = kDefaultLruMinDirty;
    s.lru_max_dirty = kDefaultLruMaxDirty;
    // Nothing can be calculated before the instance path has been given.
    s.status[DPL_SET_INSTANCEPATH] = DPL_E_PATH_MISSING;
    reset_recommendation(state->recommendation);
    return DPL_OK;
}

void reset_recommendation(Recommendation &record) {
    release_paths(record);
    record = Recommendation{};
    record.signature = kRecordSignature;
    for (int index = 0; index < kSpaceEntries; ++index) {
        record.space[index].kind = static_cast<uint32_t>(index);
        record.space[index].chunks = 1;
    }
}

bool replace_text(char *&field, std::string_view text) {
    char *copy = core::c_copy(text);
    if (copy == nullptr) return false;
    std::free(field);
    field = copy;
    return true;
}

void release_text(char *&field) {
    std::free(field);
    field = nullptr;
}

State *state_of(InstallControlBlock *pointer) {
    InstallControlBlock *block = core::as_block(pointer);
    if (block == nullptr || block->current == nullptr) return nullptr;
    return &block->current->autoconfig;
}

}  // namespace dpl::autoconfig
