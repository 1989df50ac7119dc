// Layout and content of the lines the trace facility writes.
#include <filesystem>
#include <optional>
#include <string>

#include "trace/trace_test_fixture.hpp"

namespace dpl::test {
namespace {

const std::string kStamp = "2026-11-21 09:08:07";
const std::string kBlankLocation = " " + std::string(32, ' ');

using TraceLines = TraceTest;

// One start, some calls, and the whole of both files after them.
struct LinesCase {
    const char *what;
    uint32_t severity, flags;
    const char *prefix;
    uint32_t start_rc;
    void (*calls)();
    std::string log;
    std::optional<std::string> debug;  // none: no debug file
    std::string log_before = "";
    bool clock_works = true;
};

TEST_F(TraceLines, WholeFilesAfterEachStartAndItsCalls) {
    const std::string api = kStamp + "    42  4242 ";  // as API initialisation starts it
    const LinesCase cases[] = {
        {"fixed layout", 9, HT_TIMESTAMP | HT_DEPTH, "   42  4242", HT_OK,
         [] {
             ht_debug(5, "API/API", 12, "hello %d", 7);
             ht_log("progress %s", "made");
         },
         api + "progress made\n",
         "  00012 API/API                  " + api + "hello 7\n" + kBlankLocation + api + "progress made\n"},
        {"enter and exit frame a call", 9, HT_TIMESTAMP | HT_DEPTH, "   42  4242", HT_OK,
         [] {
             htenter(1, "API/dpl_instance", 7, "dplAddConnection");
             EXPECT_EQ(7, htexit(1, "API/dpl_instance", 9, 7));
         },
         "",
         "  00007 API/dpl_instance         " + api +
             "dplAddConnection: ENTER.\n  00009 API/dpl_instance         " + api +
             "dplAddConnection: EXIT. rc=7(0x7).\n\n"},
        {"exit without enter is a bug", 9, HT_TIMESTAMP | HT_DEPTH, "   42  4242", HT_OK,
         [] { EXPECT_EQ(-3, htexit(1, "API/API", 1, -3)); }, "",
         "  00001 API/API                  " + api +
             "BUG: htexit without htenter.: EXIT. rc=-3(0xfffffffd).\n\n"},
        {"trailing blanks go, a newline is added", 0, HT_TIMESTAMP, "p", HT_OK,
         [] {
             ht_log("ends in blanks \t \t");
             ht_log("keeps its empty line\n\n");
             ht_log("%s", "");
         },
         kStamp + " p ends in blanks\n" + kStamp + " p keeps its empty line\n\n" + kStamp + " p\n",
         std::nullopt},
        {"a stopped clock leaves the stamp out", 0, HT_TIMESTAMP, "p", HT_OK, [] { ht_log("no time"); },
         " p no time\n", std::nullopt, "", false},
        {"severity zero opens no debug file", 0, 0, "p", HT_OK,
         [] {
             ht_log("only the log");
             htenter(1, "API/API", 1, "silent");
         },
         " p only the log\n", std::nullopt},
        {"flags above 255 start with no options at all", 5, 256, "ignored", HT_E_FLAGS,
         [] {
             uint32_t severity = 0;
             EXPECT_EQ(HT_OK, ht_get_severity(&severity));
             EXPECT_EQ(5u, severity);
             ht_log("plain");
         },
         "plain\n", std::string(33, ' ') + "plain\n"},
        {"existing files are appended to", 0, 0, "p", HT_OK, [] { ht_log("this run"); },
         "earlier run\n p this run\n", std::nullopt, "earlier run\n"},
    };
    for (const LinesCase &c : cases) {
        SCOPED_TRACE(c.what);
        trace::reset_for_tests();
        std::filesystem::remove(log_path);
        std::filesystem::remove(debug_path);
        if (!c.log_before.empty()) write_file(log_path, c.log_before);
        os.clock_works = c.clock_works;
        ASSERT_EQ(c.start_rc,
                  ht_trace_start(log_path.c_str(), debug_path.c_str(), c.severity, c.flags, c.prefix));
        c.calls();
        EXPECT_EQ(c.log, log());
        EXPECT_EQ(c.debug.has_value(), std::filesystem::exists(debug_path));
        EXPECT_EQ(c.debug.value_or("<no file>"), c.debug ? debug() : "<no file>");
    }
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
