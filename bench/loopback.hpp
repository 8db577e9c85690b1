#pragma once

// The sockets of the benchmarks' loopback servers.

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <string_view>

namespace ostradb::bench {

// A socket listening on a free port of 127.0.0.1, which it puts into port; aborts when there
// is none.
inline int ListenOnLoopback(int& port) {
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t len = sizeof addr;
    if (fd < 0 || bind(fd, reinterpret_cast<sockaddr*>(&addr), len) != 0 || listen(fd, 4) != 0 ||
        getsockname(fd, reinterpret_cast<sockaddr*>(&addr), &len) != 0)
        std::abort();
    port = ntohs(addr.sin_port);
    return fd;
}

// Sends all of bytes; false when the peer has gone.
inline bool SendAll(int fd, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t n = send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (n <= 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(n));
    }
    return true;
}

}  // namespace ostradb::bench
