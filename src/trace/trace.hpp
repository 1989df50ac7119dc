// What library code needs from the trace facility: the source names its
// lines carry and a guard that marks entry and exit of an exported call.
#pragma once

#include <cstdint>
#include <new>

#include "dpl/dpl.h"

namespace dpl::trace {

inline constexpr const char *kApi = "API/API";
inline constexpr const char *kInstance = "API/dpl_instance";
inline constexpr const char *kServices = "API/dpl_services";
inline constexpr const char *kUser = "API/dpl_user";
inline constexpr const char *kInstall = "API/dpl_install";
inline constexpr const char *kSysinfo = "API/dpl_sysinfo";
inline constexpr const char *kGenconfig = "API/dpl_genconfig";
inline constexpr const char *kFileIo = "API/nt_filio";

// Runs `body` between an ENTER and an EXIT line, turning an allocation
// failure into -1000 and any other escaping exception into -1, so that
// nothing thrown inside ever crosses the C boundary.
template <class Body>
int32_t traced_call(const char *source_file, int32_t line, const char *function, Body &&body) noexcept {
    htenter(1, source_file, line, function);
    int32_t rc = DPL_E_FAIL;
    try {
        rc = body();
    } catch (const std::bad_alloc &) {
        rc = DPL_E_NOMEM;
    } catch (...) {
        rc = DPL_E_FAIL;
    }
    return htexit(1, source_file, line, rc);
}

}  // namespace dpl::trace
