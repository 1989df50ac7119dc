// Value names, directory matching, version markers and alias texts.
#include <gtest/gtest.h>

#include <string>

#include "install/install_registry.hpp"

namespace dpl::install {
namespace {

TEST(InstallText, TagOfValueName) {
    const struct {
        const char *name;
        int32_t previous, tag;
    } cases[] = {
        {"Install_Dir", 4, 0},
        {"Install_Dir7", 4, 7},
        {"Install_Dir12", -1, 12},
        {"Install_Dirx", 4, 0},
        {"Install_Dir 3", 4, 3},
        {"Install_Dir-2", 4, -2},
        {"XInstall_Dir9", 4, 4},
        {"Install_Dir2147483647", 4, 4},
        {"Install_Dir99999999999", 4, 4},
        {"Install_Dir2147483646", 4, 2147483646},
    };
    for (const auto &c : cases) EXPECT_EQ(c.tag, tag_of_value_name(c.name, c.previous)) << c.name;
}

TEST(InstallText, RegistrationIsTheFirstInstallDirOfTheDirectory) {
    DplRegValue third{2, const_cast<char *>("Install_Dir3"), 1, const_cast<char *>("c:\\talix"), nullptr};
    DplRegValue second{1, const_cast<char *>("Path"), 1, const_cast<char *>("C:\\Talix"), &third};
    DplRegValue first{0, const_cast<char *>("Install_Dir"), 1, nullptr, &second};
    EXPECT_EQ(&third, find_registration(&first, "C:\\TALIX"));
    EXPECT_EQ(&first, find_registration(&first, ""));
    EXPECT_EQ(nullptr, find_registration(&first, "C:\\TALIX2"));
    EXPECT_FALSE(same_directory("C:\\A", "C:\\AB"));
}

TEST(InstallText, VersionMarkerIsTheTrimmedFirstLine) {
    const struct {
        std::string content;
        const char *version;  // null: none
    } cases[] = {
        {"12.10.FC1\n", "12.10.FC1"},
        {" \t12.10.FC1 \r\nsecond line\n", "12.10.FC1"},
        {"11.70.UC8W2", "11.70.UC8W2"},
        {"\nsecond\n", nullptr},
        {"   \r\n12.10\n", nullptr},
        {"", nullptr},
        {std::string("12.10\0junk\n", 11), "12.10"},
        {"a b\n", "a b"},
    };
    for (const auto &c : cases) {
        const auto version = read_version_marker(c.content);
        if (c.version == nullptr) {
            EXPECT_FALSE(version.has_value()) << c.content;
        } else {
            EXPECT_EQ(c.version, version.value_or("<none>")) << c.content;
        }
    }
}

TEST(InstallText, AliasPiecesSkipRunsOfBlanksAndCommas) {
    const struct {
        const char *text;
        const char *joined;
    } cases[] = {
        {"a,b", "a|b|"}, {" a ,, b\tc\n", "a|b|c|"}, {",,, ,", ""}, {"", ""}, {"single", "single|"},
    };
    for (const auto &c : cases) {
        std::string joined;
        for (const std::string_view piece : alias_pieces(c.text)) joined.append(piece).append("|");
        EXPECT_EQ(c.joined, joined) << c.text;
    }
}

}  // namespace
}  // namespace dpl::install
