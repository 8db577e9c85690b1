// The session's exchange against a minimal loopback responder, each beside a raw blocking
// socket doing the same work in the same run:
//  - round trip of "get_server_version" (the whole command: packet built, sent, answer read,
//    parsed and loaded) against a raw write of the same request bytes and read of the answer;
//  - a large payload read through the exchange into a file stream against a raw socket read
//    of the same bytes into the same kind of stream;
//  - the peak resident memory of a child process that reads a 64 MiB or a 1 GiB payload.

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <benchmark/benchmark.h>

#include <atomic>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "ostradb/protocol/ostradb_protocol.hpp"
#include "protocol/command.hpp"

namespace ostradb {
namespace {

constexpr std::string_view kEnd = "</packet>\r\n";

// Serves one connection at a time: for every request read (through its terminator) it
// writes the answer head, then payloadSize bytes.
class Responder {
public:
    Responder(std::string head, std::int64_t payloadSize)
        : head_(std::move(head)), payloadSize_(payloadSize) {
        listen_ = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in addr{};
        addr.sin_family = AF_INET;
        addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t len = sizeof addr;
        if (::bind(listen_, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0 ||
            ::listen(listen_, 4) != 0 ||
            ::getsockname(listen_, reinterpret_cast<sockaddr*>(&addr), &len) != 0)
            throw std::runtime_error("listen failed");
        port_ = ntohs(addr.sin_port);
        thread_ = std::thread([this] { Serve(); });
    }
    ~Responder() {
        stop_ = true;
        ::shutdown(listen_, SHUT_RDWR);
        thread_.join();
        ::close(listen_);
    }
    std::uint16_t Port() const { return port_; }

private:
    void Serve() {
        std::vector<char> chunk(1 << 20, 'p');
        while (!stop_) {
            const int fd = ::accept(listen_, nullptr, nullptr);
            if (fd < 0) return;
            const int one = 1;
            ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
            std::string pending;
            char buf[4096];
            for (;;) {
                const ssize_t n = ::recv(fd, buf, sizeof buf, 0);
                if (n <= 0) break;
                pending.append(buf, static_cast<std::size_t>(n));
                std::size_t end;
                bool ok = true;
                while (ok && (end = pending.find(kEnd)) != std::string::npos) {
                    pending.erase(0, end + kEnd.size());
                    ok = SendAll(fd, head_.data(), head_.size());
                    for (std::int64_t left = payloadSize_; ok && left > 0;) {
                        const auto k = static_cast<std::size_t>(
                            std::min<std::int64_t>(left, static_cast<std::int64_t>(chunk.size())));
                        ok = SendAll(fd, chunk.data(), k);
                        left -= static_cast<std::int64_t>(k);
                    }
                }
                if (!ok) break;
            }
            ::close(fd);
        }
    }
    static bool SendAll(int fd, const char* p, std::size_t n) {
        while (n > 0) {
            const ssize_t k = ::send(fd, p, n, MSG_NOSIGNAL);
            if (k <= 0) return false;
            p += k;
            n -= static_cast<std::size_t>(k);
        }
        return true;
    }

    std::string head_;
    std::int64_t payloadSize_;
    int listen_ = -1;
    std::uint16_t port_ = 0;
    std::atomic<bool> stop_{false};
    std::thread thread_;
};

int RawConnect(std::uint16_t port) {
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    addr.sin_port = htons(port);
    if (::connect(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0)
        throw std::runtime_error("connect failed");
    const int one = 1;
    ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
    return fd;
}

// The exact bytes the session sends for a command without attributes.
std::string RequestBytes(const char* cmd) {
    return std::string(
               "<?xml version=\"1.0\" encoding=\"Windows-1251\"?>\r\n<packet version=\"1\">\r\n"
               "  <command cmd=\"") +
           cmd + "\" />\r\n</packet>\r\n";
}

const std::string kVersionAnswer =
    "<?xml version=\"1.0\" encoding=\"Windows-1251\"?>\r\n<packet>\r\n  <answer>\r\n"
    "    <Version Mayor=\"3\" Minor=\"1\" Maintenance=\"4\" Revision=\"15\" />\r\n"
    "  </answer>\r\n</packet>\r\n";

void BM_RoundTripRaw(benchmark::State& state) {
    Responder responder(kVersionAnswer, 0);
    const int fd = RawConnect(responder.Port());
    const std::string request = RequestBytes("get_server_version");
    std::string answer;
    char buf[4096];
    for (auto _ : state) {
        ::send(fd, request.data(), request.size(), MSG_NOSIGNAL);
        answer.clear();
        while (answer.find(kEnd) == std::string::npos) {
            const ssize_t n = ::recv(fd, buf, sizeof buf, 0);
            if (n <= 0) throw std::runtime_error("responder closed");
            answer.append(buf, static_cast<std::size_t>(n));
        }
        benchmark::DoNotOptimize(answer.data());
    }
    ::close(fd);
}
BENCHMARK(BM_RoundTripRaw)->UseRealTime();

void BM_RoundTripGetServerVersion(benchmark::State& state) {
    Responder responder(kVersionAnswer, 0);
    TOstraDbProtocol client;
    client.SetHostPort("127.0.0.1", responder.Port());
    TServerVersion version;
    for (auto _ : state) {
        client.GetServerVersion(version);
        benchmark::DoNotOptimize(version.Revision);
    }
    if (version.Revision != 15) state.SkipWithError("wrong version read");
}
BENCHMARK(BM_RoundTripGetServerVersion)->UseRealTime();

std::string PayloadHead(std::int64_t size) {
    return "<packet bin_data_size=\"" + std::to_string(size) + "\"><answer/></packet>\r\n";
}

std::string TempFile() {
    return "/tmp/ostradb-bench-payload-" + std::to_string(::getpid());
}

void BM_PayloadRaw(benchmark::State& state) {
    const std::int64_t size = state.range(0) << 20;
    Responder responder(PayloadHead(size), size);
    const int fd = RawConnect(responder.Port());
    const std::string request = RequestBytes("get_file_contents");
    std::vector<char> buf(256 << 10);
    for (auto _ : state) {
        std::ofstream out(TempFile(), std::ios::binary | std::ios::trunc);
        ::send(fd, request.data(), request.size(), MSG_NOSIGNAL);
        std::string head;
        std::int64_t left = size;
        // The head, and whatever payload came with it.
        while (head.find(kEnd) == std::string::npos) {
            const ssize_t n = ::recv(fd, buf.data(), 4096, 0);
            head.append(buf.data(), static_cast<std::size_t>(n));
        }
        const std::size_t early = head.size() - (head.find(kEnd) + kEnd.size());
        out.write(head.data() + head.size() - early, static_cast<std::streamsize>(early));
        left -= static_cast<std::int64_t>(early);
        while (left > 0) {
            const ssize_t n = ::recv(fd, buf.data(),
                                     static_cast<std::size_t>(std::min<std::int64_t>(
                                         left, static_cast<std::int64_t>(buf.size()))),
                                     0);
            if (n <= 0) throw std::runtime_error("responder closed");
            out.write(buf.data(), n);
            left -= n;
        }
    }
    ::close(fd);
    std::remove(TempFile().c_str());
    state.SetBytesProcessed(state.iterations() * size);
}
BENCHMARK(BM_PayloadRaw)->Arg(1024)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);

void BM_PayloadExchange(benchmark::State& state) {
    const std::int64_t size = state.range(0) << 20;
    Responder responder(PayloadHead(size), size);
    TOstraDbProtocol client;
    client.SetHostPort("127.0.0.1", responder.Port());
    for (auto _ : state) {
        std::ofstream out(TempFile(), std::ios::binary | std::ios::trunc);
        detail::Request(client, "get_file_contents").Exchange(nullptr, &out);
    }
    std::remove(TempFile().c_str());
    state.SetBytesProcessed(state.iterations() * size);
}
BENCHMARK(BM_PayloadExchange)
    ->Arg(1024)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(3);

// Peak resident memory of a fresh child process that reads one payload of the given size
// through the exchange into a file stream; the responder runs in the parent.
void BM_PayloadPeakMemory(benchmark::State& state) {
    const std::int64_t size = state.range(0) << 20;
    Responder responder(PayloadHead(size), size);
    long peakKiB = 0;
    long startKiB = 0;
    for (auto _ : state) {
        int fds[2];
        if (::pipe(fds) != 0) throw std::runtime_error("pipe failed");
        const pid_t child = ::fork();
        if (child == 0) {
            ::close(fds[0]);
            long result[2] = {-1, -1};
            try {
                rusage before{};
                ::getrusage(RUSAGE_SELF, &before);
                result[0] = before.ru_maxrss;
                TOstraDbProtocol client;
                client.SetHostPort("127.0.0.1", responder.Port());
                std::ofstream out("/dev/null", std::ios::binary);
                detail::Request(client, "get_file_contents").Exchange(nullptr, &out);
                rusage usage{};
                ::getrusage(RUSAGE_SELF, &usage);
                result[1] = usage.ru_maxrss;
            } catch (...) {
            }
            [[maybe_unused]] auto written = ::write(fds[1], result, sizeof result);
            ::_exit(0);
        }
        ::close(fds[1]);
        long result[2] = {-1, -1};
        [[maybe_unused]] auto got = ::read(fds[0], result, sizeof result);
        ::close(fds[0]);
        ::waitpid(child, nullptr, 0);
        if (result[1] < 0) state.SkipWithError("the child failed");
        startKiB = result[0];
        peakKiB = std::max(peakKiB, result[1]);
    }
    state.counters["rss_at_start_MiB"] = static_cast<double>(startKiB) / 1024.0;
    state.counters["peak_rss_MiB"] = static_cast<double>(peakKiB) / 1024.0;
    state.SetBytesProcessed(state.iterations() * size);
}
BENCHMARK(BM_PayloadPeakMemory)
    ->Arg(64)
    ->Arg(1024)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(1);

}  // namespace
}  // namespace ostradb
