#pragma once

// Which server the client uses: the local machine or a named server, with a port. Kept in the
// user's settings store (an INI file under the user's configuration directory) under
// CurRegistryBranch, or read from "ConnSettings.xml" beside the executable when the store has
// none.

#include <cstdint>
#include <functional>
#include <string>

#include "ostradb/export.hpp"
#include "ostradb/serial/persistent.hpp"

namespace ostradb {

class TOstraDbProtocol;

class OSTRADB_API TConnectionSettings : public Persistent {
public:
    TConnectionSettings();
    ~TConnectionSettings() override;

    // Declared serialisable properties, in this order.
    bool Local = true;
    std::string Server = "localhost";
    std::int32_t Port = 22344;
    std::string CurRegistryBranch;
    const PropertyList& Properties() const override;

    // "localhost" when Local is set, else Server.
    std::string GetServer() const;
    // Reads the settings store, or else "ConnSettings.xml" beside the executable; then repairs
    // an empty server and a zero port and runs Check.
    void Load();
    // Writes "Server" (GetServer()), "Local" and "Port" to the settings store.
    void Save() const;
    // A port outside 1..65535 becomes 22344; a blank server when not local becomes "localhost".
    void Check();
    void SetConfigToSocket(TOstraDbProtocol& client) const;
    // Local, or the server is "localhost" (any case) or starts with "127.".
    bool IsReallyLocal() const;
    // Asks the user to confirm or edit the settings through the callback the application set
    // with SetAskUserHandler; false when there is none or the user cancelled.
    bool AskUser();

    using AskUserHandler = std::function<bool(TConnectionSettings&)>;
    static void SetAskUserHandler(AskUserHandler handler);
};

// The process-wide settings, created on first use.
OSTRADB_API TConnectionSettings& ConnSettings();

}  // namespace ostradb
