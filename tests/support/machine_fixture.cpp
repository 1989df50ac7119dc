#include "support/machine_fixture.hpp"

#include <cstdlib>
#include <filesystem>

#include "platform/platform.hpp"

namespace dpl::test {
namespace {

void remove_orvandex_keys() {
    auto &os = platform::current();
    os.reg_delete_tree(platform::kLocalMachine, "SOFTWARE\\Orvandex", platform::RegView::Default);
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

namespace {

// Lines made by `line` for each item of an open key, or "<missing>".
template <class Line>
std::string list_key(const std::string &path, Line &&line) {
    auto &os = platform::current();
    platform::RegKey key = platform::kNoKey;
    if (os.reg_open_key(platform::kLocalMachine, path, platform::RegView::Default, &key) != 0)
        return "<missing>";
    std::string text;
    for (uint32_t index = 0; line(os, key, index, text); ++index) {
    }
    os.reg_close_key(key);
    return text;
}

}  // namespace

std::string MachineTest::values_of(const std::string &path) {
    return list_key(path,
                    [](platform::Platform &os, platform::RegKey key, uint32_t index, std::string &text) {
                        std::string name;
                        platform::RegValue value;
                        if (os.reg_enum_value(key, index, &name, &value) != 0) return false;
                        std::string data = value.data;
                        if (!data.empty() && data.back() == '\0') data.pop_back();
                        text += name + "=" + data + "\n";
                        return true;
                    });
}

std::string MachineTest::subkeys_of(const std::string &path) {
    return list_key(path,
                    [](platform::Platform &os, platform::RegKey key, uint32_t index, std::string &text) {
                        std::string name;
                        if (os.reg_enum_key(key, index, &name) != 0) return false;
                        text += name + "\n";
                        return true;
                    });
}

}  // namespace dpl::test
