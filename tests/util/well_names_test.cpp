#include "ostradb/util/well_names.hpp"

#include <gtest/gtest.h>

#include <string>

namespace ostradb {
namespace {

TEST(WellNames, NumberIsTheFirstDigitRun) {
    struct Case {
        const char* name;
        const char* digits;
        std::int32_t number;
    };
    for (const Case& c :
         {Case{"abc", "", -1}, Case{"", "", -1}, Case{"N12-3a", "12", 12}, Case{"007", "007", 7},
          Case{"скв.105бис", "105", 105}, Case{"a-5", "5", 5}, Case{"0", "0", 0},
          Case{"x12345678901y", "12345678901", -1}, Case{"2147483647", "2147483647", 2147483647},
          Case{"2147483648", "2147483648", -1}, Case{"N 4294967297", "4294967297", -1}}) {
        EXPECT_EQ(ExtractWellNum(c.name), c.digits) << c.name;
        EXPECT_EQ(ExtractWellNumInt(c.name), c.number) << c.name;
        EXPECT_EQ(WellNameToNumber(c.name), c.number) << c.name;
    }
}

TEST(WellNames, SimilarWellsArriveInReverseOrderAfterExistingEntries) {
    const TStringList list{"12", "N12a", "13", "скв 12-бис", "x", "012"};
    TStringList result{"kept"};
    GetSimilarWellsList("12б", list, result);
    EXPECT_EQ(result, (TStringList{"kept", "012", "скв 12-бис", "N12a", "12"}));

    // Names without a number match nothing, not even other names without one.
    TStringList none;
    GetSimilarWellsList("abc", TStringList{"x", "y", "abc"}, none);
    EXPECT_TRUE(none.Empty());
    GetSimilarWellsList("99", list, none);
    EXPECT_TRUE(none.Empty());
}

TEST(WellNames, CompareNumberFirst) {
    struct Case {
        const char* a;
        const char* b;
        int sign;
    };
    for (const Case& c : {
             Case{"zz1", "aa", -1},        // a number beats any letters
             Case{"N9", "N10", -1},        // numbers compare as numbers, not as text
             Case{"Б-2", "A-10", -1},      // whatever the letters around them
             Case{"12a", "12", 1},         // equal numbers fall back to the text
             Case{"12A", "12a", 0},        // ignoring case
             Case{"007", "7", -1},         // equal numbers, "0" sorts before "7"
             Case{"abc", "ABD", -1},       // no numbers: text
             Case{"Б", "z", 1},            // Latin before Cyrillic
             Case{"12345678901", "5", 1},  // a number too large counts as none
         }) {
        const int ab = CompareWellNames(c.a, c.b);
        const int ba = CompareWellNames(c.b, c.a);
        EXPECT_EQ((ab > 0) - (ab < 0), c.sign) << c.a << " vs " << c.b;
        EXPECT_EQ((ba > 0) - (ba < 0), -c.sign) << c.b << " vs " << c.a;
    }
}

TEST(WellNames, SortByWellNameOrAlphabetically) {
    TStringList wells{"abc", "N10", "n9", "12б", "Б-1", "12а", "x", "Z"};
    SortItemsList(wells, true);
    EXPECT_EQ(wells, (TStringList{"Б-1", "n9", "N10", "12а", "12б", "abc", "x", "Z"}));

    TStringList words{"b", "Б", "C", "a1", "A", "N10", "N9"};
    SortItemsList(words, false);
    EXPECT_EQ(words, (TStringList{"A", "a1", "b", "C", "N10", "N9", "Б"}));

    TStringList empty;
    SortItemsList(empty, true);
    EXPECT_TRUE(empty.Empty());
}

}  // namespace
}  // namespace ostradb
