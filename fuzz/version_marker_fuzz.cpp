// Any bytes as the text of a version marker file: the version found is the
// first line, trimmed of its line end and blanks, or none for an empty one.
// The same bytes as value names and data of a version key (lines "name",
// "data" in turn, the first line being the directory): the registration
// found is the first Install_Dir value whose data equals the directory
// ignoring case.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "dpl/dpl.h"
#include "fuzz_support.hpp"
#include "install/install_registry.hpp"

namespace {

bool is_blank(char c) {
    return c == ' ' || c == '\t';
}

std::string lowered(std::string_view text) {
    std::string out(text);
    for (char &c : out) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + ('a' - 'A'));
    }
    return out;
}

// The reader the installed-version lookup uses on a marker file's text.
void check_marker(const std::string &input) {
    const std::optional<std::string> version = dpl::install::read_version_marker(input);
    const std::string_view first_line = std::string_view(input).substr(0, input.find('\n'));
    if (!version) {
        // No version: the marker is empty or its first line holds only blanks.
        for (const char c : first_line.substr(0, first_line.find('\0'))) {
            dpl::fuzz::check(is_blank(c) || c == '\r');
        }
        return;
    }
    const std::string_view found(*version);
    dpl::fuzz::check(!found.empty() && !is_blank(found.front()) && !is_blank(found.back()));
    dpl::fuzz::check(first_line.find(found) != std::string_view::npos);
    dpl::fuzz::check(found.find('\n') == std::string_view::npos &&
                     found.find('\0') == std::string_view::npos);
}

void check_matching(const std::string &input) {
    std::vector<std::string> lines;
    std::size_t at = 0;
    while (at <= input.size() && lines.size() < 64) {
        const std::size_t end = input.find('\n', at);
        lines.push_back(input.substr(at, end == std::string::npos ? std::string::npos : end - at));
        if (end == std::string::npos) break;
        at = end + 1;
    }
    const std::string directory = lines.front();
    std::vector<DplRegValue> values((lines.size() - 1) / 2);
    for (std::size_t i = 0; i < values.size(); ++i) {
        values[i].index = static_cast<uint32_t>(i);
        values[i].name = lines[1 + 2 * i].data();
        values[i].data = lines[2 + 2 * i].empty() ? nullptr : lines[2 + 2 * i].data();
        values[i].next = i + 1 < values.size() ? &values[i + 1] : nullptr;
    }
    const DplRegValue *expected = nullptr;
    for (const DplRegValue &value : values) {
        const std::string name(value.name);
        const std::string data(value.data != nullptr ? value.data : "");
        if (name.find("Install_Dir") != std::string::npos && lowered(data) == lowered(directory)) {
            expected = &value;
            break;
        }
    }
    const DplRegValue *found =
        dpl::install::find_registration(values.empty() ? nullptr : values.data(), directory);
    dpl::fuzz::check(found == expected);
    if (found != nullptr) {
        const int32_t tag = dpl::install::tag_of_value_name(found->name, -7);
        dpl::fuzz::check(tag == -7 || (tag > -2147483647 && tag < 2147483647));
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size) {
    const std::string input(reinterpret_cast<const char *>(data), size);
    check_marker(input);
    check_matching(input);
    return 0;
}
