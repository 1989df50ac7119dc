// The caller's limits and wishes, one setting at a time, each checked as it
// arrives and its result kept in a status slot that the calculation checks.
#include <string>
#include <string_view>

#include "autoconfig/autoconfig_state.hpp"
#include "autoconfig/autoconfig_steps.hpp"
#include "autoconfig/machine_figures.hpp"
#include "autoconfig/path_setting.hpp"
#include "autoconfig/setting_texts.hpp"
#include "core/control_block.hpp"
#include "trace/trace.hpp"

namespace {

using dpl::autoconfig::read_boolean;
using dpl::autoconfig::read_integer;
using dpl::autoconfig::ReadInteger;
using dpl::autoconfig::State;
using dpl::trace::kGenconfig;

constexpr int32_t kLastSetting = DPL_SET_TEMPPATH;
constexpr int32_t kMaxServerNum = 255;
constexpr int32_t kMinRto = 60;
constexpr int32_t kMaxRto = 1800;
constexpr int32_t kDsUsersAfterFailure = 10;
constexpr int32_t kMaxPercent = 100;

constexpr const char *kSettingNames[kLastSetting + 1] = {
    "DPL_SET_MAXCPU",          "DPL_SET_MAXMEM",         "DPL_SET_MAXDISK",    "DPL_SET_MAXCPU_PCT",
    "DPL_SET_MAXMEM_PCT",      "DPL_SET_MAXDISK_PCT",    "DPL_SET_MIRROR_ALL", "DPL_SET_MIRROR_CRITICAL",
    "DPL_SET_SBSPACE_ENABLED", "DPL_SET_SBSPACE_LOGOPT", "DPL_SET_RTOPOLICY",  "DPL_SET_INSTANCEPATH",
    "DPL_SET_MIRRORPATH",      "DPL_SET_MAXUSERS",       "DPL_SET_MAXDSUSERS", "DPL_SET_SERVERTYPE",
    "DPL_SET_SERVERNUM",       "DPL_SET_TXNSUPPORT",     "DPL_SET_ROOTPATH",   "DPL_SET_LLOGPATH",
    "DPL_SET_PLOGPATH",        "DPL_SET_DATAPATH",       "DPL_SET_SLOBPATH",   "DPL_SET_TEMPPATH"};

class Settings {
public:
    Settings(InstallControlBlock &block, State &state) : block_(block), s_(state.settings), state_(state) {}

    // Logs the setting's line, applies it and records its result.
    int32_t handle(int32_t type, const std::string &value) {
        ht_log("Set %s to: %s\n", kSettingNames[type], value.c_str());
        const int32_t rc = apply(type, value);
        s_.status[type] = rc;
        return rc;
    }

private:
    int32_t apply(int32_t type, const std::string &value) {
        const char *text = value.c_str();
        switch (type) {
            case DPL_SET_MAXCPU:
                return max_cpu(value);
            case DPL_SET_MAXMEM:
                return max_mem(value);
            case DPL_SET_MAXDISK:
                return max_disk(value);
            case DPL_SET_MAXCPU_PCT:
                return percentage(value, "cpu", s_.cpu_pct, s_.cpu_mode);
            case DPL_SET_MAXMEM_PCT:
                return percentage(value, "mem", s_.mem_pct, s_.mem_mode);
            case DPL_SET_MAXDISK_PCT:
                return percentage(value, "disk", s_.disk_pct, s_.disk_mode);
            case DPL_SET_MIRROR_ALL:
                return boolean(value, "mirror all", s_.mirror_all, 0);
            case DPL_SET_MIRROR_CRITICAL:
                return boolean(value, "mirror critical", s_.mirror_critical, 0);
            case DPL_SET_SBSPACE_ENABLED:
                return boolean(value, "sbspace enable", s_.sbspace_enabled, 0);
            case DPL_SET_SBSPACE_LOGOPT:
                // The logging option's text also goes on as the recovery-time
                // policy, whose result is the setting's.
                boolean(value, "sbspace logging option", s_.sbspace_logopt, 0);
                ht_log("Set %s to: %s\n", kSettingNames[DPL_SET_RTOPOLICY], text);
                return rto_policy(value);
            case DPL_SET_RTOPOLICY:
                return rto_policy(value);
            case DPL_SET_INSTANCEPATH:
                return dpl::autoconfig::set_path(block_, s_.instance_path, text, "INSTANCEPATH");
            case DPL_SET_MIRRORPATH:
                return dpl::autoconfig::set_path(block_, s_.mirror_path, text, "MIRRORPATH");
            case DPL_SET_MAXUSERS:
                return max_users(value);
            case DPL_SET_MAXDSUSERS:
                return max_ds_users(value);
            case DPL_SET_SERVERTYPE:
                return server_type(value);
            case DPL_SET_SERVERNUM:
                return server_num(value);
            case DPL_SET_TXNSUPPORT:
                return boolean(value, "transaction support", s_.txn_support, 1);
            default: {
                const int offset = type - DPL_SET_ROOTPATH;
                SpaceAllocation &entry =
                    state_.recommendation.space[dpl::autoconfig::space_entry_of_path(offset)];
                return dpl::autoconfig::set_path(block_, entry.path, text,
                                                 dpl::autoconfig::setting_path_label(offset));
            }
        }
    }

