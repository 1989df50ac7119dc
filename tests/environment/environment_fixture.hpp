// A context on a scratch machine whose current instance has an environment
// and an installation directory of its own.
#pragma once

#include <filesystem>
#include <string>

#include "core/control_block.hpp"
#include "dpl/dpl.h"
#include "support/machine_fixture.hpp"
#include "trace/trace_state.hpp"

namespace dpl::test {

class EnvironmentTest : public MachineTest {
protected:
    void SetUp() override {
        MachineTest::SetUp();
        trace::reset_for_tests();
        set_env("INSTALL_LOG", nullptr);
        std::filesystem::create_directories(root.path() / "inst" / "etc");
    }
    void TearDown() override {
        if (block != nullptr) finish(block);
        trace::reset_for_tests();
        MachineTest::TearDown();
    }
    void open(int32_t product_mode = 1) {
        block = init_API(0, product_mode, "p", "12.10.FC1");
        ASSERT_NE(nullptr, block);
    }
    void set(const char *name, const std::string &value) {
        ASSERT_EQ(0, dplSetEnvironment(block, name, value.c_str()));
    }
    // ORVANDEXDIR and ORVANDEXSERVER of an instance "ol_test".
    void set_instance() {
        set("ORVANDEXDIR", dir());
        set("ORVANDEXSERVER", "ol_test");
    }
    std::string dir() const { return (root.path() / "inst").string(); }
    std::string in_dir(const std::string &name) const { return (root.path() / "inst" / name).string(); }

    InstallControlBlock *block = nullptr;
};

}  // namespace dpl::test
