// The real service manager of each build: a created service is its key under
// SYSTEM\CurrentControlSet\Services (natively in the machine's registry
// store, under Wine in the prefix's registry, written by Wine's own service
// manager) until it is deleted; natively, stopping follows the state kept in
// that key.
#include <cstdio>
#include <map>
#include <string>
#include <tuple>

#include "deploy/deploy_fixture.hpp"
#include "platform/platform.hpp"

namespace dpl::test {
namespace {

constexpr const char *kName = "DplTestSvc";
constexpr const char *kListener = "DplTestSvc_json";
const std::string kKey = std::string("SYSTEM\\CurrentControlSet\\Services\\") + kName;

class ServiceBackend : public DeployTest {
protected:
    void TearDown() override {
        dplWinServiceDelete(block, kName);
        dplWinServiceDelete(block, kListener);
        DeployTest::TearDown();
    }

    // The values of a service's key: numbers as 0x..., texts as they are.
    static std::map<std::string, std::string> key_values(const std::string &service = kName) {
        std::map<std::string, std::string> values;
        auto &machine = platform::current();
        platform::RegKey key = platform::kNoKey;
        if (machine.reg_open_key(platform::kLocalMachine, "SYSTEM\\CurrentControlSet\\Services\\" + service,
                                 platform::RegView::Default, &key) != 0)
            return values;
        std::string name;
        platform::RegValue value;
        for (uint32_t index = 0; machine.reg_enum_value(key, index, &name, &value) == 0; ++index) {
            std::string text = value.data;
            if (value.type == platform::regtype::kDword && text.size() == 4) {
                uint32_t number = 0;
                for (int at = 3; at >= 0; --at) number = (number << 8) | static_cast<unsigned char>(text[at]);
                char hex[16];
                std::snprintf(hex, sizeof hex, "0x%x", static_cast<unsigned>(number));
                text = hex;
            } else if (!text.empty() && text.back() == '\0') {
                text.pop_back();
            }
            values[name] = text;
        }
        machine.reg_close_key(key);
        return values;
    }

    static void set_dword(const char *name, uint32_t number) {
        auto &machine = platform::current();
        platform::RegKey key = platform::kNoKey;
        ASSERT_EQ(0u, machine.reg_open_key(platform::kLocalMachine, kKey, platform::RegView::Default, &key));
        const std::string data{static_cast<char>(number & 0xFF), static_cast<char>((number >> 8) & 0xFF),
                               static_cast<char>((number >> 16) & 0xFF), static_cast<char>(number >> 24)};
        EXPECT_EQ(0u, machine.reg_set_value(key, name, platform::RegValue{platform::regtype::kDword, data}));
        machine.reg_close_key(key);
    }
};

TEST_F(ServiceBackend, ACreatedServiceIsItsKeyUntilDeleted) {
    ASSERT_EQ(0, dplWinServiceCreate(block, kName, "Orvandex NQR - dpltest", "the server",
                                     "C:\\inst\\bin\\onscpah x", ".\\orvandex", "Secret#1"));
    const auto values = key_values();
    const std::map<std::string, std::string> expected{{"Type", "0x10"},
                                                      {"Start", "0x2"},
                                                      {"ErrorControl", "0x1"},
                                                      {"ImagePath", "C:\\inst\\bin\\onscpah x"},
                                                      {"DisplayName", "Orvandex NQR - dpltest"},
                                                      {"ObjectName", ".\\orvandex"},
                                                      {"Description", "the server"}};
    for (const auto &[name, text] : expected)
        EXPECT_EQ(text, values.count(name) ? values.at(name) : "<none>") << name;
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
    EXPECT_TRUE(key_values().empty());
    EXPECT_EQ(0, dplServicesTestName(block, kName, nullptr));
    EXPECT_EQ(-966, dplWinServiceDelete(block, kName));
    forget_messages();
    EXPECT_EQ(0, dplStopInstance(block, kName));
    EXPECT_EQ((Texts{"Stopping service (DplTestSvc)...",
                     "Stopping service. Service not present in SCMD: DplTestSvc"}),
              messages());
}

TEST_F(ServiceBackend, WithoutAnAccountTheServiceRunsAsTheSystem) {
    ASSERT_EQ(0, dplWinServiceCreate(block, kName, "", "", "prog", nullptr, nullptr));
    const auto values = key_values();
    EXPECT_EQ("LocalSystem", values.count("ObjectName") ? values.at("ObjectName") : "<none>");
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
            const auto values = key_values(service);
            if (!json && std::string(service) == kListener) {
                EXPECT_TRUE(values.empty());
                continue;
            }
            EXPECT_EQ(display, values.count("DisplayName") ? values.at("DisplayName") : "<none>") << service;
            EXPECT_EQ(image, values.count("ImagePath") ? values.at("ImagePath") : "<none>") << service;
            EXPECT_EQ(account, values.count("ObjectName") ? values.at("ObjectName") : "<none>") << service;
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
        ASSERT_EQ(0, dplWinServiceCreate(block, kName, "", "", "prog", nullptr, nullptr));
        set_dword("DplState", c.state);
        set_dword("DplStopPolls", c.stop_polls);
        os.slept_ms = 0;
        forget_messages();
        Texts said{"Stopping service (DplTestSvc)..."};
        said.insert(said.end(), c.said.begin(), c.said.end());
        EXPECT_EQ(c.rc, dplStopInstance(block, kName)) << c.state << " " << c.stop_polls;
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
