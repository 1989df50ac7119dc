#include "platform/posix/reg_text_format.hpp"

#include <array>
#include <cstdint>
#include <utility>
#include <vector>

namespace dpl::platform::posix {
namespace {

constexpr std::string_view kHeader5 = "Windows Registry Editor Version 5.00";
constexpr std::string_view kHeader4 = "REGEDIT4";
// regedit breaks a hex line once it has reached this many columns.
constexpr std::size_t kHexLineLimit = 76;

// ---- UTF-8 / UTF-16 -------------------------------------------------------

bool is_continuation(unsigned char c) {
    return (c & 0xC0u) == 0x80u;
}

// The length of the well-formed UTF-8 sequence at `pos` and its code point,
// or 0 when the bytes there are not one.
std::size_t decode_utf8(std::string_view s, std::size_t pos, uint32_t *cp) {
    const auto b0 = static_cast<unsigned char>(s[pos]);
    const std::size_t left = s.size() - pos;
    auto at = [&](std::size_t i) { return static_cast<unsigned char>(s[pos + i]); };
    if (b0 < 0x80u) {
        *cp = b0;
        return 1;
    }
    if (b0 >= 0xC2u && b0 <= 0xDFu) {
        if (left < 2 || !is_continuation(at(1))) return 0;
        *cp = ((b0 & 0x1Fu) << 6) | (at(1) & 0x3Fu);
        return 2;
    }
    if (b0 >= 0xE0u && b0 <= 0xEFu) {
        if (left < 3 || !is_continuation(at(1)) || !is_continuation(at(2))) return 0;
        if (b0 == 0xE0u && at(1) < 0xA0u) return 0;  // overlong
        if (b0 == 0xEDu && at(1) > 0x9Fu) return 0;  // surrogate
        *cp = ((b0 & 0x0Fu) << 12) | ((at(1) & 0x3Fu) << 6) | (at(2) & 0x3Fu);
        return 3;
    }
    if (b0 >= 0xF0u && b0 <= 0xF4u) {
        if (left < 4 || !is_continuation(at(1)) || !is_continuation(at(2)) || !is_continuation(at(3))) {
            return 0;
        }
        if (b0 == 0xF0u && at(1) < 0x90u) return 0;  // overlong
        if (b0 == 0xF4u && at(1) > 0x8Fu) return 0;  // beyond U+10FFFF
        *cp = ((b0 & 0x07u) << 18) | ((at(1) & 0x3Fu) << 12) | ((at(2) & 0x3Fu) << 6) | (at(3) & 0x3Fu);
        return 4;
    }
    return 0;
}

// Also encodes lone surrogates, which UTF-16 data from Windows may hold.
void append_utf8(std::string &out, uint32_t cp) {
    auto put = [&](uint32_t byte) { out.push_back(static_cast<char>(byte)); };
    if (cp < 0x80u) {
        put(cp);
    } else if (cp < 0x800u) {
        put(0xC0u | (cp >> 6));
        put(0x80u | (cp & 0x3Fu));
    } else if (cp < 0x10000u) {
        put(0xE0u | (cp >> 12));
        put(0x80u | ((cp >> 6) & 0x3Fu));
        put(0x80u | (cp & 0x3Fu));
    } else {
        put(0xF0u | (cp >> 18));
        put(0x80u | ((cp >> 12) & 0x3Fu));
        put(0x80u | ((cp >> 6) & 0x3Fu));
        put(0x80u | (cp & 0x3Fu));
    }
}

void append_unit(std::string &out, uint32_t unit) {
    out.push_back(static_cast<char>(unit & 0xFFu));
    out.push_back(static_cast<char>(unit >> 8));
}

// ---- reading --------------------------------------------------------------

bool is_blank(char c) {
    return c == ' ' || c == '\t' || c == '\r';
}

std::string_view trim(std::string_view s) {
    while (!s.empty() && is_blank(s.front())) s.remove_prefix(1);
    while (!s.empty() && is_blank(s.back())) s.remove_suffix(1);
    return s;
}

bool starts_with_nocase(std::string_view s, std::string_view prefix) {
    return s.size() >= prefix.size() && names_equal(s.substr(0, prefix.size()), prefix);
}

int hex_digit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// 1 to 8 hex digits and nothing else.
bool parse_hex_number(std::string_view s, uint32_t *out) {
    if (s.empty() || s.size() > 8) return false;
    uint32_t value = 0;
    for (char c : s) {
        const int d = hex_digit(c);
        if (d < 0) return false;
        value = (value << 4) | static_cast<uint32_t>(d);
    }
    *out = value;
    return true;
}

// Comma-separated bytes of one or two hex digits; a trailing comma is
// tolerated, as hand-edited files often have one.
bool parse_hex_bytes(std::string_view s, std::string *out) {
    out->clear();
    s = trim(s);
    while (!s.empty()) {
        const std::size_t comma = s.find(',');
        const std::string_view item = trim(s.substr(0, comma));
        if (item.empty() || item.size() > 2) return false;
        uint32_t byte = 0;
        if (!parse_hex_number(item, &byte)) return false;
        out->push_back(static_cast<char>(byte));
        if (comma == std::string_view::npos) break;
        s = trim(s.substr(comma + 1));
    }
    return true;
}

// A quoted string starting at s[0] == '"', with \\ and \" escapes. On
// success `*rest` is what follows the closing quote.
bool parse_quoted(std::string_view s, std::string *out, std::string_view *rest) {
    out->clear();
    for (std::size_t i = 1; i < s.size(); ++i) {
        const char c = s[i];
        if (c == '"') {
            *rest = s.substr(i + 1);
            return true;
        }
        if (c == '\\') {
            if (i + 1 >= s.size() || (s[i + 1] != '\\' && s[i + 1] != '"')) return false;
            out->push_back(s[++i]);
        } else {
            out->push_back(c);
        }
    }
    return false;
}

bool is_string_type(uint32_t type) {
    return type == regtype::kSz || type == regtype::kExpandSz || type == regtype::kMultiSz;
}

class Parser {
public:
    explicit Parser(std::string_view text) : text_(text) {}

