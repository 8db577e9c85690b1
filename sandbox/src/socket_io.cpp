#include "socket_io.hpp"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "ostradb/util/exceptions.hpp"

namespace ostradb::sandbox {

StopSignal::StopSignal() {
    if (::pipe2(pipe_, O_CLOEXEC | O_NONBLOCK) != 0)
        throw Error(std::string("Cannot create a pipe: ") + std::strerror(errno));
}

StopSignal::~StopSignal() {
    ::close(pipe_[0]);
    ::close(pipe_[1]);
}

void StopSignal::Raise() {
    const char byte = 1;
    // One byte is enough: nobody reads it, so the pipe stays readable.
    [[maybe_unused]] const ssize_t n = ::write(pipe_[1], &byte, 1);
}

bool StopSignal::Raised() const {
    pollfd p{pipe_[0], POLLIN, 0};
    return ::poll(&p, 1, 0) > 0;
}

bool StopSignal::SleepFor(std::chrono::milliseconds timeout) const {
    pollfd p{pipe_[0], POLLIN, 0};
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    for (;;) {
        // Rounded up: truncated, a pause of 1 ms would end before it began.
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0) return true;
        const int n = ::poll(&p, 1, static_cast<int>(left.count()));
        if (n > 0) return false;
        if (n < 0 && errno != EINTR) return true;
    }
}

void SocketIo::Wait(short events, std::chrono::milliseconds timeout, const char* what) {
    pollfd p[2] = {{fd_, events, 0}, {stop_.Fd(), POLLIN, 0}};
    const int ms = timeout.count() > 0 ? static_cast<int>(timeout.count()) : -1;
    for (;;) {
        const int n = ::poll(p, 2, ms);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) throw ConnectionEnd(std::string("poll failed: ") + std::strerror(errno));
        if (p[1].revents) throw ConnectionEnd("the server stops");
        if (n == 0)
            throw ConnectionEnd(std::string("the client did not ") + what + " for " +
                                std::to_string(timeout.count()) + " ms");
        return;
    }
}

std::size_t SocketIo::ReadSome(char* data, std::size_t size) {
    for (;;) {
        Wait(POLLIN, readTimeout_, "send anything");
        const ssize_t n = ::recv(fd_, data, size, MSG_DONTWAIT);
        if (n > 0) return static_cast<std::size_t>(n);
        if (n == 0) throw ConnectionEnd("the client closed the connection");
        if (errno != EINTR && errno != EAGAIN && errno != EWOULDBLOCK)
            throw ConnectionEnd(std::string("reading failed: ") + std::strerror(errno));
    }
}

void SocketIo::WriteAll(const char* data, std::size_t size) {
    while (size > 0) {
        Wait(POLLOUT, writeTimeout_, "read the answer");
        const ssize_t n = ::send(fd_, data, size, MSG_DONTWAIT | MSG_NOSIGNAL);
        if (n > 0) {
            data += n;
            size -= static_cast<std::size_t>(n);
            written_ += static_cast<std::uint64_t>(n);
        } else if (n < 0 && errno != EINTR && errno != EAGAIN && errno != EWOULDBLOCK) {
            throw ConnectionEnd(std::string("writing failed: ") + std::strerror(errno));
        }
    }
}

}  // namespace ostradb::sandbox
