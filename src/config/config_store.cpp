#include "config/config_store.hpp"

#include <new>

#include "core/control_block.hpp"
#include "trace/trace.hpp"

namespace dpl::config {

using trace::kInstance;

ConfigTable *table_of(Instance *pointer) {
    Instance *instance = core::as_instance(pointer);
    return instance != nullptr ? &instance->config : nullptr;
}

std::optional<ConfigTable::Insertion> insert_line(ConfigTable *table, const NewLine &line) {
    if (table == nullptr) {
        ht_debug(5, kInstance, __LINE__,
                 "AddConfigValue received NULL parameter value for instance or configLine\n");
        return std::nullopt;
    }
    try {
        table->reserve_one();
    } catch (const std::bad_alloc &) {
        ht_debug(5, kInstance, __LINE__, "Failed to allocate expand memory for onconfig\n");
        return std::nullopt;
    }
    try {
        switch (line.kind) {
            case DPL_CONFIG_BLANK:
                return ConfigTable::Insertion{table->append_blank(), true};
            case DPL_CONFIG_COMMENT:
                return ConfigTable::Insertion{table->append_text(line.name), true};
            case DPL_CONFIG_PARAMETER:
                return table->insert_parameter(line.name, line.value, line.comment);
            default:
                return std::nullopt;
        }
    } catch (const std::bad_alloc &) {
        ht_debug(5, kInstance, __LINE__, "Search/add failed for AddConfigValue\n");
        return std::nullopt;
    }
}

int32_t add_line(ConfigTable &table, const NewLine &line) {
    if (!table.has_storage()) {
        try {
            table.ensure_storage();
        } catch (const std::bad_alloc &) {
            ht_debug(5, kInstance, __LINE__, "Failed to allocate memory for onconfig.");
            return DPL_E_NOMEM;
        }
    }
    if (!insert_line(&table, line)) {
        ht_debug(5, kInstance, __LINE__, "Failed to write type %d entry into onconfig in dplAddConfig.",
                 static_cast<int>(line.kind));
        return DPL_E_FAIL;
    }
    return DPL_OK;
}

}  // namespace dpl::config
