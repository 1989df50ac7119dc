// Shared pieces of the fuzz programs: a scratch file per process and a
// platform that answers every host name, so no input reaches a resolver.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include "platform/forwarding_platform.hpp"

namespace dpl::fuzz {

inline std::string scratch_path(const char *name) {
    static const std::filesystem::path directory = [] {
        auto path = std::filesystem::temp_directory_path() /
                    ("dpl-fuzz-" + std::to_string(static_cast<long long>(std::rand())) + "-" +
                     std::to_string(reinterpret_cast<std::uintptr_t>(&directory)));
        std::filesystem::create_directories(path);
        return path;
    }();
    return (directory / name).string();
}

// A broken invariant stops the run with a crash libFuzzer records.
inline void check(bool condition) {
    if (!condition) std::abort();
}

inline bool is_space(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

inline void write_bytes(const std::string &path, const uint8_t *data, std::size_t size) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char *>(data), static_cast<std::streamsize>(size));
}

inline std::string read_bytes(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// Bytes as a file read in text mode gives them on this system: where the
// line end is CRLF, each CRLF pair is one "\n".
inline std::string as_text_mode(std::string_view bytes) {
    if (std::string_view(platform::current().text_line_end()) != "\r\n") return std::string(bytes);
    std::string text;
    text.reserve(bytes.size());
    for (std::size_t at = 0; at < bytes.size(); ++at) {
        if (bytes[at] == '\r' && at + 1 < bytes.size() && bytes[at + 1] == '\n') continue;
        text.push_back(bytes[at]);
    }
    return text;
}

// The lines of a text without their line ends; a last line without one
// counts too.
inline std::vector<std::string_view> split_lines(std::string_view text) {
    std::vector<std::string_view> lines;
    std::size_t start = 0;
    while (start < text.size()) {
        std::size_t end = text.find('\n', start);
        if (end == std::string_view::npos) end = text.size();
        lines.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return lines;
}

class EveryHostResolves : public platform::ForwardingPlatform {
public:
    EveryHostResolves() : ForwardingPlatform(platform::native()) {}
    bool resolve_host(const std::string &) override { return true; }
};

}  // namespace dpl::fuzz
