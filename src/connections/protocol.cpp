// Protocol texts such as "onsoctcp" and their codes: prefix, interface type
// and transport in three bit fields, 256 for a group.
#include <cstdlib>
#include <cstring>

#include "dpl/dpl.h"

namespace {

struct Field {
    const char *text;
    uint32_t bits;
};

// Tested in these orders; the first match wins.
constexpr Field kPrefixes[] = {{"ol", 0x80}, {"on", 0x40}, {"dr", 0x00}, {"se", 0xC0}};
constexpr Field kInterfaces[] = {{"soc", 0x10}, {"tli", 0x30}, {"ipc", 0x00}, {"sql", 0x20}};
constexpr Field kTransports[] = {{"ssl", 0xA}, {"tcp", 0xE}, {"shm", 0x6}, {"str", 0xC},
                                 {"spx", 0x8}, {"imc", 0x0}, {"mux", 0x2}, {"nmp", 0x4}};

// The bits of the entry whose text begins `text`, or false.
template <std::size_t N>
bool match(const char *text, const Field (&table)[N], std::size_t length, uint32_t *bits) {
    for (const Field &field : table) {
        if (std::strncmp(text, field.text, length) == 0) {
            *bits = field.bits;
            return true;
        }
    }
    return false;
}

template <std::size_t N>
const char *text_of(const Field (&table)[N], uint32_t bits) {
    for (const Field &field : table) {
        if (field.bits == bits) return field.text;
    }
    return "";
}

}  // namespace

extern "C" uint32_t dplMapStringtoProtocol(const char *text) {
    if (text == nullptr || text[0] == '\0') return 0;
    if (std::strncmp(text, "group", 5) == 0) return DPL_PROTOCOL_GROUP;
    const std::size_t length = std::strlen(text);
    uint32_t prefix = 0;
    uint32_t interface_type = 0;
    uint32_t transport = 0;
    if (!match(text, kPrefixes, 2, &prefix) || length <= 2) return 0;
    if (!match(text + 2, kInterfaces, 3, &interface_type) || length <= 5) return 0;
    if (!match(text + 5, kTransports, 3, &transport)) return 0;
    return prefix | interface_type | transport;
}

extern "C" char *dplMapProtocol(uint32_t code) {
    auto *text = static_cast<char *>(std::malloc(9));
    if (text == nullptr) return nullptr;
    if (code == DPL_PROTOCOL_GROUP) {
        std::memcpy(text, "group", 6);
        return text;
    }
    text[0] = '\0';
    std::strcat(text, text_of(kPrefixes, code & DPL_PROTOCOL_PREFIX_MASK));
    std::strcat(text, text_of(kInterfaces, code & DPL_PROTOCOL_INTERFACE_MASK));
    std::strcat(text, text_of(kTransports, code & DPL_PROTOCOL_TRANSPORT_MASK));
    return text;
}
