// Any bytes as a path to translate, straight into the translation the
// library uses, against a fixed environment given to it (nothing installed
// process-wide): the result is what the plain walk gives.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "fuzz_support.hpp"
#include "path_environment.hpp"
#include "paths/paths.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size) {
    static dpl::fuzz::FixedEnvironment backslash('\\');
    static dpl::fuzz::FixedEnvironment slash('/');
    if (size == 0) return 0;
    // The first byte picks the system, the rest is the path.
    dpl::fuzz::FixedEnvironment &environment = (data[0] & 1) != 0 ? slash : backslash;
    const std::string_view path(reinterpret_cast<const char *>(data) + 1, size - 1);
    const std::optional<std::string> result = dpl::paths::translate(path, environment);
    dpl::fuzz::check(result == dpl::fuzz::expected_translation(path, environment));
    return 0;
}
