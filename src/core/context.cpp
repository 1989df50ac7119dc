#include <cstring>

#include "core/control_block.hpp"
#include "trace/trace.hpp"

namespace dpl::core {
namespace {
uint32_t first_word(const void *pointer) {
    uint32_t word = 0;
    std::memcpy(&word, pointer, sizeof word);
    return word;
}
}  // namespace

InstallControlBlock *as_block(InstallControlBlock *pointer) {
    if (pointer == nullptr || first_word(pointer) != DPL_BLOCK_MAGIC) return nullptr;
    return pointer;
}

Instance *as_instance(Instance *pointer) {
    if (pointer == nullptr || first_word(pointer) != DPL_INSTANCE_MAGIC) return nullptr;
    return pointer;
}

int32_t create_instance(InstallControlBlock &block) {
    block.instances.reserve(block.instances.size() + 1);
    std::unique_ptr<Instance> instance;
    try {
        instance = std::make_unique<Instance>();
    } catch (const std::bad_alloc &) {
        ht_debug(5, trace::kInstance, __LINE__, "Failed to initialize ONCONFIG memory");
        return DPL_E_NOMEM;
    }
    block.current = instance.get();
    block.instances.push_back(std::move(instance));
    return DPL_OK;
}

EnvironmentEntry *find_environment(Instance &instance, const char *name) {
    for (EnvironmentEntry &entry : instance.environment) {
        if (entry.kind == kEnvironmentSetting && entry.name == name) return &entry;
    }
    return nullptr;
}

int32_t store_comment(Instance *instance, const char *line) {
    if (instance == nullptr) return DPL_E_BAD_CONTEXT;
    try {
        instance->connections.append_comment(line);
    } catch (const std::bad_alloc &) {
        return DPL_E_FAIL;
    }
    return DPL_OK;
}

}  // namespace dpl::core
