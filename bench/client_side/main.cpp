// The C++ side of the Python client's benchmark (bench/python_client_bench.cpp), the same work
// as bench/python_client.py does in Python: ostradb_bench_client PORT files|get RUNS FILE
//   files: Client::files() of the whole database "Западная Сибирь";
//   get:   Client::get() of the file "bench.ws" into the path FILE.
// Prints the best run's milliseconds of wall time and of the process's CPU time, the peak
// resident size in KiB (VmHWM: of this program alone, where getrusage would count the parent's
// before the exec too), and the files or bytes of the last run.

#include <time.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <string>

#include "ostradb/client/client.hpp"

namespace {

double CpuMs() {
    timespec t{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) * 1e3 + static_cast<double>(t.tv_nsec) / 1e6;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 5) {
        std::fprintf(stderr, "usage: %s PORT files|get RUNS FILE\n", argv[0]);
        return 2;
    }
    const std::string mode = argv[2];
    const int runs = std::atoi(argv[3]);
    try {
        auto c = ostradb::Client::connect(
            {.host = "127.0.0.1", .port = std::atoi(argv[1]), .user = "bench", .password = "b"});
        const ostradb::Database db = c.find_database("Западная Сибирь");
        double best = 1e300, bestCpu = 1e300;
        long long count = 0;
        for (int r = 0; r < runs; ++r) {
            const auto start = std::chrono::steady_clock::now();
            const double startCpu = CpuMs();
            std::chrono::steady_clock::time_point end;
            double endCpu = 0;
            if (mode == "files") {
                const std::vector<ostradb::File> files = c.files(db);
                end = std::chrono::steady_clock::now();
                endCpu = CpuMs();
                count = static_cast<long long>(files.size());
            } else {
                count = c.get("bench.ws", argv[4]);
                end = std::chrono::steady_clock::now();
                endCpu = CpuMs();
            }
            best = std::min(best, std::chrono::duration<double, std::milli>(end - start).count());
            bestCpu = std::min(bestCpu, endCpu - startCpu);
        }
        long peak = -1;
        std::ifstream status("/proc/self/status");
        for (std::string line; std::getline(status, line);)
            if (line.rfind("VmHWM:", 0) == 0) peak = std::atol(line.c_str() + 6);
        std::printf("%.3f %.3f %ld %lld\n", best, bestCpu, peak, count);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "%s\n", e.what());
        return 1;
    }
    return 0;
}
