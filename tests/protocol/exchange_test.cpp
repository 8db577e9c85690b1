// The exchange over real TCP against the scripted server: framing, info packets, payloads both
// ways, error answers, the re-login on code 27, the busy guard, reconnects, and bad answers.

#include <cstdint>
#include <functional>
#include <sstream>
#include <vector>

#include "exchange_fixture.hpp"
#include "ostradb/serial/xml.hpp"
#include "ostradb/util/numbers.hpp"

namespace ostradb {
namespace {

using namespace std::chrono_literals;
using namespace test;

TEST_F(ExchangeTest, RequestGoesOutAsWindows1251TextWithCrLf) {
    server.Expect().Reply(AnswerPacket());
    SetDecimalSeparator(',');
    detail::Request req(client, "get_level");
    EXPECT_EQ(DecimalSeparator(), '.');
    req.Set("name", "Пласт №2");
    TOstraDbProtocol::SetBoolXmlAttr(req.command, "deep", true);
    TOstraDbProtocol::SetBoolXmlAttr(req.command, "flat", false);
    req.Exchange();
    EXPECT_EQ(server.Request(0).bytes,
              "<?xml version=\"1.0\" encoding=\"Windows-1251\"?>\r\n"
              "<packet version=\"1\">\r\n"
              "  <command cmd=\"get_level\" name=\"\xCF\xEB\xE0\xF1\xF2 \xB9\x32\" deep=\"true\" "
              "flat=\"false\" />\r\n"
              "</packet>\r\n");
    server.Verify();
}

// Text Windows-1251 cannot hold, or data to send whose size is unknown (a stream that cannot
// seek), is refused before anything is sent.
TEST_F(ExchangeTest, UnsendableRequestsAreRefusedBeforeAnythingIsSent) {
    detail::Request req(client, "get_level");
    req.Set("name", "snow \xE2\x98\x83");
    EXPECT_THROW(req.Exchange(), EEncodingError);
    struct : std::streambuf {
    } unseekable;
    std::istream data(&unseekable);
    try {
        Run("put_file", &data);
        ADD_FAILURE() << "sent";
    } catch (const Error& e) {
        EXPECT_STREQ(e.what(), "The data to send cannot tell its size");
    }
    EXPECT_FALSE(client.GetBusy());
    EXPECT_EQ(server.Connections(), 0);
}

// A command from the handler is refused as busy; a failing handler is ignored.
TEST_F(ExchangeTest, InfoPacketsGoToOnInfoAndAreFollowedWithoutResending) {
    std::string seen;
    client.OnInfo = [&](TOstraDbProtocol& sender, pugi::xml_node xml) {
        EXPECT_EQ(&sender, &client);
        seen += xml::Attr(xml, "step") + ":";
        try {
            detail::Request(sender, "nested").Exchange();
        } catch (const TOstraClientSocketException& e) {
            seen += std::to_string(e.Code) + " " + e.what() + ";";
        }
        throw std::runtime_error("the handler failed");
    };
    // Two info packets and the answer in one segment, then a third info on its own; a read
    // beyond what was sent would hang and hit the time-out.
    client.SetReadTimeout(3s);
    server.Expect()
        .Send(WirePacket(InfoPacket(R"(step="1")")) + WirePacket(InfoPacket(R"(step="2")")))
        .Pause(5ms)
        .Send(WirePacket(InfoPacket(R"(step="3")")) + WirePacket(AnswerPacket(R"(done="yes")")));
    EXPECT_EQ(xml::Attr(Run("reload").answer, "done"), "yes");
    EXPECT_EQ(seen, "1:40 Protocol is busy;2:40 Protocol is busy;3:40 Protocol is busy;");
    EXPECT_EQ(Row(server.RequestCount(), client.GetBusy()), "1|0|");
    server.Verify();
}

TEST_F(ExchangeTest, AnswerPayloadIsStreamedWithTheBytesThatCameWithTheXml) {
    // The packet's end mark inside the payload is payload.
    const std::string payload = "0123</packet>\r\nFGHIJ";
    struct Case {
        std::size_t withXml;  // bytes sent in the packet's own segment
        std::string sent;     // every byte after the packet
    } cases[] = {
        {0, payload},
        {5, payload},
        {20, payload},
        // More bytes with the packet than announced: they are all written.
        {23, payload + "xyz"},
    };
    for (const Case& c : cases) {
        server.Expect()
            .Send(WirePacket(PayloadPacket(20)) + c.sent.substr(0, c.withXml))
            .Pause(5ms)
            .Send(c.sent.substr(c.withXml));
        std::ostringstream out;
        Run("get_file_contents", nullptr, &out);
        EXPECT_EQ(out.str(), c.sent) << "with the XML: " << c.withXml;
    }
    // Without a stream the payload is read and dropped; the next answer is read cleanly.
    server.Expect().Send(WirePacket(PayloadPacket(20)) + "01234").Send(payload.substr(5));
    server.Expect().Reply(AnswerPacket(R"(next="1")"));
    Run("get_file_contents");
    EXPECT_EQ(xml::Attr(Run("ping").answer, "next"), "1");
    server.Verify();
}

TEST_F(ExchangeTest, RequestPayloadIsSentFromItsStart) {
    std::istringstream data(std::string("payload \0 bytes", 15));
    data.seekg(7);
    server.Expect("put_file").Reply(AnswerPacket());
    Run("put_file", &data);
    const auto& request = server.Request(0);
    EXPECT_EQ(request.Root().attribute("bin_data_size").as_llong(), 15);
    EXPECT_EQ(request.payload, std::string("payload \0 bytes", 15));
    EXPECT_TRUE(request.bytes.ends_with("</packet>\r\n" + request.payload));
    server.Verify();
}

TEST_F(ExchangeTest, ErrorAnswersRaiseTheLowByteAndTheServersText) {
    struct Case {
        std::string packet;
        int code;
        std::string text;
    } cases[] = {
        {ErrorPacket(0, "Успешно?"), 0, "Успешно?"},
        {ErrorPacket(5, "Файл не найден"), 5, "Файл не найден"},
        {ErrorPacket(256 + 33, "bad name"), 33, "bad name"},
    };
    for (const Case& c : cases) {
        server.Expect().Reply(c.packet);
        test::ExpectServerError([&] { Run("get_x"); }, c.code, c.text);
        EXPECT_FALSE(client.GetBusy());
    }
    // An "error" element without a code is success.
    server.Expect().Reply(R"(<packet><error text="just a note"/><answer ok="1"/></packet>)");
    EXPECT_EQ(xml::Attr(Run("get_x").answer, "ok"), "1");
    server.Verify();
}

// The server demands a login (27, or 283 whose low byte is 27); the exchange logs in with the
// dialog and sends the same request again, payload included. An info packet during the
// re-login still refuses a command from OnInfo.
TEST_F(ExchangeTest, LoginDemandLogsInAndResendsTheRequest) {
    for (int code : {27, 283}) {
        test::ScriptedServer srv;
        TOstraDbProtocol c;
        srv.PointAt(c);
        int dialogs = 0;
        c.SetLoginDialog([&](TOstraDbProtocol&, TLoginDialogData& data) {
            ++dialogs;
            data.User = "Иван";
            data.Password = "secret";
            return ldrOk;
        });
        int busyCode = -1;
        c.OnInfo = [&](TOstraDbProtocol& sender, pugi::xml_node) {
            try {
                detail::Request(sender, "nested").Exchange();
            } catch (const TOstraClientSocketException& e) {
                busyCode = e.Code;
            }
        };
        srv.Expect("put_file").Reply(ErrorPacket(code, "session expired"));
        srv.Expect("generate_auth_value")
            .Reply(InfoPacket())
            .Reply(AnswerPacket(R"(result="abc")"));
        srv.Expect("login").Reply(AnswerPacket(R"(rights="3")"));
        srv.Expect("put_file").Reply(AnswerPacket(R"(stored="yes")"));

        std::istringstream data("file body");
        detail::Request req(c, "put_file");
        EXPECT_EQ(xml::Attr(req.Exchange(&data).answer, "stored"), "yes") << code;
        EXPECT_EQ(test::Row(dialogs, busyCode, test::AttrText(srv.Request(2)), c.GetLoginCanceled(),
                            c.GetBusy()),
                  "1|40|cmd=login user=Иван pass=9085edf5ba6aadafb9320b0a9c9b7c22|0|0|");
        EXPECT_EQ(srv.Request(3).bytes, srv.Request(0).bytes);
        EXPECT_EQ(srv.Request(3).payload, "file body");
        EXPECT_EQ(c.GetUserRights(), (TUserRights{urView, urChangeData}));
        srv.Verify();
    }
}

TEST_F(ExchangeTest, CancelledLoginEndsTheRequestQuietly) {
    client.SetLoginDialog([](TOstraDbProtocol&, TLoginDialogData&) { return ldrCancel; });
    server.Expect().Reply(ErrorPacket(27, "log in"));
    const detail::Answer ans = Run("get_x");
    EXPECT_TRUE(client.GetLoginCanceled());
    EXPECT_TRUE(client.GetUserRights().Empty());
    EXPECT_EQ(xml::Attr(ans.Root().child("error"), "code"), "27");
    EXPECT_EQ(server.RequestCount(), 1u);
    EXPECT_FALSE(client.GetBusy());
    // The next request starts with the flag cleared.
    server.Expect().Reply(AnswerPacket());
    Run("get_x");
    EXPECT_FALSE(client.GetLoginCanceled());
    server.Verify();
}

// A connection broken before or inside the answer's text is reopened once and the same
// request sent again, its new answer read from scratch. A second break is raised (below).
TEST_F(ExchangeTest, BrokenConnectionIsReopenedOnceAndTheRequestResent) {
    for (std::size_t cut : {std::size_t{0}, std::size_t{12}}) {
        test::ScriptedServer srv;
        TOstraDbProtocol cl;
        srv.PointAt(cl);
        srv.Expect().Send(WirePacket(AnswerPacket("r=\"1\"")).substr(0, cut)).Drop();
        srv.Expect().Reply(AnswerPacket("r=\"2\""));
        EXPECT_EQ(xml::Attr(detail::Request(cl, "get_x").Exchange().answer, "r"), "2") << cut;
        EXPECT_EQ(
            Row(srv.Request(1).bytes == srv.Request(0).bytes, srv.Connections(), cl.GetBusy()),
            "1|2|0|")
            << cut;
        srv.Verify();
    }
}

// After a progress report the request is never sent again (a server job must not run twice),
// so a lost connection ends it, and the next request connects anew.
TEST_F(ExchangeTest, ConnectionLostAfterProgressEndsTheRequest) {
    client.SetReadTimeout(5s);  // a wait for an answer that cannot come ends as a time-out
    server.Expect("add_db").Reply(InfoPacket()).Drop();
    server.Expect("get_x").Reply(AnswerPacket(R"(after="yes")"));
    try {
        Run("add_db");
        ADD_FAILURE() << "no error";
    } catch (const ESocketError& e) {
        EXPECT_TRUE(std::string(e.what()).starts_with(
            "The connection was lost while the server was working on the request; its outcome "
            "is unknown ("))
            << e.what();
    }
    EXPECT_EQ(xml::Attr(Run("get_x").answer, "after"), "yes");
    EXPECT_EQ(server.Connections(), 2);
    server.Verify();
}

// The stream to send breaks off while the connection stays up: the user is told, and the
// exchange goes on to read the answer. Without a message box the text goes to standard error.
TEST_F(ExchangeTest, FailureWithTheConnectionUpGoesToTheMessageBox) {
    std::vector<std::string> shown;
    client.SetMessageBox([&](const std::string& text) { shown.push_back(text); });
    server.ExpectHeadOnly().Reply(AnswerPacket(R"(ok="1")"));
    GeneratedBuf broken(1000, 0);
    std::istream data(&broken);
    EXPECT_EQ(xml::Attr(Run("put_file", &data).answer, "ok"), "1");
    EXPECT_EQ(shown, (std::vector<std::string>{"Reading the data to send failed"}));
    EXPECT_EQ(server.Request(0).Attr("cmd"), "put_file");
    server.Verify();

    test::ScriptedServer srv;
    TOstraDbProtocol c;
    srv.PointAt(c);
    srv.ExpectHeadOnly().Reply(AnswerPacket());
    GeneratedBuf broken2(1000, 300);
    std::istream data2(&broken2);
    ::testing::internal::CaptureStderr();
    detail::Request(c, "put_file").Exchange(&data2);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              "The data to send ended after 300 of 1000 bytes\n");
    srv.Verify();
}

// Bad answers raise, clear the busy flag, and leave exactly the payload bytes that arrived.
template <class E>
bool Is(const std::exception& e) {
    return dynamic_cast<const E*>(&e) != nullptr;
}

TEST_F(ExchangeTest, BadAnswersRaiseClearly) {
    struct Case {
        const char* name;
        std::function<void(test::ScriptedServer&)> script;
        bool (*is)(const std::exception&);  // the class raised
        const char* says;                   // a part of its text
        std::string streamed;
        bool connected;  // the connection afterwards
    } cases[] = {
        {"malformed XML", [](auto& s) { s.Expect().Send("<packet><answer></packet>\r\n"); },
         Is<EXmlError>, "", "", true},
        {"garbage",
         [](auto& s) { s.Expect().Send(std::string("\x01\xFF\0<<\x80</packet>\r\n", 17)); },
         Is<Error>, "Не удалось считать данные ответа сервера!", "", true},
        {"payload size not a number",
         [](auto& s) { s.Expect().Reply(R"(<packet bin_data_size="12x"></packet>)"); },
         Is<EConvertError>, "", "", true},
        {"negative payload size",
         [](auto& s) { s.Expect().Reply(R"(<packet bin_data_size="-5"></packet>)"); }, Is<Error>,
         "-5 bytes", "", true},
        {"connection closed inside the payload",
         [](auto& s) {
             s.Expect().Send(WirePacket(PayloadPacket(100)) + "abc").Send("defg").Drop();
         },
         Is<ESocketError>, "7 of 100", "abcdefg", false},
        // The announced size decides no allocation: the payload streams until the drop.
        {"huge payload announced",
         [](auto& s) { s.Expect().Send(WirePacket(PayloadPacket(INT64_MAX)) + "abc").Drop(); },
         Is<ESocketError>, "3 of 9223372036854775807", "abc", false},
        {"answer that never ends",
         [](auto& s) { s.Expect().Send(std::string(3000, ' ')).StallUntilClosed(); }, Is<Error>,
         "exceeds 2048 bytes", "", false},
        {"answer that never comes", [](auto& s) { s.Expect().StallUntilClosed(); },
         Is<ETimeoutError>, "", "", false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        test::ScriptedServer srv;
        TOstraDbProtocol cl;
        srv.PointAt(cl);
        cl.SetMaxAnswerSize(2048);
        cl.SetReadTimeout(300ms);
        c.script(srv);
        std::ostringstream out;
        try {
            detail::Request(cl, "get_file_contents").Exchange(nullptr, &out);
            ADD_FAILURE() << "no exception";
        } catch (const std::exception& e) {
            EXPECT_TRUE(c.is(e)) << e.what();
            EXPECT_NE(std::string(e.what()).find(c.says), std::string::npos) << e.what();
        }
        EXPECT_EQ(out.str(), c.streamed);
        EXPECT_FALSE(cl.GetBusy());
        EXPECT_EQ(cl.Connected(), c.connected);
        // The session goes on, over a new connection when the old one was closed.
        srv.Expect().Reply(AnswerPacket(R"(after="1")"));
        EXPECT_EQ(xml::Attr(detail::Request(cl, "get_x").Exchange().answer, "after"), "1");
        srv.Verify();
    }
}

// The connection drops anywhere in an answer. A cut in the text is met by one reconnect and
// resend (the second cut raises); a cut in the data is raised at once, the stream holding
// exactly the bytes that arrived. The next request goes out over a new connection.
TEST_F(ExchangeTest, ConnectionDroppedAnywhereInAnAnswer) {
    const std::string text = WirePacket(PayloadPacket(10, R"(name="Скважина")"));
    const std::string whole = text + "0123456789";
    for (std::size_t cut : {std::size_t{0}, std::size_t{1}, std::size_t{30}, text.size() - 11,
                            text.size() - 1, text.size(), text.size() + 1, whole.size() - 1}) {
        SCOPED_TRACE(cut);
        test::ScriptedServer srv;
        TOstraDbProtocol cl;
        srv.PointAt(cl);
        const bool inText = cut < text.size();
        for (int attempt = inText ? 2 : 1; attempt > 0; --attempt)
            srv.Expect().Send(whole.substr(0, cut)).Drop();
        const std::size_t streamed = inText ? 0 : cut - text.size();
        std::ostringstream out;
        try {
            detail::Request(cl, "get_file_contents").Exchange(nullptr, &out);
            ADD_FAILURE() << "no exception";
        } catch (const ESocketError& e) {
            if (!inText) {
                EXPECT_NE(std::string(e.what()).find(std::to_string(streamed) + " of 10"),
                          std::string::npos)
                    << e.what();
            }
        }
        EXPECT_EQ(out.str(), whole.substr(text.size(), streamed));
        EXPECT_FALSE(cl.GetBusy());
        srv.Expect().Reply(AnswerPacket(R"(after="1")"));
        EXPECT_EQ(xml::Attr(detail::Request(cl, "get_x").Exchange().answer, "after"), "1");
        EXPECT_EQ(srv.Connections(), inText ? 3 : 2);
        srv.Verify();
    }
}

}  // namespace
}  // namespace ostradb
