// The installing user's context: names, properties, the block's last error.
#include <cctype>
#include <functional>

#include "user/user_fixture.hpp"

namespace dpl::test {
namespace {

std::string first_line(const ProgramResult &result) {
    std::string text = without_carriage_returns(result.output);
    return text.substr(0, text.find('\n'));
}

// The properties 0 to 7 as a string of 0 and 1.
std::string properties_of(InstallControlBlock *block) {
    std::string bits;
    for (uint32_t n = 0; n < 8; ++n) bits += static_cast<char>('0' + dplGetInstallationProperty(block, n));
    return bits;
}

TEST_F(UserTest, InstallingUserAndComputerAreThoseOfTheSystem) {
    InstallControlBlock *block = open();
    ASSERT_NE(nullptr, block);
#ifdef _WIN32
    // whoami prints "domain\user", in lower case.
    std::string expected = first_line(run_program("whoami", {}));
    std::string domain_and_user = std::string(dplGetDoaminName(block)) + "\\" + dplGetInstallingUser(block);
    for (char &c : expected) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    for (char &c : domain_and_user) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    EXPECT_EQ(expected, domain_and_user);
    std::string host = first_line(run_program("hostname", {}));
#else
    EXPECT_EQ(first_line(run_program("/usr/bin/id", {"-un"})), dplGetInstallingUser(block));
    std::string host = first_line(run_program("/usr/bin/hostname", {}));
    host = host.substr(0, host.find('.')).substr(0, 15);
    EXPECT_EQ(std::string(dplGetComputerName(block)), dplGetDoaminName(block));
#endif
    for (char &c : host) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    EXPECT_EQ(host, dplGetComputerName(block));
    // Outside a domain, as local administrator, accounts local to this computer.
    EXPECT_EQ("11101000", properties_of(block));
    EXPECT_STREQ("", dplGetDoaminControler(block));
    // Capture only: no credentials are deployed.
    InstallControlBlock *capture = open(DPL_MODE_MAINTENANCE);
    ASSERT_NE(nullptr, capture);
    EXPECT_EQ("10101000", properties_of(capture));
}

TEST_F(UserTest, PropertiesAndTheLastError) {
    InstallControlBlock *block = open();
    ASSERT_NE(nullptr, block);
    struct Step {
        const char *what;
        int32_t rc;
        std::string properties;
        int32_t last, previous;
    };
    int32_t previous = 0;
    const std::vector<std::pair<std::function<int32_t()>, Step>> steps = {
        {[&] { return dplSetInstallationProperty(block, 3, 1); }, {"set 3", 0, "11111000", 0, 0}},
        {[&] { return dplSetInstallationProperty(block, 0, 2); }, {"2 clears", 0, "01111000", 0, 0}},
        {[&] { return dplGetInstallationProperty(block, 8); }, {"get 8", 0, "01111000", -999, 0}},
        {[&] { return dplSetInstallationProperty(block, 9, 1); }, {"set 9", -999, "01111000", -999, -999}},
        {[&] { return dplGetUserProperty(block, 0, DPL_P_USER_EXISTS); },
         {"no account", -982, "01111000", -999, -999}},
        {[&] { return dplAddUserGroupRequired(block, 0, "grp", "usr"); }, {"add", 0, "01111000", -999, -999}},
        {[&] { return dplGetUserProperty(block, 0, DPL_P_USER_EXISTS); },
         {"user?", 0, "01111000", -999, -999}},
        {[&] { return dplGetUserProperty(block, 0, 3); }, {"value 3", 0, "01111000", -999, -999}},
        {[&] { return dplSetInstallationProperty(block, 0, 1); }, {"set 0", 0, "11111000", -999, -999}},
    };
    for (const auto &[call, step] : steps) {
        EXPECT_EQ(step.rc, call()) << step.what;
        EXPECT_EQ(step.properties, properties_of(block)) << step.what;
        EXPECT_EQ(step.last, dplGetLastError(block, &previous)) << step.what;
        EXPECT_EQ(step.previous, previous) << step.what;
    }
}

TEST_F(UserTest, AccountNamesAreQualified) {
    InstallControlBlock *block = open();
    ASSERT_NE(nullptr, block);
    const std::string computer = dplGetComputerName(block);
    const std::string domain = dplGetDoaminName(block);
    EXPECT_EQ(nullptr, dplGetAccountName(block));
    ASSERT_EQ(0, dplAddUserGroupRequired(block, 0, "orv_grp", "orv_usr"));
    ASSERT_EQ(0, dplAddUserGroupRequired(block, 4, nullptr, "json_usr"));
    EXPECT_STREQ("orv_usr", dplGetUserName(block, 0));
    EXPECT_STREQ("orv_grp", dplGetGroupName(block, 0));
    EXPECT_EQ(nullptr, dplGetGroupName(block, 4));
    EXPECT_EQ(nullptr, dplGetUserName(block, 2));
    EXPECT_EQ(computer + "\\orv_usr", dplGetAccountName(block));
    EXPECT_EQ(0, dplSetInstallationProperty(block, DPL_P_RUNAS_USER, 0));
    EXPECT_EQ(computer + "\\SYSTEM", dplGetAccountName(block));
    EXPECT_EQ(computer + "\\json_usr", dplGetAccountName_a(block, 4));
    EXPECT_EQ(0, dplSetInstallationProperty(block, DPL_P_RUNAS_LOCAL, 0));
    EXPECT_EQ(domain + "\\json_usr", dplGetAccountName_a(block, 4));
    EXPECT_EQ(nullptr, dplGetAccountName_a(block, 3));
    EXPECT_EQ(DPL_E_NO_ACCOUNT, dplAddUserGroupRequired(block, 5, "g", "u"));
    EXPECT_EQ(0, dplChangeGroupRequired(block, 4, "json_grp"));
    EXPECT_STREQ("json_grp", dplGetGroupName(block, 4));
    EXPECT_EQ(DPL_E_NO_ACCOUNT, dplChangeGroupRequired(block, 1, "g"));
    EXPECT_EQ(DPL_E_STAGE, dplSetPasswd(block, 1, "pw"));
    dplFreeUser(block);
    EXPECT_EQ(nullptr, dplGetUserName(block, 0));
}

TEST_F(UserTest, InitialisationFailures) {
    struct Case {
        const char *fail;
        int32_t rc;
    };
    for (const Case &c : {Case{"user", DPL_E_NO_CREDENTIALS}, Case{"computer", DPL_E_NO_COMPUTER_NAME},
                          Case{"policy", DPL_E_NOT_ADMIN}}) {
        InstallControlBlock *block = open();
        ASSERT_NE(nullptr, block);
        AccountFake os;
        os.fail[c.fail] = 5;
        EXPECT_EQ(c.rc, initDplUser(block)) << c.fail;
        EXPECT_EQ(nullptr, init_API(0, 1, "product", "12.10.FC1")) << c.fail;
    }
}

#ifndef _WIN32
TEST_F(UserTest, NoAdministratorWhereTheStateDirectoryCannotBeMade) {
    // The machine root is a file: nothing can be created below it.
    const std::string file = root.file("not-a-directory");
    write_file(file, "x");
    set_env("DPL_SYSROOT", file.c_str());
    EXPECT_EQ(nullptr, open());
}
#endif

TEST_F(UserTest, DomainMembershipAndPowers) {
    struct Case {
        const char *what;
        bool on_controller;
        bool domain_policy_fails;
        std::string properties;
    };
    for (const Case &c :
         {Case{"controller", true, true, "11101111"}, Case{"member, admin", false, false, "11101101"},
          Case{"member", false, true, "11101001"}}) {
        AccountFake os;
        std::string computer;
        ASSERT_EQ(0u, platform::native().account_computer_name(&computer));
        os.controller = c.on_controller ? "\\\\" + computer : std::string("\\\\DC01");
        if (c.domain_policy_fails) os.fail["domain policy"] = 5;
        InstallControlBlock *block = open();
        ASSERT_NE(nullptr, block) << c.what;
        EXPECT_EQ(c.properties, properties_of(block)) << c.what;
        EXPECT_EQ(os.controller, dplGetDoaminControler(block)) << c.what;
    }
}

}  // namespace
}  // namespace dpl::test
