// A block on a scratch machine, and a fake for the account calls whose
// failures the tests provoke.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <string>

#include "dpl/dpl.h"
#include "support/installed_platform.hpp"
#include "support/machine_fixture.hpp"
#include "trace/trace_state.hpp"

namespace dpl::test {

// Answers the account calls named in `fail` with the given error, and a
// domain controller when `controller` is set.
class AccountFake : public InstalledPlatform {
public:
    uint32_t failure(const std::string &call) const {
        const auto found = fail.find(call);
        return found == fail.end() ? 0 : found->second;
    }

    uint32_t account_installing_user(platform::AccountIdentity *out) override {
        if (const uint32_t rc = failure("user")) return rc;
        return ForwardingPlatform::account_installing_user(out);
    }
    uint32_t account_computer_name(std::string *out) override {
        if (const uint32_t rc = failure("computer")) return rc;
        return ForwardingPlatform::account_computer_name(out);
    }
    uint32_t account_domain_controller(std::string *out) override {
        if (controller.empty()) return platform::err::kNoSuchDomain;
        *out = controller;
        return 0;
    }
    uint32_t account_open_policy(const std::string &server, platform::PolicyHandle *out,
                                 int32_t *status) override {
        if (const uint32_t rc = failure(server.empty() ? "policy" : "domain policy")) {
            *status = -1073741790;
            return rc;
        }
        // A reachable controller's policy opens like this computer's.
        return ForwardingPlatform::account_open_policy("", out, status);
    }
    uint32_t account_find_group(const std::string &server, platform::GroupScope scope,
                                const std::string &name) override {
        if (const uint32_t rc = failure("find group")) return rc;
        return ForwardingPlatform::account_find_group(server, scope, name);
    }
    uint32_t account_delete_group(const std::string &server, platform::GroupScope scope,
                                  const std::string &name) override {
        if (const uint32_t rc = failure("delete group")) return rc;
        return ForwardingPlatform::account_delete_group(server, scope, name);
    }
    uint32_t account_add_right(platform::PolicyHandle policy, const std::string &sid,
                               const std::string &right) override {
        if (const uint32_t rc = failure("add right")) return rc;
        return ForwardingPlatform::account_add_right(policy, sid, right);
    }
    bool secure_random(void *buffer, std::size_t size) override {
        if (random_bytes.empty()) return ForwardingPlatform::secure_random(buffer, size);
        auto *bytes = static_cast<unsigned char *>(buffer);
        for (std::size_t i = 0; i < size; ++i) bytes[i] = random_bytes[(next_random++) % random_bytes.size()];
        return true;
    }

    std::map<std::string, uint32_t> fail;
    std::string controller;
    std::string random_bytes;
    std::size_t next_random = 0;
};

class UserTest : public MachineTest {
protected:
    void SetUp() override {
        trace::reset_for_tests();
        set_env("INSTALL_LOG", nullptr);
        MachineTest::SetUp();
    }
    void TearDown() override {
        for (InstallControlBlock *block : blocks) finish(block);
        set_env("INSTALL_LOG", nullptr);
        MachineTest::TearDown();
        trace::reset_for_tests();
    }
    InstallControlBlock *open(uint32_t mode = 0) {
        InstallControlBlock *block = init_API(mode, 1, "product", "12.10.FC1");
        if (block != nullptr) blocks.push_back(block);
        return block;
    }
    std::vector<InstallControlBlock *> blocks;
};

}  // namespace dpl::test
