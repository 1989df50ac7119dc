// Reading a file, changing some parameters and writing it back.
#include <string>
#include <vector>

#include "config_test_fixture.hpp"
#include "core/instance.hpp"

namespace dpl::test {
namespace {

const char *const kOnconfig =
    "#**************************************************************************\n"
    "#  Title:       onconfig.std\n"
    "\n"
    "# Root Dbspace Configuration Parameters\n"
    "ROOTNAME        rootdbs          # Root dbspace name\n"
    "  ROOTPATH      /orv/data/rootdbs\n"
    "ROOTSIZE        200000\n"
    "   \n"
    "MSGPATH         /orv/tmp/online.log   # message log  \n"
    "SERVERNUM       0\n"
    "DBSERVERNAME    ol_test\n"
    "DBSERVERALIASES\n"
    "DUMPDIR\n"
    "VPCLASS         cpu,num=2,noage\n"
    "VPCLASS         jvp,num=1   noage\n"
    "BUFFERPOOL      default,buffers=10000,lrus=8,lru_min_dirty=50.00,lru_max_dirty=60.50\n"
    "BUFFERPOOL      size=2K,buffers=50000,lrus=8,lru_min_dirty=50,lru_max_dirty=60\n"
    "BUFFERPOOL      size=2K,buffers=1,lrus=1,lru_min_dirty=1,lru_max_dirty=2\n"
    "BUFFERPOOL      size=16K,buffers=2000,lrus=8,lru_min_dirty=50,lru_max_dirty=60\n"
    "   # an indented remark\n"
    "ALARMPROGRAM    /orv/etc/alarm.sh#not part of the value\n"
    "SERVERNUM       7\n"
    "LTAPEDEV        /dev/null";

const char *const kExpected =
    "#**************************************************************************\n"
    "#  Title:       onconfig.std\n"
    "\n"
    "# Root Dbspace Configuration Parameters\n"
    "ROOTNAME rootdbs # Root dbspace name\n"
    "ROOTPATH /orv/data/rootdbs\n"
    "ROOTSIZE 400000\n"
    "   \n"
    "MSGPATH /orv/tmp/online.log # message log\n"
    "SERVERNUM 0\n"
    "DBSERVERNAME ol_test\n"
    "DBSERVERALIASES ol_test_tcp\n"
    "DUMPDIR \n"
    "VPCLASS cpu,num=2,noage\n"
    "VPCLASS jvp,num=1   noage\n"
    "BUFFERPOOL default,buffers=10000,lrus=8,lru_min_dirty=50.00,lru_max_dirty=60.50\n"
    "BUFFERPOOL size=2K,buffers=50000,lrus=8,lru_min_dirty=50,lru_max_dirty=60\n"
    "BUFFERPOOL size=16K,buffers=4000,lrus=8,lru_min_dirty=50,lru_max_dirty=60\n"
    "   # an indented remark\n"
    "ALARMPROGRAM /orv/etc/alarm.sh #not part of the value\n"
    "LTAPEDEV /dev/null\n"
    "PHYSFILE 50000\n";

using ConfigRoundTrip = ConfigTest;

TEST_F(ConfigRoundTrip, ARealisticFileIsReadChangedAndWrittenBack) {
    ASSERT_EQ(0, read_text(kOnconfig));
    // The blank-only line and the indented comment are kept as they are.
    std::vector<std::string> poorly;
    for (const std::string &line : lines_of(debug())) {
        if (line.find("poorly formatted") != std::string::npos)
            poorly.push_back(line.substr(line.find(" p ") + 3));
    }
    EXPECT_EQ(
        (std::vector<std::string>{
            "Line 8 of the onconfig file " + input_path + " is poorly formatted; preserving it as is",
            "Line 20 of the onconfig file " + input_path + " is poorly formatted; preserving it as is"}),
        poorly);
    ASSERT_EQ(0, dplSetEnvironment(block, "ONCONFIG", "onconfig.ol_test"));
    ASSERT_EQ(0, dplSetEnvironment(block, "ORVANDEXSERVER", "ol_test"));
    EXPECT_EQ(0, dplSetConfig(instance, "ROOTSIZE", "400000", "the comment is never stored"));
    EXPECT_EQ(0, dplSetConfig(instance, "DBSERVERALIASES", "ol_test_tcp", nullptr));
    EXPECT_EQ(0, dplSetConfig(instance, "BUFFERPOOL",
                              "size=16K,buffers=4000,lrus=8,lru_min_dirty=50,lru_max_dirty=60", nullptr));
    EXPECT_EQ(0, dplSetConfig(instance, "PHYSFILE", "50000", nullptr));
    ASSERT_EQ(0, dplWriteConfig(instance));
    EXPECT_EQ(kExpected, read_file_text(etc_file("onconfig.ol_test")));
}

TEST_F(ConfigRoundTrip, LongLinesNulsAndBlankCommentsOnTheWayThrough) {
    // (Built by appending: MinGW's GCC warns wrongly about "literal" + string.)
    const std::string comment = std::string("#").append(299, 'c').append("\n");
    const std::string parameter = std::string("LONGPARAM ").append(250, 'v').append(" tail\n");
    const std::string long_comment = std::string("#").append(253, 'c');
    std::string input = comment + parameter + "TAPEDEV /dev/null #  \nNEXT 1\n";
    input.append("#ab\0cd\nX 1\0junk\n\0ignored\nY 2\n", 29).append(long_comment).append(3, '\0');
    input.append("\n#tail").append(300, '\0');
    ASSERT_EQ(0, read_text(input));
    // Pieces of 254 characters are lines of their own; a comment of blanks
    // keeps its line end; a NUL ends the text of its line, also past a piece.
    EXPECT_EQ(comment.substr(0, 254) + std::string(46, 'c') + " \n" + "LONGPARAM " + std::string(244, 'v') +
                  "\n" + std::string(6, 'v') + " tail\n" +
                  "TAPEDEV /dev/null #  \n\nNEXT 1\n#ab\nX 1\nY 2\n" + long_comment + "\n#tail\n",
              written());
    const char *value = nullptr;
    EXPECT_EQ(0, dplGetConfig(instance, std::string(6, 'v').c_str(), &value, nullptr));
    EXPECT_STREQ("tail", value);
}

TEST_F(ConfigRoundTrip, SequenceNumbersFollowInsertion) {
    ASSERT_EQ(0, read_text("\n#c\nA 1\n#d\nB 2\n"));
    // A blank or comment line takes the count before it, a parameter the
    // count after it.
    const int32_t sequences[] = {0, 1, 3, 3, 5};
    ASSERT_EQ(5u, instance->config.size());
    for (std::size_t i = 0; i < 5; ++i) EXPECT_EQ(sequences[i], instance->config.entry(i).sequence) << i;
    EXPECT_EQ("\n#c\nA 1\n#d\nB 2\n", written());
}

}  // namespace
}  // namespace dpl::test
