// Helpers shared by the tests: scratch directories, whole files, the
// environment; programs and sockets in their own files.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "support/child_process.hpp"
#include "support/listener.hpp"

namespace dpl::test {

// A fresh directory, removed with everything in it at the end of the test.
class ScratchDir {
public:
    ScratchDir();
    ScratchDir(const ScratchDir &) = delete;
    ScratchDir &operator=(const ScratchDir &) = delete;
    ~ScratchDir();
    const std::filesystem::path &path() const { return path_; }
    std::string file(const std::string &name) const { return (path_ / name).string(); }

private:
    std::filesystem::path path_;
};

std::string read_file(const std::string &path);
// The file as a text-mode read sees it: CRLF line ends become "\n".
std::string read_file_text(const std::string &path);
std::string without_carriage_returns(const std::string &text);
void write_file(const std::string &path, const std::string &content);
std::vector<std::string> lines_of(const std::string &text);

// Sets (or with null, removes) a variable of this process's environment,
// which programs started afterwards inherit.
void set_env(const char *name, const char *value);

}  // namespace dpl::test
