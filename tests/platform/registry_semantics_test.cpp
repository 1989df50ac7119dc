// What every backend's registry must do the way Windows' does. These tests
// talk to the backend in force only through the platform interface, so they
// run the same against the POSIX store and, under Wine, the real registry.
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/platform.hpp"
#include "support/test_support.hpp"

#ifndef _WIN32
#include <cstdlib>
#endif

namespace dpl::platform {
namespace {

RegValue value(uint32_t type, std::string data) {
    return RegValue{type, std::move(data)};
}

class RegistrySemantics : public ::testing::Test {
protected:
    void SetUp() override {
#ifndef _WIN32
        // A machine of our own, so that the tests touch no real store.
        sysroot_ = std::make_unique<test::ScratchDir>();
        if (const char *old = std::getenv("DPL_SYSROOT")) saved_ = old;
        test::set_env("DPL_SYSROOT", sysroot_->path().c_str());
#endif
        static int counter = 0;
        name_ = "SOFTWARE\\dpl-test-" + std::to_string(reg().process_id()) + "-" + std::to_string(counter++);
        ASSERT_EQ(reg().reg_create_key(kLocalMachine, name_, RegView::Default, &scratch_), err::kOk);
    }

    void TearDown() override {
        for (RegKey key : opened_) reg().reg_close_key(key);
        if (scratch_ != kNoKey) reg().reg_close_key(scratch_);
        EXPECT_EQ(reg().reg_delete_tree(kLocalMachine, name_, RegView::Default), err::kOk);
#ifndef _WIN32
        test::set_env("DPL_SYSROOT", saved_ ? saved_->c_str() : nullptr);
#endif
    }

    static Platform &reg() {
        return current();
    }

    // Opens (or with `create`, creates) a key below the scratch key.
    RegKey key(const std::string &path, bool create = false) {
        RegKey out = kNoKey;
        const uint32_t error = create ? reg().reg_create_key(scratch_, path, RegView::Default, &out)
                                      : reg().reg_open_key(scratch_, path, RegView::Default, &out);
        EXPECT_EQ(error, err::kOk) << path;
        if (out != kNoKey) opened_.push_back(out);
        return out;
    }

    std::vector<std::string> subkeys(RegKey parent) {
        std::vector<std::string> names;
        std::string name;
        uint32_t index = 0;
        uint32_t error = err::kOk;
        while ((error = reg().reg_enum_key(parent, index, &name)) == err::kOk) {
            names.push_back(name);
            ++index;
        }
        EXPECT_EQ(error, err::kNoMoreItems);
        return names;
    }

    std::vector<std::string> value_names(RegKey parent) {
        std::vector<std::string> names;
        std::string name;
        RegValue ignored;
        uint32_t index = 0;
        uint32_t error = err::kOk;
        while ((error = reg().reg_enum_value(parent, index, &name, &ignored)) == err::kOk) {
            names.push_back(name);
            ++index;
        }
        EXPECT_EQ(error, err::kNoMoreItems);
        return names;
    }

