#include "platform/platform.hpp"

namespace dpl::platform {
namespace {
Platform *g_replacement = nullptr;
}  // namespace

Platform &current() {
    return g_replacement != nullptr ? *g_replacement : native();
}

void install(Platform *replacement) {
    g_replacement = replacement;
}

}  // namespace dpl::platform
