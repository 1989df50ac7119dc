// The process-wide record of the trace facility. Private to src/trace.
#pragma once

#include <cstdarg>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/platform.hpp"

namespace dpl::trace {

inline constexpr uint32_t kTraceMagic = 0xAFDABEEDu;
// Capacities of the record's text fields, terminator excluded.
inline constexpr std::size_t kNameCapacity = 263;
inline constexpr std::size_t kPrefixCapacity = 1031;
inline constexpr std::size_t kFrameNameCapacity = 127;

struct TraceState {
    uint32_t magic = 0;
    uint32_t flags = 0;
    std::string log_name;
    platform::FileHandle log_handle = platform::kNoFile;
    std::string debug_name;
    platform::FileHandle debug_handle = platform::kNoFile;
    uint32_t severity = 0;
    int32_t depth = 0;
    std::string prefix;
    std::vector<std::string> frames;  // top at the back

    bool valid() const { return magic == kTraceMagic; }
};

// The registered record, or null before the first successful start.
TraceState *state();

// True when a line of `level` reaches the debug file.
bool debug_enabled(int32_t level);

// One line of text to write: either a caller's printf format with its
// arguments, or text that is written as it stands.
struct LineSource {
    const char *text = nullptr;
    std::va_list *args = nullptr;  // null: `text` is literal
};

enum class LineKind { Log = 1, Debug = 2 };

// Assembles one line (location, stamp, prefix, message) and writes it to
// the files of the record.
void write_trace_line(LineKind kind, const char *source_file, int32_t line, const LineSource &source);

// Appends `text` at the end of `file` under the whole-file lock.
void write_locked(platform::FileHandle file, const std::string &text);

// "YYYY-MM-DD HH:MM:SS", or empty when the clock cannot be read.
std::string timestamp();

// Forgets the facility entirely so that a test can start it afresh. Closes
// the files; never used by the library itself.
void reset_for_tests();

}  // namespace dpl::trace
