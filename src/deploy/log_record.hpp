// The log records an instance keeps for its set-up script: slot 0 the
// physical log, slot 1 the logical logs.
#pragma once

#include <cstdint>
#include <string>

namespace dpl::deploy {

inline constexpr uint32_t kPhysicalLog = 0;
inline constexpr uint32_t kLogicalLogs = 1;

struct LogRecord {
    uint32_t kind = kPhysicalLog;
    uint32_t count = 0;
    int64_t size = 0;        // KB, as the size text converted
    std::string space_name;  // empty: nothing to deploy in this slot
};

}  // namespace dpl::deploy