    // A value with "%" is a percentage: the text before it goes to the
    // percentage setting, whose result is this one's too.
    static bool is_percentage(const std::string &value, std::string *number) {
        const std::size_t mark = value.find('%');
        if (mark == std::string::npos) return false;
        *number = value.substr(0, mark);
        return true;
    }

    int32_t max_cpu(const std::string &value) {
        std::string number;
        if (is_percentage(value, &number)) return handle(DPL_SET_MAXCPU_PCT, number);
        const ReadInteger n = read_integer(value);
        if (n.error != 0) {
            ht_log("Value %s out of range for max cpus errno = %d\n", value.c_str(), n.error);
            return DPL_E_INVALID_VALUE;
        }
        if (n.value < 1) {
            ht_log("Must specify at least 1 cpu\n");
            return DPL_E_SETTING_CPUS_ZERO;
        }
        if (static_cast<uint32_t>(n.value) > dplGetTotalCPU(&block_)) {
            ht_log("Cannot specify more CPUs than are present on this machine\n");
            return DPL_E_SETTING_CPUS;
        }
        s_.max_cpu = n.value;
        s_.cpu_mode = 1;
        return DPL_OK;
    }

    int32_t max_mem(const std::string &value) {
        std::string number;
        if (is_percentage(value, &number)) return handle(DPL_SET_MAXMEM_PCT, number);
        const int64_t size = dplParseSize(value.c_str());
        if (size < 1) {
            ht_log("Invalid value %s for maximum memory\n", value.c_str());
            return DPL_E_INVALID_VALUE;
        }
        if (size > dpl::autoconfig::total_memory_kb(block_)) {
            ht_log("Cannot exceed memory present on this machine\n");
            return DPL_E_SETTING_MEMORY;
        }
        s_.max_mem = size;
        s_.mem_mode = 1;
        return DPL_OK;
    }

    int32_t max_disk(const std::string &value) {
        std::string number;
        if (is_percentage(value, &number)) return handle(DPL_SET_MAXDISK_PCT, number);
        const int64_t size = dplParseSize(value.c_str());
        if (size < 1) {
            ht_log("Invalid value %s for maximum disk\n", value.c_str());
            return DPL_E_INVALID_VALUE;
        }
        s_.max_disk = size;
        // Every device offered is one location, so no disk counts twice.
        uint64_t offered = 0;
        for (const DiskLocation *at = dplGetDiskLocations(&block_); at != nullptr; at = at->next) {
            offered += at->size;
        }
        if (static_cast<uint64_t>(size) > offered) {
            ht_log("Insufficient disk space provided\n");
            return DPL_E_DISK_ABOVE_LOCATIONS;
        }
        s_.disk_mode = 1;
        return DPL_OK;
    }

    static int32_t percentage(const std::string &value, const char *what, int32_t &pct, int32_t &mode) {
        const ReadInteger n = read_integer(value);
        if (n.error != 0) {
            ht_log("Value %s out of range for max %s percentage errno = %d\n", value.c_str(), what, n.error);
            pct = 0;
            return DPL_E_INVALID_VALUE;
        }
        if (n.value < 1 || n.value > kMaxPercent) {
            ht_log("Invalid percentage value specified\n");
            return DPL_E_SETTING_RANGE;
        }
        pct = n.value;
        mode = 2;
        return DPL_OK;
    }

