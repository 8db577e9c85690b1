#include "ostradb/util/dates.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>
#include <tuple>

#include "ostradb/util/exceptions.hpp"
#include "support/render.hpp"

namespace ostradb {
namespace {

constexpr double kMsDay = 1.0 / 86'400'000;

// Every day of eight centuries decodes to the date the standard calendar gives, and encodes
// back to the same count: month ends, leap days and century rules all pass through here.
TEST(Dates, DecodeAgreesWithStandardCalendar) {
    using namespace std::chrono;
    const sys_days base = 1899y / December / 30;
    const int first = static_cast<int>(EncodeDate(1600, 1, 1));
    const int last = static_cast<int>(EncodeDate(2400, 12, 31));
    for (int n = first; n <= last; ++n) {
        const year_month_day ymd(base + days(n));
        // Noon of day n; before the base day the time fraction counts away from zero.
        const DateParts p = DecodeDateTime(n < 0 ? n - 0.5 : n + 0.5);
        ASSERT_EQ(p.year, static_cast<int>(ymd.year())) << n;
        ASSERT_EQ(p.month, static_cast<int>(static_cast<unsigned>(ymd.month()))) << n;
        ASSERT_EQ(p.day, static_cast<int>(static_cast<unsigned>(ymd.day()))) << n;
        ASSERT_EQ(p.hour, 12) << n;
        ASSERT_EQ(EncodeDate(p.year, p.month, p.day), n);
    }
}

TEST(Dates, RejectsDatesAndTimesThatDoNotExist) {
    struct Case {
        int y, m, d;
    };
    for (const Case& c : {Case{2023, 2, 29}, Case{1900, 2, 29}, Case{2100, 2, 29},
                          Case{2024, 4, 31}, Case{2024, 13, 1}, Case{2024, 0, 1}, Case{2024, 1, 0},
                          Case{0, 1, 1}, Case{10000, 1, 1}}) {
        TDateTime v = 123;
        EXPECT_FALSE(TryEncodeDate(c.y, c.m, c.d, v)) << c.y << "-" << c.m << "-" << c.d;
        EXPECT_EQ(v, 123);
        EXPECT_THROW(EncodeDate(c.y, c.m, c.d), EConvertError);
    }
    for (const auto& [h, m, s, ms] :
         {std::tuple{24, 0, 0, 0}, {0, 60, 0, 0}, {0, 0, 60, 0}, {0, 0, 0, 1000}, {-1, 0, 0, 0}})
        EXPECT_THROW(EncodeTime(h, m, s, ms), EConvertError) << h << ":" << m << ":" << s;
    EXPECT_THROW(DecodeDateTime(2958466.0), EConvertError);
    EXPECT_THROW(DecodeDateTime(std::nan("")), EConvertError);
}

TEST(Dates, TimeOfDayAndTheNegativeConvention) {
    const auto decoded = [](TDateTime v) {
        const DateParts p = DecodeDateTime(v);
        char s[40];
        std::snprintf(s, sizeof s, "%04d-%02d-%02d %02d:%02d:%02d.%03d", p.year, p.month, p.day,
                      p.hour, p.minute, p.second, p.millisecond);
        return std::string(s);
    };
    EXPECT_EQ(decoded(EncodeDate(2024, 2, 29) + EncodeTime(23, 59, 59, 999)),
              "2024-02-29 23:59:59.999");
    // Before the base day the time is the absolute fraction.
    EXPECT_EQ(decoded(-1.25), "1899-12-29 06:00:00.000");
    EXPECT_EQ(decoded(-0.5), "1899-12-30 12:00:00.000");
    // Less than half a millisecond before midnight rounds into the next day.
    EXPECT_EQ(decoded(EncodeDate(2023, 12, 31) + 1 - kMsDay / 4), "2024-01-01 00:00:00.000");
    EXPECT_EQ(decoded(-1 - (1 - kMsDay / 4)), "1899-12-30 00:00:00.000");
}

TEST(Dates, UnixTime) {
    EXPECT_EQ(UnixTimeToDateTime(0), 25569.0);
    EXPECT_DOUBLE_EQ(UnixTimeToDateTime(-2209226400), -1.25);  // 1899-12-29 06:00 UTC
    EXPECT_DOUBLE_EQ(UnixTimeToDateTime(-1), 25569.0 - 1.0 / 86400);
    for (std::int64_t s : {0LL, 1LL, -1LL, 86399LL, 86400LL, 951782400LL /* 2000-02-29 */,
                           1709251199LL, -2209161600LL /* the base day */, -2209161601LL,
                           -2209226400LL, -11670912001LL, 253402300799LL /* 9999-12-31 */}) {
        EXPECT_EQ(DateTimeToUnixTime(UnixTimeToDateTime(s)), s) << s;
    }
    EXPECT_EQ(DateTimeToUnixTime(EncodeDate(2000, 3, 1) + EncodeTime(0, 0, 0, 500)), 951868801);
}

TEST(Dates, NowIsLocalTime) {
    const char* old = std::getenv("TZ");
    const std::optional<std::string> saved = old ? std::optional<std::string>(old) : std::nullopt;
    ::setenv("TZ", "XYZ-3", 1);  // three hours east of UTC, no time-zone data needed
    ::tzset();
    const TDateTime utc = UnixTimeToDateTime(std::time(nullptr));
    const TDateTime now = Now();
    if (saved)
        ::setenv("TZ", saved->c_str(), 1);
    else
        ::unsetenv("TZ");
    ::tzset();
    EXPECT_NEAR(now - utc, 3.0 / 24, 5.0 / 86400);
}

TEST(Dates, FormatDateTime) {
    const TDateTime v = EncodeDate(2005, 3, 7) + EncodeTime(8, 4, 9, 45);
    EXPECT_EQ(
        test::Row(FormatDateTime("dd.MM.yyyy hh:nn:ss.zzz", v), FormatDateTime("d.M.yy h:n:s.z", v),
                  FormatDateTime("yyyy-mm-dd", v), FormatDateTime("'day' d, \"at\" hh", v),
                  FormatDateTime("yyyy", EncodeDate(12, 1, 1))),
        "07.03.2005 08:04:09.045|7.3.05 8:4:9.45|2005-03-07|day 7, at 08|0012|");
}

class DateParsing : public testing::Test {
protected:
    void SetUp() override { saved_ = ShortDateFormat(); }
    void TearDown() override { SetShortDateFormat(saved_); }

private:
    std::string saved_;
};

TEST_F(DateParsing, DefaultFormat) {
    EXPECT_EQ(ShortDateFormat(), "dd.MM.yyyy");
    struct Case {
        const char* text;
        int y, m, d;
    };
    for (const Case& c : {Case{"05.03.2024", 2024, 3, 5}, Case{"5.3.2024", 2024, 3, 5},
                          Case{"05/03/2024", 2024, 3, 5}, Case{" 5-3-2024 ", 2024, 3, 5},
                          Case{"29.02.2000", 2000, 2, 29}, Case{"01.01.00", 2000, 1, 1},
                          Case{"1.1.49", 2049, 1, 1}, Case{"01.01.50", 1950, 1, 1},
                          Case{"01.01.99", 1999, 1, 1}, Case{"01.01.0049", 49, 1, 1}}) {
        TDateTime v = 0;
        EXPECT_TRUE(TryStrToDate(c.text, v)) << c.text;
        EXPECT_EQ(v, EncodeDate(c.y, c.m, c.d)) << c.text;
    }
    EXPECT_EQ(DateToStr(EncodeDate(2024, 3, 5) + 0.75), "05.03.2024");
    EXPECT_EQ(StrToDate(DateToStr(EncodeDate(1, 1, 1))), EncodeDate(1, 1, 1));
}

TEST_F(DateParsing, FailuresRaiseTheFixedMessage) {
    for (const char* text : {"", "31.04.2024", "29.02.2023", "00.01.2024", "01.13.2024",
                             "01.01.0000", "2024.03.05", "05.03", "05..03.2024", "05.03.2024x",
                             "05.03.2024 10:00", "a5.03.2024", "05.03.20245", "05:03:2024"}) {
        TDateTime v = 7;
        EXPECT_FALSE(TryStrToDate(text, v)) << text;
        EXPECT_EQ(v, 7);
        try {
            StrToDate(text);
            ADD_FAILURE() << "no exception for " << text;
        } catch (const EConvertError& e) {
            EXPECT_EQ(std::string(e.what()),
                      std::string("Строка даты \"") + text +
                          "\" не соотвествует формату \"dd.MM.yyyy\" либо введённые значения "
                          "некорректные");
        }
    }
}

TEST_F(DateParsing, OtherFormats) {
    const TDateTime march5 = EncodeDate(2024, 3, 5);
    struct Case {
        const char* format;
        const char* text;
    };
    for (const Case& c :
         {Case{"yyyy-MM-dd", "2024-03-05"}, Case{"yyyy-MM-dd", "2024.3.5"},
          Case{"MM/dd/yy", "03/05/24"}, Case{"M/d/yyyy", "3-5-2024"}, Case{"ddMMyyyy", "05032024"},
          Case{"yyMMdd", "240305"}, Case{"dd. MM. yyyy", "05. 03. 2024"},
          Case{"dd. MM. yyyy", "05.03.2024"}}) {
        SetShortDateFormat(c.format);
        EXPECT_EQ(StrToDate(c.text), march5) << c.format << " " << c.text;
        EXPECT_EQ(StrToDate(DateToStr(march5)), march5) << c.format;
    }
    SetShortDateFormat("MM/dd/yyyy");
    TDateTime v = 0;
    EXPECT_FALSE(TryStrToDate("13/05/2024", v));
    try {
        StrToDate("x");
        ADD_FAILURE();
    } catch (const EConvertError& e) {
        EXPECT_NE(std::string(e.what()).find("формату \"MM/dd/yyyy\""), std::string::npos);
    }
}

}  // namespace
}  // namespace ostradb
