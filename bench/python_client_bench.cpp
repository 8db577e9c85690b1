// The Python package's high-level client beside the C++ client doing the same work in the same
// run: files() of a 100,000-file listing (arg 0), and get() of a 1 GiB file into a path (arg
// 1). A loopback server thread answers as a server with one database of four levels would (the
// login, the databases list, the structure, the listing, the payload). Each run is a fresh
// process, the C++ side (ostradb_bench_client) and the Python side (bench/python_client.py,
// which also saves into a binary file object) taking turns, seven rounds; the best wall time
// and the best CPU time of each side count (on a shared machine the best is what the code
// costs, the rest is waiting). Downloads go to /dev/shm where there is one: on a disk the time
// would be the disk's (the client flushes a downloaded file to the disk before it renames it).

#include <benchmark/benchmark.h>

#include <unistd.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "listing_harness.hpp"

namespace ostradb {
namespace {

constexpr std::int64_t kPayload = std::int64_t{1} << 30;
constexpr int kFiles = 100000;
constexpr int kRounds = 7;

// Wall and CPU milliseconds, peak resident KiB, files or bytes.
using Figures = std::array<double, 4>;

bool Run(const std::vector<std::string>& args, Figures& out) {
    const bench::ChildRun run = bench::RunChild(args, bench::Environment());
    return run.ok &&
           std::sscanf(run.out.c_str(), "%lf %lf %lf %lf", &out[0], &out[1], &out[2], &out[3]) == 4;
}

void BM_PythonClientVsCpp(benchmark::State& state) {
    const bool get = state.range(0) != 0;
    static const std::string listing =
        std::string(bench::kHead) + bench::FilesBytes(0, kFiles) + std::string(bench::kTail);
    bench::ListingServer server(kFiles, listing, kPayload);
    const std::string port = std::to_string(server.Port());
    const std::string file = std::string(access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp") +
                             "/ostradb-bench-python-" + std::to_string(getpid());
    const std::string mode = get ? "get" : "files";
    const std::vector<std::string> python = {"/usr/bin/env", "PYTHONPATH=" OSTRADB_BENCH_PYTHONPATH,
                                             OSTRADB_BENCH_PYTHON, OSTRADB_BENCH_PYTHON_SCRIPT};
    const double expected = get ? static_cast<double>(kPayload) : kFiles;
    // The best of each side; a run that fails or reads the wrong amount fails the benchmark.
    auto measure = [&](std::vector<std::string> args, const std::string& what, Figures& into) {
        args.insert(args.end(), {port, what, "1", file});
        Figures r{};
        if (!Run(args, r) || r[3] != expected) return false;
        for (std::size_t i = 0; i < 3; ++i)
            if (into[i] == 0 || r[i] < into[i]) into[i] = r[i];
        return true;
    };
    Figures cpp{}, py{}, pyFile{};
    bool ok = true;
    for (int round = 0; round < kRounds && ok; ++round) {
        ok = measure({OSTRADB_BENCH_CLIENT}, mode, cpp) && measure(python, mode, py);
        if (get) ok = ok && measure(python, "get-file", pyFile);
    }
    std::remove(file.c_str());
    for (auto _ : state) {
    }
    if (!ok) {
        state.SkipWithError("a measuring process failed (is the Python module built?)");
        return;
    }
    state.counters["cpp_ms"] = cpp[0];
    state.counters["python_ms"] = py[0];
    state.counters["ratio"] = py[0] / cpp[0];
    state.counters["cpp_cpu_ms"] = cpp[1];
    state.counters["python_cpu_ms"] = py[1];
    state.counters["cpu_ratio"] = py[1] / cpp[1];
    state.counters["cpp_peak_MB"] = cpp[2] * 1024 / 1e6;
    state.counters["python_peak_MB"] = py[2] * 1024 / 1e6;
    state.counters["target_dir_is_shm"] = file.starts_with("/dev/shm");
    if (get) {
        state.counters["python_fileobj_ms"] = pyFile[0];
        state.counters["fileobj_ratio"] = pyFile[0] / cpp[0];
        state.counters["python_fileobj_cpu_ms"] = pyFile[1];
        state.counters["fileobj_cpu_ratio"] = pyFile[1] / cpp[1];
    }
}
BENCHMARK(BM_PythonClientVsCpp)->Arg(0)->Arg(1)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace ostradb
