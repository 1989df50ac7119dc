// dplXlateFilePath: a path naming environment variables ($NAME, %NAME%)
// becomes a plain path of this system, at most 255 characters long.
#include <algorithm>
#include <new>
#include <utility>

#include "core/c_text.hpp"
#include "core/control_block.hpp"
#include "paths/paths.hpp"
#include "platform/platform.hpp"
#include "trace/trace.hpp"

namespace dpl::paths {
namespace {

// The text being built, which refuses to grow past the limit.
class BoundedText {
public:
    bool append(std::string_view more) {
        if (more.size() > kPathLimit - text_.size()) return false;
        text_.append(more);
        return true;
    }
    bool append(char c) { return append(std::string_view(&c, 1)); }
    std::string &text() { return text_; }

private:
    std::string text_;
};

// Where the name of a variable that starts at `at` ends, and where the walk
// goes on after it. "$NAME" ends before the next "\", "/" or "$" (which is
// then handled on its own); "%NAME%" at its closing "%", which is consumed,
// or at the end of the input when none follows.
struct NameSpan {
    std::size_t end;
    std::size_t next;
};

NameSpan name_span(std::string_view path, std::size_t at, char opener) {
    if (opener == '$') {
        const std::size_t end = std::min(path.find_first_of("\\/$", at), path.size());
        return {end, end};
    }
    const std::size_t end = std::min(path.find('%', at), path.size());
    return {end, end < path.size() ? end + 1 : end};
}

void log_overrun(std::string_view path) {
    const std::string given(path);
    ht_log("dplXlateFilePath: Failed preventing buffer overrun, %s", given.c_str());
}

}  // namespace

std::optional<std::string> translate(std::string_view path) {
    return translate(path, platform::current());
}

std::optional<std::string> translate(std::string_view path, platform::Platform &os) {
    const char separator = os.path_separator();
    BoundedText result;
    std::size_t at = 0;
    while (at < path.size()) {
        const char c = path[at];
        if (c == '$' || c == '%') {
            const NameSpan span = name_span(path, at + 1, c);
            const std::string name(path.substr(at + 1, span.end - at - 1));
            const std::optional<std::string> value = os.get_env(name);
            if (!value) {
                ht_log("Failed to find value for environment variable %s", name.c_str());
                return std::nullopt;
            }
            if (!result.append(*value)) {
                log_overrun(path);
                return std::nullopt;
            }
            at = span.next;
        } else if (is_separator(c)) {
            if (!result.append(separator)) {
                log_overrun(path);
                return std::nullopt;
            }
            while (at < path.size() && is_separator(path[at])) ++at;
        } else {
            if (!result.append(c)) {
                log_overrun(path);
                return std::nullopt;
            }
            ++at;
        }
    }
    if (std::optional<std::string> shorter = os.short_path(result.text(), kPathLimit)) return shorter;
    return std::move(result.text());
}

}  // namespace dpl::paths

extern "C" char *dplXlateFilePath(InstallControlBlock *pointer, const char *path) {
    if (dpl::core::as_block(pointer) == nullptr) return nullptr;
    char *result = nullptr;
    dpl::trace::traced_call(dpl::trace::kApi, __LINE__, "dplXlateFilePath", [&]() -> int32_t {
        std::optional<std::string> translated;
        try {
            translated = (path == nullptr || path[0] == '\0') ? std::string() : dpl::paths::translate(path);
        } catch (const std::bad_alloc &) {
            ht_log("dplXlateFilePath: Memory allocation failure");
            return DPL_E_NOMEM;
        }
        if (!translated) return DPL_E_FAIL;
        result = dpl::core::c_copy(*translated);
        if (result == nullptr) {
            ht_log("dplXlateFilePath: Memory allocation failure");
            return DPL_E_NOMEM;
        }
        return DPL_OK;
    });
    return result;
}
