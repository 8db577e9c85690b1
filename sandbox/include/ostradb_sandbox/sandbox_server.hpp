#pragma once

// SandboxServer: a local server that speaks the client's protocol over TCP, backed by a
// directory of data (users, options, databases and their ws files). It is a sandbox to develop
// and test against on one machine, not a production server: passwords are kept in plain
// text, nothing is encrypted, and nothing is tuned for large data.
//
//   SandboxOptions options;
//   options.dataDir = "/tmp/my-data";   // filled with the sample data set when missing or empty
//   SandboxServer server(options);
//   server.Start();                      // port 0 (the default) picks a free port
//   client.SetHostPort("127.0.0.1", server.Port());
//   ...
//   server.Stop();                       // also done by the destructor
//
// Every client connection is served on a thread of its own, with its own login session.

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace ostradb::sandbox {

using namespace std::chrono_literals;

// Faults the server puts into its own behaviour, for tests of a client's failure handling.
// They apply to the requests of any connection that match `command` (every request when it
// is empty), for `times` requests (without limit when negative), then turn themselves off.
struct FaultSwitches {
    // Wait this long before answering.
    std::chrono::milliseconds answerDelay{0};
    // Write answers (text and payload) in pieces of this many bytes, pausing in between.
    std::size_t segmentSize = 0;
    std::chrono::milliseconds segmentPause{1};
    // Close the connection after sending this many bytes of the answer's packet text.
    std::int64_t dropAfterAnswerBytes = -1;
    // Close the connection after sending this many bytes of the answer's payload.
    std::int64_t dropAfterPayloadBytes = -1;
    // Close the connection after receiving this many bytes of the request's payload.
    std::int64_t dropAfterRequestPayloadBytes = -1;
    // Send a framed but malformed XML text instead of the answer.
    bool malformedAnswer = false;

    std::string command;
    int times = -1;
};

struct SandboxOptions {
    // The data directory. A missing or empty one is first filled with a copy of the sample
    // data set (sampleDir, or the set found by FindSampleData).
    std::filesystem::path dataDir;
    std::filesystem::path sampleDir;
    std::string host = "127.0.0.1";
    std::uint16_t port = 0;  // 0: a free port, see Port()

    // Connections beyond this many are closed as soon as they are accepted.
    std::size_t maxConnections = 64;
    // A login is valid this long; then the server answers code 27 and the client logs in
    // again. Zero: sessions do not expire.
    std::chrono::milliseconds sessionTimeout{0};
    // A connection whose client sends nothing for this long is closed, whether between
    // requests or in the middle of one.
    std::chrono::milliseconds idleTimeout = 10min;
    // A connection whose client reads nothing of an answer for this long is closed.
    std::chrono::milliseconds writeTimeout = 30s;
    // Largest request packet text; a longer one closes the connection.
    std::size_t maxPacketText = std::size_t{16} << 20;
    // Largest request payload ("bin_data_size"); a larger one closes the connection.
    std::uint64_t maxPayload = std::uint64_t{1} << 30;

    // Receives one line per notable event (connections, logins, refusals, faults); may be
    // called from any connection's thread.
    std::function<void(std::string_view line)> eventLog;
};

class SandboxServer {
public:
    explicit SandboxServer(SandboxOptions options);
    // Stops the server.
    ~SandboxServer();
    SandboxServer(const SandboxServer&) = delete;
    SandboxServer& operator=(const SandboxServer&) = delete;

    // Prepares and loads the data directory, binds and starts accepting connections. Raises
    // ostradb::Error when the data directory cannot be used or the address cannot be bound.
    void Start();
    // The port the server listens on (the one picked when the options asked for port 0).
    std::uint16_t Port() const;
    // Closes the listener and every connection, and waits for their threads. Idempotent.
    void Stop();
    bool Running() const;

    // Replaces the fault switches (for the requests that follow).
    void SetFaults(FaultSwitches faults);
    void ClearFaults();

    // Connections open now, and accepted since Start (refused ones included).
    std::size_t OpenConnections() const;
    std::uint64_t AcceptedConnections() const;

    const SandboxOptions& Options() const;

    // The sample data set shipped with the sandbox: beside the installed program, in the
    // installation's data directory, or in the source tree. Empty when none is found.
    static std::filesystem::path FindSampleData();
    // Copies the sample data set into dir when dir is missing or empty; returns whether it
    // copied. Raises ostradb::Error when no sample set is found or the copy fails.
    static bool PrepareDataDir(const std::filesystem::path& dir,
                               const std::filesystem::path& sampleDir = {});

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace ostradb::sandbox
