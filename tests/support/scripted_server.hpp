#pragma once

// A real TCP server on 127.0.0.1 (ephemeral port), on its own thread, that plays a script:
// it records each request exactly as it arrived and answers with the bytes a test gives,
// split, delayed, dropped or withheld as the case needs.
//
//   ScriptedServer server;
//   TOstraDbProtocol client;
//   server.PointAt(client);
//   server.Expect("get_db_list").Reply(AnswerPacket(R"(result="ok")"));
//   ... call the command on client ...
//   EXPECT_EQ(server.Request(0).Attr("file_name"), "D:\\a.ws");
//   server.Verify();  // every step ran, nothing went wrong on the server's side
//
// Steps run in the order they were added, as soon as the previous one is done; a test may add
// steps while the client runs. Text given to Reply is UTF-8 and goes out in Windows-1251;
// Send passes bytes through untouched (payloads, or a packet prepared with WirePacket).
// A step that needs a connection when there is none accepts the next one (a reconnect).

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <pugixml.hpp>

#include "protocol/packet_reader.hpp"

namespace ostradb {
class TOstraDbProtocol;
}

namespace ostradb::test {

using namespace std::chrono_literals;

// One request as the server received it.
struct RecordedRequest {
    std::string bytes;    // exactly as received: the packet text, then the payload
    std::string text;     // the packet text decoded to UTF-8
    std::string payload;  // the bytes announced by "bin_data_size" (empty when not read)
    std::shared_ptr<pugi::xml_document> doc = std::make_shared<pugi::xml_document>();

    pugi::xml_node Root() const { return doc->document_element(); }
    // The "command" element and its attributes.
    pugi::xml_node Command() const { return Root().child("command"); }
    std::string Cmd() const { return Attr("cmd"); }
    std::string Attr(const char* name) const { return Command().attribute(name).value(); }
};

class ScriptedServer {
public:
    static constexpr const char* kHost = "127.0.0.1";

    ScriptedServer();
    // Stops the script wherever it is and reports server-side errors as test failures.
    ~ScriptedServer();
    ScriptedServer(const ScriptedServer&) = delete;
    ScriptedServer& operator=(const ScriptedServer&) = delete;

    std::uint16_t Port() const { return port_; }
    // Points the client at this server.
    void PointAt(TOstraDbProtocol& client) const;

    // ---- Script steps -------------------------------------------------------------------

    // Reads one request and the payload its "bin_data_size" announces. With cmd given, a
    // request for another command is reported as an error.
    ScriptedServer& Expect(std::string cmd = {});
    // Reads one request's packet text only, leaving any payload unread.
    ScriptedServer& ExpectHeadOnly(std::string cmd = {});
    // Sends WirePacket(xml) in one write.
    ScriptedServer& Reply(std::string_view xml);
    // Sends bytes as they are, in one write.
    ScriptedServer& Send(std::string bytes);
    // Sends bytes in writes of piece bytes with a pause between them.
    ScriptedServer& SendInPieces(std::string bytes, std::size_t piece,
                                 std::chrono::milliseconds pause = 2ms);
    ScriptedServer& Pause(std::chrono::milliseconds duration);
    // Closes the connection.
    ScriptedServer& Drop();
    // Reads and writes nothing until the client closes or shuts down the connection.
    ScriptedServer& StallUntilClosed();
    // Runs f on the server's thread (to signal a test, for instance).
    ScriptedServer& Do(std::function<void()> f);

    // ---- Observations -------------------------------------------------------------------

    // The i-th request (from 0) of the whole script, waiting up to 10 s for it to arrive.
    const RecordedRequest& Request(std::size_t i);
    std::size_t RequestCount() const;
    // Connections accepted so far.
    int Connections() const;
    // Waits until the script has run out; reports steps left over, bytes the client sent
    // beyond the expected requests, and server-side errors (a request for another command, a
    // client that closed too early) as test failures.
    void Verify(std::chrono::milliseconds timeout = 10s);

private:
    struct Step {
        std::function<void()> run;
        std::string what;
    };
    ScriptedServer& Add(std::string what, std::function<void()> run);
    void Loop();
    void ReportErrors();

    // Server-thread helpers; they throw when the server is stopped or the peer misbehaves.
    // Waits until fd reports events (or hang-up or error).
    void WaitFor(int fd, short events);
    void EnsureConnection();
    void CloseConnection();
    void ReadRequest(const std::string& cmd, bool readPayload);
    void ReadMore();
    bool Readable();
    void WriteAll(std::string_view bytes);
    bool Stopping() const;

    int listenFd_ = -1;
    std::uint16_t port_ = 0;
    int clientFd_ = -1;           // server thread only
    PacketReader reader_;         // server thread only
    bool unreadAllowed_ = false;  // ExpectHeadOnly left bytes unread on this connection

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Step> steps_;
    bool stop_ = false;
    std::deque<RecordedRequest> requests_;
    std::vector<std::string> errors_;
    std::size_t reportedErrors_ = 0;
    int connections_ = 0;
    std::thread thread_;
};

// A loopback port that was free a moment ago: nothing listens there.
std::uint16_t ClosedPort();

// ---- Packet builders (UTF-8 text for Reply) -------------------------------------------

// What Reply sends for xml: its Windows-1251 bytes, with CR LF added after a final
// "</packet>".
std::string WirePacket(std::string_view xml);
// <packet><answer ATTRS>BODY</answer></packet>
std::string AnswerPacket(std::string_view answerAttrs = {}, std::string_view answerBody = {});
// <packet><error code="CODE" text="TEXT"/></packet>
std::string ErrorPacket(int code, std::string_view text = {});
// <packet type="info" ATTRS></packet>
std::string InfoPacket(std::string_view attrs = {});
// <packet bin_data_size="SIZE"><answer ATTRS/></packet>: the payload is sent separately.
std::string PayloadPacket(std::int64_t size, std::string_view answerAttrs = {});

}  // namespace ostradb::test
