#include "ostradb/util/text.hpp"

#include <unicode/bytestream.h>
#include <unicode/casemap.h>
#include <unicode/coll.h>
#include <unicode/locid.h>
#include <unicode/stringpiece.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>

#include "ostradb/util/exceptions.hpp"

namespace ostradb {
namespace {

constexpr std::uint64_t kHighBits = 0x8080808080808080ull;

bool IsAscii(std::string_view s) {
    std::uint64_t seen = 0;
    std::size_t i = 0;
    for (; i + 8 <= s.size(); i += 8) {
        std::uint64_t word;
        std::memcpy(&word, s.data() + i, sizeof word);
        seen |= word;
    }
    for (; i < s.size(); ++i)
        seen |= static_cast<unsigned char>(s[i]);
    return (seen & kHighBits) == 0;
}

char AsciiLower(char c) {
    return c >= 'A' && c <= 'Z' ? char(c + ('a' - 'A')) : c;
}
char AsciiUpper(char c) {
    return c >= 'a' && c <= 'z' ? char(c - ('a' - 'A')) : c;
}

icu::StringPiece Piece(std::string_view s) {
    if (s.size() > std::size_t(std::numeric_limits<int32_t>::max())) {
        throw Error("text of " + std::to_string(s.size()) + " bytes is too long to compare");
    }
    return {s.data(), int32_t(s.size())};
}

icu::UnicodeString ToUnicode(std::string_view s) {
    return icu::UnicodeString::fromUTF8(Piece(s));
}

void CheckIcu(UErrorCode status, const char* what) {
    if (U_FAILURE(status)) throw Error(std::string(what) + " failed: " + u_errorName(status));
}

// A character whose full case folding is one code point known here without ICU: ASCII and
// U+0400-U+045F (the Russian alphabet and the other common Cyrillic letters).
struct SimpleChar {
    char32_t folded;
    std::size_t length;  // 0: not such a character
};

SimpleChar ReadSimple(std::string_view s, std::size_t i) {
    const unsigned b0 = static_cast<unsigned char>(s[i]);
    if (b0 < 0x80) return {char32_t(b0 >= 'A' && b0 <= 'Z' ? b0 + 0x20 : b0), 1};
    if ((b0 == 0xD0 || b0 == 0xD1) && i + 1 < s.size()) {
        const unsigned b1 = static_cast<unsigned char>(s[i + 1]);
        if ((b1 & 0xC0) == 0x80) {
            char32_t cp = char32_t((b0 & 0x1F) << 6 | (b1 & 0x3F));
            if (cp <= 0x045F) {
                if (cp < 0x0410) {
                    cp += 0x50;  // Ѐ..Џ
                } else if (cp < 0x0430) {
                    cp += 0x20;  // А..Я
                }
                return {cp, 2};
            }
        }
    }
    return {0, 0};
}

// Walks a and b while both hold simple characters that fold alike. Folding works character
// by character, so the texts compare as their remainders from the stopping point on.
struct FoldWalk {
    std::size_t a;
    std::size_t b;
    bool differ;
};

FoldWalk WalkSimple(std::string_view a, std::string_view b) {
    std::size_t i = 0;
    std::size_t j = 0;
    while (i < a.size() && j < b.size()) {
        const SimpleChar ca = ReadSimple(a, i);
        if (ca.length == 0) break;
        const SimpleChar cb = ReadSimple(b, j);
        if (cb.length == 0) break;
        if (ca.folded != cb.folded) return {i, j, true};
        i += ca.length;
        j += cb.length;
    }
    return {i, j, false};
}

// Bytes of the first `count` characters of s (counting lead bytes, so malformed text yields
// at least as many characters to ICU as counted here).
std::size_t PrefixBytes(std::string_view s, std::size_t count) {
    for (std::size_t i = 0; i < s.size(); ++i) {
        if ((static_cast<unsigned char>(s[i]) & 0xC0) != 0x80 && count-- == 0) return i;
    }
    return s.size();
}

// The root collation at secondary strength: case ignored, accents (Ё against Е) counted.
// Created once; its ASCII ranks are read once.
class TextCollator {
public:
    static const TextCollator& Instance() {
        static const TextCollator instance;
        return instance;
    }

    int Compare(std::string_view a, std::string_view b) const {
        if (IsAscii(a) && IsAscii(b)) return CompareAscii(a, b);
        // ICU collators are not to be shared between threads: each thread compares with its
        // own clone.
        thread_local const std::unique_ptr<icu::Collator> local(collator_->clone());
        if (!local) throw Error("cloning the root collation failed");
        UErrorCode status = U_ZERO_ERROR;
        const int result = local->compareUTF8(Piece(a), Piece(b), status);
        CheckIcu(status, "text comparison");
        return result;
    }

private:
    TextCollator() {
        UErrorCode status = U_ZERO_ERROR;
        collator_.reset(icu::Collator::createInstance(icu::Locale::getRoot(), status));
        CheckIcu(status, "opening the root collation");
        collator_->setStrength(icu::Collator::SECONDARY);
        RankAscii();
    }

