#include "protocol/connection.hpp"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstring>

#include <asio/connect.hpp>

#include "ostradb/protocol/socket_errors.hpp"

namespace ostradb::detail {

Connection::Connection() : socket_(context_) {}

Connection::~Connection() {
    Close();
}

void Connection::Open(const std::string& host, std::uint16_t port,
                      std::chrono::milliseconds timeout) {
    Close();
    asio::error_code ec;
    asio::ip::tcp::resolver resolver(context_);
    const auto endpoints = resolver.resolve(host, std::to_string(port), ec);
    if (ec) throw ESocketError(ec.message());

    bool done = false;
    context_.restart();
    asio::async_connect(socket_, endpoints,
                        [&](const asio::error_code& error, const asio::ip::tcp::endpoint&) {
                            ec = error;
                            done = true;
                        });
    // Terminate stops the wait (io_context::stop may come from any thread).
    SetConnecting(true);
    context_.run_for(timeout);
    SetConnecting(false);
    if (!done) {
        asio::error_code ignored;
        socket_.close(ignored);
        context_.restart();
        context_.run();  // lets the cancelled operation finish
        ec = terminated_.load() ? asio::error::operation_aborted : asio::error::timed_out;
    }
    if (ec) {
        asio::error_code ignored;
        socket_.close(ignored);
        throw ESocketError(ec.message());
    }
    // Requests are written as text followed by a payload; without this the payload's first
    // segment could wait for the acknowledgement of the text.
    socket_.set_option(asio::ip::tcp::no_delay(true), ec);
    // The asynchronous connect left the descriptor non-blocking; reads and writes block.
    socket_.native_non_blocking(false, ec);
    std::lock_guard lock(fdMutex_);
    fd_ = socket_.native_handle();
    shutDown_.store(false);
}

void Connection::Close(bool abort) {
    bool aborted = abort;
    {
        std::lock_guard lock(fdMutex_);
        fd_ = -1;
        aborted = shutDown_.exchange(false) || aborted;
    }
    asio::error_code ignored;
    // A terminated or timed-out request may leave megabytes queued for a server that is not
    // reading; reset the connection instead of leaving them to linger.
    if (aborted && socket_.is_open())
        socket_.set_option(asio::socket_base::linger(true, 0), ignored);
    socket_.close(ignored);
}

bool Connection::IsOpen() const {
    return socket_.is_open() && !shutDown_.load();
}

void Connection::SetConnecting(bool connecting) {
    std::lock_guard lock(fdMutex_);
    connecting_ = connecting;
}

bool Connection::Terminate() {
    std::lock_guard lock(fdMutex_);
    if (connecting_) {
        terminated_.store(true);
        context_.stop();
        return true;
    }
    if (fd_ < 0 || shutDown_.load()) return false;
    terminated_.store(true);
    shutDown_.store(true);
    ::shutdown(fd_, SHUT_RDWR);
    return true;
}

void Connection::Fail(int error, const char* what) {
    Close();
    std::string message = "Connection to the server failed while ";
    message += what;
    message += error ? ": " + std::string(std::strerror(error)) : ": closed by the server";
    throw ESocketError(message);
}

void Connection::WaitReady(short events, std::chrono::milliseconds timeout, const char* what) {
    pollfd p{socket_.native_handle(), events, 0};
    for (;;) {
        const int n = ::poll(&p, 1, static_cast<int>(timeout.count()));
        if (n > 0) return;
        if (n == 0) {
            Close(true);
            throw ETimeoutError("The server did not respond within " +
                                std::to_string(timeout.count()) + " ms while " + what);
        }
        if (errno != EINTR) Fail(errno, what);
    }
}

void Connection::WriteAll(const char* data, std::size_t size) {
    if (!socket_.is_open()) Fail(ENOTCONN, "writing");
    const int fd = socket_.native_handle();
    const bool timed = writeTimeout_.count() > 0;
    while (size > 0) {
        if (timed) WaitReady(POLLOUT, writeTimeout_, "writing");
        const ssize_t n = ::send(fd, data, size, MSG_NOSIGNAL | (timed ? MSG_DONTWAIT : 0));
        if (n > 0) {
            data += n;
            size -= static_cast<std::size_t>(n);
        } else if (n < 0 && (errno == EINTR || errno == EAGAIN || errno == EWOULDBLOCK)) {
            continue;
        } else {
            Fail(n < 0 ? errno : EPIPE, "writing");
        }
    }
}

std::size_t Connection::ReadSome(char* data, std::size_t size) {
    if (!socket_.is_open()) Fail(ENOTCONN, "reading");
    const int fd = socket_.native_handle();
    const bool timed = readTimeout_.count() > 0;
    for (;;) {
        if (timed) WaitReady(POLLIN, readTimeout_, "reading");
        const ssize_t n = ::recv(fd, data, size, timed ? MSG_DONTWAIT : 0);
        if (n > 0) return static_cast<std::size_t>(n);
        if (n == 0) Fail(0, "reading");
        if (errno != EINTR && errno != EAGAIN && errno != EWOULDBLOCK) Fail(errno, "reading");
    }
}

}  // namespace ostradb::detail
