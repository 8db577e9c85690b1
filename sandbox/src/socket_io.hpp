#pragma once

// Reads and writes of one client socket with time-outs, any of which the server's stop
// signal interrupts. Every way a connection ends raises ConnectionEnd.

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>

namespace ostradb::sandbox {

// The connection is over: the peer closed it, a time-out expired, the server stops, or a
// fault switch cut it. The message says which.
class ConnectionEnd : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// A file descriptor that becomes readable when the server stops.
class StopSignal {
public:
    StopSignal();
    ~StopSignal();
    StopSignal(const StopSignal&) = delete;
    StopSignal& operator=(const StopSignal&) = delete;

    void Raise();
    bool Raised() const;
    int Fd() const { return pipe_[0]; }
    // Waits for timeout or until the signal is raised; returns false when it was raised.
    bool SleepFor(std::chrono::milliseconds timeout) const;

private:
    int pipe_[2] = {-1, -1};
};

class SocketIo {
public:
    SocketIo(int fd, const StopSignal& stop, std::chrono::milliseconds readTimeout,
             std::chrono::milliseconds writeTimeout)
        : fd_(fd), stop_(stop), readTimeout_(readTimeout), writeTimeout_(writeTimeout) {}

    // At least one byte.
    std::size_t ReadSome(char* data, std::size_t size);
    void WriteAll(const char* data, std::size_t size);
    void WriteAll(const std::string& bytes) { WriteAll(bytes.data(), bytes.size()); }

    std::uint64_t BytesWritten() const { return written_; }

private:
    void Wait(short events, std::chrono::milliseconds timeout, const char* what);

    int fd_;
    const StopSignal& stop_;
    std::chrono::milliseconds readTimeout_;
    std::chrono::milliseconds writeTimeout_;
    std::uint64_t written_ = 0;
};

}  // namespace ostradb::sandbox
