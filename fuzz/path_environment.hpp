// The environment both path fuzz programs translate against, and what a
// plain walk over a path gives in it: each variable replaced by its value,
// each run of separators made one separator of the system; nothing when a
// variable is unknown or the result is longer than the path limit.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "paths/paths.hpp"
#include "platform/forwarding_platform.hpp"

namespace dpl::fuzz {

class FixedEnvironment : public platform::ForwardingPlatform {
public:
    // A separator of 0 keeps the system's own.
    explicit FixedEnvironment(char separator = 0)
        : ForwardingPlatform(platform::native()), separator_(separator) {}
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
    char path_separator() override {
        return separator_ != 0 ? separator_ : ForwardingPlatform::path_separator();
    }
    // No file system: the text is its own short form.
    std::optional<std::string> short_path(const std::string &, std::size_t) override { return std::nullopt; }

private:
    char separator_;
};

inline std::optional<std::string> expected_translation(std::string_view path, FixedEnvironment &environment) {
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
        } else if (paths::is_separator(c)) {
            result += environment.path_separator();
            while (at < path.size() && paths::is_separator(path[at])) ++at;
        } else {
            result += c;
            ++at;
        }
    }
    if (result.size() > paths::kPathLimit) return std::nullopt;
    return result;
}

}  // namespace dpl::fuzz
