// Layout and content of the lines the trace facility writes.
#include <string>

#include "trace/trace_test_fixture.hpp"

namespace dpl::test {
namespace {

const std::string kStamp = "2026-11-21 09:08:07";
const std::string kBlankLocation = " " + std::string(32, ' ');

class TraceLines : public TraceTest {
protected:
    // As API initialisation starts it: stamps, depth and the thread/process prefix.
    void start_like_api() {
        ASSERT_EQ(HT_OK, ht_trace_start(log_path.c_str(), debug_path.c_str(), 9, HT_TIMESTAMP | HT_DEPTH,
                                        "   42  4242"));
    }
};

TEST_F(TraceLines, DebugAndLogLinesHaveTheFixedLayout) {
    start_like_api();
    ht_debug(5, "API/API", 12, "hello %d", 7);
    ht_log("progress %s", "made");
    EXPECT_EQ("2026-11-21 09:08:07    42  4242 progress made\n", log());
    EXPECT_EQ("  00012 API/API                  2026-11-21 09:08:07    42  4242 hello 7\n" + kBlankLocation +
                  "2026-11-21 09:08:07    42  4242 progress made\n",
              debug());
}

TEST_F(TraceLines, EnterAndExitFrameACall) {
    start_like_api();
    htenter(1, "API/dpl_instance", 7, "dplAddConnection");
    EXPECT_EQ(7, htexit(1, "API/dpl_instance", 9, 7));
    EXPECT_EQ(
        "  00007 API/dpl_instance         2026-11-21 09:08:07    42  4242 dplAddConnection: ENTER.\n"
        "  00009 API/dpl_instance         2026-11-21 09:08:07    42  4242 dplAddConnection: EXIT. "
        "rc=7(0x7).\n\n",
        debug());
    EXPECT_EQ("", log());
}

TEST_F(TraceLines, ExitWithoutEnterIsReportedAsABug) {
    start_like_api();
    EXPECT_EQ(-3, htexit(1, "API/API", 1, -3));
    EXPECT_EQ(
        "  00001 API/API                  2026-11-21 09:08:07    42  4242 "
        "BUG: htexit without htenter.: EXIT. rc=-3(0xfffffffd).\n\n",
        debug());
}

TEST_F(TraceLines, LevelsAboveTheSeverityAreDroppedAndPushNoFrame) {
    ASSERT_EQ(HT_OK, ht_trace_start(log_path.c_str(), debug_path.c_str(), 3, HT_TIMESTAMP, "p"));
    ht_debug(4, "API/API", 1, "too detailed");
    ht_debug(3, "API/API", 2, "just enough");
    htenter(5, "API/API", 3, "hidden");
    htenter(1, "API/API", 4, "outer");
    htexit(5, "API/API", 5, 0);  // filtered: must not pop "outer"
    htexit(1, "API/API", 6, 0);
    const auto lines = lines_of(debug());
    ASSERT_EQ(4u, lines.size());
    EXPECT_NE(std::string::npos, lines[0].find(" p just enough"));
    EXPECT_NE(std::string::npos, lines[1].find(" p outer: ENTER."));
    EXPECT_NE(std::string::npos, lines[2].find(" p outer: EXIT. rc=0(0x0)."));
    EXPECT_EQ("", lines[3]);
}

TEST_F(TraceLines, TrailingBlanksGoAndANewlineIsAdded) {
    ASSERT_EQ(HT_OK, ht_trace_start(log_path.c_str(), nullptr, 0, HT_TIMESTAMP, "p"));
    ht_log("ends in blanks \t \t");
    ht_log("keeps its empty line\n\n");
    ht_log("%s", "");
    EXPECT_EQ(kStamp + " p ends in blanks\n" + kStamp + " p keeps its empty line\n\n" + kStamp + " p\n",
              log());
}

TEST_F(TraceLines, PercentSignsOutsideTheFormatAreText) {
    ASSERT_EQ(HT_OK, ht_trace_start(log_path.c_str(), debug_path.c_str(), 9, 0, "%s%n%d"));
    htenter(1, "file%s%n.c", 1, "func%n%s%%");
    ht_debug(1, "file%d.c", 2, "value %d", 5);
    const auto lines = lines_of(debug());
    ASSERT_EQ(2u, lines.size());
    EXPECT_EQ("  00001 file%s%n.c                %s%n%d func%n%s%%: ENTER.", lines[0]);
    EXPECT_EQ("  00002 file%d.c                  %s%n%d value 5", lines[1]);
}

TEST_F(TraceLines, LongMessagesAreCutWithoutReadingMissingArguments) {
    ASSERT_EQ(HT_OK, ht_trace_start(log_path.c_str(), nullptr, 0, 0, "p"));
    // The room for the format is counted against its own length: a format of
    // 1006 characters after a 36-character assembly keeps 1005 of them, and
    // the cut lands inside the trailing "%d", which must not be interpreted.
#define A10 "aaaaaaaaaa"
#define A100 A10 A10 A10 A10 A10 A10 A10 A10 A10 A10
#define A1000 A100 A100 A100 A100 A100 A100 A100 A100 A100 A100
    ht_log(A1000 "aaaa%d", 1);
#undef A1000
#undef A100
#undef A10
    EXPECT_EQ(" p " + std::string(1004, 'a') + "\n", log());

    // Arguments are not counted: the finished line is cut at 4095 characters.
    const std::string before = log();
    ht_log("%s", std::string(5000, 'x').c_str());
    EXPECT_EQ(before + " p " + std::string(4095 - 36, 'x') + "\n", log());
}

TEST_F(TraceLines, StartWithoutPrefixSwitchesOnEveryOtherOption) {
    ASSERT_EQ(HT_OK, ht_trace_start(log_path.c_str(), debug_path.c_str(), 9, 0, nullptr));
    ht_log("echoed");
    // Echo: without location and stamp; the thread/process prefix is unset
    // until the first htenter, and HT_PREFIX stays off.
    EXPECT_EQ("echoed\n", os.standard_output);
    EXPECT_EQ(kStamp + "echoed\n", log());
    htenter(1, "API/API", 1, "f");
    EXPECT_EQ("echoed\nf: ENTER.\n", os.standard_output);
}

TEST_F(TraceLines, AStoppedClockLeavesTheStampOut) {
    os.clock_works = false;
    ASSERT_EQ(HT_OK, ht_trace_start(log_path.c_str(), nullptr, 0, HT_TIMESTAMP, "p"));
    ht_log("no time");
    EXPECT_EQ(" p no time\n", log());
}

TEST_F(TraceLines, StdoutNameWritesToStandardOutputAndCapitalsMakeAFile) {
    ASSERT_EQ(HT_OK, ht_trace_start("stdout", nullptr, 0, HT_TIMESTAMP, "p"));
    ht_log("to the console");
    EXPECT_EQ(kStamp + " p to the console\n", os.standard_output);
    ASSERT_EQ(HT_OK, ht_trace_stop(nullptr));

    trace::reset_for_tests();
    const std::string capitals = dir.file("STDOUT");
    ASSERT_EQ(HT_OK, ht_trace_start(capitals.c_str(), nullptr, 0, HT_TIMESTAMP, "p"));
    ht_log("to a file");
    EXPECT_EQ(kStamp + " p to a file\n", read_file(capitals));
}

TEST_F(TraceLines, BusyLocksAreRetriedAndUnlockableHandlesAreWrittenAnyway) {
    ASSERT_EQ(HT_OK, ht_trace_start(log_path.c_str(), nullptr, 0, 0, "p"));
    os.scripted_locks = {platform::LockResult::Busy, platform::LockResult::Busy,
                         platform::LockResult::Locked};
    ht_log("after waiting");
    EXPECT_EQ(3, os.lock_attempts);
    EXPECT_EQ(20u, os.slept_ms);
    os.scripted_locks = {platform::LockResult::Unsupported};
    ht_log("without a lock");
    EXPECT_EQ(4, os.lock_attempts);
    EXPECT_EQ(" p after waiting\n p without a lock\n", log());
}

}  // namespace
}  // namespace dpl::test
