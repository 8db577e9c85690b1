#pragma once

// The two single-byte code pages as tables. Bytes 0x00-0x7F are ASCII in both (control codes
// map to themselves), so only the upper halves are written out; the decoding table (UTF-8 of
// every byte) and the encoding table (byte of every code point) are derived from them at
// compile time.

#include <array>
#include <cstddef>
#include <cstdint>

namespace ostradb::codepage {

using UpperHalf = std::array<char16_t, 128>;

// Windows-1251, bytes 0x80-0xFF. 0x98 is unassigned in the standard table; like ICU's
// "windows-1251" converter we read it as the C1 control U+0098 (and write U+0098 back as
// 0x98), so that any byte the server sends decodes and round-trips.
inline constexpr UpperHalf kWindows1251 = {
    0x0402, 0x0403, 0x201A, 0x0453, 0x201E, 0x2026, 0x2020, 0x2021,  // 0x80
    0x20AC, 0x2030, 0x0409, 0x2039, 0x040A, 0x040C, 0x040B, 0x040F,  // 0x88
    0x0452, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,  // 0x90
    0x0098, 0x2122, 0x0459, 0x203A, 0x045A, 0x045C, 0x045B, 0x045F,  // 0x98
    0x00A0, 0x040E, 0x045E, 0x0408, 0x00A4, 0x0490, 0x00A6, 0x00A7,  // 0xA0
    0x0401, 0x00A9, 0x0404, 0x00AB, 0x00AC, 0x00AD, 0x00AE, 0x0407,  // 0xA8
    0x00B0, 0x00B1, 0x0406, 0x0456, 0x0491, 0x00B5, 0x00B6, 0x00B7,  // 0xB0
    0x0451, 0x2116, 0x0454, 0x00BB, 0x0458, 0x0405, 0x0455, 0x0457,  // 0xB8
    0x0410, 0x0411, 0x0412, 0x0413, 0x0414, 0x0415, 0x0416, 0x0417,  // 0xC0
    0x0418, 0x0419, 0x041A, 0x041B, 0x041C, 0x041D, 0x041E, 0x041F,  // 0xC8
    0x0420, 0x0421, 0x0422, 0x0423, 0x0424, 0x0425, 0x0426, 0x0427,  // 0xD0
    0x0428, 0x0429, 0x042A, 0x042B, 0x042C, 0x042D, 0x042E, 0x042F,  // 0xD8
    0x0430, 0x0431, 0x0432, 0x0433, 0x0434, 0x0435, 0x0436, 0x0437,  // 0xE0
    0x0438, 0x0439, 0x043A, 0x043B, 0x043C, 0x043D, 0x043E, 0x043F,  // 0xE8
    0x0440, 0x0441, 0x0442, 0x0443, 0x0444, 0x0445, 0x0446, 0x0447,  // 0xF0
    0x0448, 0x0449, 0x044A, 0x044B, 0x044C, 0x044D, 0x044E, 0x044F,  // 0xF8
};

// DOS 866, bytes 0x80-0xFF: Cyrillic letters, box drawing and a few signs.
inline constexpr UpperHalf kDos866 = {
    0x0410, 0x0411, 0x0412, 0x0413, 0x0414, 0x0415, 0x0416, 0x0417,  // 0x80
    0x0418, 0x0419, 0x041A, 0x041B, 0x041C, 0x041D, 0x041E, 0x041F,  // 0x88
    0x0420, 0x0421, 0x0422, 0x0423, 0x0424, 0x0425, 0x0426, 0x0427,  // 0x90
    0x0428, 0x0429, 0x042A, 0x042B, 0x042C, 0x042D, 0x042E, 0x042F,  // 0x98
    0x0430, 0x0431, 0x0432, 0x0433, 0x0434, 0x0435, 0x0436, 0x0437,  // 0xA0
    0x0438, 0x0439, 0x043A, 0x043B, 0x043C, 0x043D, 0x043E, 0x043F,  // 0xA8
    0x2591, 0x2592, 0x2593, 0x2502, 0x2524, 0x2561, 0x2562, 0x2556,  // 0xB0
    0x2555, 0x2563, 0x2551, 0x2557, 0x255D, 0x255C, 0x255B, 0x2510,  // 0xB8
    0x2514, 0x2534, 0x252C, 0x251C, 0x2500, 0x253C, 0x255E, 0x255F,  // 0xC0
    0x255A, 0x2554, 0x2569, 0x2566, 0x2560, 0x2550, 0x256C, 0x2567,  // 0xC8
    0x2568, 0x2564, 0x2565, 0x2559, 0x2558, 0x2552, 0x2553, 0x256B,  // 0xD0
    0x256A, 0x2518, 0x250C, 0x2588, 0x2584, 0x258C, 0x2590, 0x2580,  // 0xD8
    0x0440, 0x0441, 0x0442, 0x0443, 0x0444, 0x0445, 0x0446, 0x0447,  // 0xE0
    0x0448, 0x0449, 0x044A, 0x044B, 0x044C, 0x044D, 0x044E, 0x044F,  // 0xE8
    0x0401, 0x0451, 0x0404, 0x0454, 0x0407, 0x0457, 0x040E, 0x045E,  // 0xF0
    0x00B0, 0x2219, 0x00B7, 0x221A, 0x2116, 0x00A4, 0x25A0, 0x00A0,  // 0xF8
};

// The UTF-8 form of one byte, padded to four bytes so that it can be stored with one
// unaligned 4-byte copy; only the first `length` bytes count.
struct Utf8Seq {
    char bytes[3];
    std::uint8_t length;
};
static_assert(sizeof(Utf8Seq) == 4);

using DecodeTable = std::array<Utf8Seq, 256>;

constexpr DecodeTable MakeDecodeTable(const UpperHalf& upper) {
    DecodeTable table{};
    for (unsigned b = 0; b < 256; ++b) {
        const char32_t cp = b < 0x80 ? char32_t(b) : char32_t(upper[b - 0x80]);
        Utf8Seq& seq = table[b];
        if (cp < 0x80) {
            seq = {{char(cp), 0, 0}, 1};
        } else if (cp < 0x800) {
            seq = {{char(0xC0 | (cp >> 6)), char(0x80 | (cp & 0x3F)), 0}, 2};
        } else {
            seq = {{char(0xE0 | (cp >> 12)), char(0x80 | ((cp >> 6) & 0x3F)),
                    char(0x80 | (cp & 0x3F))},
                   3};
        }
    }
    return table;
}

// Byte of a code point >= U+0080, or 0 when the code page has none: a direct table for the
// two-byte UTF-8 range (Cyrillic, Latin-1) and a two-level table over the 256-code-point
// blocks above it that the code page uses (all below U+2600).
class EncodeTable {
public:
    static constexpr std::size_t kBlockCount = 0x26;
    static constexpr std::size_t kMaxUsedBlocks = 4;

