// A demonstration instance: no spaces or logs of its own, the set-up routine
// makes them on the server from a storage pool in the instance's directory.
#include "deploy/demo_routine.hpp"
#include "deploy/deploy_script.hpp"
#include "deploy/root_chunk.hpp"
#include "trace/trace.hpp"

using dpl::core::as_block;
using dpl::trace::kInstance;

extern "C" {

int32_t dplDeployDemoInstance(InstallControlBlock *pointer) {
    InstallControlBlock *block = as_block(pointer);
    if (block == nullptr) return DPL_E_BAD_CONTEXT;
    return dpl::trace::traced_call(kInstance, __LINE__, "dplDeployDemoInstance", [&]() -> int32_t {
        if (block->current == nullptr) return DPL_E_BAD_CONTEXT;
        Instance &instance = *block->current;
        // The routine's data path is the instance path; without one the call
        // line would have nothing to name.
        const AutoConfigSettings *settings = dplGetAutoConfigSettings(block);
        if (settings == nullptr || settings->instance_path == nullptr || *settings->instance_path == '\0') {
            ht_log("DPL_SET_INSTANCEPATH must be set for a demo instance");
            return DPL_E_NULL_ARGUMENT;
        }
        const int32_t root = dpl::deploy::create_root_chunk(*block, instance);
        if (root != 0) return root;
        dpl::deploy::ScriptFile script;
        if (!script.open(*block, instance)) {
            ht_log("dplDeploySpaces:  not found.");
            return DPL_E_OPEN_WRITE;
        }
        const bool json_listener = (block->mode & DPL_MODE_NO_SQL) != 0;
        const int page_kb = static_cast<int>(dplGetPageSize(block) / 1024);
        script.write(dpl::deploy::demo_routine(json_listener, page_kb));
        script.write(std::string("\n\nEXECUTE FUNCTION qvx_setup_system('") + settings->instance_path +
                     "');\n");
        script.close();
        return DPL_OK;
    });
}

}  // extern "C"
