// What every backend's registry must do the way Windows' does. These tests
// talk to the backend in force only through the platform interface, so they
// run the same against the POSIX store and, under Wine, the real registry.
#include <map>
#include <string>
#include <vector>

#include "platform/platform.hpp"
#include "support/machine_fixture.hpp"

namespace dpl::platform {
namespace {

const std::string kScratch = "SOFTWARE\\Orvandex\\Semantics";

RegValue sz(const std::string &text) {
    return RegValue{regtype::kSz, text + '\0'};
}

class RegistrySemantics : public test::MachineTest {
protected:
    void SetUp() override {
        MachineTest::SetUp();
        ASSERT_EQ(os().reg_create_key(kLocalMachine, kScratch, RegView::Default, &scratch_), err::kOk);
        opened_.push_back(scratch_);
    }
    void TearDown() override {
        for (RegKey key : opened_) os().reg_close_key(key);
        MachineTest::TearDown();
    }

    static Platform &os() { return current(); }

    // Opens (or with `create`, creates) a key below the scratch key.
    RegKey key(const std::string &path, bool create = false) {
        RegKey out = kNoKey;
        EXPECT_EQ(create ? os().reg_create_key(scratch_, path, RegView::Default, &out)
                         : os().reg_open_key(scratch_, path, RegView::Default, &out),
                  err::kOk)
            << path;
        opened_.push_back(out);
        return out;
    }

    static std::string query(RegKey key, const std::string &name) {
        RegValue found;
        EXPECT_EQ(os().reg_query_value(key, name, &found), err::kOk) << name;
        return found.data;
    }

