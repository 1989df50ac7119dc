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

// What the walk over the registered instances does to each of them.
struct Action {
    const char *verb;  // "stop" or "remove", as the messages say it
    const char *done;  // "Stopped" or "Removed"
    bool delete_listener;
    bool skip_empty_names;
    int32_t (InstanceCalls::*call)(InstallControlBlock *, const char *);
};

constexpr Action kStop{"stop", "Stopped", false, true, &InstanceCalls::stop};
constexpr Action kRemove{"remove", "Removed", true, false, &InstanceCalls::remove};

// Lists the registered instances and handles each with its listener. Only a
// plain failure counts as one: the instance calls report their other codes
// themselves.
int32_t act_on_each(InstallControlBlock *block, const char *install_dir, const Action &action,
                    ListenerServices &listeners, InstanceCalls &instances) {
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
    ht_log("Found %d instance(s) to %s for ORVANDEXDIR: %s\n", static_cast<int>(list.count()), action.verb,
           install_dir);
    int done = 0;
    int failed = 0;
    for (int32_t i = 0; i < list.count(); ++i) {
        const char *name = list.name(i) != nullptr ? list.name(i) : "";
        if (action.skip_empty_names && name[0] == '\0') continue;
        listeners.stop(name, action.delete_listener);
        if ((instances.*action.call)(block, name) == DPL_E_FAIL) {
            ++failed;
        } else {
            ++done;
        }
    }
    if (done > 0) ht_log("%s %d instance(s) for ORVANDEXDIR: %s\n", action.done, done, install_dir);
    if (failed > 0) {
        ht_log("Unable to %s %d instance(s) for ORVANDEXDIR: %s\n", action.verb, failed, install_dir);
        return DPL_E_FAIL;
    }
    return DPL_OK;
}

// An install-mode block whose ORVANDEXDIR already names the directory is
// used as it is; a maintenance block always gets a fresh current instance.
int32_t stop_all(InstallControlBlock *block, const char *install_dir, ListenerServices &listeners,
                 InstanceCalls &instances) {
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
    return act_on_each(block, install_dir, kStop, listeners, instances);
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
    return act_on_each(block, install_dir, kRemove, listeners, instances);
}

}  // namespace

namespace {

// The argument checks both entries make before their traced walk.
template <class Walk>
int32_t checked_walk(InstallControlBlock *pointer, const char *install_dir, const char *function,
                     Walk &&walk) {
    InstallControlBlock *block = core::as_block(pointer);
    if (block == nullptr) return DPL_E_BAD_CONTEXT;
    if (!has_text(install_dir)) {
        ht_log("Function requires installation path as argument\n");
        return DPL_E_NULL_ARGUMENT;
    }
    return trace::traced_call(kInstall, __LINE__, function, [&] { return walk(block); });
}

}  // namespace

int32_t stop_installation_instances(InstallControlBlock *pointer, const char *install_dir,
                                    ListenerServices &listeners, InstanceCalls &instances) {
    return checked_walk(
        pointer, install_dir, "dplStopInstallationInstances",
        [&](InstallControlBlock *block) { return stop_all(block, install_dir, listeners, instances); });
}

int32_t remove_installation_instances(InstallControlBlock *pointer, const char *install_dir,
                                      ListenerServices &listeners, InstanceCalls &instances) {
    return checked_walk(
        pointer, install_dir, "dplRemoveInstallationInstances",
        [&](InstallControlBlock *block) { return remove_all(block, install_dir, listeners, instances); });
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
