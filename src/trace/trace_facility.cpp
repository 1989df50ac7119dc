// Start, stop and the entry points of the trace facility. One record per
// process; until a start names a file every call is a silent no-op.
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <optional>

#include "dpl/dpl.h"
#include "trace/append_file.hpp"
#include "trace/trace_state.hpp"

namespace dpl::trace {
namespace {

std::unique_ptr<TraceState> g_state;
std::string g_last_error;  // what a failed start left behind

constexpr uint32_t kFlagsLimit = 256;
constexpr uint32_t kMaxSeverity = 9;
constexpr uint32_t kAllButPrefix = 0xFFFFFFFBu;

// The optional self-diagnostics file named by HTRACE_DEBUG.
class SelfDiagnostics {
public:
    // Without memory to look the variable up there are no diagnostics.
    SelfDiagnostics() {
        try {
            if (const auto name = platform::current().get_env("HTRACE_DEBUG")) file_.emplace(*name);
        } catch (const std::bad_alloc &) {
            file_.reset();
        }
    }
    bool on() const { return file_ && file_->is_open(); }
    void write(const char *text) {
        if (on()) file_->write(text);
    }

private:
    std::optional<AppendFile> file_;
};

bool is_standard_name(const std::string &name, platform::FileHandle *handle) {
    auto &os = platform::current();
    if (name == "stdout") {
        *handle = os.std_handle(platform::StdStream::Output);
        return true;
    }
    if (name == "stderr") {
        *handle = os.std_handle(platform::StdStream::Error);
        return true;
    }
    return false;
}

bool is_standard_handle(platform::FileHandle handle) {
    auto &os = platform::current();
    return handle == os.std_handle(platform::StdStream::Output) ||
           handle == os.std_handle(platform::StdStream::Error);
}

// Opens a trace file for appending, shared with the other installers.
uint32_t open_trace_file(const std::string &name, platform::FileHandle *handle, uint32_t *error) {
    if (is_standard_name(name, handle)) return HT_OK;
    platform::OpenOptions options;
    options.read = true;
    options.write = true;
    options.share_read = true;
    options.share_write = true;
    options.disposition = platform::Disposition::OpenAlways;
    options.write_through = true;
    *handle = platform::current().open_file(name, options, error);
    return *handle == platform::kNoFile ? HT_E_OPEN : HT_OK;
}

uint32_t close_trace_file(platform::FileHandle handle) {
    if (handle == platform::kNoFile || is_standard_handle(handle)) return 0;
    return platform::current().close_file(handle);
}

// The two texts a failed open leaves: the last-error text and the line for
// the self-diagnostics file (which names the log file in both cases).
void report_open_failure(bool log_file, uint32_t error, SelfDiagnostics &diagnostics) {
    char text[128];
    if (log_file) {
        std::snprintf(text, sizeof text, "Open log file failed with errno = %d.", static_cast<int>(error));
    } else {
        std::snprintf(text, sizeof text, "Open debug file failed with errno = %d.", static_cast<int>(error));
    }
    g_last_error = text;
    std::snprintf(text, sizeof text, "Open log file failed with errno = %d.\n", static_cast<int>(error));
    diagnostics.write(text);
}

std::string cut(const char *text, std::size_t capacity) {
    std::string value(text);
    if (value.size() > capacity) value.resize(capacity);
    return value;
}

uint32_t start(const char *log_name, const char *debug_name, uint32_t severity, uint32_t flags,
               const char *prefix, SelfDiagnostics &diagnostics) {
    if (g_state) return HT_E_STARTED;
    if (log_name == nullptr && debug_name == nullptr) return HT_OK;

    std::unique_ptr<TraceState> record;
    try {
        record = std::make_unique<TraceState>();
    } catch (const std::bad_alloc &) {
        return HT_E_START;
    }
    if (severity > kMaxSeverity) return HT_E_SEVERITY;
    record->magic = kTraceMagic;

    uint32_t error = 0;
    if (log_name != nullptr) {
        record->log_name = cut(log_name, kNameCapacity);
        if (open_trace_file(record->log_name, &record->log_handle, &error) != HT_OK) {
            report_open_failure(true, error, diagnostics);
            return HT_E_START;
        }
    }
    if (debug_name != nullptr && severity >= 1) {
        record->debug_name = cut(debug_name, kNameCapacity);
        if (open_trace_file(record->debug_name, &record->debug_handle, &error) != HT_OK) {
            report_open_failure(false, error, diagnostics);
            close_trace_file(record->log_handle);
            return HT_E_START;
        }
        record->severity = severity;
    }

    if (flags >= kFlagsLimit) {
        // Kept on purpose: the files stay open and tracing runs with no options.
        g_state = std::move(record);
        return HT_E_FLAGS;
    }
    record->flags = flags;
    if (prefix != nullptr && prefix[0] != '\0') {
        record->flags |= HT_PREFIX;
        record->prefix = cut(prefix, kPrefixCapacity);
    } else {
        // A start without a prefix switches on every other option.
        record->flags |= kAllButPrefix;
    }
    g_state = std::move(record);
    return HT_OK;
}

}  // namespace

TraceState *state() {
    return g_state.get();
}

bool debug_enabled(int32_t level) {
    const TraceState *record = g_state.get();
    return record != nullptr && record->valid() && record->debug_handle != platform::kNoFile &&
           level <= static_cast<int32_t>(record->severity);
}

void reset_for_tests() {
    if (g_state) {
        close_trace_file(g_state->log_handle);
        close_trace_file(g_state->debug_handle);
    }
    g_state.reset();
    g_last_error.clear();
}

}  // namespace dpl::trace

