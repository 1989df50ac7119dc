#include "environment/whole_file.hpp"

#include "core/replacement_file.hpp"
#include "platform/platform.hpp"

namespace dpl::environment {

bool write_whole_file(const std::string &path, std::string_view text, uint32_t *error) {
    uint32_t code = 0;
    const core::ReplaceResult result = core::replace_file(path, text, &code);
    if (result == core::ReplaceResult::NotWritten && code == 0)
        code = static_cast<uint32_t>(platform::current().last_errno());
    if (error != nullptr) *error = code;
    return result == core::ReplaceResult::Replaced;
}

}  // namespace dpl::environment
