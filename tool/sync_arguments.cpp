#include "sync_arguments.hpp"

#include <cstring>

namespace dplsync {

bool parse_arguments(int argc, const char *const *argv, SyncArguments &out) {
    out = SyncArguments{};
    if (argc < 2) return false;
    std::optional<std::string> *waiting = nullptr;
    for (int i = 1; i < argc; ++i) {
        const char *argument = argv[i];
        if (std::strcmp(argument, "-source") == 0) {
            waiting = &out.source;
        } else if (std::strcmp(argument, "-target") == 0) {
            waiting = &out.target;
        } else if (std::strcmp(argument, "-servers") == 0) {
            // Everything after it is an alias, even words that look like options.
            out.has_server_list = true;
            for (int j = i + 1; j < argc; ++j) out.servers.emplace_back(argv[j]);
            break;
        } else if (waiting != nullptr) {
            *waiting = argument;
            waiting = nullptr;
        } else {
            return false;
        }
    }
    return out.source.has_value() || out.target.has_value();
}

std::string usage_text(const char *program) {
    std::string text = program != nullptr ? program : "";
    text +=
        " [-source <sqlhostvalue>] [-target <sqlhostvalue>] [-servers {serverlist }]\n"
        "\n"
        "if source or target is not specified it defaults to local orvandexsqlhosts registery node\n"
        "sqlhostvalue is either \\\\machine name or an sqlhosts file.\n"
        "serverlist is a space seperated list of orvandex server entries that are copyed from source to "
        "target\n";
    return text;
}

}  // namespace dplsync
