// Reading a file, changing some parameters and writing it back.
#include <string>

#include "config_test_fixture.hpp"
#include "core/instance.hpp"

namespace dpl::test {
namespace {

const char *const kOnconfig =
    "#**************************************************************************\n"
    "#\n"
    "#  Orvandex Database Server\n"
    "#\n"
    "#  Title:       onconfig.std\n"
    "#\n"
    "#**************************************************************************\n"
    "\n"
    "# Root Dbspace Configuration Parameters\n"
    "ROOTNAME        rootdbs          # Root dbspace name\n"
    "  ROOTPATH      /orv/data/rootdbs\n"
    "ROOTOFFSET      0\n"
    "ROOTSIZE        200000\n"
    "   \n"
    "MSGPATH         /orv/tmp/online.log   # message log  \n"
    "SERVERNUM       0\n"
    "DBSERVERNAME    ol_test\n"
    "DBSERVERALIASES\n"
    "DUMPDIR\n"
    "NETTYPE         onsoctcp,1,150,NET\n"
    "NETTYPE         drsoctcp,1,50,NET\n"
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
    "#\n"
    "#  Orvandex Database Server\n"
    "#\n"
    "#  Title:       onconfig.std\n"
    "#\n"
    "#**************************************************************************\n"
    "\n"
    "# Root Dbspace Configuration Parameters\n"
    "ROOTNAME rootdbs # Root dbspace name\n"
    "ROOTPATH /orv/data/rootdbs\n"
    "ROOTOFFSET 0\n"
    "ROOTSIZE 400000\n"
    "   \n"
    "MSGPATH /orv/tmp/online.log # message log\n"
    "SERVERNUM 0\n"
    "DBSERVERNAME ol_test\n"
    "DBSERVERALIASES ol_test_tcp\n"
    "DUMPDIR \n"
    "NETTYPE onsoctcp,1,150,NET\n"
    "NETTYPE drsoctcp,1,50,NET\n"
    "VPCLASS cpu,num=2,noage\n"
    "VPCLASS jvp,num=1   noage\n"
    "BUFFERPOOL default,buffers=10000,lrus=8,lru_min_dirty=50.00,lru_max_dirty=60.50\n"
    "BUFFERPOOL size=2K,buffers=50000,lrus=8,lru_min_dirty=50,lru_max_dirty=60\n"
    "BUFFERPOOL size=16K,buffers=4000,lrus=8,lru_min_dirty=50,lru_max_dirty=60\n"
    "   # an indented remark\n"
    "ALARMPROGRAM /orv/etc/alarm.sh #not part of the value\n"
    "LTAPEDEV /dev/null\n"
    "PHYSFILE 50000\n";

class ConfigRoundTrip : public ConfigTest {};

TEST_F(ConfigRoundTrip, ReadModifyWriteGivesTheExpectedFile) {
    ASSERT_EQ(0, read_text(kOnconfig));
    ASSERT_EQ(0, dplSetEnvironment(block, "ONCONFIG", "onconfig.ol_test"));
    ASSERT_EQ(0, dplSetEnvironment(block, "ORVANDEXSERVER", "ol_test"));
    EXPECT_EQ(0, dplSetConfig(instance, "ROOTSIZE", "400000", "the comment is never stored"));
    EXPECT_EQ(0, dplSetConfig(instance, "DBSERVERALIASES", "ol_test_tcp", nullptr));
    EXPECT_EQ(0, dplSetConfig(instance, "BUFFERPOOL",
                              "size=16K,buffers=4000,lrus=8,lru_min_dirty=50,lru_max_dirty=60", nullptr));
    EXPECT_EQ(0, dplSetConfig(instance, "PHYSFILE", "50000", nullptr));
    ASSERT_EQ(0, dplWriteConfig(instance));
    EXPECT_EQ(kExpected, text_of(etc_file("onconfig.ol_test")));
}

TEST_F(ConfigRoundTrip, UnchangedFileComesBackApartFromLayoutAndDroppedLines) {
    ASSERT_EQ(0, read_text("# head\n\nA 1\n  B  2  \nA 3\n#tail"));
    ASSERT_EQ(0, dplSetEnvironment(block, "ORVANDEXSERVER", "srv"));
    ASSERT_EQ(0, dplWriteConfig(instance));
    EXPECT_EQ("# head\n\nA 1\nB 2\n#tail\n", text_of(etc_file("onconfig.srv")));
}

TEST_F(ConfigRoundTrip, PoorlyFormattedLinesAreTracedAndKeptVerbatim) {
    ASSERT_EQ(0, read_text(kOnconfig));
    const std::string trace = debug();
    const std::string path = input_path;
    EXPECT_NE(std::string::npos, trace.find("Line 14 of the onconfig file " + path +
                                            " is poorly formatted; preserving it as is"));
    EXPECT_NE(std::string::npos, trace.find("Line 28 of the onconfig file " + path +
                                            " is poorly formatted; preserving it as is"));
    EXPECT_EQ(std::string::npos, trace.find("Line 11 of the onconfig file"));  // the indented ROOTPATH
    EXPECT_NE(std::string::npos, trace.find("API/dpl_instance"));

    ConfigEntry *entry = nullptr;
    const char *value = nullptr;
    ASSERT_EQ(0, dplGetConfig(instance, "ROOTPATH", &value, &entry));
    EXPECT_STREQ("/orv/data/rootdbs", value);
    EXPECT_EQ(nullptr, entry->comment);
    ASSERT_EQ(0, dplGetConfig(instance, "ALARMPROGRAM", &value, &entry));
    EXPECT_STREQ("/orv/etc/alarm.sh", value);
    EXPECT_STREQ("not part of the value", entry->comment);
}

TEST_F(ConfigRoundTrip, FirstValueOfARepeatedParameterWins) {
    ASSERT_EQ(0, read_text(kOnconfig));
    const char *value = nullptr;
    ASSERT_EQ(0, dplGetConfig(instance, "SERVERNUM", &value, nullptr));
    EXPECT_STREQ("0", value);
    // Of two pools with the same first field only the first was kept.
    value = "size=2K,";
    ASSERT_EQ(0, dplGetConfig(instance, "BUFFERPOOL", &value, nullptr));
    EXPECT_STREQ("size=2K,buffers=50000,lrus=8,lru_min_dirty=50,lru_max_dirty=60", value);
}

TEST_F(ConfigRoundTrip, LongLinesArriveInPieces) {
    // (Built by appending: MinGW's GCC warns wrongly about "literal" + string.)
    const std::string comment = std::string("#").append(299, 'c').append("\n");
    const std::string parameter = std::string("LONGPARAM ").append(250, 'v').append(" tail\n");
    ASSERT_EQ(0, read_text(comment + parameter + "AFTER 1\n"));
    ASSERT_EQ(0, dplSetEnvironment(block, "ORVANDEXSERVER", "srv"));
    ASSERT_EQ(0, dplWriteConfig(instance));
    // A comment piece keeps its text and the rest is read as a line of its
    // own; so is the rest of the long parameter line.
    const std::string expected = comment.substr(0, 254) + std::string(46, 'c') + " \n" + "LONGPARAM " +
                                 std::string(244, 'v') + "\n" + std::string(6, 'v') + " tail\n" + "AFTER 1\n";
    EXPECT_EQ(expected, text_of(etc_file("onconfig.srv")));
    const char *value = nullptr;
    EXPECT_EQ(0, dplGetConfig(instance, std::string(6, 'v').c_str(), &value, nullptr));
    EXPECT_STREQ("tail", value);
}

TEST_F(ConfigRoundTrip, CommentOfWhiteSpaceOnlyKeepsItsLineEnd) {
    ASSERT_EQ(0, read_text("TAPEDEV /dev/null #  \nNEXT 1\n"));
    ConfigEntry *entry = nullptr;
    ASSERT_EQ(0, dplGetConfig(instance, "TAPEDEV", nullptr, &entry));
    EXPECT_STREQ("  \n", entry->comment);
    ASSERT_EQ(0, dplSetEnvironment(block, "ORVANDEXSERVER", "srv"));
    ASSERT_EQ(0, dplWriteConfig(instance));
    EXPECT_EQ("TAPEDEV /dev/null #  \n\nNEXT 1\n", text_of(etc_file("onconfig.srv")));
}

TEST_F(ConfigRoundTrip, SecondReadAddsCommentsAgainAndKeepsFirstValues) {
    ASSERT_EQ(0, read_text("# c\nA 1\n"));
    write_file(input_path, "# c\nA 2\nB 3\n");
    ASSERT_EQ(0, dplReadConfig(instance, input_path.c_str()));
    ASSERT_EQ(0, dplSetEnvironment(block, "ORVANDEXSERVER", "srv"));
    ASSERT_EQ(0, dplWriteConfig(instance));
    EXPECT_EQ("# c\nA 1\n# c\nB 3\n", text_of(etc_file("onconfig.srv")));
}

TEST_F(ConfigRoundTrip, NulEndsTheTextOfALine) {
    ASSERT_EQ(0, read_text(std::string("#ab\0cd\nX 1\0junk\n\0ignored\nY 2\n", 30)));
    ASSERT_EQ(0, dplSetEnvironment(block, "ORVANDEXSERVER", "srv"));
    ASSERT_EQ(0, dplWriteConfig(instance));
    EXPECT_EQ("#ab\nX 1\nY 2\n", text_of(etc_file("onconfig.srv")));
}

TEST_F(ConfigRoundTrip, NulInALongLineKeepsTheLineEnd) {
    // The NULs reach past the first piece; the line still ends where it did.
    const std::string long_comment = std::string("#").append(253, 'c');
    std::string content = long_comment;
    content.append(3, '\0').append("\n#next\n");
    content.append("#tail").append(300, '\0');
    ASSERT_EQ(0, read_text(content));
    ASSERT_EQ(0, dplAddConfig(instance, nullptr, nullptr, "#added\n"));
    ASSERT_EQ(0, dplSetEnvironment(block, "ORVANDEXSERVER", "srv"));
    ASSERT_EQ(0, dplWriteConfig(instance));
    EXPECT_EQ(long_comment + "\n#next\n#tail\n#added\n", text_of(etc_file("onconfig.srv")));
}

TEST_F(ConfigRoundTrip, EmptyAndMissingFiles) {
    EXPECT_EQ(0, read_text(""));
    ConfigEntry *entry = nullptr;
    EXPECT_EQ(DPL_E_FAIL, dplGetConfig(instance, "ANY", nullptr, &entry));
    EXPECT_EQ(DPL_E_OPEN_WRITE, dplReadConfig(instance, dir.file("absent").c_str()));
    EXPECT_EQ(DPL_E_NULL_ARGUMENT, dplReadConfig(instance, nullptr));
}

TEST_F(ConfigRoundTrip, SequenceNumbersFollowInsertion) {
    ASSERT_EQ(0, read_text("\n#c\nA 1\n#d\nB 2\n"));
    const auto &table = instance->config;
    ASSERT_EQ(5u, table.size());
    const uint32_t kinds[] = {1, 2, 3, 2, 3};
    // A blank or comment line takes the count before it, a parameter the
    // count after it.
    const int32_t sequences[] = {0, 1, 3, 3, 5};
    for (std::size_t i = 0; i < 5; ++i) {
        EXPECT_EQ(kinds[i], table.entry(i).kind) << i;
        EXPECT_EQ(sequences[i], table.entry(i).sequence) << i;
    }
    EXPECT_STREQ("#d\n", table.entry(3).name);
    EXPECT_EQ(nullptr, table.entry(0).name);
    // The comment that follows A shares its number and still comes after it.
    ASSERT_EQ(0, dplSetEnvironment(block, "ORVANDEXSERVER", "srv"));
    ASSERT_EQ(0, dplWriteConfig(instance));
    EXPECT_EQ("\n#c\nA 1\n#d\nB 2\n", text_of(etc_file("onconfig.srv")));
}

}  // namespace
}  // namespace dpl::test
