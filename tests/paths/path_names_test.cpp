#include <optional>
#include <string>

#include "paths/paths_fixture.hpp"

namespace dpl::test {
namespace {

using Text = std::optional<std::string>;

class PathNames : public PathsTest {};

TEST_F(PathNames, LastNameAndDirectoryPartFollowThePositionFourRule) {
    const struct {
        const char *path;
        Text last;
        Text directory;
    } cases[] = {
        {"C:\\x", "x", "C:\\"},
        {"C:\\dir", "dir", "C:\\"},
        {"C:\\dir\\file", "file", "C:\\dir"},
        {"C:/dir/", "", "C:/dir"},
        {"C:\\\\x", "x", "C:\\\\"},
        {"/tmp/x", "x", "/tmp"},
        {"/tm/x", "x", "/tm/"},
        {"a/b", "b", "a/"},
        {"abcd\\", "", "abcd"},
        {"ab\\cd/ef", "ef", "ab\\cd"},
        {"\\\\server\\share", "share", "\\\\server"},
        {"x", std::nullopt, std::nullopt},
        {"\\x", std::nullopt, std::nullopt},
        {"/", std::nullopt, std::nullopt},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(c.last, take(GetNameFromPath(block, c.path, 1))) << c.path;
        EXPECT_EQ(c.directory, take(GetNameFromPath(block, c.path, 2))) << c.path;
    }
    // Finding no separator is no error and leaves no message.
    EXPECT_EQ("", new_log());
}

TEST_F(PathNames, BadArgumentsAreLoggedAndGiveNull) {
    EXPECT_EQ(nullptr, GetNameFromPath(block, nullptr, 1));
    EXPECT_EQ(nullptr, GetNameFromPath(block, "", 2));
    EXPECT_EQ(nullptr, GetNameFromPath(block, "C:\\x", 0));
    EXPECT_EQ(nullptr, GetNameFromPath(block, "C:\\x", 3));
    EXPECT_EQ(
        " p GetNameFromPath called with null filename\n"
        " p GetNameFromPath called with null filename\n"
        " p GetNameFromPath called with invalid mode\n"
        " p GetNameFromPath called with invalid mode\n",
        new_log());
    uint32_t foreign[16] = {0x12345678u};
    EXPECT_EQ(nullptr, GetNameFromPath(reinterpret_cast<InstallControlBlock *>(foreign), "C:\\x", 1));
    EXPECT_EQ(nullptr, GetNameFromPath(nullptr, "C:\\x", 1));
}

}  // namespace
}  // namespace dpl::test
