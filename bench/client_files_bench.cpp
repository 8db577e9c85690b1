// Turning a listing of 100,000 files (a 4-level path, two params each) into the high-level
// client's result values, sorted: the time, and the peak resident memory it adds over the
// listing it starts from, beside a conversion that copies the values and frees the listing
// only at the end.

#include <benchmark/benchmark.h>

#include <malloc.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <random>
#include <string>

#include "client/files_list.hpp"
#include "level_names.hpp"
#include "ostradb/model/databases.hpp"
#include "ostradb/model/level_files.hpp"
#include "ostradb/protocol/connection_settings.hpp"

namespace ostradb {
namespace {

constexpr int kFiles = 100000;

using bench::kFields;
using bench::kSurveys;

TDatabaseInfo Database() {
    TDatabaseInfo db;
    db.Id = 1;
    db.Name = "Западная Сибирь";
    db.Path = "/srv/ostradb/west-siberia/";
    for (const char* type : {"%field", "%area", "%well", "%survey"})
        db.Structure.AddNewItem().Type = type;
    return db;
}

// The files as the server lists them, in the server's (unsorted) order.
void Fill(TLevelFilesList& list) {
    std::mt19937 rng(20240601);
    char name[256];
    for (int i = 0; i < kFiles; ++i) {
        TLevelFile& f = list.Add();
        const std::string field = kFields[rng() % std::size(kFields)];
        const std::string area = "Площадь " + std::to_string(rng() % 12 + 1);
        const std::string well = std::to_string(rng() % 4000 + 1) + (rng() % 5 ? "" : "а");
        const std::string survey = kSurveys[rng() % std::size(kSurveys)];
        std::snprintf(name, sizeof name, "%s/%s/%s/%s/gis_%06d.ws", field.c_str(), area.c_str(),
                      well.c_str(), survey.c_str(), i);
        f.Name = name;
        f.FileType = 1;
        f.TrunkId = well;
        f.Params = TStringList{"size=" + std::to_string(rng() % 900000), "date=43000.5"};
        f.PathValues = TStringList{field, area, well, survey};
    }
}

// What a conversion that copies would do: every value copied, the listing freed at the end.
std::vector<File> CopiedFiles(TLevelFilesList& list) {
    std::vector<File> files;
    for (const TLevelFile& f : list.Files)
        files.push_back({f.Name, f.Name, f.PathValues.Lines(), f.FileType, f.TrunkId, f.IsMain,
                         f.Flags, f.UserRights});
    list.Clear();
    return files;
}

long long StatusBytes(const char* key) {
    std::ifstream in("/proc/self/status");
    const std::string prefix = std::string(key) + ":";
    for (std::string line; std::getline(in, line);)
        if (line.rfind(prefix, 0) == 0) return std::stoll(line.substr(prefix.size())) * 1024;
    return -1;
}

// In a fresh child: the heap the listing takes, the peak resident memory the conversion adds
// over the resident size before it, the heap the results keep, and the time it takes.
std::array<double, 4> Measure(bool copying) {
    int fds[2];
    if (pipe(fds) != 0) return {};
    const pid_t pid = fork();
    if (pid == 0) {
        close(fds[0]);
        const TDatabaseInfo db = Database();
        TConnectionSettings place;
        place.Local = false;
        const std::size_t heapStart = mallinfo2().uordblks;
        TLevelFilesList list;
        Fill(list);
        const std::size_t heapList = mallinfo2().uordblks;
        std::ofstream("/proc/self/clear_refs") << "5";  // the peak starts from here
        const long long before = StatusBytes("VmRSS");
        const auto start = std::chrono::steady_clock::now();
        const std::vector<File> files =
            copying ? CopiedFiles(list) : detail::TakeSortedFiles(list, db, place);
        const double ms =
            std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
                .count();
        const std::array<double, 4> r = {static_cast<double>(heapList - heapStart),
                                         static_cast<double>(StatusBytes("VmHWM") - before),
                                         static_cast<double>(mallinfo2().uordblks - heapStart),
                                         files.size() == kFiles ? ms : -1};
        const ssize_t written = write(fds[1], r.data(), sizeof r);
        _exit(written == static_cast<ssize_t>(sizeof r) ? 0 : 1);
    }
    close(fds[1]);
    std::array<double, 4> r{};
    const ssize_t got = read(fds[0], r.data(), sizeof r);
    close(fds[0]);
    int status = 0;
    waitpid(pid, &status, 0);
    if (got != static_cast<ssize_t>(sizeof r) || status != 0) r[3] = -1;
    return r;
}

// Arg 0: TakeSortedFiles (sorted, names made full, the listing freed as it goes); arg 1: the
// copying conversion, unsorted.
void BM_FilesToResults(benchmark::State& state) {
    const std::array<double, 4> r = Measure(state.range(0) != 0);
    for (auto _ : state) {
    }
    if (r[3] < 0) {
        state.SkipWithError("the measuring child failed");
        return;
    }
    state.counters["listing_heap_MB"] = r[0] / 1e6;
    state.counters["peak_added_MB"] = r[1] / 1e6;
    state.counters["results_heap_MB"] = r[2] / 1e6;
    state.counters["peak_x_listing"] = r[1] / r[0];
    state.counters["ms"] = r[3];
}
BENCHMARK(BM_FilesToResults)->Arg(0)->Arg(1)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace ostradb
