// Text comparison on the shapes the library meets: sorting a level's 100,000 file names and
// looking names up ignoring case.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "ostradb/util/text.hpp"

namespace ostradb {
namespace {

// File names as a level lists them: Russian and Latin prefixes, well numbers, extensions.
std::vector<std::string> FileNames(bool cyrillic) {
    static const char* const russian[] = {"Скв_", "скв ", "Разведочная_", "ГИС_", "Ёлочная_"};
    static const char* const latin[] = {"Well_", "well-", "N", "GIS_", "log_"};
    std::mt19937 random(100);
    std::vector<std::string> names;
    for (int i = 0; i < 100'000; ++i) {
        names.push_back(std::string(cyrillic ? russian[random() % 5] : latin[random() % 5]) +
                        std::to_string(random() % 5000) + (random() % 2 ? ".ws" : ".WS"));
    }
    return names;
}

void BM_TextSort(benchmark::State& state, bool cyrillic) {
    const std::vector<std::string> names = FileNames(cyrillic);
    for (auto _ : state) {
        std::vector<std::string> sorted = names;
        std::sort(sorted.begin(), sorted.end(),
                  [](const std::string& a, const std::string& b) { return CompareText(a, b) < 0; });
        benchmark::DoNotOptimize(sorted.data());
    }
    state.SetItemsProcessed(std::int64_t(state.iterations() * names.size()));
}

void BM_TextSameText(benchmark::State& state, bool cyrillic) {
    const std::vector<std::string> names = FileNames(cyrillic);
    std::vector<std::string> upper;
    for (const std::string& name : names)
        upper.push_back(UpperCase(name));
    for (auto _ : state) {
        std::size_t same = 0;
        for (std::size_t i = 0; i < names.size(); ++i) {
            same += SameText(names[i], upper[i]);
            same += SameText(names[i], upper[(i + 1) % names.size()]);
        }
        benchmark::DoNotOptimize(same);
    }
    state.SetItemsProcessed(std::int64_t(state.iterations() * names.size() * 2));
}

BENCHMARK_CAPTURE(BM_TextSort, latin, false)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_TextSort, cyrillic, true)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_TextSameText, latin, false)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_TextSameText, cyrillic, true)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace ostradb
