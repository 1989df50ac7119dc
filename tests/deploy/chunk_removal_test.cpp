// The file pieces of removing an instance: one file, the chunk line of a
// bootstrap file, and the chunk phase on a scratch installation.
#include <filesystem>
#include <optional>
#include <string>

#include "deploy/deploy_fixture.hpp"
#include "deploy/instance_removal.hpp"

namespace dpl::test {
namespace {

namespace fs = std::filesystem;
using deploy::chunk_path_of_line;

// Ten blanks, each one counted, before the length.
const std::string kHead = "Chunk 1 2 3 4 5 6\t7 8  ";

TEST(ChunkLine, TheLengthOnTheLineSaysWhereThePathEnds) {
    const std::string long_path(100000, 'y');
    const struct {
        std::string line;
        bool mirror;
        std::optional<std::string> path;
    } cases[] = {
        {kHead + "11 /data/chunk", false, "/data/chunk"},
        {kHead + "14 /my data/c 1 x 0 0", false, "/my data/c 1 x"},
        {"Mchunk" + kHead.substr(5) + "2 /m", false, std::nullopt},
        {"Mchunk" + kHead.substr(5) + "2 /m", true, "/m"},
        {kHead + "5 /data/chunk", false, "/data"},
        {kHead + "99 /data/chunk", false, "/data/chunk"},
        {kHead + "99 /data/chunk\nChunk other", false, "/data/chunk"},
        {kHead + "99 /data/chunk\r", false, "/data/chunk"},
        {kHead + std::string(40, '9') + " /p", false, "/p"},
        {kHead + "11 /da" + std::string(1, '\0') + "ta/chunk", false, "/da"},
        {kHead + "100000 " + long_path + "tail", false, long_path},
        {kHead + "x1 /data", false, std::nullopt},
        {kHead + "-5 /data", false, std::nullopt},
        {kHead + "5/data", false, std::nullopt},
        {kHead + "5", false, std::nullopt},
        {kHead + "0 /data", false, std::nullopt},
        {kHead + " 5 /data", false, std::nullopt},  // the length is not right after the tenth blank
        {"Chunk 1 2 3 4 5 6 7 8 9", false, std::nullopt},
        {"Chunky" + kHead.substr(5) + "2 /c", false, std::nullopt},
        {" " + kHead + "2 /c", false, std::nullopt},
        {"Chunk" + std::string(100000, 'x'), false, std::nullopt},
        {"", false, std::nullopt},
    };
    for (const auto &c : cases)
        EXPECT_EQ(c.path, chunk_path_of_line(c.line, c.mirror)) << c.line.substr(0, 60);
}

TEST(ChunkLine, OnlyDirectoriesStrictlyInsideTheInstallationCount) {
    EXPECT_TRUE(deploy::inside_directory("C:\\inst\\data", "C:\\inst"));
    EXPECT_TRUE(deploy::inside_directory("C:/inst/data/x", "C:\\inst\\"));
    EXPECT_TRUE(deploy::inside_directory("/data", "/"));
    EXPECT_FALSE(deploy::inside_directory("C:\\inst2\\data", "C:\\inst"));
    EXPECT_FALSE(deploy::inside_directory("C:\\inst", "C:\\inst"));
    EXPECT_FALSE(deploy::inside_directory("C:\\inst\\", "C:\\inst"));
    EXPECT_FALSE(deploy::inside_directory("C:\\inst\\..\\etc", "C:\\inst"));
    EXPECT_FALSE(deploy::inside_directory("C:\\Inst\\data", "C:\\inst"));
    EXPECT_FALSE(deploy::inside_directory("/data", ""));
}

using ChunkRemoval = DeployTestOn<ScriptedServices>;

TEST_F(ChunkRemoval, EveryOutcomeOfRemovingOneFile) {
    const std::string file = dir.file("f"), missing = dir.file("none");
    write_file(file, "x");
    fs::create_directory(dir.path() / "d");
    platform::SysError refused;
#ifdef _WIN32
    refused.native = 5;  // DeleteFileA of a directory
#else
    refused.native = 21;  // EISDIR
#endif
    deploy::remove_instance_file("ONCONFIG", file);
    deploy::remove_instance_file("SQLHOSTS", missing);
    deploy::remove_instance_file("CHUNK", dir.file("d"));
    os.status_errno = 13;
    deploy::remove_instance_file("ENVIRONMENT", file);
    EXPECT_EQ(
        (Texts{"ONCONFIG file (" + file + ") removed.", "SQLHOSTS File (" + missing + ") already removed",
               "CHUNK file (" + dir.file("d") + ") cannot be removed errno " + std::to_string(refused.native),
               "ENVIRONMENT file (" + file + ") cannot be accessed errno 13"}),
        messages());
    EXPECT_FALSE(fs::exists(file));
}

TEST_F(ChunkRemoval, ChunksGoWithTheDirectoriesTheyLeaveEmptyInsideTheInstallation) {
    const fs::path inst = dir.path() / "inst", sibling = dir.path() / "inst2";
    const auto chunk = [](const fs::path &path) {
        fs::create_directories(path.parent_path());
        write_file(path.string(), "data");
        return path.string();
    };
    const std::string deep = chunk(inst / "data" / "sub" / "c1"),
                      shared = chunk(inst / "data" / "other" / "c2"),
                      blank = chunk(inst / "dir with blank" / "c 3"),
                      aliased = chunk(dir.path() / "INST~1" / "data" / "c5"),
                      outside = chunk(sibling / "data" / "c4"), mirror = chunk(inst / "mirror" / "m1");
    write_file((inst / "data" / "other" / "keep").string(), "");
    const std::string gone = (inst / "gone").string();
    const auto line = [](const char *kind, const std::string &path) {
        return std::string(kind) + kHead.substr(5) + std::to_string(path.size()) + " " + path + " 0 0\n";
    };
    const std::string bootstrap = chunk(inst / "etc" / "oncfg_srv.3");
    write_file(bootstrap, "junk\n" + line("Chunk", deep) + line("Chunk", shared) + line("Chunk", blank) +
                              line("Chunk", aliased) + line("Chunk", outside) + line("Mchunk", mirror) +
                              line("Chunk", gone) + std::string(1024, 'z') + line("Chunk", mirror));
    Instance *instance = dplGetCurrentInstance(block);
    ASSERT_EQ(0, dplSetConfig(instance, "SERVERNUM", "3", nullptr));
    ASSERT_EQ(0, dplSetConfig(instance, "MIRROR", "0", nullptr));
    // The installation under its short name: chunk paths in that form are
    // inside it too.
    os.short_form = (dir.path() / "INST~1").string();
    forget_messages();

    deploy::remove_chunk_files(*instance, inst.string(), "srv");

    const auto removed = [](const std::string &path) { return "CHUNK file (" + path + ") removed."; };
    EXPECT_EQ((Texts{removed(deep), removed(shared), removed(blank), removed(aliased), removed(outside),
                     "CHUNK File (" + gone + ") already removed", removed(bootstrap)}),
              messages());
    EXPECT_FALSE(fs::exists(inst / "data" / "sub"));
    EXPECT_TRUE(fs::exists(inst / "data" / "other" / "keep"));
    EXPECT_FALSE(fs::exists(inst / "dir with blank"));
    EXPECT_FALSE(fs::exists(dir.path() / "INST~1" / "data"));
    EXPECT_TRUE(fs::exists(dir.path() / "INST~1"));
    EXPECT_TRUE(fs::exists(sibling / "data"));
    EXPECT_TRUE(fs::exists(mirror));
    EXPECT_TRUE(fs::exists(inst / "etc"));

    forget_messages();
    deploy::remove_chunk_files(*instance, inst.string(), "srv");
    EXPECT_EQ((Texts{"Unable to read bootstrap file (" + bootstrap + ") -- chunks will not be deleted"}),
              messages());
}

}  // namespace
}  // namespace dpl::test
