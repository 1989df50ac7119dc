// Every exported entry point driven here, with each of its allocations made
// to fail in turn (once, and from then on): it answers -1000 or succeeds,
// never crashes, and leaks nothing (the sanitizer build checks at exit).
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <set>
#include <string>

#include "alloc/failing_new.hpp"
#include "dpl/dpl.h"
#include "support/test_support.hpp"

namespace dpl::test {
namespace {

const uint32_t kTcp = 0x5E;

struct Machine {
    ScratchDir root;
    std::string services = root.file("etc/services");
    std::string sqlhosts = root.file("sqlhosts");
    std::string onconfig = root.file("onconfig.in");
    std::string created = root.file("some/new/directories/created.txt");
    InstallControlBlock *block = nullptr;

    Machine() {
        std::filesystem::create_directories(root.path() / "etc");
        write_file(services, "# services\nsvc_a 9001/tcp alias_a\nsvc_b 9002/tcp\n");
        write_file(sqlhosts,
                   "# sqlhosts\nol_a onsoctcp localhost svc_a\n\nol_b onipcshm localhost ol_b k=1\n");
        write_file(onconfig,
                   "# onconfig\nROOTPATH /data/root # the root\n\nDBSERVERNAME srv\nNETTYPE onsoctcp,1,50\n");
        set_env("DPL_SYSROOT", root.path().string().c_str());
    }
    ~Machine() {
        if (block != nullptr) finish(block);
        set_env("DPL_SYSROOT", nullptr);
    }
    Instance *instance() { return dplGetCurrentInstance(block); }
    void open() {
        block = init_API(DPL_MODE_NO_PORT_TEST, 1, "p", "12.10.FC1");
        ASSERT_NE(nullptr, block);
        ASSERT_EQ(0, dplSetEnvironment(block, "ORVANDEXSQLHOSTS", sqlhosts.c_str()));
        ASSERT_EQ(0, dplSetEnvironment(block, "ORVANDEXDIR", root.path().string().c_str()));
        ASSERT_EQ(0, dplSetEnvironment(block, "ORVANDEXSERVER", "srv"));
    }
    void read_all() {
        open();
        ASSERT_EQ(0, dplWindowsReadConnections(block, sqlhosts.c_str()));
        ASSERT_EQ(0, dplReadConfig(instance(), onconfig.c_str()));
    }
    // An instance ready to deploy: its directories, root chunk and account.
    void deployable() {
        std::filesystem::create_directories(root.path() / "etc" / "sysadmin");
        open();
        ASSERT_EQ(0, dplReadConfig(instance(), onconfig.c_str()));
        ASSERT_EQ(0, dplAddConnection(block, "srv", kTcp, "localhost", 9002, "svc_b", nullptr));
        ASSERT_EQ(0, dplSetConfig(instance(), "ROOTPATH", root.file("rootdbs").c_str(), nullptr));
        ASSERT_EQ(0, dplSetConfig(instance(), "SERVERNUM", "3", nullptr));
        ASSERT_EQ(0, dplSetEnvironment(block, "ONCONFIG", "onconfig.srv"));
        ASSERT_EQ(0, dplSetInstallationProperty(block, DPL_P_RUNAS_USER, 0));
        ASSERT_EQ(0, dplAddUserGroupRequired(block, DPL_ACCOUNT_PRODUCT_USER, "orvandex", "orvandex"));
    }
    void deployed() {
        deployable();
        ASSERT_EQ(0, deployInstallation(block));
    }
};

// A pointer result: 0 when there is one, -1000 when there is none.
int64_t made(const void *result) {
    return result != nullptr ? 0 : DPL_E_NOMEM;
}

struct EntryCase {
    const char *name;
    std::function<void(Machine &)> prepare;
    std::function<int64_t(Machine &)> call;
    int64_t success;
    // Where an inner step fails for want of memory and the behaviour says
    // what that step's failure answers, that answer stands.
    std::set<int64_t> documented = {};
};

const EntryCase kCases[] = {
    {"init_API", [](Machine &) {},
     [](Machine &m) {
         m.block = init_API(0, 1, "p", "12.10.FC1");
         return made(m.block);
     },
     0},
    {"dplSetEnvironment", [](Machine &m) { m.open(); },
     [](Machine &m) {
         return int64_t{dplSetEnvironment(m.block, "ONCONFIG", "onconfig.a_longer_file_name")};
     },
     0},
    {"dplWindowsReadConnections",
     [](Machine &m) { m.open(); },
     [](Machine &m) { return int64_t{dplWindowsReadConnections(m.block, m.sqlhosts.c_str())}; },
     0,
     {DPL_E_FAIL}},  // a protocol name that cannot be mapped
    {"dplAddConnection", [](Machine &m) { m.read_all(); },
     [](Machine &m) {
         return int64_t{dplAddConnection(m.block, "ol_new", kTcp, "localhost", 9002, "svc_b", "g=grp")};
     },
     0},
    {"dplWriteConnection",
     [](Machine &m) {
         m.read_all();
         dplServicesAddService(m.block, "svc_new", 9100, "tcp", 0, nullptr, "added");
         dplAddConnection(m.block, "ol_new", kTcp, "localhost", 9100, "svc_new", "");
     },
     [](Machine &m) { return int64_t{dplWriteConnection(m.block)}; }, 0},
    {"dplServicesLoad",
     [](Machine &m) {
         m.open();
         dplServicesFree(m.block);
     },
     [](Machine &m) { return int64_t{dplServicesLoad(m.block, m.services.c_str())}; }, 0},
    {"dplServicesAddService",
     [](Machine &m) { m.open(); },
     [](Machine &m) {
         const char *aliases[] = {"one", "two"};
         return int64_t{dplServicesAddService(m.block, "svc_new", 9100, "tcp", 2, aliases, "a\ncomment")};
     },
     0,
     {DPL_E_INVALID_VALUE}},  // a port or name probe that answers other than 0
    {"dplServicesAddComment", [](Machine &m) { m.open(); },
     [](Machine &m) { return int64_t{dplServicesAddComment(m.block, "one\ntwo\r\nthree")}; }, 0},
    {"dplServicesDeploy",
     [](Machine &m) {
         m.open();
         dplServicesAddService(m.block, "svc_new", 9100, "tcp", 0, nullptr, nullptr);
     },
     [](Machine &m) { return int64_t{dplServicesDeploy(m.block)}; }, 0},
    {"dplReadConfig",
     [](Machine &m) { m.open(); },
     [](Machine &m) { return int64_t{dplReadConfig(m.instance(), m.onconfig.c_str())}; },
     0,
     {DPL_E_FAIL}},  // an insertion that fails
    {"dplSetConfig",
     [](Machine &m) { m.read_all(); },
     [](Machine &m) {
         return int64_t{dplSetConfig(m.instance(), "NETTYPE", "onsoctcp,2,50,a_longer_value", "c")};
     },
     0,
     {DPL_E_FAIL}},  // an insertion that fails
    {"dplAddConfig",
     [](Machine &m) { m.read_all(); },
     [](Machine &m) {
         return int64_t{dplAddConfig(m.instance(), "A_LONGER_PARAMETER_NAME", "a longer value", "comment")};
     },
     0,
     {DPL_E_FAIL}},  // an insertion that fails
    {"dplWriteConfig", [](Machine &m) { m.read_all(); },
     [](Machine &m) { return int64_t{dplWriteConfig(m.instance())}; }, 0},
    {"dplXlateFilePath", [](Machine &m) { m.open(); },
     [](Machine &m) {
         char *text = dplXlateFilePath(m.block, "$DPL_SYSROOT/etc//services");
         const int64_t rc = made(text);
         dplFree(text);
         return rc;
     },
     0},
    {"GetNameFromPath", [](Machine &m) { m.open(); },
     [](Machine &m) {
         char *text = GetNameFromPath(m.block, "/a/rather/long/directory/name/c.txt", 2);
         const int64_t rc = made(text);
         dplFree(text);
         return rc;
     },
     0},
    {"dplCreateFile", [](Machine &m) { m.open(); },
     [](Machine &m) { return int64_t{dplCreateFile(m.block, m.created.c_str())}; }, 0},
    // A registry value or file step that fails for want of memory answers as
    // that step's documented failure.
    {"dplWriteEnv",
     [](Machine &m) { m.open(); },
     [](Machine &m) { return int64_t{dplWriteEnv(m.block)}; },
     0,
     {DPL_E_FAIL}},
    {"deployInstallation",
     [](Machine &m) { m.deployable(); },
     [](Machine &m) { return int64_t{deployInstallation(m.block)}; },
     0,
     {DPL_E_FAIL}},
    {"dplRemoveInstance",
     [](Machine &m) { m.deployed(); },
     [](Machine &m) { return int64_t{dplRemoveInstance(m.block, "srv")}; },
     0,
     {DPL_E_FAIL}},
    {"dplCompareVers", [](Machine &) {},
     [](Machine &) { return int64_t{dplCompareVers("12.10.FC1", "12.10.FC1")}; }, DPL_VERS_SAME},
};

class EntryPointAllocations : public ::testing::TestWithParam<EntryCase> {};

TEST_P(EntryPointAllocations, AnswerOutOfMemoryOrSucceed) {
    const EntryCase &entry = GetParam();
    uint64_t total = 0;
    // Counted on the second run: the first fills what a process keeps once
    // (the installing user, the computer name), which later runs never ask for.
    for (int run = 0; run < 2; ++run) {
        Machine machine;
        entry.prepare(machine);
        alloc::arm(0, false);
        const int64_t rc = entry.call(machine);
        total = alloc::allocations();
        alloc::disarm();
        ASSERT_EQ(entry.success, rc) << "without failures";
    }
    ASSERT_GT(total, 0u);
    for (const bool persistent : {false, true}) {
        for (uint64_t at = 1; at <= total; ++at) {
            Machine machine;
            entry.prepare(machine);
            alloc::arm(at, persistent);
            const int64_t rc = entry.call(machine);
            const uint64_t refused = alloc::failures();
            alloc::disarm();
            EXPECT_TRUE(rc == entry.success || rc == DPL_E_NOMEM || entry.documented.count(rc) == 1)
                << (persistent ? "from allocation " : "allocation ") << at << " of " << total << ": " << rc;
            EXPECT_GT(refused, 0u);
        }
    }
}

std::string case_name(const ::testing::TestParamInfo<EntryCase> &entry) {
    return entry.param.name;
}

INSTANTIATE_TEST_SUITE_P(All, EntryPointAllocations, ::testing::ValuesIn(kCases), case_name);

}  // namespace
}  // namespace dpl::test