    bool run(RegTreeKey *store, std::string *error) {
        if (!read_header()) return fail(error, "missing registry file header");
        RegTreeKey result;
        while (next_logical_line()) {
            bool ok = false;
            if (line_[0] == '[') {
                ok = section(result);
            } else if (line_[0] == '@' || line_[0] == '"') {
                ok = value();
            } else {
                message_ = "unrecognized line";
            }
            if (!ok) return fail(error, message_);
        }
        *store = std::move(result);
        return true;
    }

private:
    bool fail(std::string *error, const std::string &what) {
        if (error != nullptr) *error = "line " + std::to_string(line_start_) + ": " + what;
        return false;
    }

    bool next_physical(std::string_view *line) {
        if (pos_ > text_.size()) return false;
        std::size_t end = text_.find('\n', pos_);
        if (end == std::string_view::npos) end = text_.size();
        *line = trim(text_.substr(pos_, end - pos_));
        pos_ = end + 1;
        ++line_number_;
        return true;
    }

    bool read_header() {
        std::string_view line;
        while (next_physical(&line)) {
            if (line.empty()) continue;
            line_start_ = line_number_;
            if (line == kHeader5) {
                unicode_ = true;
                return true;
            }
            if (line == kHeader4) {
                unicode_ = false;
                return true;
            }
            return false;
        }
        line_start_ = line_number_;
        return false;
    }

    // Joins lines that end in a backslash; skips blanks and comments.
    bool next_logical_line() {
        std::string_view physical;
        while (next_physical(&physical)) {
            if (physical.empty() || physical[0] == ';') continue;
            line_start_ = line_number_;
            line_.assign(physical);
            while (line_[0] != '[' && line_.back() == '\\') {
                line_.pop_back();
                if (!next_physical(&physical)) break;
                line_.append(physical);
                if (line_.empty()) break;
            }
            if (line_.empty()) continue;
            return true;
        }
        return false;
    }

