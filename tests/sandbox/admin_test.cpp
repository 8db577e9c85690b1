// Server options, users and rights, and adding and deleting databases;
// what is saved survives a restart of the server.

#include "sandbox/sandbox_fixture.hpp"

namespace ostradb::test {
namespace {

class AdminTest : public SandboxTest {
protected:
    AdminTest() : client(Connect()) {}

    std::string Option(const std::string& name, const std::string& def = {}) {
        const detail::Answer ans =
            Call(*client, "get_serv_option", Attrs({{"name", name}, {"def", def}}));
        return ans.answer.attribute("value").value();
    }
    std::map<std::string, std::string> Options(const std::vector<std::string>& masks) {
        const detail::Answer ans = Call(*client, "get_serv_options", ItemList("Masks", masks));
        std::map<std::string, std::string> options;
        for (pugi::xml_node item : ans.answer.child("Options").children("Item"))
            options[item.attribute("Name").value()] = item.attribute("Value").value();
        return options;
    }
    void Restart() {
        client.reset();
        StartServer();
        client = Connect();
    }

    std::unique_ptr<TOstraDbProtocol> client;
};

// Reading and setting options is the client's tests' subject; here, what is kept.
TEST_F(AdminTest, OptionsAreKeptAcrossARestart) {
    EXPECT_EQ(Option("maxsearchresults") + Option("NoSuchOption", "fallback"), "1000fallback");
    Call(*client, "set_serv_option", Attrs({{"name", "LOGLEVEL"}, {"value", "3"}}));
    Call(*client, "set_serv_options", [](pugi::xml_node c) {
        pugi::xml_node list = c.append_child("Options");
        Attrs({{"Name", "Новая"}, {"Value", "значение"}})(list.append_child("Item"));
        Attrs({{"Name", "MaxSearchResults"}, {"Value", "50"}})(list.append_child("Item"));
    });
    Restart();
    // A name in other letter case replaces the option.
    EXPECT_EQ(Options({}),
              (std::map<std::string, std::string>{{"DefaultDatabase", "Западная Сибирь"},
                                                  {"LogLevel", "3"},
                                                  {"MaxSearchResults", "50"},
                                                  {"ServerName", "Песочница разработчика"},
                                                  {"Новая", "значение"}}));
}

TEST_F(AdminTest, SavedUsersLogInWithTheirRightsAndALockOutIsRefused) {
    const detail::Answer data = Call(*client, "get_auth_data");
    pugi::xml_document doc;
    doc.append_copy(data.answer.child("UserPermissionsData"));
    const pugi::xml_node root = doc.document_element();
    ASSERT_TRUE(root.child("Users").find_child_by_attribute("Item", "User", "viewer"));

    // A new user with a Cyrillic password, in the viewers' group.
    pugi::xml_node user = root.child("Users").append_child("Item");
    user.append_attribute("User") = "analyst";
    user.append_attribute("Name") = "Аналитик";
    user.append_attribute("Pass") = "пароль №1";
    root.child("Groups")
        .find_child_by_attribute("Item", "Rights", "1")
        .child("Users")
        .append_child("Item")
        .text() = "ANALYST";
    auto save = [&](const pugi::xml_document& d) {
        return ErrorCode(*client, "save_auth_data",
                         [&](pugi::xml_node c) { c.append_copy(d.document_element()); });
    };
    EXPECT_EQ(save(doc), -1);
    EXPECT_EQ(Connect("analyst", "пароль №1")->GetUserRights().Mask(), 0x01u);

    // Nobody left who could administer users: refused, and the old data still holds.
    pugi::xml_document lockOut;
    lockOut.append_copy(root);
    for (pugi::xml_node group : lockOut.document_element().child("Groups").children("Item"))
        group.attribute("Rights") = 1;
    EXPECT_EQ(save(lockOut), ecWrongArguments);
    Restart();
    EXPECT_EQ(client->GetUserRights().Mask(), 0x7Fu);
    EXPECT_EQ(Connect("analyst", "пароль №1")->GetUserRights().Mask(), 0x01u)
        << "saved before the restart";
}

TEST_F(AdminTest, ADatabaseIsAddedWithProgressUsedAndDeleted) {
    // A folder with one ws file at the depth of the levels becomes the new database.
    const fs::path folder = dataDir / "databases" / "new-db";
    WriteFile(folder / "Поле" / "1" / "ГИС" / "1.ws", BinaryBytes(1000, 1));
    int infos = 0;
    double lastPercent = -1;
    client->OnInfo = [&](TOstraDbProtocol&, pugi::xml_node packet) {
        ++infos;
        lastPercent = packet.attribute("percent").as_double();
    };
    const detail::Answer added = Call(*client, "add_db",
                                      Attrs({{"name", "Новая база"},
                                             {"path", "WSTP://DIRECT:" + folder.string()},
                                             {"is_private", "False"},
                                             {"info_supported", "True"}}));
    client->OnInfo = nullptr;
    const int id = added.answer.child("result").attribute("db_id").as_int();
    EXPECT_EQ(id, 3);
    EXPECT_GE(infos, 2);
    EXPECT_EQ(lastPercent, 100.0);
    EXPECT_EQ(DbPath(*client, "Новая база"), folder.string() + "/");
    const std::string file = folder.string() + "/Поле/1/ГИС/1.ws";
    EXPECT_EQ(GetContents(*client, file), BinaryBytes(1000, 1));

    auto add = [&](const char* name, const std::string& path) {
        return ErrorCode(*client, "add_db", Attrs({{"name", name}, {"path", path}}));
    };
    EXPECT_EQ(add("НОВАЯ БАЗА", ""), ecDatabaseExists);
    EXPECT_EQ(add("Elsewhere", "/tmp"), ecWrongFileName);
    EXPECT_EQ(add("Up", (dataDir / "databases/../users.xml").string()), ecWrongFileName);
    WriteFile(dataDir / "databases/flat/a.ws", "x");
    EXPECT_EQ(add("Flat", (dataDir / "databases/flat").string()), ecNoMatchingWsFiles);

    Restart();
    EXPECT_EQ(DbId(*client, "Новая база"), id) << "kept across a restart";
    const Fill byId = Attrs({{"db_id", std::to_string(id)}});
    Call(*client, "delete_db", byId);
    EXPECT_THROW(DbId(*client, "Новая база"), Error);
    EXPECT_TRUE(fs::exists(file)) << "deleting a database leaves its files";
    EXPECT_EQ(ErrorCode(*client, "delete_db", byId), ecDatabaseNotFound);
}

TEST_F(AdminTest, ReloadingAStructureReadsTheCatalogFileAgain) {
    std::string catalog = ReadFile(dataDir / "databases.xml");
    const std::string from = "real_name=\"Field\"";
    catalog.replace(catalog.find(from), from.size(), "real_name=\"Area\"");
    WriteFile(dataDir / "databases.xml", catalog);
    auto firstLevel = [&] {
        const detail::Answer ans = Call(*client, "get_db_struct", Attrs({{"db_id", "2"}}));
        const pugi::xml_node items = ans.answer.child("DbStructData").child("struct_items");
        return std::string(items.child("Item").attribute("real_name").value());
    };
    EXPECT_EQ(firstLevel(), "Field");
    Call(*client, "reload_db_struct", Attrs({{"db_id", "2"}}));
    EXPECT_EQ(firstLevel(), "Area");
}

}  // namespace
}  // namespace ostradb::test
