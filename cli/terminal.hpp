#pragma once

// What the client asks of the terminal: whether a stream is one, its width, and reading a
// line without echo.

#include <optional>
#include <string>
#include <string_view>

namespace ostradb::cli {

bool StdinIsTerminal();
bool StderrIsTerminal();
// Columns of the terminal on standard error; 80 when unknown.
int TerminalWidth();

// Writes prompt to standard error and reads one line from standard input (a terminal) with
// echo switched off; nullopt at end of input. The terminal is restored on every way out,
// including an interrupt while the prompt waits.
std::optional<std::string> ReadHiddenLine(std::string_view prompt);
// As ReadHiddenLine, with echo.
std::optional<std::string> ReadLine(std::string_view prompt);

// Columns a UTF-8 text takes: one per code point (the server's texts are Latin and Cyrillic).
std::size_t DisplayWidth(std::string_view text);

}  // namespace ostradb::cli
