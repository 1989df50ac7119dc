// The context of every call. Opaque to C callers; the magic comes first so
// that a foreign pointer is recognised before anything else is read.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "core/instance.hpp"
#include "dpl/dpl.h"
#include "services/services_file.hpp"
#include "user/user_context.hpp"
#include "storage/file_systems.hpp"
#include "sysinfo/disk_locations.hpp"
#include "sysinfo/system_figures.hpp"

namespace dpl::core {

struct Product {
    std::string name;
    std::string version;
    DplVersionInfo version_info{};
    int32_t product_mode = 0;
};

}  // namespace dpl::core

struct InstallControlBlock {
    uint32_t magic = DPL_BLOCK_MAGIC;
    uint32_t mode = 0;
    uint32_t install_type = 0;
    uint32_t process_id = 0;
    int32_t unique_id = 0;
    int32_t disk_mem_units = DPL_UNITS_KB;
    std::unique_ptr<dpl::core::Product> product;
    int32_t further = 0;
    std::vector<std::unique_ptr<Instance>> instances;
    Instance *current = nullptr;
    dpl::services::ServicesFile services;
    // The installing user and the accounts the product needs.
    dpl::user::UserContext user;
    // Deployment options (DPL_OPTION_ flags), the block's second flag word.
    uint32_t options = 0;
    // Storage planning and machine figures.
    dpl::storage::FileSystemList file_systems;
    std::string install_dir;
    dpl::sysinfo::SystemFigures system;
    dpl::sysinfo::DiskLocationList disk_locations;
};

namespace dpl::core {

// The block behind `pointer` if it is one (its first 32 bits are the magic),
// otherwise null.
InstallControlBlock *as_block(InstallControlBlock *pointer);
Instance *as_instance(Instance *pointer);

// Creates an instance, appends it to the block's list and makes it current.
int32_t create_instance(InstallControlBlock &block);

}  // namespace dpl::core
