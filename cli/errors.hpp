#pragma once

// The client's own failures and how every failure is reported: one line on standard error
// and an exit status.

#include <stdexcept>
#include <string>

namespace ostradb::cli {

inline constexpr int kExitOk = 0;
inline constexpr int kExitFailure = 1;
inline constexpr int kExitUsage = 2;

// A failure the client detects itself, with the exit status it ends with.
class CliError : public std::runtime_error {
public:
    explicit CliError(const std::string& message, int status = kExitFailure)
        : std::runtime_error(message), status_(status) {}
    int Status() const { return status_; }

private:
    int status_;
};

// Arguments or settings the command cannot work with.
class UsageError : public CliError {
public:
    explicit UsageError(const std::string& message) : CliError(message, kExitUsage) {}
};

// A failure that must end the command without a word (shell completion): status 1.
class SilentFailure : public CliError {
public:
    SilentFailure() : CliError("") {}
};

// Prints the exception in flight as one line (two for a server that cannot be reached),
// prefixed by what was being done, and returns the exit status. Call only inside a catch.
int ReportCurrentException(const std::string& doing);

}  // namespace ostradb::cli