    bool section(RegTreeKey &store) {
        std::string_view inner(line_);
        if (inner.size() < 2 || inner.back() != ']') {
            message_ = "unterminated key name";
            return false;
        }
        inner = inner.substr(1, inner.size() - 2);
        const bool remove = !inner.empty() && inner[0] == '-';
        if (remove) inner.remove_prefix(1);
        std::vector<std::string_view> names;
        while (true) {
            const std::size_t sep = inner.find('\\');
            names.push_back(inner.substr(0, sep));
            if (sep == std::string_view::npos) break;
            inner.remove_prefix(sep + 1);
        }
        if (names.size() > kMaxKeyDepth + 1) {
            message_ = "key nested too deeply";
            return false;
        }
        for (std::string_view name : names) {
            if (name.empty() || name.size() > kMaxKeyNameLength ||
                name.find('\0') != std::string_view::npos) {
                message_ = "invalid key name";
                return false;
            }
        }
        const std::string hive = canonical_hive_name(names[0]);
        if (hive.empty()) {
            message_ = "unknown root key";
            return false;
        }
        current_ = nullptr;
        in_deleted_key_ = remove;
        if (remove) {
            RegTreeKey *parent = &store;
            std::string_view doomed = hive;
            for (std::size_t i = 1; i < names.size() && parent != nullptr; ++i) {
                parent = parent->find_subkey(doomed);
                doomed = names[i];
            }
            if (parent != nullptr) parent->remove_subkey(doomed);
            return true;
        }
        RegTreeKey *key = &store.add_subkey(hive);
        for (std::size_t i = 1; i < names.size(); ++i) key = &key->add_subkey(names[i]);
        current_ = key;
        return true;
    }

    bool value() {
        std::string name;
        std::string_view rest(line_);
        if (rest[0] == '@') {
            rest.remove_prefix(1);
        } else if (!parse_quoted(rest, &name, &rest)) {
            message_ = "malformed value name";
            return false;
        }
        if (name.size() > kMaxValueNameLength || name.find('\0') != std::string::npos) {
            message_ = "invalid value name";
            return false;
        }
        rest = trim(rest);
        if (rest.empty() || rest[0] != '=') {
            message_ = "expected '=' after the value name";
            return false;
        }
        rest = trim(rest.substr(1));
        if (current_ == nullptr) {
            if (in_deleted_key_) return true;  // regedit ignores values of a deleted key
            message_ = "value outside of any key";
            return false;
        }
        if (rest == "-") {
            current_->remove_value(name);
            return true;
        }
        RegValue data;
        if (!value_data(rest, &data)) return false;
        current_->set_value(name, std::move(data));
        return true;
    }

    bool value_data(std::string_view text, RegValue *out) {
        if (!text.empty() && text[0] == '"') {
            std::string_view after;
            if (!parse_quoted(text, &out->data, &after) || !trim(after).empty()) {
                message_ = "malformed string value";
                return false;
            }
            out->type = regtype::kSz;
            out->data.push_back('\0');
            return true;
        }
        if (starts_with_nocase(text, "dword:")) {
            uint32_t number = 0;
            if (!parse_hex_number(text.substr(6), &number)) {
                message_ = "malformed dword value";
                return false;
            }
            out->type = regtype::kDword;
            out->data.clear();
            for (int i = 0; i < 4; ++i) out->data.push_back(static_cast<char>((number >> (8 * i)) & 0xFFu));
            return true;
        }
        std::string_view bytes;
        if (starts_with_nocase(text, "hex:")) {
            out->type = regtype::kBinary;
            bytes = text.substr(4);
        } else if (starts_with_nocase(text, "hex(")) {
            const std::size_t close = text.find("):");
            if (close == std::string_view::npos || !parse_hex_number(text.substr(4, close - 4), &out->type)) {
                message_ = "malformed value type";
                return false;
            }
            bytes = text.substr(close + 2);
        } else {
            message_ = "unrecognized value data";
            return false;
        }
        if (!parse_hex_bytes(bytes, &out->data)) {
            message_ = "malformed hex data";
            return false;
        }
        if (unicode_ && is_string_type(out->type)) {
            std::string narrow;
            if (!utf16le_to_narrow(out->data, &narrow)) {
                message_ = "string data with an odd number of bytes";
                return false;
            }
            out->data = std::move(narrow);
        }
        return true;
    }

