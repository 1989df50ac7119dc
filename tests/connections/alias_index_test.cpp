// The alias index must agree with a plain substring search on every text it
// is grown into, including texts with repeats that force state splits.
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "connections/alias_index.hpp"

namespace {

TEST(AliasIndex, AgreesWithSubstringSearchWhileTheTextGrows) {
    std::mt19937 random(12345);
    const std::string alphabet = "ab_, 1";
    dpl::connections::AliasIndex index;
    std::string text;
    index.rebuild(7, 1, text);
    for (uint64_t version = 2; version < 400; ++version) {
        std::string piece;
        const std::size_t length = 1 + random() % 6;
        for (std::size_t i = 0; i < length; ++i) piece.push_back(alphabet[random() % alphabet.size()]);
        text += piece;
        index.appended(version, piece);
        ASSERT_TRUE(index.describes(7, version));
        for (int probe = 0; probe < 20; ++probe) {
            std::string alias;
            const std::size_t size = random() % 8;
            for (std::size_t i = 0; i < size; ++i) alias.push_back(alphabet[random() % alphabet.size()]);
            if (alias.find(' ') != std::string::npos) continue;  // answered by the caller
            ASSERT_EQ(text.find(alias) != std::string::npos, index.contains(alias)) << text << " / " << alias;
        }
    }
    EXPECT_FALSE(index.describes(8, 399));
    EXPECT_FALSE(index.describes(7, 398));
}

TEST(AliasIndex, RebuildForgetsTheOldText) {
    dpl::connections::AliasIndex index;
    index.rebuild(1, 1, "srv_tcp, other");
    EXPECT_TRUE(index.contains("srv"));
    EXPECT_TRUE(index.contains("tcp,"));
    EXPECT_TRUE(index.contains("other"));
    EXPECT_TRUE(index.contains(""));
    EXPECT_FALSE(index.contains("tcp,other"));
    index.rebuild(1, 2, "beta");
    EXPECT_FALSE(index.contains("srv"));
    EXPECT_TRUE(index.contains("et"));
    std::string all;
    for (int c = 1; c < 256; ++c) {
        if (c != ' ') all.push_back(static_cast<char>(c));
    }
    index.appended(3, all);
    EXPECT_TRUE(index.contains(std::string("\x01\x02\x03", 3)));
    EXPECT_TRUE(index.contains("beta\x01"));  // "beta" ran on without a blank
    EXPECT_TRUE(index.contains("\xfe\xff"));
    EXPECT_FALSE(index.contains("\xff\x01"));
}

}  // namespace
