#pragma once

// Where the client connects and as whom, and the session that does it: the command line
// first, then the environment (OSTRADB_HOST, OSTRADB_PORT, OSTRADB_USER, OSTRADB_PASSWORD),
// then the stored connection settings. The password never comes from the command line: it
// comes from the environment or from a prompt without echo on a terminal.

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "ostradb/protocol/ostradb_protocol.hpp"

namespace ostradb::cli {

// What the command line says; empty or zero where it says nothing.
struct ConnectionFlags {
    std::string host;
    std::int32_t port = 0;
    std::string user;
};

struct Target {
    std::string host;
    std::int32_t port = TOstraDbProtocol::kDefaultPort;
    std::string user;                     // empty: asked for on a terminal
    std::optional<std::string> password;  // none: asked for on a terminal
};

// Raises UsageError for an OSTRADB_PORT that is not a port number.
Target ResolveTarget(const ConnectionFlags& flags);

// The size of the payload an answer packet announces ("bin_data_size" on its root), or -1.
std::int64_t AnnouncedPayloadSize(std::string_view packetText);

// One connected, logged-in client.
class Session {
public:
    // trace: every packet sent and received goes to standard error.
    Session(Target target, bool trace);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    // Connects, asks for what is missing, and logs in. A refused password is asked again on
    // a terminal; otherwise the server's refusal is raised.
    void Open();
    TOstraDbProtocol& Client() { return client_; }
    const Target& GetTarget() const { return target_; }

    // Told the payload size each answer announces, while set.
    void SetPayloadListener(std::function<void(std::int64_t)> listener) {
        payloadListener_ = std::move(listener);
    }

private:
    void Trace(bool request, std::string_view text);
    ELoginDialogResult AskAgain(TLoginDialogData& data);

    Target target_;
    bool trace_;
    TOstraDbProtocol client_;
    std::function<void(std::int64_t)> payloadListener_;
};

}  // namespace ostradb::cli