using dpl::trace::g_state;
using dpl::trace::LineKind;
using dpl::trace::LineSource;

extern "C" {

uint32_t ht_trace_start(const char *log_name, const char *debug_name, uint32_t severity, uint32_t flags,
                        const char *prefix) {
    dpl::trace::SelfDiagnostics diagnostics;
    if (diagnostics.on()) {
        char line[600];
        std::snprintf(line, sizeof line, "ht_trace_start: log_fn: %s.\n",
                      log_name != nullptr ? log_name : "null");
        diagnostics.write(line);
        std::snprintf(line, sizeof line, "ht_trace_start: dbg_fn: %s.\n",
                      debug_name != nullptr ? debug_name : "null");
        diagnostics.write(line);
        std::snprintf(line, sizeof line, "ht_trace_start: severity: %d.\n", static_cast<int>(severity));
        diagnostics.write(line);
        std::snprintf(line, sizeof line, "ht_trace_start: flags: 0x%x.\n", flags);
        diagnostics.write(line);
    }
    const uint32_t result = dpl::trace::start(log_name, debug_name, severity, flags, prefix, diagnostics);
    char line[64];
    std::snprintf(line, sizeof line, "ht_trace_start returns %d.\n", static_cast<int>(result));
    diagnostics.write(line);
    return result;
}

uint32_t ht_trace_stop(uint32_t *out_error) {
    if (!g_state) return HT_E_NOTSTARTED;
    if (!g_state->valid()) return HT_E_BADSTATE;
    uint32_t error = dpl::trace::close_trace_file(g_state->log_handle);
    const uint32_t debug_error = dpl::trace::close_trace_file(g_state->debug_handle);
    if (error == 0) error = debug_error;
    if (out_error != nullptr) *out_error = error;
    // The record stays registered, cleared: the facility cannot start again,
    // and later trace calls find no file to write to.
    std::vector<std::string> frames = std::move(g_state->frames);
    *g_state = dpl::trace::TraceState();
    g_state->magic = 0;
    g_state->frames = std::move(frames);
    return HT_OK;
}

uint32_t ht_set_severity(uint32_t severity, uint32_t *out_old) {
    if (!g_state) return HT_E_NOTSTARTED;
    if (!g_state->valid()) return HT_E_BADSTATE;
    if (out_old != nullptr) *out_old = g_state->severity;
    g_state->severity = severity;
    return HT_OK;
}

uint32_t ht_get_severity(uint32_t *out) {
    if (!g_state) return HT_E_NOTSTARTED;
    if (!g_state->valid()) return HT_E_BADSTATE;
    if (out != nullptr) *out = g_state->severity;
    return HT_OK;
}

const char *ht_last_error(void) {
    return dpl::trace::g_last_error.empty() ? nullptr : dpl::trace::g_last_error.c_str();
}

void htenter(int32_t level, const char *source_file, int32_t line, const char *function) {
    if (!dpl::trace::debug_enabled(level)) return;
    dpl::trace::TraceState &record = *g_state;
    const char *name = function != nullptr ? function : "(null)";
    try {
        record.frames.push_back(dpl::trace::cut(name, dpl::trace::kFrameNameCapacity));
    } catch (const std::bad_alloc &) {
        return;  // no frame, no ENTER line
    }
    if ((record.flags & HT_PROCESS_THREAD) != 0) {
        auto &os = dpl::platform::current();
        char ids[32];
        std::snprintf(ids, sizeof ids, "%5d %5d", static_cast<int>(os.thread_id()),
                      static_cast<int>(os.process_id()));
        record.prefix = ids;
    }
    if ((record.flags & HT_DEPTH) != 0) ++record.depth;
    char message[4096];
    std::snprintf(message, sizeof message, "%s: ENTER.", name);
    dpl::trace::write_trace_line(LineKind::Debug, source_file, line, LineSource{message, nullptr});
}

int32_t htexit(int32_t level, const char *source_file, int32_t line, int32_t rc) {
    if (!dpl::trace::debug_enabled(level)) return rc;
    dpl::trace::TraceState &record = *g_state;
    const bool has_frame = !record.frames.empty();
    const std::string name = has_frame ? record.frames.back() : std::string("BUG: htexit without htenter.");
    char message[4096];
    std::snprintf(message, sizeof message, "%s: EXIT. rc=%d(0x%x).\n\n", name.c_str(), static_cast<int>(rc),
                  static_cast<unsigned>(rc));
    dpl::trace::write_trace_line(LineKind::Debug, source_file, line, LineSource{message, nullptr});
    if (has_frame) {
        record.frames.pop_back();
        if ((record.flags & HT_DEPTH) != 0) --record.depth;
    }
    return rc;
}

void ht_debug(int32_t level, const char *source_file, int32_t line, const char *format, ...) {
    if (!dpl::trace::debug_enabled(level) || format == nullptr) return;
    std::va_list args;
    va_start(args, format);
    dpl::trace::write_trace_line(LineKind::Debug, source_file, line, LineSource{format, &args});
    va_end(args);
}

void ht_log(const char *format, ...) {
    const dpl::trace::TraceState *record = g_state.get();
    if (record == nullptr || !record->valid() || record->log_handle == dpl::platform::kNoFile ||
        format == nullptr) {
        return;
    }
    std::va_list args;
    va_start(args, format);
    dpl::trace::write_trace_line(LineKind::Log, nullptr, 0, LineSource{format, &args});
    va_end(args);
}

}  // extern "C"
