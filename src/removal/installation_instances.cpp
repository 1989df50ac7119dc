#include "removal/installation_instances.hpp"

#include <cstring>
#include <memory>

#include "core/control_block.hpp"
#include "trace/trace.hpp"

using dpl::trace::kInstall;

namespace dpl::removal {
namespace {

// The registered instances, released with their names.
class InstanceList {
public:
    explicit InstanceList(InstallControlBlock *block) : names_(get_instance_names(block, &count_)) {}
    InstanceList(const InstanceList &) = delete;
    InstanceList &operator=(const InstanceList &) = delete;
    ~InstanceList() { dplFreeNameList(names_, count_); }
    bool listed() const { return names_ != nullptr; }
    int32_t count() const { return count_; }
    const char *name(int32_t index) const { return names_[index]; }

private:
    int32_t count_ = 0;
    char **names_;
};

int32_t set_directory_variable(InstallControlBlock *block, const char *install_dir) {
    const int32_t rc = dplSetEnvironment(block, "ORVANDEXDIR", install_dir);
    if (rc != DPL_OK) ht_log("Failed to set ORVANDEXDIR environment variable\n");
    return rc;
}

int32_t set_directory(InstallControlBlock *block, const char *install_dir) {
    const int32_t rc = dplSetInstallDir(block, install_dir);
    if (rc != DPL_OK) ht_log("Failed to set installation directory\n");
    return rc;
}

bool has_text(const char *text) {
    return text != nullptr && text[0] != '\0';
}

int32_t stop_all(InstallControlBlock *block, const char *install_dir, ListenerServices &listeners,
                 InstanceCalls &instances) {
    const int32_t status = DPL_OK;
    bool directory_set = false;
    if ((block->mode & DPL_MODE_MAINTENANCE) == 0) {
        const char *current = nullptr;
        directory_set = dplGetEnvironment(block, "ORVANDEXDIR", &current) == DPL_OK && current != nullptr &&
                        std::strcmp(current, install_dir) == 0;
    } else {
        (void)dplInitInstanceStruct(block);
        const int32_t rc = set_directory(block, install_dir);
        if (rc != DPL_OK) return rc;
    }
    if (!directory_set) {
        const int32_t rc = set_directory_variable(block, install_dir);
        if (rc != DPL_OK) return rc;
    }
    const InstanceList list(block);
    if (!list.listed()) {
        if (list.count() == 0) {
            ht_log("No instances to be updated");
            return status;
        }
        ht_log("Unable to retrieve instance list for ORVANDEXDIR: %s\n", install_dir);
        return DPL_E_FAIL;
    }
    if (list.count() == 0) return status;
    ht_log("Found %d instance(s) to stop for ORVANDEXDIR: %s\n", static_cast<int>(list.count()), install_dir);
    int stopped = 0;
    int failed = 0;
    for (int32_t i = 0; i < list.count(); ++i) {
        if (!has_text(list.name(i))) continue;
        listeners.stop(block, list.name(i), false);
        if (instances.stop(block, list.name(i)) == DPL_E_FAIL) {
            ++failed;
        } else {
            ++stopped;
        }
    }
    if (stopped > 0) ht_log("Stopped %d instance(s) for ORVANDEXDIR: %s\n", stopped, install_dir);
    if (failed > 0) {
        ht_log("Unable to stop %d instance(s) for ORVANDEXDIR: %s\n", failed, install_dir);
        return DPL_E_FAIL;
    }
    return status;
}

int32_t remove_all(InstallControlBlock *block, const char *install_dir, ListenerServices &listeners,
                   InstanceCalls &instances) {
    if ((block->mode & DPL_MODE_MAINTENANCE) == 0) {
        ht_log("Function not supported in INSTALL mode\n");
        return DPL_E_FAIL;
    }
    if (block->current == nullptr) (void)dplInitInstanceStruct(block);
    int32_t rc = set_directory(block, install_dir);
    if (rc == DPL_OK) rc = set_directory_variable(block, install_dir);
    if (rc != DPL_OK) return rc;
    const InstanceList list(block);
    if (!list.listed()) {
        if (list.count() != 0) {
            ht_log("Unable to retrieve instance list for ORVANDEXDIR: %s\n", install_dir);
            return DPL_E_FAIL;
        }
        ht_log("No instances to be updated");
        return DPL_OK;
    }
    if (list.count() == 0) return DPL_OK;
    ht_log("Found %d instance(s) to remove for ORVANDEXDIR: %s\n", static_cast<int>(list.count()),
           install_dir);
    int removed = 0;
    int failed = 0;
    for (int32_t i = 0; i < list.count(); ++i) {
        const char *name = list.name(i) != nullptr ? list.name(i) : "";
        listeners.stop(block, name, true);
        // Only a plain failure counts: the removal reports its other codes itself.
        if (instances.remove(block, name) == DPL_E_FAIL) {
            ++failed;
        } else {
            ++removed;
        }
    }
    if (removed > 0) ht_log("Removed %d instance(s) for ORVANDEXDIR: %s\n", removed, install_dir);
    if (failed > 0) {
        ht_log("Unable to remove %d instance(s) for ORVANDEXDIR: %s\n", failed, install_dir);
        return DPL_E_FAIL;
    }
    return DPL_OK;
}

}  // namespace

int32_t stop_installation_instances(InstallControlBlock *pointer, const char *install_dir,
                                    ListenerServices &listeners, InstanceCalls &instances) {
    InstallControlBlock *block = core::as_block(pointer);
    if (block == nullptr) return DPL_E_BAD_CONTEXT;
    if (!has_text(install_dir)) {
        ht_log("Function requires installation path as argument\n");
        return DPL_E_NULL_ARGUMENT;
    }
    return trace::traced_call(kInstall, __LINE__, "dplStopInstallationInstances",
                              [&] { return stop_all(block, install_dir, listeners, instances); });
}

int32_t remove_installation_instances(InstallControlBlock *pointer, const char *install_dir,
                                      ListenerServices &listeners, InstanceCalls &instances) {
    InstallControlBlock *block = core::as_block(pointer);
    if (block == nullptr) return DPL_E_BAD_CONTEXT;
    if (!has_text(install_dir)) {
        ht_log("Function requires installation path as argument\n");
        return DPL_E_NULL_ARGUMENT;
    }
    return trace::traced_call(kInstall, __LINE__, "dplRemoveInstallationInstances",
                              [&] { return remove_all(block, install_dir, listeners, instances); });
}

}  // namespace dpl::removal

extern "C" {

int32_t dplStopInstallationInstances(InstallControlBlock *block, const char *install_dir) {
    return dpl::removal::stop_installation_instances(block, install_dir,
                                                     dpl::removal::system_listener_services(),
                                                     dpl::removal::deployment_instance_calls());
}

int32_t dplRemoveInstallationInstances(InstallControlBlock *block, const char *install_dir) {
    return dpl::removal::remove_installation_instances(block, install_dir,
                                                       dpl::removal::system_listener_services(),
                                                       dpl::removal::deployment_instance_calls());
}

}  // extern "C"
