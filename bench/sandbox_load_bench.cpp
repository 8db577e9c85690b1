// Load on one sandbox server: 50 clients at once, each running 1,000 mixed requests
// (listings, file reads, file writes) over TCP with the library's client. Reports requests
// per second and latency percentiles, then checks that every acknowledged write is on disk
// with its exact bytes. One iteration: the figure is the whole run.

#ifdef OSTRADB_BENCH_HAS_SANDBOX

#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "ostradb/protocol/ostradb_protocol.hpp"
#include "ostradb_sandbox/sandbox_server.hpp"
#include "protocol/command.hpp"

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr int kClients = 50;
constexpr int kRequests = 1000;

std::string Pattern(int client, int request, std::size_t size) {
    std::string bytes(size, '\0');
    std::uint32_t x = static_cast<std::uint32_t>(client * 7919 + request * 104729) | 1;
    for (char& b : bytes) {
        x ^= x << 13;
        x ^= x >> 17;
        x ^= x << 5;
        b = static_cast<char>(x);
    }
    return bytes;
}

std::string ReadDisk(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

enum Kind { kListing, kRead, kWrite, kKinds };

struct ClientResult {
    std::vector<double> latencies[kKinds];     // milliseconds, per kind of request
    std::map<std::string, std::string> acked;  // the bytes of each acknowledged write
    std::string error;
};

void RunClient(int index, std::uint16_t port, const std::vector<std::string>& readable,
               const std::string& writeDir, ClientResult& result) {
    using namespace ostradb;
    TOstraDbProtocol client;
    client.SetHostPort("127.0.0.1", port);
    client.SetReadTimeout(std::chrono::seconds(60));
    client.Login("admin", "admin");
    for (int i = 0; i < kRequests; ++i) {
        const int mix = (i * 7 + index) % 10;
        const Kind kind = mix < 4 ? kListing : mix < 8 ? kRead : kWrite;
        const auto start = Clock::now();
        if (kind == kListing) {
            // Listings: the levels of a database, or its files with their tables and curves.
            detail::Request req(client, mix < 2 ? "get_log_level_values" : "get_log_level_files");
            req.Set("db_id", static_cast<std::int64_t>(1 + i % 2));
            if (mix >= 2) req.SetBool("include_tables", true).SetBool("include_curves", true);
            req.command.append_child("path");
            req.Exchange();
        } else if (kind == kRead) {
            std::ostringstream out;
            detail::Request req(client, "get_file_contents");
            req.Set("file_name", readable[static_cast<std::size_t>(i + index) % readable.size()]);
            req.Exchange(nullptr, &out);
        } else {
            // A new file for every write, so that every acknowledged write can be checked. The
            // client folders lie below the depth of the levels: listings do not grow with them.
            const std::string name =
                writeDir + "client_" + std::to_string(index) + "/w_" + std::to_string(i) + ".ws";
            const std::string bytes =
                Pattern(index, i, 1024 + static_cast<std::size_t>(i % 13) * 512);
            std::istringstream in(bytes);
            detail::Request req(client, "put_file_contents");
            req.Set("file_name", name);
            req.Exchange(&in);
            result.acked[name] = bytes;
        }
        result.latencies[kind].push_back(
            std::chrono::duration<double, std::milli>(Clock::now() - start).count());
    }
}

void BM_SandboxLoad(benchmark::State& state) {
    using namespace ostradb;
    std::string pattern = (fs::temp_directory_path() / "ostradb-sandbox-load-XXXXXX").string();
    if (!::mkdtemp(pattern.data())) {
        state.SkipWithError("mkdtemp failed");
        return;
    }
    const fs::path dir = pattern;
    sandbox::SandboxOptions options;
    options.dataDir = dir / "data";
    options.maxConnections = kClients + 10;
    sandbox::SandboxServer server(options);
    server.Start();

    // Files to read: the sample files up to 300 KB; files to write: a folder of their own.
    std::vector<std::string> readable;
    for (const auto& entry : fs::recursive_directory_iterator(options.dataDir / "databases"))
        if (entry.path().extension() == ".ws" && entry.file_size() <= 300'000)
            readable.push_back(entry.path());
    std::sort(readable.begin(), readable.end());
    const std::string writeDir =
        (fs::canonical(options.dataDir) / "databases/north-sea-demo/Eastfield/N1/Load 2024/")
            .string();

    std::vector<ClientResult> results(kClients);
    double seconds = 0;
    for (auto _ : state) {
        const auto start = Clock::now();
        std::vector<std::thread> threads;
        for (int c = 0; c < kClients; ++c)
            threads.emplace_back([&, c] {
                try {
                    RunClient(c, server.Port(), readable, writeDir,
                              results[static_cast<std::size_t>(c)]);
                } catch (const std::exception& e) {
                    results[static_cast<std::size_t>(c)].error = e.what();
                }
            });
        for (std::thread& t : threads)
            t.join();
        seconds = std::chrono::duration<double>(Clock::now() - start).count();
    }
    server.Stop();

    std::vector<double> all, byKind[kKinds];
    std::size_t writes = 0, wrong = 0;
    for (const ClientResult& r : results) {
        if (!r.error.empty()) {
            state.SkipWithError(("a client failed: " + r.error).c_str());
            break;
        }
        for (int k = 0; k < kKinds; ++k) {
            byKind[k].insert(byKind[k].end(), r.latencies[k].begin(), r.latencies[k].end());
            all.insert(all.end(), r.latencies[k].begin(), r.latencies[k].end());
        }
        for (const auto& [name, bytes] : r.acked) {
            ++writes;
            wrong += ReadDisk(name) != bytes;
        }
    }
    if (wrong > 0)
        state.SkipWithError(
            (std::to_string(wrong) + " acknowledged writes are not on disk").c_str());
    auto percentile = [](std::vector<double>& values, double p) {
        if (values.empty()) return 0.0;
        std::sort(values.begin(), values.end());
        return values[static_cast<std::size_t>(p * static_cast<double>(values.size() - 1))];
    };
    state.counters["requests"] = static_cast<double>(all.size());
    state.counters["req_per_s"] = static_cast<double>(all.size()) / seconds;
    state.counters["p50_ms"] = percentile(all, 0.50);
    state.counters["p99_ms"] = percentile(all, 0.99);
    state.counters["p99_list_ms"] = percentile(byKind[kListing], 0.99);
    state.counters["p99_read_ms"] = percentile(byKind[kRead], 0.99);
    state.counters["p99_write_ms"] = percentile(byKind[kWrite], 0.99);
    state.counters["files_checked"] = static_cast<double>(writes);
    std::error_code ec;
    fs::remove_all(dir, ec);
}

BENCHMARK(BM_SandboxLoad)->Iterations(1)->UseRealTime()->Unit(benchmark::kSecond);

}  // namespace

#endif  // OSTRADB_BENCH_HAS_SANDBOX
