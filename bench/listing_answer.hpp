#pragma once

// "get_log_level_files" answers shaped like the sandbox's, in Windows-1251 as they come off the
// wire: each file with its attributes, two params with Cyrillic keys and values, a 4-level
// path (field, area, well, survey) and one table of 3 curves, each with its plansheet.

#include <cstdint>
#include <cstdio>
#include <iterator>
#include <string>
#include <string_view>

#include "level_names.hpp"
#include "protocol/wire.hpp"

namespace ostradb::bench {

inline const char* const kCurves[] = {"ГК", "НГК", "ПС", "КС", "ДС", "ИК", "БК", "АК"};
inline const char* const kPlanshets[] = {"Основной", "Корреляция"};

inline std::uint64_t Mix(std::uint64_t x) {
    x += 0x9E3779B97F4A7C15u;
    x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9u;
    x = (x ^ (x >> 27)) * 0x94D049BB133111EBu;
    return x ^ (x >> 31);
}

// File i of the listing, as the sandbox writes it: attributes, two params, a 4-level path
// and one table of 3 curves with their plansheets; Cyrillic names and values.
inline void AppendFile(std::string& out, int i) {
    std::uint64_t r = Mix(static_cast<std::uint64_t>(i));
    auto next = [&](unsigned n) {
        r = Mix(r);
        return static_cast<unsigned>(r % n);
    };
    const char* field = kFields[next(std::size(kFields))];
    const unsigned area = next(12) + 1, well = next(4000) + 1;
    const char* suffix = next(5) == 0 ? "а" : "";
    const char* survey = kSurveys[next(std::size(kSurveys))];
    char buf[1024];
    std::snprintf(buf, sizeof buf,
                  "<file extra_path=\"\" name=\"%u%s_gis_%07d.ws\" type=\"1\" trunk_id=\"T-%u%s\" "
                  "is_main=\"%s\" file_id=\"%d\" flags=\"0\" UserRights=\"127\">"
                  "<params><param key=\"Оператор\" value=\"Партия %u\"/>"
                  "<param key=\"Дата\" value=\"%u\"/></params>"
                  "<path><item value=\"%s\"/><item value=\"Площадь %u\"/>"
                  "<item value=\"%u%s\"/><item value=\"%s\"/></path>"
                  "<table name=\"ГИС\"><data>",
                  well, suffix, i, well, suffix, i % 3 ? "false" : "true", i, next(40) + 1,
                  2000 + next(24), field, area, well, suffix, survey);
    out += buf;
    for (int c = 0; c < 3; ++c) {
        const unsigned top = next(2000) + 500;
        std::snprintf(buf, sizeof buf,
                      "<curve name=\"%s\" start=\"%u\" stop=\"%u.4\" step=\"0.1\" nvers=\"1\" "
                      "keystr=\"\" dclass=\"1\" table=\"ГИС\"><planshets><item name=\"%s\"/>"
                      "</planshets></curve>",
                      kCurves[next(std::size(kCurves))], top, top + 800,
                      kPlanshets[next(std::size(kPlanshets))]);
        out += buf;
    }
    out += "</data></table></file>\n";
}

inline constexpr std::string_view kHead =
    "<?xml version=\"1.0\" encoding=\"Windows-1251\"?>\r\n<packet><answer>\n";
inline constexpr std::string_view kTail = "</answer></packet>\r\n";

// Files [from, to) in Windows-1251.
inline std::string FilesBytes(int from, int to) {
    std::string utf8;
    for (int i = from; i < to; ++i)
        AppendFile(utf8, i);
    return wire::EncodeText(utf8);
}

// The whole answer of 100,000 files in Windows-1251, made once.
inline constexpr int kFiles = 100000;
inline const std::string& Answer() {
    static const std::string bytes =
        std::string(kHead) + FilesBytes(0, kFiles) + std::string(kTail);
    return bytes;
}

}  // namespace ostradb::bench
