#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "dpl/dpl.h"

namespace {

std::string text_of(uint32_t code) {
    std::unique_ptr<char, decltype(&dplFree)> text(dplMapProtocol(code), &dplFree);
    return text ? std::string(text.get()) : std::string("<null>");
}

TEST(Protocol, TextsAndCodes) {
    EXPECT_EQ(0x5Eu, dplMapStringtoProtocol("onsoctcpxyz"));  // the tail is ignored
    EXPECT_EQ(256u, dplMapStringtoProtocol("group"));
    EXPECT_EQ(256u, dplMapStringtoProtocol("groupX"));
    for (const char *rejected : {"", "on", "onsoc", "ONSOCTCP", "dripcimc", "xxsoctcp", "onxxxtcp",
                                 "onsocxxx", "o", "grou", "onsocTCP"}) {
        EXPECT_EQ(0u, dplMapStringtoProtocol(rejected)) << rejected;
    }
    EXPECT_EQ(0u, dplMapStringtoProtocol(nullptr));
}

TEST(Protocol, EveryCodeOfTheTableComesBackAsItsText) {
    const char *prefixes[] = {"dr", "on", "ol", "se"};
    const char *interfaces[] = {"ipc", "soc", "sql", "tli"};
    const char *transports[] = {"imc", "mux", "nmp", "shm", "spx", "ssl", "str", "tcp"};
    for (uint32_t p = 0; p < 4; ++p) {
        for (uint32_t i = 0; i < 4; ++i) {
            for (uint32_t t = 0; t < 8; ++t) {
                const uint32_t code = (p << 6) | (i << 4) | (t << 1);
                const std::string expected = std::string(prefixes[p]) + interfaces[i] + transports[t];
                EXPECT_EQ(expected, text_of(code));
                if (code != 0) {
                    EXPECT_EQ(code, dplMapStringtoProtocol(expected.c_str())) << expected;
                }
            }
        }
    }
    EXPECT_EQ("group", text_of(256));
    EXPECT_EQ("onsoctcp", text_of(0x15F));  // bit 0x100 with others, and bit 0, are ignored
}

}  // namespace
