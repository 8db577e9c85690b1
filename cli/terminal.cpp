#include "terminal.hpp"

#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <iostream>

#include "interrupt.hpp"

namespace ostradb::cli {

bool StdinIsTerminal() {
    return ::isatty(STDIN_FILENO) == 1;
}

bool StderrIsTerminal() {
    return ::isatty(STDERR_FILENO) == 1;
}

int TerminalWidth() {
    winsize size{};
    if (::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) return size.ws_col;
    return 80;
}

namespace {

std::optional<std::string> ReadLineFromStdin() {
    std::string line;
    if (!std::getline(std::cin, line)) return std::nullopt;
    if (!line.empty() && line.back() == '\r') line.pop_back();
    return line;
}

}  // namespace

std::optional<std::string> ReadHiddenLine(std::string_view prompt) {
    termios saved{};
    const bool terminal = ::tcgetattr(STDIN_FILENO, &saved) == 0;
    if (terminal) {
        termios quiet = saved;
        quiet.c_lflag &= static_cast<tcflag_t>(~ECHO);
        quiet.c_lflag |= ECHONL;
        ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &quiet);
        // An interrupt while the user types ends the process from the watching thread; it
        // puts the echo back first.
        Interrupts().SetTerminalToRestore(saved);
    }
    // The prompt only once echo is off: what is typed as soon as it shows is neither echoed
    // nor dropped by the flush above.
    std::cerr << prompt << std::flush;
    std::optional<std::string> line = ReadLineFromStdin();
    if (terminal) {
        ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &saved);
        Interrupts().ClearTerminalToRestore();
    }
    if (!line) std::cerr << '\n';
    return line;
}

std::optional<std::string> ReadLine(std::string_view prompt) {
    std::cerr << prompt << std::flush;
    return ReadLineFromStdin();
}

std::size_t DisplayWidth(std::string_view text) {
    // Every byte but the continuation bytes (10xxxxxx) of UTF-8 starts a code point; eight
    // bytes at a time, as a listing may have millions of cells.
    constexpr std::uint64_t kHighBits = 0x8080808080808080u, kLowBits = 0x0101010101010101u;
    std::size_t continuation = 0, i = 0;
    for (; i + 8 <= text.size(); i += 8) {
        std::uint64_t word;
        std::memcpy(&word, text.data() + i, 8);
        // One bit a continuation byte, at the byte's bottom; the product sums them in its top
        // byte.
        const std::uint64_t marks = (word & ~(word << 1) & kHighBits) >> 7;
        continuation += static_cast<std::size_t>((marks * kLowBits) >> 56);
    }
    for (; i < text.size(); ++i)
        continuation += (static_cast<unsigned char>(text[i]) & 0xC0) == 0x80;
    return text.size() - continuation;
}

}  // namespace ostradb::cli
