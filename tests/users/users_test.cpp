#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ostradb/model/databases.hpp"
#include "ostradb/serial/xml.hpp"
#include "ostradb/serial/xml_serializer.hpp"
#include "ostradb/users/users.hpp"

namespace ostradb {
namespace {

TEST(Rights, TableAndDisplayNames) {
    const TRights rights;
    EXPECT_EQ(rights.Item(6).Bit, 64u);
    EXPECT_THROW(rights.Item(7), EListError);
    EXPECT_EQ(rights.RightsToString(0) + "|" + rights.RightsToString(0x80 | 64),
              "|Просмотр каталогов");
    EXPECT_EQ(rights.RightsToString(0x7F),
              "Просмотр данных, Изменение данных ws-файлов, Добавление/удаление ws-файлов, "
              "Управление списком баз данных, Управление сервером, Управление правами "
              "пользователей, Просмотр каталогов");
}

// Attributes ignore case and lose every match; logins are case-sensitive and a list deletes
// only its own items.
TEST(Users, AttributesAndLoginsAreFoundAndDeleted) {
    TFPAttributes attrs;
    for (const char* name : {"Отдел", "x", "ОТДЕЛ", "отдел", "y", "Отдел"})
        attrs.Add().Name = name;
    EXPECT_EQ(attrs.FindByName("X"), &attrs.Item(1));
    EXPECT_EQ(attrs.FindByName("z"), nullptr);
    attrs.DeleteByName("отДЕЛ");
    ASSERT_EQ(attrs.Count(), 2);
    EXPECT_EQ(attrs.Item(0).Name + attrs.Item(1).Name, "xy");

    TUmData data, other;
    TUsers& users = data.Users();
    users.AddNew().User = "admin";
    users.AddNew().User = "Админ";
    EXPECT_EQ(users.Find("Admin"), nullptr);
    EXPECT_EQ(users.Find("админ"), nullptr);
    EXPECT_EQ(users.Find("Админ"), &users.Item(1));
    TUser& foreign = other.Users().AddNew();
    foreign.User = "admin";
    users.Delete(&foreign);
    EXPECT_EQ(users.Count(), 2);
    users.Delete(users.Find("admin"));
    ASSERT_EQ(users.Count(), 1);
    EXPECT_EQ(users.Item(0).User, "Админ");
}

TEST(Groups, DefaultsAssignAndMembership) {
    TUserGroups groups;
    TUserGroup& a = groups.AddNew();
    EXPECT_EQ(a.Rights, 1u);
    a.Name = "Admins";
    a.Rights = 33;
    a.GroupId = "1";
    a.Users = TStringList{"Admin"};
    a.Attributes.Add().Name = "n";
    TDbPremission& p = a.DbPremissions.Add();
    p.Database = "db";
    TLevelsPermission& fp = p.AddFileRights(3);
    EXPECT_EQ(fp.GroupsRights, 0u);
    EXPECT_EQ(fp.Levels.Lines(), (std::vector<std::string>{"", "", ""}));

    TUserGroup& b = groups.AddNew();
    b.ParentId = "1";
    b.Assign(a);
    // Keeps its own place in the tree; copies the lists deeply.
    EXPECT_EQ(b.Name + b.GroupId + std::to_string(b.Rights) + b.ParentId, "Admins1331");
    EXPECT_EQ(b.Users, a.Users);
    ASSERT_EQ(b.DbPremissions.Count(), 1);
    EXPECT_EQ(b.DbPremissions.Item(0).FileRightsCount() + b.Attributes.Count(), 2);
    b.DbPremissions.Item(0).Database = "changed";
    EXPECT_EQ(a.DbPremissions.FindByDbName("DB"), &p);
    EXPECT_TRUE(a.ContainsUser("admin"));
    EXPECT_FALSE(a.ContainsUser("admi"));
}

TEST(Groups, SetUserInGroupsAndExcludeUser) {
    TUserGroups groups;
    for (const char* name : {"A", "B", "C"})
        groups.AddNew().Name = name;
    groups.Item(0).Users = TStringList{"ivan", "IVAN", "petr"};
    groups.Item(1).Users = TStringList{"petr"};
    auto members = [&] {
        std::string out;
        for (int i = 0; i < groups.Count(); ++i)
            out += groups.Item(i).Users.CommaText() + ";";
        return out;
    };
    // One entry removed per group; the login added to the named groups.
    groups.SetUserInGroups("Ivan", TStringList{"b", "C"});
    EXPECT_EQ(members(), "IVAN,petr;petr,Ivan;Ivan;");
    groups.SetUserInGroups("petr", TStringList{});
    EXPECT_EQ(members(), "IVAN;Ivan;Ivan;");
    TUser ivan;
    ivan.User = "ivan";
    groups.ExcludeUser(ivan);
    EXPECT_EQ(members(), ";;;");
}

TEST(UmData, CleanDataDropsPermissionsOfMissingDatabases) {
    TDatabasesList dbs;
    dbs.Items.Add().Name = "Main";
    dbs.Items.Add().Name = "Архив";
    TUmData data;
    TUserGroup& g = data.Groups().AddNew();
    for (const char* db : {"gone1", "gone2", "main", "gone3", "gone4", "АРХИВ", "gone5"})
        g.DbPremissions.Add().Database = db;
    data.Groups().AddNew().DbPremissions.Add().Database = "x";
    data.CleanData(dbs);
    ASSERT_EQ(g.DbPremissions.Count(), 2);
    EXPECT_EQ(g.DbPremissions.Item(0).Database + g.DbPremissions.Item(1).Database, "mainАРХИВ");
    EXPECT_EQ(data.Groups().Item(1).DbPremissions.Count(), 0);
}

TEST(UmData, CheckForConsistencyNeedsAMemberWhoAdministersUsers) {
    TUmData data;
    EXPECT_NO_THROW(data.CheckForConsistency());  // no users at all
    data.Users().AddNew().User = "ivan";
    TUserGroup& admins = data.Groups().AddNew();
    admins.Rights = 32;
    TUserGroup& viewers = data.Groups().AddNew();
    viewers.Users.Add("IVAN");
    viewers.DbPremissions.Add().Rights = 32;  // per-database rights don't count
    try {
        data.CheckForConsistency();
        FAIL() << "no exception";
    } catch (const Error& e) {
        EXPECT_STREQ(e.what(),
                     "В списке пользователей нету пользователей с правами управления списком "
                     "пользователей");
    }
    viewers.Rights = 1 | 32;
    EXPECT_NO_THROW(data.CheckForConsistency());
    viewers.Rights = 1;
    admins.Users.Add("Ivan");
    EXPECT_NO_THROW(data.CheckForConsistency());
}

TEST(UmData, WritesAndReadsUserPermissionsData) {
    TUmData data;
    TUser& u = data.Users().AddNew();
    u.User = "admin";
    u.Name = "Администратор";
    u.Pass = "a1b2";
    TFPAttribute& attr = u.Attributes.Add();
    attr.Name = "Отдел";
    attr.Value = "ГИС";
    TUserGroup& g = data.Groups().AddNew();
    g.Name = "Admins";
    g.Rights = 33;
    g.GroupId = "7";
    g.ParentId = "1";
    g.Users.Add("admin");
    TDbPremission& p = g.DbPremissions.Add();
    p.Database = "db";
    p.Rights = 3;
    TLevelsPermission& fp = p.AddFileRights(1);
    fp.Levels[0] = "Самотлор";
    fp.FileName = "a.ws";
    fp.GroupsRights = 1;

    auto text = [](const TUmData& d) {
        pugi::xml_document doc;
        SaveToXML(d, "UserPermissionsData", doc.append_child("packet"));
        return xml::ToText(doc, false, "");
    };
    const std::string written = text(data);
    EXPECT_EQ(written,
              "<packet><UserPermissionsData>"
              "<Users><Item User=\"admin\" Name=\"Администратор\" Pass=\"a1b2\"><Attributes>"
              "<Item Name=\"Отдел\" Value=\"ГИС\"/></Attributes></Item></Users>"
              "<Groups><Item Name=\"Admins\" Rights=\"33\" GroupId=\"7\" ParentId=\"1\">"
              "<DbPremissions><Item Database=\"db\" Rights=\"3\"><FilesPerms>"
              "<Item FileName=\"a.ws\" GroupsRights=\"1\"><Levels><Item>Самотлор</Item></Levels>"
              "</Item></FilesPerms></Item></DbPremissions>"
              "<Users><Item>admin</Item></Users><Attributes/></Item></Groups>"
              "</UserPermissionsData></packet>");

    // Read back over stale data, it writes the same text again.
    pugi::xml_document doc;
    xml::Parse(doc, written);
    TUmData back;
    back.Users().AddNew().User = "stale";
    back.Groups().AddNew().Users.Add("stale");
    LoadFromXML(back, "UserPermissionsData", doc.document_element());
    EXPECT_EQ(text(back), written);
}

}  // namespace
}  // namespace ostradb
