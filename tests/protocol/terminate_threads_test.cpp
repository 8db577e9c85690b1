// Terminate from another thread while a request is blocked. These tests run under
// ThreadSanitizer (label "threads").

#include <future>
#include <thread>

#include "exchange_fixture.hpp"
#include "ostradb/serial/xml.hpp"

namespace ostradb {
namespace {

using namespace std::chrono_literals;
using namespace test;

// Runs a request on its own thread.
std::future<void> StartRequest(TOstraDbProtocol& client, std::istream* send) {
    return std::async(std::launch::async,
                      [&client, send] { detail::Request(client, "put_file").Exchange(send); });
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

TEST_F(ExchangeTest, TerminateAbortsARequestBlockedInRead) {
    server.Expect("put_file").StallUntilClosed();
    server.Expect("get_x").Reply(AnswerPacket(R"(after="yes")"));
    std::future<void> request = StartRequest(client, nullptr);
    server.Request(0);  // the request is out; the client waits for the answer
    std::this_thread::sleep_for(50ms);
    EXPECT_FALSE(Done(request));
    client.Terminate();
    ExpectTerminated(request);
    EXPECT_FALSE(client.GetBusy());
    EXPECT_TRUE(client.GetTerminated());
    // The session carries on over a new connection.
    EXPECT_EQ(xml::Attr(Run("get_x").answer, "after"), "yes");
    EXPECT_FALSE(client.GetTerminated());
    EXPECT_EQ(server.Connections(), 2);
    server.Verify();
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
