#include "environment/whole_file.hpp"

#include "core/text_file.hpp"

namespace dpl::environment {

bool write_whole_file(const std::string &path, std::string_view text, uint32_t *error) {
    uint32_t code = 0;
    dpl::core::TextFileWriter writer;
    bool written = writer.open(path, &code) && writer.write(text);
    if (!writer.close()) written = false;
    if (!written && code == 0) code = static_cast<uint32_t>(platform::current().last_errno());
    if (error != nullptr) *error = code;
    return written;
}

}  // namespace dpl::environment
