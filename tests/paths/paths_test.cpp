// Path names, classification, file creation and translation, with the
// messages they log.
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <optional>
#include <string>

#include "dpl/dpl.h"
#include "paths/paths.hpp"
#include "support/recording_platform.hpp"
#include "support/traced_block_fixture.hpp"

namespace dpl::test {
namespace {

using Text = std::optional<std::string>;

class PathsTest : public TracedBlockTest<> {
protected:
    void SetUp() override {
        TracedBlockTest<>::SetUp();
        log_before = read_file(log_path).size();
    }
    // What the log gained since the block was made.
    std::string new_log() const { return read_file(log_path).substr(log_before); }
    // The text of a result for the caller, freed.
    static Text take(char *text) {
        if (text == nullptr) return std::nullopt;
        std::string copy(text);
        dplFree(text);
        return copy;
    }
    Text xlate(const std::string &path) { return take(dplXlateFilePath(block, path.c_str())); }

    const std::string top = dir.path().string();
    std::size_t log_before = 0;
    // The separator that translated paths use here.
    const std::string sep = std::string(1, platform::native().path_separator());
};

// A process environment of its own, and a short form on request.
class FixedEnvironment : public RecordingPlatform {
public:
    Text get_env(const std::string &name) override {
        const auto found = variables.find(name);
        return found == variables.end() ? Text() : found->second;
    }
    Text short_path(const std::string &path, std::size_t limit) override {
        shortened = path + " " + std::to_string(limit);
        return short_form;
    }

