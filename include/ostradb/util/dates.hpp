#pragma once

// Date-time values are day counts since 30 December 1899 (0.0), the fraction being the time
// of day; this is the form they take in answers and in the serializer.

#include <cstdint>
#include <string>
#include <string_view>

#include "ostradb/export.hpp"

namespace ostradb {

using TDateTime = double;

struct DateParts {
    int year = 1899, month = 12, day = 30;
    int hour = 0, minute = 0, second = 0, millisecond = 0;
};

// Raise EConvertError for a date or time that does not exist.
OSTRADB_API TDateTime EncodeDate(int year, int month, int day);
OSTRADB_API TDateTime EncodeTime(int hour, int minute, int second, int millisecond);
OSTRADB_API bool TryEncodeDate(int year, int month, int day, TDateTime& value);
OSTRADB_API DateParts DecodeDateTime(TDateTime value);

OSTRADB_API TDateTime Now();
OSTRADB_API TDateTime UnixTimeToDateTime(std::int64_t secondsSinceEpoch);
OSTRADB_API std::int64_t DateTimeToUnixTime(TDateTime value);

// The process short date format, "dd.MM.yyyy" unless set: d, dd, M, MM, yy, yyyy and literal
// separators.
OSTRADB_API std::string ShortDateFormat();
OSTRADB_API void SetShortDateFormat(std::string format);

// The date part of value in the short date format.
OSTRADB_API std::string DateToStr(TDateTime value);
// value formatted with d, dd, M, MM, yy, yyyy, h, hh, n, nn, s, ss, z, zzz; other characters
// are copied.
OSTRADB_API std::string FormatDateTime(std::string_view format, TDateTime value);
// Parses a date in the short date format. Raises EConvertError with the text
// Строка даты "<text>" не соотвествует формату "<format>" либо введённые значения некорректные
// when the text does not match or names a day that does not exist.
OSTRADB_API TDateTime StrToDate(std::string_view text);
OSTRADB_API bool TryStrToDate(std::string_view text, TDateTime& value);

}  // namespace ostradb
