#include "ostradb/util/text.hpp"

#include <gtest/gtest.h>
#include <unicode/coll.h>
#include <unicode/locid.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "support/render.hpp"

namespace ostradb {
namespace {

icu::UnicodeString U(std::string_view s) {
    return icu::UnicodeString::fromUTF8(icu::StringPiece(s.data(), int32_t(s.size())));
}

int Sign(int v) {
    return (v > 0) - (v < 0);
}

// Random texts built from pieces that stress the fast paths: ASCII, simple Cyrillic, letters
// that fold to several (ß) or to ASCII (Kelvin sign), and malformed bytes.
std::vector<std::string> RandomTexts(std::vector<std::string> pieces, int count) {
    std::mt19937 random(7);
    std::vector<std::string> texts;
    for (int i = 0; i < count; ++i) {
        std::string text;
        for (std::size_t n = random() % 6; n > 0; --n)
            text += pieces[random() % pieces.size()];
        texts.push_back(text);
    }
    return texts;
}

TEST(Text, SameTextAndStartsTextAgreeWithIcuFolding) {
    const auto texts = RandomTexts(
        {"a", "A", "s", "S", "ss", "ß", "k", "\u212A", "я", "Я", "ё", "Ё", "е",    "ѐ",
         "Ѐ", "ї", "Ї", "ґ", "Ґ",  "Ў", "ў", "Σ",      "σ", "ς", "1", "_", "\xD0", "\xFF"},
        500);
    std::vector<icu::UnicodeString> folded;
    for (const std::string& text : texts)
        folded.push_back(U(text).foldCase(U_FOLD_CASE_DEFAULT));
    for (std::size_t i = 0; i < texts.size(); ++i) {
        for (std::size_t j = 0; j < texts.size(); ++j) {
            const std::string& a = texts[i];
            const std::string& b = texts[j];
            ASSERT_EQ(SameText(a, b), folded[i] == folded[j]) << a << " / " << b;
            ASSERT_EQ(StartsText(a, b), folded[j].startsWith(folded[i])) << a << " / " << b;
        }
    }
}

TEST(Text, CompareStrIsByteOrder) {
    EXPECT_EQ(Sign(CompareStr("B", "a")) * 100 + Sign(CompareStr("\xD0\x90", "z")) * 10 +
                  Sign(CompareStr("abc", "abc")),
              -90);
}

// The ASCII fast path and the Cyrillic letters must order exactly as the collator does.
TEST(Text, CompareTextAgreesWithIcuCollator) {
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::Collator> collator(
        icu::Collator::createInstance(icu::Locale::getRoot(), status));
    ASSERT_TRUE(U_SUCCESS(status));
    collator->setStrength(icu::Collator::SECONDARY);
    std::vector<std::string> pieces;
    for (int c = 0; c < 128; ++c)
        pieces.emplace_back(1, char(c));
    for (const char* p : {"Ё", "е", "ß", "Я"})
        pieces.emplace_back(p);
    auto texts = RandomTexts(pieces, 600);
    // Words that differ only in letter case or in ё and е, and digits among letters.
    for (std::string& t :
         RandomTexts({"е", "Е", "ё", "Ё", "л", "к", "и", "ь", "1", "2", "N", "_"}, 200))
        texts.push_back(std::move(t));
    for (const std::string& a : texts) {
        for (const std::string& b : texts) {
            const int expected = collator->compareUTF8(a, b, status);
            ASSERT_EQ(Sign(CompareText(a, b)), Sign(expected)) << a << " / " << b;
        }
    }
}

TEST(Text, UpperAndLowerCaseUseTheRootLocale) {
    // text, upper case, lower case
    const std::tuple<const char*, const char*, const char*> cases[] = {
        {"", "", ""},
        {"Mixed Ёж and Ї", "MIXED ЁЖ AND Ї", "mixed ёж and ї"},
        {"straße", "STRASSE", "straße"},
        {"ΣΑΣ", "ΣΑΣ", "σας"},
        {"istanbul ї", "ISTANBUL Ї", "istanbul ї"},  // no dotted or dotless i
        {"ISTANBUL Ї", "ISTANBUL Ї", "istanbul ї"},
    };
    const icu::Locale previous = icu::Locale::getDefault();
    UErrorCode status = U_ZERO_ERROR;
    icu::Locale::setDefault(icu::Locale("tr"), status);
    for (const auto& [text, upper, lower] : cases) {
        EXPECT_EQ(UpperCase(text), upper);
        EXPECT_EQ(LowerCase(text), lower);
    }
    icu::Locale::setDefault(previous, status);
}

TEST(Text, TrimAndCount) {
    // A no-break space is text.
    EXPECT_EQ(test::Row(Trim(" \t\r\n Скв 12 \x01"), TrimLeft("  a b  "), TrimRight("  a b  "),
                        Trim("\xC2\xA0x\xC2\xA0"), Trim("   ")),
              "Скв 12|a b  |  a b|\xC2\xA0x\xC2\xA0||");
    EXPECT_EQ(test::Row(CodePointCount(""), CodePointCount("Скважина №12 € 日本 😀"),
                        CodePointCount("абвгдежзийклмноп"), CodePointCount("\xD0\xD0\x80\x80z")),
              "0|19|16|3|");
}

TEST(Text, MalformedUtf8IsHandledWithoutHarm) {
    for (const char* bad : {"\xD0", "\xFF\xFE", "a\xE2\x82", "\x80\x80\x80", "Ё\xED\xA0\x80"}) {
        EXPECT_TRUE(SameText(bad, bad) && CompareText(bad, bad) == 0 && StartsText(bad, bad));
        EXPECT_FALSE(UpperCase(bad).empty() || LowerCase(bad).empty());
    }
}

}  // namespace
}  // namespace ostradb
