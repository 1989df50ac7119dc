// Accounts, groups, memberships and rights as the machine keeps them, and
// passwords checked by a logon.
#include <cstring>

#include "support/test_support.hpp"
#include "user/user_fixture.hpp"

namespace dpl::test {
namespace {

constexpr const char *kPassword = "Qx7!vR2#mK9p";

TEST_F(UserTest, GeneratedPasswordsUseTheAlphabetOnly) {
    const std::string alphabet = "1234567890abcdefghijklmnopqrstuvwxyz!@#$%^&>()ABCDEFGHIJKLMNOPQRSTUVWXYZ";
    for (const uint32_t length : {1u, 2u, 33u, 300u}) {
        std::string first(length, 'x');
        std::string second(length, 'x');
        ASSERT_EQ(0, dplGeneratePassword(first.data(), length));
        ASSERT_EQ(0, dplGeneratePassword(second.data(), length));
        EXPECT_EQ(length - 1, std::strlen(first.c_str()));
        first.resize(length - 1);
        EXPECT_EQ(std::string::npos, first.find_first_not_of(alphabet));
        if (length > 8) {
            EXPECT_STRNE(first.c_str(), second.c_str());
        }
    }
    EXPECT_EQ(DPL_E_NULL_ARGUMENT, dplGeneratePassword(nullptr, 8));
    char one = 'x';
    EXPECT_EQ(DPL_E_NULL_ARGUMENT, dplGeneratePassword(&one, 0));
    // Bytes 216 to 255 would favour the first 40 characters: they are drawn again.
    AccountFake os;
    os.random_bytes = std::string("\xD8\xFF\x00\x47\xD7\x24", 6);
    char made[5] = {};
    ASSERT_EQ(0, dplGeneratePassword(made, sizeof made));
    EXPECT_STREQ("1ZZ!", made);
}

#ifndef _WIN32
// The values of a key of the machine's store as "NAME=data" lines: numbers
// in decimal, multi-strings joined with ",".
std::string store_values(const std::string &path) {
    auto &os = platform::current();
    platform::RegKey key = platform::kNoKey;
    if (os.reg_open_key(platform::kLocalMachine, path, platform::RegView::Default, &key) != 0)
        return "<missing>";
    std::string text;
    std::string name;
    platform::RegValue value;
    for (uint32_t index = 0; os.reg_enum_value(key, index, &name, &value) == 0; ++index) {
        std::string data;
        if (value.type == platform::regtype::kDword) {
            uint32_t number = 0;
            std::memcpy(&number, value.data.data(), sizeof number);
            data = std::to_string(number);
        } else {
            for (char c : value.data.substr(0, value.data.find(std::string(2, '\0'))))
                data += c == '\0' ? ',' : c;
            if (!data.empty() && data.back() == ',') data.pop_back();
        }
        text.append(name).append("=").append(data).append("\n");
    }
    os.reg_close_key(key);
    return text;
}

TEST_F(UserTest, DeployingCreatesGroupsUsersMembershipsAndRights) {
    // Everything is traced, so that the check below sees any password written.
    const std::string log = root.file("install.log");
    set_env("INSTALL_LOG", log.c_str());
    InstallControlBlock *block = open(DPL_MODE_NO_SQL);
    ASSERT_NE(nullptr, block);
    const std::string host = dplGetComputerName(block);
    const std::string me = dplGetInstallingUser(block);
    ASSERT_EQ(0, dplAddUserGroupRequired(block, 0, "orv_admin", "orv_srv"));
    ASSERT_EQ(0, dplAddUserGroupRequired(block, 2, "orv_dbsso", "orv_sso"));  // role separation is off
    ASSERT_EQ(0, dplAddUserGroupRequired(block, 4, "orv_json", "orv_listener"));
    EXPECT_EQ(0, dplGetUserProperty(block, 0, DPL_P_USER_EXISTS));
    // A new account takes its password without a logon.
    ASSERT_EQ(0, dplSetPasswd(block, 0, kPassword));
    ASSERT_EQ(0, dplDeployQvmxCredentials(block));

    EXPECT_EQ("orv_admin\norv_json\n", subkeys_of("SAM\\Groups"));
    EXPECT_EQ("orv_listener\norv_srv\n", subkeys_of("SAM\\Users"));
    EXPECT_EQ(
        "Comment=Orvandex Group Created by DPL\nMembers=" + host + "\\" + me + "," + host + "\\orv_srv\n",
        store_values("SAM\\Groups\\orv_admin"));
    const std::string user = store_values("SAM\\Users\\orv_srv");
    EXPECT_EQ(0u, user.find("Comment=Orvandex User Created by DPL\nFlags=512\nPrivilege=1\nPasswordHash=$"));
    EXPECT_EQ(std::string::npos, user.find(kPassword));
    EXPECT_EQ(
        "SeTcbPrivilege=1\nSeIncreaseQuotaPrivilege=1\nSeAssignPrimaryTokenPrivilege=1\nSeDebugPrivilege=1\n"
        "SeSecurityPrivilege=1\nSeCreateGlobalPrivilege=1\nSeChangeNotifyPrivilege=1\nSeServiceLogonRight="
        "1\n",
        store_values("SECURITY\\Rights\\orv_srv"));
    EXPECT_EQ("SeServiceLogonRight=1\n", store_values("SECURITY\\Rights\\orv_listener"));

    // What exists is found, and deploying again is no failure.
    ASSERT_EQ(0, dplAddUserGroupRequired(block, 0, "orv_admin", "orv_srv"));
    EXPECT_EQ(1, dplGetUserProperty(block, 0, DPL_P_USER_EXISTS));
    EXPECT_EQ(1, dplGetUserProperty(block, 0, DPL_P_GROUP_EXISTS));
    EXPECT_EQ(0, dplGetUserProperty(block, 0, DPL_P_DOMAIN_USER_EXISTS));
    EXPECT_EQ(0, dplDeployQvmxCredentials(block));
    EXPECT_EQ(
        "Comment=Orvandex Group Created by DPL\nMembers=" + host + "\\" + me + "," + host + "\\orv_srv\n",
        store_values("SAM\\Groups\\orv_admin"));

    // An existing account's password is checked by a logon before it is kept.
    EXPECT_EQ(DPL_E_LOGON, dplSetPasswd(block, 0, "not-the-password"));
    EXPECT_EQ(0, dplSetPasswd(block, 0, kPassword));
    EXPECT_EQ(0u, platform::current().account_logon(host, "orv_srv", kPassword));
    EXPECT_EQ(platform::err::kLogonFailure, platform::current().account_logon("OTHER", "orv_srv", kPassword));
    // The listener got a password nobody chose.
    ASSERT_EQ(0, dplAddUserGroupRequired(block, 4, "orv_json", "orv_listener"));
    EXPECT_EQ(DPL_E_LOGON, dplSetPasswd(block, 4, kPassword));
    const std::string traces = read_file(log) + read_file(log + ".debug");
    EXPECT_NE(std::string::npos, traces.find("Attempting to logon as " + host + "\\orv_srv\n"));
    EXPECT_EQ(std::string::npos, traces.find(kPassword));
    EXPECT_EQ(std::string::npos, traces.find("not-the-password"));

    // A capture-only deployment removes users, groups and rights.
    InstallControlBlock *capture = open(DPL_MODE_MAINTENANCE | DPL_MODE_NO_SQL);
    ASSERT_NE(nullptr, capture);
    EXPECT_EQ(0, dplDeployQvmxCredentials(capture));  // credentials are off: nothing happens
    EXPECT_EQ("orv_listener\norv_srv\n", subkeys_of("SAM\\Users"));
    ASSERT_EQ(0, dplSetInstallationProperty(capture, DPL_P_CHANGE_USER_CRED, 1));
    ASSERT_EQ(0, dplAddUserGroupRequired(capture, 0, "orv_admin", "orv_srv"));
    ASSERT_EQ(0, dplAddUserGroupRequired(capture, 4, "orv_json", "orv_listener"));
    EXPECT_EQ(0, dplDeployQvmxCredentials(capture));
    EXPECT_EQ("", subkeys_of("SAM\\Users"));
    EXPECT_EQ("", subkeys_of("SAM\\Groups"));
    EXPECT_EQ("", subkeys_of("SECURITY\\Rights"));
    // Nothing left to remove: the group step's failure is the result.
    EXPECT_EQ(DPL_E_ACCOUNT_NOT_MADE, dplDeployQvmxCredentials(capture));
}

TEST_F(UserTest, LookupsClassifyTheirFailures) {
    InstallControlBlock *block = open();
    ASSERT_NE(nullptr, block);
    struct Case {
        uint32_t error;
        int32_t rc;
    };
    for (const Case &c :
         {Case{5, DPL_E_DOMAIN_ACCOUNTS}, Case{53, DPL_E_DOMAIN_ACCOUNTS}, Case{2351, DPL_E_DOMAIN_ACCOUNTS},
          Case{2220, 0}, Case{1234, DPL_E_ACCOUNT_UNDEFINED}}) {
        AccountFake os;
        os.fail["find group"] = c.error;
        EXPECT_EQ(c.rc, dplAddUserGroupRequired(block, 0, "g", "u")) << c.error;
        EXPECT_EQ(c.rc, dplChangeGroupRequired(block, 0, "g")) << c.error;
        EXPECT_EQ(0, dplGetUserProperty(block, 0, DPL_P_GROUP_EXISTS));
    }
    // A domain administrator's lookups go to the domain, where there is none.
    EXPECT_EQ(0, dplSetInstallationProperty(block, DPL_P_DOMAIN_ADMIN, 1));
    EXPECT_EQ(DPL_E_DOMAIN_ACCOUNTS, dplAddUserGroupRequired(block, 0, "g", "u"));
}

TEST_F(UserTest, FailedStepsOfACaptureOnlyDeployment) {
    InstallControlBlock *block = open(DPL_MODE_MAINTENANCE);
    ASSERT_NE(nullptr, block);
    ASSERT_EQ(0, dplSetInstallationProperty(block, DPL_P_CHANGE_USER_CRED, 1));
    EXPECT_EQ(DPL_E_NO_ACCOUNT, dplDeployQvmxCredentials(block));
    ASSERT_EQ(0, dplAddUserGroupRequired(block, 0, "g", "u"));
    AccountFake os;
    os.fail["delete group"] = 5;
    EXPECT_EQ(DPL_E_ACCOUNT_NOT_MADE, dplDeployQvmxCredentials(block));
}
#endif

}  // namespace
}  // namespace dpl::test