    RegKey scratch_ = kNoKey;
    std::vector<RegKey> opened_;
};

TEST_F(RegistrySemantics, KeyNamesIgnoreCaseKeepTheFirstOneAndSortInUpperCase) {
    ASSERT_EQ(os().reg_set_value(key("Online", true), "v", sz("1")), err::kOk);
    EXPECT_EQ(query(key("OnLine", true), "V"), sz("1").data);
    key("ONLINE");
    for (const char *name : {"b", "A", "_x", "c", "B2"}) key(name, true);
    // Windows compares in upper case, which puts '_' after the letters; Wine
    // compares in lower case.
    std::string listed = subkeys_of(kScratch);
#ifdef _WIN32
    if (listed.rfind("_x\n", 0) == 0) listed = listed.substr(3) + "_x\n";
#endif
    EXPECT_EQ(listed, "A\nb\nB2\nc\nOnline\n_x\n");
}

TEST_F(RegistrySemantics, ValuesEnumerateInCreationOrder) {
    for (const char *name : {"zeta", "Alpha", "mid", "ALPHA"})
        ASSERT_EQ(os().reg_set_value(scratch_, name, sz(name)), err::kOk);
#ifdef _WIN32
    // Wine's registry keeps values sorted by name where Windows keeps them in
    // creation order; either way a value set again keeps its place and name.
    const std::string listed = values_of(kScratch);
    EXPECT_TRUE(listed == "zeta=zeta\nAlpha=ALPHA\nmid=mid\n" ||
                listed == "Alpha=ALPHA\nmid=mid\nzeta=zeta\n")
        << listed;
#else
    EXPECT_EQ(values_of(kScratch), "zeta=zeta\nAlpha=ALPHA\nmid=mid\n");
#endif
    ASSERT_EQ(os().reg_delete_value(scratch_, "ZETA"), err::kOk);
    EXPECT_EQ(query(scratch_, "MID"), sz("mid").data);
    // A value deleted and set again is a new one, at the end.
    ASSERT_EQ(os().reg_set_value(scratch_, "zeta", sz("z2")), err::kOk);
    EXPECT_EQ(values_of(kScratch), "Alpha=ALPHA\nmid=mid\nzeta=z2\n");
    EXPECT_EQ(query(scratch_, "alpha"), sz("ALPHA").data);
}

TEST_F(RegistrySemantics, EveryValueTypeRoundTrips) {
    const std::vector<std::pair<std::string, RegValue>> values = {
        {"sz", sz("text")},
        {"expand", RegValue{regtype::kExpandSz, std::string("%SystemRoot%\\bin", 17)}},
        {"multi", RegValue{regtype::kMultiSz, std::string("alpha\0beta\0\0", 12)}},
        {"dword", RegValue{regtype::kDword, std::string("\x78\x56\x34\x12", 4)}},
        {"qword", RegValue{regtype::kQword, std::string("\x01\x02\x03\x04\x05\x06\x07\x08", 8)}},
        {"binary", RegValue{regtype::kBinary, std::string("\x00\xFF\x10\x00", 4)}},
        {"empty sz", sz("")},
        {"", sz("default")}};
    // Each as "type:data", by name, as listed and as queried.
    std::map<std::string, std::string> expected, listed, queried;
    for (const auto &[name, data] : values) {
        ASSERT_EQ(os().reg_set_value(scratch_, name, data), err::kOk) << name;
        expected[name] = std::to_string(data.type) + ":" + data.data;
    }
    std::string name;
    RegValue found;
    for (uint32_t index = 0; os().reg_enum_value(scratch_, index, &name, &found) == err::kOk; ++index) {
        listed[name] = std::to_string(found.type) + ":" + found.data;
        ASSERT_EQ(os().reg_query_value(scratch_, name, &found), err::kOk) << name;
        queried[name] = std::to_string(found.type) + ":" + found.data;
    }
    EXPECT_EQ(listed, expected);
    EXPECT_EQ(queried, expected);
    RegKeyInfo info;
    ASSERT_EQ(os().reg_query_info(scratch_, &info), err::kOk);
    EXPECT_EQ(info.values, values.size());
    EXPECT_EQ(info.subkeys, 0u);
    EXPECT_EQ(info.max_value_name_len, 8u);
}

TEST_F(RegistrySemantics, EmptyPathComponentsAreIgnored) {
    ASSERT_EQ(os().reg_set_value(key("SQLHOSTS\\alias", true), "HOST", sz("db1")), err::kOk);
    EXPECT_EQ(query(key("SQLHOSTS\\\\alias"), "host"), sz("db1").data);
    EXPECT_EQ(subkeys_of(kScratch + "\\SQLHOSTS"), "alias\n");
    // An empty path names the parent itself, through a new handle.
    const RegKey same = key("");
    EXPECT_NE(same, scratch_);
    std::string name;
    ASSERT_EQ(os().reg_enum_key(same, 0, &name), err::kOk);
    EXPECT_EQ(name, "SQLHOSTS");
}

TEST_F(RegistrySemantics, DeleteTreeRemovesEverythingBelow) {
    ASSERT_EQ(os().reg_set_value(key("x\\y\\z", true), "v", sz("1")), err::kOk);
    key("x\\other", true);
    key("kept", true);
    ASSERT_EQ(os().reg_delete_tree(scratch_, "X", RegView::Default), err::kOk);
    EXPECT_EQ(subkeys_of(kScratch), "kept\n");
    EXPECT_EQ(os().reg_delete_tree(scratch_, "x", RegView::Default), err::kFileNotFound);
    // Without a subkey, the key stays and loses its contents.
    ASSERT_EQ(os().reg_set_value(scratch_, "v", sz("1")), err::kOk);
    ASSERT_EQ(os().reg_delete_tree(scratch_, "", RegView::Default), err::kOk);
    EXPECT_EQ(subkeys_of(kScratch) + values_of(kScratch), "");
}

TEST_F(RegistrySemantics, MissingThingsAndDeletedKeysAreReported) {
    std::string name;
    RegValue found;
    EXPECT_EQ(os().reg_enum_value(scratch_, 0, &name, &found), err::kNoMoreItems);
    const RegKey doomed = key("doomed", true);
    EXPECT_EQ(os().reg_enum_key(scratch_, 1, &name), err::kNoMoreItems);
    RegKey missing = kNoKey;
    EXPECT_EQ(os().reg_open_key(scratch_, "absent\\deeper", RegView::Default, &missing), err::kFileNotFound);
    EXPECT_EQ(os().reg_query_value(scratch_, "absent", &found), err::kFileNotFound);
    EXPECT_EQ(os().reg_delete_value(scratch_, "absent"), err::kFileNotFound);
    ASSERT_EQ(os().reg_delete_tree(scratch_, "doomed", RegView::Default), err::kOk);
    const uint32_t error = os().reg_set_value(doomed, "v", sz("1"));
    EXPECT_TRUE(error == err::kKeyDeleted || error == err::kFileNotFound) << error;
    EXPECT_NE(os().reg_query_value(doomed, "v", &found), err::kOk);
}

}  // namespace
}  // namespace dpl::platform
