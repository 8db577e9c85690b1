#include "ostradb/util/code_pages.hpp"

#include <gtest/gtest.h>
#include <unicode/ucnv.h>
#include <unicode/unistr.h>
#include <unicode/uset.h>

#include <memory>
#include <random>
#include <set>
#include <string>
#include <tuple>

#include "ostradb/util/exceptions.hpp"

namespace ostradb {
namespace {

struct PageCase {
    CodePage page;
    const char* icuName;
    // Bytes where we differ from ICU on purpose: ICU's ibm-866 has the IBM PC layout of
    // 0x1A, 0x1C and 0x7F; ours keeps all control codes as themselves.
    std::set<int> asciiNotIcu;
};

const PageCase kPages[] = {
    {CodePage::Windows1251, "windows-1251", {}},
    {CodePage::Dos866, "ibm-866", {0x1A, 0x1C, 0x7F}},
};

using Converter = std::unique_ptr<UConverter, decltype(&ucnv_close)>;

Converter OpenIcu(const char* name) {
    UErrorCode status = U_ZERO_ERROR;
    Converter converter(ucnv_open(name, &status), &ucnv_close);
    EXPECT_TRUE(U_SUCCESS(status)) << name << ": " << u_errorName(status);
    return converter;
}

std::string IcuDecode(UConverter* converter, std::string_view bytes) {
    UErrorCode status = U_ZERO_ERROR;
    std::string out;
    icu::UnicodeString(bytes.data(), int32_t(bytes.size()), converter, status).toUTF8String(out);
    EXPECT_TRUE(U_SUCCESS(status)) << u_errorName(status);
    return out;
}

std::string Utf8Of(char32_t cp) {
    std::string out;
    icu::UnicodeString(UChar32(cp)).toUTF8String(out);
    return out;
}

std::string Append(CodePage page, std::string_view text, bool encode) {
    std::string out = "kept:";
    encode ? AppendEncoded(page, text, out) : AppendDecoded(page, text, out);
    EXPECT_EQ(out.substr(0, 5), "kept:");
    return out.substr(5);
}

// Each byte decodes as ICU decodes it and encodes back; exactly ICU's round-trip set of code
// points (all of Unicode tried) can be encoded.
TEST(CodePages, TablesMatchIcu) {
    for (const PageCase& c : kPages) {
        const Converter icu = OpenIcu(c.icuName);
        for (int b = 0; b < 256; ++b) {
            const std::string byte(1, char(b));
            const std::string utf8 = Append(c.page, byte, false);
            EXPECT_EQ(utf8, c.asciiNotIcu.count(b) ? byte : IcuDecode(icu.get(), byte))
                << c.icuName << " byte " << b;
            EXPECT_EQ(Append(c.page, utf8, true), byte) << c.icuName << " byte " << b;
        }
        UErrorCode status = U_ZERO_ERROR;
        std::unique_ptr<USet, decltype(&uset_close)> set(uset_openEmpty(), &uset_close);
        ucnv_getUnicodeSet(icu.get(), set.get(), UCNV_ROUNDTRIP_SET, &status);
        ASSERT_TRUE(U_SUCCESS(status));
        for (char32_t cp = 0; cp <= 0x10FFFF; ++cp) {
            if (cp >= 0xD800 && cp <= 0xDFFF) continue;
            ASSERT_EQ(CanEncode(c.page, Utf8Of(cp)), bool(uset_contains(set.get(), UChar32(cp))))
                << c.icuName << " U+" << std::hex << unsigned(cp);
        }
    }
}

// Runs of ASCII of every length up to 40 between other bytes: the fast path's word-sized
// steps end at every position.
TEST(CodePages, LongMixedTextRoundTripsAndMatchesIcu) {
    std::mt19937 random(42);
    std::string bytes;
    while (bytes.size() < 100000) {
        // Runs of ASCII and of any byte, so slices and words end everywhere.
        const bool ascii = random() % 2;
        for (std::size_t n = random() % 40; n > 0; --n) {
            bytes += char(ascii ? 0x20 + random() % 0x5F : random() % 256);
        }
    }
    for (const PageCase& c : kPages) {
        const std::string utf8 = Append(c.page, bytes, false);
        EXPECT_EQ(Append(c.page, utf8, true), bytes) << c.icuName;
        EXPECT_TRUE(CanEncode(c.page, utf8));
        if (c.asciiNotIcu.empty()) {
            EXPECT_EQ(utf8, IcuDecode(OpenIcu(c.icuName).get(), bytes));
        }
    }
}

TEST(CodePages, RefusesWhatItCannotWrite) {
    // page, text, message, EEncodingError::CodePoint(), what was converted before
    const std::tuple<CodePage, std::string, std::string, char32_t, std::string> refusals[] = {
        {CodePage::Dos866, "0123456789abcdefghij€x",
         "character U+20AC \"€\" cannot be written in DOS 866", U'€', "0123456789abcdefghij"},
        {CodePage::Windows1251, "Скв 日",
         "character U+65E5 \"日\" cannot be written in Windows-1251", U'日', "\xD1\xEA\xE2 "},
        {CodePage::Windows1251, "a\xC2\x85", "character U+0085 cannot be written in Windows-1251",
         0x85, "a"},
        {CodePage::Windows1251, "ab\xD0", "invalid UTF-8 at byte 2", 0xFFFD, "ab"},
        {CodePage::Windows1251, "Ж\xE2\x82", "invalid UTF-8 at byte 2", 0xFFFD, "\xC6"},
        {CodePage::Windows1251, "x\xC0\xAF", "invalid UTF-8 at byte 1", 0xFFFD, "x"},
        {CodePage::Dos866, "\x80z", "invalid UTF-8 at byte 0", 0xFFFD, ""},
        {CodePage::Windows1251, "ok\xED\xA0\x80", "invalid UTF-8 at byte 2", 0xFFFD, "ok"},
        {CodePage::Windows1251, "\xF4\x90\x80\x80", "invalid UTF-8 at byte 0", 0xFFFD, ""},
        {CodePage::Windows1251, "0123456789abcdefghijk\xFF", "invalid UTF-8 at byte 21", 0xFFFD,
         "0123456789abcdefghijk"},
    };
    for (const auto& [page, utf8, message, codePoint, convertedBefore] : refusals) {
        std::string out = "kept:";
        try {
            AppendEncoded(page, utf8, out);
            ADD_FAILURE() << "accepted " << utf8;
        } catch (const EEncodingError& e) {
            EXPECT_EQ(e.what(), message);
            EXPECT_EQ(e.CodePoint(), codePoint) << message;
            EXPECT_EQ(out, "kept:" + convertedBefore) << message;
        }
        EXPECT_FALSE(CanEncode(page, utf8)) << message;
    }
}

}  // namespace
}  // namespace ostradb
