// Login and its log entries, the demand to log in again, and rights.

#include <thread>
#include <tuple>

#include "protocol/login_digest.hpp"
#include "sandbox/sandbox_fixture.hpp"

namespace ostradb::test {
namespace {

class SessionTest : public SandboxTest {
protected:
    // Entries of user in the server's log: successful logins (type 0) or refusals (type 1).
    // Every entry must have a growing id, the client's address and a time.
    int LogEntries(TOstraDbProtocol& client, const std::string& user, int type) {
        const detail::Answer log = Call(client, "request_log");
        int count = 0, lastId = 0;
        for (pugi::xml_node item : log.answer.child("log").children("item")) {
            EXPECT_GT(item.attribute("id").as_int(), lastId) << "ids grow";
            lastId = item.attribute("id").as_int();
            EXPECT_TRUE(std::string(item.attribute("addr").value()).starts_with("127.0.0.1:"));
            EXPECT_GT(item.attribute("time").as_double(), 40000.0);
            count += user == item.attribute("user").value() &&
                     item.attribute("type").as_int() == type &&
                     (type != 0 || std::string(item.attribute("text").value()) == "Вход выполнен");
        }
        return count;
    }
};

TEST_F(SessionTest, WrongCredentialsAreRefusedWith28AndLogged) {
    const std::pair<const char*, const char*> cases[] = {
        {"admin", "Admin"}, {"admin", ""}, {"Admin", "admin"}, {"nobody", "admin"}};
    for (const auto& [user, password] : cases) {
        TOstraDbProtocol client;
        client.SetHostPort("127.0.0.1", server->Port());
        try {
            client.SendLoginCommand(user, password);
            ADD_FAILURE() << user << "/" << password << " was let in";
        } catch (const TOstraClientSocketException& e) {
            EXPECT_EQ(e.Code, ecWrongPassword) << user << "/" << password;
        }
    }
    auto admin = Connect();
    EXPECT_EQ(LogEntries(*admin, "admin", 1), 2);
    EXPECT_EQ(LogEntries(*admin, "admin", 0), 1);
}

TEST_F(SessionTest, ALoginValueServesOneAttemptOnly) {
    TOstraDbProtocol client;
    client.SetHostPort("127.0.0.1", server->Port());
    const std::string value = client.RequestRandomAuthValue();
    EXPECT_NE(client.RequestRandomAuthValue(), value) << "values must not repeat";
    const std::string fresh = client.RequestRandomAuthValue();
    auto login = [&] {
        return ErrorCode(client, "login",
                         Attrs({{"user", "admin"}, {"pass", detail::LoginDigest("admin", fresh)}}));
    };
    EXPECT_EQ(login(), -1) << "the digest of the last value logs in";
    EXPECT_EQ(login(), ecWrongPassword) << "the same digest again is a replay";
}

// A new connection, or a session that expired on the same connection, answers 27; the client
// logs in again by itself.
TEST_F(SessionTest, TheServerAsksForALoginAndTheClientLogsInByItself) {
    StartServer([](sandbox::SandboxOptions& o) { o.sessionTimeout = 500ms; });
    RawClient raw(server->Port());
    raw.Send("<packet><command cmd=\"get_db_list\"/></packet>\r\n");
    EXPECT_NE(raw.ReadPacket().find("code=\"27\""), std::string::npos);

    auto client = Connect();
    client->Disconnect();
    EXPECT_EQ(DbId(*client, kNorthSea), 2);
    const std::uint64_t connections = server->AcceptedConnections();
    std::this_thread::sleep_for(600ms);
    EXPECT_EQ(DbId(*client, kNorthSea), 2);
    EXPECT_EQ(server->AcceptedConnections(), connections);
    EXPECT_EQ(LogEntries(*client, "admin", 0), 3);
}

TEST_F(SessionTest, RightsFollowTheGroupsAndAViewerIsRefusedEveryChange) {
    auto admin = Connect();
    EXPECT_EQ(admin->GetUserRights().Mask(), 0x7Fu);
    const std::string path = DbPath(*admin, kWestSiberia);
    const std::string existing = path + "Северное/12/ГИС 2019/12_gis_2019.ws";
    const std::string fresh = path + "Северное/12/ГИС 2019/new.ws";
    auto viewer = Connect("viewer", "viewer");
    EXPECT_EQ(viewer->GetUserRights().Mask(), 0x01u);
    EXPECT_EQ(GetContents(*viewer, existing), ReadFile(existing)) << "viewing is allowed";
    const auto before = Snapshot(dataDir);

    // command, its content, whether it carries a payload
    const std::vector<std::tuple<std::string, Fill, bool>> cases = {
        {"put_file_contents", Attrs({{"file_name", existing}}), true},
        {"put_file_contents", Attrs({{"file_name", fresh}}), true},
        {"delete_files", ItemList("FileNames", {existing}), false},
        {"move_file", Attrs({{"ScrFileName", existing}, {"DstFileName", fresh}}), false},
        {"add_db", Attrs({{"name", "x"}}), false},
        {"delete_db", Attrs({{"db_id", "2"}}), false},
        {"reload_db_struct", Attrs({{"db_id", "2"}}), false},
        {"set_serv_option", Attrs({{"name", "LogLevel"}, {"value", "5"}}), false},
        {"set_serv_options",
         [](pugi::xml_node c) {
             Attrs({{"Name", "LogLevel"}, {"Value", "5"}})(
                 c.append_child("Options").append_child("Item"));
         },
         false},
        {"request_log", {}, false},
        {"get_auth_data", {}, false},
        {"save_auth_data", [](pugi::xml_node c) { c.append_child("UserPermissionsData"); }, false},
    };
    for (const auto& [cmd, fill, payload] : cases) {
        std::istringstream bytes("new bytes");
        EXPECT_EQ(ErrorCode(*viewer, cmd, fill, payload ? &bytes : nullptr), ecAccessDenied) << cmd;
    }
    EXPECT_EQ(Snapshot(dataDir), before);
    // The refusals left the connection in step: the viewer still reads.
    EXPECT_EQ(GetContents(*viewer, existing), ReadFile(existing));
}

}  // namespace
}  // namespace ostradb::test
