// Any bytes as the text of an onconfig file, straight into the reader's line
// parser and out through the writer's line renderer, with no instance and no
// file. Comment, blank and white-space lines come back verbatim and in
// order; found values are trimmed and free of '#'; and the written text
// read again holds the same lines.
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "config/config_table.hpp"
#include "config/config_text.hpp"
#include "dpl/dpl.h"
#include "fuzz_support.hpp"
#include "onconfig_oracle.hpp"

namespace {

using dpl::config::ConfigTable;
using dpl::fuzz::check;
using dpl::fuzz::is_space;

std::string written(const ConfigTable &table) {
    std::string text;
    for (const ConfigEntry *entry : table.in_sequence_order())
        dpl::config::append_config_entry(*entry, &text);
    return text;
}

// The lines of a table apart from blank ones: a comment that is white space
// only keeps its line end, which is written as one more blank line.
std::vector<std::string> contents(const ConfigTable &table) {
    std::vector<std::string> lines;
    for (const ConfigEntry *entry : table.in_sequence_order()) {
        if (entry->kind == DPL_CONFIG_BLANK) continue;
        std::string line = std::to_string(entry->kind) + '|' + entry->name;
        if (entry->kind == DPL_CONFIG_PARAMETER) {
            line += '|';
            line += entry->value != nullptr ? entry->value : "";
            line += '|';
            line += entry->comment != nullptr ? entry->comment : "";
        }
        lines.push_back(line);
    }
    return lines;
}

void check_parameter(const ConfigEntry &entry) {
    const std::string_view name(entry.name);
    check(!name.empty() && name.find('#') == std::string_view::npos);
    for (const char c : name) check(!is_space(c));
    const std::string_view value(entry.value != nullptr ? entry.value : "");
    check(value.find('#') == std::string_view::npos);
    check(value.empty() || (!is_space(value.front()) && !is_space(value.back())));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char *>(data), size);
    ConfigTable table;
    check(dpl::config::read_config_text(&table, text, "fuzz") == DPL_OK);
    for (const ConfigEntry *entry : table.in_sequence_order()) {
        if (entry->kind == DPL_CONFIG_PARAMETER) check_parameter(*entry);
    }
    const std::string out = written(table);

    const std::vector<std::string_view> output = dpl::fuzz::split_lines(out);
    std::size_t at = 0;
    for (const std::string_view expected : dpl::fuzz::verbatim_lines(text)) {
        while (at < output.size() && output[at] != expected) ++at;
        check(at < output.size());
        ++at;
    }

    // A line written from a parameter is at most one character longer than
    // the line it came from; lines that short are read whole again.
    bool short_lines = text.find('\0') == std::string_view::npos;
    for (const std::string_view line : dpl::fuzz::split_lines(text))
        short_lines = short_lines && line.size() <= 252;
    if (short_lines) {
        ConfigTable again;
        check(dpl::config::read_config_text(&again, out, "fuzz") == DPL_OK);
        check(contents(again) == contents(table));
    }
    return 0;
}
