// Any text as a path to translate, against a fixed environment: the result
// is null or at most 255 characters, and a path without variables comes
// back with each run of separators made one.
#include <cstdlib>
#include <cstring>
#include <map>
#include <optional>
#include <string>

#include "dpl/dpl.h"
#include "platform/forwarding_platform.hpp"

namespace {

class FixedEnvironment : public dpl::platform::ForwardingPlatform {
public:
    FixedEnvironment() : ForwardingPlatform(dpl::platform::native()) {}
    std::optional<std::string> get_env(const std::string &name) override {
        static const std::map<std::string, std::string> kVariables = {
            {"A", "aa"},
            {"DIR", "D:\\inst"},
            {"EMPTY", ""},
            {"LONG", std::string(200, 'l')},
            {"HUGE", std::string(300, 'h')},
            {"SEP", "\\/$%"},
        };
        const auto found = kVariables.find(name);
        if (found == kVariables.end()) return std::nullopt;
        return found->second;
    }
    // No file system: the text is its own short form.
    std::optional<std::string> short_path(const std::string &, std::size_t) override { return std::nullopt; }
};

bool is_separator(char c) {
    return c == '/' || c == '\\';
}

std::string collapsed(const std::string &path, char separator) {
    std::string result;
    for (std::size_t at = 0; at < path.size();) {
        if (is_separator(path[at])) {
            result += separator;
            while (at < path.size() && is_separator(path[at])) ++at;
        } else {
            result += path[at++];
        }
    }
    return result;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size) {
    static FixedEnvironment environment;
    static InstallControlBlock *block = [] {
        dpl::platform::install(&environment);
        return init_API(0, 1, "fuzz", "12.10.FC1");
    }();
    if (block == nullptr) std::abort();
    const std::string text(reinterpret_cast<const char *>(data), size);
    const std::string path(text.c_str());
    char *result = dplXlateFilePath(block, path.c_str());
    if (result != nullptr && std::strlen(result) > 255) std::abort();
    if (path.find_first_of("$%") == std::string::npos) {
        const std::string expected = collapsed(path, environment.path_separator());
        if ((result != nullptr) != (expected.size() <= 255)) std::abort();
        if (result != nullptr && expected != result) std::abort();
    }
    dplFree(result);
    return 0;
}
