// Reading an onconfig file into the instance's configuration table.
#include <string>
#include <string_view>

#include "config/config_parser.hpp"
#include "config/config_store.hpp"
#include "config/config_text.hpp"
#include "core/control_block.hpp"
#include "core/text_file.hpp"
#include "trace/trace.hpp"

namespace {

using dpl::config::NewLine;
using dpl::trace::kInstance;

// What one piece of the file becomes in the table.
NewLine classify(const std::string &line, int32_t number, const char *path) {
    if (line[0] == '\n') return NewLine{};
    if (line[0] == '#') return NewLine{DPL_CONFIG_COMMENT, line, {}, std::nullopt};
    const auto parsed = dpl::config::parse_parameter_line(line);
    if (!parsed) {
        ht_debug(5, kInstance, __LINE__,
                 "Line %d of the onconfig file %s is poorly formatted; preserving it as is\n",
                 static_cast<int>(number), path);
        return NewLine{DPL_CONFIG_COMMENT, line, {}, std::nullopt};
    }
    return NewLine{DPL_CONFIG_PARAMETER, parsed->name, parsed->value, parsed->comment};
}

}  // namespace

namespace dpl::config {

int32_t read_config_text(ConfigTable *table, std::string_view content, const char *path) {
    std::string line;
    std::string_view rest(content);
    std::string text;
    int32_t number = 0;
    while (!rest.empty()) {
        const std::size_t newline = rest.find('\n');
        const std::size_t length = newline == std::string_view::npos ? rest.size() : newline + 1;
        std::string_view physical = rest.substr(0, length);
        rest.remove_prefix(length);
        // A NUL ends the text of its line (the line end is kept, so that
        // the next line is not joined to it); a line that begins with one
        // is ignored.
        if (const std::size_t nul = physical.find('\0'); nul != std::string_view::npos) {
            if (nul == 0) {
                ++number;
                continue;
            }
            text.assign(physical.substr(0, nul)).push_back('\n');
            physical = text;
        }
        core::LinePieces pieces(physical, kReadBuffer);
        std::string_view piece;
        while (pieces.next(&piece)) {
            ++number;
            line.assign(piece);
            // The last line of the file had no line end.
            if (line.back() != '\n' && pieces.at_end() && rest.empty()) line.push_back('\n');
            if (table == nullptr) return DPL_E_NULL_ARGUMENT;
            const int32_t rc = add_line(*table, classify(line, number, path));
            if (rc != DPL_OK) return rc;
        }
    }
    return DPL_OK;
}

}  // namespace dpl::config

extern "C" int32_t dplReadConfig(Instance *instance, const char *path) {
    return dpl::trace::traced_call(kInstance, __LINE__, "dplReadConfig", [&]() -> int32_t {
        if (instance == nullptr) return DPL_E_BAD_CONTEXT;
        if (path == nullptr) return DPL_E_NULL_ARGUMENT;
        std::string content;
        uint32_t error = 0;
        // -952 is the code for a file that cannot be opened, read or write.
        if (!dpl::core::read_text_file(path, &content, &error)) return DPL_E_OPEN_WRITE;
        const int32_t rc = dpl::config::read_config_text(dpl::config::table_of(instance), content, path);
        // What automatic configuration requires before it writes parameters.
        if (rc == DPL_OK) {
            if (Instance *read = dpl::core::as_instance(instance)) read->config_read = true;
        }
        return rc;
    });
}