    std::map<std::string, std::string> variables = {
        {"A", "aa"}, {"B", "bb"}, {"EMPTY", ""}, {"A.B", "dotted"}, {"D", "$A//%B%"}};
    Text short_form;
    std::string shortened;
};

TEST_F(PathsTest, LastNameAndDirectoryPartFollowThePositionFourRule) {
    const struct {
        const char *path;
        Text last, directory;
    } cases[] = {
        {"C:\\x", "x", "C:\\"},
        {"C:/dir/", "", "C:/dir"},
        {"C:\\\\x", "x", "C:\\\\"},
        {"/tmp/x", "x", "/tmp"},
        {"/tm/x", "x", "/tm/"},
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
    // Finding no separator is no error and leaves no message; bad arguments are.
    EXPECT_EQ("", new_log());
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
    EXPECT_EQ(nullptr, GetNameFromPath(nullptr, "C:\\x", 1));
}

TEST_F(PathsTest, ClassificationAndNearestExistingDirectory) {
    write_file(dir.file("empty"), "");
    write_file(dir.file("full"), "x");
    EXPECT_EQ(DPL_E_PATH_MISSING, paths::classify(dir.file("absent")));
    EXPECT_EQ(DPL_E_PATH_MISSING, paths::classify(dir.file("full") + "/below"));
    EXPECT_EQ(DPL_E_PATH_DIRECTORY, paths::classify(top));
    EXPECT_EQ(DPL_E_PATH_EMPTY_FILE, paths::classify(dir.file("empty")));
    EXPECT_EQ(DPL_E_PATH_FILE, paths::classify(dir.file("full")));

    EXPECT_EQ(top, paths::nearest_existing_directory(top.c_str()));
    EXPECT_EQ(top, paths::nearest_existing_directory((top + "/a/b\\c/d.dat").c_str()));
    EXPECT_EQ(top, paths::nearest_existing_directory((top + "/full/below").c_str()));
    EXPECT_EQ(std::nullopt, paths::nearest_existing_directory("no-such-dpl/x/y"));
    // A drive that does not exist: the walk stops at its root.
    EXPECT_EQ(std::nullopt, paths::nearest_existing_directory("Q:\\no-such-dpl\\x"));
    EXPECT_EQ(std::nullopt, paths::nearest_existing_directory(nullptr));
    EXPECT_EQ(std::nullopt, paths::nearest_existing_directory(""));
    EXPECT_EQ(" p Invalid path: (null)\n p Invalid path:\n", new_log());
}

TEST_F(PathsTest, CreateFileMakesMissingDirectoriesAndKeepsContent) {
    const std::string target = top + "/a\\b//c/new.txt";
    const std::string made = (dir.path() / "a" / "b" / "c" / "new.txt").string();
    ASSERT_EQ(DPL_OK, dplCreateFile(block, target.c_str()));
    EXPECT_EQ(0u, std::filesystem::file_size(made));
    write_file(made, "keep me");
    ASSERT_EQ(DPL_OK, dplCreateFile(block, target.c_str()));
    EXPECT_EQ("keep me", read_file(made));
    EXPECT_EQ("", new_log());
}

TEST_F(PathsTest, CreateFileFailuresGiveTheirCodesAndMessages) {
    write_file(dir.file("plain"), "x");
    const std::string under_file = top + "/plain/sub/f.txt";
    EXPECT_EQ(DPL_E_INVALID_VALUE, dplCreateFile(block, nullptr));
    EXPECT_EQ(DPL_E_INVALID_VALUE, dplCreateFile(block, ""));
    EXPECT_EQ(DPL_E_PATH_CREATE, dplCreateFile(block, "x"));
    EXPECT_EQ(DPL_E_PATH_CREATE, dplCreateFile(block, under_file.c_str()));
    EXPECT_EQ(DPL_E_OPEN_WRITE, dplCreateFile(block, top.c_str()));
    EXPECT_EQ(
        " p Invalid filename passed to dplCreateFile\n"
        " p Invalid filename passed to dplCreateFile\n"
        " p Unable to determine pathname\n"
        " p Failed to create directory component for " +
            under_file + "\n p Cannot create file: " + top + "\n",
        new_log());
    EXPECT_EQ(DPL_E_BAD_CONTEXT, dplCreateFile(nullptr, "C:\\x"));
}

TEST_F(PathsTest, TranslationReplacesBothFormsOfVariablesAndSeparatorRuns) {
    FixedEnvironment os;
    const struct {
        std::string path, expected;
    } cases[] = {
        {"$A$B", "aabb"},
        {"$A/$B\\", "aa" + sep + "bb" + sep},
        {"x%A%y", "xaay"},
        {"%A%%B%", "aabb"},
        {"%A.B%.txt", "dotted.txt"},
        {"%A.B", "dotted"},  // no closing "%": the name runs to the end
        {"//$A$EMPTY\\/etc\\\\x", sep + "aa" + sep + "etc" + sep + "x"},
        {"$D/z", "$A//%B%" + sep + "z"},  // a value's characters are not looked at again
    };
    for (const auto &c : cases) EXPECT_EQ(c.expected, xlate(c.path)) << c.path;
    EXPECT_EQ("", take(dplXlateFilePath(block, nullptr)));
    EXPECT_EQ("", xlate(""));
    EXPECT_EQ("", new_log());
    EXPECT_EQ(nullptr, dplXlateFilePath(nullptr, "x"));
    // An unset variable gives nothing and is named.
    EXPECT_EQ(std::nullopt, xlate("$A/$DPL_TEST_UNSET/x"));
    EXPECT_EQ(std::nullopt, xlate("%UNCLOSED"));
    EXPECT_EQ(std::nullopt, xlate("x/$/y"));
    EXPECT_EQ(std::nullopt, xlate("$A%A%"));  // "%" does not end a "$" name
    EXPECT_EQ(
        " p Failed to find value for environment variable DPL_TEST_UNSET\n"
        " p Failed to find value for environment variable UNCLOSED\n"
        " p Failed to find value for environment variable\n"
        " p Failed to find value for environment variable A%A%\n",
        new_log());
}

TEST_F(PathsTest, TranslationsBeyond255CharactersAreRefused) {
    FixedEnvironment os;
    os.variables["V200"] = std::string(200, 'v');
    EXPECT_EQ(std::string(255, 'p'), xlate(std::string(255, 'p')));
    EXPECT_EQ(std::string(200, 'v') + std::string(55, 'q'), xlate("%V200%" + std::string(55, 'q')));
    // A separator counts as one character however long its run.
    EXPECT_EQ(std::string(254, 't') + sep, xlate(std::string(254, 't') + "////\\\\"));
    EXPECT_EQ("", new_log());
    EXPECT_EQ(std::nullopt, xlate(std::string(256, 'p')));
    EXPECT_EQ(std::nullopt, xlate(std::string(56, 's') + "$V200"));
    EXPECT_EQ(std::nullopt, xlate(std::string(255, 't') + "/"));
    const std::string prefix = " p dplXlateFilePath: Failed preventing buffer overrun, ";
    EXPECT_EQ(prefix + std::string(256, 'p') + "\n" + prefix + std::string(56, 's') + "$V200\n" + prefix +
                  std::string(255, 't') + "/\n",
              new_log());
}

TEST_F(PathsTest, TranslationsShortFormReplacesTheResultWhenThereIsOne) {
    {
        FixedEnvironment os;
        os.short_form = "C:\\PROGRA~1\\X";
        EXPECT_EQ("C:\\PROGRA~1\\X", xlate("$A/x"));
        EXPECT_EQ("aa" + sep + "x 255", os.shortened);
    }
    // The system's own: 8.3 names on Windows, none elsewhere.
    const std::filesystem::path long_name = dir.path() / "a directory with a long name";
    std::filesystem::create_directory(long_name);
    const Text result = xlate(long_name.string());
    ASSERT_TRUE(result.has_value());
    EXPECT_EQ(sep == "/", long_name.string() == *result) << *result;
    EXPECT_TRUE(std::filesystem::equivalent(long_name, *result));
}

}  // namespace
}  // namespace dpl::test
