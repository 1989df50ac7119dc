// Every whole-file writer under the fault sweep: each platform call of a
// successful run made to fail in turn, once and from then on.
#include <gtest/gtest.h>

#include <filesystem>
#include <set>
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
    void SetUp() override {
        MachineTest::SetUp();
        sweep.release = [this] { close_context(); };
    }
    // A context on a registry without Orvandex keys, with the scratch services
    // file loaded and one new service in it; with `traced`, the trace at full
    // detail, whose calls are swept too.
    void open_context(uint32_t mode, bool traced = false) {
        platform::current().reg_delete_tree(platform::kLocalMachine, "SOFTWARE\\Orvandex",
                                            platform::RegView::Default);
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
    FaultSweep sweep;
};

TEST_F(WriterFaultSweep, ConnectionsToAFile) {
    sweep.prepare = [&] {
        write_file(sqlhosts, kSqlhosts);
        open_context(DPL_MODE_NO_PORT_TEST);
        dplSetEnvironment(block, "ORVANDEXSQLHOSTS", sqlhosts.c_str());
        ASSERT_EQ(0, dplWindowsReadConnections(block, sqlhosts.c_str()));
        add_connections();
    };
    sweep.run = [&] { return dplWriteConnection(block); };
    sweep.codes = {DPL_OK, DPL_E_FAIL, DPL_E_OPEN_WRITE, DPL_E_PORT_IN_USE, DPL_E_NOMEM};
    sweep.files = {{sqlhosts, true, {DPL_E_FAIL, DPL_E_PORT_IN_USE, DPL_E_NOMEM}}, {services, false}};
    EXPECT_GT(run_fault_sweep(sweep), 10u);
}

TEST_F(WriterFaultSweep, ConnectionsToTheRegistry) {
    sweep.prepare = [&] {
        open_context(DPL_MODE_NO_PORT_TEST);
        ASSERT_EQ(0, dplSetSqlhostsLocation(block, DPL_SQLHOSTS_LOCAL_REGISTRY));
        add_connections();
    };
    sweep.run = [&] { return dplWriteConnection(block); };
    sweep.codes = {DPL_OK,     DPL_E_FAIL, DPL_E_REMOTE_CONNECT, DPL_E_INVALID_VALUE, DPL_E_PORT_IN_USE,
                   DPL_E_NOMEM};
    sweep.files = {{services, false}};
    EXPECT_GT(run_fault_sweep(sweep), 10u);
}

TEST_F(WriterFaultSweep, ServicesDatabase) {
    sweep.prepare = [&] { open_context(0, true); };
    sweep.run = [&] { return dplServicesDeploy(block); };
    sweep.codes = {DPL_OK, DPL_E_FAIL, DPL_E_INVALID_VALUE};
    sweep.files = {{services}};
    EXPECT_GT(run_fault_sweep(sweep), 5u);
}

TEST_F(WriterFaultSweep, ConfigurationFile) {
    std::filesystem::create_directories(root.path() / "etc");
    const std::string onconfig = (root.path() / "etc" / "onconfig.srv").string();
    const std::string input = root.file("onconfig.in");
    write_file(input, "# onconfig\nROOTPATH /data/root # the root\n\nDBSERVERNAME srv\n");
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
    sweep.codes = {DPL_OK, DPL_E_FAIL, DPL_E_OPEN_WRITE, DPL_E_NOMEM};
    sweep.files = {{onconfig}};
    EXPECT_GT(run_fault_sweep(sweep), 5u);
    EXPECT_EQ("# onconfig\nROOTPATH /data/new # the root\n\nDBSERVERNAME srv\n", read_file_text(onconfig));
}

TEST_F(WriterFaultSweep, EnvironmentCommandFile) {
    const std::string command_file = root.file("ol_env.cmd");
    sweep.prepare = [&] {
        write_file(command_file, "set OLD=1\n");
        open_context(0);
        dplSetEnvironment(block, "ORVANDEXDIR", root.path().string().c_str());
        dplSetEnvironment(block, "ORVANDEXSERVER", "ol_env");
        dplSetEnvironment(block, "QUOTED", "say \"hi\" 100%");
    };
    sweep.run = [&] { return dplWriteEnv(block); };
    sweep.codes = {DPL_OK, DPL_E_FAIL, DPL_E_OPEN_WRITE, DPL_E_NOMEM};
    sweep.files = {{command_file, true, {DPL_E_FAIL}}};
    EXPECT_GT(run_fault_sweep(sweep), 5u);
}

