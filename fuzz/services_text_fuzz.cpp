// Any bytes as the text of a services file, straight into the parser the
// loader uses, and the model written out with the writer's own line
// renderer. Blank, comment and verbatim lines come back byte for byte,
// service lines read back the same, and the written text parsed again gives
// the same lines and is written again unchanged.
#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>

#include "dpl/dpl.h"
#include "fuzz_support.hpp"
#include "services/services_file.hpp"
#include "services/services_internal.hpp"
#include "services/services_parser.hpp"
#include "services_oracle.hpp"

namespace {

using dpl::fuzz::check;
using dpl::services::ServicesFile;
using dpl::services::ServicesLine;

std::string written(const ServicesFile &file) {
    std::string text;
    for (const ServicesLine &line : file.lines()) dpl::services::render_line(file, line, text);
    return text;
}

bool same_lines(const ServicesFile &a, const ServicesFile &b) {
    if (a.lines().size() != b.lines().size()) return false;
    auto other = b.lines().begin();
    for (const ServicesLine &line : a.lines()) {
        const ServicesLine &again = *other++;
        if (line.kind != again.kind || line.text_or_name != again.text_or_name || line.port != again.port ||
            line.protocol != again.protocol || line.aliases != again.aliases ||
            line.comment != again.comment) {
            return false;
        }
    }
    return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char *>(data), size);
    ServicesFile file;
    check(dpl::services::parse_text(file, text) == DPL_OK);
    const std::string out = written(file);
    dpl::fuzz::check_written(file, dpl::fuzz::pieces_of(text), out);

    // The columns only widen, so a second pass writes what the first wrote
    // whenever every written line is short enough to be read whole.
    ServicesFile again;
    check(dpl::services::parse_text(again, out) == DPL_OK);
    std::size_t longest = 0;
    for (const std::string_view line : dpl::fuzz::split_lines(out))
        longest = std::max(longest, line.size() + 1);
    // A NUL cuts a line short of its line end, which joins it to the next
    // one in the written text.
    // A service named "#..." (its line began with white space) is written at
    // the start of its line, the file's column form, and reads back as a
    // comment.
    bool hash_name = false;
    for (const ServicesLine &line : file.lines()) {
        hash_name = hash_name || (line.kind == dpl::services::kServiceLine && line.text_or_name[0] == '#');
    }
    if (longest < dpl::services::kLineBuffer && text.find('\0') == std::string_view::npos && !hash_name) {
        check(same_lines(file, again));
        check(written(again) == out);
    }
    return 0;
}
