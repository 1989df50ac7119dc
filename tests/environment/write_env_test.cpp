// The command files, the registry environment and the security key of an
// instance.
#include <algorithm>
#include <string>
#include <vector>

#include "environment/environment_fixture.hpp"
#include "support/installed_platform.hpp"

namespace dpl::test {
namespace {

const char kProductSecurity[] =
    "Windows Registry Editor Version 5.00\r\n\r\n"
    "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Orvandex\\DBMS\\12.10]\r\n"
    "\"Install_Dir\"=\"C:\\\\First\"\r\n"
    "\"Install_Dir2\"=\"C:\\\\Third\"\r\n\r\n"
    "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Orvandex\\DBMS\\12.10\\Security]\r\n"
    "\"Owner\"=\"tag zero\"\r\n\r\n"
    "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Orvandex\\DBMS\\12.10\\Security3]\r\n"
    "\"Owner\"=\"tag three\"\r\n"
    "\"Mode\"=dword:00000007\r\n\r\n"
    "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Orvandex\\DBMS\\12.10\\Security3\\Users]\r\n"
    "\"Admin\"=\"orvandex\"\r\n\r\n"
    "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Orvandex\\DBMS\\12.10\\Security3\\Users\\Extra]\r\n"
    "\"Deep\"=\"yes\"\r\n";

const std::string kInstanceKey = "SOFTWARE\\Orvandex\\OnLine\\ol_test";
const std::string kEnvironmentKey = "SOFTWARE\\Orvandex\\Online\\ol_test\\Environment";

// Listing order differs between the registry implementations.
std::string sorted(const std::string &lines) {
    std::vector<std::string> all = lines_of(lines);
    std::sort(all.begin(), all.end());
    std::string text;
    for (const std::string &line : all) text += line + "\n";
    return text;
}

// A value as the platform reads it; type kNone when it is missing.
platform::RegValue value_at(const std::string &path, const std::string &name) {
    auto &os = platform::current();
    platform::RegKey key = platform::kNoKey;
    platform::RegValue value;
    if (os.reg_open_key(platform::kLocalMachine, path, platform::RegView::Default, &key) != 0) return value;
    if (os.reg_query_value(key, name, &value) != 0) value = platform::RegValue{};
    os.reg_close_key(key);
    return value;
}

const platform::RegValue kDwordFive{platform::regtype::kDword, std::string("\x05\0\0\0", 4)};
const platform::RegValue kDwordSeven{platform::regtype::kDword, std::string("\x07\0\0\0", 4)};

bool operator==(const platform::RegValue &a, const platform::RegValue &b) {
    return a.type == b.type && a.data == b.data;
}

using WriteEnv = EnvironmentTest;

TEST_F(WriteEnv, CommandFileAndRegistryEnvironment) {
    open();
    set_instance();
    set("PATH", "C:\\bin;%PATH%");
    set("Path", "odd");
    set("QUOTED", "say \"hi\" 100%");
    set("TWO%LINES", "first\nsecond");
    ASSERT_EQ(0, dplWriteEnv(block));
    EXPECT_EQ("set ORVANDEXDIR=" + dir() +
                  "\n"
                  "set ORVANDEXSERVER=ol_test\n"
                  "set PATH=C:\\bin;%PATH%\n"
                  "set Path=odd\n"
                  "set QUOTED=say \"hi\" 100%\n"
                  "set TWO%LINES=first\nsecond\n",
              read_file_text(in_dir("ol_test.cmd")));
    // PATH stays out of the registry; Path, being another name, does not.
    EXPECT_EQ(sorted("ORVANDEXDIR=" + dir() +
                     "\nORVANDEXSERVER=ol_test\nPath=odd\nQUOTED=say \"hi\" 100%\nTWO%LINES=first\nsecond\n"),
              sorted(values_of(kEnvironmentKey)));
    EXPECT_EQ("Environment\nSetup\n", sorted(subkeys_of("SOFTWARE\\Orvandex\\Online\\ol_test")));
    // Without a product security key there is no instance security key.
    EXPECT_EQ("<missing>", values_of(kInstanceKey + "\\Security"));
#ifdef _WIN32
    // The same values as Wine's own registry tool shows them.
    const ProgramResult shown = run_program("reg", {"query", "HKLM\\" + kEnvironmentKey});
    EXPECT_NE(std::string::npos, shown.output.find("ORVANDEXSERVER    REG_SZ    ol_test")) << shown.output;
#endif
}

TEST_F(WriteEnv, SecurityKeyOfTheInstallTag) {
    import_registry(kProductSecurity);
    open(0);  // the next tag of 12.10 is 3
    set_instance();
    ASSERT_EQ(0, dplWriteEnv(block));
    EXPECT_EQ("InstallNumber=3\nVersion=12.10.FC1\n", sorted(values_of(kInstanceKey)));
    EXPECT_EQ("Environment\nSecurity\nSetup\n", sorted(subkeys_of(kInstanceKey)));
    EXPECT_EQ(std::string("tag three") + '\0', value_at(kInstanceKey + "\\Security", "Owner").data);
    EXPECT_TRUE(kDwordSeven == value_at(kInstanceKey + "\\Security", "Mode"));
    EXPECT_TRUE(kDwordFive == value_at(kInstanceKey + "\\Security\\Users", "UIDSeed"));
    EXPECT_EQ(std::string("orvandex") + '\0', value_at(kInstanceKey + "\\Security\\Users", "Admin").data);
    EXPECT_EQ("Deep=yes\n", values_of(kInstanceKey + "\\Security\\Users\\Extra"));
}

TEST_F(WriteEnv, TagZeroCopiesTheUnnumberedKey) {
    import_registry(kProductSecurity);
    open(1);
    set_instance();
    ASSERT_EQ(0, dplWriteEnv(block));
    EXPECT_EQ("InstallNumber=0\nVersion=12.10.FC1\n", sorted(values_of(kInstanceKey)));
    EXPECT_EQ("Owner=tag zero\n", values_of(kInstanceKey + "\\Security"));
    EXPECT_EQ("<missing>", values_of(kInstanceKey + "\\Security\\Users"));  // no Users to seed
}

// Refuses to set one value name.
class RefusingValue : public InstalledPlatform {
public:
    uint32_t reg_set_value(platform::RegKey key, const std::string &name,
                           const platform::RegValue &value) override {
        if (name == "REFUSED") return platform::err::kAccessDenied;
        return ForwardingPlatform::reg_set_value(key, name, value);
    }
};

TEST_F(WriteEnv, AValueThatCannotBeSetStopsTheRegistryWalk) {
    open();
    set_instance();
    set("REFUSED", "x");
    set("AFTER", "y");
    RefusingValue refusing;
    EXPECT_EQ(DPL_E_FAIL, dplWriteEnv(block));
    EXPECT_EQ("set ORVANDEXDIR=" + dir() + "\nset ORVANDEXSERVER=ol_test\nset REFUSED=x\nset AFTER=y\n",
              read_file_text(in_dir("ol_test.cmd")));
    EXPECT_EQ(sorted("ORVANDEXDIR=" + dir() + "\nORVANDEXSERVER=ol_test\n"),
              sorted(values_of(kEnvironmentKey)));
}

TEST_F(WriteEnv, ProfilesOfEveryShell) {
    open();
    set_instance();
    for (int i = 3; i <= 10; ++i) set(("V" + std::to_string(i)).c_str(), std::to_string(i));
    std::string assignments[3];
    const char *names[] = {"ORVANDEXDIR", "ORVANDEXSERVER", "V3", "V4", "V5", "V6", "V7", "V8", "V9", "V10"};
    for (const char *name : names) {
        const char *value = nullptr;
        ASSERT_EQ(0, dplGetEnvironment(block, name, &value));
        assignments[0] += std::string("setenv ") + name + " " + value + "\n";
        assignments[1] += std::string(" ") + name + "=" + value + "\n";
        assignments[2] += std::string("set ") + name + "=" + value + "\n";
    }
    const struct {
        int32_t kind;
        const char *file;
        std::string text;
    } cases[] = {
        {DPL_PROFILE_CSH, "ol_test.csh", assignments[0]},
        {DPL_PROFILE_KSH, "ol_test.ksh",
         assignments[1] + "export ORVANDEXDIR ORVANDEXSERVER V3 V4 V5 V6 V7 V8\nexport V9 V10\n"},
        {DPL_PROFILE_CMD, "ol_test.cmd", assignments[2]},
    };
    for (const auto &c : cases) {
        ASSERT_EQ(0, dplWriteProfile(block, c.kind)) << c.kind;
        EXPECT_EQ(c.text, read_file_text(in_dir(c.file))) << c.kind;
    }
}

TEST_F(WriteEnv, RefusedCalls) {
    EXPECT_EQ(DPL_E_BAD_CONTEXT, dplWriteEnv(nullptr));
    EXPECT_EQ(DPL_E_BAD_CONTEXT, dplWriteProfile(nullptr, DPL_PROFILE_CMD));
    open();
    EXPECT_EQ(DPL_E_FAIL, dplWriteEnv(block));  // no ORVANDEXSERVER
    EXPECT_EQ(DPL_E_FAIL, dplWriteProfile(block, DPL_PROFILE_KSH));
    set_instance();
    EXPECT_EQ(DPL_E_INVALID_VALUE, dplWriteProfile(block, 0));
    EXPECT_EQ(DPL_E_INVALID_VALUE, dplWriteProfile(block, 4));
    set("ORVANDEXDIR", in_dir("missing"));
    EXPECT_EQ(DPL_E_OPEN_WRITE, dplWriteEnv(block));
    EXPECT_EQ("<missing>", values_of(kEnvironmentKey));
}

}  // namespace
}  // namespace dpl::test