// A whole deployment and its removal. What a deployment writes whole must be
// old or new; the set-up script is an append and is not watched.
class DeploymentFaultSweep : public WriterFaultSweep {
protected:
    void prepare_installation() {
        std::filesystem::remove_all(inst);
        std::filesystem::create_directories(inst / "etc" / "sysadmin");
        std::filesystem::create_directories(inst / "data");
        open_context(DPL_MODE_NO_PORT_TEST);
        const std::string dir = inst.string();
        dplSetEnvironment(block, "ORVANDEXDIR", dir.c_str());
        dplSetEnvironment(block, "ORVANDEXSERVER", "ol_sweep");
        dplSetEnvironment(block, "ONCONFIG", "onconfig.ol_sweep");
        dplSetEnvironment(block, "ORVANDEXSQLHOSTS", (inst / "etc" / "sqlhosts.ol_sweep").string().c_str());
        Instance *instance = dplGetCurrentInstance(block);
        ASSERT_EQ(0, dplSetConfig(instance, "ROOTPATH", rootdbs.c_str(), nullptr));
        ASSERT_EQ(0, dplSetConfig(instance, "SERVERNUM", "3", nullptr));
        ASSERT_EQ(0, dplAddConnection(block, "ol_sweep", dplMapStringtoProtocol("onsoctcp"), "localhost", 0,
                                      "svc_a", nullptr));
        ASSERT_EQ(0, dplSetInstallationProperty(block, DPL_P_RUNAS_USER, 0));
        ASSERT_EQ(0, dplAddUserGroupRequired(block, DPL_ACCOUNT_PRODUCT_USER, "orvandex", "orvandex"));
    }
    void release_installation() {
        dplWinServiceDelete(block, "ol_sweep");
        close_context();
    }

    const std::filesystem::path inst = root.path() / "inst";
    const std::string rootdbs = (inst / "data" / "rootdbs").string();
    const std::string command_file = (inst / "ol_sweep.cmd").string();
    const std::string onconfig = (inst / "etc" / "onconfig.ol_sweep").string();
    const std::string sqlhosts_file = (inst / "etc" / "sqlhosts.ol_sweep").string();
};

TEST_F(DeploymentFaultSweep, Deployment) {
    sweep.prepare = [&] { prepare_installation(); };
    sweep.run = [&] { return deployInstallation(block); };
    sweep.release = [&] { release_installation(); };
    // The result is the service step's; the files before it may have stopped
    // on their own documented failures, keeping the lines written until then.
    sweep.codes = {DPL_OK, DPL_E_FAIL, DPL_E_NULL_ARGUMENT, DPL_E_NOMEM};
    const std::set<int32_t> any = sweep.codes;
    sweep.files = {{command_file, false, any}, {onconfig, false, any}, {sqlhosts_file, false, any}};
    EXPECT_GT(run_fault_sweep(sweep), 20u);
}

TEST_F(DeploymentFaultSweep, Removal) {
    sweep.prepare = [&] {
        prepare_installation();
        ASSERT_EQ(0, deployInstallation(block));
        write_file((inst / "etc" / "oncfg_ol_sweep.3").string(),
                   "Chunk 1 2 3 4 5 6 7 8 9 " + std::to_string(rootdbs.size()) + " " + rootdbs + "\n");
    };
    sweep.run = [&] { return dplRemoveInstance(block, "ol_sweep"); };
    sweep.release = [&] { release_installation(); };
    sweep.codes = {DPL_OK, DPL_E_FAIL, DPL_E_NOMEM};
    // A file that could not be removed is only logged: a success may leave it.
    sweep.files = {{command_file, false}, {onconfig, false}, {sqlhosts_file, false}, {rootdbs, false}};
#ifndef _WIN32
    sweep.files.push_back({root.file("etc/services"), false});
#endif
    EXPECT_GT(run_fault_sweep(sweep), 20u);
}

}  // namespace
}  // namespace dpl::test
