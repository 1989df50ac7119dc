// Creating and releasing the context of every call.
#include <cstdio>
#include <memory>
#include <optional>
#include <string>

#include "core/control_block.hpp"
#include "platform/platform.hpp"
#include "trace/append_file.hpp"
#include "trace/trace.hpp"

namespace {

using dpl::trace::kApi;

constexpr std::size_t kLogNameLimit = 200;
constexpr uint32_t kApiTraceFlags = HT_TIMESTAMP | HT_DEPTH;

std::unique_ptr<InstallControlBlock> build_block(uint32_t mode, int32_t product_mode, const char *product,
                                                 const char *version) {
    std::unique_ptr<InstallControlBlock> block;
    try {
        block = std::make_unique<InstallControlBlock>();
    } catch (const std::bad_alloc &) {
        ht_debug(2, kApi, __LINE__, "Error: Cannot allocate memory for Install Control Block.");
        return nullptr;
    }
    block->process_id = dpl::platform::current().process_id();

    try {
        block->product = std::make_unique<dpl::core::Product>();
    } catch (const std::bad_alloc &) {
        ht_log("Product structure initialization failed.");
        return nullptr;
    }
    try {
        block->product->name = product != nullptr ? product : "";
        block->product->version = version != nullptr ? version : "";
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
    block->product->product_mode = product_mode;
    dplExtractVersInfo(&block->product->version_info, block->product->version.c_str());

    int32_t created = DPL_E_NOMEM;
    try {
        created = dpl::core::create_instance(*block);
    } catch (const std::bad_alloc &) {
        created = DPL_E_NOMEM;
    }
    if (created != DPL_OK) {
        ht_log("Instance structure initialization failed.");
        return nullptr;
    }

    // Product mode 0: this installation's tag among those of its version.
    if (product_mode == 0) {
        block->unique_id =
            dplUniqueInstallTag(block->product->version_info.major, block->product->version_info.minor);
        ht_log("Unique installation identifier: %d", static_cast<int>(block->unique_id));
    }

    // The system's services database; a failure to load it is not fatal.
    const std::string services = dpl::platform::current().services_database_path();
    dplServicesLoad(block.get(), services.c_str());

    block->install_type = 0;
    block->disk_mem_units = DPL_UNITS_KB;
    block->further = 0;
    block->mode = mode;

    // The installing user's context; without it nothing can be deployed.
    if (initDplUser(block.get()) != DPL_OK) return nullptr;
    // Machine figures; the processor timing waits until it is first asked for.
    init_system_info(block.get());
    return block;
}

}  // namespace

extern "C" {

int32_t setupIATrace(const char *log_file, const char *debug_file, uint32_t severity) {
    auto &os = dpl::platform::current();
    std::optional<dpl::trace::AppendFile> diagnostics;
    try {
        if (const auto name = os.get_env("INSTALL_API_DEBUG")) diagnostics.emplace(*name);
    } catch (const std::bad_alloc &) {
        diagnostics.reset();
    }
    if (diagnostics) diagnostics->write("Before starting tracing.\n");

    char prefix[32];
    std::snprintf(prefix, sizeof prefix, "%5d %5d", static_cast<int>(os.thread_id()),
                  static_cast<int>(os.process_id()));
    const uint32_t rc = ht_trace_start(log_file, debug_file, severity, kApiTraceFlags, prefix);

    if (diagnostics) {
        char line[64];
        std::snprintf(line, sizeof line, "After starting tracing. nrc = %d.\n", static_cast<int>(rc));
        diagnostics->write(line);
    }
    // A second context in the same process finds the facility running.
    return rc == HT_E_STARTED ? 0 : static_cast<int32_t>(rc);
}

InstallControlBlock *initInstallAPI(uint32_t mode, int32_t product_mode, const char *product,
                                    const char *version, const char *log_file, const char *debug_file,
                                    uint32_t severity) {
    setupIATrace(log_file, debug_file, severity);
    htenter(1, kApi, __LINE__, "initInstallAPI");
    std::unique_ptr<InstallControlBlock> block;
    try {
        block = build_block(mode, product_mode, product, version);
    } catch (...) {
        block.reset();
    }
    htexit(1, kApi, __LINE__, block ? 0 : -1);
    return block.release();
}

InstallControlBlock *init_API(uint32_t mode, int32_t product_mode, const char *product, const char *version) {
    std::optional<std::string> log_name;
    std::string debug_name;
    uint32_t severity = 0;
    try {
        log_name = dpl::platform::current().get_env("INSTALL_LOG");
        if (log_name && log_name->size() < kLogNameLimit) {
            debug_name = *log_name + ".debug";
            severity = 9;
        }
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
    return initInstallAPI(mode, product_mode, product, version, log_name ? log_name->c_str() : nullptr,
                          debug_name.empty() ? nullptr : debug_name.c_str(), severity);
}

int32_t finish(InstallControlBlock *pointer) {
    InstallControlBlock *block = dpl::core::as_block(pointer);
    if (block == nullptr) return DPL_E_BAD_CONTEXT;
    htenter(1, kApi, __LINE__, "finish");
    ht_log("finish entered\n");
    // The block owns its product, its instances and their lists: all go.
    dplFreeUser(block);
    block->magic = 0;
    std::unique_ptr<InstallControlBlock> owned(block);
    owned.reset();
    return htexit(1, kApi, __LINE__, DPL_OK);
}

}  // extern "C"
