#pragma once

#include <gtest/gtest.h>

#include <string>

#include "core/control_block.hpp"
#include "dpl/dpl.h"
#include "support/test_support.hpp"
#include "trace/trace_state.hpp"

namespace dpl::test {

// A context without port tests, with an empty services database of its own.
class ConnectionTest : public ::testing::Test {
protected:
    void SetUp() override {
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
    }

    // Aliases of the connection list, comments shown as their text.
    std::string listing() const {
        std::string text;
        for (const Connection *entry = block->current->connections.head(); entry != nullptr;
             entry = entry->next) {
            if (entry->kind == DPL_CONNECTION_ENTRY) {
                text += std::string(entry->alias ? entry->alias : "(null)") + ":" +
                        std::to_string(entry->protocol) + ":" + (entry->host ? entry->host : "(null)") + ":" +
                        std::to_string(entry->port) + ":" + (entry->service ? entry->service : "(null)") +
                        ":" + (entry->options ? entry->options : "(null)") + "\n";
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
