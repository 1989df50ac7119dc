// Product strings, install tags, installed versions and alias lists against
// a machine's registry and files.
#include <string>

#include "environment/environment_fixture.hpp"

namespace dpl::test {
namespace {

const char kVersions[] =
    "Windows Registry Editor Version 5.00\r\n\r\n"
    "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Orvandex\\DBMS\\11.70]\r\n"
    "\"Install_Dir\"=\"C:\\\\Old\"\r\n"
    "\"Install_Dir4\"=\"C:\\\\Twice\"\r\n\r\n"
    "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Orvandex\\DBMS\\12.10]\r\n"
    "\"Install_Dir\"=\"C:\\\\Talix\"\r\n"
    "\"Comment\"=\"C:\\\\Else\"\r\n"
    "\"Install_Dir2\"=\"D:\\\\Second\"\r\n"
    "\"Install_Dir7\"=\"C:\\\\Twice\"\r\n\r\n"
    "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Orvandex\\DBMS\\14.10]\r\n"
    "\"Other\"=\"x\"\r\n";

class InstallRegistry : public EnvironmentTest {
protected:
    void marker(const std::string &name, const std::string &content) {
        write_file(in_dir("etc/" + name), content);
    }
    // The version found for the scratch installation, or the status.
    std::string version(int32_t kind, const std::string &directory) {
        char *text = nullptr;
        const int32_t rc = dplGetInstalledVersion(block, kind, directory.c_str(), &text);
        std::string result = rc == 0 ? std::string(text) : std::to_string(rc);
        dplFree(text);
        return result;
    }
};

TEST_F(InstallRegistry, ProductNamesAndInstallStrings) {
    const char *names[] = {"Talix Database Server",
                           "Talix Software Bundle",
                           "Talix Client-SDK",
                           "Talix Client SDK",
                           "Talix Connect",
                           "Talix Connect",
                           "Talix",
                           "Talix Database Server",
                           "Talix Software Bundle",
                           "Talix Warehouse Accelerator"};
    for (int32_t type = 0; type < 10; ++type) EXPECT_STREQ(names[type], dplGetProductName(type));
    EXPECT_EQ(nullptr, dplGetProductName(10));
    EXPECT_EQ(nullptr, dplGetProductName(-1));
    EXPECT_STREQ("ol_orvandex1210", dplGetInstallString(0));
    EXPECT_STREQ("TALIX", dplGetInstallString(1));
    EXPECT_STREQ("Quenlath", dplGetInstallString(2));
    EXPECT_EQ(nullptr, dplGetInstallString(3));
}

TEST_F(InstallRegistry, NextFreeTagOfAVersionKeptByInitialisationForProductModeZero) {
    import_registry(kVersions);
    EXPECT_EQ(8, dplUniqueInstallTag(12, 10));
    EXPECT_EQ(5, dplUniqueInstallTag(11, 70));
    EXPECT_EQ(0, dplUniqueInstallTag(14, 10));  // no Install_Dir value
    EXPECT_EQ(0, dplUniqueInstallTag(9, 40));   // no key
    open(0);
    EXPECT_EQ(8, dplGetUniqueInstallTag(block));
    finish(block);
    open(1);
    EXPECT_EQ(0, dplGetUniqueInstallTag(block));
    EXPECT_EQ(DPL_E_BAD_CONTEXT, dplGetUniqueInstallTag(nullptr));
}

TEST_F(InstallRegistry, TagOfARegisteredDirectory) {
    open(1);
    EXPECT_EQ(DPL_E_REG_READ, dplRetrieveInstallTag(block, "C:\\Talix"));
    import_registry(kVersions);
    const struct {
        const char *directory;
        int32_t tag;
    } cases[] = {{"c:\\TALIX", 0}, {"d:\\second", 2}, {"C:\\Twice", 4}, {"C:\\Else", 0}, {"C:\\Old", 0}};
    for (const auto &c : cases) EXPECT_EQ(c.tag, dplRetrieveInstallTag(block, c.directory)) << c.directory;
    EXPECT_EQ(DPL_E_NULL_ARGUMENT, dplRetrieveInstallTag(block, nullptr));
    EXPECT_EQ(DPL_E_BAD_CONTEXT, dplRetrieveInstallTag(nullptr, "C:\\Talix"));
}

TEST_F(InstallRegistry, InstalledVersionFromMarkerOrRegistry) {
    open(1);
    EXPECT_EQ("-993", version(0, dir()));  // no marker, no versions key
    // The scratch installation registered as tag 9 of 15.10.
    std::string escaped;
    for (const char c : dir()) escaped += c == '\\' ? std::string("\\\\") : std::string(1, c);
    import_registry(std::string(kVersions) + "\r\n[HKEY_LOCAL_MACHINE\\SOFTWARE\\Orvandex\\DBMS\\15.10]\r\n" +
                    "\"Install_Dir9\"=\"" + escaped + "\"\r\n");
    EXPECT_EQ("15.10", version(0, dir()));
    marker("NQR-cr", "\r\n");  // an empty first line names no version
    EXPECT_EQ("15.10", version(0, dir()));
    marker("NQR-cr", " 11.70.UC8W2 \r\n");
    EXPECT_EQ("11.70.UC8W2", version(0, dir()));
    marker("NQX-cr", "14.10.FC1\n");
    EXPECT_EQ("14.10.FC1", version(0, dir()));
    marker("NQX-cr", "");  // an empty file is no marker
    EXPECT_EQ("11.70.UC8W2", version(0, dir()));
    EXPECT_EQ("-993", version(1, dir()));
    marker("ClientSDK-cr", "4.50.FC3\n");
    EXPECT_EQ("4.50.FC3", version(1, dir()));
    EXPECT_EQ("-993", version(2, dir()));
    marker("Connect-cr", "4.50.FC4\n");
    EXPECT_EQ("4.50.FC4", version(2, dir()));
    EXPECT_EQ("-993", version(3, dir()));
    EXPECT_EQ(DPL_E_NULL_ARGUMENT, dplGetInstalledVersion(block, 0, dir().c_str(), nullptr));
}

std::string joined(char **names, int32_t count) {
    std::string text;
    for (int32_t i = 0; i < count; ++i) text.append(names[i]).append("|");
    return text;
}

TEST_F(InstallRegistry, ServerNameAndAliases) {
    open(1);
    const struct {
        const char *aliases;
        const char *names;
        int32_t count;
    } cases[] = {
        {"", "srv|", 1},
        {" ,, ,", "srv|", 1},
        {"a", "srv|a|", 2},
        {"a,b c,,\td", "srv|a|b|c|d|", 5},
    };
    for (const auto &c : cases) {
        int32_t count = -1;
        char **names = parseAliases(block, "srv", c.aliases, &count);
        ASSERT_NE(nullptr, names) << c.aliases;
        EXPECT_EQ(c.count, count);
        EXPECT_EQ(c.names, joined(names, count));
        dplFreeNameList(names, count);
    }
    int32_t count = -1;
    EXPECT_EQ(nullptr, parseAliases(block, "srv", nullptr, &count));  // no DBSERVERALIASES
    EXPECT_EQ(0, count);
    ASSERT_EQ(0, dplSetConfig(block->current, "DBSERVERALIASES", "srv_tcp,srv_shm", nullptr));
    char **names = parseAliases(block, "srv", nullptr, &count);
    EXPECT_EQ("srv|srv_tcp|srv_shm|", joined(names, count));
    dplFreeNameList(names, count);

    std::string many;
    for (int i = 0; i < 10000; ++i) many += "alias" + std::to_string(i) + ", ";
    names = parseAliases(block, "srv", many.c_str(), &count);
    ASSERT_EQ(10001, count);
    EXPECT_STREQ("alias9999", names[10000]);
    dplFreeNameList(names, count);
    EXPECT_EQ(nullptr, parseAliases(nullptr, "srv", "a", &count));
    EXPECT_EQ(nullptr, parseAliases(block, nullptr, "a", &count));
}

}  // namespace
}  // namespace dpl::test
