#pragma once

// Single-byte code pages of the server's world: Windows-1251 (the wire and the server's
// files) and DOS 866. Conversion goes through 256-entry tables with a fast path for runs of
// ASCII. Encoding refuses a character the code page cannot hold with EEncodingError naming
// it; nothing is replaced silently.

#include <string>
#include <string_view>

#include "ostradb/export.hpp"

namespace ostradb {

enum class CodePage { Windows1251, Dos866 };

// Appends the UTF-8 form of 8-bit text to out. Never fails: every byte has a character
// (Windows-1251 0x98, unassigned in the standard table, reads as the control U+0098).
OSTRADB_API void AppendDecoded(CodePage page, std::string_view bytes, std::string& out);
// Appends the 8-bit form of UTF-8 text to out. Malformed UTF-8 or a character outside the
// code page raises EEncodingError; out then holds what was converted before it. The message
// names the character ("character U+20AC "€" cannot be written in DOS 866", CodePoint() is
// that character) or the byte offset into utf8 ("invalid UTF-8 at byte 17", U+FFFD).
OSTRADB_API void AppendEncoded(CodePage page, std::string_view utf8, std::string& out);

OSTRADB_API std::string Cp1251ToUtf8(std::string_view bytes);
OSTRADB_API std::string Utf8ToCp1251(std::string_view utf8);
OSTRADB_API std::string Cp866ToUtf8(std::string_view bytes);
OSTRADB_API std::string Utf8ToCp866(std::string_view utf8);

// Whether every character of utf8 has a byte in the code page (and utf8 is well-formed).
OSTRADB_API bool CanEncode(CodePage page, std::string_view utf8);
// Whether text is well-formed UTF-8 (no overlong forms, surrogates or values past U+10FFFF).
// Cyrillic Windows-1251 text almost never is, which tells the two apart in files.
OSTRADB_API bool IsValidUtf8(std::string_view text);

}  // namespace ostradb
