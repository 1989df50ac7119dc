// Installers running at once share the log and debug files; each line must
// arrive whole.
#include <map>
#include <regex>
#include <set>

#include "trace/trace_test_fixture.hpp"

namespace dpl::test {
namespace {

TEST(SeveralProcesses, InterleaveWholeLinesOnly) {
    ScratchDir dir;
    const std::string log_path = dir.file("shared.log");
    const std::string debug_path = dir.file("shared.debug");
    constexpr int kProcesses = 8;
    constexpr int kLines = 500;
    std::vector<std::vector<std::string>> runs;
    for (int child = 0; child < kProcesses; ++child) {
        runs.push_back({log_path, debug_path, std::to_string(child), std::to_string(kLines)});
    }
    for (const int code : run_concurrently(DPL_TEST_TRACE_CHILD, runs)) ASSERT_EQ(0, code);

    const std::regex log_line(
        R"(^\d{4}-\d\d-\d\d \d\d:\d\d:\d\d child child (\d) line (\d+) of the shared log$)");
    const std::regex debug_line(
        R"(^  (\d{5}) API/API                  \d{4}-\d\d-\d\d \d\d:\d\d:\d\d child child (\d) debug line (\d+)$)");
    std::map<int, std::set<int>> seen_log;
    for (const auto &line : lines_of(read_file(log_path))) {
        std::smatch match;
        ASSERT_TRUE(std::regex_match(line, match, log_line)) << line;
        EXPECT_TRUE(seen_log[std::stoi(match[1])].insert(std::stoi(match[2])).second) << line;
    }
    std::map<int, std::set<int>> seen_debug;
    int log_copies = 0;
    for (const auto &line : lines_of(read_file(debug_path))) {
        std::smatch match;
        if (std::regex_match(line, match, debug_line)) {
            EXPECT_EQ(std::stoi(match[1]), std::stoi(match[3]));
            EXPECT_TRUE(seen_debug[std::stoi(match[2])].insert(std::stoi(match[3])).second) << line;
        } else {
            // The log lines reach the debug file too, behind a blank location.
            ASSERT_EQ(std::string(33, ' '), line.substr(0, 33)) << line;
            ASSERT_TRUE(std::regex_match(line.substr(33), log_line)) << line;
            ++log_copies;
        }
    }
    EXPECT_EQ(kProcesses * kLines, log_copies);
    ASSERT_EQ(static_cast<std::size_t>(kProcesses), seen_log.size());
    ASSERT_EQ(static_cast<std::size_t>(kProcesses), seen_debug.size());
    for (int child = 0; child < kProcesses; ++child) {
        EXPECT_EQ(static_cast<std::size_t>(kLines), seen_log[child].size());
        EXPECT_EQ(static_cast<std::size_t>(kLines), seen_debug[child].size());
    }
}

}  // namespace
}  // namespace dpl::test
