#include <cstdint>
#include <cstdio>

#include "trace/trace_test_fixture.hpp"

namespace dpl::test {
namespace {

class HexDump : public TraceTest {
protected:
    void SetUp() override {
        TraceTest::SetUp();
        ASSERT_EQ(HT_OK, ht_trace_start(log_path.c_str(), debug_path.c_str(), 1, 0, "p"));
    }
    std::string header(int count) const {
        char text[96];
        std::snprintf(text, sizeof text, " p Dumping %d bytes at address 0x%x:\n", count,
                      static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(kData)));
        return text;
    }
    static constexpr char kData[] = "ABCDEFGHIJKLMNOPQRST\x01\x7f";
};

TEST_F(HexDump, RowsOffsetsAndSkippedBytes) {
    const struct {
        uint32_t start, count, digits, group;
        std::string rows;  // after the header
    } cases[] = {
        {0, 22, 4, 4,
         "\t0000:41424344 45464748 494a4b4c 4d4e4f50 ABCDEFGHIJKLMNOP\n"
         "\t0010:51525354 017f                       QRST..          \n\n"},
        // Without an offset, skipped bytes are padded.
        {3, 5, 0, 2, "       44 4546 4748 " + std::string(20 + 3, ' ') + "DEFGH        \n\n"},
        // A skipped first byte ends the offset row at its colon.
        {3, 5, 1, 9, "\t0: \n"},
    };
    std::string expected;
    for (const auto &c : cases) {
        EXPECT_EQ(HT_OK, ht_hexdump(HT_DUMP_LOG, kData, c.start, c.count, c.digits, c.group));
        expected += header(static_cast<int>(c.count)) + c.rows;
        EXPECT_EQ(expected, log()) << c.start << " " << c.count;
    }
}

TEST_F(HexDump, DebugKindGoesToTheDebugFileOnlyAndEmptyRangesDoNothing) {
    EXPECT_EQ(HT_OK, ht_hexdump(HT_DUMP_DEBUG, kData, 0, 1, 0, 1));
    EXPECT_EQ("", log());
    EXPECT_NE(std::string::npos, debug().find("Dumping 1 bytes at address 0x"));
    EXPECT_NE(std::string::npos,
              debug().find("\n41" + std::string(46, ' ') + "A" + std::string(15, ' ') + "\n"));
    const std::string before = debug();
    EXPECT_EQ(HT_OK, ht_hexdump(HT_DUMP_DEBUG, kData, 4, 4, 0, 2));
    EXPECT_EQ(before, debug());
}

}  // namespace
}  // namespace dpl::test
