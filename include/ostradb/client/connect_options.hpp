#pragma once

// Where the high-level client connects and as whom. What the caller's options leave open is
// taken, field by field, from the environment (OSTRADB_HOST, OSTRADB_PORT, OSTRADB_USER,
// OSTRADB_PASSWORD, OSTRADB_TIMEOUT), then from the named section of the servers file, then
// from the stored connection settings (host and port). The password comes from the options,
// the environment, the password file, and last from the prompt, if there is one.
//
// Both files live in the user's configuration folder: $OSTRADB_CONFIG_DIR, else
// $XDG_CONFIG_HOME/ostradb, else ~/.config/ostradb.
//   servers.ini  one section per connection name, with the keys host, port and user:
//                  [production]
//                  host = db1.example.org
//                  user = anna
//   passwords    one line host:port:user:password per server; a field that is "*" matches
//                anything, "\:" and "\\" stand for ":" and "\" and "#" starts a comment. The
//                first line that matches counts. $OSTRADB_PASSFILE names another file. A file
//                that group or others may read or change is ignored with a warning.

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>

#include "ostradb/export.hpp"

namespace ostradb {

// What a prompt asks of the user.
struct Prompt {
    std::string text{};     // "Password for anna@db1: "
    bool secret = false;    // a password: not to be echoed
    std::string refusal{};  // set when asking again: the server's refusal of the last password
};
// Returns what the user typed, or nullopt when the user gave up.
using PromptCallback = std::function<std::optional<std::string>(const Prompt&)>;
// Receives a warning about the connection's settings (an unsafe password file).
using WarningCallback = std::function<void(const std::string&)>;

// Seconds without a sign of life from the server after which a request is given up: long
// enough for the slowest request that reports nothing while it runs (statistics or a search
// over a large database), short enough that a script facing a stalled server ends. Each
// packet the server sends counts as a sign of life, so a server job that reports its progress
// runs as long as it needs.
inline constexpr double kDefaultTimeout = 300;

struct ConnectOptions {
    std::string host{};     // empty: resolved
    std::int32_t port = 0;  // 0: resolved
    std::string user{};     // empty: resolved, else asked through the prompt
    std::optional<std::string> password{};
    // Seconds that a connect, and each read and write, may wait; 0 waits without limit (a
    // connect then gives up after a minute). None: $OSTRADB_TIMEOUT, else kDefaultTimeout.
    std::optional<double> timeout{};
    // A section of the servers file.
    std::optional<std::string> service{};
    // Asks for the user name or password that nothing else supplies, and for the password
    // again when the server refuses one that was typed. None: what is missing is an error.
    PromptCallback prompt{};
    // None: warnings go to standard error.
    WarningCallback on_warning{};
};

// The options with host, port and timeout filled in, and the user and password wherever the
// environment or the servers file gives them (the password file is read when connecting, once
// the user is known). Resolving resolved options changes nothing. Raises EArgumentError for a
// value that cannot be used (OSTRADB_PORT=http) or an unknown connection name.
OSTRADB_API ConnectOptions resolve_connect_options(ConnectOptions options);

// The password the password file holds for host, port and user; nullopt when it has none,
// does not exist, or is ignored (warn is told why).
OSTRADB_API std::optional<std::string> password_from_file(const std::string& host,
                                                          std::int32_t port,
                                                          const std::string& user,
                                                          const WarningCallback& warn = {});

OSTRADB_API std::filesystem::path password_file_path();
OSTRADB_API std::filesystem::path servers_file_path();

}  // namespace ostradb