    std::string name_;
    RegKey scratch_ = kNoKey;
    std::vector<RegKey> opened_;
#ifndef _WIN32
    std::unique_ptr<test::ScratchDir> sysroot_;
    std::optional<std::string> saved_;
#endif
};

TEST_F(RegistrySemantics, KeyNamesIgnoreCaseAndKeepTheFirstOne) {
    const RegKey first = key("Online", true);
    ASSERT_EQ(reg().reg_set_value(first, "v", value(regtype::kSz, std::string("1", 2))), err::kOk);
    const RegKey second = key("OnLine", true);
    RegValue found;
    ASSERT_EQ(reg().reg_query_value(second, "V", &found), err::kOk);
    EXPECT_EQ(found.data, std::string("1", 2));
    key("ONLINE");
    EXPECT_EQ(subkeys(scratch_), (std::vector<std::string>{"Online"}));
}

TEST_F(RegistrySemantics, SubkeysEnumerateAlphabeticallyWithoutCase) {
    for (const char *name : {"b", "A", "c", "B2"}) key(name, true);
    EXPECT_EQ(subkeys(scratch_), (std::vector<std::string>{"A", "b", "B2", "c"}));
}

TEST_F(RegistrySemantics, ValuesEnumerateInCreationOrder) {
    const RegValue one = value(regtype::kDword, std::string("\x01\x00\x00\x00", 4));
    const RegValue two = value(regtype::kDword, std::string("\x02\x00\x00\x00", 4));
    ASSERT_EQ(reg().reg_set_value(scratch_, "zeta", one), err::kOk);
    ASSERT_EQ(reg().reg_set_value(scratch_, "Alpha", one), err::kOk);
    ASSERT_EQ(reg().reg_set_value(scratch_, "mid", one), err::kOk);
    ASSERT_EQ(reg().reg_set_value(scratch_, "ALPHA", two), err::kOk);
    const std::vector<std::string> created{"zeta", "Alpha", "mid"};
#ifdef _WIN32
    // Wine's registry keeps values sorted by name where Windows keeps them in
    // creation order; either way a value set again keeps its place and name.
    const std::vector<std::string> names = value_names(scratch_);
    EXPECT_TRUE(names == created || names == (std::vector<std::string>{"Alpha", "mid", "zeta"}));
#else
    EXPECT_EQ(value_names(scratch_), created);
#endif
    RegValue found;
    ASSERT_EQ(reg().reg_query_value(scratch_, "alpha", &found), err::kOk);
    EXPECT_EQ(found.data, two.data);
    ASSERT_EQ(reg().reg_delete_value(scratch_, "ZETA"), err::kOk);
    EXPECT_EQ(value_names(scratch_), (std::vector<std::string>{"Alpha", "mid"}));
    // A value deleted and set again is a new one, at the end.
    ASSERT_EQ(reg().reg_set_value(scratch_, "zeta", one), err::kOk);
    EXPECT_EQ(value_names(scratch_), (std::vector<std::string>{"Alpha", "mid", "zeta"}));
}

TEST_F(RegistrySemantics, EveryValueTypeRoundTrips) {
    const std::vector<std::pair<std::string, RegValue>> values = {
        {"sz", value(regtype::kSz, std::string("text", 5))},
        {"expand", value(regtype::kExpandSz, std::string("%SystemRoot%\\bin", 17))},
        {"multi", value(regtype::kMultiSz, std::string("alpha\0beta\0\0", 12))},
        {"dword", value(regtype::kDword, std::string("\x78\x56\x34\x12", 4))},
        {"qword", value(regtype::kQword, std::string("\x01\x02\x03\x04\x05\x06\x07\x08", 8))},
        {"binary", value(regtype::kBinary, std::string("\x00\xFF\x10\x00", 4))},
        {"empty sz", value(regtype::kSz, std::string(1, '\0'))},
        {"", value(regtype::kSz, std::string("default", 8))},
    };
    for (const auto &[name, data] : values)
        ASSERT_EQ(reg().reg_set_value(scratch_, name, data), err::kOk) << name;
    for (const auto &[name, data] : values) {
        RegValue found;
        ASSERT_EQ(reg().reg_query_value(scratch_, name, &found), err::kOk) << name;
        EXPECT_EQ(found.type, data.type) << name;
        EXPECT_EQ(found.data, data.data) << name;
    }
    // Enumeration hands out the same types and data.
    std::string name;
    RegValue found;
    std::size_t seen = 0;
    for (uint32_t index = 0; reg().reg_enum_value(scratch_, index, &name, &found) == err::kOk; ++index) {
        for (const auto &[expected_name, data] : values) {
            if (expected_name != name) continue;
            ++seen;
            EXPECT_EQ(found.type, data.type) << name;
            EXPECT_EQ(found.data, data.data) << name;
        }
    }
    EXPECT_EQ(seen, values.size());
    RegKeyInfo info;
    ASSERT_EQ(reg().reg_query_info(scratch_, &info), err::kOk);
    EXPECT_EQ(info.values, values.size());
    EXPECT_EQ(info.subkeys, 0u);
    EXPECT_EQ(info.max_value_name_len, 8u);
}

TEST_F(RegistrySemantics, EmptyPathComponentsAreIgnored) {
    const RegKey alias = key("SQLHOSTS\\alias", true);
    ASSERT_EQ(reg().reg_set_value(alias, "HOST", value(regtype::kSz, std::string("db1", 4))), err::kOk);
    const RegKey doubled = key("SQLHOSTS\\\\alias");
    RegValue found;
    ASSERT_EQ(reg().reg_query_value(doubled, "host", &found), err::kOk);
    EXPECT_EQ(found.data, std::string("db1", 4));
    EXPECT_EQ(subkeys(key("SQLHOSTS")), (std::vector<std::string>{"alias"}));
    // An empty path names the parent itself, through a new handle.
    const RegKey same = key("");
    EXPECT_NE(same, scratch_);
    EXPECT_EQ(subkeys(same), (std::vector<std::string>{"SQLHOSTS"}));
}

TEST_F(RegistrySemantics, DeleteTreeRemovesEverythingBelow) {
    const RegKey deep = key("x\\y\\z", true);
    ASSERT_EQ(reg().reg_set_value(deep, "v", value(regtype::kSz, std::string("1", 2))), err::kOk);
    key("x\\other", true);
    key("kept", true);
    ASSERT_EQ(reg().reg_delete_tree(scratch_, "X", RegView::Default), err::kOk);
    RegKey gone = kNoKey;
    EXPECT_EQ(reg().reg_open_key(scratch_, "x", RegView::Default, &gone), err::kFileNotFound);
    EXPECT_EQ(reg().reg_open_key(scratch_, "x\\y\\z", RegView::Default, &gone), err::kFileNotFound);
    EXPECT_EQ(subkeys(scratch_), (std::vector<std::string>{"kept"}));
    EXPECT_EQ(reg().reg_delete_tree(scratch_, "x", RegView::Default), err::kFileNotFound);

    // Without a subkey, the key stays and loses its contents.
    ASSERT_EQ(reg().reg_set_value(scratch_, "v", value(regtype::kSz, std::string("1", 2))), err::kOk);
    ASSERT_EQ(reg().reg_delete_tree(scratch_, "", RegView::Default), err::kOk);
    EXPECT_EQ(subkeys(scratch_), std::vector<std::string>{});
    EXPECT_EQ(value_names(scratch_), std::vector<std::string>{});
    RegKey still = kNoKey;
    EXPECT_EQ(reg().reg_open_key(kLocalMachine, name_, RegView::Default, &still), err::kOk);
    reg().reg_close_key(still);
}

TEST_F(RegistrySemantics, MissingThingsAreReported) {
    std::string name;
    RegValue found;
    EXPECT_EQ(reg().reg_enum_key(scratch_, 0, &name), err::kNoMoreItems);
    EXPECT_EQ(reg().reg_enum_value(scratch_, 0, &name, &found), err::kNoMoreItems);
    key("one", true);
    EXPECT_EQ(reg().reg_enum_key(scratch_, 1, &name), err::kNoMoreItems);
    RegKey missing = kNoKey;
    EXPECT_EQ(reg().reg_open_key(scratch_, "absent", RegView::Default, &missing), err::kFileNotFound);
    EXPECT_EQ(reg().reg_open_key(scratch_, "absent\\deeper", RegView::Default, &missing), err::kFileNotFound);
    EXPECT_EQ(reg().reg_query_value(scratch_, "absent", &found), err::kFileNotFound);
    EXPECT_EQ(reg().reg_delete_value(scratch_, "absent"), err::kFileNotFound);
}

TEST_F(RegistrySemantics, AHandleToADeletedKeyFails) {
    const RegKey doomed = key("doomed", true);
    ASSERT_EQ(reg().reg_delete_tree(scratch_, "doomed", RegView::Default), err::kOk);
    RegValue found;
    const uint32_t error = reg().reg_set_value(doomed, "v", value(regtype::kSz, std::string("1", 2)));
    EXPECT_TRUE(error == err::kKeyDeleted || error == err::kFileNotFound) << error;
    EXPECT_NE(reg().reg_query_value(doomed, "v", &found), err::kOk);
}

TEST_F(RegistrySemantics, ConnectsToThisMachineButNotToAMissingOne) {
    RegKey local = kNoKey;
    ASSERT_EQ(reg().reg_connect("", kLocalMachine, &local), err::kOk);
    RegKey through = kNoKey;
    EXPECT_EQ(reg().reg_open_key(local, name_, RegView::Default, &through), err::kOk);
    reg().reg_close_key(through);
    reg().reg_close_key(local);
    RegKey remote = kNoKey;
    const uint32_t error = reg().reg_connect("\\\\nosuchmachine-dpl", kLocalMachine, &remote);
#ifdef _WIN32
    EXPECT_NE(error, err::kOk);
#else
    EXPECT_EQ(error, err::kBadNetPath);
#endif
}

}  // namespace
}  // namespace dpl::platform
