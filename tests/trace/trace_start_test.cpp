// Starting and stopping the facility, and its self-diagnostics.
#include "trace/trace_test_fixture.hpp"

namespace dpl::test {
namespace {

using TraceStart = TraceTest;

TEST_F(TraceStart, NoNamesMeansNothingStarts) {
    EXPECT_EQ(HT_OK, ht_trace_start(nullptr, nullptr, 9, 0, nullptr));
    uint32_t severity = 99;
    EXPECT_EQ(HT_E_NOTSTARTED, ht_get_severity(&severity));
    ht_log("nowhere");
    EXPECT_EQ(HT_E_NOTSTARTED, ht_hexdump(HT_DUMP_LOG, "x", 0, 1, 0, 2));
    htenter(1, "API/API", 1, "nothing");
    EXPECT_EQ(4, htexit(1, "API/API", 1, 4));
    EXPECT_EQ(HT_E_NOTSTARTED, ht_trace_stop(nullptr));
    // A later start still works.
    EXPECT_EQ(HT_OK, ht_trace_start(log_path.c_str(), nullptr, 0, 0, "p"));
}

TEST_F(TraceStart, SeverityAboveNineIsRefusedAndLeavesItUnstarted) {
    EXPECT_EQ(HT_E_SEVERITY, ht_trace_start(log_path.c_str(), debug_path.c_str(), 10, 0, "p"));
    EXPECT_EQ(HT_E_NOTSTARTED, ht_get_severity(nullptr));
    EXPECT_FALSE(std::filesystem::exists(debug_path));
}

TEST_F(TraceStart, OnlyOneStartPerProcessAndStopClearsTheRecord) {
    ASSERT_EQ(HT_OK, ht_trace_start(log_path.c_str(), debug_path.c_str(), 4, 0, "p"));
    EXPECT_EQ(HT_E_STARTED, ht_trace_start(log_path.c_str(), nullptr, 0, 0, "p"));
    uint32_t old = 0;
    EXPECT_EQ(HT_OK, ht_set_severity(7, &old));
    EXPECT_EQ(4u, old);
    uint32_t close_error = 77;
    EXPECT_EQ(HT_OK, ht_trace_stop(&close_error));
    EXPECT_EQ(0u, close_error);
    EXPECT_EQ(HT_E_BADSTATE, ht_trace_stop(nullptr));
    EXPECT_EQ(HT_E_STARTED, ht_trace_start(log_path.c_str(), nullptr, 0, 0, "p"));
    ht_log("after the stop");  // must neither crash nor write
    EXPECT_EQ("", log());
}

TEST_F(TraceStart, AFileThatCannotBeOpenedIsReported) {
    const std::string bad = dir.file("missing-directory/install.log");
    EXPECT_EQ(nullptr, ht_last_error());
    EXPECT_EQ(HT_E_START, ht_trace_start(bad.c_str(), nullptr, 0, 0, "p"));
    ASSERT_NE(nullptr, ht_last_error());
    EXPECT_EQ(0, std::string(ht_last_error()).rfind("Open log file failed with errno = ", 0));
    EXPECT_EQ(HT_E_NOTSTARTED, ht_get_severity(nullptr));

    EXPECT_EQ(HT_E_START, ht_trace_start(log_path.c_str(), bad.c_str(), 3, 0, "p"));
    EXPECT_EQ(0, std::string(ht_last_error()).rfind("Open debug file failed with errno = ", 0));
}

TEST_F(TraceStart, SelfDiagnosticsDescribeTheStart) {
    const std::string diagnostics = dir.file("htrace.txt");
    set_env("HTRACE_DEBUG", diagnostics.c_str());
    const uint32_t first = ht_trace_start(nullptr, debug_path.c_str(), 3, 0x19, "p");
    const uint32_t second = ht_trace_start(log_path.c_str(), nullptr, 0, 0, "p");
    set_env("HTRACE_DEBUG", nullptr);
    EXPECT_EQ(HT_OK, first);
    EXPECT_EQ(HT_E_STARTED, second);
    EXPECT_EQ(
        "ht_trace_start: log_fn: null.\n"
        "ht_trace_start: dbg_fn: " +
            debug_path +
            ".\n"
            "ht_trace_start: severity: 3.\n"
            "ht_trace_start: flags: 0x19.\n"
            "ht_trace_start returns 0.\n"
            "ht_trace_start: log_fn: " +
            log_path +
            ".\n"
            "ht_trace_start: dbg_fn: null.\n"
            "ht_trace_start: severity: 0.\n"
            "ht_trace_start: flags: 0x0.\n"
            "ht_trace_start returns 10005.\n",
        read_file(diagnostics));
}

}  // namespace
}  // namespace dpl::test
