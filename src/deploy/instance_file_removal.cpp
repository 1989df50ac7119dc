// Removing one file of an instance: every outcome is reported, none stops
// the removal.
#include "deploy/instance_removal.hpp"
#include "platform/platform.hpp"
#include "trace/trace.hpp"

namespace dpl::deploy {

void remove_instance_file(const char *label, const std::string &path) {
    using trace::kInstance;
    auto &os = platform::current();
    platform::SysError error;
    platform::PathStatus status;
    if (!os.path_status(path, &status, &error)) {
        if (error.win32 == platform::err::kFileNotFound || error.win32 == platform::err::kPathNotFound) {
            ht_debug(5, kInstance, __LINE__, "%s File (%s) already removed\n", label, path.c_str());
        } else {
            ht_debug(5, kInstance, __LINE__, "%s file (%s) cannot be accessed errno %d\n", label,
                     path.c_str(), static_cast<int>(error.native));
        }
        return;
    }
    if (!os.delete_file(path, &error)) {
        ht_debug(5, kInstance, __LINE__, "%s file (%s) cannot be removed errno %d\n", label, path.c_str(),
                 static_cast<int>(error.native));
        return;
    }
    ht_debug(5, kInstance, __LINE__, "%s file (%s) removed.\n", label, path.c_str());
}

}  // namespace dpl::deploy
