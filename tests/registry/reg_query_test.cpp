// Listing a key's values and subkeys, reading one value, copying a tree.
#include <memory>

#include "dpl/dpl.h"
#include "platform/platform.hpp"
#include "support/machine_fixture.hpp"
#include "support/recording_platform.hpp"

namespace dpl::test {
namespace {

const char kSeed[] =
    "Windows Registry Editor Version 5.00\r\n"
    "\r\n"
    "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Orvandex\\Test\\Values]\r\n"
    "\"Text\"=\"hello\"\r\n"
    "\"Empty\"=hex:\r\n"
    "\"Number\"=dword:00004241\r\n"
    "\r\n"
    "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Orvandex\\Test\\Tree\\Leaf]\r\n"
    "\"Q\"=hex(b):01,00,00,00,00,00,00,00\r\n"
    "\r\n"
    "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Orvandex\\Test\\Tree\\Leaf\\Deeper]\r\n"
    "\r\n"
    "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Orvandex\\Test\\Empty]\r\n";

class RegQuery : public MachineTest {
protected:
    void SetUp() override {
        MachineTest::SetUp();
        import_registry(kSeed);
    }
};

std::string describe(const DplRegValue *values) {
    std::string text;
    for (; values != nullptr; values = values->next) {
        text += std::to_string(values->index) + ":" + values->name + ":" + std::to_string(values->type) +
                ":" + (values->data != nullptr ? values->data : "(null)") + "\n";
    }
    return text;
}

TEST_F(RegQuery, ValuesAreListedAsTextInTheirOrder) {
    DplRegValue *values = nullptr;
    ASSERT_EQ(0, dplQueryRegData(DPL_HKEY_LOCAL_MACHINE, "SOFTWARE\\Orvandex\\Test\\Values", &values, 0));
    const std::string listed = describe(values);
#ifdef _WIN32
    // Wine lists values by name; Windows itself in creation order.
    EXPECT_NE(std::string::npos, listed.find(":Text:1:hello\n"));
    EXPECT_NE(std::string::npos, listed.find(":Empty:3:(null)\n"));
    EXPECT_NE(std::string::npos, listed.find(":Number:4:AB\n"));
#else
    EXPECT_EQ("0:Text:1:hello\n1:Empty:3:(null)\n2:Number:4:AB\n", listed);
#endif
    dplFreeRegData(&values);
    EXPECT_EQ(nullptr, values);

    DplRegSubKey *subkeys = nullptr;
    EXPECT_EQ(DPL_E_REG_NO_SUBKEYS,
              dplQueryRegSubKeys(DPL_HKEY_LOCAL_MACHINE, "SOFTWARE\\Orvandex\\Test\\Values", &subkeys, 0));
    EXPECT_EQ(nullptr, subkeys);
    EXPECT_EQ(DPL_E_REG_NO_VALUES,
              dplQueryRegData(DPL_HKEY_LOCAL_MACHINE, "SOFTWARE\\Orvandex\\Test\\Empty", &values, 0));
    EXPECT_EQ(DPL_E_REG_READ,
              dplQueryRegData(DPL_HKEY_LOCAL_MACHINE, "SOFTWARE\\Orvandex\\Nothing", &values, 0));
    EXPECT_EQ(DPL_E_REG_READ,
              dplQueryRegSubKeys(DPL_HKEY_LOCAL_MACHINE, "SOFTWARE\\Orvandex\\Nothing", &subkeys, 2));
}

TEST_F(RegQuery, SubkeysAreListedInOrder) {
    DplRegSubKey *subkeys = nullptr;
    ASSERT_EQ(0, dplQueryRegSubKeys(DPL_HKEY_LOCAL_MACHINE, "SOFTWARE\\Orvandex\\Test", &subkeys, 0));
    std::string names;
    for (const DplRegSubKey *key = subkeys; key != nullptr; key = key->next) {
        names += std::to_string(key->index) + key->name + " ";
    }
    EXPECT_EQ("0Empty 1Tree 2Values ", names);
    // A list passed in is released first.
    ASSERT_EQ(0, dplQueryRegSubKeys(DPL_HKEY_LOCAL_MACHINE, "SOFTWARE\\Orvandex\\Test\\Tree", &subkeys, 0));
    ASSERT_NE(nullptr, subkeys);
    EXPECT_STREQ("Leaf", subkeys->name);
    EXPECT_EQ(nullptr, subkeys->next);
    dplFreeRegSubKeys(&subkeys);
}

TEST_F(RegQuery, OneValueByName) {
    RecordingPlatform os;
    const std::unique_ptr<char, decltype(&dplFree)> text(
        dplGetRegDataFromName(DPL_ROOT_LOCAL_MACHINE, "SOFTWARE\\Orvandex\\Test\\Values", "Text", 0),
        &dplFree);
    ASSERT_NE(nullptr, text);
    EXPECT_STREQ("hello", text.get());
    EXPECT_EQ(nullptr,
              dplGetRegDataFromName(DPL_ROOT_LOCAL_MACHINE, "SOFTWARE\\Orvandex\\Test\\Values", "text", 0));
    EXPECT_EQ("Data could not be acqiuired for text", os.standard_output);
    EXPECT_EQ(nullptr, dplGetRegDataFromName(6, "SOFTWARE\\Orvandex\\Test\\Values", "Text", 0));
    EXPECT_EQ(nullptr, dplGetRegDataFromName(-1, "SOFTWARE\\Orvandex\\Test\\Values", "Text", 0));
}

TEST_F(RegQuery, CopyingATreeTakesValuesAndSubkeys) {
    auto &os = platform::current();
    platform::RegKey source = platform::kNoKey;
    platform::RegKey destination = platform::kNoKey;
    ASSERT_EQ(0u, os.reg_open_key(platform::kLocalMachine, "SOFTWARE\\Orvandex\\Test\\Tree",
                                  platform::RegView::Default, &source));
    ASSERT_EQ(0u, os.reg_create_key(platform::kLocalMachine, "SOFTWARE\\Orvandex\\Copy",
                                    platform::RegView::Default, &destination));
    EXPECT_EQ(0, dplCopyRegTree(reinterpret_cast<DplHKEY>(destination), reinterpret_cast<DplHKEY>(source)));
    EXPECT_EQ("Leaf\n", subkeys_of("SOFTWARE\\Orvandex\\Copy"));
    EXPECT_EQ("Deeper\n", subkeys_of("SOFTWARE\\Orvandex\\Copy\\Leaf"));
    platform::RegValue value;
    platform::RegKey leaf = platform::kNoKey;
    ASSERT_EQ(0u, os.reg_open_key(destination, "Leaf", platform::RegView::Default, &leaf));
    ASSERT_EQ(0u, os.reg_query_value(leaf, "Q", &value));
    EXPECT_EQ(platform::regtype::kQword, value.type);
    EXPECT_EQ(std::string("\x01\0\0\0\0\0\0\0", 8), value.data);
    os.reg_close_key(leaf);

    // A source without values or subkeys changes nothing.
    platform::RegKey empty = platform::kNoKey;
    ASSERT_EQ(0u, os.reg_open_key(platform::kLocalMachine, "SOFTWARE\\Orvandex\\Test\\Empty",
                                  platform::RegView::Default, &empty));
    EXPECT_EQ(0, dplCopyRegTree(reinterpret_cast<DplHKEY>(destination), reinterpret_cast<DplHKEY>(empty)));
    EXPECT_EQ("Leaf\n", subkeys_of("SOFTWARE\\Orvandex\\Copy"));
    os.reg_close_key(empty);
    os.reg_close_key(source);
    os.reg_close_key(destination);
}

}  // namespace
}  // namespace dpl::test
