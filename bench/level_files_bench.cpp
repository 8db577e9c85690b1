// Listings of level files: a "get_log_level_files" answer of 100,000 (and 1,000,000) files
// shaped like the sandbox's, read by RequestFiles over TCP beside the least a reader of the
// whole answer does (its bytes read off the socket into a growing buffer and parsed in place
// by pugixml), each in a fresh process and warm; the peak memory of the whole process; the
// answer reader alone beside pugixml on the same bytes in memory; and SmartSort of 1,000,000
// files beside std::sort of the same files by keys computed beforehand.

#include <benchmark/benchmark.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <numeric>
#include <random>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "level_names.hpp"
#include "model/level_files_read.hpp"
#include "ostradb/model/db_struct.hpp"
#include "ostradb/model/level_files.hpp"
#include "ostradb/serial/xml.hpp"
#include "ostradb/util/text.hpp"
#include "ostradb/util/well_names.hpp"
#include "protocol/answer_stream.hpp"
#include "protocol/list_answers.hpp"
#include "protocol/wire.hpp"

extern char** environ;

namespace ostradb {
namespace {

using bench::kFields;
using bench::kSurveys;
const char* const kCurves[] = {"ГК", "НГК", "ПС", "КС", "ДС", "ИК", "БК", "АК"};
const char* const kPlanshets[] = {"Основной", "Корреляция"};

std::uint64_t Mix(std::uint64_t x) {
    x += 0x9E3779B97F4A7C15u;
    x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9u;
    x = (x ^ (x >> 27)) * 0x94D049BB133111EBu;
    return x ^ (x >> 31);
}

// File i of the listing, as the sandbox writes it: attributes, two params, a 4-level path
// and one table of 3 curves with their plansheets; Cyrillic names and values.
void AppendFile(std::string& out, int i) {
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

constexpr std::string_view kHead =
    "<?xml version=\"1.0\" encoding=\"Windows-1251\"?>\r\n<packet><answer>\n";
constexpr std::string_view kTail = "</answer></packet>\r\n";

// Files [from, to) in Windows-1251.
std::string FilesBytes(int from, int to) {
    std::string utf8;
    for (int i = from; i < to; ++i)
        AppendFile(utf8, i);
    return wire::EncodeText(utf8);
}

// The whole answer of 100,000 files in Windows-1251, made once.
constexpr int kFiles = 100000;
const std::string& Answer() {
    static const std::string bytes =
        std::string(kHead) + FilesBytes(0, kFiles) + std::string(kTail);
    return bytes;
}

// A loopback server that answers every request on every connection with a listing of files
// files: from memory for the 100,000-file answer, made as it is sent for larger ones (so
// that the server holds little). Counts the bytes of one answer.
class ListingServer {
public:
    explicit ListingServer(int files) : files_(files) {
        listener_ = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in addr{};
        addr.sin_family = AF_INET;
        addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t len = sizeof addr;
        if (listener_ < 0 || bind(listener_, reinterpret_cast<sockaddr*>(&addr), len) != 0 ||
            listen(listener_, 4) != 0 ||
            getsockname(listener_, reinterpret_cast<sockaddr*>(&addr), &len) != 0)
            std::abort();
        port_ = ntohs(addr.sin_port);
        thread_ = std::thread([this] { Serve(); });
    }
    ~ListingServer() {
        shutdown(listener_, SHUT_RDWR);
        close(listener_);
        thread_.join();
    }
    int Port() const { return port_; }
    std::size_t AnswerBytes() const { return answerBytes_; }

private:
    void Serve() {
        for (;;) {
            const int fd = accept(listener_, nullptr, nullptr);
            if (fd < 0) return;
            std::string request;
            char buf[4096];
            for (;;) {
                const ssize_t n = recv(fd, buf, sizeof buf, 0);
                if (n <= 0) break;
                request.append(buf, static_cast<std::size_t>(n));
                if (request.find("</packet>\r\n") == std::string::npos) continue;
                request.clear();
                if (!SendAnswer(fd)) break;
            }
            close(fd);
        }
    }
    bool SendAnswer(int fd) {
        std::size_t total = 0;
        auto put = [&](std::string_view bytes) {
            total += bytes.size();
            while (!bytes.empty()) {
                const ssize_t n = send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL);
                if (n <= 0) return false;
                bytes.remove_prefix(static_cast<std::size_t>(n));
            }
            return true;
        };
        bool ok = true;
        if (files_ == kFiles) {
            ok = put(Answer());
        } else {
            ok = put(kHead);
            for (int i = 0; ok && i < files_; i += 1000)
                ok = put(FilesBytes(i, std::min(files_, i + 1000)));
            ok = ok && put(kTail);
        }
        answerBytes_ = total;
        return ok;
    }

    int files_;
    int listener_ = -1;
    int port_ = 0;
    std::atomic<std::size_t> answerBytes_{0};
    std::thread thread_;
};

// What a listing process reported: best milliseconds, peak resident KiB, heap held by the
// list in bytes, files.
using Report = std::array<double, 4>;

bool RunListing(int port, const char* mode, int runs, Report& out) {
    const std::string portText = std::to_string(port), runsText = std::to_string(runs);
    char* argv[] = {const_cast<char*>(OSTRADB_BENCH_LISTING), const_cast<char*>(portText.c_str()),
                    const_cast<char*>(mode), const_cast<char*>(runsText.c_str()), nullptr};
    int fds[2];
    if (pipe(fds) != 0) return false;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, fds[1], STDOUT_FILENO);
    posix_spawn_file_actions_addclose(&actions, fds[0]);
    pid_t pid = 0;
    const int spawned = posix_spawn(&pid, argv[0], &actions, nullptr, argv, environ);
    posix_spawn_file_actions_destroy(&actions);
    close(fds[1]);
    std::string text;
    char buf[256];
    for (ssize_t n; (n = read(fds[0], buf, sizeof buf)) > 0;)
        text.append(buf, static_cast<std::size_t>(n));
    close(fds[0]);
    if (spawned != 0) return false;
    int status = 0;
    waitpid(pid, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0 &&
           std::sscanf(text.c_str(), "%lf %lf %lf %lf", &out[0], &out[1], &out[2], &out[3]) == 4;
}

// RequestFiles of 100,000 files beside the reference, best of five each: arg 0 a fresh
// process per run (every page of the result is new to the process), arg 1 one process
// repeating five times (no new pages after the first run).
void BM_ListingVsSocketParse(benchmark::State& state) {
    const bool warm = state.range(0) != 0;
    Answer();
    ListingServer server(kFiles);
    Report lib{1e300}, ref{1e300}, r{};
    bool ok = true;
    for (int i = 0; i < (warm ? 1 : 5) && ok; ++i) {
        ok = RunListing(server.Port(), "reference", warm ? 5 : 1, r) && r[3] == kFiles;
        if (ok && r[0] < ref[0]) ref = r;
        ok = ok && RunListing(server.Port(), "library", warm ? 5 : 1, r) && r[3] == kFiles;
        if (ok && r[0] < lib[0]) lib = r;
    }
    for (auto _ : state) {
    }
    if (!ok) {
        state.SkipWithError("a listing process failed");
        return;
    }
    const double answer = static_cast<double>(Answer().size());
    state.counters["answer_MB"] = answer / 1e6;
    state.counters["reference_ms"] = ref[0];
    state.counters["library_ms"] = lib[0];
    state.counters["ratio"] = lib[0] / ref[0];
    state.counters["reference_peak_MB"] = ref[1] * 1024 / 1e6;
    state.counters["library_peak_MB"] = lib[1] * 1024 / 1e6;
    state.counters["peak_x_answer"] = lib[1] * 1024 / answer;
    state.counters["list_MB"] = lib[2] / 1e6;
}
BENCHMARK(BM_ListingVsSocketParse)->Arg(0)->Arg(1)->Iterations(1)->Unit(benchmark::kMillisecond);

// RequestFiles of 1,000,000 files in a fresh process: it completes, and its peak memory.
void BM_ListingMillion(benchmark::State& state) {
    constexpr int kMillion = 1000000;
    ListingServer server(kMillion);
    Report r{};
    const bool ok = RunListing(server.Port(), "library", 1, r) && r[3] == kMillion;
    for (auto _ : state) {
    }
    if (!ok) {
        state.SkipWithError("the listing process failed");
        return;
    }
    const double answer = static_cast<double>(server.AnswerBytes());
    state.counters["answer_MB"] = answer / 1e6;
    state.counters["library_ms"] = r[0];
    state.counters["library_peak_MB"] = r[1] * 1024 / 1e6;
    state.counters["peak_x_answer"] = r[1] * 1024 / answer;
    state.counters["list_MB"] = r[2] / 1e6;
}
BENCHMARK(BM_ListingMillion)->Iterations(1)->Unit(benchmark::kMillisecond);

// The readers alone on the answer's bytes in memory, warm, in pieces of 64 KiB as they come
// off a socket: arg 0 the answer reader (records as compact trees), arg 1 the same framing
// with pugixml parsing each record and the DOM reader walking it.
void BM_StreamedRead(benchmark::State& state) {
    TLevelFilesList list;
    detail::FileRecords trees(list, nullptr);
    const detail::PathLevels noLevels(nullptr);
    detail::ParsedRecords parsed(
        {"file"}, [&] { list.Clear(); },
        [&](pugi::xml_node n) { detail::ReadFile(list.Add(), n, noLevels); });
    detail::AnswerSink& sink = state.range(0) == 0 ? static_cast<detail::AnswerSink&>(trees)
                                                   : static_cast<detail::AnswerSink&>(parsed);
    const std::string& bytes = Answer();
    for (auto _ : state) {
        detail::AnswerReader reader(&sink, std::size_t{1} << 20);
        for (std::size_t i = 0; i < bytes.size(); i += 64u << 10)
            reader.Feed(std::string_view(bytes).substr(i, 64u << 10));
        pugi::xml_document doc;
        reader.Finish(doc);
        if (list.GetCount() != kFiles) state.SkipWithError("files missing");
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * bytes.size()));
}
BENCHMARK(BM_StreamedRead)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->MinTime(2.0);

// pugixml's in-place parse of a copy of the same bytes (the copy not timed).
void BM_ParseInPlace(benchmark::State& state) {
    std::string copy;
    for (auto _ : state) {
        state.PauseTiming();
        copy = Answer();
        state.ResumeTiming();
        pugi::xml_document doc;
        if (!doc.load_buffer_inplace(copy.data(), copy.size(), pugi::parse_default,
                                     pugi::encoding_utf8))
            state.SkipWithError("parse failed");
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * Answer().size()));
}
BENCHMARK(BM_ParseInPlace)->Unit(benchmark::kMillisecond)->MinTime(2.0);

