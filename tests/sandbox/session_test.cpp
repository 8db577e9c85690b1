// Login, the demand to log in again, and rights.

#include <thread>

#include "protocol/login_digest.hpp"
#include "sandbox/sandbox_fixture.hpp"

namespace ostradb::test {
namespace {

class SessionTest : public SandboxTest {
protected:
    // Successful logins of user in the server's log.
    int Logins(TOstraDbProtocol& client, const std::string& user) {
        const detail::Answer log = Call(client, "request_log");
        int count = 0;
        for (pugi::xml_node item : log.answer.child("log").children("item"))
            if (user == item.attribute("user").value() && item.attribute("type").as_int() == 0 &&
                std::string(item.attribute("text").value()) == "Вход выполнен")
                ++count;
        return count;
    }
};

TEST_F(SessionTest, LoginGrantsTheRightsOfTheUsersGroups) {
    struct Case {
        const char* user;
        const char* password;
        std::uint32_t rights;
    };
    for (const Case& c : {Case{"admin", "admin", 0x7F}, Case{"viewer", "viewer", 0x01}}) {
        auto client = Connect(c.user, c.password);
        EXPECT_EQ(client->GetUserRights().Mask(), c.rights) << c.user;
        TServerVersion version;
        client->GetServerVersion(version);
        EXPECT_NE(version.ToString(), "0.0.0.0") << "the server refused get_server_version";
    }
}

TEST_F(SessionTest, WrongCredentialsAreRefusedWith28AndLeaveTheSessionLoggedOut) {
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
        RawClient raw(server->Port());
        raw.Send("<packet><command cmd=\"get_db_list\"/></packet>\r\n");
        EXPECT_NE(raw.ReadPacket().find("code=\"27\""), std::string::npos);
    }
}

TEST_F(SessionTest, ALoginValueServesOneAttemptOnly) {
    TOstraDbProtocol client;
    client.SetHostPort("127.0.0.1", server->Port());
    const std::string value = client.RequestRandomAuthValue();
    EXPECT_NE(client.RequestRandomAuthValue(), value) << "values must not repeat";
    const std::string fresh = client.RequestRandomAuthValue();
    auto login = [&] {
        return ErrorCode(client, "login", [&](pugi::xml_node c) {
            c.append_attribute("user") = "admin";
            c.append_attribute("pass") = detail::LoginDigest("admin", fresh).c_str();
        });
    };
    EXPECT_EQ(login(), -1) << "the digest of the last value logs in";
    EXPECT_EQ(login(), ecWrongPassword) << "the same digest again is a replay";
}

TEST_F(SessionTest, ANewConnectionAsksForALoginAndTheClientLogsInByItself) {
    RawClient raw(server->Port());
    raw.Send("<packet><command cmd=\"get_db_list\"/></packet>\r\n");
    EXPECT_NE(raw.ReadPacket().find("code=\"27\""), std::string::npos);

    auto client = Connect();
    client->Disconnect();
    const detail::Answer ans = Call(*client, "get_db_list");
    EXPECT_EQ(std::distance(ans.answer.child("databases").children("item").begin(),
                            ans.answer.child("databases").children("item").end()),
              2);
    EXPECT_EQ(Logins(*client, "admin"), 2);
}

TEST_F(SessionTest, AnExpiredSessionAsksForALoginOnTheSameConnection) {
    StartServer([](sandbox::SandboxOptions& o) { o.sessionTimeout = 200ms; });
    auto client = Connect();
    const std::uint64_t connections = server->AcceptedConnections();
    std::this_thread::sleep_for(300ms);
    EXPECT_EQ(DbId(*client, kNorthSea), 2);
    EXPECT_EQ(server->AcceptedConnections(), connections);
    EXPECT_EQ(Logins(*client, "admin"), 2);
}

TEST_F(SessionTest, ViewerIsRefusedEveryChangeAndNothingChanges) {
    auto admin = Connect();
    const std::string path = DbPath(*admin, kWestSiberia);
    const std::string existing = path + "Северное/12/ГИС 2019/12_gis_2019.ws";
    const std::string fresh = path + "Северное/12/ГИС 2019/new.ws";
    auto viewer = Connect("viewer", "viewer");
    EXPECT_EQ(GetContents(*viewer, existing), ReadFile(existing)) << "viewing is allowed";
    const auto before = Snapshot(dataDir);

    using Fill = std::function<void(pugi::xml_node)>;
    auto name = [](const std::string& n) {
        return Fill([n](pugi::xml_node c) { c.append_attribute("file_name") = n.c_str(); });
    };
    auto list = [](const std::string& n) {
        return Fill([n](pugi::xml_node c) {
            c.append_child("FileNames").append_child("Item").text() = n.c_str();
        });
    };
    const std::vector<std::tuple<std::string, Fill, bool>> cases = {
        {"put_file_contents", name(existing), true},
        {"put_file_contents", name(fresh), true},
        {"delete_files", list(existing), false},
        {"move_file",
         [&](pugi::xml_node c) {
             c.append_attribute("ScrFileName") = existing.c_str();
             c.append_attribute("DstFileName") = fresh.c_str();
         },
         false},
        {"add_db", [](pugi::xml_node c) { c.append_attribute("name") = "x"; }, false},
        {"delete_db", [](pugi::xml_node c) { c.append_attribute("db_id") = 2; }, false},
        {"reload_db_struct", [](pugi::xml_node c) { c.append_attribute("db_id") = 2; }, false},
        {"set_serv_option",
         [](pugi::xml_node c) {
             c.append_attribute("name") = "LogLevel";
             c.append_attribute("value") = "5";
         },
         false},
        {"set_serv_options",
         [](pugi::xml_node c) {
             pugi::xml_node item = c.append_child("Options").append_child("Item");
             item.append_attribute("Name") = "LogLevel";
             item.append_attribute("Value") = "5";
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
