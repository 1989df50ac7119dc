// Making up a free service name or a free port.
#include <ctime>
#include <new>
#include <string>

#include "core/c_text.hpp"
#include "platform/platform.hpp"
#include "services/services_internal.hpp"
#include "trace/trace.hpp"

using dpl::services::loaded_services;
using dpl::services::ServicesFile;
using dpl::trace::kServices;
using dpl::trace::traced_call;

namespace dpl::services {

void seed_random(ServicesFile &file) {
    std::tm now{};
    uint32_t seed = 1;
    if (platform::current().local_time(&now)) {
        // Seconds counted from the calendar fields: a different seed each
        // second, and the same one under a fixed clock.
        const uint64_t days =
            (static_cast<uint64_t>(now.tm_year) * 12u + static_cast<uint64_t>(now.tm_mon)) * 31u +
            static_cast<uint64_t>(now.tm_mday);
        const uint64_t seconds =
            ((days * 24u + static_cast<uint64_t>(now.tm_hour)) * 60u + static_cast<uint64_t>(now.tm_min)) *
                60u +
            static_cast<uint64_t>(now.tm_sec);
        seed = static_cast<uint32_t>(seconds ^ (seconds >> 32));
    }
    file.random.seed(seed);
}

uint16_t random_port(ServicesFile &file) {
    return static_cast<uint16_t>((file.random() & 0x7FFFu) + 1026u);
}

}  // namespace dpl::services

namespace {

// The name is free when the file, the service manager and the alias list
// all lack it.
bool name_is_free(InstallControlBlock *block, const std::string &name) {
    return dplServicesTestName(block, name.c_str(), nullptr) == 0;
}

int32_t generate_name(InstallControlBlock *pointer, char **out_name, const char *preferred) {
    if (loaded_services(pointer) == nullptr) {
        ht_debug(5, kServices, __LINE__, "Error: The install structure is null in dplServicesGenerateName.");
        return DPL_E_BAD_CONTEXT;
    }
    if (out_name == nullptr) {
        ht_debug(5, kServices, __LINE__,
                 "Error: The buffer return parameter is null in dplServicesGenerateName.");
        return DPL_E_NULL_ARGUMENT;
    }
    *out_name = nullptr;
    if (preferred == nullptr || preferred[0] == '\0') {
        ht_debug(5, kServices, __LINE__,
                 "Error: The preferred service name is null or blank in dplServicesGenerateName.");
        return DPL_E_INVALID_VALUE;
    }
    std::string name;
    try {
        name.reserve(std::char_traits<char>::length(preferred) + 17);
        name = preferred;
    } catch (const std::bad_alloc &) {
        ht_debug(5, kServices, __LINE__,
                 "Error: dplServicesGenerateName could not allocate memory for buffer.");
        return DPL_E_NOMEM;
    }
    bool found = name_is_free(pointer, name);
    for (int n = 1; n <= 9 && !found; ++n) {
        name = preferred;
        name += '_';
        name += static_cast<char>('0' + n);
        found = name_is_free(pointer, name);
    }
    if (found) {
        ht_debug(5, kServices, __LINE__, "Generated a name: %s\n", name.c_str());
    } else {
        // Every short name is taken: the time stamp makes one that is not
        // tested again.
        std::tm now{};
        if (!dpl::platform::current().local_time(&now)) {
            ht_debug(5, kServices, __LINE__,
                     "Error: dplServicesGenerateName could not get localtime for unique name.");
            return DPL_E_FAIL;
        }
        char stamp[15];
        if (std::strftime(stamp, sizeof stamp, "%Y%m%d%H%M%S", &now) == 0) {
            ht_debug(5, kServices, __LINE__,
                     "Error: dplServicesGenerateName could not convert time to string for unique name.");
            return DPL_E_FAIL;
        }
        try {
            name = preferred;
            name += '_';
            name += stamp;
        } catch (const std::bad_alloc &) {
            ht_debug(5, kServices, __LINE__,
                     "Error: dplServicesGenerateName could not reallocate memory for buffer.");
            return DPL_E_FAIL;
        }
        ht_debug(5, kServices, __LINE__, "Generated a unique name: %s\n", name.c_str());
    }
    char *copy = dpl::core::c_copy(name);
    if (copy == nullptr) {
        ht_debug(5, kServices, __LINE__,
                 "Error: dplServicesGenerateName could not allocate memory for buffer.");
        return DPL_E_NOMEM;
    }
    *out_name = copy;
    return DPL_OK;
}

// A candidate port is taken when no service line of any protocol has it and
// nothing on the machine listens on it (unless socket probing is off).
bool port_is_free(const ServicesFile &file, uint16_t port) {
    if (port == 0) {
        ht_debug(5, kServices, __LINE__, "Error: The port is the reserved value 0 in dplServicesTestPort.");
        return false;
    }
    if (file.has_port(port, nullptr)) return false;
    return file.sockets_off != 0 || dpl::services::port_is_clear(port);
}

int32_t generate_port(InstallControlBlock *pointer, uint16_t *out_port, uint16_t first) {
    ServicesFile *file = loaded_services(pointer);
    if (file == nullptr) {
        ht_debug(5, kServices, __LINE__, "Error: The install structure is null in dplServicesGeneratePort.");
        return DPL_E_BAD_CONTEXT;
    }
    if (out_port == nullptr) {
        ht_debug(5, kServices, __LINE__,
                 "Error: The port return parameter is null in dplServicesGeneratePort.");
        return DPL_E_NULL_ARGUMENT;
    }
    *out_port = 0;
    constexpr int kMaxCandidates = 1000;
    uint16_t candidate = first;
    for (int tried = 1; !port_is_free(*file, candidate); ++tried) {
        if (tried == kMaxCandidates) {
            ht_debug(5, kServices, __LINE__, "Error: No free port could be found in a reasonable time.");
            return DPL_E_FAIL;
        }
        candidate = dpl::services::random_port(*file);
    }
    ht_debug(5, kServices, __LINE__, "Generated a port: %hu\n", candidate);
    *out_port = candidate;
    return DPL_OK;
}

}  // namespace

extern "C" {

int32_t dplServicesGenerateName(InstallControlBlock *block, char **out_name, const char *preferred) {
    return traced_call(kServices, __LINE__, "dplServicesGenerateName",
                       [&] { return generate_name(block, out_name, preferred); });
}

int32_t dplServicesGeneratePort(InstallControlBlock *block, uint16_t *out_port, uint16_t first) {
    return traced_call(kServices, __LINE__, "dplServicesGeneratePort",
                       [&] { return generate_port(block, out_port, first); });
}

}  // extern "C"
