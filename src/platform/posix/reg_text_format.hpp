// The registry export text format ("Windows Registry Editor Version 5.00" and
// "REGEDIT4"), which is what the POSIX backend keeps its store in, so that a
// store can be read, diffed and edited by hand and exchanged with Windows.
//
// A store is a nameless RegTreeKey whose subkeys are the hive roots under
// their full names (HKEY_LOCAL_MACHINE, ...).
#pragma once

#include <string>
#include <string_view>

#include "platform/posix/registry_tree.hpp"

namespace dpl::platform::posix {

// The full name of a hive root written in full or abbreviated (HKLM), in
// any case; empty when it names no hive.
std::string canonical_hive_name(std::string_view name);

// Reads a whole file's bytes. On success replaces *store and returns true;
// on failure leaves *store alone and puts a message naming the line in
// *error.
bool parse_reg_text(std::string_view bytes, RegTreeKey *store, std::string *error);

// Writes a store in the version 5.00 form, as UTF-8 with CRLF line ends.
// Parsing the result gives back an identical tree.
std::string serialize_reg_text(const RegTreeKey &store);

// The conversions the format needs between the narrow (UTF-8) strings the
// registry hands out and the UTF-16LE the version 5.00 form stores string
// data in. Bytes that are not UTF-8 travel as lone surrogates U+DC80..U+DCFF
// so that narrow -> wide -> narrow is exact for any bytes.
std::string narrow_to_utf16le(std::string_view narrow);
// False only for an odd number of bytes.
bool utf16le_to_narrow(std::string_view wide, std::string *narrow);
bool is_valid_utf8(std::string_view text);

}  // namespace dpl::platform::posix
