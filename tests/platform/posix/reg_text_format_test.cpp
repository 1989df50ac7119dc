#include "platform/posix/reg_text_format.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace dpl::platform::posix {
namespace {

// Text written with LF line ends, as the file has it with CRLF.
std::string crlf(std::string_view text) {
    std::string out;
    for (char c : text) {
        if (c == '\n') out.push_back('\r');
        out.push_back(c);
    }
    return out;
}

// UTF-16LE bytes with a byte-order mark, as regedit saves an export.
std::string utf16_file(std::u16string_view text) {
    std::string out = "\xFF\xFE";
    for (char16_t unit : text) {
        out.push_back(static_cast<char>(unit & 0xFF));
        out.push_back(static_cast<char>(unit >> 8));
    }
    return out;
}

RegValue value(uint32_t type, std::string data) {
    return RegValue{type, std::move(data)};
}

std::string dword_bytes(uint32_t number) {
    std::string out;
    for (int i = 0; i < 4; ++i) out.push_back(static_cast<char>((number >> (8 * i)) & 0xFF));
    return out;
}

std::string bytes_upto(int count) {
    std::string out;
    for (int i = 0; i < count; ++i) out.push_back(static_cast<char>(i));
    return out;
}

const RegTreeKey *key_at(const RegTreeKey &store, const std::vector<std::string> &path) {
    const RegTreeKey *key = &store;
    for (const std::string &name : path) {
        if (key == nullptr) return nullptr;
        key = key->find_subkey(name);
    }
    return key;
}

RegTreeKey parsed(std::string_view text) {
    RegTreeKey store;
    std::string error;
    EXPECT_TRUE(parse_reg_text(text, &store, &error)) << error;
    return store;
}

void expect_round_trip(const RegTreeKey &store) {
    const std::string text = serialize_reg_text(store);
    RegTreeKey again;
    std::string error;
    ASSERT_TRUE(parse_reg_text(text, &again, &error)) << error << "\n" << text;
    EXPECT_TRUE(again.same_as(store)) << text;
    EXPECT_EQ(serialize_reg_text(again), text);
}

TEST(RegTreeKey, SubkeysAreFoundWithoutCaseAndKeepTheirFirstCase) {
    RegTreeKey root;
    root.add_subkey("Online");
    root.add_subkey("ONLINE");
    ASSERT_EQ(root.subkey_count(), 1u);
    EXPECT_EQ(root.subkey(0).name(), "Online");
    ASSERT_NE(root.find_subkey("online"), nullptr);
    EXPECT_TRUE(root.remove_subkey("oNLINE"));
    EXPECT_EQ(root.subkey_count(), 0u);
    EXPECT_FALSE(root.remove_subkey("Online"));
}

TEST(RegTreeKey, SubkeysEnumerateInCaseInsensitiveOrder) {
    RegTreeKey root;
    for (const char *name : {"b", "A", "c", "B2", "_x"}) root.add_subkey(name);
    std::vector<std::string> names;
    for (std::size_t i = 0; i < root.subkey_count(); ++i) names.push_back(root.subkey(i).name());
    // Upper-case comparison, as Windows orders them: '_' sorts after the letters.
    EXPECT_EQ(names, (std::vector<std::string>{"A", "b", "B2", "c", "_x"}));
}

TEST(RegTreeKey, ValuesKeepCreationOrderAndTheirPlaceWhenSetAgain) {
    RegTreeKey key;
    key.set_value("zeta", value(regtype::kDword, dword_bytes(1)));
    key.set_value("Alpha", value(regtype::kDword, dword_bytes(2)));
    key.set_value("mid", value(regtype::kDword, dword_bytes(3)));
    key.set_value("ALPHA", value(regtype::kSz, std::string("x", 2)));
    ASSERT_EQ(key.value_count(), 3u);
    EXPECT_EQ(key.value(0).name, "zeta");
    EXPECT_EQ(key.value(1).name, "Alpha");
    EXPECT_EQ(key.value(1).value.type, regtype::kSz);
    EXPECT_EQ(key.value(2).name, "mid");
    EXPECT_TRUE(key.remove_value("ZETA"));
    EXPECT_FALSE(key.remove_value("zeta"));
    ASSERT_EQ(key.value_count(), 2u);
    EXPECT_EQ(key.value(0).name, "Alpha");
    ASSERT_NE(key.find_value("MID"), nullptr);
    EXPECT_EQ(key.find_value("MID")->data, dword_bytes(3));
}

TEST(RegTextFormat, SerializesTheRegeditForm) {
    RegTreeKey store;
    store.add_subkey("HKEY_CURRENT_USER").add_subkey("Environment").set_value("TEMP", value(1, {"x", 2}));
    RegTreeKey &software = store.add_subkey("HKEY_LOCAL_MACHINE").add_subkey("SOFTWARE");
    RegTreeKey &orvandex = software.add_subkey("Orvandex");
    software.add_subkey("alpha");
    orvandex.set_value("", value(regtype::kSz, {"Orvandex", 9}));
    orvandex.set_value("Dir", value(regtype::kSz, std::string("C:\\Program Files\\\"x\"") + '\0'));
    orvandex.set_value("Port", value(regtype::kDword, dword_bytes(9088)));
    orvandex.set_value("Size", value(regtype::kQword, {"\x00\x10\x00\x00\x01\x00\x00\x00", 8}));
    orvandex.set_value("Path", value(regtype::kExpandSz, {"%R%\\x", 6}));
    orvandex.set_value("Hosts", value(regtype::kMultiSz, {"a\0b\0", 5}));
    orvandex.set_value("Raw", value(regtype::kSz, "ab"));
    orvandex.set_value("Blob", value(regtype::kBinary, bytes_upto(40)));
    orvandex.set_value("Empty", value(regtype::kSz, {"", 1}));
    orvandex.set_value("None", value(regtype::kNone, ""));
    orvandex.set_value("Short", value(regtype::kDword, "\x01\x02"));

    const std::string expected = crlf(R"(Windows Registry Editor Version 5.00

[HKEY_CURRENT_USER]

[HKEY_CURRENT_USER\Environment]
"TEMP"="x"

[HKEY_LOCAL_MACHINE]

[HKEY_LOCAL_MACHINE\SOFTWARE]

[HKEY_LOCAL_MACHINE\SOFTWARE\alpha]

[HKEY_LOCAL_MACHINE\SOFTWARE\Orvandex]
@="Orvandex"
"Dir"="C:\\Program Files\\\"x\""
"Port"=dword:00002380
"Size"=hex(b):00,10,00,00,01,00,00,00
"Path"=hex(2):25,00,52,00,25,00,5c,00,78,00,00,00
"Hosts"=hex(7):61,00,00,00,62,00,00,00,00,00
"Raw"=hex(1):61,00,62,00
"Blob"=hex:00,01,02,03,04,05,06,07,08,09,0a,0b,0c,0d,0e,0f,10,11,12,13,14,15,\
  16,17,18,19,1a,1b,1c,1d,1e,1f,20,21,22,23,24,25,26,27
"Empty"=""
"None"=hex(0):
"Short"=hex(4):01,02

)");
    EXPECT_EQ(serialize_reg_text(store), expected);
    expect_round_trip(store);
}

TEST(RegTextFormat, WrapsLongStringDataAsRegeditDoes) {
    RegTreeKey store;
    store.add_subkey("HKEY_LOCAL_MACHINE")
        .set_value("Path", value(regtype::kExpandSz, std::string("%SystemRoot%\\system32") + '\0'));
    EXPECT_EQ(serialize_reg_text(store), crlf(R"(Windows Registry Editor Version 5.00

[HKEY_LOCAL_MACHINE]
"Path"=hex(2):25,00,53,00,79,00,73,00,74,00,65,00,6d,00,52,00,6f,00,6f,00,74,\
  00,25,00,5c,00,73,00,79,00,73,00,74,00,65,00,6d,00,33,00,32,00,00,00

)"));
}

TEST(RegTextFormat, SerializesAnEmptyStore) {
    EXPECT_EQ(serialize_reg_text(RegTreeKey()), "Windows Registry Editor Version 5.00\r\n\r\n");
    EXPECT_EQ(parsed("Windows Registry Editor Version 5.00\r\n\r\n").subkey_count(), 0u);
}

TEST(RegTextFormat, ParsesAUnicodeRegeditExport) {
    const std::string file = utf16_file(
        u"Windows Registry Editor Version 5.00\r\n"
        u"\r\n"
        u"; exported from the test machine\r\n"
        u"[HKEY_LOCAL_MACHINE\\SOFTWARE\\Orvandex\\Server]\r\n"
        u"@=\"Orvandex Server\"\r\n"
        u"\"InstallDir\"=\"C:\\\\Program Files\\\\Orvandex\"\r\n"
        u"\"Caf\u00e9\"=\"na\u00efve \\\"quoted\\\"\"\r\n"
        u"\"Port\"=dword:00002328\r\n"
        u"\"Flags\"=dword:FFFFFFFF\r\n"
        u"\"Path\"=hex(2):25,00,53,00,79,00,73,00,74,00,65,00,6d,00,52,00,6f,00,6f,00,74,\\\r\n"
        u"  00,25,00,5c,00,62,00,69,00,6e,00,00,00\r\n"
        u"\"Hosts\"=hex(7):61,00,6c,00,70,00,68,00,61,00,00,00,62,00,65,00,74,00,61,00,\\\r\n"
        u"  00,00,00,00\r\n"
        u"\"Size\"=hex(b):00,10,00,00,01,00,00,00\r\n"
        u"\"Blob\"=hex:01,02,ff\r\n"
        u"\"Nothing\"=hex(0):\r\n"
        u"\r\n"
        u"[HKEY_LOCAL_MACHINE\\SOFTWARE\\Orvandex\\Server\\SQLHOSTS]\r\n"
        u"\r\n"
        u"[HKEY_CURRENT_USER\\Environment]\r\n"
        u"\"TEMP\"=hex(2):25,00,54,00,4d,00,50,00,25,00,00,00\r\n"
        u"\r\n");
    const RegTreeKey store = parsed(file);
    const RegTreeKey *server = key_at(store, {"HKEY_LOCAL_MACHINE", "SOFTWARE", "Orvandex", "Server"});
    ASSERT_NE(server, nullptr);
    std::vector<std::string> names;
    for (std::size_t i = 0; i < server->value_count(); ++i) names.push_back(server->value(i).name);
    EXPECT_EQ(names, (std::vector<std::string>{"", "InstallDir", "Caf\xC3\xA9", "Port", "Flags", "Path",
                                               "Hosts", "Size", "Blob", "Nothing"}));
    auto expect_value = [&](const char *name, uint32_t type, const std::string &data) {
        const RegValue *found = server->find_value(name);
        ASSERT_NE(found, nullptr) << name;
        EXPECT_EQ(found->type, type) << name;
        EXPECT_EQ(found->data, data) << name;
    };
    expect_value("", regtype::kSz, std::string("Orvandex Server") + '\0');
    expect_value("InstallDir", regtype::kSz, std::string("C:\\Program Files\\Orvandex") + '\0');
    expect_value("CAF\xC3\xA9", regtype::kSz, std::string("na\xC3\xAFve \"quoted\"") + '\0');
    expect_value("Port", regtype::kDword, dword_bytes(0x2328));
    expect_value("Flags", regtype::kDword, "\xFF\xFF\xFF\xFF");
    expect_value("Path", regtype::kExpandSz, std::string("%SystemRoot%\\bin") + '\0');
    expect_value("Hosts", regtype::kMultiSz, std::string("alpha\0beta\0\0", 12));
    expect_value("Size", regtype::kQword, std::string("\x00\x10\x00\x00\x01\x00\x00\x00", 8));
    expect_value("Blob", regtype::kBinary, "\x01\x02\xFF");
    expect_value("Nothing", regtype::kNone, "");
    const RegTreeKey *sqlhosts = key_at(*server, {"sqlhosts"});
    ASSERT_NE(sqlhosts, nullptr);
    EXPECT_EQ(sqlhosts->name(), "SQLHOSTS");
    EXPECT_EQ(sqlhosts->value_count(), 0u);
    const RegTreeKey *environment = key_at(store, {"HKEY_CURRENT_USER", "Environment"});
    ASSERT_NE(environment, nullptr);
    ASSERT_NE(environment->find_value("temp"), nullptr);
    EXPECT_EQ(environment->find_value("temp")->data, std::string("%TMP%") + '\0');
    expect_round_trip(store);
}

TEST(RegTextFormat, ParsesRegedit4WithNarrowStringData) {
    const RegTreeKey store = parsed(
        "REGEDIT4\n"
        "\n"
        "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Old]\n"
        "\"Path\"=hex(2):25,53,79,73,25,00\n"
        "\"Multi\"=hex(7):61,00,62,\\\n"
        "  00,00\n"
        "\"Name\"=\"x\"\n");
    const RegTreeKey *old = key_at(store, {"HKEY_LOCAL_MACHINE", "SOFTWARE", "Old"});
    ASSERT_NE(old, nullptr);
    ASSERT_EQ(old->value_count(), 3u);
    EXPECT_EQ(old->value(0).value.type, regtype::kExpandSz);
    EXPECT_EQ(old->value(0).value.data, std::string("%Sys%") + '\0');
    EXPECT_EQ(old->value(1).value.type, regtype::kMultiSz);
    EXPECT_EQ(old->value(1).value.data, std::string("a\0b\0\0", 5));
    EXPECT_EQ(old->value(2).value.data, std::string("x") + '\0');
}

TEST(RegTextFormat, AcceptsAbbreviationsAndDeletions) {
    const RegTreeKey store = parsed(
        "\xEF\xBB\xBFWindows Registry Editor Version 5.00\n"
        "[hklm\\Software\\Keep]\n"
        "\"a\"=\"1\"\n"
        "\"b\"=\"2\"\n"
        "[HKLM\\Software\\Gone\\Child]\n"
        "[HKCU\\X]\n"
        "[HKLM\\SOFTWARE\\KEEP]\n"
        "\"A\"=-\n"
        "\"missing\"=-\n"
        "[-HKEY_LOCAL_MACHINE\\SOFTWARE\\Gone]\n"
        "\"ignored\"=\"under a deleted key\"\n"
        "[-HKLM\\SOFTWARE\\NeverWas\\Deep]\n"
        "[-HKCU]\n");
    ASSERT_EQ(store.subkey_count(), 1u);
    const RegTreeKey *keep = key_at(store, {"HKEY_LOCAL_MACHINE", "SOFTWARE", "Keep"});
    ASSERT_NE(keep, nullptr);
    EXPECT_EQ(store.subkey(0).name(), "HKEY_LOCAL_MACHINE");
    EXPECT_EQ(store.subkey(0).subkey(0).name(), "Software");
    EXPECT_EQ(store.subkey(0).subkey(0).subkey_count(), 1u);
    ASSERT_EQ(keep->value_count(), 1u);
    EXPECT_EQ(keep->value(0).name, "b");
}

TEST(RegTextFormat, RejectsMalformedInput) {
    const std::string header = "Windows Registry Editor Version 5.00\r\n";
    const std::vector<std::string> bad = {
        "",
        "\xFF\xFE",
        "Windows Registry Editor Version 4.00\r\n",
        "[HKEY_LOCAL_MACHINE\\X]\r\n",
        header + "\"a\"=\"value outside any key\"\r\n",
        header + "[HKEY_NOWHERE\\X]\r\n",
        header + "[HKLM\\X\r\n",
        header + "[HKLM\\\\X]\r\n",
        header + "[HKLM\\X\\]\r\n",
        header + "[]\r\n",
        header + "[HKLM\\" + std::string(256, 'k') + "]\r\n",
        header + "[HKLM\\X]\r\nstray text\r\n",
        header + "[HKLM\\X]\r\n\"a\"=dword:123456789\r\n",
        header + "[HKLM\\X]\r\n\"a\"=dword:\r\n",
        header + "[HKLM\\X]\r\n\"a\"=dword:12x4\r\n",
        header + "[HKLM\\X]\r\n\"a\"=hex:1,2,zz\r\n",
        header + "[HKLM\\X]\r\n\"a\"=hex:123\r\n",
        header + "[HKLM\\X]\r\n\"a\"=hex:01,,02\r\n",
        header + "[HKLM\\X]\r\n\"a\"=hex(1ffffffff):00\r\n",
        header + "[HKLM\\X]\r\n\"a\"=hex(q):00\r\n",
        header + "[HKLM\\X]\r\n\"a\"=hex(2):41,00,42\r\n",
        header + "[HKLM\\X]\r\n\"a\"=\"unterminated\r\n",
        header + "[HKLM\\X]\r\n\"a\"=\"bad \\escape\"\r\n",
        header + "[HKLM\\X]\r\n\"a\"=\"x\" trailing\r\n",
        header + "[HKLM\\X]\r\n\"a\r\n",
        header + "[HKLM\\X]\r\n\"a\"\r\n",
        header + "[HKLM\\X]\r\n\"a\"=\r\n",
        header + "[HKLM\\X]\r\n\"a\"=text\r\n",
        header + "[HKLM\\X]\r\n@\"a\"\r\n",
        header + "[HKLM\\X]\r\n\"a\"=hex:00,\\\r\n  zz\r\n",
        std::string("\xFF\xFEW\x00\x00", 5),
    };
    for (const std::string &text : bad) {
        RegTreeKey store;
        store.add_subkey("HKEY_LOCAL_MACHINE").set_value("kept", value(regtype::kNone, ""));
        std::string error;
        EXPECT_FALSE(parse_reg_text(text, &store, &error)) << text;
        EXPECT_FALSE(error.empty()) << text;
        // A failed parse leaves the target alone.
        ASSERT_EQ(store.subkey_count(), 1u);
        EXPECT_NE(store.subkey(0).find_value("kept"), nullptr);
    }
}

TEST(RegTextFormat, NamesTheFailingLine) {
    RegTreeKey store;
    std::string error;
    EXPECT_FALSE(parse_reg_text("REGEDIT4\n\n[HKLM\\A]\n\"x\"=dword:1\n\"y\"=oops\n", &store, &error));
    EXPECT_EQ(error, "line 5: unrecognized value data");
}

TEST(RegTextFormat, RoundTripsAwkwardContent) {
    RegTreeKey store;
    RegTreeKey &key = store.add_subkey("HKEY_LOCAL_MACHINE").add_subkey("Name with ] and [ and ;");
    key.add_subkey(" spaced ").add_subkey("\xC3\xA9t\xC3\xA9");
    key.add_subkey(std::string(255, 'L'));
    key.set_value("quote\" and \\ backslash", value(regtype::kSz, std::string("a\\\"b") + '\0'));
    key.set_value("embedded zero", value(regtype::kSz, std::string("a\0b\0", 4)));
    key.set_value("two lines", value(regtype::kSz, std::string("a\r\nb") + '\0'));
    key.set_value("not utf-8", value(regtype::kSz, std::string("\xE9t\xE9") + '\0'));
    key.set_value("broken expand", value(regtype::kExpandSz, std::string("\xED\xA0\x80\xFF") + '\0'));
    key.set_value("astral", value(regtype::kMultiSz, std::string("\xF0\x9D\x84\x9E\0\0", 6)));
    key.set_value("odd type", value(0x12345678u, "\x01"));
    key.set_value("ends in backslash", value(regtype::kSz, std::string("C:\\") + '\0'));
    key.set_value("@", value(regtype::kSz, std::string("not the default") + '\0'));
    key.set_value("", value(regtype::kBinary, ""));
    key.set_value("long binary", value(regtype::kBinary, std::string(1000, '\xAB')));
    key.set_value(std::string(300, 'v'), value(regtype::kBinary, "\x01\x02"));
    RegTreeKey *deep = &store.add_subkey("HKEY_USERS");
    for (std::size_t i = 0; i < kMaxKeyDepth; ++i) deep = &deep->add_subkey("d");
    expect_round_trip(store);
}

TEST(RegTextFormat, ConvertsBetweenNarrowAndUtf16) {
    EXPECT_EQ(narrow_to_utf16le(std::string("A\xC3\xA9\xF0\x9D\x84\x9E\0", 8)),
              std::string("A\x00\xE9\x00\x34\xD8\x1E\xDD\x00\x00", 10));
    // A byte that is not UTF-8 travels as a lone low surrogate.
    EXPECT_EQ(narrow_to_utf16le("\xE9"), "\xE9\xDC");
    std::string narrow;
    ASSERT_TRUE(utf16le_to_narrow(std::string("A\x00\xE9\x00\x34\xD8\x1E\xDD\xE9\xDC", 10), &narrow));
    EXPECT_EQ(narrow, "A\xC3\xA9\xF0\x9D\x84\x9E\xE9");
    // A lone high surrogate from a real Windows value is kept, not dropped.
    ASSERT_TRUE(utf16le_to_narrow(std::string("\x00\xD8", 2), &narrow));
    EXPECT_EQ(narrow, "\xED\xA0\x80");
    EXPECT_FALSE(utf16le_to_narrow("abc", &narrow));
    EXPECT_TRUE(is_valid_utf8("plain \xC3\xA9"));
    EXPECT_FALSE(is_valid_utf8("\xC0\x80"));
    EXPECT_FALSE(is_valid_utf8("\xED\xA0\x80"));
}

// Whatever a damaged file holds, parsing fails cleanly or gives a tree that
// writes and reads back the same.
TEST(RegTextFormat, SurvivesDamagedFiles) {
    RegTreeKey original;
    RegTreeKey &key = original.add_subkey("HKEY_LOCAL_MACHINE").add_subkey("SOFTWARE").add_subkey("Orvandex");
    key.set_value("Path", value(regtype::kExpandSz, std::string("%SystemRoot%\\system32") + '\0'));
    key.set_value("Port", value(regtype::kDword, dword_bytes(9088)));
    key.set_value("Name", value(regtype::kSz, std::string("ol_server") + '\0'));
    key.add_subkey("SQLHOSTS").set_value("Blob", value(regtype::kBinary, bytes_upto(60)));
    const std::string text = serialize_reg_text(original);
    std::mt19937 random(12345);
    int accepted = 0;
    for (int round = 0; round < 3000; ++round) {
        std::string damaged = text;
        const int changes = 1 + static_cast<int>(random() % 4);
        for (int i = 0; i < changes; ++i) {
            const std::size_t at = random() % damaged.size();
            switch (random() % 3) {
                case 0:
                    damaged[at] = static_cast<char>(random() % 256);
                    break;
                case 1:
                    damaged.erase(at, 1 + random() % 8);
                    break;
                default:
                    damaged.insert(at, 1, "\\\"[]=,:\r\n\0x"[random() % 11]);
                    break;
            }
        }
        RegTreeKey store;
        std::string error;
        if (!parse_reg_text(damaged, &store, &error)) {
            EXPECT_FALSE(error.empty());
            continue;
        }
        ++accepted;
        expect_round_trip(store);
    }
    // Some damage (in data bytes, say) leaves a readable file.
    EXPECT_GT(accepted, 0);
}

}  // namespace
}  // namespace dpl::platform::posix
