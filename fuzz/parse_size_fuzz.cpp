// Any text as a size text: the result is a size in kilobytes or -966, and
// a size accepted has only blanks, digits and unit letters in it. The same
// bytes, read as a number, a unit and blanks, make a text whose size is
// known in advance.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "dpl/dpl.h"

namespace {

void check_any_text(const std::string &text) {
    const int64_t size = dplParseSize(text.c_str());
    if (size < 0 && size != DPL_E_INVALID_VALUE) std::abort();
    if (size >= 0 && std::strspn(text.c_str(), " \t0123456789kKmMgGtTpPbB") != std::strlen(text.c_str())) {
        std::abort();
    }
}

void check_made_text(const uint8_t *data, std::size_t size) {
    if (size < 11) return;
    uint64_t number = 0;
    for (int i = 0; i < 8; ++i) number = (number << 8) | data[i];
    number >>= data[8] % 64;
    static const char *const kUnits[] = {"", "K", "kb", "M", "mB", "G", "Gb", "T", "tb", "P", "PB"};
    static const int kShifts[] = {0, 0, 0, 10, 10, 20, 20, 30, 30, 40, 40};
    const std::size_t unit = data[9] % 11;
    const std::string blanks(data[10] % 4, data[10] & 0x80 ? '\t' : ' ');
    const std::string text = blanks + std::to_string(number) + blanks + kUnits[unit] + blanks;
    const int shift = kShifts[unit];
    const bool fits = number <= (static_cast<uint64_t>(INT64_MAX) >> shift);
    const int64_t expected = fits ? static_cast<int64_t>(number << shift) : DPL_E_INVALID_VALUE;
    if (dplParseSize(text.c_str()) != expected) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size) {
    check_any_text(std::string(reinterpret_cast<const char *>(data), size));
    check_made_text(data, size);
    return 0;
}
