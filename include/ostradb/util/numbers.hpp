#pragma once

// Number text, independent of the C locale. Floating-point text uses the library's own
// decimal separator ("." unless an application changes it; every request packet sets it to
// "." again).

#include <cstdint>
#include <string>
#include <string_view>

#include "ostradb/export.hpp"

namespace ostradb {

OSTRADB_API char DecimalSeparator();
OSTRADB_API void SetDecimalSeparator(char separator);

// Decimal integers with an optional sign; leading blanks are allowed, "$" or "0x" starts a
// hexadecimal number. False on anything else, including overflow.
OSTRADB_API bool TryStrToInt(std::string_view text, std::int32_t& value);
OSTRADB_API bool TryStrToInt64(std::string_view text, std::int64_t& value);
OSTRADB_API std::int32_t StrToIntDef(std::string_view text, std::int32_t def);
OSTRADB_API std::int64_t StrToInt64Def(std::string_view text, std::int64_t def);
// Raise EConvertError ("'x' is not a valid integer value").
OSTRADB_API std::int32_t StrToInt(std::string_view text);
OSTRADB_API std::int64_t StrToInt64(std::string_view text);

OSTRADB_API std::string IntToStr(std::int64_t value);

// Shortest text that reads back to the same value, with the decimal separator; "NAN", "INF"
// and "-INF" for the special values. The float overload is shortest for single precision.
OSTRADB_API std::string FloatToStr(double value);
OSTRADB_API std::string FloatToStr(float value);
// Accepts the decimal separator and "."; an optional exponent; leading and trailing blanks.
OSTRADB_API bool TryStrToFloat(std::string_view text, double& value);
// Raises EConvertError ("'x' is not a valid floating point value").
OSTRADB_API double StrToFloat(std::string_view text);

}  // namespace ostradb
