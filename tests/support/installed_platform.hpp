// A test backend over the native one that is the current platform for as
// long as it lives: derive from it and override the calls to fake.
#pragma once

#include "platform/forwarding_platform.hpp"

namespace dpl::test {

class InstalledPlatform : public platform::ForwardingPlatform {
public:
    InstalledPlatform() : ForwardingPlatform(platform::native()) { platform::install(this); }
    InstalledPlatform(const InstalledPlatform &) = delete;
    InstalledPlatform &operator=(const InstalledPlatform &) = delete;
    ~InstalledPlatform() override { platform::install(nullptr); }
};

}  // namespace dpl::test
