#include "ostradb/util/code_pages.hpp"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <utility>

#include "ostradb/util/exceptions.hpp"
#include "util/code_page_tables.hpp"

namespace ostradb {
namespace {

using codepage::DecodeTable;
using codepage::EncodeTable;

struct PageTables {
    const DecodeTable& decode;
    const EncodeTable& encode;
    const char* name;
};

const PageTables& TablesOf(CodePage page) {
    static const PageTables windows1251{codepage::kDecodeWindows1251, codepage::kEncodeWindows1251,
                                        "Windows-1251"};
    static const PageTables dos866{codepage::kDecodeDos866, codepage::kEncodeDos866, "DOS 866"};
    return page == CodePage::Dos866 ? dos866 : windows1251;
}

constexpr std::uint64_t kHighBits = 0x8080808080808080ull;
// The input is converted in slices: the output string is grown (and zero-filled by resize)
// one slice ahead of the writing, so the fill stays in cache and is never wasted on a large
// reserve.
constexpr std::size_t kSlice = 8192;
// Room past the converted text for the unconditional 8-byte and 4-byte stores.
constexpr std::size_t kSlack = 8;

std::uint64_t Load8(const unsigned char* p) {
    std::uint64_t word;
    std::memcpy(&word, p, sizeof word);
    return word;
}

// Position of the first byte with its high bit set, 8 when there is none.
std::size_t FirstHighByte(std::uint64_t highBits) {
    if constexpr (std::endian::native == std::endian::little) {
        return std::size_t(std::countr_zero(highBits)) >> 3;
    } else {
        return std::size_t(std::countl_zero(highBits)) >> 3;
    }
}

struct Utf8Char {
    char32_t cp;
    std::size_t length;  // 0: malformed
};

// The well-formed UTF-8 sequence at p, whose first byte is >= 0x80, or length 0 when the
// sequence is truncated, overlong, a surrogate or above U+10FFFF.
Utf8Char DecodeUtf8(const unsigned char* p, const unsigned char* end) {
    const unsigned b0 = p[0];
    const std::size_t avail = std::size_t(end - p);
    auto cont = [](unsigned b) { return (b & 0xC0) == 0x80; };
    if (b0 < 0xC2) return {0, 0};  // a continuation byte, or the lead of an overlong pair
    if (b0 < 0xE0) {
        if (avail < 2 || !cont(p[1])) return {0, 0};
        return {char32_t((b0 & 0x1F) << 6 | (p[1] & 0x3F)), 2};
    }
    if (b0 < 0xF0) {
        const unsigned low = b0 == 0xE0 ? 0xA0 : 0x80;   // overlong
        const unsigned high = b0 == 0xED ? 0x9F : 0xBF;  // surrogates
        if (avail < 3 || p[1] < low || p[1] > high || !cont(p[2])) return {0, 0};
        return {char32_t((b0 & 0x0F) << 12 | (p[1] & 0x3F) << 6 | (p[2] & 0x3F)), 3};
    }
    if (b0 < 0xF5) {
        const unsigned low = b0 == 0xF0 ? 0x90 : 0x80;   // overlong
        const unsigned high = b0 == 0xF4 ? 0x8F : 0xBF;  // above U+10FFFF
        if (avail < 4 || p[1] < low || p[1] > high || !cont(p[2]) || !cont(p[3])) return {0, 0};
        return {
            char32_t((b0 & 0x07) << 18 | (p[1] & 0x3F) << 12 | (p[2] & 0x3F) << 6 | (p[3] & 0x3F)),
            4};
    }
    return {0, 0};
}

[[noreturn]] void ThrowInvalidUtf8(std::size_t offset) {
    throw EEncodingError("invalid UTF-8 at byte " + std::to_string(offset), U'\uFFFD');
}

[[noreturn]] void ThrowUnmappable(char32_t cp, const unsigned char* seq, std::size_t length,
                                  const char* pageName) {
    char hex[16];
    std::snprintf(hex, sizeof hex, "U+%04X", unsigned(cp));
    std::string message = std::string("character ") + hex;
    if (cp > 0x9F) {  // C1 controls have no glyph worth quoting
        message += " \"";
        message.append(reinterpret_cast<const char*>(seq), length);
        message += '"';
    }
    message += " cannot be written in ";
    message += pageName;
    throw EEncodingError(message, cp);
}

// Stores the UTF-8 of one byte (four bytes written, its length kept) and returns the new end.
char* PutUtf8(const DecodeTable& table, unsigned char byte, char* dst) {
    std::uint32_t entry;
    std::memcpy(&entry, &table[byte], sizeof entry);
    std::memcpy(dst, &entry, sizeof entry);
    const std::uint32_t length =
        std::endian::native == std::endian::little ? entry >> 24 : entry & 0xFF;
    return dst + length;
}

// The I-th byte in memory order of a word loaded from memory.
template <std::size_t I>
unsigned char ByteOf(std::uint64_t word) {
    constexpr unsigned shift = std::endian::native == std::endian::little ? 8 * I : 56 - 8 * I;
    return static_cast<unsigned char>(word >> shift);
}

template <std::size_t... I>
char* PutUtf8Each(const DecodeTable& table, std::uint64_t word, char* dst,
                  std::index_sequence<I...>) {
    ((dst = PutUtf8(table, ByteOf<I>(word), dst)), ...);
    return dst;
}

void Decode(const DecodeTable& table, std::string_view bytes, std::string& out) {
    const auto* p = reinterpret_cast<const unsigned char*>(bytes.data());
    const auto* const end = p + bytes.size();
    std::size_t pos = out.size();
    // Cyrillic text doubles in size; more than that is rare and grows the string by itself.
    out.reserve(pos + 2 * bytes.size() + std::min(bytes.size(), kSlice) + kSlack);
    try {
        while (p < end) {
            const auto* const sliceEnd = std::size_t(end - p) > kSlice ? p + kSlice : end;
            const std::size_t need = pos + 3 * std::size_t(sliceEnd - p) + kSlack;
            if (out.size() < need) out.resize(need);
            char* const base = out.data();
            char* dst = base + pos;
            // Whole words only: a word with any non-ASCII byte goes through the table as a
            // whole, which is faster than finding where its ASCII ends.
            for (; sliceEnd - p >= 8; p += 8) {
                const std::uint64_t word = Load8(p);
                if ((word & kHighBits) == 0) {
                    std::memcpy(dst, &word, sizeof word);
                    dst += 8;
                } else {
                    dst = PutUtf8Each(table, word, dst, std::make_index_sequence<8>());
                }
            }
            for (; p < sliceEnd; ++p)
                dst = PutUtf8(table, *p, dst);
            pos = std::size_t(dst - base);
        }
    } catch (...) {
        out.resize(pos);
        throw;
    }
    out.resize(pos);
}

void Encode(const PageTables& page, std::string_view utf8, std::string& out) {
    const auto* const begin = reinterpret_cast<const unsigned char*>(utf8.data());
    const auto* const end = begin + utf8.size();
    const auto* p = begin;
    const EncodeTable& table = page.encode;
    std::size_t pos = out.size();
    try {
        while (p < end) {
            const auto* const sliceEnd = std::size_t(end - p) > kSlice ? p + kSlice : end;
            const std::size_t need = pos + std::size_t(sliceEnd - p) + kSlack;
            if (out.size() < need) out.resize(need);
            char* const base = out.data();
            char* dst = base + pos;
            while (p < sliceEnd) {
                if (*p < 0x80) {
                    if (sliceEnd - p >= 8) {
                        const std::uint64_t high = Load8(p) & kHighBits;
                        std::memcpy(dst, p, 8);
                        const std::size_t ascii = FirstHighByte(high);
                        p += ascii;
                        dst += ascii;
                    } else {
                        *dst++ = char(*p++);
                    }
                    continue;
                }
                // A sequence may run past the slice end; the output never outgrows the input.
                Utf8Char c{0, 2};
                std::uint8_t byte = 0;
                if (p[0] >= 0xC2 && p[0] < 0xE0 && end - p >= 2 && (p[1] & 0xC0) == 0x80) {
                    c.cp = char32_t((p[0] & 0x1F) << 6 | (p[1] & 0x3F));  // Cyrillic, Latin-1
                    byte = table.FindTwoByte(c.cp);
                } else {
                    c = DecodeUtf8(p, end);
                    if (c.length != 0) byte = table.Find(c.cp);
                }
                if (byte == 0) {
                    pos = std::size_t(dst - base);
                    if (c.length == 0) ThrowInvalidUtf8(std::size_t(p - begin));
                    ThrowUnmappable(c.cp, p, c.length, page.name);
                }
                *dst++ = char(byte);
                p += c.length;
            }
            pos = std::size_t(dst - base);
        }
    } catch (...) {
        out.resize(pos);
        throw;
    }
    out.resize(pos);
}

}  // namespace

void AppendDecoded(CodePage page, std::string_view bytes, std::string& out) {
    Decode(TablesOf(page).decode, bytes, out);
}

void AppendEncoded(CodePage page, std::string_view utf8, std::string& out) {
    Encode(TablesOf(page), utf8, out);
}

std::string Cp1251ToUtf8(std::string_view bytes) {
    std::string out;
    AppendDecoded(CodePage::Windows1251, bytes, out);
    return out;
}

std::string Utf8ToCp1251(std::string_view utf8) {
    std::string out;
    AppendEncoded(CodePage::Windows1251, utf8, out);
    return out;
}

std::string Cp866ToUtf8(std::string_view bytes) {
    std::string out;
    AppendDecoded(CodePage::Dos866, bytes, out);
    return out;
}

std::string Utf8ToCp866(std::string_view utf8) {
    std::string out;
    AppendEncoded(CodePage::Dos866, utf8, out);
    return out;
}

namespace {

// Whether every sequence of text outside ASCII is well-formed UTF-8 and accept takes its
// character.
template <class Accept>
bool EveryNonAscii(std::string_view text, Accept accept) {
    const auto* p = reinterpret_cast<const unsigned char*>(text.data());
    const auto* const end = p + text.size();
    while (p < end) {
        if (end - p >= 8) {
            const std::uint64_t high = Load8(p) & kHighBits;
            if (high == 0) {
                p += 8;
                continue;
            }
            p += FirstHighByte(high);
        } else if (*p < 0x80) {
            ++p;
            continue;
        }
        const Utf8Char c = DecodeUtf8(p, end);
        if (c.length == 0 || !accept(c.cp)) return false;
        p += c.length;
    }
    return true;
}

}  // namespace

bool IsValidUtf8(std::string_view text) {
    return EveryNonAscii(text, [](char32_t) { return true; });
}

bool CanEncode(CodePage page, std::string_view utf8) {
    const EncodeTable& table = TablesOf(page).encode;
    return EveryNonAscii(utf8, [&](char32_t cp) { return table.Find(cp) != 0; });
}

}  // namespace ostradb
