// Assembling and writing one trace line. The layout is fixed: a blank, the
// location field, the time stamp, the prefix, the message. Only the caller's
// format is ever interpreted as a format; file names, prefixes and function
// names are copied as they stand, so a '%' in them cannot consume an
// argument that was never passed.
#include <cstdio>
#include <cstring>
#include <ctime>

#include "dpl/dpl.h"
#include "trace/trace_state.hpp"

namespace dpl::trace {
namespace {

constexpr std::size_t kAssemblyCapacity = 2047;  // 2048-byte buffer
constexpr std::size_t kLineCapacity = 4095;      // 4096-byte buffer
constexpr std::size_t kScratchCapacity = 1023;   // 1024-byte buffer
constexpr uint32_t kLockAttempts = 0x0FFFFFFF;
constexpr uint32_t kLockRetryMs = 10;

std::string location_field(const char *source_file, int32_t line) {
    char scratch[kScratchCapacity + 1];
    if (source_file != nullptr) {
        std::snprintf(scratch, sizeof scratch, " %05d %-24s ", static_cast<int>(line), source_file);
    } else {
        std::snprintf(scratch, sizeof scratch, " %30s ", "");
    }
    return scratch;
}

std::string prefix_field(const std::string &prefix) {
    char scratch[kScratchCapacity + 1];
    std::snprintf(scratch, sizeof scratch, " %s ", prefix.c_str());
    return scratch;
}

// A format cut short may end inside a conversion ("%", "%5", "%l"); such a
// tail would make the formatter read past the format, so it is dropped.
std::size_t complete_format_length(const char *format, std::size_t length) {
    std::size_t i = 0;
    while (i < length) {
        if (format[i] != '%') {
            ++i;
            continue;
        }
        const std::size_t start = i++;
        while (i < length && std::strchr("-+ #0'", format[i]) != nullptr) ++i;
        while (i < length && (format[i] == '*' || (format[i] >= '0' && format[i] <= '9'))) ++i;
        if (i < length && format[i] == '.') {
            ++i;
            while (i < length && (format[i] == '*' || (format[i] >= '0' && format[i] <= '9'))) ++i;
        }
        while (i < length && std::strchr("hljztLqI", format[i]) != nullptr) ++i;
        if (i >= length) return start;
        ++i;  // the conversion character
    }
    return length;
}

std::string render_message(const LineSource &source, std::size_t assembly_length) {
    if (source.text == nullptr) return {};
    const std::size_t text_length = std::strlen(source.text);
    // The room is counted against the whole text and the assembly, so a
    // message longer than about half of the free room is cut.
    const long long room = static_cast<long long>(kAssemblyCapacity) - static_cast<long long>(text_length) -
                           static_cast<long long>(assembly_length);
    if (room <= 1) return {};
    std::size_t take =
        text_length < static_cast<std::size_t>(room) ? text_length : static_cast<std::size_t>(room);
    if (source.args == nullptr) return std::string(source.text, take);

    take = complete_format_length(source.text, take);
    const std::string format(source.text, take);
    std::string out(kLineCapacity + 1, '\0');
    std::va_list copy;
    va_copy(copy, *source.args);
    // The format is the caller's own, checked at the caller's site by the
    // printf attribute of ht_log and ht_debug; it is only cut short here.
#if defined(__clang__)
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wformat-nonliteral"
#endif
    const int written = std::vsnprintf(out.data(), out.size(), format.c_str(), copy);
#if defined(__clang__)
#pragma clang diagnostic pop
#endif
    va_end(copy);
    if (written < 0) return {};
    out.resize(static_cast<std::size_t>(written) < kLineCapacity ? static_cast<std::size_t>(written)
                                                                 : kLineCapacity);
    return out;
}

void finish_line(std::string &line) {
    while (!line.empty() && (line.back() == ' ' || line.back() == '\t')) line.pop_back();
    if (line.empty() || line.back() != '\n') line.push_back('\n');
}

// The text of `line` from `offset` on; a line that the strip made shorter
// than its location field still ends the output with its newline.
std::string tail_from(const std::string &line, std::size_t offset) {
    if (offset < line.size()) return line.substr(offset);
    return "\n";
}

}  // namespace

std::string timestamp() {
    std::tm now{};
    if (!platform::current().local_time(&now)) return {};
    char stamp[20];
    if (std::strftime(stamp, sizeof stamp, "%Y-%m-%d %H:%M:%S", &now) == 0) return {};
    return stamp;
}

void write_locked(platform::FileHandle file, const std::string &text) {
    auto &os = platform::current();
    bool locked = false;
    if (file != os.std_handle(platform::StdStream::Error)) {
        // Another installer may hold the file; wait for it. A handle that
        // cannot be locked at all (a console, a pipe) is written unlocked
        // rather than waited on forever.
        for (uint32_t attempt = 0; attempt < kLockAttempts; ++attempt) {
            const platform::LockResult result = os.lock_file(file);
            if (result == platform::LockResult::Locked) {
                locked = true;
                break;
            }
            if (result == platform::LockResult::Unsupported) break;
            os.sleep_ms(kLockRetryMs);
        }
    }
    os.seek_to_end(file);
    os.write_file(file, text.data(), text.size());
    if (locked) os.unlock_file(file);
}

void write_trace_line(LineKind kind, const char *source_file, int32_t line, const LineSource &source) {
    TraceState *record = state();
    if (record == nullptr || !record->valid()) return;
    if (record->log_handle == platform::kNoFile && record->debug_handle == platform::kNoFile) return;

    std::string assembly = " ";
    assembly += location_field(source_file, line);
    const std::size_t location_end = assembly.size();
    std::size_t stamp_length = 0;
    if ((record->flags & HT_TIMESTAMP) != 0) {
        const std::string stamp = timestamp();
        assembly += stamp;
        stamp_length = stamp.size();
    }
    if ((record->flags & HT_PREFIX) != 0) assembly += prefix_field(record->prefix);
    if (assembly.size() > kAssemblyCapacity) assembly.resize(kAssemblyCapacity);

    std::string finished = assembly + render_message(source, assembly.size());
    if (finished.size() > kLineCapacity) finished.resize(kLineCapacity);
    finish_line(finished);

    if (kind == LineKind::Log && record->log_handle != platform::kNoFile) {
        write_locked(record->log_handle, tail_from(finished, location_end));
    }
    if ((record->flags & HT_ECHO) != 0) {
        auto &os = platform::current();
        const std::string echo = tail_from(finished, location_end + stamp_length);
        os.write_file(os.std_handle(platform::StdStream::Output), echo.data(), echo.size());
    }
    if (record->debug_handle != platform::kNoFile) write_locked(record->debug_handle, finished);
}

}  // namespace dpl::trace
