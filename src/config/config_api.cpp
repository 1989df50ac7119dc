// Looking up, setting and adding configuration parameters.
#include <new>

#include "config/config_store.hpp"
#include "trace/trace.hpp"

using dpl::config::ConfigTable;
using dpl::config::NewLine;
using dpl::config::table_of;
using dpl::trace::kInstance;

extern "C" {

int32_t dplGetConfig(Instance *instance, const char *name, const char **value, ConfigEntry **entry) {
    return dpl::trace::traced_call(kInstance, __LINE__, "dplGetConfig", [&]() -> int32_t {
        if (instance == nullptr) return DPL_E_NULL_ARGUMENT;
        ConfigTable *table = table_of(instance);
        if (table == nullptr) return DPL_E_BAD_CONTEXT;
        if (name == nullptr) return DPL_E_NULL_ARGUMENT;
        // The value passed in only selects among the repeatable parameters.
        const ConfigTable::Index found = table->find(name, value != nullptr ? *value : nullptr);
        if (found == ConfigTable::kNone) return DPL_E_FAIL;
        ConfigEntry &record = table->entry(found);
        if (value != nullptr) *value = record.value;
        if (entry != nullptr) *entry = &record;
        return DPL_OK;
    });
}

int32_t dplSetConfig(Instance *instance, const char *name, const char *value, const char *comment) {
    // A setting never changes or sets a comment: a new parameter gets an
    // empty one, an existing parameter keeps its own.
    static_cast<void>(comment);
    return dpl::trace::traced_call(kInstance, __LINE__, "dplSetConfig", [&]() -> int32_t {
        ConfigTable *table = table_of(instance);
        if (instance != nullptr && table == nullptr) return DPL_E_BAD_CONTEXT;
        if (name == nullptr || value == nullptr) return DPL_E_NULL_ARGUMENT;
        if (*name == '\0') return DPL_E_INVALID_VALUE;
        const auto inserted =
            dpl::config::insert_line(table, NewLine{DPL_CONFIG_PARAMETER, name, value, std::string_view()});
        if (!inserted) {
            ht_debug(5, kInstance, __LINE__, "dplSetConfig failed for %s\n", name);
            return DPL_E_FAIL;
        }
        if (!inserted->added) {
            try {
                table->replace_value(inserted->index, value);
            } catch (const std::bad_alloc &) {
                ht_debug(5, kInstance, __LINE__, "Failed to allocate memory in dplSetConfig\n");
                return DPL_E_NOMEM;
            }
        }
        return DPL_OK;
    });
}

int32_t dplAddConfig(Instance *instance, const char *name, const char *value, const char *comment) {
    return dpl::trace::traced_call(kInstance, __LINE__, "dplAddConfig", [&]() -> int32_t {
        if (instance == nullptr) return DPL_E_BAD_CONTEXT;
        ConfigTable *table = table_of(instance);
        if (table == nullptr) return DPL_E_NULL_ARGUMENT;
        if (name != nullptr && value == nullptr) return DPL_E_INVALID_VALUE;
        NewLine line;
        if (name != nullptr && *name != '\0') {
            line.kind = DPL_CONFIG_PARAMETER;
            line.name = name;
            line.value = value;
            if (comment != nullptr) line.comment = comment;
        } else if (comment != nullptr) {
            // The caller supplies the '#' and the line end.
            line.kind = DPL_CONFIG_COMMENT;
            line.name = comment;
        }
        return dpl::config::add_line(*table, line);
    });
}

}  // extern "C"
