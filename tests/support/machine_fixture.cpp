#include "support/machine_fixture.hpp"

#include <cstdlib>
#include <filesystem>
#include <sstream>

#include "platform/platform.hpp"

namespace dpl::test {
namespace {

void remove_orvandex_keys() {
    platform::current().reg_delete_tree(platform::kLocalMachine, "SOFTWARE\\Orvandex",
                                        platform::RegView::Default);
}

platform::RegKey open_key(const std::string &path) {
    platform::RegKey key = platform::kNoKey;
    if (platform::current().reg_open_key(platform::kLocalMachine, path, platform::RegView::Default, &key) !=
        0)
        return platform::kNoKey;
    return key;
}

}  // namespace

void MachineTest::SetUp() {
#ifndef _WIN32
    set_env("DPL_SYSROOT", root.path().string().c_str());
    std::filesystem::create_directories(root.path() / "etc");
    write_file((root.path() / "etc" / "services").string(), "svc_a 9001/tcp\nsvc_b 9002/tcp\n");
#endif
    remove_orvandex_keys();
}

void MachineTest::TearDown() {
    remove_orvandex_keys();
#ifndef _WIN32
    set_env("DPL_SYSROOT", nullptr);
#endif
}

void MachineTest::import_registry(const std::string &reg_text) {
#ifdef _WIN32
    const std::string file = root.file("seed.reg");
    write_file(file, reg_text);
    const std::string command = "reg import \"" + file + "\" >NUL 2>&1";
    ASSERT_EQ(0, std::system(command.c_str()));
#else
    std::filesystem::create_directories(root.path() / "var" / "lib" / "dpl");
    write_file((root.path() / "var" / "lib" / "dpl" / "registry.reg").string(), reg_text);
#endif
}

std::string MachineTest::add_machine(const std::string &name, const std::string &reg_text) {
    const auto machine_root = root.path() / "var" / "lib" / "dpl" / "machines" / name;
    std::filesystem::create_directories(machine_root / "var" / "lib" / "dpl");
    write_file((machine_root / "var" / "lib" / "dpl" / "registry.reg").string(), reg_text);
    return "\\\\" + name;
}

std::string MachineTest::values_of(const std::string &path) {
    auto &os = platform::current();
    const platform::RegKey key = open_key(path);
    if (key == platform::kNoKey) return "<missing>";
    std::string text, name;
    platform::RegValue value;
    for (uint32_t index = 0; os.reg_enum_value(key, index, &name, &value) == 0; ++index) {
        std::string data = value.data;
        if (value.type == platform::regtype::kDword && data.size() == 4) {
            uint32_t number = 0;
            for (int at = 3; at >= 0; --at) number = (number << 8) | static_cast<unsigned char>(data[at]);
            std::ostringstream hex;
            hex << "0x" << std::hex << number;
            data = hex.str();
        } else if (!data.empty() && data.back() == '\0') {
            data.pop_back();
        }
        text += name + "=" + data + "\n";
    }
    os.reg_close_key(key);
    return text;
}

std::string MachineTest::subkeys_of(const std::string &path) {
    auto &os = platform::current();
    const platform::RegKey key = open_key(path);
    if (key == platform::kNoKey) return "<missing>";
    std::string text, name;
    for (uint32_t index = 0; os.reg_enum_key(key, index, &name) == 0; ++index) text += name + "\n";
    os.reg_close_key(key);
    return text;
}

void MachineTest::set_dword(const std::string &path, const std::string &name, uint32_t number) {
    auto &os = platform::current();
    const platform::RegKey key = open_key(path);
    ASSERT_NE(platform::kNoKey, key) << path;
    std::string data;
    for (int shift = 0; shift < 32; shift += 8) data.push_back(static_cast<char>((number >> shift) & 0xFF));
    EXPECT_EQ(0u, os.reg_set_value(key, name, platform::RegValue{platform::regtype::kDword, data}));
    os.reg_close_key(key);
}

}  // namespace dpl::test
