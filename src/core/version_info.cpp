// dplExtractVersInfo: the numbers and flags of a product version text such
// as "12.10.FC1" or "11.70.UC8W2".
#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

#include "dpl/dpl.h"

namespace {

constexpr std::string_view kSeparators = ".HUFTXCWB";
constexpr int32_t kNumberLimit = INT32_MAX;

// Leading decimal digits of a token, 0 when there are none; saturates
// instead of overflowing.
int32_t leading_number(std::string_view token) {
    int64_t value = 0;
    for (const char c : token) {
        if (c < '0' || c > '9') break;
        value = value * 10 + (c - '0');
        if (value > kNumberLimit) return kNumberLimit;
    }
    return static_cast<int32_t>(value);
}

// Tokens as strtok would give them: runs of non-separators.
std::vector<std::string_view> tokens_of(std::string_view text) {
    std::vector<std::string_view> tokens;
    std::size_t at = 0;
    while (at < text.size()) {
        at = text.find_first_not_of(kSeparators, at);
        if (at == std::string_view::npos) break;
        const std::size_t end = text.find_first_of(kSeparators, at);
        tokens.push_back(text.substr(at, end == std::string_view::npos ? std::string_view::npos : end - at));
        at = end == std::string_view::npos ? text.size() : end;
    }
    return tokens;
}

}  // namespace

extern "C" DplVersionInfo *dplExtractVersInfo(DplVersionInfo *info, const char *version) {
    if (info == nullptr) return nullptr;
    *info = DplVersionInfo{};
    if (version == nullptr) return info;
    const std::string_view text(version);
    std::vector<std::string_view> tokens;
    try {
        tokens = tokens_of(text);
    } catch (const std::bad_alloc &) {
        info->failed = 1;
        return info;
    }
    const bool has_x = text.find('X') != std::string_view::npos;
    info->x = has_x ? 1 : 0;
    info->beta = (!has_x && text.find('B') != std::string_view::npos) ? 1 : 0;
    info->w = text.find('W') != std::string_view::npos ? 1 : 0;

    int32_t *const fields[] = {&info->major, &info->minor, &info->level};
    std::size_t taken = 0;
    for (; taken < 3 && taken < tokens.size(); ++taken) *fields[taken] = leading_number(tokens[taken]);
    if (taken == 3 && tokens.size() > 3 && (info->w != 0 || info->beta != 0)) {
        info->build = leading_number(tokens[3]);
        taken = 4;
    }
    info->further = tokens.size() > taken ? 1 : 0;
    return info;
}
