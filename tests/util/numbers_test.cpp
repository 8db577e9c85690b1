#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

#include "ostradb/util/exceptions.hpp"
#include "ostradb/util/numbers.hpp"
#include "ostradb/util/variant.hpp"
#include "support/render.hpp"

namespace ostradb {
namespace {

TEST(Numbers, IntegerParsingAcceptsOnlyWholeNumbersInRange) {
    struct Case {
        const char* text;
        bool ok32;
        std::int32_t v32;
        bool ok64;
    };
    const Case cases[] = {
        {"0", true, 0, true},
        {"-2147483648", true, std::numeric_limits<std::int32_t>::min(), true},
        {"2147483647", true, 2147483647, true},
        {"2147483648", false, 0, true},
        {"  +12", true, 12, true},
        {"$FF", true, 255, true},
        {"0x10", true, 16, true},
        {"12 ", false, 0, false},
        {"", false, 0, false},
        {"-", false, 0, false},
        {"1.5", false, 0, false},
        {"99999999999999999999", false, 0, false},
        {"abc", false, 0, false},
    };
    for (const Case& c : cases) {
        std::int32_t v32 = 0;
        std::int64_t v64 = 0;
        EXPECT_EQ(TryStrToInt(c.text, v32), c.ok32) << c.text;
        if (c.ok32) {
            EXPECT_EQ(v32, c.v32) << c.text;
        }
        EXPECT_EQ(TryStrToInt64(c.text, v64), c.ok64) << c.text;
    }
    EXPECT_EQ(StrToInt64Def("-9223372036854775808", 0), std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(StrToIntDef("x", -1), -1);
    EXPECT_THROW(StrToInt("x"), EConvertError);
}

TEST(Numbers, FloatsAreShortestRoundTripWithTheSeparator) {
    EXPECT_EQ(test::Row(FloatToStr(0.1), FloatToStr(0.1f), FloatToStr(37.5),
                        FloatToStr(-std::numeric_limits<double>::infinity())),
              "0.1|0.1|37.5|-INF|");
    for (double v : {1.0 / 3.0, 1e-300, 123456789.125, -0.0, 5e20}) {
        double back = 0;
        ASSERT_TRUE(TryStrToFloat(FloatToStr(v), back));
        EXPECT_EQ(back, v);
    }
    SetDecimalSeparator(',');
    const std::string withComma = FloatToStr(2.25);
    double parsedComma = 0, parsedPoint = 0;
    const bool okComma = TryStrToFloat("0,5", parsedComma);
    const bool okPoint = TryStrToFloat("0.5", parsedPoint);
    SetDecimalSeparator('.');
    EXPECT_EQ(test::Row(withComma, okComma, okPoint, parsedComma, parsedPoint),
              "2,25|1|1|0.5|0.5|");
    double v;
    EXPECT_FALSE(TryStrToFloat("1.5x", v));
    EXPECT_FALSE(TryStrToFloat("", v));
    EXPECT_THROW(StrToFloat("half"), EConvertError);
}

TEST(Variants, CastToAndFromTextByTypeName) {
    struct Case {
        Variant value;
        const char* text;
        const char* type;
    };
    const Case cases[] = {
        {Variant(true), "True", "varBoolean"},
        {Variant(-5), "-5", "varInteger"},
        {Variant(std::int64_t{1} << 40), "1099511627776", "varInt64"},
        {Variant(0.25), "0.25", "varDouble"},
        {Variant::Date(45000.5), "45000.5", "varDate"},
        {Variant::OfFloat(varCurrency, 12.5), "12.5", "varCurrency"},
        {Variant("Пласт"), "Пласт", "varString"},
        {Variant::Null(), "", "varNull"},
        {Variant(), "", "varEmpty"},
    };
    for (const Case& c : cases) {
        std::string text, type;
        varCastToString(c.value, text, type);
        EXPECT_EQ(text, c.text);
        EXPECT_EQ(type, c.type);
        Variant back;
        ASSERT_TRUE(varCastFromString(text, type, back)) << type;
        EXPECT_EQ(back, c.value) << type;
    }
    Variant v;
    // "300" as a byte is narrowed to the type's range.
    EXPECT_EQ(
        test::Row(varCastFromString("1", "varNothing", v), varCastFromString("x", "varInteger", v),
                  varCastFromString("300", "varByte", v) ? v.Int() : -1),
        "0|0|44|");
}

}  // namespace
}  // namespace ostradb
