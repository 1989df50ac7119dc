#include <algorithm>
#include <filesystem>
#include <optional>
#include <string>

#include "paths/paths.hpp"
#include "paths/paths_fixture.hpp"
#include "platform/forwarding_platform.hpp"

namespace dpl::test {
namespace {

class PathFiles : public PathsTest {
protected:
    std::string in_dir(const std::string &relative) const { return dir.path().string() + relative; }
};

// Fails the status query or the creation of one chosen path.
class DirectoryFaults : public platform::ForwardingPlatform {
public:
    DirectoryFaults() : ForwardingPlatform(platform::native()) { platform::install(this); }
    DirectoryFaults(const DirectoryFaults &) = delete;
    DirectoryFaults &operator=(const DirectoryFaults &) = delete;
    ~DirectoryFaults() override { platform::install(nullptr); }

    bool path_status(const std::string &path, platform::PathStatus *status,
                     platform::SysError *error) override {
        if (path == status_fails_for) {
            *error = {5, 5};
            return false;
        }
        return ForwardingPlatform::path_status(path, status, error);
    }
    bool create_directory(const std::string &path, platform::SysError *error) override {
        ++directories_created;
        if (path == creation_fails_for) {
            *error = {5, 5};
            return false;
        }
        return ForwardingPlatform::create_directory(path, error);
    }

    std::string status_fails_for;
    std::string creation_fails_for;
    int directories_created = 0;
};

TEST_F(PathFiles, ClassificationTellsMissingDirectoryEmptyAndNonEmptyFiles) {
    write_file(dir.file("empty"), "");
    write_file(dir.file("full"), "x");
    EXPECT_EQ(DPL_E_PATH_MISSING, paths::classify(dir.file("absent")));
    EXPECT_EQ(DPL_E_PATH_MISSING, paths::classify(dir.file("absent") + "/below"));
    EXPECT_EQ(DPL_E_PATH_MISSING, paths::classify(dir.file("full") + "/below"));
    EXPECT_EQ(DPL_E_PATH_DIRECTORY, paths::classify(dir.path().string()));
    EXPECT_EQ(DPL_E_PATH_EMPTY_FILE, paths::classify(dir.file("empty")));
    EXPECT_EQ(DPL_E_PATH_FILE, paths::classify(dir.file("full")));
}

TEST_F(PathFiles, NearestExistingDirectoryClimbsToTheFirstThatExists) {
    const std::string top = dir.path().string();
    write_file(dir.file("file.txt"), "x");
    EXPECT_EQ(top, paths::nearest_existing_directory(top.c_str()));
    EXPECT_EQ(top, paths::nearest_existing_directory(in_dir("/a/b\\c/d.dat").c_str()));
    EXPECT_EQ(top, paths::nearest_existing_directory(dir.file("file.txt").c_str()));
    EXPECT_EQ(top, paths::nearest_existing_directory(in_dir("/file.txt/below").c_str()));
    // Nothing above a relative name that does not exist, nor above a root
    // that does not.
    EXPECT_EQ(std::nullopt, paths::nearest_existing_directory("no-such-name-dpl"));
    EXPECT_EQ(std::nullopt, paths::nearest_existing_directory("no-such-dpl/x/y"));
    EXPECT_EQ("", new_log());
    EXPECT_EQ(std::nullopt, paths::nearest_existing_directory(nullptr));
    EXPECT_EQ(std::nullopt, paths::nearest_existing_directory(""));
    EXPECT_EQ(" p Invalid path: (null)\n p Invalid path:\n", new_log());
}

TEST_F(PathFiles, CreateFileMakesMissingDirectoriesAndKeepsContent) {
    const std::string target = in_dir("/a\\b//c/new.txt");
    ASSERT_EQ(DPL_OK, dplCreateFile(block, target.c_str()));
    EXPECT_TRUE(std::filesystem::is_directory(dir.path() / "a" / "b" / "c"));
    const std::string made = (dir.path() / "a" / "b" / "c" / "new.txt").string();
    EXPECT_EQ("", read_file(made));
    write_file(made, "keep me");
    ASSERT_EQ(DPL_OK, dplCreateFile(block, target.c_str()));
    EXPECT_EQ("keep me", read_file(made));
    // A directory that exists is not made again.
    DirectoryFaults os;
    ASSERT_EQ(DPL_OK, dplCreateFile(block, in_dir("/a/b/other.txt").c_str()));
    EXPECT_EQ(0, os.directories_created);
    EXPECT_TRUE(std::filesystem::is_regular_file(dir.path() / "a" / "b" / "other.txt"));
    // Backslashes separate on every system.
    std::string backslashed = dir.path().string();
    std::replace(backslashed.begin(), backslashed.end(), '/', '\\');
    ASSERT_EQ(DPL_OK, dplCreateFile(block, (backslashed + "\\d\\e.txt").c_str()));
    EXPECT_TRUE(std::filesystem::is_regular_file(dir.path() / "d" / "e.txt"));
    EXPECT_EQ("", new_log());
}

TEST_F(PathFiles, CreateFileFailuresGiveTheirCodesAndMessages) {
    write_file(dir.file("plain"), "x");
    std::filesystem::create_directory(dir.path() / "taken");
    const std::string under_file = in_dir("/plain/sub/f.txt");
    const std::string onto_directory = in_dir("/taken");
    EXPECT_EQ(DPL_E_INVALID_VALUE, dplCreateFile(block, nullptr));
    EXPECT_EQ(DPL_E_INVALID_VALUE, dplCreateFile(block, ""));
    EXPECT_EQ(DPL_E_PATH_CREATE, dplCreateFile(block, "x"));
    EXPECT_EQ(DPL_E_PATH_CREATE, dplCreateFile(block, under_file.c_str()));
    EXPECT_EQ(DPL_E_OPEN_WRITE, dplCreateFile(block, onto_directory.c_str()));
    EXPECT_EQ(
        " p Invalid filename passed to dplCreateFile\n"
        " p Invalid filename passed to dplCreateFile\n"
        " p Unable to determine pathname\n"
        " p Failed to create directory component for " +
            under_file +
            "\n"
            " p Cannot create file: " +
            onto_directory + "\n",
        new_log());
    uint32_t foreign[16] = {7};
    EXPECT_EQ(DPL_E_BAD_CONTEXT, dplCreateFile(reinterpret_cast<InstallControlBlock *>(foreign), "C:\\x"));
    EXPECT_EQ(DPL_E_BAD_CONTEXT, dplCreateFile(nullptr, "C:\\x"));
}

TEST_F(PathFiles, ComponentsThatCannotBeTestedOrMadeStopTheCreation) {
    const char separator = platform::native().path_separator();
    DirectoryFaults os;
    os.status_fails_for = dir.path().string() + separator + "locked";
    EXPECT_EQ(DPL_E_PATH_CREATE, dplCreateFile(block, in_dir("/locked/f.txt").c_str()));
    EXPECT_EQ(0, os.directories_created);
    os.creation_fails_for = dir.path().string() + separator + "one" + separator + "two";
    EXPECT_EQ(DPL_E_PATH_CREATE, dplCreateFile(block, in_dir("/one/two/three/f.txt").c_str()));
    EXPECT_EQ(2, os.directories_created);
    EXPECT_TRUE(std::filesystem::is_directory(dir.path() / "one"));
    EXPECT_FALSE(std::filesystem::exists(dir.path() / "one" / "two"));
}

}  // namespace
}  // namespace dpl::test
