#pragma once

// What every command works with: the global options, the session (opened on first use),
// the description of the step in progress for error lines, and the output mode.

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "connection.hpp"

namespace CLI {
class App;
}

namespace ostradb::cli {

struct GlobalOptions {
    ConnectionFlags connection;
    bool json = false;
    bool trace = false;
};

class Context {
public:
    GlobalOptions options;
    // Set by the demo: the target to use instead of flags, environment and settings.
    std::optional<Target> fixedTarget;
    // Print a transfer's summary line even when standard error is not a terminal.
    bool progressSummary = false;

    // The connected, logged-in session; opened on the first call.
    Session& GetSession();
    TOstraDbProtocol& Client() { return GetSession().Client(); }
    // Closes the session (the next call opens a new one).
    void CloseSession();

    // What the command is doing, in words that complete "ostradb: ...: <error>".
    void Doing(std::string what) { doing_ = std::move(what); }
    const std::string& Doing() const { return doing_; }

    bool Json() const { return options.json; }

    // The action of a subcommand, run once the command line has been parsed.
    void SetAction(const CLI::App* command, std::function<void()> action);
    // The action of the subcommand the parsed command line selected; null when it has none.
    const std::function<void()>* ActionFor(const CLI::App* command) const;

private:
    std::unique_ptr<Session> session_;
    std::string doing_;
    std::map<const CLI::App*, std::function<void()>> actions_;
};

}  // namespace ostradb::cli
