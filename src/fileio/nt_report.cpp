#include "fileio/nt_report.hpp"

#include <string>

#include "dpl/dpl.h"
#include "trace/trace.hpp"

namespace dpl::fileio {

int errno_from(const platform::SysError &error) {
    const int value = nt_errno_from_win32(error.win32);
    errno = value;
    return value;
}

void report(const char *call, uint32_t code, int line) noexcept {
    try {
        // The code is printed signed, as the system's DWORD was by "%d".
        const std::string text = std::string(call) + ": w32ec=" + std::to_string(static_cast<int32_t>(code)) +
                                 " at " + trace::kFileIo + ":" + std::to_string(line) + "\n";
        platform::Platform &os = platform::current();
        const platform::FileHandle out = os.std_handle(platform::StdStream::Output);
        if (out != platform::kNoFile) os.write_file(out, text.data(), text.size());
    } catch (...) {
        // A report that cannot be made leaves errno and the result to speak.
    }
}

}  // namespace dpl::fileio
