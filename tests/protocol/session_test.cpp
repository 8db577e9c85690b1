// Where the session connects: address prefixes of file names, host and port changes, connect
// failures, and the process-wide client.

#include "exchange_fixture.hpp"

namespace ostradb {
namespace {

using namespace test;

TEST(CheckFileName, CutsPrefixesInOrderAndSwitchesToTheNamedServer) {
    struct Case {
        const char* name;
        const char* result;
        const char* host;  // after the check; the client starts at "start", 1000
        int port;
    } cases[] = {
        {"WSTP://DIRECT:/HOST:srv1//PORT:5000/D:\\data\\a.ws", "D:\\data\\a.ws", "srv1", 5000},
        {"D:\\data\\a.ws", "D:\\data\\a.ws", "start", 1000},
        {"wstp://direct:/HOST:abc", "bc", "start", 1000},
        {"/HOST:Ёлка", "лка", "start", 1000},  // a character, not a byte
        {"/PORT:x/a.ws", "a.ws", "start", 1000},
        {"/port:7000/a.ws", "a.ws", "start", 1000},
        {"wstp:///host:Srv2/a.ws", "a.ws", "Srv2", 22344},
        {"/HOST:h//PORT:abc/f.ws", "f.ws", "h", 22344},
        // Each prefix is tried once, in its turn.
        {"DIRECT:WSTP://a.ws", "WSTP://a.ws", "start", 1000},
        {"/HOST:h/PORT:77/f.ws", "PORT:77/f.ws", "h", 22344},
        {"WSTP://WSTP://a.ws", "WSTP://a.ws", "start", 1000},
    };
    for (const Case& c : cases) {
        TOstraDbProtocol client;
        client.SetHostPort("start", 1000);
        const std::string result = client.CheckFileName(c.name);
        EXPECT_EQ(test::Row(result, client.GetHost(), client.GetPort()),
                  test::Row(c.result, c.host, c.port))
            << c.name;
    }
}

TEST_F(ExchangeTest, SameHostAndPortKeepTheConnectionOthersReconnect) {
    EXPECT_TRUE(client.GetNeedReconnect());  // a new client connects on its first request
    server.Expect().Reply(AnswerPacket());
    Run("a");
    EXPECT_TRUE(client.Connected());
    EXPECT_FALSE(client.GetNeedReconnect());

    server.PointAt(client);
    EXPECT_TRUE(client.Connected());
    EXPECT_FALSE(client.GetNeedReconnect());

    client.SetPort(client.GetPort() + 1);
    EXPECT_FALSE(client.Connected());
    EXPECT_TRUE(client.GetNeedReconnect());

    // Same place, but not connected: a reconnect is due as well.
    server.PointAt(client);
    EXPECT_TRUE(client.GetNeedReconnect());
    server.Expect().Reply(AnswerPacket());
    Run("b");
    EXPECT_EQ(server.Connections(), 2);
    server.Verify();
}

TEST_F(ExchangeTest, HostPortGuardRestoresTheServerOnEveryWayOut) {
    server.Expect().Reply(AnswerPacket());
    Run("a");
    try {
        detail::HostPortGuard guard(client);
        EXPECT_EQ(client.CheckFileName("WSTP:///HOST:elsewhere//PORT:1/a.ws"), "a.ws");
        EXPECT_EQ(client.GetHost(), "elsewhere");
        throw std::runtime_error("the command failed");
    } catch (const std::runtime_error&) {
    }
    EXPECT_EQ(test::Row(client.GetHost(), client.GetPort()), test::Row("127.0.0.1", server.Port()));
    server.Expect().Reply(AnswerPacket());
    Run("b");
    EXPECT_EQ(server.Connections(), 2);
    server.Verify();
}

TEST(Connect, FailureNamesTheHostInQuotes) {
    TOstraDbProtocol client;
    client.SetHostPort("127.0.0.1", ClosedPort());
    try {
        detail::Request(client, "get_x").Exchange();
        FAIL() << "connected to nothing";
    } catch (const EConnectError& e) {
        EXPECT_TRUE(std::string(e.what()).starts_with(
            "Невозможно подключится к серверу OstraDB на компьютере \"127.0.0.1\".\n"
            "Возможно, компьютер отключен или на нём не запущен OstraDB"))
            << e.what();
    }
    EXPECT_FALSE(client.GetBusy());
    EXPECT_FALSE(client.Connected());
}

TEST(OstraDbProtocol, ProcessWideClientIsCreatedOnce) {
    TOstraDbProtocol& first = OstraDbProtocol();
    EXPECT_TRUE(OstraDbProtocolInitialized());
    EXPECT_EQ(&OstraDbProtocol(), &first);
    EXPECT_FALSE(first.Connected());
}

}  // namespace
}  // namespace ostradb
