#pragma once

// What every command works with: the global options, the client (connected on first use),
// the description of the step in progress for error lines, and the output mode.

#include <functional>
#include <map>
#include <optional>
#include <string>

#include "ostradb/client/client.hpp"
#include "output.hpp"

namespace CLI {
class App;
}

namespace ostradb::cli {

// What the command line says about the connection; empty or zero where it says nothing.
struct ConnectionFlags {
    std::string host;
    std::int32_t port = 0;
    std::string user;
    std::string service;
    std::optional<double> timeout;
};

struct GlobalOptions {
    ConnectionFlags connection;
    OutputOptions output;
    bool trace = false;
};

class Context {
public:
    GlobalOptions options;
    // Set by the demo: where to connect instead of flags, environment and settings.
    std::optional<ConnectOptions> fixedConnection;
    // Print a transfer's summary line even when standard error is not a terminal.
    bool progressSummary = false;
    // Neither ask for a password nor warn about the settings (shell completion).
    bool quiet = false;

    // The connected, logged-in client; connected on the first call.
    ostradb::Client& Client();
    // Closes the connection (the next call connects again).
    void CloseClient();

    // What the command is doing, in words that complete "ostradb: ...: <error>".
    void Doing(std::string what) { doing_ = std::move(what); }
    const std::string& Doing() const { return doing_; }

    const OutputOptions& Output() const { return options.output; }
    // Whether the command prints one JSON document; commands that print no listing print their
    // usual text in the other formats.
    bool Json() const { return options.output.format == Format::json; }

    // The action of a subcommand, run once the command line has been parsed.
    void SetAction(const CLI::App* command, std::function<void()> action);
    // The action of the subcommand the parsed command line selected; null when it has none.
    const std::function<void()>* ActionFor(const CLI::App* command) const;

private:
    ConnectOptions Connection() const;

    std::optional<ostradb::Client> client_;
    std::string doing_;
    std::map<const CLI::App*, std::function<void()>> actions_;
};

}  // namespace ostradb::cli
