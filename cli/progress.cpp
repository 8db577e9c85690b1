#include "progress.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <iostream>

#include "output.hpp"
#include "terminal.hpp"

namespace ostradb::cli {

namespace {

using Clock = std::chrono::steady_clock;
constexpr auto kRedrawEvery = std::chrono::milliseconds(100);

std::string FormatDuration(double seconds) {
    const auto total = static_cast<long long>(seconds + 0.5);
    if (total >= 3600)
        return fmt::format("{}:{:02}:{:02}", total / 3600, total / 60 % 60, total % 60);
    return fmt::format("{}:{:02}", total / 60, total % 60);
}

}  // namespace

ProgressBar::ProgressBar(std::string label, bool live, bool summary)
    : label_(std::move(label)), live_(live), summary_(summary), start_(Clock::now()) {}

ProgressBar::~ProgressBar() {
    if (!ended_) Abort();
}

void ProgressBar::SetTotal(std::int64_t bytes) {
    total_ = bytes;
}

void ProgressBar::Update(std::int64_t done) {
    done_ = done;
    if (!live_) return;
    const auto now = Clock::now();
    if (drawn_ && now - lastDraw_ < kRedrawEvery) return;
    lastDraw_ = now;
    Draw(false);
}

void ProgressBar::Finish() {
    if (ended_) return;
    ended_ = true;
    if (total_ >= 0) done_ = std::max(done_, total_);
    if (live_ || summary_) {
        Draw(true);
        std::cerr << '\n' << std::flush;
    }
}

void ProgressBar::Abort() {
    if (ended_) return;
    ended_ = true;
    if (live_ && drawn_) std::cerr << "\r\033[K" << std::flush;
}

std::string ProgressBar::Line(int width, bool final) const {
    const double seconds =
        std::max(1e-3, std::chrono::duration<double>(Clock::now() - start_).count());
    const double rate = static_cast<double>(done_) / seconds;
    std::string amounts = FormatBytes(static_cast<double>(done_));
    std::string tail;
    if (total_ >= 0) {
        amounts += " / " + FormatBytes(static_cast<double>(total_));
        if (final) {
            tail = "in " + FormatDuration(seconds);
        } else if (rate > 0) {
            tail = FormatDuration(static_cast<double>(total_ - done_) / rate) + " left";
        }
    }
    std::string numbers = fmt::format("{}  {}/s  {}", amounts, FormatBytes(rate), tail);

    std::string percent;
    std::string bar;
    if (total_ > 0) {
        const double fraction =
            std::clamp(static_cast<double>(done_) / static_cast<double>(total_), 0.0, 1.0);
        percent = fmt::format("{:3.0f}%", fraction * 100);
        // What is left of the width after the label, the numbers and the separators.
        const int room =
            width - static_cast<int>(DisplayWidth(label_) + numbers.size() + percent.size()) - 8;
        const int cells = std::clamp(room, 0, 40);
        if (cells >= 10) {
            const int full = static_cast<int>(fraction * cells + 0.5);
            bar = "[" + std::string(static_cast<std::size_t>(full), '#') +
                  std::string(static_cast<std::size_t>(cells - full), '-') + "]";
        }
    } else if (total_ == 0) {
        percent = "100%";
    }
    std::string line = label_;
    for (const std::string* part : {&bar, &percent, &numbers})
        if (!part->empty()) line += "  " + *part;
    while (!line.empty() && line.back() == ' ')
        line.pop_back();
    return line;
}

void ProgressBar::Draw(bool final) {
    const std::string line = Line(live_ ? TerminalWidth() : 100, final);
    if (live_)
        std::cerr << "\r\033[K" << line << std::flush;
    else
        std::cerr << line;
    drawn_ = true;
}

}  // namespace ostradb::cli
