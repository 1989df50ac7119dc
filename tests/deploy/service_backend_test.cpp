// The real service manager of each build: a created service is its key under
// SYSTEM\CurrentControlSet\Services (natively in the machine's registry
// store, under Wine in the prefix's registry, written by Wine's own service
// manager) until it is deleted; natively, stopping follows the state kept in
// that key.
#include <map>
#include <string>
#include <tuple>

#include "deploy/deploy_fixture.hpp"
#include "platform/platform.hpp"

namespace dpl::test {
namespace {

constexpr const char *kName = "DplTestSvc";
constexpr const char *kListener = "DplTestSvc_json";
const std::string kServices = "SYSTEM\\CurrentControlSet\\Services\\";

class ServiceBackend : public DeployTest {
protected:
    void TearDown() override {
        dplWinServiceDelete(block, kName);
        dplWinServiceDelete(block, kListener);
        DeployTest::TearDown();
    }

    // The values of a service's key by name, numbers as 0x...
    static std::map<std::string, std::string> key_values(const std::string &service = kName) {
        std::map<std::string, std::string> values;
        for (const std::string &line : lines_of(values_of(kServices + service)))
            values[line.substr(0, line.find('='))] = line.substr(line.find('=') + 1);
        return values;
    }
};

TEST_F(ServiceBackend, ACreatedServiceIsItsKeyUntilDeleted) {
    ASSERT_EQ(0, dplWinServiceCreate(block, kName, "Orvandex NQR - dpltest", "the server",
                                     "C:\\inst\\bin\\onscpah x", ".\\orvandex", "Secret#1"));
    auto values = key_values();
    const std::map<std::string, std::string> expected{{"Type", "0x10"},
                                                      {"Start", "0x2"},
                                                      {"ErrorControl", "0x1"},
                                                      {"ImagePath", "C:\\inst\\bin\\onscpah x"},
                                                      {"DisplayName", "Orvandex NQR - dpltest"},
                                                      {"ObjectName", ".\\orvandex"},
                                                      {"Description", "the server"}};
    for (const auto &[name, text] : expected) EXPECT_EQ(text, values[name]) << name;
#ifndef _WIN32
    EXPECT_EQ(expected, values);  // nothing else: no password in any form
    EXPECT_EQ(std::string::npos, read_file(root.file("var/lib/dpl/registry.reg")).find("Secret#1"));
#endif
    EXPECT_EQ(std::string::npos, read_file(debug_path).find("Secret#1"));
    EXPECT_EQ(1, dplServicesTestName(block, kName, nullptr));
    EXPECT_EQ(-966, dplWinServiceCreate(block, kName, "", "", "x", nullptr, nullptr));

    forget_messages();
    EXPECT_EQ(0, dplStopInstance(block, kName));
    EXPECT_EQ((Texts{"Stopping service (DplTestSvc)...", "Service not active: DplTestSvc"}), messages());

    EXPECT_EQ(0, dplWinServiceDelete(block, kName));
    EXPECT_EQ("<missing>", values_of(kServices + kName));
    EXPECT_EQ(0, dplServicesTestName(block, kName, nullptr));
    EXPECT_EQ(-966, dplWinServiceDelete(block, kName));
    forget_messages();
    EXPECT_EQ(0, dplStopInstance(block, kName));
    EXPECT_EQ((Texts{"Stopping service (DplTestSvc)...",
                     "Stopping service. Service not present in SCMD: DplTestSvc"}),
              messages());

    // Without an account the service runs as the system.
    ASSERT_EQ(0, dplWinServiceCreate(block, kName, "", "", "prog", nullptr, nullptr));
    values = key_values();
    EXPECT_EQ("LocalSystem", values["ObjectName"]);
    EXPECT_EQ(0u, values.count("Description"));
}

TEST_F(ServiceBackend, TheListenerFlagAddsTheListenersService) {
    ASSERT_EQ(0, dplSetEnvironment(block, "ORVANDEXSERVER", kName));
    ASSERT_EQ(0, dplSetEnvironment(block, "ORVANDEXDIR", "C:\\inst"));
    ASSERT_EQ(0, dplSetInstallationProperty(block, DPL_P_RUNAS_USER, 0));
    ASSERT_EQ(0, dplAddUserGroupRequired(block, DPL_ACCOUNT_PRODUCT_USER, "orvandex", "orvandex"));
    ASSERT_EQ(0, dplAddUserGroupRequired(block, DPL_ACCOUNT_JSON_LISTENER, "orvandex", "dpltestjson"));
    ASSERT_EQ(0, dplSetPasswd(block, DPL_ACCOUNT_JSON_LISTENER, "Listener#1"));
    const std::string bin = std::string("C:\\inst") + platform::current().path_separator() + "bin" +
                            platform::current().path_separator();
    const std::string listener_account = dplGetAccountName_a(block, DPL_ACCOUNT_JSON_LISTENER);
    for (const bool json : {false, true}) {
        ASSERT_EQ(0, json ? dplSetInstallModeNoSQL(block) : dplUnSetInstallModeNoSQL(block));
        ASSERT_EQ(0, dplDeployWindowsService(block)) << json;
        for (const auto &[service, display, image, account] :
             {std::tuple{kName, "Orvandex NQR - DplTestSvc", bin + "onscpah DplTestSvc",
                         std::string("LocalSystem")},
              std::tuple{kListener, "Talix JSON listener - DplTestSvc_json", bin + "jsonlsn DplTestSvc_json",
                         listener_account}}) {
            if (!json && std::string(service) == kListener) {
                EXPECT_EQ("<missing>", values_of(kServices + service));
                continue;
            }
            auto values = key_values(service);
            EXPECT_EQ(display, values["DisplayName"]) << service;
            EXPECT_EQ(image, values["ImagePath"]) << service;
            EXPECT_EQ(account, values["ObjectName"]) << service;
        }
        ASSERT_EQ(0, dplWinServiceDelete(block, kName));
        dplWinServiceDelete(block, kListener);
    }
}

#ifndef _WIN32
TEST_F(ServiceBackend, StoppingFollowsTheStateKeptInTheKey) {
    const struct {
        uint32_t state, stop_polls;
        int32_t rc;
        uint32_t slept_ms;
        Texts said;  // after "Stopping service (DplTestSvc)..."
    } cases[] = {
        {1, 0, 0, 0, {"Service not active: DplTestSvc"}},
        {4, 0, 0, 0, {}},
        {4, 2, 0, 10000, {}},
        {4, 0xFFFFFFFF, -1, 180000, {"Error: Time-out stopping service in 180 secs.: DplTestSvc"}},
        {3, 0, -1, 0, {"Error: Ensure that DplTestSvc service is stopped and try again"}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(std::to_string(c.state) + " " + std::to_string(c.stop_polls));
        ASSERT_EQ(0, dplWinServiceCreate(block, kName, "", "", "prog", nullptr, nullptr));
        set_dword(kServices + kName, "DplState", c.state);
        set_dword(kServices + kName, "DplStopPolls", c.stop_polls);
        os.slept_ms = 0;
        forget_messages();
        Texts said{"Stopping service (DplTestSvc)..."};
        said.insert(said.end(), c.said.begin(), c.said.end());
        EXPECT_EQ(c.rc, dplStopInstance(block, kName));
        EXPECT_EQ(said, messages());
        EXPECT_EQ(c.slept_ms, os.slept_ms);
        if (c.rc == 0) {
            EXPECT_EQ("0x1", key_values()["DplState"]);
        }
        ASSERT_EQ(0, dplWinServiceDelete(block, kName));
    }
}
#endif

}  // namespace
}  // namespace dpl::test
