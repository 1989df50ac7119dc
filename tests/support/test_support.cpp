#include "support/test_support.hpp"

#include <atomic>
#include <cstdlib>
#include <fstream>
#include <sstream>

#ifdef _WIN32
#include <process.h>
#else
#include <unistd.h>
#endif

namespace dpl::test {
namespace {
std::atomic<int> g_counter{0};

int current_pid() {
#ifdef _WIN32
    return _getpid();
#else
    return static_cast<int>(::getpid());
#endif
}
}  // namespace

ScratchDir::ScratchDir() {
    const auto base = std::filesystem::temp_directory_path();
    for (;;) {
        path_ = base / ("dpl-test-" + std::to_string(current_pid()) + "-" + std::to_string(g_counter++));
        if (std::filesystem::create_directory(path_)) break;
    }
}

ScratchDir::~ScratchDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::string read_file(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream content;
    content << in.rdbuf();
    return content.str();
}

std::string read_file_text(const std::string &path) {
    return without_carriage_returns(read_file(path));
}

std::string without_carriage_returns(const std::string &raw) {
    std::string text;
    text.reserve(raw.size());
    for (std::size_t i = 0; i < raw.size(); ++i) {
        if (raw[i] == '\r' && i + 1 < raw.size() && raw[i + 1] == '\n') continue;
        text.push_back(raw[i]);
    }
    return text;
}

void write_file(const std::string &path, const std::string &content) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << content;
}

std::vector<std::string> lines_of(const std::string &text) {
    std::vector<std::string> lines;
    std::size_t start = 0;
    while (start < text.size()) {
        std::size_t end = text.find('\n', start);
        if (end == std::string::npos) end = text.size();
        lines.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return lines;
}

void set_env(const char *name, const char *value) {
#ifdef _WIN32
    _putenv_s(name, value != nullptr ? value : "");
#else
    if (value != nullptr) {
        ::setenv(name, value, 1);
    } else {
        ::unsetenv(name);
    }
#endif
}

}  // namespace dpl::test
