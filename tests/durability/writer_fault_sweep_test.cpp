// Every whole-file writer under the fault sweep: each platform call of a
// successful run made to fail in turn, once and from then on.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "dpl/dpl.h"
#include "platform/platform.hpp"
#include "support/fault_sweep.hpp"
#include "support/machine_fixture.hpp"
#include "trace/trace_state.hpp"

namespace dpl::test {
namespace {

const char kServices[] = "# services\nsvc_a 9001/tcp alias_a\nsvc_b 9002/tcp\n";
const char kSqlhosts[] = "# sqlhosts\nol_a onsoctcp localhost svc_a\n\nol_b onipcshm localhost ol_b k=1\n";

class WriterFaultSweep : public MachineTest {
protected:
    // A context with the scratch services file loaded and one new service in
    // it; with `traced`, the trace at full detail, whose calls are swept too.
    void open_context(uint32_t mode, bool traced = false) {
        trace::reset_for_tests();
        if (traced) {
            ASSERT_EQ(HT_OK, ht_trace_start(root.file("install.log").c_str(),
                                            root.file("install.log.debug").c_str(), 9, 0, "p"));
        }
        write_file(services, kServices);
        block = init_API(mode, 1, "p", "12.10.FC1");
        ASSERT_NE(nullptr, block);
        dplServicesFree(block);
        ASSERT_EQ(0, dplServicesLoad(block, services.c_str()));
        ASSERT_EQ(0, dplServicesAddService(block, "svc_new", 9100, "tcp", 0, nullptr, "added"));
    }
    void close_context() {
        finish(block);
        block = nullptr;
        trace::reset_for_tests();
    }
    void add_connections() {
        const uint32_t tcp = dplMapStringtoProtocol("onsoctcp");
        ASSERT_EQ(0, dplAddConnection(block, "ol_new", tcp, "localhost", 9100, "svc_new", ""));
        ASSERT_EQ(0, dplAddConnection(block, "ol_grp", tcp, "*localhost", 9002, "svc_b", "g=grp1"));
    }

    const std::string services = root.file("services.db");
    const std::string sqlhosts = root.file("sqlhosts.test");
    InstallControlBlock *block = nullptr;
};

TEST_F(WriterFaultSweep, ConnectionsToAFile) {
    FaultSweep sweep;
    sweep.prepare = [&] {
        write_file(sqlhosts, kSqlhosts);
        open_context(DPL_MODE_NO_PORT_TEST);
        dplSetEnvironment(block, "ORVANDEXSQLHOSTS", sqlhosts.c_str());
        ASSERT_EQ(0, dplWindowsReadConnections(block, sqlhosts.c_str()));
        add_connections();
    };
    sweep.run = [&] { return dplWriteConnection(block); };
    sweep.release = [&] { close_context(); };
    sweep.codes = {DPL_OK, DPL_E_FAIL, DPL_E_OPEN_WRITE, DPL_E_PORT_IN_USE, DPL_E_NOMEM};
    sweep.files = {{sqlhosts, true, {DPL_E_FAIL, DPL_E_PORT_IN_USE, DPL_E_NOMEM}}, {services, false}};
    EXPECT_GT(run_fault_sweep(sweep), 10u);
}

TEST_F(WriterFaultSweep, ConnectionsToTheRegistry) {
    FaultSweep sweep;
    sweep.prepare = [&] {
        platform::current().reg_delete_tree(platform::kLocalMachine, "SOFTWARE\\Orvandex",
                                            platform::RegView::Default);
        open_context(DPL_MODE_NO_PORT_TEST);
        ASSERT_EQ(0, dplSetSqlhostsLocation(block, DPL_SQLHOSTS_LOCAL_REGISTRY));
        add_connections();
    };
    sweep.run = [&] { return dplWriteConnection(block); };
    sweep.release = [&] { close_context(); };
    sweep.codes = {DPL_OK,     DPL_E_FAIL, DPL_E_REMOTE_CONNECT, DPL_E_INVALID_VALUE, DPL_E_PORT_IN_USE,
                   DPL_E_NOMEM};
    sweep.files = {{services, false}};
    EXPECT_GT(run_fault_sweep(sweep), 10u);
}

TEST_F(WriterFaultSweep, ServicesDatabase) {
    FaultSweep sweep;
    sweep.prepare = [&] { open_context(0, true); };
    sweep.run = [&] { return dplServicesDeploy(block); };
    sweep.release = [&] { close_context(); };
    sweep.codes = {DPL_OK, DPL_E_FAIL, DPL_E_INVALID_VALUE};
    sweep.files = {{services}};
    EXPECT_GT(run_fault_sweep(sweep), 5u);
}

TEST_F(WriterFaultSweep, ConfigurationFile) {
    std::filesystem::create_directories(root.path() / "etc");
    const std::string onconfig = (root.path() / "etc" / "onconfig.srv").string();
    const std::string input = root.file("onconfig.in");
    write_file(input, "# onconfig\nROOTPATH /data/root # the root\n\nDBSERVERNAME srv\n");
    FaultSweep sweep;
    sweep.prepare = [&] {
        write_file(onconfig, "old\n");
        open_context(0);
        Instance *instance = dplGetCurrentInstance(block);
        dplSetEnvironment(block, "ORVANDEXDIR", root.path().string().c_str());
        dplSetEnvironment(block, "ORVANDEXSERVER", "srv");
        ASSERT_EQ(0, dplReadConfig(instance, input.c_str()));
        ASSERT_EQ(0, dplSetConfig(instance, "ROOTPATH", "/data/new", nullptr));
    };
    sweep.run = [&] { return dplWriteConfig(dplGetCurrentInstance(block)); };
    sweep.release = [&] { close_context(); };
    sweep.codes = {DPL_OK, DPL_E_FAIL, DPL_E_OPEN_WRITE, DPL_E_NOMEM};
    sweep.files = {{onconfig}};
    EXPECT_GT(run_fault_sweep(sweep), 5u);
    EXPECT_EQ("# onconfig\nROOTPATH /data/new # the root\n\nDBSERVERNAME srv\n", read_file_text(onconfig));
}

}  // namespace
}  // namespace dpl::test
