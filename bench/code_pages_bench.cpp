// Windows-1251 conversion against ICU's converter on the same bytes: 50 MB shaped like an
// answer (ASCII markup with Russian attribute values) and 50 MB of Russian prose.

#include <benchmark/benchmark.h>
#include <unicode/ucnv.h>
#include <unicode/ustring.h>

#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "ostradb/util/code_pages.hpp"
#include "ostradb/util/text.hpp"

namespace ostradb {
namespace {

// Size of each text in Windows-1251, where one character is one byte.
constexpr std::size_t kTextBytes = 50u << 20;

// Appends to UTF-8 text and counts its characters.
struct TextBuilder {
    std::string text;
    std::size_t chars = 0;
    TextBuilder& operator+=(std::string_view piece) {
        text += piece;
        chars += CodePointCount(piece);
        return *this;
    }
};

template <std::size_t N>
const char* Pick(std::mt19937& random, const char* const (&words)[N]) {
    return words[random() % N];
}

// XML of a level's file list: long ASCII runs, Russian names and values in between.
std::string AnswerUtf8() {
    static const char* const fields[] = {"Самотлорское", "Приобское",    "Ромашкинское",
                                         "Федоровское",  "Мамонтовское", "Ванкорское"};
    static const char* const kinds[] = {"Скв", "Разведочная", "ГИС", "Каротаж", "Well"};
    static const char* const owners[] = {"Иванов И.И.", "Петрова А.С.", "Сидоров", "geo_admin",
                                         "Кузнецов Ю.Ё."};
    std::mt19937 random(1251);
    TextBuilder text;
    text += "<?xml version=\"1.0\" encoding=\"Windows-1251\"?>\r\n<packet><answer>\r\n";
    while (text.chars < kTextBytes) {
        const std::string well = std::to_string(random() % 3000);
        text += "<file name=\"";
        text += Pick(random, kinds);
        text += "_" + well + ".ws\" extra_path=\"\" type=\"1\" size=\"";
        text += std::to_string(random() % 10'000'000);
        text += "\" date=\"12.03.2015 10:22:31\" field=\"";
        text += Pick(random, fields);
        text += "\" well=\"" + well + "\" owner=\"";
        text += Pick(random, owners);
        text += "\" locked=\"false\" db_id=\"3\"/>\r\n";
    }
    return text.text;
}

std::string ProseUtf8() {
    static const char* const words[] = {"скважина",
                                        "пласт",
                                        "каротаж",
                                        "глубина",
                                        "нефть",
                                        "разрез",
                                        "кривая",
                                        "измерение",
                                        "интервал",
                                        "данные",
                                        "месторождение",
                                        "объект",
                                        "ёмкость",
                                        "пористость",
                                        "в",
                                        "на",
                                        "и",
                                        "по",
                                        "для",
                                        "при",
                                        "которые",
                                        "была",
                                        "отбор",
                                        "керна",
                                        "Западной",
                                        "Сибири",
                                        "уровень",
                                        "воды"};
    static const char* const stops[] = {" ", " ", " ", " ", " ", ", ", ". ", "; ", " — ", "\r\n"};
    std::mt19937 random(866);
    TextBuilder text;
    while (text.chars < kTextBytes) {
        text += Pick(random, words);
        text += Pick(random, stops);
    }
    return text.text;
}

struct Texts {
    std::string answerUtf8 = AnswerUtf8();
    std::string proseUtf8 = ProseUtf8();
    std::string answer = Utf8ToCp1251(answerUtf8);
    std::string prose = Utf8ToCp1251(proseUtf8);
};

const Texts& Data() {
    static const Texts texts;
    return texts;
}

using Converter = std::unique_ptr<UConverter, decltype(&ucnv_close)>;

Converter Open(const char* name) {
    UErrorCode status = U_ZERO_ERROR;
    Converter converter(ucnv_open(name, &status), &ucnv_close);
    if (U_FAILURE(status)) throw std::runtime_error(u_errorName(status));
    return converter;
}

// ICU's direct single-byte to UTF-8 conversion (no UTF-16 pivot for these converters).
std::size_t IcuConvert(UConverter* to, UConverter* from, const std::string& in, std::string& out) {
    UErrorCode status = U_ZERO_ERROR;
    char* target = out.data();
    const char* source = in.data();
    ucnv_convertEx(to, from, &target, out.data() + out.size(), &source, in.data() + in.size(),
                   nullptr, nullptr, nullptr, nullptr, true, true, &status);
    if (U_FAILURE(status)) throw std::runtime_error(u_errorName(status));
    return std::size_t(target - out.data());
}

enum Text { kAnswer, kProse };

const std::string& Bytes(Text t) {
    return t == kAnswer ? Data().answer : Data().prose;
}
const std::string& Utf8(Text t) {
    return t == kAnswer ? Data().answerUtf8 : Data().proseUtf8;
}

void BM_CodePageDecode(benchmark::State& state, Text t) {
    const std::string& in = Bytes(t);
    std::string out;
    for (auto _ : state) {
        out.clear();
        AppendDecoded(CodePage::Windows1251, in, out);
        benchmark::DoNotOptimize(out.data());
    }
    if (out != Utf8(t)) state.SkipWithError("wrong output");
    state.SetBytesProcessed(std::int64_t(state.iterations() * in.size()));
}

void BM_CodePageDecodeIcu(benchmark::State& state, Text t) {
    const std::string& in = Bytes(t);
    const Converter from = Open("windows-1251");
    const Converter to = Open("UTF-8");
    std::string out(in.size() * 3, '\0');
    std::size_t length = 0;
    for (auto _ : state) {
        length = IcuConvert(to.get(), from.get(), in, out);
        benchmark::DoNotOptimize(out.data());
    }
    if (out.compare(0, length, Utf8(t)) != 0) state.SkipWithError("wrong output");
    state.SetBytesProcessed(std::int64_t(state.iterations() * in.size()));
}

// ICU's other road: to UTF-16, then to UTF-8.
void BM_CodePageDecodeIcuUtf16(benchmark::State& state, Text t) {
    const std::string& in = Bytes(t);
    const Converter from = Open("windows-1251");
    std::vector<UChar> utf16(in.size());
    std::string out(in.size() * 3, '\0');
    for (auto _ : state) {
        UErrorCode status = U_ZERO_ERROR;
        const int32_t units = ucnv_toUChars(from.get(), utf16.data(), int32_t(utf16.size()),
                                            in.data(), int32_t(in.size()), &status);
        int32_t length = 0;
        u_strToUTF8(out.data(), int32_t(out.size()), &length, utf16.data(), units, &status);
        if (U_FAILURE(status)) state.SkipWithError(u_errorName(status));
        benchmark::DoNotOptimize(out.data());
    }
    state.SetBytesProcessed(std::int64_t(state.iterations() * in.size()));
}

void BM_CodePageEncode(benchmark::State& state, Text t) {
    const std::string& in = Utf8(t);
    std::string out;
    for (auto _ : state) {
        out.clear();
        AppendEncoded(CodePage::Windows1251, in, out);
        benchmark::DoNotOptimize(out.data());
    }
    if (out != Bytes(t)) state.SkipWithError("wrong output");
    state.SetBytesProcessed(std::int64_t(state.iterations() * in.size()));
}

void BM_CodePageEncodeIcu(benchmark::State& state, Text t) {
    const std::string& in = Utf8(t);
    const Converter from = Open("UTF-8");
    const Converter to = Open("windows-1251");
    std::string out(in.size(), '\0');
    std::size_t length = 0;
    for (auto _ : state) {
        length = IcuConvert(to.get(), from.get(), in, out);
        benchmark::DoNotOptimize(out.data());
    }
    if (out.compare(0, length, Bytes(t)) != 0) state.SkipWithError("wrong output");
    state.SetBytesProcessed(std::int64_t(state.iterations() * in.size()));
}

BENCHMARK_CAPTURE(BM_CodePageDecode, answer, kAnswer)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_CodePageDecodeIcu, answer, kAnswer)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_CodePageDecodeIcuUtf16, answer, kAnswer)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_CodePageDecode, prose, kProse)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_CodePageDecodeIcu, prose, kProse)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_CodePageDecodeIcuUtf16, prose, kProse)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_CodePageEncode, answer, kAnswer)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_CodePageEncodeIcu, answer, kAnswer)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_CodePageEncode, prose, kProse)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_CodePageEncodeIcu, prose, kProse)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace ostradb
