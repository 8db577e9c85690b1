// Listings of level files: a "get_log_level_files" answer of 100,000 (and 1,000,000) files
// shaped like the sandbox's, read by RequestFiles over TCP beside the least a reader of the
// whole answer does (its bytes read off the socket into a growing buffer and parsed in place
// by pugixml), each in a fresh process and warm; the peak memory of the whole process; the
// answer reader alone beside pugixml on the same bytes in memory; and SmartSort of 1,000,000
// files beside std::sort of the same files by keys computed beforehand.

#include <benchmark/benchmark.h>

#include <sys/socket.h>
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

#include "child_process.hpp"
#include "listing_answer.hpp"
#include "loopback.hpp"
#include "model/level_files_read.hpp"
#include "ostradb/model/db_struct.hpp"
#include "ostradb/model/level_files.hpp"
#include "ostradb/serial/xml.hpp"
#include "ostradb/util/text.hpp"
#include "ostradb/util/well_names.hpp"
#include "protocol/answer_stream.hpp"
#include "protocol/list_answers.hpp"
#include "protocol/wire.hpp"

namespace ostradb {
namespace {

using bench::Answer;
using bench::FilesBytes;
using bench::kFiles;
using bench::kHead;
using bench::kTail;

// A loopback server that answers every request on every connection with a listing of files
// files: from memory for the 100,000-file answer, made as it is sent for larger ones (so
// that the server holds little). Counts the bytes of one answer.
class ListingServer {
public:
    explicit ListingServer(int files) : files_(files) {
        listener_ = bench::ListenOnLoopback(port_);
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
            return bench::SendAll(fd, bytes);
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
    bool ok = false;
    const std::string text = bench::RunChild(
        {OSTRADB_BENCH_LISTING, std::to_string(port), mode, std::to_string(runs)}, ok);
    return ok &&
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
