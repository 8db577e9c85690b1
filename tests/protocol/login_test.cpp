// Login by challenge and response, the login dialog's flow, and the server version.

#include "exchange_fixture.hpp"
#include "ostradb/serial/xml.hpp"
#include "protocol/login_digest.hpp"

namespace ostradb {
namespace {

using namespace test;

// Digests computed apart from the library, e.g.
//   printf 'teal is quiet!!!\xef\xe0\xf0\xee\xeb\xfc7f3a9teal waits!!!!' | md5sum
TEST(LoginDigest, IsMd5OfTheWindows1251Text) {
    EXPECT_EQ(detail::LoginDigest("пароль", "7f3a9"), "d0553728120a2b9f970c8b9de387e071");
    EXPECT_THROW(detail::LoginDigest("\xE2\x98\x83", "x"), EEncodingError);
}

TEST_F(ExchangeTest, LoginDemandWhileLoggingInIsAnError) {
    server.Expect("generate_auth_value").Reply(AnswerPacket(R"(result="r")"));
    server.Expect("login").Reply(ErrorPacket(27, "again"));
    ExpectServerError([&] { client.SendLoginCommand("u", "p"); }, ecNotLoggedIn, "again");
    EXPECT_EQ(server.RequestCount(), 2u);
    server.Verify();
}

// Scripts one login round: random value, then the server's answer to "login".
void ScriptLogin(test::ScriptedServer& server, const std::string& answer) {
    server.Expect("generate_auth_value").Reply(AnswerPacket(R"(result="R1")"));
    server.Expect("login").Reply(answer);
}

TEST_F(ExchangeTest, LoginDialogIsShownAgainAfterARefusal) {
    std::vector<TLoginDialogData> shown;
    client.SetAllowToSelectServer(true);
    client.SetLoginDialog([&](TOstraDbProtocol&, TLoginDialogData& data) {
        shown.push_back(data);
        data.User = "anna";
        data.Password = shown.size() == 1 ? "wrong" : "";
        return ldrOk;
    });
    ScriptLogin(server, ErrorPacket(28, "Некорректный пароль"));
    ScriptLogin(server, AnswerPacket(R"(rights="127")"));
    EXPECT_TRUE(client.Login("boris", "pw"));
    ASSERT_EQ(shown.size(), 2u);
    EXPECT_EQ(test::Row(shown[0].User, shown[0].Password, shown[0].AllowToSelectServer,
                        shown[1].Attempt, shown[1].Message),
              "boris|pw|1|2|Некорректный пароль|");
    EXPECT_EQ(server.Request(3).Attr("pass"), "435416816770986cd64413747aaea247");
    EXPECT_EQ(test::Row(client.GetLoginCounter(), client.LastUser(), client.GetUserRights().Mask()),
              "1|anna|127|");
    server.Verify();
}

TEST_F(ExchangeTest, LoginGivesUpAfterTheLastAttempt) {
    int shown = 0;
    client.SetLoginDialog([&](TOstraDbProtocol&, TLoginDialogData&) {
        ++shown;
        return ldrOk;
    });
    for (int i = 0; i < TOstraDbProtocol::kMaxLoginAttempts; ++i)
        ScriptLogin(server, ErrorPacket(17, "no such user"));
    ExpectServerError([&] { client.Login("ghost", "x"); }, ecUserNotFound, "no such user");
    EXPECT_EQ(Row(shown, client.GetLoginCounter(), client.LastUser()),
              Row(TOstraDbProtocol::kMaxLoginAttempts, 0, "ghost"));
    server.Verify();
}

TEST_F(ExchangeTest, LoginDialogCancelAndRetry) {
    std::vector<ELoginDialogResult> answers{ldrRetry, ldrCancel};
    std::size_t shown = 0;
    client.SetLoginDialog([&](TOstraDbProtocol&, TLoginDialogData&) { return answers[shown++]; });
    EXPECT_FALSE(client.Login("u", "p"));
    EXPECT_EQ(shown, 2u);
    EXPECT_TRUE(client.GetLoginCanceled());
    EXPECT_TRUE(client.GetUserRights().Empty());
    EXPECT_EQ(server.RequestCount(), 0u);
}

TEST_F(ExchangeTest, LoginWithoutDialogUsesTheRememberedCredentials) {
    ScriptLogin(server, AnswerPacket(R"(rights="1")"));
    ScriptLogin(server, AnswerPacket(R"(rights="1")"));
    EXPECT_TRUE(client.Login("", "secret"));
    EXPECT_EQ(server.Request(1).Attr("user"), "");
    client.Login("vera", "");  // keeps the remembered password
    EXPECT_EQ(test::AttrText(server.Request(3)),
              "cmd=login user=vera pass=" + detail::LoginDigest("secret", "R1"));
    server.Verify();
}

TEST_F(ExchangeTest, ServerVersionIsReadOrZeroWhenUnknown) {
    server.Expect("get_server_version")
        .Reply(AnswerPacket("", R"(<Version Mayor="2" Minor="10" Maintenance="0" Revision="7"/>)"));
    server.Expect("get_server_version").Reply(ErrorPacket(6, "unknown command"));
    TServerVersion version;
    client.GetServerVersion(version);
    TServerVersion older;
    older.SetValues(2, 9, 99, 99);
    EXPECT_EQ(test::Row(version.ToString(), version > older, older.Compare(version),
                        version.Compare(version)),
              "2.10.0.7|1|-1|0|");
    client.GetServerVersion(version);
    EXPECT_EQ(version, TServerVersion());
    server.Verify();
}

}  // namespace
}  // namespace ostradb
