#include <gtest/gtest.h>

#include "sync_arguments.hpp"

namespace {

using dplsync::parse_arguments;
using dplsync::SyncArguments;

bool parse(std::vector<const char *> words, SyncArguments &out) {
    words.insert(words.begin(), "dplsync");
    return parse_arguments(static_cast<int>(words.size()), words.data(), out);
}

TEST(SyncArguments, UsageErrors) {
    SyncArguments out;
    EXPECT_FALSE(parse({}, out));
    EXPECT_FALSE(parse({"word"}, out));
    EXPECT_FALSE(parse({"-servers", "ol_a", "ol_b"}, out));
    EXPECT_FALSE(parse({"-source"}, out));
    EXPECT_FALSE(parse({"-Source", "x"}, out));   // case matters
    EXPECT_FALSE(parse({"-sourcex", "x"}, out));  // whole words only
    EXPECT_FALSE(parse({"-target", "t", "extra"}, out));
    EXPECT_FALSE(parse({"-source", "-servers", "a"}, out));  // unanswered before -servers
}

TEST(SyncArguments, TheMostRecentOptionTakesTheValue) {
    SyncArguments out;
    ASSERT_TRUE(parse({"-source", "-target", "x"}, out));
    EXPECT_FALSE(out.source.has_value());
    EXPECT_EQ("x", out.target.value());

    ASSERT_TRUE(parse({"-target", "-dashed", "-target", "second"}, out));
    EXPECT_EQ("second", out.target.value());
    EXPECT_FALSE(out.has_server_list);
}

TEST(SyncArguments, EverythingAfterServersIsAnAlias) {
    SyncArguments out;
    ASSERT_TRUE(parse({"-source", "\\\\machine", "-servers", "-target", "word"}, out));
    EXPECT_EQ("\\\\machine", out.source.value());
    EXPECT_FALSE(out.target.has_value());
    EXPECT_TRUE(out.has_server_list);
    EXPECT_EQ((std::vector<std::string>{"-target", "word"}), out.servers);

    ASSERT_TRUE(parse({"-source", "file", "-servers"}, out));
    EXPECT_TRUE(out.has_server_list);
    EXPECT_TRUE(out.servers.empty());
}

}  // namespace