// 1,000,000 files with their paths (read by the answer reader), shuffled before every sort
// by the same swaps.
constexpr int kSortFiles = 1000000;

TLevelFilesList& SortInput() {
    static TLevelFilesList list = [] {
        TDbStruct levels;
        for (const char* type : {"%field", "%area", "%well", "%survey"})
            levels.AddNewItem().Type = type;
        TLevelFilesList files;
        detail::FileRecords sink(files, &levels);
        detail::AnswerReader reader(&sink, std::size_t{1} << 20);
        reader.Feed(kHead);
        for (int i = 0; i < kSortFiles; i += 10000)
            reader.Feed(FilesBytes(i, i + 10000));
        reader.Feed(kTail);
        pugi::xml_document doc;
        reader.Finish(doc);
        files.SmartSort();
        return files;
    }();
    return list;
}

void Shuffle(TLevelFilesList& list) {
    std::mt19937 rng(7);
    for (int i = list.GetCount() - 1; i > 0; --i)
        list.Files.Exchange(i, static_cast<int>(rng() % static_cast<unsigned>(i + 1)));
}

void BM_SmartSort(benchmark::State& state) {
    TLevelFilesList& list = SortInput();
    for (auto _ : state) {
        state.PauseTiming();
        list.SmartSort();  // from the same order every time
        Shuffle(list);
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

// The baseline: the same shuffled files sorted by keys computed before the timing starts
// (well number and lower-cased values), compared as plain integers and bytes.
void BM_StdSortPrecomputedKeys(benchmark::State& state) {
    TLevelFilesList& list = SortInput();
    list.SmartSort();
    Shuffle(list);
    using Key = std::tuple<std::string, std::string, int, std::string, std::string>;
    std::vector<Key> keys;
    for (const TLevelFile& f : list.Files) {
        const TStringList& p = f.PathNames;
        keys.emplace_back(LowerCase(p.Values("%field")), LowerCase(p.Values("%area")),
                          WellNumber(p.Values("%well")), LowerCase(p.Values("%well")),
                          LowerCase(p.Values("%survey")));
    }
    std::vector<int> shuffled(keys.size()), order;
    std::iota(shuffled.begin(), shuffled.end(), 0);
    std::vector<const TLevelFile*> files;
    for (auto _ : state) {
        state.PauseTiming();
        order = shuffled;
        state.ResumeTiming();
        std::sort(order.begin(), order.end(), [&](int a, int b) {
            return keys[static_cast<std::size_t>(a)] < keys[static_cast<std::size_t>(b)];
        });
        files.clear();
        for (int i : order)
            files.push_back(&list.GetItem(i));
        benchmark::DoNotOptimize(files.data());
    }
    state.counters["files"] = static_cast<double>(files.size());
}
BENCHMARK(BM_StdSortPrecomputedKeys)->Unit(benchmark::kMillisecond)->MinTime(2.0);

}  // namespace
}  // namespace ostradb
