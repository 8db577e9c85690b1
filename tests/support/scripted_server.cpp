#include "support/scripted_server.hpp"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>

#include "ostradb/protocol/ostradb_protocol.hpp"
#include "ostradb/util/numbers.hpp"
#include "protocol/wire.hpp"

namespace ostradb::test {

namespace {

// Thrown on the server's thread when the server is being destroyed.
struct Stopped {};

// Waits for events on fd in short slices so that a stop request is seen promptly.
constexpr int kSliceMs = 20;

}  // namespace

ScriptedServer::ScriptedServer() {
    listenFd_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (listenFd_ < 0) throw std::runtime_error("socket: " + std::string(std::strerror(errno)));
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    addr.sin_port = 0;
    socklen_t len = sizeof addr;
    if (::bind(listenFd_, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0 ||
        ::listen(listenFd_, 8) != 0 ||
        ::getsockname(listenFd_, reinterpret_cast<sockaddr*>(&addr), &len) != 0) {
        const int error = errno;
        ::close(listenFd_);
        throw std::runtime_error("listen: " + std::string(std::strerror(error)));
    }
    port_ = ntohs(addr.sin_port);
    thread_ = std::thread([this] { Loop(); });
}

ScriptedServer::~ScriptedServer() {
    {
        std::lock_guard lock(mutex_);
        stop_ = true;
    }
    changed_.notify_all();
    thread_.join();
    CloseConnection();
    ::close(listenFd_);
    ReportErrors();
}

void ScriptedServer::PointAt(TOstraDbProtocol& client) const {
    client.SetHostPort(kHost, port_);
}

ScriptedServer& ScriptedServer::Add(std::string what, std::function<void()> run) {
    {
        std::lock_guard lock(mutex_);
        steps_.push_back({std::move(run), std::move(what)});
    }
    changed_.notify_all();
    return *this;
}

ScriptedServer& ScriptedServer::Expect(std::string cmd) {
    return Add("Expect(" + cmd + ")", [this, cmd] { ReadRequest(cmd, true); });
}

ScriptedServer& ScriptedServer::ExpectHeadOnly(std::string cmd) {
    return Add("ExpectHeadOnly(" + cmd + ")", [this, cmd] {
        ReadRequest(cmd, false);
        unreadAllowed_ = true;
    });
}

ScriptedServer& ScriptedServer::Reply(std::string_view xml) {
    return Send(WirePacket(xml));
}

ScriptedServer& ScriptedServer::Send(std::string bytes) {
    return Add("Send", [this, bytes = std::move(bytes)] {
        EnsureConnection();
        WriteAll(bytes);
    });
}

ScriptedServer& ScriptedServer::SendInPieces(std::string bytes, std::size_t piece,
                                             std::chrono::milliseconds pause) {
    return Add("SendInPieces", [this, bytes = std::move(bytes), piece, pause] {
        EnsureConnection();
        for (std::size_t i = 0; i < bytes.size(); i += piece) {
            if (i > 0) std::this_thread::sleep_for(pause);
            WriteAll(std::string_view(bytes).substr(i, piece));
        }
    });
}

ScriptedServer& ScriptedServer::Pause(std::chrono::milliseconds duration) {
    return Add("Pause", [duration] { std::this_thread::sleep_for(duration); });
}

ScriptedServer& ScriptedServer::Drop() {
    return Add("Drop", [this] {
        EnsureConnection();
        CloseConnection();
    });
}

ScriptedServer& ScriptedServer::StallUntilClosed() {
    return Add("StallUntilClosed", [this] {
        EnsureConnection();
        WaitFor(clientFd_, POLLRDHUP);
        CloseConnection();
    });
}

ScriptedServer& ScriptedServer::Do(std::function<void()> f) {
    return Add("Do", std::move(f));
}

const RecordedRequest& ScriptedServer::Request(std::size_t i) {
    std::unique_lock lock(mutex_);
    if (!changed_.wait_for(lock, 10s, [&] { return requests_.size() > i; }))
        throw std::runtime_error("request " + std::to_string(i) + " never arrived");
    return requests_[i];
}

std::size_t ScriptedServer::RequestCount() const {
    std::lock_guard lock(mutex_);
    return requests_.size();
}

int ScriptedServer::Connections() const {
    std::lock_guard lock(mutex_);
    return connections_;
}

void ScriptedServer::Verify(std::chrono::milliseconds timeout) {
    auto waitForScript = [&] {
        std::unique_lock lock(mutex_);
        if (changed_.wait_for(lock, timeout, [&] { return steps_.empty(); })) return true;
        ADD_FAILURE() << "the scripted server is still at step " << steps_.front().what << " with "
                      << steps_.size() << " step(s) left";
        return false;
    };
    if (waitForScript()) {
        // Whatever the client sent beyond the expected requests (a request sent twice, a
        // payload longer than announced) is an error too.
        Add("no unexpected bytes", [this] {
            if (clientFd_ < 0 || unreadAllowed_) return;
            pollfd p{clientFd_, POLLIN, 0};
            std::string bytes(reader_.Pending());
            char buffer[256];
            if (::poll(&p, 1, 20) > 0) {
                const ssize_t n = ::recv(clientFd_, buffer, sizeof buffer, MSG_PEEK);
                if (n > 0) bytes.append(buffer, static_cast<std::size_t>(n));
            }
            if (!bytes.empty())
                throw std::runtime_error("unexpected bytes from the client: " +
                                         bytes.substr(0, 200));
        });
        waitForScript();
    }
    ReportErrors();
}

void ScriptedServer::ReportErrors() {
    std::lock_guard lock(mutex_);
    for (; reportedErrors_ < errors_.size(); ++reportedErrors_)
        ADD_FAILURE() << "scripted server: " << errors_[reportedErrors_];
}

bool ScriptedServer::Stopping() const {
    std::lock_guard lock(mutex_);
    return stop_;
}

void ScriptedServer::Loop() {
    for (;;) {
        std::function<void()> run;
        std::string what;
        {
            std::unique_lock lock(mutex_);
            changed_.wait(lock, [&] { return stop_ || !steps_.empty(); });
            if (stop_) return;
            run = steps_.front().run;
            what = steps_.front().what;
        }
        try {
            run();
        } catch (const Stopped&) {
            return;
        } catch (const std::exception& e) {
            std::lock_guard lock(mutex_);
            errors_.push_back(what + ": " + e.what());
        }
        {
            std::lock_guard lock(mutex_);
            steps_.pop_front();
        }
        changed_.notify_all();
    }
}

void ScriptedServer::WaitFor(int fd, short events) {
    pollfd p{fd, events, 0};
    for (;;) {
        if (Stopping()) throw Stopped{};
        if (::poll(&p, 1, kSliceMs) > 0 && (p.revents & (events | POLLHUP | POLLERR | POLLNVAL)))
            return;
    }
}

void ScriptedServer::EnsureConnection() {
    if (clientFd_ >= 0) return;
    WaitFor(listenFd_, POLLIN);
    clientFd_ = ::accept4(listenFd_, nullptr, nullptr, SOCK_CLOEXEC);
    if (clientFd_ < 0) throw std::runtime_error("accept: " + std::string(std::strerror(errno)));
    const int one = 1;
    ::setsockopt(clientFd_, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
    reader_.Clear();
    unreadAllowed_ = false;
    std::lock_guard lock(mutex_);
    ++connections_;
}

void ScriptedServer::CloseConnection() {
    if (clientFd_ < 0) return;
    ::close(clientFd_);
    clientFd_ = -1;
    reader_.Clear();
}

bool ScriptedServer::Readable() {
    // Waits for data or the end of the connection; false at the end (nothing to read).
    WaitFor(clientFd_, POLLIN);
    char byte;
    return ::recv(clientFd_, &byte, 1, MSG_PEEK) > 0;
}

void ScriptedServer::ReadMore() {
    WaitFor(clientFd_, POLLIN);
    char* room = reader_.Prepare(64 * 1024);
    const ssize_t n = ::recv(clientFd_, room, 64 * 1024, 0);
    reader_.Commit(n > 0 ? static_cast<std::size_t>(n) : 0);
    if (n > 0) return;
    const int error = errno;
    CloseConnection();
    throw std::runtime_error(n == 0 ? "the client closed the connection"
                                    : "recv: " + std::string(std::strerror(error)));
}

void ScriptedServer::ReadRequest(const std::string& cmd, bool readPayload) {
    EnsureConnection();
    RecordedRequest request;
    while (!reader_.Next(request.bytes)) {
        // A client that closed its connection without starting a request is reconnecting.
        if (reader_.Pending().empty() && !Readable()) {
            CloseConnection();
            EnsureConnection();
        }
        ReadMore();
    }
    request.text = wire::DecodeText(request.bytes);
    std::string problem;
    try {
        wire::ParsePacket(request.text, *request.doc);
    } catch (const std::exception& e) {
        problem = std::string("unreadable request: ") + e.what();
    }
    const std::string size = request.Root().attribute("bin_data_size").value();
    if (readPayload && !size.empty()) {
        std::int64_t n = 0;
        if (!TryStrToInt64(size, n) || n < 0) {
            problem = "bad bin_data_size \"" + size + "\"";
        } else {
            while (reader_.Pending().size() < static_cast<std::size_t>(n))
                ReadMore();
            request.payload.assign(reader_.Pending().substr(0, static_cast<std::size_t>(n)));
            reader_.Consume(static_cast<std::size_t>(n));
            request.bytes += request.payload;
        }
    }
    if (problem.empty() && !cmd.empty() && request.Cmd() != cmd)
        problem = "expected \"" + cmd + "\", received \"" + request.Cmd() + "\"";
    {
        std::lock_guard lock(mutex_);
        requests_.push_back(std::move(request));
        if (!problem.empty()) errors_.push_back(problem);
    }
    changed_.notify_all();
}

void ScriptedServer::WriteAll(std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t n = ::send(clientFd_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (n < 0) {
            if (errno == EINTR) continue;
            throw std::runtime_error("send: " + std::string(std::strerror(errno)));
        }
        bytes.remove_prefix(static_cast<std::size_t>(n));
    }
}

std::uint16_t ClosedPort() {
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t len = sizeof addr;
    const bool bound = ::bind(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) == 0 &&
                       ::getsockname(fd, reinterpret_cast<sockaddr*>(&addr), &len) == 0;
    ::close(fd);
    if (!bound) throw std::runtime_error("no free port");
    return ntohs(addr.sin_port);
}

std::string WirePacket(std::string_view xml) {
    std::string bytes = wire::EncodeText(xml);
    if (bytes.ends_with("</packet>")) bytes += "\r\n";
    return bytes;
}

namespace {
std::string Escaped(std::string_view text) {
    std::string out;
    for (char c : text)
        out += c == '&' ? "&amp;" : c == '<' ? "&lt;" : c == '"' ? "&quot;" : std::string(1, c);
    return out;
}

std::string Spaced(std::string_view attrs) {
    return attrs.empty() ? std::string() : " " + std::string(attrs);
}
}  // namespace

std::string AnswerPacket(std::string_view answerAttrs, std::string_view answerBody) {
    std::string xml = "<packet><answer" + Spaced(answerAttrs);
    xml += answerBody.empty() ? "/>" : ">" + std::string(answerBody) + "</answer>";
    return xml + "</packet>";
}

std::string ErrorPacket(int code, std::string_view text) {
    return "<packet><error code=\"" + std::to_string(code) + "\" text=\"" + Escaped(text) +
           "\"/></packet>";
}

std::string InfoPacket(std::string_view attrs) {
    return "<packet type=\"info\"" + Spaced(attrs) + "></packet>";
}

std::string PayloadPacket(std::int64_t size, std::string_view answerAttrs) {
    return "<packet bin_data_size=\"" + std::to_string(size) + "\"><answer" + Spaced(answerAttrs) +
           "/></packet>";
}

}  // namespace ostradb::test
