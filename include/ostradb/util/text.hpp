#pragma once

// Text comparison and letter case for UTF-8 strings, right for Cyrillic (Ё and ё included)
// and Latin. Every look-up "ignoring case" in the library goes through these.

#include <string>
#include <string_view>

#include "ostradb/export.hpp"

namespace ostradb {

// Equal ignoring letter case (full Unicode case folding; ASCII fast path).
OSTRADB_API bool SameText(std::string_view a, std::string_view b);
// Case-insensitive, locale-aware ordering: negative, zero or positive. Letters differing only
// in case compare equal; Latin sorts before Cyrillic; Ё follows Е.
OSTRADB_API int CompareText(std::string_view a, std::string_view b);
// Byte-wise ordering: negative, zero or positive.
OSTRADB_API int CompareStr(std::string_view a, std::string_view b);
// text starts with prefix, ignoring letter case (the case folding of text starts with that of
// prefix: StartsText("straß", "STRASSE") holds).
OSTRADB_API bool StartsText(std::string_view prefix, std::string_view text);

OSTRADB_API std::string UpperCase(std::string_view text);
OSTRADB_API std::string LowerCase(std::string_view text);

// Remove leading and/or trailing blanks and control characters (bytes up to 0x20).
OSTRADB_API std::string Trim(std::string_view text);
OSTRADB_API std::string TrimLeft(std::string_view text);
OSTRADB_API std::string TrimRight(std::string_view text);

// Number of code points of UTF-8 text (what "characters" means wherever text is counted). In
// malformed text a stray continuation byte is not counted.
OSTRADB_API std::size_t CodePointCount(std::string_view text);

}  // namespace ostradb
