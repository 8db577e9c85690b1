#pragma once

// The one TCP connection of a session. Everything but Terminate runs on the thread of the
// request; Terminate may come from any thread and only shuts the socket down (the request's
// thread then sees its read or write fail and closes the socket itself), so no socket object
// is ever touched by two threads.

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>

#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>

namespace ostradb::detail {

class Connection {
public:
    Connection();
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    // Resolves host and connects within timeout. Raises ESocketError with the system's reason.
    void Open(const std::string& host, std::uint16_t port, std::chrono::milliseconds timeout);
    // With abort the peer gets a reset rather than an orderly end.
    void Close(bool abort = false);
    // Open, and neither found closed nor shut down by Terminate.
    bool IsOpen() const;

    // Any thread: marks the request as terminated and shuts the socket down so that a blocked
    // read or write returns, or stops a connect under way (Open raises). False (and nothing
    // happens) when no connection is open or being opened.
    bool Terminate();
    bool Terminated() const { return terminated_.load(); }
    void ClearTerminated() { terminated_.store(false); }

    // Zero means no time-out: the calls block until done or until Terminate.
    void SetTimeouts(std::chrono::milliseconds read, std::chrono::milliseconds write) {
        readTimeout_ = read;
        writeTimeout_ = write;
    }

    // Both raise ESocketError (ETimeoutError on a time-out) and close the connection first.
    void WriteAll(const char* data, std::size_t size);
    // Reads at least one byte.
    std::size_t ReadSome(char* data, std::size_t size);

private:
    void WaitReady(short events, std::chrono::milliseconds timeout, const char* what);
    void SetConnecting(bool connecting);
    [[noreturn]] void Fail(int error, const char* what);

    asio::io_context context_;
    asio::ip::tcp::socket socket_;
    std::chrono::milliseconds readTimeout_{0};
    std::chrono::milliseconds writeTimeout_{0};

    // Shared with Terminate. The mutex keeps a descriptor from being shut down after it was
    // closed and its number reused.
    std::mutex fdMutex_;
    int fd_ = -1;
    bool connecting_ = false;
    std::atomic<bool> shutDown_{false};
    std::atomic<bool> terminated_{false};
};

}  // namespace ostradb::detail
