// The storage spaces of the set-up script: each listed space gets its chunk
// file and its create statements once.
#include <string>

#include "deploy/deploy_script.hpp"
#include "deploy/root_chunk.hpp"
#include "deploy/space_statements.hpp"
#include "storage/space_list.hpp"
#include "trace/trace.hpp"

using dpl::core::as_block;
using dpl::trace::kInstance;

namespace dpl::deploy {

int32_t create_root_chunk(InstallControlBlock &block, Instance &instance) {
    const char *root_path = nullptr;
    if (dplGetConfig(&instance, "ROOTPATH", &root_path, nullptr) != DPL_OK || root_path == nullptr ||
        *root_path == '\0') {
        ht_log("ROOTPATH not set.");
        ht_log("ROOTPATH must be set using dplSetConfig()");
        return DPL_E_FAIL;
    }
    return dplCreateFile(&block, root_path);
}

}  // namespace dpl::deploy

extern "C" {

int32_t dplDeploySpaces(InstallControlBlock *pointer) {
    InstallControlBlock *block = as_block(pointer);
    if (block == nullptr) return DPL_E_BAD_CONTEXT;
    return dpl::trace::traced_call(kInstance, __LINE__, "dplDeploySpaces", [&]() -> int32_t {
        if (block->current == nullptr) return DPL_E_BAD_CONTEXT;
        Instance &instance = *block->current;
        const int32_t root = dpl::deploy::create_root_chunk(*block, instance);
        if (root != 0) return root;
        if (instance.spaces.empty()) {
            ht_log("no space to be deployed.");
            return DPL_NOTHING_TO_DEPLOY;
        }
        dpl::deploy::ScriptFile script;
        if (!script.open(*block, instance)) {
            ht_log("dplDeploySpaces:  not found.");
            return DPL_E_OPEN_WRITE;
        }
        const AutoConfigSettings *settings = dplGetAutoConfigSettings(block);
        const bool sbspaces_enabled = settings == nullptr || settings->sbspace_enabled != 0;
        int32_t rc = DPL_OK;
        std::string text;
        for (const auto &node : instance.spaces.nodes()) {
            StorageSpace *space = &node->record;
            if (space->kind == DPL_SPACE_SB && !sbspaces_enabled) continue;
            const char *kind_name = dplGetSpaceKindName(space->kind);
            ht_log("Deploying storage space '%s'.", space->path != nullptr ? space->path : "");
            ht_debug(5, kInstance, __LINE__, "Name = '%s', Type = '%s', offset = %lld, size = %lld",
                     space->name != nullptr ? space->name : "", kind_name != nullptr ? kind_name : "(null)",
                     static_cast<long long>(space->offset), static_cast<long long>(space->size));
            if (space->deployed == 1) {
                ht_debug(5, kInstance, __LINE__, "This space was marked as already deployed.");
                continue;
            }
            rc = dplCreateFile(block, space->path);
            if (rc != DPL_OK) {
                ht_log("Unable to create data file: %s", space->path != nullptr ? space->path : "");
                break;
            }
            // The statements name the chunk by its short form where the
            // system has one, and the record keeps that form.
            if (auto short_form = dpl::platform::current().short_path(space->path, 255)) {
                node->path = *short_form;
                node->link_texts();
            }
            dpl::deploy::append_space_statements(*space, text);
            space->deployed = 1;
        }
        // The statements of the spaces marked deployed reach the file even
        // when a later chunk failed, so a new call continues after them.
        script.write(text);
        script.close();
        return rc;
    });
}

}  // extern "C"
