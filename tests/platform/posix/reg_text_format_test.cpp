#include "platform/posix/reg_text_format.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace dpl::platform::posix {
namespace {

RegValue value(uint32_t type, std::string data) {
    return RegValue{type, std::move(data)};
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

// A tree with each form of value the writer has, and its text as regedit
// writes it: CRLF line ends, parents before children, subkeys without regard
// to case, values in creation order, hex lines wrapped.
RegTreeKey sample() {
    RegTreeKey store;
    store.add_subkey("HKEY_CURRENT_USER").add_subkey("Environment").set_value("TEMP", value(1, {"x", 2}));
    RegTreeKey &software = store.add_subkey("HKEY_LOCAL_MACHINE").add_subkey("SOFTWARE");
    RegTreeKey &orvandex = software.add_subkey("Orvandex");
    software.add_subkey("alpha");
    std::string blob;
    for (int i = 0; i < 40; ++i) blob.push_back(static_cast<char>(i));
    orvandex.set_value("", value(regtype::kSz, {"Orvandex", 9}));
    orvandex.set_value("Dir", value(regtype::kSz, std::string("C:\\Program Files\\\"x\"") + '\0'));
    orvandex.set_value("Caf\xC3\xA9", value(regtype::kSz, {"na\xC3\xAFve", 7}));
    orvandex.set_value("Port", value(regtype::kDword, {"\x80\x23\x00\x00", 4}));
    orvandex.set_value("Size", value(regtype::kQword, {"\x00\x10\x00\x00\x01\x00\x00\x00", 8}));
    orvandex.set_value("Path", value(regtype::kExpandSz, {"%R%\\x", 6}));
    orvandex.set_value("Hosts", value(regtype::kMultiSz, {"a\0b\0", 5}));
    orvandex.set_value("Raw", value(regtype::kSz, "ab"));
    orvandex.set_value("Blob", value(regtype::kBinary, blob));
    orvandex.set_value("Empty", value(regtype::kSz, {"", 1}));
    orvandex.set_value("None", value(regtype::kNone, ""));
    orvandex.set_value("Short", value(regtype::kDword, "\x01\x02"));
    return store;
}

const std::string kSampleText =
    "Windows Registry Editor Version 5.00\r\n\r\n[HKEY_CURRENT_USER]\r\n\r\n"
    "[HKEY_CURRENT_USER\\Environment]\r\n\"TEMP\"=\"x\"\r\n\r\n"
    "[HKEY_LOCAL_MACHINE]\r\n\r\n[HKEY_LOCAL_MACHINE\\SOFTWARE]\r\n\r\n"
    "[HKEY_LOCAL_MACHINE\\SOFTWARE\\alpha]\r\n\r\n"
    "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Orvandex]\r\n"
    "@=\"Orvandex\"\r\n"
    "\"Dir\"=\"C:\\\\Program Files\\\\\\\"x\\\"\"\r\n"
    "\"Caf\xC3\xA9\"=\"na\xC3\xAFve\"\r\n"
    "\"Port\"=dword:00002380\r\n"
    "\"Size\"=hex(b):00,10,00,00,01,00,00,00\r\n"
    "\"Path\"=hex(2):25,00,52,00,25,00,5c,00,78,00,00,00\r\n"
    "\"Hosts\"=hex(7):61,00,00,00,62,00,00,00,00,00\r\n"
    "\"Raw\"=hex(1):61,00,62,00\r\n"
    "\"Blob\"=hex:00,01,02,03,04,05,06,07,08,09,0a,0b,0c,0d,0e,0f,10,11,12,13,14,15,\\\r\n"
    "  16,17,18,19,1a,1b,1c,1d,1e,1f,20,21,22,23,24,25,26,27\r\n"
    "\"Empty\"=\"\"\r\n\"None\"=hex(0):\r\n\"Short\"=hex(4):01,02\r\n\r\n";

TEST(RegTextFormat, WritesTheRegeditFormAndReadsItsUtf16Form) {
    EXPECT_EQ(serialize_reg_text(sample()), kSampleText);
    expect_round_trip(sample());
    EXPECT_EQ(serialize_reg_text(RegTreeKey()), "Windows Registry Editor Version 5.00\r\n\r\n");
    // UTF-16LE with a byte-order mark; string data in hex is UTF-16 too.
    EXPECT_TRUE(parsed("\xFF\xFE" + narrow_to_utf16le(kSampleText)).same_as(sample()));
}

TEST(RegTextFormat, ReadsRegedit4AbbreviationsCommentsAndDeletions) {
    const RegTreeKey store = parsed(
        "\xEF\xBB\xBFREGEDIT4\n; narrow string data, hive abbreviations\n[hklm\\Software\\Keep]\n"
        "\"a\"=\"1\"\n\"b\"=hex(2):25,53,79,73,25,00\n\"c\"=hex(7):61,00,\\\n  "
        "62,00,00\n\"d\"=dword:0000ABCD\n"
        "[HKLM\\Software\\Gone\\Child]\n[HKCU\\X]\n[HKLM\\SOFTWARE\\KEEP]\n\"A\"=-\n"
        "[-HKEY_LOCAL_MACHINE\\SOFTWARE\\Gone]\n\"ignored\"=\"under a deleted key\"\n"
        "[-HKLM\\SOFTWARE\\NeverWas\\Deep]\n[-HKCU]\n");
    EXPECT_EQ(serialize_reg_text(store),
              "Windows Registry Editor Version 5.00\r\n\r\n[HKEY_LOCAL_MACHINE]\r\n\r\n"
              "[HKEY_LOCAL_MACHINE\\Software]\r\n\r\n[HKEY_LOCAL_MACHINE\\Software\\Keep]\r\n"
              "\"b\"=hex(2):25,00,53,00,79,00,73,00,25,00,00,00\r\n"
              "\"c\"=hex(7):61,00,00,00,62,00,00,00,00,00\r\n\"d\"=dword:0000abcd\r\n\r\n");
}

TEST(RegTextFormat, RejectsMalformedInputAndLeavesTheTargetAlone) {
    const std::string header = "Windows Registry Editor Version 5.00\r\n";
    const std::string key = header + "[HKLM\\X]\r\n";
    // One of each way a file can be wrong: as a whole, in a key line, in a value line.
    std::vector<std::string> bad = {"", std::string("\xFF\xFEW\x00\x00", 5), header + "\"a\"=\"no key\"\r\n",
                                    "Windows Registry Editor Version 4.00\r\n",
                                    header + "[HKLM\\" + std::string(256, 'k') + "]\r\n"};
    for (const char *line : {"[HKEY_NOWHERE\\X]", "[HKLM\\X", "[HKLM\\\\X]"}) bad.push_back(header + line);
    for (const char *line :
         {"stray text", "\"a\"=dword:123456789", "\"a\"=dword:12x4", "\"a\"=hex:01,,02", "\"a\"=hex:1,2,zz",
          "\"a\"=hex(q):00", "\"a\"=hex(2):41,00,42", "\"a\"=\"unterminated", "\"a\"=\"bad \\escape\"",
          "\"a\"=\"x\" trailing", "\"a", "\"a\"", "\"a\"=text"}) {
        bad.push_back(key + line);
    }
    for (const std::string &text : bad) {
        RegTreeKey store;
        store.add_subkey("HKEY_LOCAL_MACHINE").set_value("kept", value(regtype::kNone, ""));
        std::string error;
        EXPECT_FALSE(parse_reg_text(text, &store, &error)) << text;
        EXPECT_FALSE(error.empty()) << text;
        ASSERT_EQ(store.subkey_count(), 1u);
        EXPECT_NE(store.subkey(0).find_value("kept"), nullptr);
    }
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
    // A byte that is not UTF-8 travels as a lone low surrogate.
    EXPECT_EQ(narrow_to_utf16le(std::string("A\xC3\xA9\xF0\x9D\x84\x9E\xE9\0", 9)),
              std::string("A\x00\xE9\x00\x34\xD8\x1E\xDD\xE9\xDC\x00\x00", 12));
    // A lone high surrogate from a real Windows value is kept, not dropped.
    std::string narrow;
    ASSERT_TRUE(utf16le_to_narrow(std::string("A\x00\xE9\x00\x34\xD8\x1E\xDD\xE9\xDC\x00\xD8", 12), &narrow));
    EXPECT_EQ(narrow, "A\xC3\xA9\xF0\x9D\x84\x9E\xE9\xED\xA0\x80");
    EXPECT_FALSE(utf16le_to_narrow("abc", &narrow));
    EXPECT_TRUE(is_valid_utf8("plain \xC3\xA9"));
    EXPECT_FALSE(is_valid_utf8("\xC0\x80") || is_valid_utf8("\xED\xA0\x80"));
}

}  // namespace
}  // namespace dpl::platform::posix
