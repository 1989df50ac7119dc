// The command line of dplsync: -source, -target and -servers.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace dplsync {

struct SyncArguments {
    std::optional<std::string> source;  // unset: the local registry node
    std::optional<std::string> target;  // unset: the local registry node
    bool has_server_list = false;       // "-servers" was given, even with no alias after it
    std::vector<std::string> servers;
};

// Parses the arguments after the program name. Returns false for a usage
// error: no arguments, a plain word that no option waits for, or neither a
// source nor a target.
bool parse_arguments(int argc, const char *const *argv, SyncArguments &out);

// The usage text for a program invoked as `program`.
std::string usage_text(const char *program);

}  // namespace dplsync
