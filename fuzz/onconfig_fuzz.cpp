// Reads arbitrary bytes as an onconfig file, looks names up, changes a few
// parameters and writes the table back. Every comment line, blank line and
// line of white space must come back verbatim and in order; found values
// must be trimmed and free of '#'.
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "core/instance.hpp"
#include "dpl/dpl.h"
#include "fuzz_support.hpp"
#include "onconfig_oracle.hpp"

namespace {

struct Place {
    std::filesystem::path home;
    std::string input;
    std::string output;
    // One context for the whole run: making one loads the services file.
    InstallControlBlock *block = nullptr;
};

const Place &place() {
    static const Place where = [] {
        Place made;
        made.home = std::filesystem::temp_directory_path() /
                    ("onconfig_fuzz_" + std::to_string(static_cast<long>(::getpid())));
        std::filesystem::create_directories(made.home / "etc");
        made.input = (made.home / "input").string();
        made.output = (made.home / "etc" / "onconfig.fuzz").string();
        made.block = init_API(0, 1, "p", "12.10.FC1");
        return made;
    }();
    return where;
}

using dpl::fuzz::check;
using dpl::fuzz::is_space;
using dpl::fuzz::split_lines;
using dpl::fuzz::verbatim_lines;

std::string first_word(std::string_view line) {
    std::size_t at = 0;
    while (at < line.size() && is_space(line[at])) ++at;
    std::size_t end = at;
    while (end < line.size() && !is_space(line[end]) && line[end] != '#' && line[end] != '\0') ++end;
    return std::string(line.substr(at, end - at));
}

void check_lookup(Instance *instance, const std::string &name, const char *selector) {
    const char *value = selector;
    ConfigEntry *entry = nullptr;
    if (dplGetConfig(instance, name.c_str(), &value, &entry) != DPL_OK) return;
    check(entry != nullptr && entry->kind == DPL_CONFIG_PARAMETER && entry->value == value);
    const std::string_view found(value);
    check(found.find('#') == std::string_view::npos);
    check(found.empty() || (!is_space(found.front()) && !is_space(found.back())));
}

std::string read_back(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream content;
    content << in.rdbuf();
    return content.str();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const Place &where = place();
    const std::string_view text(reinterpret_cast<const char *>(data), size);
    {
        std::ofstream out(where.input, std::ios::binary | std::ios::trunc);
        out.write(text.data(), static_cast<std::streamsize>(text.size()));
    }
    std::filesystem::remove(where.output);

    InstallControlBlock *block = where.block;
    check(block != nullptr);
    Instance *instance = dplGetCurrentInstance(block);
    // A fresh table and environment for every input.
    instance->config = dpl::config::ConfigTable();
    instance->environment.clear();
    check(dplSetEnvironment(block, "ORVANDEXDIR", where.home.string().c_str()) == DPL_OK);
    check(dplSetEnvironment(block, "ONCONFIG", "onconfig.fuzz") == DPL_OK);
    check(dplReadConfig(instance, where.input.c_str()) == DPL_OK);

    const std::vector<std::string_view> lines = split_lines(text);
    std::size_t queried = 0;
    for (const std::string_view line : lines) {
        if (++queried > 64) break;
        const std::string name = first_word(line);
        if (name.empty()) continue;
        check_lookup(instance, name, nullptr);
        check_lookup(instance, name, std::string(line).c_str());
        if (queried % 8 == 0) check(dplSetConfig(instance, name.c_str(), "fuzz,1", nullptr) == DPL_OK);
    }
    for (const char *name : {"NETTYPE", "BUFFERPOOL", "VPCLASS", "ROOTPATH"})
        check_lookup(instance, name, nullptr);
    check(dplAddConfig(instance, nullptr, nullptr, "#fuzz added\n") == DPL_OK);

    const char *server = nullptr;
    if (dplGetConfig(instance, "DBSERVERNAME", &server, nullptr) != DPL_OK) {
        check(dplSetEnvironment(block, "ORVANDEXSERVER", "fuzz") == DPL_OK);
    }
    check(dplWriteConfig(instance) == DPL_OK);

    const std::string written = dpl::fuzz::as_text_mode(read_back(where.output));
    const std::string as_read = dpl::fuzz::as_text_mode(text);
    const std::vector<std::string_view> output = split_lines(written);
    check(!output.empty() && output.back() == "#fuzz added");
    std::size_t at = 0;
    for (const std::string_view expected : verbatim_lines(as_read)) {
        while (at < output.size() && output[at] != expected) ++at;
        check(at < output.size());
        ++at;
    }
    return 0;
}
