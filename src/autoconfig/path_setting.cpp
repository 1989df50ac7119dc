#include "autoconfig/path_setting.hpp"

#include "autoconfig/autoconfig_state.hpp"
#include "core/control_block.hpp"
#include "sysinfo/disk_locations.hpp"

namespace dpl::autoconfig {

int32_t set_path(InstallControlBlock &block, char *&field, const char *value, const char *label) {
    if (dplGetFileSysInfo(&block, value, nullptr, nullptr) != DPL_OK) {
        ht_log("Path %s is not valid\n", value);
        return DPL_E_PATH_MISSING;
    }
    if (!replace_text(field, value)) {
        ht_log("Unable to set %s rc = %d\n", label, DPL_E_NOMEM);
        return DPL_E_NOMEM;
    }
    return sysinfo::add_directory_location(block, value);
}

int space_entry_of_path(int offset) {
    static constexpr int kEntries[kSpaceEntries] = {DPL_SPACE_ENTRY_ROOT, DPL_SPACE_ENTRY_LLOG,
                                                    DPL_SPACE_ENTRY_PLOG, DPL_SPACE_ENTRY_DATA,
                                                    DPL_SPACE_ENTRY_SLOB, DPL_SPACE_ENTRY_TEMP};
    return kEntries[offset];
}

const char *setting_path_label(int offset) {
    static constexpr const char *kLabels[kSpaceEntries] = {"ROOTPATH",  "LLOG PATH", "PLOG PATH",
                                                           "DATA PATH", "SLOB PATH", "DATA PATH"};
    return kLabels[offset];
}

const char *update_path_label(int offset) {
    static constexpr const char *kLabels[kSpaceEntries] = {"ROOTPATH",  "LLOG PATH", "PLOG PATH",
                                                           "DATA PATH", "SLOB PATH", "SLOB PATH"};
    return kLabels[offset];
}

}  // namespace dpl::autoconfig
