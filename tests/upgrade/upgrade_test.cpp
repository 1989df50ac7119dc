// Uninstalling an older installation: backups, the uninstaller's command,
// the oldest versions' keys and program group, and restoring the backups
// into the new installation.
#include <filesystem>

#include "discovery/discovery_fixture.hpp"
#include "support/recording_platform.hpp"
#include "upgrade/upgrade_keys.hpp"

namespace dpl::test {
namespace {

const std::string kUninstall = "Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall";
const std::string kHeader = "Windows Registry Editor Version 5.00\r\n\r\n";

// Runs nothing: records the command handed to the command processor.
class CommandRecorder : public RecordingPlatform {
public:
    bool run_command(const std::string &command, uint32_t *exit_status, platform::SysError *error) override {
        commands.push_back(command);
        if (really_run) return RecordingPlatform::run_command(command, exit_status, error);
        *exit_status = 0;
        return true;
    }
    bool remove_directory_tree(const std::string &path, platform::SysError *error) override {
        if (!fail_removal) return RecordingPlatform::remove_directory_tree(path, error);
        *error = platform::SysError{5, 5};
        return false;
    }
    uint32_t reg_delete_tree(platform::RegKey parent, const std::string &subkey,
                             platform::RegView view) override {
        if (fail_removal) return platform::err::kAccessDenied;
        return RecordingPlatform::reg_delete_tree(parent, subkey, view);
    }
    std::vector<std::string> commands;
    bool fail_removal = false;
    bool really_run = false;
};

class Upgrade : public DiscoveryTest {
protected:
    void TearDown() override {
        // Uninstall records live outside the keys the machine fixture clears.
        for (const std::string name : {"DplTestOne", "DplTestTwo", "DplTestBad", "DplTestOld"}) {
            platform::current().reg_delete_tree(platform::kLocalMachine, kUninstall + "\\" + name,
                                                platform::RegView::Bits64);
        }
        DiscoveryTest::TearDown();
    }
    std::string dir(const char *name) const { return (root.path() / name).string(); }
    // An installation of `version` in "old", registered with tag 0, with a
    // security key, two instances and uninstall records.
    void old_installation(const std::string &version, const std::string &display,
                          const std::string &uninstall_string) {
        const std::string dbms = "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Orvandex\\DBMS\\" + version;
        const std::string records = "[HKEY_LOCAL_MACHINE\\" + kUninstall + "\\";
        delete_key("SOFTWARE\\Orvandex");  // an import adds to what the registry holds
        std::string upper = dir("old");
        for (char &c : upper) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
        import_registry(kHeader + dbms + "]\r\n\"Install_Dir\"=" + reg_text(dir("old")) + "\r\n\r\n" + dbms +
                        "\\Security]\r\n\"Group\"=\"Orvandex-Admin\"\r\n\r\n" + dbms +
                        "\\Security\\Accounts]\r\n\"User\"=\"orvandex\"\r\n\r\n" + dbms +
                        "\\Setup]\r\n\"Done\"=\"1\"\r\n\r\n"
                        "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Orvandex\\Online\\ol_a\\Environment]\r\n"
                        "\"ORVANDEXDIR\"=" +
                        reg_text(dir("old")) +
                        "\r\n\r\n"
                        "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Orvandex\\Online\\ol_b]\r\n\"Version\"=\"" +
                        version + "\"\r\n\r\n" + records +
                        "DplTestBad]\r\n\"InstallLocation\"=dword:00000001\r\n"
                        "\"DisplayName\"=" +
                        reg_text(std::string(10000, 'D') + display) + "\r\n" +
                        reg_text(std::string(10000, 'v')) + "=\"x\"\r\n\r\n" + records +
                        "DplTestTwo]\r\n\"DisplayName\"=" + reg_text(display) +
                        "\r\n\"UninstallString\"=\"not this one\"\r\n\r\n" + records +
                        "DplTestOne]\r\n\"InstallLocation\"=" + reg_text(upper) +
                        "\r\n\"DisplayName\"=" + reg_text("Quenlath " + display + " \"64%\"") +
                        "\r\n\"UninstallString\"=" + reg_text(uninstall_string) + "\r\n");
    }
    static void set_string(const std::string &path, const std::string &name, const std::string &text) {
        auto &os = platform::current();
        platform::RegKey key = platform::kNoKey;
        ASSERT_EQ(0u, os.reg_create_key(platform::kLocalMachine, path, platform::RegView::Default, &key));
        ASSERT_EQ(0u, os.reg_set_value(key, name, platform::RegValue{platform::regtype::kSz, text + '\0'}));
        os.reg_close_key(key);
    }
    static void delete_key(const std::string &path) {
        platform::current().reg_delete_tree(platform::kLocalMachine, path, platform::RegView::Default);
    }
    CommandRecorder os;
};

TEST(UpgradeKeys, DisplayTextsAndSecurityKeys) {
    const struct {
        int32_t major, minor, tag;
        const char *display, *security;
    } cases[] = {
        {11, 70, 0, "Talix 11.70", "SOFTWARE\\Orvandex\\DBMS\\11.70\\Security"},
        {10, 0, 0, "Orvandex Dynamic Server 10.0", "SOFTWARE\\Orvandex\\DBMS\\10.00\\Security"},
        {9, 40, 2, "Orvandex Dynamic Server 9.40", "SOFTWARE\\Orvandex\\DBMS\\9.40\\Security2"},
        {11, 50, 123456, "Talix Server 11.50", "SOFTWARE\\Orvandex\\DBMS\\11.50\\Security1234"},
        {12, 10, 3, "Talix Server 12.10", "SOFTWARE\\Orvandex\\DBMS\\12.10\\Security3"},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(c.display, upgrade::display_text(c.major, c.minor));
        EXPECT_EQ(c.security, upgrade::security_key(c.major, c.minor, c.tag));
    }
}

TEST_F(Upgrade, From1150ThroughItsUninstallerInto1210) {
    os.commands.clear();
    const std::string args_file = root.file("uninstall-args.txt");
    set_env("DPL_TEST_UNINSTALL_ARGS", args_file.c_str());
    const std::string uninstaller = "\"" + child_program() + "\" uninstall";
    old_installation("11.50", "Talix Server 11.50", uninstaller);
    open();
    os.really_run = true;
    EXPECT_EQ(0, dplUpgradeUninstallProd(block, 0, dir("old").c_str(), dir("setup").c_str()));
    EXPECT_EQ("\nnumTag: 0", os.standard_output);
    set_env("DPL_TEST_UNINSTALL_ARGS", nullptr);
    const std::string command = uninstaller + " -s -f1\"" + dir("setup") + "\\1150uninst.ini\"";
    EXPECT_EQ(std::vector<std::string>{command}, os.commands);
    EXPECT_EQ("uninstall\n-s\n-f1" + dir("setup") + "\\1150uninst.ini\n", read_file(args_file));
    EXPECT_EQ("Installed Version: 11.50\nUninstall command: " + command +
                  "\nInstalled Version: 11.50\nUninstall command exit status: 3\n",
              take_log());
    EXPECT_EQ("Group=Orvandex-Admin\n", values_of("SOFTWARE\\Orvandex\\Upg_Sec_bak"));
    EXPECT_EQ("User=orvandex\n", values_of("SOFTWARE\\Orvandex\\Upg_Sec_bak\\Accounts"));
    EXPECT_EQ("ol_a\nol_b\n", subkeys_of("SOFTWARE\\Orvandex\\online_bak"));

    // What the uninstaller takes away, and the new installation as tag 3.
    delete_key("SOFTWARE\\Orvandex\\DBMS\\11.50");
    delete_key("SOFTWARE\\Orvandex\\Online\\ol_b");
    set_string("SOFTWARE\\Orvandex\\DBMS\\12.10", "Install_Dir3", dir("new"));
    set_string("SOFTWARE\\Orvandex\\Online\\ol_a", "Version", "11.50");
    close_block();
    open("12.10.FC1", DPL_MODE_MAINTENANCE);
    for (int round = 0; round < 2; ++round) {  // the second finds no backups
        EXPECT_EQ(0, dplRestoreSecKey(block, dir("new").c_str()));
        EXPECT_EQ(0, dplUpdateInstanceKeys(block));
        EXPECT_EQ("Group=Orvandex-Admin\n", values_of("SOFTWARE\\Orvandex\\DBMS\\12.10\\Security3"));
        EXPECT_EQ("User=orvandex\n", values_of("SOFTWARE\\Orvandex\\DBMS\\12.10\\Security3\\Accounts"));
        EXPECT_EQ("ol_a\nol_b\n", subkeys_of("SOFTWARE\\Orvandex\\Online"));
        EXPECT_EQ("Version=12.10.FC1\n", values_of("SOFTWARE\\Orvandex\\Online\\ol_a"));
        EXPECT_EQ("Version=12.10.FC1\n", values_of("SOFTWARE\\Orvandex\\Online\\ol_b"));
        EXPECT_EQ("ORVANDEXDIR=" + dir("old") + "\n",
                  values_of("SOFTWARE\\Orvandex\\Online\\ol_a\\Environment"));
        EXPECT_EQ("<missing>", values_of("SOFTWARE\\Orvandex\\Upg_Sec_bak"));
        EXPECT_EQ("<missing>", values_of("SOFTWARE\\Orvandex\\online_bak"));
    }
    EXPECT_EQ("", take_log());
}

TEST_F(Upgrade, QuotesAndPercentReachTheCommandProcessorExactly) {
    const struct {
        const char *version, *answer_file;
    } cases[] = {{"11.10", "1110uninst.ini"}, {"11.50", "1150uninst.ini"}};
    const std::string uninstaller = "\"C:\\Program Files\\Talix %s %n\\un.exe\" -x \"%d%%\" %PATH%";
    const std::string setup = "D:\\set%s \"up\"%n";
    for (const auto &c : cases) {
        old_installation(c.version, std::string("Talix Server ") + c.version, uninstaller);
        open(c.version);
        os.commands.clear();
        os.standard_output.clear();
        EXPECT_EQ(0, dplUpgradeUninstallProd(block, 0, dir("old").c_str(), setup.c_str()));
        const std::string command = uninstaller + " -s -f1\"" + setup + "\\" + c.answer_file + "\"";
        EXPECT_EQ(std::vector<std::string>{command}, os.commands);
        EXPECT_EQ("\nnumTag: 0", os.standard_output);
        EXPECT_EQ(std::string("Installed Version: ") + c.version + "\nUninstall command: " + command +
                      "\nInstalled Version: " + c.version + "\nUninstall command exit status: 0\n",
                  take_log());
        close_block();
    }
}

TEST_F(Upgrade, VersionsWithoutUninstallStep) {
    const struct {
        const char *version;
        int32_t kind, rc;
        const char *log;
    } cases[] = {
        {"11.70", 0, 0, "Installed Version: 11.70\n"},
        {"12.10", 0, 0, "Installed Version: 12.10\n"},
        {"11.10", 0, DPL_E_NO_UNINSTALL, "Installed Version: 11.10\n"},
        {"11.50", 7, DPL_E_VERSION_UNKNOWN,
         "Unable to acquire installed version\nUnable to acquire installed version of product\n"},
    };
    for (const auto &c : cases) {
        old_installation(c.version, "Talix Server 12.99", "un.exe");  // no record names these versions
        open();
        os.commands.clear();
        EXPECT_EQ(c.rc, dplUpgradeUninstallProd(block, c.kind, dir("old").c_str(), "S")) << c.version;
        EXPECT_EQ(c.log, take_log());
        EXPECT_TRUE(os.commands.empty());
        EXPECT_EQ("<missing>", values_of("SOFTWARE\\Orvandex\\Upg_Sec_bak"));
        close_block();
    }
    open();
    InstallControlBlock foreign{};
    foreign.magic = 1;
    EXPECT_EQ(DPL_E_BAD_CONTEXT, dplUpgradeUninstallProd(&foreign, 0, "C:\\x", "S"));
    EXPECT_EQ(DPL_E_BAD_CONTEXT, dplRestoreSecKey(&foreign, "C:\\x"));
    EXPECT_EQ(DPL_E_BAD_CONTEXT, dplUpdateInstanceKeys(nullptr));
    EXPECT_EQ(DPL_E_NULL_ARGUMENT, dplRestoreSecKey(block, ""));
    EXPECT_EQ(DPL_E_NULL_ARGUMENT, dplRemoveNQR10OlderRegKeys(block, nullptr, 10, 0));
    EXPECT_EQ(DPL_E_BAD_CONTEXT, dplRemoveNQR10OlderShortcutGroup(&foreign, "C:\\x", 10, 0));
}

TEST_F(Upgrade, OldestVersionKeysAndProgramGroupRemovedHere) {
    const std::string group = *platform::current().common_programs_folder() +
                              platform::current().path_separator() + "Orvandex Dynamic Server 10.0";
    for (const bool failing : {false, true}) {
        old_installation("10.00", "Orvandex Dynamic Server 10.0", "un.exe");
        std::filesystem::create_directories(group + "/Tools");
        write_file(group + "/Tools/Server.lnk", "link");
        open("10.00.TC5");
        os.standard_output.clear();
        os.fail_removal = failing;
        EXPECT_EQ(failing ? -1 : 0, dplUpgradeUninstallProd(block, 0, dir("old").c_str(), "S"));
        os.fail_removal = false;
        EXPECT_EQ("\nnumTag: 0", os.standard_output);
        EXPECT_EQ("Group=Orvandex-Admin\n", values_of("SOFTWARE\\Orvandex\\Upg_Sec_bak"));
        if (failing) {
            EXPECT_EQ(
                "Installed Version: 10.00\nInstalled Version: 10.00\n"
                "dplRemoveNQR10OlderShortcutGroup: Could not Remove Shortcut Folder " +
                    group +
                    ".\n"
                    "dplUpgradeUninstallProd: Unable to remove the old shortct group.\n"
                    "dplRemoveNQR10OlderRegKeys: Unable to remove uninstall key\n"
                    "dplRemoveNQR10OlderRegKeys: Unable to remove setup key\n"
                    "dplRemoveNQR10OlderRegKeys: Unable to remove security key\n",
                take_log());
            EXPECT_TRUE(std::filesystem::exists(group + "/Tools/Server.lnk"));
            EXPECT_EQ("Done=1\n", values_of("SOFTWARE\\Orvandex\\DBMS\\10.00\\Setup"));
        } else {
            EXPECT_EQ("Installed Version: 10.00\nInstalled Version: 10.00\n", take_log());
            EXPECT_FALSE(std::filesystem::exists(group));
            EXPECT_EQ("", subkeys_of("SOFTWARE\\Orvandex\\DBMS\\10.00"));
            EXPECT_EQ("<missing>", values_of(kUninstall + "\\DplTestOne"));
            // Nothing left is no failure.
            EXPECT_EQ(0, dplRemoveNQR10OlderRegKeys(block, dir("old").c_str(), 10, 0));
            EXPECT_EQ(0, dplRemoveNQR10OlderShortcutGroup(block, dir("old").c_str(), 10, 0));
        }
        std::filesystem::remove_all(group);
        close_block();
    }
}

}  // namespace
}  // namespace dpl::test