    // In the root collation every ASCII character is either ignorable or one primary weight
    // with no secondary difference, and none forms a contraction, so ASCII texts order as the
    // sequences of their characters' primary ranks. The ranks are read from the collator.
    void RankAscii() {
        auto compare = [this](char x, char y) {
            UErrorCode status = U_ZERO_ERROR;
            const int r =
                collator_->compareUTF8(icu::StringPiece(&x, 1), icu::StringPiece(&y, 1), status);
            CheckIcu(status, "text comparison");
            return r;
        };
        std::array<char, 128> chars{};
        for (int c = 0; c < 128; ++c)
            chars[std::size_t(c)] = char(c);
        std::stable_sort(chars.begin(), chars.end(),
                         [&](char x, char y) { return compare(x, y) < 0; });
        std::uint8_t rank = 0;
        for (std::size_t k = 0; k < chars.size(); ++k) {
            const char c = chars[k];
            UErrorCode status = U_ZERO_ERROR;
            const bool ignorable =
                collator_->compareUTF8(icu::StringPiece(&c, 1), icu::StringPiece(), status) == 0;
            CheckIcu(status, "text comparison");
            if (!ignorable && (rank == 0 || compare(chars[k - 1], c) != 0)) ++rank;
            asciiRank_[std::size_t(c)] = ignorable ? 0 : rank;
        }
    }

    int CompareAscii(std::string_view a, std::string_view b) const {
        std::size_t i = 0;
        std::size_t j = 0;
        for (;;) {
            while (i < a.size() && asciiRank_[std::size_t(a[i])] == 0)
                ++i;
            while (j < b.size() && asciiRank_[std::size_t(b[j])] == 0)
                ++j;
            const bool endA = i == a.size();
            const bool endB = j == b.size();
            if (endA || endB) return int(!endA) - int(!endB);
            const int ra = asciiRank_[std::size_t(a[i++])];
            const int rb = asciiRank_[std::size_t(b[j++])];
            if (ra != rb) return ra < rb ? -1 : 1;
        }
    }

    std::unique_ptr<icu::Collator> collator_;
    std::array<std::uint8_t, 128> asciiRank_{};  // 0: ignorable
};

std::string ChangeCase(std::string_view text, bool upper) {
    std::string out;
    if (IsAscii(text)) {
        out.assign(text);
        for (char& c : out)
            c = upper ? AsciiUpper(c) : AsciiLower(c);
        return out;
    }
    out.reserve(text.size());
    icu::StringByteSink<std::string> sink(&out);
    UErrorCode status = U_ZERO_ERROR;
    // "" is the root locale: no Turkish dotless i, whatever the process locale is.
    if (upper) {
        icu::CaseMap::utf8ToUpper("", 0, Piece(text), sink, nullptr, status);
    } else {
        icu::CaseMap::utf8ToLower("", 0, Piece(text), sink, nullptr, status);
    }
    CheckIcu(status, "letter case conversion");
    return out;
}

bool IsBlank(char c) {
    return static_cast<unsigned char>(c) <= 0x20;
}

std::string_view TrimLeftView(std::string_view text) {
    std::size_t first = 0;
    while (first < text.size() && IsBlank(text[first]))
        ++first;
    return text.substr(first);
}

std::string_view TrimRightView(std::string_view text) {
    std::size_t last = text.size();
    while (last > 0 && IsBlank(text[last - 1]))
        --last;
    return text.substr(0, last);
}

}  // namespace

bool SameText(std::string_view a, std::string_view b) {
    if (a == b) return true;
    const FoldWalk walk = WalkSimple(a, b);
    if (walk.differ) return false;
    const bool endA = walk.a == a.size();
    const bool endB = walk.b == b.size();
    // Folding never makes a character vanish, so a non-empty rest cannot match an empty one.
    if (endA || endB) return endA && endB;
    return ToUnicode(a.substr(walk.a))
               .caseCompare(ToUnicode(b.substr(walk.b)), U_FOLD_CASE_DEFAULT) == 0;
}

int CompareText(std::string_view a, std::string_view b) {
    return TextCollator::Instance().Compare(a, b);
}

int CompareStr(std::string_view a, std::string_view b) {
    return a.compare(b);
}

bool StartsText(std::string_view prefix, std::string_view text) {
    const FoldWalk walk = WalkSimple(prefix, text);
    if (walk.differ) return false;
    if (walk.a == prefix.size()) return true;
    if (walk.b == text.size()) return false;
    icu::UnicodeString folded = ToUnicode(prefix.substr(walk.a));
    folded.foldCase(U_FOLD_CASE_DEFAULT);
    // Each character folds to at least one UTF-16 unit: that many characters of text suffice.
    const std::string_view rest = text.substr(walk.b);
    icu::UnicodeString head =
        ToUnicode(rest.substr(0, PrefixBytes(rest, std::size_t(folded.length()))));
    head.foldCase(U_FOLD_CASE_DEFAULT);
    return head.startsWith(folded);
}

std::string UpperCase(std::string_view text) {
    return ChangeCase(text, true);
}
std::string LowerCase(std::string_view text) {
    return ChangeCase(text, false);
}

std::string Trim(std::string_view text) {
    return std::string(TrimRightView(TrimLeftView(text)));
}
std::string TrimLeft(std::string_view text) {
    return std::string(TrimLeftView(text));
}
std::string TrimRight(std::string_view text) {
    return std::string(TrimRightView(text));
}

std::size_t CodePointCount(std::string_view text) {
    // Every byte but a continuation byte (10xxxxxx) starts a character.
    std::size_t continuations = 0;
    std::size_t i = 0;
    for (; i + 8 <= text.size(); i += 8) {
        std::uint64_t word;
        std::memcpy(&word, text.data() + i, sizeof word);
        // One bit (0x80) per continuation byte; the multiplication sums them in the top byte.
        const std::uint64_t marks = (word & ~(word << 1) & kHighBits) >> 7;
        continuations += std::size_t((marks * 0x0101010101010101ull) >> 56);
    }
    for (; i < text.size(); ++i) {
        continuations += (static_cast<unsigned char>(text[i]) & 0xC0) == 0x80;
    }
    return text.size() - continuations;
}

}  // namespace ostradb
