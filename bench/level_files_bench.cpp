// Reading a "get_log_level_files" answer of 100,000 files (params, a 4-level path and a table
// of 3 curves each) into a TLevelFilesList, beside pugixml's own parse of the same bytes; the
// memory the reading takes; and SmartSort of those files by their path beside std::sort of
// the same files by keys computed beforehand.

#include <benchmark/benchmark.h>

#include <malloc.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <numeric>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "level_names.hpp"
#include "ostradb/model/db_struct.hpp"
#include "ostradb/model/level_files.hpp"
#include "ostradb/serial/xml.hpp"
#include "ostradb/util/text.hpp"
#include "ostradb/util/well_names.hpp"

namespace ostradb {
namespace {

constexpr int kFiles = 100000;

using bench::kFields;
using bench::kSurveys;
const char* const kCurves[] = {"ГК", "НГК", "ПС", "КС", "ДС", "ИК", "БК", "АК"};

// A deterministic answer of kFiles files, about 50 MB.
const std::string& Answer() {
    static const std::string text = [] {
        std::mt19937 rng(20240601);
        std::string s = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<packet><answer>\n";
        s.reserve(60u << 20);
        char buf[1024];
        for (int i = 0; i < kFiles; ++i) {
            const char* field = kFields[rng() % std::size(kFields)];
            const auto area = static_cast<unsigned>(rng() % 12 + 1);
            const auto wellNo = static_cast<unsigned>(rng() % 4000 + 1);
            const char* suffix = (rng() % 5 == 0) ? "а" : "";
            const char* survey = kSurveys[rng() % std::size(kSurveys)];
            const auto size = static_cast<unsigned>(rng() % 900000 + 1000);
            const auto date = static_cast<unsigned>(40000 + rng() % 6000);
            std::snprintf(buf, sizeof buf,
                          "<file extra_path=\"\" name=\"%s/%u%s/gis_%06d.ws\" type=\"1\" "
                          "trunk_id=\"%u\" is_main=\"%s\" file_id=\"%d\" flags=\"0\" "
                          "UserRights=\"7\">"
                          "<params><param key=\"size\" value=\"%u\"/>"
                          "<param key=\"date\" value=\"%u.5\"/></params>"
                          "<path><item value=\"%s\"/><item value=\"Площадь %u\"/>"
                          "<item value=\"%u%s\"/><item value=\"%s\"/></path>"
                          "<table name=\"main\"><data>",
                          field, wellNo, suffix, i, wellNo, (i % 3) ? "false" : "true", i, size,
                          date, field, area, wellNo, suffix, survey);
            s += buf;
            for (int c = 0; c < 3; ++c) {
                const auto top = static_cast<unsigned>(rng() % 2000 + 500);
                const char* curve = kCurves[rng() % std::size(kCurves)];
                std::snprintf(buf, sizeof buf,
                              "<curve name=\"%s\" start=\"%u\" stop=\"%u.4\" step=\"0.1\" "
                              "nvers=\"1\" keystr=\"\" dclass=\"1\"/>",
                              curve, top, top + 800);
                s += buf;
            }
            s += "</data></table></file>\n";
        }
        s += "</answer></packet>\n";
        return s;
    }();
    return text;
}

TDbStruct Levels() {
    TDbStruct s;
    for (const char* type : {"%field", "%area", "%well", "%survey"})
        s.AddNewItem().Type = type;
    return s;
}

long MinorFaults() {
    rusage u{};
    getrusage(RUSAGE_SELF, &u);
    return u.ru_minflt;
}

// The least any reader of the document must do: visit every element and attribute once,
// touching each name and value, and build nothing.
std::size_t Visit(pugi::xml_node node) {
    std::size_t sum = 0;
    for (pugi::xml_attribute a = node.first_attribute(); a; a = a.next_attribute())
        sum += static_cast<unsigned char>(a.name()[0]) + static_cast<unsigned char>(a.value()[0]);
    for (pugi::xml_node c = node.first_child(); c; c = c.next_sibling())
        sum += Visit(c);
    return sum;
}

void BM_WalkAnswerDom(benchmark::State& state) {
    pugi::xml_document doc;
    xml::Parse(doc, Answer());
    for (auto _ : state)
        benchmark::DoNotOptimize(Visit(doc.document_element()));
    state.counters["answer_MB"] = static_cast<double>(Answer().size()) / 1e6;
}
BENCHMARK(BM_WalkAnswerDom)->Unit(benchmark::kMillisecond)->MinTime(2.0);

// Resident memory from /proc/self/status, in bytes.
long long StatusBytes(const char* key) {
    std::ifstream in("/proc/self/status");
    std::string line;
    const std::string prefix = std::string(key) + ":";
    while (std::getline(in, line))
        if (line.rfind(prefix, 0) == 0) return std::stoll(line.substr(prefix.size())) * 1024;
    return -1;
}

// Resets the peak resident size (VmHWM) to the current one.
void ResetPeak() {
    std::ofstream("/proc/self/clear_refs") << "5";
}

double Millis(std::chrono::steady_clock::time_point from) {
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - from)
        .count();
}

// Runs measure() in a child process, whose heap starts as the parent's, trimmed: the answer
// text and little else. Returns what the child measured; false when it failed.
template <std::size_t N, class Measure>
bool InChild(Measure measure, std::array<double, N>& out) {
    int fds[2];
    if (pipe(fds) != 0) return false;
    const pid_t pid = fork();
    if (pid < 0) return false;
    if (pid == 0) {
        close(fds[0]);
        malloc_trim(0);
        const std::array<double, N> results = measure();
        const ssize_t written = write(fds[1], results.data(), sizeof results);
        _exit(written == static_cast<ssize_t>(sizeof results) ? 0 : 1);
    }
    close(fds[1]);
    const ssize_t got = read(fds[0], out.data(), sizeof out);
    close(fds[0]);
    int status = 0;
    waitpid(pid, &status, 0);
    return got == static_cast<ssize_t>(sizeof out) && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

// One parse of the answer, and a read of it into a list when read is set: the times in
// milliseconds and the page faults of each step.
using Run = std::array<double, 4>;  // parse ms, read ms, parse faults, read faults
constexpr double kNever = 1e300;

Run ParseOnce(bool read) {
    static const TDbStruct levels = Levels();
    const long faults = MinorFaults();
    const auto start = std::chrono::steady_clock::now();
    pugi::xml_document doc;
    xml::Parse(doc, Answer());
    const double parse = Millis(start);
    const long parseFaults = MinorFaults() - faults;
    const auto readStart = std::chrono::steady_clock::now();
    TLevelFilesList list;
    if (read) list.ReadFromXml(doc.document_element().child("answer"), &levels);
    const double reading = Millis(readStart);
    if (read && list.GetCount() != kFiles) std::abort();
    return {parse, reading, static_cast<double>(parseFaults),
            static_cast<double>(MinorFaults() - faults - parseFaults)};
}

// Parse alone beside parse and read, the best of five runs each, in two settings. Cold (arg
// 0): a fresh child process per run, so the document and the list land in memory the process
// has never touched, as for one large answer; every new 4 KiB page costs a page fault. Warm
// (arg 1): one child that keeps the memory it frees (no trimming, no mmap for large blocks)
// and repeats, so only the work itself counts.
void BM_ReadVsParse(benchmark::State& state) {
    const bool warm = state.range(0) != 0;
    Answer();  // made before the children start
    constexpr int kRuns = 5;
    Run parse{kNever}, both{kNever, kNever};
    auto keepBest = [&](const Run& p, const Run& q) {
        if (p[0] < parse[0]) parse = p;
        if (q[0] + q[1] < both[0] + both[1]) both = q;
    };
    bool ok = true;
    if (warm) {
        std::array<double, 8> r{};
        ok = InChild(
            [&] {
                mallopt(M_MMAP_THRESHOLD, 1 << 30);
                mallopt(M_TRIM_THRESHOLD, std::numeric_limits<int>::max());
                ParseOnce(true);
                for (int i = 0; i < kRuns; ++i)
                    keepBest(ParseOnce(false), ParseOnce(true));
                std::array<double, 8> out{};
                std::copy(parse.begin(), parse.end(), out.begin());
                std::copy(both.begin(), both.end(), out.begin() + 4);
                return out;
            },
            r);
        std::copy(r.begin(), r.begin() + 4, parse.begin());
        std::copy(r.begin() + 4, r.end(), both.begin());
    } else {
        for (int i = 0; i < kRuns && ok; ++i) {
            Run p{}, q{};
            ok = InChild([] { return ParseOnce(false); }, p) &&
                 InChild([] { return ParseOnce(true); }, q);
            keepBest(p, q);
        }
    }
    for (auto _ : state) {
    }
    if (!ok) {
        state.SkipWithError("a measuring child failed");
        return;
    }
    state.counters["parse_ms"] = parse[0];
    state.counters["parse_faults"] = parse[2];
    state.counters["then_read_ms"] = both[1];
    state.counters["read_faults"] = both[3];
    state.counters["ratio"] = (both[0] + both[1]) / parse[0];
}
BENCHMARK(BM_ReadVsParse)->Arg(0)->Arg(1)->Iterations(1)->Unit(benchmark::kMillisecond);

// The peak resident size while parsing, then while reading into the list, each over the size
// before it; and the heap the finished list keeps.
void BM_ReadMemory(benchmark::State& state) {
    Answer();
    std::array<double, 4> r{};
    const bool ok = InChild(
        [] {
            static const TDbStruct levels = Levels();
            ResetPeak();
            const long long base = StatusBytes("VmRSS");
            pugi::xml_document doc;
            xml::Parse(doc, Answer());
            const long long parsed = StatusBytes("VmHWM");
            const std::size_t heapBefore = mallinfo2().uordblks;
            ResetPeak();
            const long long beforeRead = StatusBytes("VmRSS");
            TLevelFilesList list;
            list.ReadFromXml(doc.document_element().child("answer"), &levels);
            const long long read = StatusBytes("VmHWM");
            return std::array<double, 4>{static_cast<double>(parsed - base),
                                         static_cast<double>(read - beforeRead),
                                         static_cast<double>(mallinfo2().uordblks - heapBefore),
                                         static_cast<double>(list.GetCount())};
        },
        r);
    for (auto _ : state) {
    }
    if (!ok || r[3] != kFiles) {
        state.SkipWithError("the measuring child failed");
        return;
    }
    const double answer = static_cast<double>(Answer().size());
    state.counters["answer_MB"] = answer / 1e6;
    state.counters["parse_peak_MB"] = r[0] / 1e6;
    state.counters["read_peak_MB"] = r[1] / 1e6;
    state.counters["list_heap_MB"] = r[2] / 1e6;
    state.counters["read_peak_x_answer"] = r[1] / answer;
}
BENCHMARK(BM_ReadMemory)->Iterations(1)->Unit(benchmark::kMillisecond);

// The files of the answer with their paths, and a shuffled order to start every sort from.
struct SortInput {
    TLevelFilesList files;
    std::vector<int> shuffled;
};

const SortInput& Input() {
    static const SortInput input = [] {
        SortInput in;
        pugi::xml_document doc;
        xml::Parse(doc, Answer());
        const TDbStruct levels = Levels();
        in.files.ReadFromXml(doc.document_element().child("answer"), &levels);
        in.shuffled.resize(static_cast<std::size_t>(in.files.GetCount()));
        std::iota(in.shuffled.begin(), in.shuffled.end(), 0);
        std::shuffle(in.shuffled.begin(), in.shuffled.end(), std::mt19937(7));
        return in;
    }();
    return input;
}

void Arrange(TLevelFilesList& list, const SortInput& in) {
    list.Clear();
    for (int i : in.shuffled)
        list.Add().Assign(in.files.GetItem(i));
}

void BM_SmartSort(benchmark::State& state) {
    const SortInput& in = Input();
    TLevelFilesList list;
    for (auto _ : state) {
        state.PauseTiming();
        Arrange(list, in);
        state.ResumeTiming();
        list.SmartSort();
        benchmark::DoNotOptimize(list.GetItem(0).Name);
    }
    state.counters["files"] = list.GetCount();
}
BENCHMARK(BM_SmartSort)->Unit(benchmark::kMillisecond)->MinTime(2.0);

// Names without a number sort after those with one.
int WellNumber(const std::string& name) {
    const int n = ExtractWellNumInt(name);
    return n < 0 ? std::numeric_limits<int>::max() : n;
}

// The baseline: the same files sorted by keys computed before the timing starts (well number
// and lower-cased values), compared as plain integers and bytes.
void BM_StdSortPrecomputedKeys(benchmark::State& state) {
    const SortInput& in = Input();
    using Key = std::tuple<std::string, std::string, int, std::string, std::string>;
    std::vector<Key> keys;
    for (const TLevelFile& f : in.files.Files) {
        const TStringList& p = f.PathNames;
        keys.emplace_back(LowerCase(p.Values("%field")), LowerCase(p.Values("%area")),
                          WellNumber(p.Values("%well")), LowerCase(p.Values("%well")),
                          LowerCase(p.Values("%survey")));
    }
    std::vector<const TLevelFile*> files;
    std::vector<int> order;
    for (auto _ : state) {
        state.PauseTiming();
        order = in.shuffled;
        state.ResumeTiming();
        std::sort(order.begin(), order.end(), [&](int a, int b) {
            return keys[static_cast<std::size_t>(a)] < keys[static_cast<std::size_t>(b)];
        });
        files.clear();
        for (int i : order)
            files.push_back(&in.files.GetItem(i));
        benchmark::DoNotOptimize(files.data());
    }
    state.counters["files"] = static_cast<double>(files.size());
}
BENCHMARK(BM_StdSortPrecomputedKeys)->Unit(benchmark::kMillisecond)->MinTime(2.0);

}  // namespace
}  // namespace ostradb
