// ostradb-sandbox: the sandbox server as a program. Prints the port it listens on as the first
// line of standard output, reports events on standard error, and stops on SIGINT or SIGTERM.

#include <signal.h>

#include <cstdio>
#include <iostream>

#include <fmt/core.h>
#include <CLI/CLI.hpp>

#include "ostradb_sandbox/sandbox_server.hpp"

int main(int argc, char** argv) {
    using namespace ostradb::sandbox;
    SandboxOptions options;
    FaultSwitches faults;
    std::string dataDir;
    int port = 22344;
    int sessionTimeout = 0;
    int idleTimeout = 600;
    long long delayMs = 0;
    bool quiet = false;

    CLI::App app{
        "ostradb-sandbox: a DEVELOPMENT SANDBOX that speaks the well-logging database protocol,\n"
        "for developing and testing clients on one machine. It is NOT a production server:\n"
        "passwords are stored in plain text, nothing is encrypted, and it is not built for\n"
        "real data or many users.\n\n"
        "A missing or empty --data directory is filled with the sample data set first\n"
        "(users admin/admin with all rights and viewer/viewer with the view right only)."};
    app.add_option("--data", dataDir,
                   "Data directory (created from the sample set when missing or empty)")
        ->required();
    app.add_option("--host", options.host, "Address to listen on")->capture_default_str();
    app.add_option("--port", port, "Port to listen on; 0 picks a free one")
        ->capture_default_str()
        ->check(CLI::Range(0, 65535));
    app.add_option("--max-connections", options.maxConnections, "Connections served at once")
        ->capture_default_str();
    app.add_option("--session-timeout", sessionTimeout,
                   "Seconds a login stays valid (then the client logs in again); 0: no limit")
        ->capture_default_str();
    app.add_option("--idle-timeout", idleTimeout,
                   "Seconds of client silence before its connection is closed")
        ->capture_default_str();
    app.add_option("--fault-delay-ms", delayMs,
                   "Testing: delay every answer by this many milliseconds");
    app.add_option("--fault-segment-bytes", faults.segmentSize,
                   "Testing: write answers in pieces of this many bytes");
    app.add_flag("--quiet", quiet, "Do not report connections and errors on standard error");
    CLI11_PARSE(app, argc, argv);

    options.dataDir = dataDir;
    options.port = static_cast<std::uint16_t>(port);
    options.sessionTimeout = std::chrono::seconds(sessionTimeout);
    options.idleTimeout = std::chrono::seconds(idleTimeout);
    if (!quiet)
        options.eventLog = [](std::string_view line) {
            fmt::print(stderr, "ostradb-sandbox: {}\n", line);
        };

    // The signals are taken by sigwait below; every thread started from here inherits the mask.
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);

    SandboxServer server(options);
    try {
        server.Start();
    } catch (const std::exception& e) {
        fmt::print(stderr, "ostradb-sandbox: {}\n", e.what());
        return 1;
    }
    if (delayMs > 0 || faults.segmentSize > 0) {
        faults.answerDelay = std::chrono::milliseconds(delayMs);
        server.SetFaults(faults);
    }
    fmt::print("{}\n", server.Port());
    std::fflush(stdout);
    fmt::print(
        stderr,
        "ostradb-sandbox: development sandbox, not a production server; listening on {}:{}\n",
        options.host, server.Port());

    int received = 0;
    sigwait(&signals, &received);
    server.Stop();
    return 0;
}
