// Calls from another thread while a request runs: Terminate aborts it, a second request is
// refused. These tests run under ThreadSanitizer (label "threads").

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <future>
#include <sstream>
#include <thread>
#include <vector>

#include "exchange_fixture.hpp"
#include "ostradb/model/databases.hpp"
#include "ostradb/serial/xml.hpp"

namespace ostradb {
namespace {

using namespace std::chrono_literals;
using namespace test;

// Runs a request on its own thread.
std::future<void> StartRequest(TOstraDbProtocol& client, std::istream* send,
                               std::ostream* receive = nullptr) {
    return std::async(std::launch::async, [&client, send, receive] {
        detail::Request(client, "put_file").Exchange(send, receive);
    });
}

bool Done(const std::future<void>& request) {
    return request.wait_for(0s) == std::future_status::ready;
}

void ExpectTerminated(std::future<void>& request) {
    try {
        request.get();
        ADD_FAILURE() << "the request was not aborted";
    } catch (const TTerminatedExeption& e) {
        EXPECT_EQ(e.Code, ecTerminated);
        EXPECT_STREQ(e.what(), "Connection was terminated");
    } catch (const std::exception& e) {
        ADD_FAILURE() << "raised " << e.what();
    }
}

// A port on 127.0.0.1 whose listener never accepts and whose queue is full, so that the
// server drops connection requests and a connect waits.
class FullListener {
public:
    FullListener() {
        sockaddr_in addr{};
        addr.sin_family = AF_INET;
        addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof addr;
        fds_.push_back(::socket(AF_INET, SOCK_STREAM, 0));
        if (::bind(fds_[0], reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0 ||
            ::listen(fds_[0], 0) != 0 ||
            ::getsockname(fds_[0], reinterpret_cast<sockaddr*>(&addr), &length) != 0)
            throw std::runtime_error("listen failed");
        port_ = ntohs(addr.sin_port);
        for (int i = 0; i < 3; ++i) {
            fds_.push_back(::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK, 0));
            ::connect(fds_.back(), reinterpret_cast<sockaddr*>(&addr), sizeof addr);
        }
    }
    ~FullListener() {
        for (int fd : fds_)
            ::close(fd);
    }
    std::uint16_t Port() const { return port_; }

private:
    std::vector<int> fds_;
    std::uint16_t port_ = 0;
};

// Terminate ends a request wherever it waits; the session then carries on over a new
// connection.
TEST_F(ExchangeTest, TerminateAbortsARequestWhereverItWaits) {
    FullListener full;
    struct Case {
        const char* name;
        std::function<void(test::ScriptedServer&, TOstraDbProtocol&)> setUp;
        bool sent;             // the request reaches the server
        std::string streamed;  // what reached the caller's stream
    } cases[] = {
        {"connecting",
         [&](test::ScriptedServer&, TOstraDbProtocol& c) {
             c.SetHostPort("127.0.0.1", full.Port());
         },
         false, ""},
        {"reading the answer",
         [](test::ScriptedServer& s, TOstraDbProtocol&) {
             s.Expect("put_file").StallUntilClosed();
         },
         true, ""},
        {"reading the data",
         [](test::ScriptedServer& s, TOstraDbProtocol&) {
             s.Expect("put_file")
                 .Send(test::WirePacket(test::PayloadPacket(1 << 30)) + "abc")
                 .StallUntilClosed();
         },
         true, "abc"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        test::ScriptedServer srv;
        TOstraDbProtocol cl;
        srv.PointAt(cl);
        cl.SetConnectTimeout(30000);
        c.setUp(srv, cl);
        std::ostringstream out;
        std::future<void> request = StartRequest(cl, nullptr, &out);
        if (c.sent) srv.Request(0);
        std::this_thread::sleep_for(50ms);
        EXPECT_FALSE(Done(request));
        // Until the request is seen waiting: a Terminate before it started does nothing.
        while (!cl.GetTerminated() && !Done(request)) {
            cl.Terminate();
            std::this_thread::sleep_for(10ms);
        }
        ExpectTerminated(request);
        EXPECT_EQ(out.str(), c.streamed);
        EXPECT_FALSE(cl.GetBusy());
        EXPECT_TRUE(cl.GetTerminated());

        srv.PointAt(cl);
        srv.Expect("get_x").Reply(AnswerPacket(R"(after="yes")"));
        EXPECT_EQ(xml::Attr(detail::Request(cl, "get_x").Exchange().answer, "after"), "yes");
        EXPECT_FALSE(cl.GetTerminated());
        srv.Verify();
    }
}

TEST_F(ExchangeTest, TerminateAbortsARequestBlockedInWrite) {
    // The server reads the packet text and nothing of the 256 MiB that follow, so the client
    // blocks once the socket buffers are full.
    server.ExpectHeadOnly("put_file").StallUntilClosed();
    GeneratedBuf big(std::int64_t{256} << 20);
    std::istream data(&big);
    std::future<void> request = StartRequest(client, &data);
    server.Request(0);
    std::int64_t last = -1;
    while (big.Position() != last) {
        last = big.Position();
        std::this_thread::sleep_for(100ms);
    }
    EXPECT_LT(last, std::int64_t{256} << 20);
    EXPECT_FALSE(Done(request));
    client.Terminate();
    ExpectTerminated(request);
    EXPECT_FALSE(client.GetBusy());
    // The upload was not acknowledged; the session goes on over a new connection.
    server.Expect("get_x").Reply(AnswerPacket(R"(after="yes")"));
    EXPECT_EQ(xml::Attr(Run("get_x").answer, "after"), "yes");
    server.Verify();
}

TEST_F(ExchangeTest, WriteTimeoutEndsAWriteTheServerDoesNotRead) {
    server.ExpectHeadOnly("put_file").StallUntilClosed();
    client.SetWriteTimeout(200ms);
    GeneratedBuf big(std::int64_t{256} << 20);
    std::istream data(&big);
    EXPECT_THROW(Run("put_file", &data), ETimeoutError);
    EXPECT_FALSE(client.Connected());
    EXPECT_FALSE(client.GetBusy());
    server.Verify();
}

TEST_F(ExchangeTest, ProgressCommandFromAnotherThreadIsRefusedAndChangesNothing) {
    std::promise<void> reported, refused;
    server.Expect("add_db")
        .Reply(test::InfoPacket(R"(step="1")"))
        .Do([go = refused.get_future().share()] { go.wait_for(10s); })
        .Reply(test::InfoPacket(R"(step="2")"))
        .Reply(AnswerPacket({}, R"(<result db_id="5"/>)"));
    std::string seen;
    std::future<std::int32_t> running = std::async(std::launch::async, [&] {
        return client.AddDatabase(TDatabaseInfo(), [&](TOstraDbProtocol&, pugi::xml_node xml) {
            seen += xml.attribute("step").value();
            if (seen == "1") reported.set_value();
        });
    });
    ASSERT_EQ(reported.get_future().wait_for(10s), std::future_status::ready);
    try {
        client.UpdateDatabase(TDatabaseInfo(), [](TOstraDbProtocol&, pugi::xml_node) {});
        ADD_FAILURE() << "a second request ran";
    } catch (const TOstraClientSocketException& e) {
        EXPECT_EQ(e.Code, ecProtocolBusy);
    }
    refused.set_value();
    // The running request kept its handler to the end.
    EXPECT_EQ(running.get(), 5);
    EXPECT_EQ(seen, "12");
    server.Verify();
}

TEST_F(ExchangeTest, TerminateWithoutAConnectionDoesNothing) {
    client.Terminate();
    EXPECT_FALSE(client.GetTerminated());
    server.Expect().Reply(AnswerPacket());
    Run("get_x");
    EXPECT_EQ(server.Connections(), 1);
    server.Verify();
}

}  // namespace
}  // namespace ostradb
