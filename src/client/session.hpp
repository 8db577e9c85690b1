#pragma once

// What a Client owns, on the heap so that moving the client keeps every address that the
// session's callbacks hold: the protocol object, where it is connected, and the database
// descriptions the client has read.

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "ostradb/client/client.hpp"
#include "ostradb/model/databases.hpp"
#include "ostradb/protocol/connection_settings.hpp"
#include "ostradb/protocol/ostradb_protocol.hpp"
#include "ostradb/protocol/socket_errors.hpp"

namespace ostradb::detail {

struct ClientSession {
    ClientSession();

    TOstraDbProtocol protocol;
    // Resolved: host, port and timeout are set.
    ConnectOptions options;
    std::string user;  // who logged in
    // This server as the file names of its databases are built for (never "local": a name the
    // server takes whatever machine the client runs on).
    TConnectionSettings place;
    TraceCallback trace;
    // Told the payload size each answer announces, while a download wants to know.
    std::function<void(std::int64_t)> payloadSize;
    // The descriptions, with structures, of the databases the client has listed or looked up.
    std::map<std::int32_t, std::unique_ptr<TDatabaseInfo>> databases;

    // The message of a time-out of this session: the server's address and the time-out.
    std::string TimeoutMessage() const;
    // The description of db, from what the client read before or else from the server.
    const TDatabaseInfo& Info(const Database& db);
    // Takes the description at index i of list (with its structure) for later calls.
    const TDatabaseInfo& Remember(TDatabasesList& list, const TDatabaseInfo& info);
};

// Runs f on the session; a time-out is raised again with a message that names the server and
// the time-out.
template <class F>
decltype(auto) Run(ClientSession& s, F&& f) {
    try {
        return f();
    } catch (const ETimeoutError&) {
        throw ETimeoutError(s.TimeoutMessage());
    }
}

// ---- conversions shared by the sources of the client

// The size of the payload an answer packet announces ("bin_data_size" on its root), or -1.
std::int64_t AnnouncedPayloadSize(std::string_view packetText);
// The description of a database as the result value shows it.
Database ToDatabase(const TDatabaseInfo& info, bool withLevels);
// The strings of list, moved out of it.
std::vector<std::string> TakeLines(TStringList& list);
// An integer written in full, or nothing.
std::optional<std::int32_t> AsId(std::string_view text);
// "\"text\"".
std::string Quoted(std::string_view text);
// "\"a\", \"b\"", or empty.
std::string QuotedList(const std::vector<std::string>& names);

}  // namespace ostradb::detail
