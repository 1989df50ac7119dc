// The whole deployment of the current instance, in its fixed order. Every
// step's failure is logged and the next step runs: an installer gets as much
// of the instance as could be laid down, and the service step's answer.
#include "core/control_block.hpp"
#include "trace/trace.hpp"

using dpl::trace::kApi;

namespace {

// Runs the steps; `block` and its current instance are valid.
int32_t deploy_steps(InstallControlBlock *block) {
    int32_t rc = dplWriteEnv(block);
    if (rc != 0) ht_log("WriteEnv failed with rc = %d.", rc);
    if ((block->mode & DPL_MODE_NO_SQL) != 0) {
        rc = dplDeployJsonListenerFile(block);
        if (rc != 0) ht_log("dplDeployJsonListenerFile failed with rc = %d.", rc);
    }
    rc = dplWriteConnection(block);
    if (rc != 0) ht_log("WriteConnection failed with rc = %d.", rc);
    rc = dplWriteConfig(block->current);
    if (rc != 0) ht_log("WriteConfig failed with rc = %d.", rc);

    rc = dplOpenSysadminInDeploy(block);
    if (rc != 0) {
        ht_log("dplOpenSysadminInDeploy failed with rc = %d.", rc);
    } else {
        // A grant that wrote its lines answers 1, and is reported so.
        rc = dplGrantDBAonLocalInstance(block);
        if (rc != 0) ht_log("dplGrantDBAonLocalInstance failed with rc = %d.", rc);
        if ((dplGetInstallOptions(block) & DPL_OPTION_DEMO) != 0) {
            rc = dplDeployDemoInstance(block);
            if (rc < 0) ht_log("DeploySpacesNoSQL failed with rc = %d.", rc);
        } else {
            rc = dplDeploySpaces(block);
            if (rc < 0) ht_log("DeploySpaces failed with rc = %d.", rc);
            rc = dplDeployLogs(block);
            if (rc != 0) ht_log("DeployLogs failed with rc = %d.", rc);
        }
        rc = dplCloseSysadminInDeploy(block);
        if (rc != 0) ht_log("dplOpenSysadminInDeploy failed with rc = %d.", rc);
    }

    rc = dplDeployWindowsService(block);
    if (rc != 0) ht_log("DeployWindowsService failed with rc = %d\n", rc);
    return rc;
}

}  // namespace

extern "C" {

int32_t deployInstallation(InstallControlBlock *pointer) {
    htenter(1, kApi, __LINE__, "deployInstallation");
    InstallControlBlock *block = dpl::core::as_block(pointer);
    // Going on with something that is not a block would read memory that is
    // not one.
    if (block == nullptr) return htexit(1, kApi, __LINE__, DPL_E_BAD_CONTEXT);
    if (block->current == nullptr) return htexit(1, kApi, __LINE__, DPL_E_NULL_ARGUMENT);
    Instance &instance = *block->current;
    if (instance.deployed) return htexit(1, kApi, __LINE__, DPL_OK);
    const int32_t rc = deploy_steps(block);
    instance.deployed = true;
    return htexit(1, kApi, __LINE__, rc);
}

}  // extern "C"
