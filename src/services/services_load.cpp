// Loading the services file into the model, and releasing it.
#include <new>
#include <string>

#include "core/control_block.hpp"
#include "core/text_file.hpp"
#include "services/services_internal.hpp"
#include "services/services_parser.hpp"
#include "trace/trace.hpp"

using dpl::core::as_block;
using dpl::services::ServicesFile;
using dpl::trace::kServices;
using dpl::trace::traced_call;

namespace dpl::services {

ServicesFile *loaded_services(InstallControlBlock *pointer) {
    InstallControlBlock *block = as_block(pointer);
    if (block == nullptr || block->services.status == kNotLoaded) return nullptr;
    return &block->services;
}

}  // namespace dpl::services

extern "C" {

int32_t dplServicesLoad(InstallControlBlock *pointer, const char *path) {
    return traced_call(kServices, __LINE__, "dplServicesLoad", [&]() -> int32_t {
        InstallControlBlock *block = as_block(pointer);
        if (block == nullptr) {
            ht_debug(5, kServices, __LINE__, "Error: The install structure is null in dplServicesLoad.");
            return DPL_E_BAD_CONTEXT;
        }
        ServicesFile &file = block->services;
        if (file.status != dpl::services::kNotLoaded) return DPL_E_INVALID_VALUE;
        if (path == nullptr || path[0] == '\0') {
            ht_debug(5, kServices, __LINE__,
                     "Error: The file parameter is null or blank in dplServicesLoad.");
            return DPL_E_NULL_ARGUMENT;
        }
        std::string content;
        uint32_t error = 0;
        if (!dpl::core::read_text_file(path, &content, &error)) {
            ht_debug(5, kServices, __LINE__,
                     "Error: The file %s can't be opened for reading in dplServicesLoad\n", path);
            return DPL_E_OPEN_READ;
        }
        file.clear();
        file.sockets_off = 0;
        try {
            file.path.emplace(path);
        } catch (const std::bad_alloc &) {
            ht_debug(5, kServices, __LINE__, "Error: Couldn't allocate memory for the cached filename.");
            return DPL_E_NOMEM;
        }
        const int32_t rc = dpl::services::parse_text(file, content);
        dpl::services::seed_random(file);
        ht_debug(5, kServices, __LINE__, "Loaded services file %s\n", path);
        file.status = dpl::services::kUnchanged;
        return rc;
    });
}

int32_t dplServicesStatus(InstallControlBlock *pointer) {
    return traced_call(kServices, __LINE__, "dplServicesStatus", [&]() -> int32_t {
        const InstallControlBlock *block = as_block(pointer);
        if (block == nullptr) {
            ht_debug(5, kServices, __LINE__, "Error: The install structure is null in dplServicesStatus.");
            return DPL_E_BAD_CONTEXT;
        }
        return static_cast<int32_t>(block->services.status);
    });
}

void dplServicesFree(InstallControlBlock *pointer) {
    traced_call(kServices, __LINE__, "dplServicesFree", [&]() -> int32_t {
        InstallControlBlock *block = as_block(pointer);
        if (block == nullptr) {
            ht_debug(5, kServices, __LINE__,
                     "Warning: The install structure is null in dplServicesFree; nothing is being freed.");
            return DPL_OK;
        }
        block->services.clear();
        ht_debug(5, kServices, __LINE__, "All resources released.");
        return DPL_OK;
    });
}

}  // extern "C"
