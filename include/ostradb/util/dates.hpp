#pragma once

// Date-time values are day counts since 30 December 1899 (0.0), the fraction being the time
// of day; this is the form they take in answers and in the serializer. Dates are proleptic
// Gregorian, years 1 to 9999. Before 1899-12-30 the whole part is negative and the time is
// still its absolute fraction: -1.25 is 1899-12-29 06:00.

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

// Raise EConvertError for a date or time that does not exist. DecodeDateTime raises it for a
// value outside the years 1 to 9999 (or not a number).
OSTRADB_API TDateTime EncodeDate(int year, int month, int day);
OSTRADB_API TDateTime EncodeTime(int hour, int minute, int second, int millisecond);
OSTRADB_API bool TryEncodeDate(int year, int month, int day, TDateTime& value);
OSTRADB_API DateParts DecodeDateTime(TDateTime value);

// The local date and time.
OSTRADB_API TDateTime Now();
// Seconds since 1970-01-01 00:00 UTC (day 25569) and back, rounded to the second.
OSTRADB_API TDateTime UnixTimeToDateTime(std::int64_t secondsSinceEpoch);
OSTRADB_API std::int64_t DateTimeToUnixTime(TDateTime value);

// The process short date format, "dd.MM.yyyy" unless set: d, dd, M, MM, yy, yyyy and literal
// separators. Safe to read and set from any thread.
OSTRADB_API std::string ShortDateFormat();
OSTRADB_API void SetShortDateFormat(std::string format);

// The date part of value in the short date format.
OSTRADB_API std::string DateToStr(TDateTime value);
// value formatted with d, dd, M, MM, yy, yyyy, h, hh, n, nn, s, ss, z, zzz; other characters
// are copied. Letters are matched ignoring case ("m" is always the month, "n" the minute), and
// text in single or double quotes is copied without its quotes.
OSTRADB_API std::string FormatDateTime(std::string_view format, TDateTime value);
// Parses a date in the short date format: day, month and year in the format's order, each
// separator written as in the format or as any of ". / -"; one- and two-digit years mean
// 1950 to 2049. Raises EConvertError with the text
// Строка даты "<text>" не соотвествует формату "<format>" либо введённые значения некорректные
// when the text does not match or names a day that does not exist.
OSTRADB_API TDateTime StrToDate(std::string_view text);
OSTRADB_API bool TryStrToDate(std::string_view text, TDateTime& value);

}  // namespace ostradb
