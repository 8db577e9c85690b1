// The command-line client's files and search on a large listing, as a user runs them: the
// built ostradb in a process of its own against the loopback listing server, the time until
// its first row has arrived on standard output and until it ends, beside the time the library
// needs to read the same listing (RequestFiles or Search in a fresh process) in the same run;
// the best of three runs of each.

#include <benchmark/benchmark.h>

#include <stdlib.h>

#include <filesystem>
#include <string>
#include <vector>

#include "listing_harness.hpp"

namespace ostradb {
namespace {

// arg 0: files or search; arg 1: files in the listing; arg 2: 0 the table, 1 CSV.
void BM_CliFirstRow(benchmark::State& state) {
    const bool search = state.range(0) != 0;
    const int files = static_cast<int>(state.range(1));
    const bool csv = state.range(2) != 0;
    bench::ListingServer server(files);

    char config[] = "/tmp/ostradb-bench-XXXXXX";
    if (!mkdtemp(config)) {
        state.SkipWithError("mkdtemp failed");
        return;
    }
    const std::vector<std::string> env = {"OSTRADB_HOST=127.0.0.1",
                                          "OSTRADB_PORT=" + std::to_string(server.Port()),
                                          "OSTRADB_USER=admin",
                                          "OSTRADB_PASSWORD=admin",
                                          std::string("OSTRADB_CONFIG_DIR=") + config,
                                          std::string("HOME=") + config,
                                          "LANG=C.UTF-8"};
    std::vector<std::string> argv = {OSTRADB_BENCH_CLI};
    if (search)
        argv.insert(argv.end(), {"search", bench::kDatabase, "well=*"});
    else
        argv.insert(argv.end(), {"files", bench::kDatabase});
    if (csv) argv.insert(argv.end(), {"--format", "csv"});

    // The best of three of each, taken in turns: other work on the machine slows single runs.
    bench::Report library{1e300}, r{};
    bench::ChildRun cli;
    bool ok = true;
    for (int i = 0; i < 3 && ok; ++i) {
        ok = bench::RunListing(server.Port(), search ? "search" : "paths", 1, r) && r[3] == files;
        if (ok && r[0] < library[0]) library = r;
        // The header, then the first row.
        const bench::ChildRun run = bench::RunChild(argv, env, 2);
        ok = ok && run.ok && run.lines == static_cast<std::size_t>(files) + 1;
        if (!ok) cli = run;
        if (ok && (i == 0 || run.firstLinesMs < cli.firstLinesMs)) cli = run;
    }
    std::filesystem::remove_all(config);
    for (auto _ : state) {
    }
    if (!ok) {
        state.SkipWithError(("a listing failed: " + cli.out.substr(0, 200)).c_str());
        return;
    }
    state.counters["answer_MB"] = static_cast<double>(server.AnswerBytes()) / 1e6;
    state.counters["library_ms"] = library[0];
    state.counters["cli_first_row_ms"] = cli.firstLinesMs;
    state.counters["cli_end_ms"] = cli.endMs;
    state.counters["first_row_x_library"] = cli.firstLinesMs / library[0];
}
BENCHMARK(BM_CliFirstRow)
    ->ArgsProduct({{0, 1}, {100000, 1000000}, {0}})
    ->Args({0, 1000000, 1})
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace ostradb
