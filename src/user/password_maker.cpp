// Random passwords for the accounts the library creates, drawn from the
// system's cryptographic generator.
#include <array>
#include <cstring>

#include "dpl/dpl.h"
#include "platform/platform.hpp"
#include "user/user_context.hpp"

namespace {

constexpr char kAlphabet[] = "1234567890abcdefghijklmnopqrstuvwxyz!@#$%^&>()ABCDEFGHIJKLMNOPQRSTUVWXYZ";
constexpr unsigned kAlphabetSize = sizeof kAlphabet - 1;
static_assert(kAlphabetSize == 72);
// Bytes at or above this are drawn again, so that every character is
// equally likely (256 is not a multiple of 72).
constexpr unsigned kAcceptBelow = 256 / kAlphabetSize * kAlphabetSize;

}  // namespace

extern "C" {

int32_t dplGeneratePassword(char *buffer, uint32_t length) {
    if (buffer == nullptr || length == 0) return DPL_E_NULL_ARGUMENT;
    auto &os = dpl::platform::current();
    std::array<unsigned char, 64> random{};
    std::size_t used = random.size();
    int32_t rc = DPL_OK;
    for (uint32_t filled = 0; filled + 1 < length;) {
        if (used == random.size()) {
            if (!os.secure_random(random.data(), random.size())) {
                rc = DPL_E_FAIL;
                break;
            }
            used = 0;
        }
        const unsigned byte = random[used++];
        if (byte < kAcceptBelow) buffer[filled++] = kAlphabet[byte % kAlphabetSize];
    }
    // What the generator gave is as secret as the password made from it.
    dpl::user::wipe(random.data(), random.size());
    if (rc != DPL_OK) {
        std::memset(buffer, 0, length);
        return rc;
    }
    buffer[length - 1] = '\0';
    return DPL_OK;
}

}  // extern "C"
