#include "ostradb/util/dates.hpp"

#include <chrono>
#include <cmath>
#include <ctime>
#include <mutex>
#include <utility>

#include "ostradb/util/exceptions.hpp"

namespace ostradb {

namespace {

constexpr std::int64_t kMsPerDay = 86'400'000;
constexpr std::int64_t kSecondsPerDay = 86'400;
constexpr std::int64_t kUnixEpochDay = 25569;  // 1970-01-01
constexpr std::int64_t kMinDay = -693593;      // 0001-01-01
constexpr std::int64_t kMaxDay = 2958465;      // 9999-12-31

bool IsLeapYear(int year) {
    return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

int DaysInMonth(int year, int month) {
    static constexpr int kDays[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return month == 2 && IsLeapYear(year) ? 29 : kDays[month - 1];
}

// Days since 1899-12-30 of a proleptic Gregorian date (the civil-days algorithm, counted in
// 400-year eras starting on 1 March).
std::int64_t DayNumber(int year, int month, int day) {
    const std::int64_t y = year - (month <= 2 ? 1 : 0);
    const std::int64_t era = (y >= 0 ? y : y - 399) / 400;
    const std::int64_t yearOfEra = y - era * 400;
    const std::int64_t dayOfYear = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5 + day - 1;
    const std::int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * 146097 + dayOfEra - 719468 + kUnixEpochDay;
}

void CivilFromDayNumber(std::int64_t dayNumber, int& year, int& month, int& day) {
    const std::int64_t z = dayNumber - kUnixEpochDay + 719468;
    const std::int64_t era = (z >= 0 ? z : z - 146096) / 146097;
    const std::int64_t dayOfEra = z - era * 146097;
    const std::int64_t yearOfEra =
        (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const std::int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const std::int64_t mp = (5 * dayOfYear + 2) / 153;
    day = static_cast<int>(dayOfYear - (153 * mp + 2) / 5 + 1);
    month = static_cast<int>(mp < 10 ? mp + 3 : mp - 9);
    year = static_cast<int>(yearOfEra + era * 400 + (month <= 2 ? 1 : 0));
}

// A value split into its day count and the milliseconds of its time of day. The time is the
// absolute value of the fraction, also for negative day counts: -1.25 is 1899-12-29 06:00.
struct DayAndTime {
    std::int64_t day;
    std::int64_t ms;
};

DayAndTime SplitValue(TDateTime value) {
    if (!(std::fabs(value) < static_cast<double>(kMaxDay + 2)))
        throw EConvertError("Invalid date/time value");
    const double whole = std::trunc(value);
    DayAndTime r{static_cast<std::int64_t>(whole),
                 std::llround(std::fabs(value - whole) * kMsPerDay)};
    if (r.ms >= kMsPerDay) {  // rounded up to midnight: the next calendar day
        r.ms -= kMsPerDay;
        ++r.day;
    }
    if (r.day < kMinDay || r.day > kMaxDay) throw EConvertError("Invalid date/time value");
    return r;
}

TDateTime JoinValue(std::int64_t day, std::int64_t ms) {
    const double time = static_cast<double>(ms) / static_cast<double>(kMsPerDay);
    return day < 0 ? static_cast<double>(day) - time : static_cast<double>(day) + time;
}

std::mutex& FormatMutex() {
    static std::mutex m;
    return m;
}

std::string& FormatStorage() {
    static std::string format = "dd.MM.yyyy";
    return format;
}

char LowerAscii(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

std::size_t RunLength(std::string_view s, std::size_t pos) {
    const char c = LowerAscii(s[pos]);
    std::size_t end = pos;
    while (end < s.size() && LowerAscii(s[end]) == c)
        ++end;
    return end - pos;
}

void AppendNumber(std::string& out, int value, int width) {
    std::string digits = std::to_string(value);
    if (static_cast<int>(digits.size()) < width)
        out.append(static_cast<std::size_t>(width) - digits.size(), '0');
    out += digits;
}

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}
bool IsDateSeparator(char c) {
    return c == '.' || c == '/' || c == '-';
}
bool IsBlank(char c) {
    return c == ' ' || c == '\t';
}

// The short date format taken apart: the order of the day, month and year fields, the width
// of each field as written in the format, and the literal text around and between them.
struct DateLayout {
    char field[3] = {};
    std::size_t width[3] = {};
    std::string literal[4];  // before field 0, between 0 and 1, between 1 and 2, after 2
};

bool ParseLayout(std::string_view format, DateLayout& layout) {
    int count = 0;
    bool seen[3] = {};
    for (std::size_t i = 0; i < format.size();) {
        const char c = LowerAscii(format[i]);
        if (c >= 'a' && c <= 'z') {
            const int kind = c == 'd' ? 0 : c == 'm' ? 1 : c == 'y' ? 2 : -1;
            if (kind < 0 || seen[kind] || count == 3) return false;
            seen[kind] = true;
            layout.field[count] = c;
            layout.width[count] = RunLength(format, i);
            i += layout.width[count];
            ++count;
        } else {
            layout.literal[count] += format[i++];
        }
    }
    return count == 3;
}

bool ParseDate(std::string_view text, std::string_view format, TDateTime& value) {
    DateLayout layout;
    if (!ParseLayout(format, layout)) return false;
    while (!text.empty() && IsBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && IsBlank(text.back()))
        text.remove_suffix(1);

    std::size_t pos = 0;
    if (text.substr(0, layout.literal[0].size()) == layout.literal[0])
        pos = layout.literal[0].size();
    int parts[3] = {};  // day, month, year
    std::size_t yearDigits = 0;
    for (int f = 0; f < 3; ++f) {
        const bool isYear = layout.field[f] == 'y';
        const std::string& after = layout.literal[f + 1];
        // A year written "yy" with no separator after it (as in "yyMMdd") has two digits.
        std::size_t maxDigits = isYear ? 4 : 2;
        if (isYear && f < 2 && after.empty() && layout.width[f] <= 2) maxDigits = 2;
        std::size_t n = 0;
        int number = 0;
        while (n < maxDigits && pos < text.size() && IsDigit(text[pos])) {
            number = number * 10 + (text[pos] - '0');
            ++pos;
            ++n;
        }
        if (n == 0) return false;
        const int kind = layout.field[f] == 'd' ? 0 : layout.field[f] == 'm' ? 1 : 2;
        parts[kind] = number;
        if (isYear) yearDigits = n;
        if (f == 2 || after.empty()) continue;
        if (text.substr(pos, after.size()) == after)
            pos += after.size();
        else if (pos < text.size() && IsDateSeparator(text[pos]))
            ++pos;
        else
            return false;
    }
    const std::string_view rest = text.substr(pos);
    if (!rest.empty() && rest != layout.literal[3]) return false;
    if (yearDigits <= 2) parts[2] += parts[2] < 50 ? 2000 : 1900;
    return TryEncodeDate(parts[2], parts[1], parts[0], value);
}

}  // namespace

bool TryEncodeDate(int year, int month, int day, TDateTime& value) {
    if (year < 1 || year > 9999 || month < 1 || month > 12 || day < 1 ||
        day > DaysInMonth(year, month))
        return false;
    value = static_cast<TDateTime>(DayNumber(year, month, day));
    return true;
}

TDateTime EncodeDate(int year, int month, int day) {
    TDateTime value = 0;
    if (!TryEncodeDate(year, month, day, value))
        throw EConvertError("Invalid argument to date encode");
    return value;
}

TDateTime EncodeTime(int hour, int minute, int second, int millisecond) {
    if (hour < 0 || hour > 23 || minute < 0 || minute > 59 || second < 0 || second > 59 ||
        millisecond < 0 || millisecond > 999)
        throw EConvertError("Invalid argument to time encode");
    const std::int64_t ms = ((hour * 60LL + minute) * 60 + second) * 1000 + millisecond;
    return static_cast<double>(ms) / static_cast<double>(kMsPerDay);
}

DateParts DecodeDateTime(TDateTime value) {
    const DayAndTime split = SplitValue(value);
    DateParts parts;
    CivilFromDayNumber(split.day, parts.year, parts.month, parts.day);
    std::int64_t ms = split.ms;
    parts.millisecond = static_cast<int>(ms % 1000);
    ms /= 1000;
    parts.second = static_cast<int>(ms % 60);
    ms /= 60;
    parts.minute = static_cast<int>(ms % 60);
    parts.hour = static_cast<int>(ms / 60);
    return parts;
}

TDateTime Now() {
    const auto now = std::chrono::system_clock::now();
    const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    std::tm local{};
#ifdef _WIN32
    localtime_s(&local, &seconds);
#else
    localtime_r(&seconds, &local);
#endif
    const auto ms =
        std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() %
        1000;
    const int second = local.tm_sec > 59 ? 59 : local.tm_sec;  // a leap second
    return EncodeDate(local.tm_year + 1900, local.tm_mon + 1, local.tm_mday) +
           EncodeTime(local.tm_hour, local.tm_min, second, static_cast<int>(ms < 0 ? 0 : ms));
}

TDateTime UnixTimeToDateTime(std::int64_t secondsSinceEpoch) {
    std::int64_t days = secondsSinceEpoch / kSecondsPerDay;
    std::int64_t rest = secondsSinceEpoch % kSecondsPerDay;
    if (rest < 0) {
        rest += kSecondsPerDay;
        --days;
    }
    return JoinValue(days + kUnixEpochDay, rest * 1000);
}

std::int64_t DateTimeToUnixTime(TDateTime value) {
    const DayAndTime split = SplitValue(value);
    return (split.day - kUnixEpochDay) * kSecondsPerDay + (split.ms + 500) / 1000;
}

std::string ShortDateFormat() {
    std::lock_guard<std::mutex> lock(FormatMutex());
    return FormatStorage();
}

void SetShortDateFormat(std::string format) {
    std::lock_guard<std::mutex> lock(FormatMutex());
    FormatStorage() = std::move(format);
}

std::string DateToStr(TDateTime value) {
    return FormatDateTime(ShortDateFormat(), value);
}

std::string FormatDateTime(std::string_view format, TDateTime value) {
    const DateParts p = DecodeDateTime(value);
    std::string out;
    for (std::size_t i = 0; i < format.size();) {
        const char c = format[i];
        if (c == '"' || c == '\'') {
            const std::size_t close = format.find(c, i + 1);
            const std::size_t end = close == std::string_view::npos ? format.size() : close;
            out.append(format.substr(i + 1, end - i - 1));
            i = end + 1;
            continue;
        }
        const std::size_t run = RunLength(format, i);
        const std::size_t pair = run >= 2 ? 2 : 1;
        switch (LowerAscii(c)) {
            case 'd':
                AppendNumber(out, p.day, static_cast<int>(pair));
                i += pair;
                break;
            case 'm':
                AppendNumber(out, p.month, static_cast<int>(pair));
                i += pair;
                break;
            case 'y':
                if (run <= 2)
                    AppendNumber(out, p.year % 100, 2);
                else
                    AppendNumber(out, p.year, 4);
                i += run;
                break;
            case 'h':
                AppendNumber(out, p.hour, static_cast<int>(pair));
                i += pair;
                break;
            case 'n':
                AppendNumber(out, p.minute, static_cast<int>(pair));
                i += pair;
                break;
            case 's':
                AppendNumber(out, p.second, static_cast<int>(pair));
                i += pair;
                break;
            case 'z':
                if (run >= 3) {
                    AppendNumber(out, p.millisecond, 3);
                    i += 3;
                } else {
                    AppendNumber(out, p.millisecond, 1);
                    ++i;
                }
                break;
            default:
                out += c;
                ++i;
        }
    }
    return out;
}

bool TryStrToDate(std::string_view text, TDateTime& value) {
    return ParseDate(text, ShortDateFormat(), value);
}

TDateTime StrToDate(std::string_view text) {
    const std::string format = ShortDateFormat();
    TDateTime value = 0;
    if (!ParseDate(text, format, value))
        throw EConvertError("Строка даты \"" + std::string(text) + "\" не соотвествует формату \"" +
                            format + "\" либо введённые значения некорректные");
    return value;
}

}  // namespace ostradb
