#pragma once

// The progress of a transfer on the terminal (standard error): bytes, rate and time left,
// redrawn in place a few times a second. Off when standard error is not a terminal, unless
// a summary is asked for, which is then printed once at the end.

#include <chrono>
#include <cstdint>
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
    // SetTotal and Update at once, as a transfer's progress callback reports them.
    void Report(std::int64_t done, std::int64_t total) {
        SetTotal(total);
        Update(done);
    }
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

}  // namespace ostradb::cli
