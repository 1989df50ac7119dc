// What library code needs from the trace facility: the source names its
// lines carry and a guard that marks entry and exit of an exported call.
#pragma once

#include <cstdint>
#include <new>
#include <type_traits>

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
// nothing thrown inside ever crosses the C boundary. A body may answer a
// 64-bit figure; the exit mark carries a 32-bit code, so a figure beyond it
// is marked as success.
template <class Body, class Result = std::invoke_result_t<Body &>>
Result traced_call(const char *source_file, int32_t line, const char *function, Body &&body) noexcept {
    static_assert(std::is_integral_v<Result> && std::is_signed_v<Result> &&
                  sizeof(Result) <= sizeof(int64_t));
    htenter(1, source_file, line, function);
    Result rc = DPL_E_FAIL;
    try {
        rc = body();
    } catch (const std::bad_alloc &) {
        rc = DPL_E_NOMEM;
    } catch (...) {
        rc = DPL_E_FAIL;
    }
    if constexpr (sizeof(Result) > sizeof(int32_t)) {
        htexit(1, source_file, line, rc < 0 ? static_cast<int32_t>(rc) : DPL_OK);
        return rc;
    } else {
        return htexit(1, source_file, line, rc);
    }
}

}  // namespace dpl::trace
