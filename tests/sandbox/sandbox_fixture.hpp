#pragma once

// End-to-end tests against a real sandbox server in the test's process: each test gets a
// fresh copy of the sample data set in a temporary directory and a server on a free port, and
// talks to it with the library's own client over TCP.

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "ostradb/protocol/ostradb_protocol.hpp"
#include "ostradb_sandbox/sandbox_server.hpp"
#include "protocol/command.hpp"
#include "support/files.hpp"

namespace ostradb::test {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

inline constexpr const char* kWestSiberia = "Западная Сибирь";
inline constexpr const char* kNorthSea = "North Sea Demo";

// Every file below dir (relative name → size and content hash), to prove nothing changed.
std::map<std::string, std::string> Snapshot(const fs::path& dir);
// What a test adds to a request's command element.
using Fill = std::function<void(pugi::xml_node)>;
// Sets these attributes on the command.
Fill Attrs(std::vector<std::pair<std::string, std::string>> attrs);
// Adds a list element (FileNames, Masks, ...) with one Item per value.
Fill ItemList(std::string element, std::vector<std::string> values);

// A plain socket for sending what the library never would (broken packets, stalls).
class RawClient {
public:
    // receiveBuffer: when set, the socket's receive buffer is this small (no autotuning), so
    // that a server soon stalls on a client that does not read.
    explicit RawClient(std::uint16_t port, int receiveBuffer = 0);
    ~RawClient();
    RawClient(const RawClient&) = delete;
    RawClient& operator=(const RawClient&) = delete;

    // UTF-8 text, sent in Windows-1251 as clients do.
    void Send(const std::string& text);
    // Reads up to and including the next "</packet>\r\n"; the text in UTF-8.
    std::string ReadPacket(std::chrono::milliseconds timeout = 5s);
    // Whether the server closed the connection within timeout (pending data is read and
    // dropped).
    bool ClosedByServer(std::chrono::milliseconds timeout);

private:
    int fd_ = -1;
    std::string rest_;
};

class SandboxTest : public ::testing::Test {
protected:
    SandboxTest() { StartServer(); }

    // Starts the server (again) with options; called by the constructor with the defaults.
    void StartServer(const std::function<void(sandbox::SandboxOptions&)>& adjust = {});

    // A client logged in as user.
    std::unique_ptr<TOstraDbProtocol> Connect(const std::string& user = "admin",
                                              const std::string& password = "admin");

    // One request; fill sets its attributes and children.
    detail::Answer Call(TOstraDbProtocol& client, const std::string& cmd, const Fill& fill = {},
                        std::istream* send = nullptr, std::ostream* receive = nullptr);
    // The server's error code of a request that must fail; -1 when it succeeds.
    int ErrorCode(TOstraDbProtocol& client, const std::string& cmd, const Fill& fill = {},
                  std::istream* send = nullptr);

    // The database's path as get_db_list tells it ("…/", with the delimiter).
    std::string DbPath(TOstraDbProtocol& client, const std::string& name) {
        return DbAttr(client, name, "path");
    }
    std::int32_t DbId(TOstraDbProtocol& client, const std::string& name) {
        return std::stoi(DbAttr(client, name, "id"));
    }
    std::string DbAttr(TOstraDbProtocol& client, const std::string& name, const char* attr);

    std::string GetContents(TOstraDbProtocol& client, const std::string& name);
    void PutContents(TOstraDbProtocol& client, const std::string& name, const std::string& bytes);

    const TempDir dir{"ostradb-sandbox-test"};
    const fs::path dataDir = dir / "data";  // the server's data
    std::unique_ptr<sandbox::SandboxServer> server;
};

}  // namespace ostradb::test
