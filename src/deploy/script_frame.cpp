// The frame of the set-up script: the database it works in, the grants for
// the installing user, and the close.
#include "deploy/deploy_script.hpp"
#include "trace/trace.hpp"

using dpl::core::as_block;
using dpl::deploy::ScriptFile;
using dpl::trace::kInstance;

namespace {

// Appends one fixed text to the script, or logs the writer's own message.
int32_t write_fixed(InstallControlBlock *pointer, const char *function, const char *text,
                    const char *missing) {
    InstallControlBlock *block = as_block(pointer);
    if (block == nullptr) return DPL_E_BAD_CONTEXT;
    return dpl::trace::traced_call(kInstance, __LINE__, function, [&]() -> int32_t {
        if (block->current == nullptr) return DPL_E_NULL_ARGUMENT;
        ScriptFile script;
        if (!script.open(*block, *block->current)) {
            ht_log("%s", missing);
            return DPL_OK;
        }
        script.write(text);
        script.close();
        return DPL_OK;
    });
}

}  // namespace

extern "C" {

int32_t dplOpenSysadminInDeploy(InstallControlBlock *block) {
    return write_fixed(block, "dplOpenSysadminInDeploy", "DATABASE sysadmin;\n",
                       "dplOpenSysadminInDeploy: Deploy File not found.");
}

int32_t dplCloseSysadminInDeploy(InstallControlBlock *block) {
    return write_fixed(block, "dplCloseSysadminInDeploy", "CLOSE DATABASE;\n\n\n",
                       "dplCloseSysadminInDeploy: Deploy File not found.");
}

int32_t dplGrantDBAonLocalInstance(InstallControlBlock *pointer) {
    InstallControlBlock *block = as_block(pointer);
    if (block == nullptr) return DPL_E_BAD_CONTEXT;
    return dpl::trace::traced_call(kInstance, __LINE__, "dplGrantDBAonLocalInstance", [&]() -> int32_t {
        if (block->current == nullptr) return DPL_E_NULL_ARGUMENT;
        if (dplGetInstallationProperty(block, DPL_P_RUNAS_USER) == 1) {
            ht_log("dplGrantDBAonLocalInstance: Run as ORVANDEX is TRUE.");
            return 0;
        }
        ht_log("dplGrantDBAonLocalInstance: Run as ORVANDEX is FALSE.");
        ScriptFile script;
        if (!script.open(*block, *block->current)) {
            ht_log("dplGrantDBAonLocalInstance: Deploy File not found.");
            return DPL_E_OPEN_WRITE;
        }
        // The system's answer to "who is installing": 1 when it gave a name.
        const char *user = dplGetInstallingUser(block);
        if (user == nullptr || *user == '\0') return 0;
        std::string name(user);
        if (name.size() > 256) name.resize(256);  // what the system's 257-character buffer holds
        script.write("GRANT DBA TO " + name + ";\n");
        script.write("GRANT DBA TO \"" + name + "\";\n");
        script.close();
        return 1;
    });
}

}  // extern "C"
