#pragma once

// The stream buffers of transfers: counting the bytes that pass on to or from another buffer,
// reading bytes the caller holds without copying them, and the progress report they feed.

#include <cstdint>
#include <exception>
#include <functional>
#include <streambuf>
#include <string_view>

#include "ostradb/client/client.hpp"

namespace ostradb::detail {

// Calls the caller's callbacks in the middle of a request. An exception a callback raises
// ends the request at once: it is kept, the request is terminated, no callback is called any
// more, and RethrowIfFailed raises it again once the request has given up. (The exchange
// itself would swallow it, or leave a transfer half done.)
class CallbackGuard {
public:
    explicit CallbackGuard(TOstraDbProtocol& protocol) : protocol_(protocol) {}

    template <class F>
    void Call(F&& f) {
        if (error_) return;
        try {
            f();
        } catch (...) {
            error_ = std::current_exception();
            Terminate();
        }
    }
    void RethrowIfFailed() const {
        if (error_) std::rethrow_exception(error_);
    }

private:
    void Terminate();

    TOstraDbProtocol& protocol_;
    std::exception_ptr error_;
};

// Tells the caller's progress callback (done, total) through a CallbackGuard.
class ProgressReport {
public:
    ProgressReport(ProgressCallback callback, TOstraDbProtocol& protocol)
        : callback_(std::move(callback)), guard_(protocol) {}

    void SetTotal(std::int64_t total);
    void Done(std::int64_t done);
    void RethrowIfFailed() const { guard_.RethrowIfFailed(); }

private:
    void Tell();

    ProgressCallback callback_;
    CallbackGuard guard_;
    std::int64_t done_ = 0;
    std::int64_t total_ = -1;
};

using CountCallback = std::function<void(std::int64_t bytesSoFar)>;

// Passes written bytes on to target and reports how many went through.
class CountingOutBuf : public std::streambuf {
public:
    CountingOutBuf(std::streambuf& target, CountCallback count);
    std::int64_t Count() const { return count_; }

protected:
    std::streamsize xsputn(const char* data, std::streamsize n) override;
    int_type overflow(int_type c) override;
    int sync() override;

private:
    std::streambuf& target_;
    CountCallback report_;
    std::int64_t count_ = 0;
};

// Reads from source and reports the position reached; seeks pass through, so the size can be
// measured and the data sent again from the start.
class CountingInBuf : public std::streambuf {
public:
    CountingInBuf(std::streambuf& source, CountCallback count);

protected:
    int_type underflow() override;
    int_type uflow() override;
    std::streamsize xsgetn(char* data, std::streamsize n) override;
    pos_type seekoff(off_type off, std::ios_base::seekdir dir,
                     std::ios_base::openmode which) override;
    pos_type seekpos(pos_type pos, std::ios_base::openmode which) override;

private:
    void Moved(std::int64_t n);

    std::streambuf& source_;
    CountCallback report_;
    std::int64_t position_ = 0;
};

// Reads bytes the caller holds, in place.
class BytesInBuf : public std::streambuf {
public:
    explicit BytesInBuf(std::string_view bytes);

protected:
    pos_type seekoff(off_type off, std::ios_base::seekdir dir,
                     std::ios_base::openmode which) override;
    pos_type seekpos(pos_type pos, std::ios_base::openmode which) override;
};

}  // namespace ostradb::detail
