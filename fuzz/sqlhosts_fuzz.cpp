// Any bytes as an sqlhosts file: the reader must not crash, and a file that
// reads without error must come back with its comment lines verbatim.
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "dpl/dpl.h"
#include "fuzz_support.hpp"

namespace {

std::vector<std::string> comment_pieces(std::string_view text) {
    std::vector<std::string> comments;
    std::size_t at = 0;
    while (at < text.size()) {
        const std::size_t room = text.size() - at < 1023 ? text.size() - at : 1023;
        const std::size_t newline = text.substr(at, room).find('\n');
        const std::size_t length = newline == std::string_view::npos ? room : newline + 1;
        // A line is text: a NUL byte ends what is kept of it.
        if (text[at] == '#') {
            const std::string_view line = text.substr(at, length);
            comments.emplace_back(line.substr(0, line.find('\0')));
        }
        at += length;
    }
    return comments;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size) {
    static dpl::fuzz::EveryHostResolves resolver;
    dpl::platform::install(&resolver);
    const std::string in = dpl::fuzz::scratch_path("sqlhosts.in");
    const std::string out = dpl::fuzz::scratch_path("sqlhosts.out");
    dpl::fuzz::write_bytes(in, data, size);

    InstallControlBlock *block = init_API(DPL_MODE_NO_PORT_TEST, 1, "fuzz", "12.10.FC1");
    if (block == nullptr) std::abort();
    const int32_t read = dplReadConnections(block, in.c_str());
    dplSetEnvironment(block, "ORVANDEXSQLHOSTS", out.c_str());
    const int32_t written = dplWriteConnection(block);
    if (read == 0 && written == 0) {
        const std::string input =
            dpl::fuzz::as_text_mode(std::string_view(reinterpret_cast<const char *>(data), size));
        const std::string output = dpl::fuzz::as_text_mode(dpl::fuzz::read_bytes(out));
        // Every comment of the input is in the output, in order.
        std::size_t from = 0;
        for (const std::string &comment : comment_pieces(input)) {
            const std::size_t found = output.find(comment, from);
            if (found == std::string::npos) std::abort();
            from = found + comment.size();
        }
    }
    finish(block);
    return 0;
}