    std::string_view text_;
    std::size_t pos_ = 0;
    std::size_t line_number_ = 0;
    std::size_t line_start_ = 0;
    std::string line_;
    std::string message_;
    bool unicode_ = true;
    RegTreeKey *current_ = nullptr;
    bool in_deleted_key_ = false;
};

// The file's bytes as UTF-8 text.
bool decode_input(std::string_view bytes, std::string *text) {
    if (bytes.size() >= 2 && static_cast<unsigned char>(bytes[0]) == 0xFFu &&
        static_cast<unsigned char>(bytes[1]) == 0xFEu) {
        return utf16le_to_narrow(bytes.substr(2), text);
    }
    if (bytes.size() >= 3 && bytes.substr(0, 3) == "\xEF\xBB\xBF") bytes.remove_prefix(3);
    text->assign(bytes);
    return true;
}

// ---- writing --------------------------------------------------------------

void append_escaped(std::string &out, std::string_view s) {
    for (char c : s) {
        if (c == '\\' || c == '"') out.push_back('\\');
        out.push_back(c);
    }
}

void append_hex_byte(std::string &out, unsigned char byte) {
    static constexpr std::array<char, 16> kDigits{'0', '1', '2', '3', '4', '5', '6', '7',
                                                  '8', '9', 'a', 'b', 'c', 'd', 'e', 'f'};
    out.push_back(kDigits[byte >> 4]);
    out.push_back(kDigits[byte & 0x0Fu]);
}

std::string hex_number(uint32_t value, bool pad) {
    std::string digits;
    for (int shift = 28; shift >= 0; shift -= 4) {
        const auto nibble = static_cast<unsigned char>((value >> shift) & 0x0Fu);
        if (!pad && digits.empty() && nibble == 0 && shift > 0) continue;
        static constexpr std::string_view kDigits = "0123456789abcdef";
        digits.push_back(kDigits[nibble]);
    }
    return digits;
}

// REG_SZ data that can be written as "text": one terminating zero and
// nothing the quoted form cannot carry on one line.
bool quotable(std::string_view data) {
    if (data.empty() || data.back() != '\0') return false;
    const std::string_view text = data.substr(0, data.size() - 1);
    return text.find_first_of(std::string_view("\0\r\n", 3)) == std::string_view::npos && is_valid_utf8(text);
}

void append_hex_lines(std::string &out, std::string line, std::string_view bytes) {
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        append_hex_byte(line, static_cast<unsigned char>(bytes[i]));
        if (i + 1 == bytes.size()) break;
        line.push_back(',');
        if (line.size() >= kHexLineLimit) {
            out.append(line).append("\\\r\n");
            line = "  ";
        }
    }
    out.append(line).append("\r\n");
}

void append_value(std::string &out, const NamedValue &named) {
    std::string line;
    if (named.name.empty()) {
        line = "@=";
    } else {
        line = "\"";
        append_escaped(line, named.name);
        line += "\"=";
    }
    const RegValue &value = named.value;
    if (value.type == regtype::kSz && quotable(value.data)) {
        line.push_back('"');
        append_escaped(line, std::string_view(value.data).substr(0, value.data.size() - 1));
        out.append(line).append("\"\r\n");
        return;
    }
    if (value.type == regtype::kDword && value.data.size() == 4) {
        uint32_t number = 0;
        for (int i = 3; i >= 0; --i) {
            number = (number << 8) | static_cast<unsigned char>(value.data[static_cast<std::size_t>(i)]);
        }
        out.append(line).append("dword:").append(hex_number(number, true)).append("\r\n");
        return;
    }
    if (value.type == regtype::kBinary) {
        line += "hex:";
    } else {
        line += "hex(" + hex_number(value.type, false) + "):";
    }
    if (is_string_type(value.type)) {
        append_hex_lines(out, std::move(line), narrow_to_utf16le(value.data));
    } else {
        append_hex_lines(out, std::move(line), value.data);
    }
}

}  // namespace

