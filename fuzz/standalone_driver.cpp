// Runs a fuzz program's LLVMFuzzerTestOneInput without libFuzzer: every file
// named on the command line, and every file under every directory named
// there, once, in name order. A broken check aborts; a clean run prints how
// many inputs it replayed. This is how the corpora run as ordinary tests on
// every build, whatever the compiler.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <system_error>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size);

namespace {

namespace fs = std::filesystem;

bool collect(const fs::path &place, std::vector<fs::path> *files) {
    std::error_code error;
    if (fs::is_regular_file(place, error)) {
        files->push_back(place);
        return true;
    }
    if (!fs::is_directory(place, error)) return false;
    for (fs::recursive_directory_iterator it(place, error), end; !error && it != end; it.increment(error)) {
        if (it->is_regular_file(error)) files->push_back(it->path());
    }
    return !error;
}

bool replay(const fs::path &file) {
    std::ifstream in(file, std::ios::binary);
    if (!in) return false;
    const std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    // A copy of exactly the input's size, so that a read past its end is
    // caught by the sanitizers as it is under libFuzzer.
    const std::vector<uint8_t> input(bytes.begin(), bytes.end());
    LLVMFuzzerTestOneInput(input.empty() ? nullptr : input.data(), input.size());
    return true;
}

}  // namespace

int main(int argc, char **argv) {
    if (argc < 2) {
        std::fputs("usage: replay CORPUS_DIRECTORY_OR_FILE...\n", stderr);
        return 2;
    }
    std::vector<fs::path> files;
    for (int i = 1; i < argc; ++i) {
        if (!collect(argv[i], &files)) {
            std::fprintf(stderr, "replay: cannot read %s\n", argv[i]);
            return 1;
        }
    }
    std::sort(files.begin(), files.end());
    for (const fs::path &file : files) {
        if (!replay(file)) {
            std::fprintf(stderr, "replay: cannot read %s\n", file.string().c_str());
            return 1;
        }
    }
    std::printf("replayed %zu inputs\n", files.size());
    return files.empty() ? 1 : 0;
}
