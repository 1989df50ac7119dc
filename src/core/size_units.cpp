#include "core/size_units.hpp"

#include <cctype>
#include <cstring>

#include "dpl/dpl.h"

namespace dpl::core {

int32_t parse_unit_name(const char *text) {
    static const char kLetters[] = "KMGTP";
    if (text == nullptr) return DPL_E_INVALID_VALUE;
    const std::size_t length = std::strlen(text);
    if (length != 1 && length != 2) return DPL_E_INVALID_VALUE;
    if (length == 2 && std::toupper(static_cast<unsigned char>(text[1])) != 'B') return DPL_E_INVALID_VALUE;
    const char letter = static_cast<char>(std::toupper(static_cast<unsigned char>(text[0])));
    const char *found = letter != '\0' ? std::strchr(kLetters, letter) : nullptr;
    if (found == nullptr) return DPL_E_INVALID_VALUE;
    return static_cast<int32_t>(found - kLetters);
}

}  // namespace dpl::core
