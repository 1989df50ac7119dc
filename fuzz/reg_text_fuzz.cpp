// Any bytes as a registry store file (the .reg text of version 5.00 or
// REGEDIT4), straight into the parser the POSIX registry loads its store
// with. A text that parses is written back and parses to an identical tree,
// which is written the same again; a text that does not parse leaves the
// store alone and says why. Any bytes also survive the trip to UTF-16 and
// back.
#include <cstdint>
#include <string>
#include <string_view>

#include "fuzz_support.hpp"
#include "platform/posix/reg_text_format.hpp"
#include "platform/posix/registry_tree.hpp"

namespace {

using dpl::fuzz::check;
using dpl::platform::posix::RegTreeKey;

// A store that a failed parse must leave as it is.
void fill(RegTreeKey &store) {
    RegTreeKey &key = store.add_subkey("HKEY_LOCAL_MACHINE").add_subkey("Before");
    key.set_value("kept", dpl::platform::RegValue{dpl::platform::regtype::kSz, "yes"});
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char *>(data), size);
    RegTreeKey store;
    fill(store);
    std::string error;
    if (dpl::platform::posix::parse_reg_text(bytes, &store, &error)) {
        const std::string text = dpl::platform::posix::serialize_reg_text(store);
        RegTreeKey again;
        std::string why;
        check(dpl::platform::posix::parse_reg_text(text, &again, &why));
        check(again.same_as(store));
        check(dpl::platform::posix::serialize_reg_text(again) == text);
    } else {
        RegTreeKey before;
        fill(before);
        check(!error.empty() && store.same_as(before));
    }

    std::string narrow;
    check(dpl::platform::posix::utf16le_to_narrow(dpl::platform::posix::narrow_to_utf16le(bytes), &narrow));
    check(narrow == bytes);
    return 0;
}
