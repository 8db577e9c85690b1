#pragma once

// The progress of a transfer on the terminal (standard error): bytes, rate and time left,
// redrawn in place a few times a second. Off when standard error is not a terminal, unless
// a summary is asked for, which is then printed once at the end.

#include <chrono>
#include <cstdint>
#include <functional>
#include <streambuf>
#include <string>

namespace ostradb::cli {

class ProgressBar {
public:
    // live: redraw on a terminal; summary: print the final line even without one.
    ProgressBar(std::string label, bool live, bool summary);
    ~ProgressBar();

    // The size of the whole transfer; unknown (negative) until set.
    void SetTotal(std::int64_t bytes);
    void Update(std::int64_t done);
    // Draws the final state and ends the line.
    void Finish();
    // Clears the line the bar occupies (a transfer that failed).
    void Abort();

    // "label [#####-----]  45%  1.2 MiB / 2.6 MiB  850.0 KiB/s  0:02 left" for a given width.
    std::string Line(int width, bool final) const;

private:
    void Draw(bool final);

    std::string label_;
    bool live_;
    bool summary_;
    bool drawn_ = false;
    bool ended_ = false;
    std::int64_t total_ = -1;
    std::int64_t done_ = 0;
    std::chrono::steady_clock::time_point start_;
    std::chrono::steady_clock::time_point lastDraw_;
};

using ProgressCallback = std::function<void(std::int64_t bytesSoFar)>;

// Passes written bytes on to target and reports how many went through.
class CountingOutBuf : public std::streambuf {
public:
    CountingOutBuf(std::streambuf& target, ProgressCallback progress);

protected:
    std::streamsize xsputn(const char* data, std::streamsize n) override;
    int_type overflow(int_type c) override;
    int sync() override;

private:
    std::streambuf& target_;
    ProgressCallback progress_;
    std::int64_t count_ = 0;
};

// Reads from source and reports the position reached; seeks pass through, so the size can be
// measured and the data sent again from the start.
class CountingInBuf : public std::streambuf {
public:
    CountingInBuf(std::streambuf& source, ProgressCallback progress);

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
    ProgressCallback progress_;
    std::int64_t position_ = 0;
};

}  // namespace ostradb::cli
