// Writing recommended figures into the instance's configuration, one
// parameter at a time. The first failure ends the run: the parameters before
// it stay written, and every later write is skipped.
#pragma once

#include <cstdint>
#include <string>

#include "dpl/dpl.h"

namespace dpl::autoconfig {

class ParameterWriter {
public:
    explicit ParameterWriter(Instance *instance) : instance_(instance) {}

    void text(const char *name, const std::string &value);
    void number(const char *name, int64_t value);
    // Stops the run with `rc` (a step between the writes failed).
    void fail(int32_t rc) { status_ = rc; }
    bool ok() const { return status_ == DPL_OK; }
    int32_t status() const { return status_; }

private:
    Instance *instance_;
    int32_t status_ = DPL_OK;
};

// The environment values the writers need: ORVANDEXSERVER and the short
// form of ORVANDEXDIR. -945 after `missing_server` or `missing_dir` is
// logged when one is not set.
struct ServerPlace {
    std::string server;
    std::string directory;
};
int32_t read_server_place(InstallControlBlock &block, ServerPlace *place, const char *missing_server,
                          const char *missing_dir);

// directory + separator + name, with the platform's separator.
std::string join_path(const std::string &directory, const std::string &name);
// The system's short form of an existing path (at most 255 characters), or
// the path itself when there is none.
std::string short_form(const std::string &path);

// Creates the chunk file (a failure logs "Failed to create <what> chunk" and
// stops the run with its code) and writes its short path as `name`.
void write_chunk_path(InstallControlBlock &block, ParameterWriter &writer, const char *name,
                      const std::string &file, const char *what);

// One NETTYPE per connection of the instance, in list order.
void write_nettypes(InstallControlBlock &block, ParameterWriter &writer, int32_t poll_threads);

}  // namespace dpl::autoconfig
