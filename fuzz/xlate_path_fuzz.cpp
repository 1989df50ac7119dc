// Any text as a path to translate through the exported call, with the fixed
// environment installed as the process's platform: the result is null or
// what the plain walk gives, and never longer than the path limit.
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>

#include "dpl/dpl.h"
#include "fuzz_support.hpp"
#include "path_environment.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size) {
    static dpl::fuzz::FixedEnvironment environment;
    static InstallControlBlock *block = [] {
        dpl::platform::install(&environment);
        return init_API(0, 1, "fuzz", "12.10.FC1");
    }();
    if (block == nullptr) std::abort();
    const std::string text(reinterpret_cast<const char *>(data), size);
    const std::string path(text.c_str());
    char *result = dplXlateFilePath(block, path.c_str());
    const std::optional<std::string> wanted = dpl::fuzz::expected_translation(path, environment);
    dpl::fuzz::check(wanted ? result != nullptr && *wanted == result : result == nullptr);
    dplFree(result);
    return 0;
}
