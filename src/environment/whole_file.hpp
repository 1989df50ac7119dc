// Every file this area writes in one piece goes through here: written beside
// the old one and moved over it in one step, so a crash leaves one of them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace dpl::environment {

// Replaces `path` with `text` in text mode. False when it cannot be created
// or written; `error` then holds the system error code and the old file stays.
bool write_whole_file(const std::string &path, std::string_view text, uint32_t *error);

}  // namespace dpl::environment