    static int32_t boolean(const std::string &value, const char *what, int32_t &field,
                           int32_t after_failure) {
        const auto flag = read_boolean(value);
        if (!flag) {
            ht_log("Invalid value %s passed for %s\n", value.c_str(), what);
            field = after_failure;
            return DPL_E_INVALID_VALUE;
        }
        field = *flag;
        return DPL_OK;
    }

    int32_t rto_policy(const std::string &value) {
        const ReadInteger n = read_integer(value);
        if (n.error != 0 || (n.value != 0 && (n.value < kMinRto || n.value > kMaxRto))) {
            ht_log("Invalid value %s passed for RTO_SERVER_RESTART\n", value.c_str());
            s_.rto_policy = 0;
            return DPL_E_SETTING_RTO;
        }
        s_.rto_policy = n.value;
        return DPL_OK;
    }

    int32_t max_users(const std::string &value) {
        const ReadInteger n = read_integer(value);
        if (n.error != 0 || n.value <= 0) {
            ht_log("Invalid value %s specified for concurrent users\n", value.c_str());
            s_.max_users = 0;
            return DPL_E_SETTING_USERS;
        }
        s_.max_users = n.value;
        return DPL_OK;
    }

    int32_t max_ds_users(const std::string &value) {
        const ReadInteger n = read_integer(value);
        if (n.error != 0) {
            ht_log("Invalid value %s specified for ds users\n", value.c_str());
            s_.max_ds_users = kDsUsersAfterFailure;
            return DPL_E_SETTING_USERS;
        }
        s_.max_ds_users = n.value;
        return DPL_OK;
    }

    int32_t server_type(const std::string &value) {
        const std::string word = dpl::autoconfig::read_squeezed(value);
        if (word == "DSS") {
            s_.server_type = 1;
        } else if (word == "OLTP") {
            s_.server_type = 0;
        } else {
            return DPL_E_SETTING_SERVERTYPE;
        }
        return DPL_OK;
    }

    int32_t server_num(const std::string &value) {
        const ReadInteger n = read_integer(value);
        s_.server_num = n.value;
        if (n.error != 0 || n.value < 0 || n.value > kMaxServerNum) {
            ht_log("Value %s out of range for server number\n", value.c_str());
            return DPL_E_INVALID_VALUE;
        }
        return DPL_OK;
    }

    InstallControlBlock &block_;
    AutoConfigSettings &s_;
    State &state_;
};

}  // namespace

extern "C" int32_t dplSetAutoConfig(InstallControlBlock *block, int32_t type, const char *value) {
    State *state = dpl::autoconfig::state_of(block);
    if (state == nullptr) return DPL_E_BAD_CONTEXT;
    return dpl::trace::traced_call(kGenconfig, __LINE__, "dplSetAutoConfig", [&]() -> int32_t {
        if (value == nullptr || value[0] == '\0') return DPL_E_NULL_ARGUMENT;
        if (type < 0 || type > kLastSetting) {
            ht_log("Unknown type %d set to: %s", static_cast<int>(type), value);
            state->settings.status[dpl::autoconfig::kUnknownTypeSlot] = DPL_E_INVALID_VALUE;
            return DPL_E_INVALID_VALUE;
        }
        return Settings(*block, *state).handle(type, value);
    });
}

namespace dpl::autoconfig {

int32_t validate_settings(InstallControlBlock &block) {
    State *state = state_of(&block);
    if (state == nullptr) return DPL_E_BAD_CONTEXT;
    ht_log("Validating calculation parameters\n");
    int errors = 0;
    for (int slot = 0; slot < kStatusSlots; ++slot) {
        const int32_t code = state->settings.status[slot];
        if (code == 0) continue;
        ht_log("Error (%d) detected at step %d -- cannot calculate\n", static_cast<int>(code), slot);
        ++errors;
    }
    ht_log("Number of errors = %d\n", errors);
    return errors != 0 ? DPL_E_FAIL : DPL_OK;
}

}  // namespace dpl::autoconfig
