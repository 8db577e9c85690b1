#include "ostradb_sandbox/sandbox_server.hpp"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <list>
#include <mutex>
#include <thread>

#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>

#include "connection.hpp"
#include "data_store.hpp"
#include "ostradb/util/exceptions.hpp"
#include "socket_io.hpp"

namespace ostradb::sandbox {

namespace {

std::string PeerName(const sockaddr_storage& addr) {
    char host[INET6_ADDRSTRLEN] = "?";
    unsigned port = 0;
    if (addr.ss_family == AF_INET) {
        const auto* in = reinterpret_cast<const sockaddr_in*>(&addr);
        ::inet_ntop(AF_INET, &in->sin_addr, host, sizeof host);
        port = ntohs(in->sin_port);
    } else if (addr.ss_family == AF_INET6) {
        const auto* in = reinterpret_cast<const sockaddr_in6*>(&addr);
        ::inet_ntop(AF_INET6, &in->sin6_addr, host, sizeof host);
        port = ntohs(in->sin6_port);
    }
    return std::string(host) + ":" + std::to_string(port);
}

}  // namespace

struct SandboxServer::Impl {
    explicit Impl(SandboxOptions o) : options(std::move(o)) {}

    struct Worker {
        std::thread thread;
        std::shared_ptr<std::atomic<bool>> done;
    };

    void AcceptLoop();
    // Joins the connection threads that have ended (all of them when all is set).
    void Reap(bool all);
    void Event(const std::string& line) const {
        if (options.eventLog) options.eventLog(line);
    }

    SandboxOptions options;
    std::unique_ptr<DataStore> store;
    std::unique_ptr<StopSignal> stop;
    FaultState faults;
    std::unique_ptr<ServerContext> context;
    asio::io_context io;
    std::unique_ptr<asio::ip::tcp::acceptor> acceptor;
    std::thread acceptThread;
    std::list<Worker> workers;  // touched by the accept thread only
    std::atomic<std::size_t> open{0};
    std::atomic<std::uint64_t> accepted{0};
    std::uint16_t port = 0;
    bool running = false;
    std::mutex lifecycle;
};

void SandboxServer::Impl::Reap(bool all) {
    for (auto it = workers.begin(); it != workers.end();) {
        if (all || it->done->load()) {
            it->thread.join();
            it = workers.erase(it);
        } else {
            ++it;
        }
    }
}

void SandboxServer::Impl::AcceptLoop() {
    const int listener = acceptor->native_handle();
    for (;;) {
        pollfd p[2] = {{listener, POLLIN, 0}, {stop->Fd(), POLLIN, 0}};
        const int n = ::poll(p, 2, 1000);
        Reap(false);
        if (n < 0 && errno != EINTR) break;
        if (p[1].revents) break;
        if (n <= 0 || !(p[0].revents & POLLIN)) continue;

        sockaddr_storage addr{};
        socklen_t length = sizeof addr;
        const int fd =
            ::accept4(listener, reinterpret_cast<sockaddr*>(&addr), &length, SOCK_CLOEXEC);
        if (fd < 0) {
            // Out of descriptors: give the open connections a moment to end.
            if (errno == EMFILE || errno == ENFILE) stop->SleepFor(std::chrono::milliseconds(100));
            continue;
        }
        ++accepted;
        const std::string peer = PeerName(addr);
        if (open.load() >= options.maxConnections) {
            ::close(fd);
            Event(peer + " refused: " + std::to_string(options.maxConnections) +
                  " connections are open already");
            continue;
        }
        const int one = 1;
        ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
        ++open;
        Event(peer + " connected");
        auto done = std::make_shared<std::atomic<bool>>(false);
        try {
            std::thread thread([this, fd, peer, done] {
                try {
                    ServeConnection(fd, peer, *context);
                } catch (...) {
                    // An event sink that throws ends nothing but its own report.
                }
                --open;
                done->store(true);
            });
            workers.push_back({std::move(thread), std::move(done)});
        } catch (const std::system_error&) {
            --open;
            ::close(fd);
        }
    }
    asio::error_code ignored;
    acceptor->close(ignored);
    Reap(true);
}

SandboxServer::SandboxServer(SandboxOptions options)
    : impl_(std::make_unique<Impl>(std::move(options))) {}

SandboxServer::~SandboxServer() {
    Stop();
}

void SandboxServer::Start() {
    std::lock_guard lock(impl_->lifecycle);
    Impl& impl = *impl_;
    if (impl.running) return;
    if (impl.options.dataDir.empty()) throw Error("The sandbox needs a data directory");
    PrepareDataDir(impl.options.dataDir, impl.options.sampleDir);
    impl.store = std::make_unique<DataStore>(impl.options.dataDir);
    impl.stop = std::make_unique<StopSignal>();
    impl.context = std::make_unique<ServerContext>(
        ServerContext{impl.options, *impl.store, *impl.stop, impl.faults});

    const std::string where = impl.options.host + ":" + std::to_string(impl.options.port);
    asio::error_code ec;
    asio::ip::tcp::resolver resolver(impl.io);
    const auto endpoints = resolver.resolve(impl.options.host, std::to_string(impl.options.port),
                                            asio::ip::resolver_base::passive, ec);
    if (ec || endpoints.empty()) throw Error("Cannot resolve " + where + ": " + ec.message());
    const asio::ip::tcp::endpoint endpoint = *endpoints.begin();
    impl.acceptor = std::make_unique<asio::ip::tcp::acceptor>(impl.io);
    impl.acceptor->open(endpoint.protocol(), ec);
    if (!ec) impl.acceptor->set_option(asio::socket_base::reuse_address(true), ec);
    if (!ec) impl.acceptor->bind(endpoint, ec);
    if (!ec) impl.acceptor->listen(asio::socket_base::max_listen_connections, ec);
    if (!ec) impl.acceptor->non_blocking(true, ec);
    if (ec) {
        impl.acceptor.reset();
        throw Error("Cannot listen on " + where + ": " + ec.message());
    }
    impl.port = impl.acceptor->local_endpoint(ec).port();
    impl.accepted = 0;
    impl.running = true;
    impl.acceptThread = std::thread([&impl] { impl.AcceptLoop(); });
    impl.Event("listening on " + impl.options.host + ":" + std::to_string(impl.port) +
               ", data in " + impl.store->Dir().string());
}

std::uint16_t SandboxServer::Port() const {
    return impl_->port;
}

void SandboxServer::Stop() {
    std::lock_guard lock(impl_->lifecycle);
    Impl& impl = *impl_;
    if (!impl.running) return;
    impl.stop->Raise();
    impl.acceptThread.join();
    impl.acceptor.reset();
    impl.running = false;
    impl.Event("stopped");
}

bool SandboxServer::Running() const {
    std::lock_guard lock(impl_->lifecycle);
    return impl_->running;
}

void SandboxServer::SetFaults(FaultSwitches faults) {
    impl_->faults.Set(std::move(faults));
}

void SandboxServer::ClearFaults() {
    impl_->faults.Clear();
}

std::size_t SandboxServer::OpenConnections() const {
    return impl_->open.load();
}

std::uint64_t SandboxServer::AcceptedConnections() const {
    return impl_->accepted.load();
}

const SandboxOptions& SandboxServer::Options() const {
    return impl_->options;
}

}  // namespace ostradb::sandbox
