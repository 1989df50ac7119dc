// The physical and logical logs of the set-up script.
#include <cstdlib>
#include <string>

#include "deploy/deploy_script.hpp"
#include "trace/trace.hpp"

using dpl::core::as_block;
using dpl::deploy::LogRecord;
using dpl::deploy::number;
using dpl::trace::kInstance;

namespace {

constexpr uint32_t kMinimumLogicalLogs = 3;
// LOGFILES comes from a file a person edits; the server never starts with
// more logs than this, so a larger number cannot make the script grow
// without bound.
constexpr int64_t kMostInitialLogs = 32767;

// A configuration value, or null.
const char *config_value(Instance &instance, const char *name) {
    const char *value = nullptr;
    if (dplGetConfig(&instance, name, &value, nullptr) != DPL_OK) return nullptr;
    return value;
}

// The named space must be a DBspace when it is listed; a name not listed is
// accepted.
bool log_space_acceptable(InstallControlBlock *block, const char *space_name) {
    for (const StorageSpace *space = dplGetSpaceList(block); space != nullptr; space = space->next) {
        if (space->name != nullptr && std::string_view(space->name) == space_name)
            return space->kind == DPL_SPACE_DB;
    }
    return true;
}

void append_logical_log(const LogRecord &record, int64_t initial_logs, std::string &text) {
    text.append("\n\nEXECUTE FUNCTION task(\"add log\", \"")
        .append(record.space_name)
        .append("\", \"")
        .append(number(record.size))
        .append("\", \"")
        .append(number(static_cast<int32_t>(record.count)))
        .append("\");");
    // Switch away from the logs the server started with, checkpoint, and
    // drop those by number.
    for (int64_t i = 0; i < initial_logs; ++i) text.append("\n\nEXECUTE FUNCTION task(\"onmode\", \"l\");");
    text.append("\nEXECUTE FUNCTION task(\"onmode\", \"c\");");
    for (int64_t i = 1; i <= initial_logs; ++i) {
        text.append("\nEXECUTE FUNCTION task(\"drop log\", \"").append(number(i)).append("\");");
    }
}

}  // namespace

extern "C" {

int32_t dplCreateLog(InstallControlBlock *pointer, uint32_t kind, const char *space_name, uint32_t count,
                     const char *size) {
    if (pointer == nullptr) return DPL_E_NULL_ARGUMENT;
    InstallControlBlock *block = as_block(pointer);
    if (block == nullptr) return DPL_E_BAD_CONTEXT;
    return dpl::trace::traced_call(kInstance, __LINE__, "dplCreateLog", [&]() -> int32_t {
        if (kind != dpl::deploy::kPhysicalLog && kind != dpl::deploy::kLogicalLogs)
            return DPL_E_INVALID_VALUE;
        if (block->current == nullptr || space_name == nullptr || *space_name == '\0')
            return DPL_E_NULL_ARGUMENT;
        Instance &instance = *block->current;
        if (!log_space_acceptable(block, space_name)) {
            ht_log("Logical/Physical Logs must be located in a dbspace.");
            return DPL_E_LOG_SPACE_KIND;
        }
        const char *parameter = "PHYSFILE";
        const char *comment = "DPL Generated";
        if (kind == dpl::deploy::kPhysicalLog) {
            count = 1;
        } else {
            parameter = "LOGSIZE";
            comment = "**DPL Generated**";
            if (count < kMinimumLogicalLogs) {
                count = kMinimumLogicalLogs;
                ht_debug(5, kInstance, __LINE__, "Minimum log count = %d",
                         static_cast<int>(kMinimumLogicalLogs));
                ht_debug(5, kInstance, __LINE__, "Defaulting to %d logical logs",
                         static_cast<int>(kMinimumLogicalLogs));
            }
        }
        std::string size_text;
        if (size != nullptr) {
            const int32_t set = dplSetConfig(&instance, parameter, size, comment);
            if (set != DPL_OK) return set;
            size_text = size;
        } else if (const char *configured = config_value(instance, parameter)) {
            size_text = configured;
        }
        LogRecord record;
        record.kind = kind;
        record.count = count;
        record.size = dplParseSize(size_text.c_str());
        record.space_name = space_name;
        instance.logs[kind] = std::move(record);
        return DPL_OK;
    });
}

int32_t dplDeployLogs(InstallControlBlock *pointer) {
    InstallControlBlock *block = as_block(pointer);
    if (block == nullptr) return DPL_E_BAD_CONTEXT;
    return dpl::trace::traced_call(kInstance, __LINE__, "dplDeployLogs", [&]() -> int32_t {
        if (block->current == nullptr) return DPL_NOTHING_TO_DEPLOY;
        Instance &instance = *block->current;
        const LogRecord &physical = instance.logs[dpl::deploy::kPhysicalLog];
        const LogRecord &logical = instance.logs[dpl::deploy::kLogicalLogs];
        if (physical.space_name.empty() && logical.space_name.empty()) {
            ht_log("No Physical/Logical logs to be deployed.");
            return DPL_NOTHING_TO_DEPLOY;
        }
        dpl::deploy::ScriptFile script;
        if (!script.open(*block, instance)) {
            ht_log("dplDeployLogs: Deploy File not found.");
            return DPL_E_OPEN_WRITE;
        }
        std::string text;
        if (!physical.space_name.empty()) {
            text.append("\nEXECUTE FUNCTION task(\"alter plog\", \"")
                .append(physical.space_name)
                .append("\", \"")
                .append(number(physical.size))
                .append("\");\n\n");
        }
        if (!logical.space_name.empty()) {
            const char *logfiles = config_value(instance, "LOGFILES");
            int64_t initial_logs = logfiles != nullptr ? std::strtoll(logfiles, nullptr, 10) : 0;
            if (initial_logs < 0) initial_logs = 0;
            if (initial_logs > kMostInitialLogs) initial_logs = kMostInitialLogs;
            append_logical_log(logical, initial_logs, text);
            text.append("\n\n");
        }
        script.write(text);
        script.close();
        return DPL_OK;
    });
}

}  // extern "C"
