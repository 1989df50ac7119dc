// Any bytes as a path to translate, straight into the translation the
// library uses, against a fixed environment given to it (nothing installed
// process-wide). The result is what a plain walk over the path gives (each
// variable replaced by its value, each run of separators made one separator
// of the system) when every variable is known and the result fits in 255
// characters, and nothing otherwise.
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "fuzz_support.hpp"
#include "paths/paths.hpp"
#include "platform/forwarding_platform.hpp"

namespace {

using dpl::fuzz::check;

class FixedEnvironment : public dpl::platform::ForwardingPlatform {
public:
    explicit FixedEnvironment(char separator)
        : ForwardingPlatform(dpl::platform::native()), separator_(separator) {}
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
    char path_separator() override { return separator_; }
    // No file system: the text is its own short form.
    std::optional<std::string> short_path(const std::string &, std::size_t) override { return std::nullopt; }

private:
    char separator_;
};

// The translation without a length limit; nothing for an unknown variable.
std::optional<std::string> expected(std::string_view path, FixedEnvironment &environment) {
    std::string result;
    std::size_t at = 0;
    while (at < path.size()) {
        const char c = path[at];
        if (c == '$' || c == '%') {
            std::size_t end = path.find_first_of(c == '$' ? "\\/$" : "%", at + 1);
            if (end == std::string_view::npos) end = path.size();
            const std::optional<std::string> value =
                environment.get_env(std::string(path.substr(at + 1, end - at - 1)));
            if (!value) return std::nullopt;
            result += *value;
            at = (c == '%' && end < path.size()) ? end + 1 : end;
        } else if (dpl::paths::is_separator(c)) {
            result += environment.path_separator();
            while (at < path.size() && dpl::paths::is_separator(path[at])) ++at;
        } else {
            result += c;
            ++at;
        }
    }
    return result;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size) {
    static FixedEnvironment backslash('\\');
    static FixedEnvironment slash('/');
    if (size == 0) return 0;
    // The first byte picks the system, the rest is the path.
    FixedEnvironment &environment = (data[0] & 1) != 0 ? slash : backslash;
    const std::string_view path(reinterpret_cast<const char *>(data) + 1, size - 1);
    const std::optional<std::string> result = dpl::paths::translate(path, environment);
    std::optional<std::string> wanted = expected(path, environment);
    if (wanted && wanted->size() > dpl::paths::kPathLimit) wanted.reset();
    check(result == wanted);
    return 0;
}
