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

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <iterator>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "child_process.hpp"
#include "listing_answer.hpp"
#include "loopback.hpp"

namespace ostradb {
namespace {

constexpr std::string_view kEnd = "</packet>\r\n";
constexpr std::int64_t kPayload = std::int64_t{1} << 30;
constexpr int kRounds = 7;

std::string Packet(std::string_view answer, std::string_view rootAttributes = "") {
    return "<?xml version=\"1.0\" encoding=\"Windows-1251\"?>\r\n<packet" +
           std::string(rootAttributes) + ">\r\n" + std::string(answer) + "\r\n</packet>\r\n";
}

std::string StructureAnswer() {
    std::string items;
    for (const char* type : {"%field", "%area", "%well", "%survey"})
        items += "<Item type=\"" + std::string(type) +
                 "\" df_view=\"\" ex_type=\"1\" real_name=\"\" no_data=\"\" dict_name=\"\" "
                 "dict_col1=\"-1\" dict_col2=\"-1\" search_link=\"\" use_dict=\"false\" "
                 "df_real=\"\" is_key=\"true\"/>";
    return Packet("<answer><DbStructData dir_count=\"4\" main_file_type=\"1\"><struct_items>" +
                  items + "</struct_items></DbStructData></answer>");
}

// Answers each request by its command; one connection at a time.
class ClientServer {
public:
    ClientServer() {
        listener_ = bench::ListenOnLoopback(port_);
        thread_ = std::thread([this] { Serve(); });
    }
    ~ClientServer() {
        shutdown(listener_, SHUT_RDWR);
        close(listener_);
        thread_.join();
    }
    int Port() const { return port_; }

private:
    void Serve() {
        const std::string structure = StructureAnswer();
        for (;;) {
            const int fd = accept(listener_, nullptr, nullptr);
            if (fd < 0) return;
            const int one = 1;
            setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
            std::string pending;
            char buf[4096];
            for (bool ok = true; ok;) {
                const ssize_t n = recv(fd, buf, sizeof buf, 0);
                if (n <= 0) break;
                pending.append(buf, static_cast<std::size_t>(n));
                for (std::size_t end; ok && (end = pending.find(kEnd)) != std::string::npos;) {
                    const std::string request = pending.substr(0, end);
                    pending.erase(0, end + kEnd.size());
                    ok = Answer(fd, request, structure);
                }
            }
            close(fd);
        }
    }

    bool Answer(int fd, const std::string& request, const std::string& structure) {
        auto is = [&](const char* cmd) {
            return request.find("cmd=\"" + std::string(cmd) + "\"") != std::string::npos;
        };
        auto reply = [fd](std::string_view bytes) { return bench::SendAll(fd, bytes); };
        if (is("generate_auth_value")) return reply(Packet("<answer result=\"0\"/>"));
        if (is("login")) return reply(Packet("<answer rights=\"127\"/>"));
        if (is("get_db_list"))
            return reply(
                Packet("<answer><databases><item id=\"1\" name=\"Bench\" "
                       "path=\"/srv/bench/\" ext_path=\"\" is_private=\"false\">"
                       "<path_list/><roots/></item></databases></answer>"));
        if (is("get_db_struct")) return reply(structure);
        if (is("get_log_level_files")) return reply(bench::Answer());
        if (!is("get_file_contents")) return reply(Packet("<answer/>"));
        static const std::string chunk(1 << 20, 'p');
        bool ok = reply(Packet("<answer/>", " bin_data_size=\"" + std::to_string(kPayload) + "\""));
        for (std::int64_t left = kPayload; ok && left > 0; left -= std::ssize(chunk))
            ok = reply(chunk);
        return ok;
    }

    int listener_ = -1;
    int port_ = 0;
    std::thread thread_;
};

// Wall and CPU milliseconds, peak resident KiB, files or bytes.
using Figures = std::array<double, 4>;

bool Run(const std::vector<std::string>& args, Figures& out) {
    bool ok = false;
    const std::string text = bench::RunChild(args, ok);
    return ok &&
           std::sscanf(text.c_str(), "%lf %lf %lf %lf", &out[0], &out[1], &out[2], &out[3]) == 4;
}

void BM_PythonClientVsCpp(benchmark::State& state) {
    const bool get = state.range(0) != 0;
    bench::Answer();
    ClientServer server;
    const std::string port = std::to_string(server.Port());
    const std::string file = std::string(access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp") +
                             "/ostradb-bench-python-" + std::to_string(getpid());
    const std::string mode = get ? "get" : "files";
    const std::vector<std::string> python = {"env", "PYTHONPATH=" OSTRADB_BENCH_PYTHONPATH,
                                             OSTRADB_BENCH_PYTHON, OSTRADB_BENCH_PYTHON_SCRIPT};
    const double expected = get ? static_cast<double>(kPayload) : bench::kFiles;
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
