#include "autoconfig/bufferpool_text.hpp"

#include <limits>

#include "dpl/dpl.h"

namespace dpl::autoconfig {

namespace {

bool is_blank(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && is_blank(text.front())) text.remove_prefix(1);
    while (!text.empty() && is_blank(text.back())) text.remove_suffix(1);
    return text;
}

// Decimal digits only, within 32 bits.
bool read_decimal(std::string_view digits, int64_t *value) {
    if (digits.empty()) return false;
    int64_t number = 0;
    for (const char c : digits) {
        if (c < '0' || c > '9') return false;
        number = number * 10 + (c - '0');
        if (number > std::numeric_limits<int32_t>::max()) return false;
    }
    *value = number;
    return true;
}

int32_t unknown_format() {
    ht_log("BUFFERPOOL values are in unknown format\n");
    return DPL_E_FAIL;
}

int32_t read_size(std::string_view text, int64_t page_kb, int64_t *size) {
    if (!text.empty() && (text.back() == 'k' || text.back() == 'K')) text.remove_suffix(1);
    if (!read_decimal(text, size)) {
        ht_log("Incorrect setting for default bufferpool size\n");
        return DPL_E_FAIL;
    }
    if (*size == 0) {
        ht_log("Incorrect pagesize of 0 in bufferpool parameter\n");
        return DPL_E_FAIL;
    }
    if (page_kb <= 0 || *size % page_kb != 0) {
        ht_log("Sanity check failed for multiple of pagesize\n");
        return DPL_E_FAIL;
    }
    if (*size != page_kb) {
        ht_log("BUFFERPOOL values - size is not the correct value\n");
        return DPL_E_FAIL;
    }
    return DPL_OK;
}

}  // namespace

int32_t parse_bufferpool(std::string_view text, int64_t page_kb, BufferPool *out) {
    bool have_size = false;
    bool have_buffers = false;
    BufferPool pool;
    while (true) {
        const std::size_t comma = text.find(',');
        const std::string_view item = trimmed(text.substr(0, comma));
        const std::size_t equals = item.find('=');
        if (equals == std::string_view::npos) {
            if (item != "default") return unknown_format();
        } else {
            const std::string_view key = item.substr(0, equals);
            const std::string_view value = item.substr(equals + 1);
            if (key == "size") {
                if (read_size(value, page_kb, &pool.size_kb) != DPL_OK) return DPL_E_FAIL;
                have_size = true;
            } else if (key == "buffers") {
                int64_t buffers = 0;
                if (!read_decimal(value, &buffers)) return unknown_format();
                pool.buffers = static_cast<int32_t>(buffers);
                have_buffers = true;
            }
        }
        if (comma == std::string_view::npos) break;
        text.remove_prefix(comma + 1);
    }
    if (!have_size || !have_buffers) return unknown_format();
    if (out != nullptr) *out = pool;
    return DPL_OK;
}

}  // namespace dpl::autoconfig
