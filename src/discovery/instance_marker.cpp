// Whether a server instance is running now: the marker (named event) that a
// running server holds, its test, and the server-number call built on it.
#include <cstdint>
#include <random>
#include <string>

#include "core/control_block.hpp"
#include "dpl/dpl.h"
#include "platform/platform.hpp"

namespace {

std::string marker_name(const char *server_name) {
    return std::string("QVNX_INST_") + server_name;
}

bool has_name(const char *server_name) {
    return server_name != nullptr && server_name[0] != '\0';
}

}  // namespace

extern "C" {

int32_t instance_event_exists(const char *server_name) {
    if (server_name == nullptr) return 0;
    try {
        return dpl::platform::current().instance_marker_exists(marker_name(server_name)) ? 1 : 0;
    } catch (...) {
        // Any failure to look reads as an instance that is not running.
        return 0;
    }
}

int32_t dplCheckforInstance(InstallControlBlock *block, const char *server_name) {
    if (block != nullptr && dpl::core::as_block(block) == nullptr) return DPL_E_BAD_CONTEXT;
    return instance_event_exists(server_name);
}

int32_t dplCreateInstanceMarker(const char *server_name) {
    if (!has_name(server_name)) return DPL_E_FAIL;
    try {
        return dpl::platform::current().create_instance_marker(marker_name(server_name)) ? DPL_OK
                                                                                         : DPL_E_FAIL;
    } catch (...) {
        return DPL_E_FAIL;
    }
}

int32_t dplReleaseInstanceMarker(const char *server_name) {
    if (!has_name(server_name)) return DPL_E_FAIL;
    try {
        return dpl::platform::current().release_instance_marker(marker_name(server_name)) ? DPL_OK
                                                                                          : DPL_E_FAIL;
    } catch (...) {
        return DPL_E_FAIL;
    }
}

// Every valid (or null) block gets 0: the probe of a running instance is
// made for no name and so never finds one. A foreign block draws its 255
// numbers, finds the block invalid after each, and gets -1.
int32_t dplCreateServerNum(InstallControlBlock *block) {
    const bool valid = block == nullptr || dpl::core::as_block(block) != nullptr;
    if (valid) {
        (void)instance_event_exists(nullptr);
        return 0;
    }
    std::minstd_rand generator(dpl::platform::current().process_id());
    constexpr int kDraws = 255;
    for (int draw = 0; draw < kDraws; ++draw) {
        const uint32_t number = generator() % 255u;
        (void)number;
        if (dpl::core::as_block(block) != nullptr) return static_cast<int32_t>(number);
    }
    return DPL_E_FAIL;
}

}  // extern "C"
