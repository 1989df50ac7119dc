// A machine whose registry the test may change: natively a scratch machine
// root (DPL_SYSROOT), under Wine the prefix's own registry, with the
// Orvandex keys removed before and after each test.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "support/test_support.hpp"

namespace dpl::test {

class MachineTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    // Imports registry export text (REGEDIT 5 format): with Wine's own
    // "reg import" on Windows, as the machine's store file natively.
    void import_registry(const std::string &reg_text);
    // Makes another machine \\name reachable (natively only).
    std::string add_machine(const std::string &name, const std::string &reg_text);

    // The values of a key as "NAME=data" lines in enumeration order (a
    // number as 0x...), or "<missing>".
    static std::string values_of(const std::string &path);
    static std::string subkeys_of(const std::string &path);
    // Sets a number value of an existing key.
    static void set_dword(const std::string &path, const std::string &name, uint32_t number);

    ScratchDir root;
};

}  // namespace dpl::test
