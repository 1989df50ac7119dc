// ht_hexdump: a memory dump, 16 bytes a row, through the log or debug line.
#include <cstdint>
#include <cstdio>
#include <string>

#include "dpl/dpl.h"
#include "trace/trace_state.hpp"

namespace {

constexpr uint32_t kRowBytes = 16;
constexpr std::size_t kLineLimit = 4096;

uint32_t hex_digits(uint32_t value) {
    uint32_t digits = 1;
    while (value >= 16) {
        value /= 16;
        ++digits;
    }
    return digits;
}

// One row. A row built over a blank-filled buffer in which the offset
// "\t%0*X: " left its terminator: when the row's first byte is skipped,
// nothing overwrites that terminator and the row ends right after it.
std::string dump_row(const unsigned char *base, uint32_t row, uint32_t first, uint32_t last, uint32_t width,
                     uint32_t group) {
    static const char kHex[] = "0123456789abcdef";
    std::string text;
    const uint32_t row_start = row * kRowBytes;
    if (width > 0) {
        char offset[32];
        std::snprintf(offset, sizeof offset, "\t%0*X: ", static_cast<int>(width), row_start);
        text = offset;
        if (row_start < first) return text;
        text.pop_back();  // the first pair takes the blank's place
    }
    std::string characters;
    for (uint32_t i = 0; i < kRowBytes; ++i) {
        const uint32_t at = row_start + i;
        if (at >= first && at <= last) {
            const unsigned char byte = base[at - first];
            text.push_back(kHex[byte >> 4]);
            text.push_back(kHex[byte & 0x0F]);
            characters.push_back(byte >= 0x20 && byte < 0x7F ? static_cast<char>(byte) : '.');
        } else {
            text.append("  ");
            characters.push_back(' ');
        }
        if ((i + 1) % group == 0 || i + 1 == kRowBytes) text.push_back(' ');
    }
    text += characters;
    text.push_back('\n');
    return text;
}

}  // namespace

extern "C" uint32_t ht_hexdump(uint32_t kind, const void *base, uint32_t start, uint32_t count,
                               uint32_t offset_digits, uint32_t group) {
    const dpl::trace::TraceState *record = dpl::trace::state();
    if (record == nullptr) return HT_E_NOTSTARTED;
    if (start >= count || base == nullptr) return HT_OK;
    if (group < 1 || group > 8) group = 2;

    uint32_t width = 0;
    if (offset_digits != 0) {
        const uint32_t needed = hex_digits(count - 1);
        width = offset_digits < needed ? needed : offset_digits;
    }
    const uint32_t first = start;
    const uint64_t last64 = static_cast<uint64_t>(start) + count - 1;
    const uint32_t last = last64 > UINT32_MAX ? UINT32_MAX : static_cast<uint32_t>(last64);
    const auto *bytes = static_cast<const unsigned char *>(base) + start;

    std::string dump;
    try {
        for (uint32_t row = first / kRowBytes; row <= last / kRowBytes; ++row) {
            dump += dump_row(bytes, row, first, last, width, group);
            // The line is cut at 4095 characters anyway.
            if (row == UINT32_MAX / kRowBytes || dump.size() > kLineLimit) break;
        }
    } catch (const std::bad_alloc &) {
        return HT_OK;
    }
    const auto address = static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(base));
    if (kind == HT_DUMP_DEBUG) {
        ht_debug(1, nullptr, 0, "Dumping %d bytes at address 0x%x:\n%s\n", static_cast<int>(count), address,
                 dump.c_str());
    } else {
        ht_log("Dumping %d bytes at address 0x%x:\n%s\n", static_cast<int>(count), address, dump.c_str());
    }
    return HT_OK;
}
