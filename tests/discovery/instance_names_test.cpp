// The instances registered on a machine, whichever installation they
// belong to and whatever their keys hold.
#include "discovery/discovery_fixture.hpp"

namespace dpl::test {
namespace {

using InstanceNames = DiscoveryTest;

std::string listed(char **names, int32_t count) {
    std::string text;
    for (int32_t i = 0; i < count; ++i) text.append(names[i]).append("|");
    return text;
}

TEST_F(InstanceNames, EveryRegisteredInstanceOfBothInstallations) {
    const std::string online = "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Orvandex\\Online\\";
    import_registry("Windows Registry Editor Version 5.00\r\n\r\n" + online +
                    "ol_a\\Environment]\r\n\"ORVANDEXDIR\"=\"C:\\\\One\"\r\n\r\n" + online +
                    "ol_b\\Environment]\r\n\"ORVANDEXDIR\"=\"C:\\\\Two\"\r\n\r\n" + online +
                    "ol_c\\Environment]\r\n\"ORVANDEXDIR\"=\"c:\\\\two\"\r\n\r\n" + online +
                    "ol_d\\Environment]\r\n\"ORVANDEXDIR\"=dword:00000007\r\n\r\n" + online +
                    "ol_e]\r\n\"Version\"=\"12.10.FC1\"\r\n");
    open();
    int32_t count = -1;
    char **names = get_instance_names(block, &count);
    ASSERT_EQ(5, count);
    EXPECT_EQ("ol_a|ol_b|ol_c|ol_d|ol_e|", listed(names, count));
    dplFreeNameList(names, count);
    EXPECT_EQ(
        "Getting NQR service names...\n"
        "Unable to get value of ORVANDEXDIR from ol_d\n"
        "\nUnable to open Environment registry key\n"
        "Unable to get value of ORVANDEXDIR from ol_e\n",
        take_log());
}

TEST_F(InstanceNames, NoOnlineKeyGivesNoList) {
    open();
    int32_t count = -1;
    EXPECT_EQ(nullptr, get_instance_names(block, &count));
    EXPECT_EQ(0, count);
    EXPECT_EQ(nullptr, get_instance_names(block, nullptr));
    EXPECT_EQ(
        "Getting NQR service names...\n"
        "Error: Cannot open registry key: SOFTWARE\\Orvandex\\Online registry key\n"
        "Getting NQR service names...\n"
        "Error: Cannot open registry key: SOFTWARE\\Orvandex\\Online registry key\n",
        take_log());
}

}  // namespace
}  // namespace dpl::test
