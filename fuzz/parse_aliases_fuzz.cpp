// Any bytes as a server name (up to the first line end) and an alias text:
// the list is the server name and every run of the text between blanks and
// commas, in order, and nothing else.
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "dpl/dpl.h"
#include "fuzz_support.hpp"

namespace {

bool is_separator(char c) {
    return c == ',' || dpl::fuzz::is_space(c);
}

std::size_t runs_in(std::string_view text) {
    std::size_t runs = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (!is_separator(text[i]) && (i == 0 || is_separator(text[i - 1]))) ++runs;
    }
    return runs;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size) {
    static InstallControlBlock *const block = init_API(0, 1, "fuzz", "12.10.FC1");
    dpl::fuzz::check(block != nullptr);
    const std::string input(reinterpret_cast<const char *>(data), size);
    const std::size_t split = input.find('\n');
    const std::string server = input.substr(0, split);
    const std::string aliases = split == std::string::npos ? std::string() : input.substr(split + 1);
    // Both reach the library as C texts, which end at their first NUL.
    const std::string_view server_text(server.c_str());
    const std::string_view alias_text(aliases.c_str());

    int32_t count = -1;
    char **names = parseAliases(block, server.c_str(), aliases.c_str(), &count);
    if (server_text.empty()) {
        dpl::fuzz::check(names == nullptr && count == 0);
        return 0;
    }
    dpl::fuzz::check(names != nullptr && count >= 1);
    dpl::fuzz::check(server_text == names[0]);
    dpl::fuzz::check(static_cast<std::size_t>(count) == runs_in(alias_text) + 1);
    std::size_t from = 0;
    for (int32_t i = 1; i < count; ++i) {
        const std::string_view name(names[i]);
        dpl::fuzz::check(!name.empty());
        const std::size_t at = alias_text.find(name, from);
        dpl::fuzz::check(at != std::string_view::npos);
        // A whole run: separators (or the ends) on both sides, none inside.
        dpl::fuzz::check(at == 0 || is_separator(alias_text[at - 1]));
        const std::size_t end = at + name.size();
        dpl::fuzz::check(end == alias_text.size() || is_separator(alias_text[end]));
        for (const char c : name) dpl::fuzz::check(!is_separator(c));
        from = end;
    }
    dplFreeNameList(names, count);
    return 0;
}
