// Writing the configuration table back to the instance's onconfig file.
#include <string>
#include <string_view>

#include "config/config_parser.hpp"
#include "config/config_store.hpp"
#include "config/config_text.hpp"
#include "core/control_block.hpp"
#include "core/replacement_file.hpp"
#include "trace/trace.hpp"

namespace {

using dpl::core::EnvironmentEntry;
using dpl::trace::kInstance;

#if defined(_WIN32)
constexpr const char *kSeparator = "\\";
#else
constexpr const char *kSeparator = "/";
#endif

// The server whose file this is, from DBSERVERNAME and ORVANDEXSERVER.
// False (after a message for a mismatch) when no name can be settled on.
bool choose_server_name(Instance &instance, std::string *name) {
    const EnvironmentEntry *server = dpl::core::find_environment(instance, "ORVANDEXSERVER");
    const char *dbservername = nullptr;
    if (dplGetConfig(&instance, "DBSERVERNAME", &dbservername, nullptr) != DPL_OK) dbservername = nullptr;

    if (dbservername != nullptr && server != nullptr) {
        std::string_view configured(dbservername);
        while (!configured.empty() && dpl::config::is_space(configured.front())) configured.remove_prefix(1);
        if (configured != server->value) {
            ht_debug(5, kInstance, __LINE__, "ORVANDEXSERVER/DBSERVERNAME mismatch");
            return false;
        }
        *name = configured;
        return true;
    }
    if (dbservername != nullptr) {
        *name = dbservername;
        return true;
    }
    if (server != nullptr) {
        *name = server->value;
        return true;
    }
    return false;
}

}  // namespace

namespace dpl::config {

void append_config_entry(const ConfigEntry &entry, std::string *text) {
    switch (entry.kind) {
        case DPL_CONFIG_BLANK:
            *text += '\n';
            break;
        case DPL_CONFIG_COMMENT:
            if (entry.name != nullptr) *text += entry.name;  // it carries its own line end
            break;
        case DPL_CONFIG_PARAMETER:
            if (entry.name != nullptr) *text += entry.name;
            *text += ' ';
            if (entry.value != nullptr) *text += entry.value;
            if (entry.comment != nullptr && *entry.comment != '\0') {
                *text += " #";
                *text += entry.comment;
            }
            *text += '\n';
            break;
        default:
            break;
    }
}

}  // namespace dpl::config

extern "C" int32_t dplWriteConfig(Instance *pointer) {
    return dpl::trace::traced_call(kInstance, __LINE__, "dplWriteConfig", [&]() -> int32_t {
        if (pointer == nullptr) return DPL_E_NULL_ARGUMENT;
        Instance *instance = dpl::core::as_instance(pointer);
        if (instance == nullptr) return DPL_E_BAD_CONTEXT;
        if (!instance->config.has_storage()) return DPL_E_NULL_ARGUMENT;
        if (instance->environment.empty()) return DPL_E_FAIL;

        const EnvironmentEntry *home = dpl::core::find_environment(*instance, "ORVANDEXDIR");
        if (home == nullptr) return DPL_E_FAIL;
        const EnvironmentEntry *onconfig = dpl::core::find_environment(*instance, "ONCONFIG");
        std::string server_name;
        if (!choose_server_name(*instance, &server_name)) return DPL_E_FAIL;

        std::string file_name;
        if (onconfig != nullptr && !onconfig->value.empty()) {
            file_name = onconfig->value;
        } else if (!server_name.empty()) {
            file_name = "onconfig." + server_name;
        } else {
            return DPL_E_FAIL;  // no file name and no server to make one from
        }
        const std::string path = home->value + kSeparator + "etc" + kSeparator + file_name;

        dpl::core::ReplacementFile file;
        uint32_t error = 0;
        if (!file.open(path, &error)) return DPL_E_OPEN_WRITE;
        std::string text;
        for (const ConfigEntry *entry : instance->config.in_sequence_order()) {
            text.clear();
            dpl::config::append_config_entry(*entry, &text);
            if (!file.write(text)) break;
        }
        if (!file.commit()) {
            ht_debug(5, kInstance, __LINE__, "Failed to write the onconfig file %s\n", path.c_str());
            return DPL_E_FAIL;
        }
        return DPL_OK;
    });
}
