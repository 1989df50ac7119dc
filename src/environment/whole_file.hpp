// Every file this area writes in one piece goes through here, so that the
// way a whole file is replaced is decided in one place.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace dpl::environment {

// Creates or truncates `path` and writes `text` in text mode. False when it
// cannot be created or written; `error` then holds the system error code.
bool write_whole_file(const std::string &path, std::string_view text, uint32_t *error);

}  // namespace dpl::environment
