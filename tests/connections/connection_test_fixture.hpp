#pragma once

#include <gtest/gtest.h>

#include <string>

#include "core/control_block.hpp"
#include "dpl/dpl.h"
#include "support/test_support.hpp"
#include "trace/trace_state.hpp"

namespace dpl::test {

// A context without port tests, with a services database of its own;
// `Base` is the fixture beneath (a plain test, or a scratch machine).
template <class Base = ::testing::Test>
class ConnectionTest : public Base {
protected:
    void SetUp() override {
        Base::SetUp();
        trace::reset_for_tests();
        set_env("INSTALL_LOG", nullptr);
        block = init_API(DPL_MODE_NO_PORT_TEST, 1, "p", "12.10.FC1");
        ASSERT_NE(nullptr, block);
        write_file(services_path, "svc_a 9001/tcp alias_a\nsvc_b 9002/tcp\nsvc_u 9003/udp\n");
        dplServicesFree(block);
        ASSERT_EQ(0, dplServicesLoad(block, services_path.c_str()));
    }
    void TearDown() override {
        finish(block);
        trace::reset_for_tests();
        Base::TearDown();
    }

    // The connection list of the current instance, one line per entry,
    // comments shown as their text.
    std::string listing() const {
        const auto text_of = [](const char *value) {
            return std::string(value != nullptr ? value : "(null)");
        };
        std::string text;
        for (const Connection *entry = block->current->connections.head(); entry != nullptr;
             entry = entry->next) {
            if (entry->kind == DPL_CONNECTION_ENTRY) {
                text += text_of(entry->alias) + ":" + std::to_string(entry->protocol) + ":" +
                        text_of(entry->host) + ":" + std::to_string(entry->port) + ":" +
                        text_of(entry->service) + ":" + text_of(entry->options) + "\n";
            } else if (entry->kind == DPL_CONNECTION_COMMENT) {
                text += "comment " + std::string(entry->alias);
            } else {
                text += "blank\n";
            }
        }
        return text;
    }

    std::string config(const char *name) const {
        const char *value = nullptr;
        if (dplGetConfig(block->current, name, &value, nullptr) != DPL_OK) return "<absent>";
        return value != nullptr ? value : "<null>";
    }

    ScratchDir dir;
    const std::string services_path = dir.file("services");
    InstallControlBlock *block = nullptr;
};

}  // namespace dpl::test
