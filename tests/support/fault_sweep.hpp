// The fault sweep over a writer: a successful run is counted, then the
// writer runs again once for every call it makes, with that call failing
// (once, and from then on). Every run must answer one of the writer's
// documented codes and leave each watched file either as it was or as the
// successful run wrote it, with no replacement file left behind.
#pragma once

#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <vector>

namespace dpl::test {

struct WatchedFile {
    std::string path;
    // Whether a success means the new content (not so for a file whose
    // writer's result the call ignores).
    bool new_on_success = true;
    // A writer that stops on one of these failures keeps the lines it wrote
    // before: any whole-line beginning of the new content is valid then.
    std::set<int32_t> partial_codes = {};
};

struct FaultSweep {
    // Puts every watched file back as it was and makes what `run` needs.
    std::function<void()> prepare;
    // The call under test; its result is checked against `codes`.
    std::function<int32_t()> run;
    // Releases what `prepare` made (runs without faults).
    std::function<void()> release;
    std::set<int32_t> codes;
    std::vector<WatchedFile> files;
};

// Runs the sweep, reporting failures through GoogleTest; returns the number
// of calls the successful run made.
uint64_t run_fault_sweep(const FaultSweep &sweep);

}  // namespace dpl::test
