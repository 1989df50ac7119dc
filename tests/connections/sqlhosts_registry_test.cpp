// Reading and writing the SQLHOSTS node of the registry.
#include "connections/connection_test_fixture.hpp"
#include "support/machine_fixture.hpp"

namespace dpl::test {
namespace {

const char kSeed[] =
    "Windows Registry Editor Version 5.00\r\n"
    "\r\n"
    "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Orvandex\\SQLHOSTS\\ol_tcp]\r\n"
    "\"HOST\"=\"*localhost\"\r\n"
    "\"OPTIONS\"=\"\"\r\n"
    "\"PROTOCOL\"=\"onsoctcp\"\r\n"
    "\"SERVICE\"=\"svc_b\"\r\n"
    "\r\n"
    "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Orvandex\\SQLHOSTS\\ol_zgroup]\r\n"
    "\"HOST\"=\"-\"\r\n"
    "\"PROTOCOL\"=\"group\"\r\n"
    "\"SERVICE\"=\"-\"\r\n"
    "\r\n"
    "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Orvandex\\SQLHOSTS\\ol_nohost]\r\n"
    "\"PROTOCOL\"=\"onsoctcp\"\r\n"
    "\"SERVICE\"=\"svc_a\"\r\n"
    "\r\n"
    "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Orvandex\\SQLHOSTS\\ol_a]\r\n"
    "\"HOST\"=\"localhost\"\r\n"
    "\"PROTOCOL\"=\"onipcshm\"\r\n"
    "\"SERVICE\"=\"svc_a\"\r\n"
    "\"OPTIONS\"=\"k=1\"\r\n";

using SqlhostsRegistry = ConnectionTest<MachineTest>;

TEST_F(SqlhostsRegistry, ReadsAliasesInKeyOrderAndGroupsTakeThePreviousPort) {
    import_registry(kSeed);
    // ol_nohost is skipped: it has no HOST. The result is that of the last alias.
    EXPECT_EQ(0, dplWindowsReadConnections(block, nullptr));
    EXPECT_EQ(
        "ol_a:70:localhost:9001:svc_a:k=1\n"
        "ol_tcp:94:*localhost:9002:svc_b:(null)\n"
        "ol_zgroup:256:-:9002:-:(null)\n",
        listing());
    EXPECT_EQ(DPL_SQLHOSTS_LOCAL_REGISTRY, dplGetSqlhostsLocation(block));
}

TEST_F(SqlhostsRegistry, AMissingOrEmptyNodeIsAnError) {
    EXPECT_EQ(DPL_E_REG_READ, dplReadConnectionsRegistery(block, nullptr));
    import_registry(
        "Windows Registry Editor Version 5.00\r\n\r\n[HKEY_LOCAL_MACHINE\\SOFTWARE\\Orvandex\\SQLHOSTS]\r\n");
    EXPECT_EQ(DPL_E_REG_NO_SUBKEYS, dplReadConnectionsRegistery(block, nullptr));
    import_registry(
        "Windows Registry Editor Version "
        "5.00\r\n\r\n[HKEY_LOCAL_MACHINE\\SOFTWARE\\Orvandex\\SQLHOSTS\\empty]\r\n");
    EXPECT_EQ(DPL_E_REG_NO_VALUES, dplReadConnectionsRegistery(block, nullptr));
}

TEST_F(SqlhostsRegistry, WritesFourValuesPerAliasAndGroupKeys) {
    ASSERT_EQ(0, dplSetSqlhostsLocation(block, DPL_SQLHOSTS_LOCAL_REGISTRY));
    dplAddConnection(block, "ol_star", 0x5E, "*localhost", 9001, "svc_a", nullptr);
    dplAddConnection(block, "ol_plain", 0x46, "localhost", 0, "svc_b", "g=grp1 k=2");
    dplAddConnection(block, "ol_opts", 0x5E, "localhost", 0, "svc_b", "k=3");
    dplAddConnection(block, "grp1", 256, "-", 0, "-", nullptr);
    block->current->connections.append_comment("# not written to the registry\n");
    ASSERT_EQ(0, dplWriteConnection(block));
    EXPECT_EQ(DPL_SQLHOSTS_REMOTE_REGISTRY, dplGetSqlhostsLocation(block));
    const std::string key = "SOFTWARE\\Orvandex\\SQLHOSTS\\";
    EXPECT_EQ("HOST=*localhost\nOPTIONS=\nPROTOCOL=onsoctcp\nSERVICE=svc_a\n", values_of(key + "ol_star"));
    EXPECT_EQ("HOST=*localhost\nOPTIONS=g=grp1 k=2\nPROTOCOL=onipcshm\nSERVICE=svc_b\n",
              values_of(key + "ol_plain"));
    EXPECT_EQ(values_of(key + "ol_plain"), values_of(key + "grp1\\ol_plain"));
    EXPECT_EQ("HOST=-\nOPTIONS=\nPROTOCOL=group\nSERVICE=-\n", values_of(key + "grp1"));
    EXPECT_EQ("HOST=*localhost\nOPTIONS=k=3\nPROTOCOL=onsoctcp\nSERVICE=svc_b\n", values_of(key + "ol_opts"));
    EXPECT_EQ("grp1\nol_opts\nol_plain\nol_star\n", subkeys_of("SOFTWARE\\Orvandex\\SQLHOSTS"));
}

TEST_F(SqlhostsRegistry, EntriesTheRegistryCannotHoldAreRefused) {
    ASSERT_EQ(0, dplSetSqlhostsLocation(block, DPL_SQLHOSTS_LOCAL_REGISTRY));
    dplAddConnection(block, nullptr, 0, nullptr, 0, nullptr, nullptr);
    EXPECT_EQ(DPL_E_INVALID_VALUE, dplWriteConnection(block));

    finish(block);
    block = init_API(DPL_MODE_NO_PORT_TEST, 1, "p", "12.10.FC1");
    ASSERT_EQ(0, dplSetSqlhostsLocation(block, DPL_SQLHOSTS_LOCAL_REGISTRY));
    dplAddConnection(block, "ol_a", 0x46, "localhost", 0, nullptr, nullptr);
    EXPECT_EQ(DPL_E_INVALID_VALUE, dplWriteConnection(block));
    // What came before the missing service stays written.
    EXPECT_EQ("HOST=*localhost\nOPTIONS=\nPROTOCOL=onipcshm\n",
              values_of("SOFTWARE\\Orvandex\\SQLHOSTS\\ol_a"));
}

#ifndef _WIN32
TEST_F(SqlhostsRegistry, AnotherMachineIsReadThroughItsName) {
    const std::string machine = add_machine("dbhost", kSeed);
    EXPECT_EQ(0, dplWindowsReadConnections(block, machine.c_str()));
    EXPECT_EQ(DPL_SQLHOSTS_REMOTE_REGISTRY, dplGetSqlhostsLocation(block));
    EXPECT_EQ(3u, block->current->connections.size());
    EXPECT_EQ(DPL_E_REMOTE_CONNECT, dplReadConnectionsRegistery(block, "\\\\nowhere"));
    EXPECT_EQ(DPL_SQLHOSTS_LOCAL_REGISTRY, dplGetSqlhostsLocation(block));
    // An unreachable machine name is taken as a file name.
    EXPECT_EQ(DPL_E_OPEN_READ, dplWindowsReadConnections(block, "\\\\nowhere"));
}
#endif

}  // namespace
}  // namespace dpl::test
