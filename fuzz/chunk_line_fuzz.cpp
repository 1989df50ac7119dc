// Any bytes as one line of a bootstrap file (the first byte chooses whether
// mirror chunks count). The line lies in a buffer of exactly its size, so a
// read past its end is caught; a path found is a non-empty run of the line
// itself, before any line break, on a line that begins with a chunk word.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "deploy/instance_removal.hpp"
#include "fuzz_support.hpp"

using dpl::fuzz::check;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size) {
    if (size == 0) return 0;
    const bool mirror = (data[0] & 1) != 0;
    const std::vector<char> bytes(data + 1, data + size);
    const std::string_view line(bytes.data(), bytes.size());
    const std::optional<std::string> path = dpl::deploy::chunk_path_of_line(line, mirror);
    if (!path) return 0;
    check(!path->empty());
    check(path->find_first_of(std::string_view("\n\r\0", 3)) == std::string::npos);
    check(line.find(*path) != std::string_view::npos);
    check(line.starts_with("Chunk") || (mirror && line.starts_with("Mchunk")));
    check(line.find_first_of(std::string_view("\n\r\0", 3)) >= line.find(*path) + path->size());
    return 0;
}