std::string canonical_hive_name(std::string_view name) {
    static constexpr std::array<std::pair<std::string_view, std::string_view>, 5> kHives{{
        {"HKEY_LOCAL_MACHINE", "HKLM"},
        {"HKEY_CURRENT_USER", "HKCU"},
        {"HKEY_CLASSES_ROOT", "HKCR"},
        {"HKEY_USERS", "HKU"},
        {"HKEY_CURRENT_CONFIG", "HKCC"},
    }};
    for (const auto &[full, short_name] : kHives) {
        if (names_equal(name, full) || names_equal(name, short_name)) return std::string(full);
    }
    return {};
}

bool parse_reg_text(std::string_view bytes, RegTreeKey *store, std::string *error) {
    std::string text;
    if (!decode_input(bytes, &text)) {
        if (error != nullptr) *error = "UTF-16 file with an odd number of bytes";
        return false;
    }
    return Parser(text).run(store, error);
}

std::string serialize_reg_text(const RegTreeKey &store) {
    std::string out(kHeader5);
    out += "\r\n\r\n";
    // Depth first, parents before children, subkeys in enumeration order.
    std::vector<std::pair<const RegTreeKey *, std::string>> pending;
    for (std::size_t i = store.subkey_count(); i-- > 0;) {
        pending.emplace_back(&store.subkey(i), store.subkey(i).name());
    }
    while (!pending.empty()) {
        auto [key, path] = std::move(pending.back());
        pending.pop_back();
        out.append("[").append(path).append("]\r\n");
        for (std::size_t i = 0; i < key->value_count(); ++i) append_value(out, key->value(i));
        out += "\r\n";
        for (std::size_t i = key->subkey_count(); i-- > 0;) {
            pending.emplace_back(&key->subkey(i), path + "\\" + key->subkey(i).name());
        }
    }
    return out;
}

std::string narrow_to_utf16le(std::string_view narrow) {
    std::string wide;
    wide.reserve(narrow.size() * 2);
    std::size_t pos = 0;
    while (pos < narrow.size()) {
        uint32_t cp = 0;
        const std::size_t length = decode_utf8(narrow, pos, &cp);
        if (length == 0) {
            append_unit(wide, 0xDC00u + static_cast<unsigned char>(narrow[pos]));
            ++pos;
            continue;
        }
        pos += length;
        if (cp >= 0x10000u) {
            cp -= 0x10000u;
            append_unit(wide, 0xD800u + (cp >> 10));
            append_unit(wide, 0xDC00u + (cp & 0x3FFu));
        } else {
            append_unit(wide, cp);
        }
    }
    return wide;
}

bool utf16le_to_narrow(std::string_view wide, std::string *narrow) {
    if (wide.size() % 2 != 0) return false;
    auto unit_at = [&](std::size_t i) {
        return static_cast<uint32_t>(static_cast<unsigned char>(wide[i])) |
               (static_cast<uint32_t>(static_cast<unsigned char>(wide[i + 1])) << 8);
    };
    std::string out;
    out.reserve(wide.size() / 2);
    for (std::size_t i = 0; i < wide.size(); i += 2) {
        const uint32_t unit = unit_at(i);
        if (unit >= 0xD800u && unit <= 0xDBFFu && i + 2 < wide.size()) {
            const uint32_t low = unit_at(i + 2);
            if (low >= 0xDC00u && low <= 0xDFFFu) {
                append_utf8(out, 0x10000u + ((unit - 0xD800u) << 10) + (low - 0xDC00u));
                i += 2;
                continue;
            }
        }
        if (unit >= 0xDC80u && unit <= 0xDCFFu) {
            out.push_back(static_cast<char>(unit - 0xDC00u));
        } else {
            append_utf8(out, unit);
        }
    }
    *narrow = std::move(out);
    return true;
}

bool is_valid_utf8(std::string_view text) {
    std::size_t pos = 0;
    while (pos < text.size()) {
        uint32_t cp = 0;
        const std::size_t length = decode_utf8(text, pos, &cp);
        if (length == 0) return false;
        pos += length;
    }
    return true;
}

}  // namespace dpl::platform::posix