    constexpr explicit EncodeTable(const UpperHalf& upper) {
        std::size_t used = 1;  // block 0 stays empty: "no byte"
        for (unsigned i = 0; i < 128; ++i) {
            const char32_t cp = upper[i];
            std::uint8_t* slot = nullptr;
            if (cp < 0x80) throw "ASCII in the upper half";
            if (cp < 0x800) {
                slot = &twoByte_[cp];
            } else {
                const std::size_t hi = cp >> 8;
                if (hi >= kBlockCount) throw "code point outside the encoding table";
                if (blockOf_[hi] == 0) {
                    if (used == kMaxUsedBlocks) throw "too many code-point blocks";
                    blockOf_[hi] = std::uint8_t(used++);
                }
                slot = &blocks_[blockOf_[hi]][cp & 0xFF];
            }
            if (*slot != 0) throw "code point listed twice";
            *slot = std::uint8_t(0x80 + i);
        }
    }

    // cp < U+0800.
    constexpr std::uint8_t FindTwoByte(char32_t cp) const { return twoByte_[cp]; }

    constexpr std::uint8_t Find(char32_t cp) const {
        if (cp < 0x800) return twoByte_[cp];
        const std::size_t hi = cp >> 8;
        return hi < kBlockCount ? blocks_[blockOf_[hi]][cp & 0xFF] : 0;
    }

private:
    std::array<std::uint8_t, 0x800> twoByte_{};
    std::array<std::uint8_t, kBlockCount> blockOf_{};
    std::array<std::array<std::uint8_t, 256>, kMaxUsedBlocks> blocks_{};
};

// Built at compile time: a code point listed twice in a table stops the build.
inline constexpr DecodeTable kDecodeWindows1251 = MakeDecodeTable(kWindows1251);
inline constexpr DecodeTable kDecodeDos866 = MakeDecodeTable(kDos866);
inline constexpr EncodeTable kEncodeWindows1251{kWindows1251};
inline constexpr EncodeTable kEncodeDos866{kDos866};

}  // namespace ostradb::codepage
