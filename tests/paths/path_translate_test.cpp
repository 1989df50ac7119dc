#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "paths/paths_fixture.hpp"
#include "platform/forwarding_platform.hpp"

namespace dpl::test {
namespace {

// A process environment of its own, and a short form on request.
class FixedEnvironment : public platform::ForwardingPlatform {
public:
    FixedEnvironment() : ForwardingPlatform(platform::native()) { platform::install(this); }
    FixedEnvironment(const FixedEnvironment &) = delete;
    FixedEnvironment &operator=(const FixedEnvironment &) = delete;
    ~FixedEnvironment() override { platform::install(nullptr); }

    std::optional<std::string> get_env(const std::string &name) override {
        asked.push_back(name);
        const auto found = variables.find(name);
        if (found == variables.end()) return std::nullopt;
        return found->second;
    }
    std::optional<std::string> short_path(const std::string &path, std::size_t limit) override {
        shortened = path;
        limit_given = limit;
        return short_form;
    }

    std::map<std::string, std::string> variables;
    std::vector<std::string> asked;
    std::optional<std::string> short_form;
    std::string shortened;
    std::size_t limit_given = 0;
};

class PathTranslate : public PathsTest {
protected:
    std::optional<std::string> xlate(const std::string &path) {
        return take(dplXlateFilePath(block, path.c_str()));
    }
    // The separator that translated paths use here.
    const std::string sep = std::string(1, platform::native().path_separator());
};

TEST_F(PathTranslate, VariableOfTheProcessEnvironmentAndSeparatorRuns) {
    set_env("DPL_TEST_ORVANDEXDIR", "D:\\inst");
    EXPECT_EQ("D:\\inst" + sep + "etc" + sep + "x", xlate("$DPL_TEST_ORVANDEXDIR/etc//x"));
    EXPECT_EQ("D:\\inst" + sep + "etc" + sep + "x", xlate("%DPL_TEST_ORVANDEXDIR%\\/etc\\\\x"));
    set_env("DPL_TEST_ORVANDEXDIR", nullptr);
    EXPECT_EQ("", new_log());
}

TEST_F(PathTranslate, BothFormsOfVariables) {
    FixedEnvironment os;
    os.variables = {{"A", "aa"}, {"B", "bb"}, {"EMPTY", ""}, {"A.B", "dotted"}};
    EXPECT_EQ("aabb", xlate("$A$B"));
    EXPECT_EQ("aa" + sep + "bb" + sep, xlate("$A/$B\\"));
    EXPECT_EQ("xaay", xlate("x%A%y"));
    EXPECT_EQ("aabb", xlate("%A%%B%"));
    EXPECT_EQ("dotted.txt", xlate("%A.B%.txt"));
    EXPECT_EQ("dotted", xlate("%A.B"));  // no closing "%": the name runs to the end
    EXPECT_EQ(sep + "aa", xlate("//$A$EMPTY"));
    EXPECT_EQ((std::vector<std::string>{"A", "B", "A", "B", "A", "A", "B", "A.B", "A.B", "A", "EMPTY"}),
              os.asked);
    // The walk goes on after a value: its characters are not looked at again.
    os.variables["D"] = "$A//%B%";
    EXPECT_EQ("$A//%B%" + sep + "z", xlate("$D/z"));
    EXPECT_EQ("", new_log());
}

TEST_F(PathTranslate, UnsetVariableGivesNullAndNamesIt) {
    FixedEnvironment os;
    os.variables = {{"A", "aa"}};
    EXPECT_EQ(std::nullopt, xlate("$A/$DPL_TEST_UNSET/x"));
    EXPECT_EQ(std::nullopt, xlate("%UNCLOSED"));
    EXPECT_EQ(std::nullopt, xlate("x/$/y"));
    EXPECT_EQ(std::nullopt, xlate("%%"));
    // "%" does not end a "$" name.
    EXPECT_EQ(std::nullopt, xlate("$A%A%"));
    EXPECT_EQ(
        " p Failed to find value for environment variable DPL_TEST_UNSET\n"
        " p Failed to find value for environment variable UNCLOSED\n"
        " p Failed to find value for environment variable\n"
        " p Failed to find value for environment variable\n"
        " p Failed to find value for environment variable A%A%\n",
        new_log());
}

TEST_F(PathTranslate, ResultsBeyond255CharactersAreRefused) {
    FixedEnvironment os;
    os.variables = {{"V200", std::string(200, 'v')}, {"V256", std::string(256, 'w')}};
    const std::string plain300(300, 'p');
    EXPECT_EQ(std::nullopt, xlate(plain300));
    EXPECT_EQ(std::string(255, 'p'), xlate(std::string(255, 'p')));
    EXPECT_EQ(std::nullopt, xlate(std::string(256, 'p')));
    EXPECT_EQ(std::string(200, 'v') + std::string(55, 'q'), xlate("%V200%" + std::string(55, 'q')));
    EXPECT_EQ(std::nullopt, xlate("%V200%" + std::string(56, 'q')));
    EXPECT_EQ(std::nullopt, xlate("%V256%"));
    EXPECT_EQ(std::nullopt, xlate(std::string(254, 's') + "$V200"));
    // A separator counts as one character however long its run.
    EXPECT_EQ(std::string(254, 't') + sep, xlate(std::string(254, 't') + "////\\\\"));
    EXPECT_EQ(std::nullopt, xlate(std::string(255, 't') + "/"));
    const std::string prefix = " p dplXlateFilePath: Failed preventing buffer overrun, ";
    EXPECT_EQ(prefix + plain300 + "\n" + prefix + std::string(256, 'p') + "\n" + prefix + "%V200%" +
                  std::string(56, 'q') + "\n" + prefix + "%V256%\n" + prefix + std::string(254, 's') +
                  "$V200\n" + prefix + std::string(255, 't') + "/\n",
              new_log());
}

TEST_F(PathTranslate, NullOrEmptyPathGivesEmptyText) {
    EXPECT_EQ("", take(dplXlateFilePath(block, nullptr)));
    EXPECT_EQ("", take(dplXlateFilePath(block, "")));
    uint32_t foreign[16] = {1};
    EXPECT_EQ(nullptr, dplXlateFilePath(reinterpret_cast<InstallControlBlock *>(foreign), "x"));
    EXPECT_EQ(nullptr, dplXlateFilePath(nullptr, "x"));
}

TEST_F(PathTranslate, TheShortFormReplacesTheResultWhenThereIsOne) {
    FixedEnvironment os;
    os.variables = {{"A", "C:\\Program Files"}};
    os.short_form = "C:\\PROGRA~1\\X";
    EXPECT_EQ("C:\\PROGRA~1\\X", xlate("$A/x"));
    EXPECT_EQ("C:\\Program Files" + sep + "x", os.shortened);
    EXPECT_EQ(255u, os.limit_given);
    os.short_form.reset();
    EXPECT_EQ("C:\\Program Files" + sep + "x", xlate("$A/x"));
}

TEST_F(PathTranslate, TheSystemsShortFormOfAnExistingPath) {
    const std::filesystem::path long_name = dir.path() / "a directory with a long name";
    std::filesystem::create_directory(long_name);
    const std::optional<std::string> result = xlate(long_name.string());
    ASSERT_TRUE(result.has_value());
    if (sep == "/") {
        EXPECT_EQ(long_name.string(), *result);
    } else {
        // 8.3 names: the last component is cut to six characters and a tilde.
        EXPECT_NE(long_name.string(), *result);
        EXPECT_NE(std::string::npos, result->find('~')) << *result;
        EXPECT_TRUE(std::filesystem::equivalent(long_name, *result));
    }
}

}  // namespace
}  // namespace dpl::test
