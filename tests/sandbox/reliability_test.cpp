// Broken packets, caps, stalled clients and the connection limit: each affects only its own
// connection. And the fault switches, which break answers on purpose.

#include <mutex>
#include <thread>

#include "protocol/login_digest.hpp"
#include "sandbox/sandbox_fixture.hpp"

namespace ostradb::test {
namespace {

// Waits until the server has n connections open; false when it does not come to that.
bool OpenConnectionsBecome(const sandbox::SandboxServer& server, std::size_t n) {
    const auto deadline = std::chrono::steady_clock::now() + 10s;
    while (server.OpenConnections() != n) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(10ms);
    }
    return true;
}

class ReliabilityTest : public SandboxTest {
protected:
    // A raw connection logged in as admin.
    std::unique_ptr<RawClient> RawLoggedIn(int receiveBuffer = 0) {
        auto raw = std::make_unique<RawClient>(server->Port(), receiveBuffer);
        raw->Send("<packet><command cmd=\"generate_auth_value\"/></packet>\r\n");
        const std::string answer = raw->ReadPacket();
        const std::size_t at = answer.find("result=\"") + 8;
        const std::string value = answer.substr(at, answer.find('"', at) - at);
        raw->Send("<packet><command cmd=\"login\" user=\"admin\" pass=\"" +
                  detail::LoginDigest("admin", value) + "\"/></packet>\r\n");
        EXPECT_NE(raw->ReadPacket().find("rights=\"127\""), std::string::npos);
        return raw;
    }
};

TEST_F(ReliabilityTest, MalformedPacketsAreAnsweredAndTheConnectionStaysUsable) {
    auto raw = RawLoggedIn();
    const std::vector<std::pair<std::string, int>> cases = {
        {"not XML at all</packet>\r\n", ecXmlTagsMissing},
        {"<packet><command cmd=\"get_db_list\"></packet>\r\n", ecXmlTagsMissing},
        {"<packet><nothing/></packet>\r\n", ecXmlTagsMissing},
        {"<packet><command/></packet>\r\n", ecXmlTagsMissing},
        {"<packet><command cmd=\"get_db_struct\"/></packet>\r\n", ecXmlTagsMissing},
        {"<packet><command cmd=\"get_db_struct\" db_id=\"one\"/></packet>\r\n", ecWrongArguments},
        {"<packet><command cmd=\"get_log_level_files\" db_id=\"1\" "
         "include_path=\"maybe\"/></packet>\r\n",
         ecWrongArguments},
        {"<packet bin_data_size=\"many\"><command cmd=\"get_db_list\"/></packet>\r\n",
         ecWrongArguments},
        // The payload of a broken packet is skipped, not taken for the next packet.
        {"<packet bin_data_size=\"12\"><command cmd=\"x\"></packet>\r\n</packet>\r\nab",
         ecXmlTagsMissing},
        {"<packet><command cmd=\"no_such_command\"/></packet>\r\n", ecCommandNotFound},
    };
    for (const auto& [bytes, code] : cases) {
        raw->Send(bytes);
        EXPECT_NE(raw->ReadPacket().find("code=\"" + std::to_string(code) + "\""),
                  std::string::npos)
            << bytes;
        raw->Send("<packet><command cmd=\"get_db_struct\" db_id=\"2\"/></packet>\r\n");
        EXPECT_NE(raw->ReadPacket().find("DbStructData"), std::string::npos) << "after " << bytes;
    }
}

TEST_F(ReliabilityTest, OversizedPacketsAndPayloadsCloseOnlyTheirConnection) {
    StartServer([](sandbox::SandboxOptions& o) {
        o.maxPacketText = 4096;
        o.maxPayload = 1 << 20;
    });
    auto client = Connect();
    RawClient endless(server->Port());
    endless.Send("<packet><command cmd=\"get_db_list\" pad=\"" + std::string(8000, 'x'));
    EXPECT_TRUE(endless.ClosedByServer(5s));

    RawClient heavy(server->Port());
    heavy.Send(
        "<packet bin_data_size=\"2000000\"><command cmd=\"put_file_contents\" "
        "file_name=\"a.ws\"/></packet>\r\n");
    EXPECT_TRUE(heavy.ClosedByServer(5s));

    EXPECT_EQ(DbId(*client, kNorthSea), 2);
    std::istringstream big(std::string(2 << 20, 'x'));
    EXPECT_THROW(
        Call(*client, "put_file_contents", Attrs({{"file_name", "Eastfield/N1/x/big.ws"}}), &big),
        ESocketError);
}

TEST_F(ReliabilityTest, StalledClientsAreDroppedWithoutHoldingUpOthers) {
    auto client = Connect();
    const std::string path = DbPath(*client, kWestSiberia);
    const std::string big = path + "Северное/12/ГИС 2019/big.ws";
    // More than the sockets' buffers hold, so that a client that does not read stalls it.
    PutContents(*client, big, BinaryBytes(std::size_t{12} << 20, 9));
    // The server outlives this test body: its event sink owns what it records.
    struct Events {
        std::mutex mutex;
        std::vector<std::string> lines;
    };
    auto events = std::make_shared<Events>();
    StartServer([&](sandbox::SandboxOptions& o) {
        o.idleTimeout = 500ms;
        o.writeTimeout = 500ms;
        o.eventLog = [events](std::string_view line) {
            std::lock_guard lock(events->mutex);
            events->lines.emplace_back(line);
        };
    });
    auto dropped = [&](const std::string& why) {
        const auto deadline = std::chrono::steady_clock::now() + 10s;
        while (std::chrono::steady_clock::now() < deadline) {
            {
                std::lock_guard lock(events->mutex);
                for (const std::string& e : events->lines)
                    if (e.find("disconnected: " + why) != std::string::npos) return true;
            }
            std::this_thread::sleep_for(10ms);
        }
        return false;
    };
    client = Connect();

    RawClient halfSent(server->Port());
    halfSent.Send("<packet><command cmd=\"get_db_li");
    auto notReading = RawLoggedIn(64 << 10);
    notReading->Send("<packet><command cmd=\"get_file_contents\" file_name=\"" + big +
                     "\"/></packet>\r\n");
    ASSERT_TRUE(OpenConnectionsBecome(*server, 3));
    // Served while the other two hang.
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(DbId(*client, kNorthSea), 2);

    EXPECT_TRUE(halfSent.ClosedByServer(10s));
    EXPECT_TRUE(dropped("the client did not send anything"));
    EXPECT_TRUE(dropped("the client did not read the answer"));
}

// Connections that never send fill the server up to its limit; beyond it connections are
// closed at once, and the client that was there first is served throughout.
TEST_F(ReliabilityTest, ConnectionsBeyondTheLimitAreRefused) {
    StartServer([](sandbox::SandboxOptions& o) { o.maxConnections = 4; });
    auto first = Connect();
    std::vector<std::unique_ptr<RawClient>> idle;
    for (int i = 0; i < 3; ++i)
        idle.push_back(std::make_unique<RawClient>(server->Port()));
    ASSERT_TRUE(OpenConnectionsBecome(*server, 4));
    for (int i = 0; i < 3; ++i) {
        EXPECT_TRUE(RawClient(server->Port()).ClosedByServer(5s));
        EXPECT_EQ(DbId(*first, kNorthSea), 2);
    }
    EXPECT_THROW(Connect(), ESocketError);
    idle.pop_back();
    ASSERT_TRUE(OpenConnectionsBecome(*server, 3));
    EXPECT_EQ(DbId(*Connect(), kNorthSea), 2);
    EXPECT_EQ(DbId(*first, kNorthSea), 2);
}

// A thousand connections opened and closed at once, half of them in the middle of a packet,
// leave the server serving and holding only its client's connection.
TEST_F(ReliabilityTest, AThousandShortConnectionsLeaveTheServerServing) {
    auto client = Connect();
    const std::uint64_t before = server->AcceptedConnections();
    for (int i = 0; i < 1000; ++i) {
        RawClient raw(server->Port());
        if (i % 2) raw.Send("<packet><command cmd=\"get_db_list\"");
    }
    EXPECT_EQ(DbId(*client, kNorthSea), 2);
    const auto deadline = std::chrono::steady_clock::now() + 10s;
    while (server->AcceptedConnections() < before + 1000 &&
           std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(10ms);
    EXPECT_EQ(server->AcceptedConnections(), before + 1000);
    EXPECT_TRUE(OpenConnectionsBecome(*server, 1));
}

TEST_F(ReliabilityTest, StopEndsEveryConnection) {
    auto client = Connect();
    RawClient halfSent(server->Port());
    halfSent.Send("<packet>");
    ASSERT_TRUE(OpenConnectionsBecome(*server, 2));
    server->Stop();
    EXPECT_EQ(server->OpenConnections(), 0u);
    EXPECT_TRUE(halfSent.ClosedByServer(1s));
    EXPECT_THROW(Call(*client, "get_db_list"), ESocketError);
}

// A switch breaks only the command it names, as many times as it says; the client's own
// handling of each fault is the exchange's tests' subject.
TEST_F(ReliabilityTest, FaultSwitchesBreakTheNamedCommandsAnswers) {
    auto client = Connect();
    const std::uint64_t before = server->AcceptedConnections();
    sandbox::FaultSwitches faults;
    faults.command = "get_db_list";
    faults.times = 1;
    faults.malformedAnswer = true;
    server->SetFaults(faults);
    EXPECT_THROW(Call(*client, "get_db_list"), EXmlError);
    EXPECT_EQ(DbId(*client, kNorthSea), 2);
    faults.malformedAnswer = false;
    faults.dropAfterAnswerBytes = 100;  // recovered by reconnecting and logging in again
    server->SetFaults(faults);
    EXPECT_EQ(DbId(*client, kNorthSea), 2);
    EXPECT_EQ(server->AcceptedConnections(), before + 1);
    faults.dropAfterAnswerBytes = -1;
    faults.times = -1;
    faults.answerDelay = 3s;
    server->SetFaults(faults);
    client->SetReadTimeout(200ms);
    EXPECT_THROW(Call(*client, "get_db_list"), ETimeoutError);
    EXPECT_NO_THROW(Call(*client, "get_db_struct", Attrs({{"db_id", "2"}})));
}

}  // namespace
}  // namespace ostradb::test
