// Database catalog and server-job commands: what each sends, what it reads, the structure
// requests that follow the list, and the progress handler's life.

#include <functional>
#include <string>
#include <vector>

#include "exchange_fixture.hpp"
#include "ostradb/model/databases.hpp"
#include "ostradb/model/db_struct.hpp"
#include "ostradb/util/numbers.hpp"

namespace ostradb {
namespace {

using test::AnswerPacket;
using test::AttrText;
using test::ErrorPacket;
using test::InfoPacket;
using test::Row;

// A structure answer whose one level has the type levelType.
std::string StructAnswer(const std::string& levelType) {
    return AnswerPacket({}, R"(<DbStructData dir_count="1" main_file_type="1"><struct_items>)"
                            R"(<Item type=")" +
                                levelType +
                                R"(" df_view="" ex_type="1" real_name="Скважина" no_data="" )"
                                R"(dict_name="" dict_col1="0" dict_col2="0" search_link="" )"
                                R"(use_dict="0" df_real=""/></struct_items></DbStructData>)");
}

std::string ListAnswer(const std::vector<int>& ids) {
    std::string items;
    for (const int id : ids)
        items += R"(<item id=")" + std::to_string(id) + R"(" name="db)" + std::to_string(id) +
                 R"(" path="D:\db\" ext_path=""/>)";
    return AnswerPacket({}, "<databases>" + items + "</databases>");
}

// The attributes of every request from the first-th on, one line each.
std::string SentFrom(test::ScriptedServer& server, std::size_t first) {
    std::string out;
    for (std::size_t i = first; i < server.RequestCount(); ++i)
        out += AttrText(server.Request(i)) + "\n";
    return out;
}

// Each database's id and the types of its structure's levels.
std::string Structures(const TDatabasesList& list) {
    std::string out;
    for (int i = 0; i < list.GetCount(); ++i) {
        out += std::to_string(list.GetItem(i).Id) + ":";
        for (int k = 0; k < list.GetItem(i).Structure.GetItemsCount(); ++k)
            out += list.GetItem(i).Structure.GetItem(k).Type;
        out += " ";
    }
    return out;
}

using CatalogCommands = ExchangeTest;

TEST_F(CatalogCommands, SendExactlyTheirAttributesAndReadTheAnswer) {
    struct Case {
        std::function<std::string(TOstraDbProtocol&)> call;  // renders what it read
        std::string sent;                                    // the command element
        std::string answer = "";                             // the answer element's children
        std::string read = "";
    } cases[] = {
        {[](auto& c) { return c.DeleteDatabase(3), ""; },
         R"(<command cmd="delete_db" db_id="3"/>)"},
        {[](auto& c) { return c.StopMergeVTableDB(4), ""; },
         R"(<command cmd="stop_merge_vtable_db" db_id="4"/>)"},
        {[](auto& c) { return c.ReloadDatabaseStruct(-5), ""; },
         R"(<command cmd="reload_db_struct" db_id="-5"/>)"},
        {[](auto& c) { return c.ReloadBadFiles(6), ""; },
         R"(<command cmd="reload_bad_files" db_id="6"/>)"},
        {[](auto& c) { return c.ReloadBadFilesWithProgress(6, nullptr), ""; },
         R"(<command cmd="reload_bad_files" db_id="6"/>)"},
        {[](auto& c) { return c.DeleteUnusedLevels(7), ""; },
         R"(<command cmd="delete_unused_levels" db_id="7"/>)"},
        {[](auto& c) { return c.MergeVTableDB(8, true, false), ""; },
         R"(<command cmd="merge_vtable_db" db_id="8" use_delete="True" fail_no_connect="False"/>)"},
        {[](auto& c) { return c.MergeVTableDB(8, false, true), ""; },
         R"(<command cmd="merge_vtable_db" db_id="8" use_delete="False" fail_no_connect="True"/>)"},
        // "command" on the element named "command"; the command name stays in "cmd".
        {[](auto& c) { return c.StartWFOstra("wf.exe /run \"a b\""), ""; },
         R"(<command cmd="start_wfostra" command="wf.exe /run &quot;a b&quot;"/>)"},
        {[](auto& c) {
             std::string path;
             c.RequestWFExePath(path);
             return path;
         },
         R"(<command cmd="get_wfexe_path"/>)", R"(<WFOstra_Options wfexe_path="C:\wf\wf.exe"/>)",
         "C:\\wf\\wf.exe"},
        {[](auto& c) {
             TVTables t;
             c.RequestVTableList(t);
             return Row(t.GetItemsCount(), t.GetItem(0).FileName, t.CollectionPath);
         },
         R"(<command cmd="get_all_vtable_list"/>)",
         R"(<all_vtables use_delete="true" collection_path="C:\v">)"
         R"(<item name="t1" file_name="t1.db" only_login_update="0"/></all_vtables>)",
         "1|t1.db|C:\\v|"},
        {[](auto& c) {
             TVTableOptions o;
             c.RequestVTableOptions(o);
             return Row(o.GetItemsCount(), o.GetItem(0).Key, o.GetItem(0).Value);
         },
         R"(<command cmd="get_vtable_options"/>)",
         R"(<Result><Items><Item Section="s" Key="k" Value="v"/></Items></Result>)", "1|k|v|"},
    };
    std::size_t i = 0;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.sent);
        server.Expect().Reply(AnswerPacket({}, c.answer));
        EXPECT_EQ(c.call(client), c.read);
        EXPECT_EQ(test::CommandText(server.Request(i++)), c.sent);
    }
    server.Verify();
}

TEST_F(CatalogCommands, DatabasesListAsksForEachStructureInListOrderOnlyWhenAsked) {
    server.Expect("get_db_list").Reply(ListAnswer({5, 8}));
    TDatabasesList list;
    client.RequestDatabasesListEx(list, false);
    EXPECT_EQ(Structures(list), "5: 8: ");
    EXPECT_EQ(SentFrom(server, 0), "cmd=get_db_list\n");

    server.Expect("get_db_list").Reply(ListAnswer({9, 2, 5}));
    for (const char* type : {"%a", "%b", "%c"})
        server.Expect("get_db_struct").Reply(StructAnswer(type));
    client.RequestDatabasesList(list);
    server.Verify();
    EXPECT_EQ(Structures(list), "9:%a 2:%b 5:%c ");
    EXPECT_EQ(SentFrom(server, 2),
              "cmd=get_db_struct db_id=9\ncmd=get_db_struct db_id=2\ncmd=get_db_struct db_id=5\n");
}

TEST_F(CatalogCommands, AFailedStructureEndsTheLoopAndKeepsWhatWasRead) {
    server.Expect("get_db_list").Reply(ListAnswer({1, 2, 3}));
    server.Expect("get_db_struct").Reply(StructAnswer("%a"));
    server.Expect("get_db_struct").Reply(ErrorPacket(12, "Нет базы"));
    TDatabasesList list;
    test::ExpectServerError([&] { client.RequestDatabasesListEx(list, true); }, 12, "Нет базы");
    server.Verify();
    EXPECT_EQ(server.RequestCount(), 3u);
    EXPECT_EQ(Structures(list), "1:%a 2: 3: ");
}

TEST_F(CatalogCommands, DatabasesAreRebuiltWithEachStructureAskedForTwice) {
    TDatabases databases;
    databases.Add().Info.Name = "old";
    server.Expect("get_db_list").Reply(ListAnswer({4, 6}));
    // The list's structures, then each database's own.
    for (const char* type : {"%list4", "%list6", "%own4", "%own6"})
        server.Expect("get_db_struct").Reply(StructAnswer(type));
    client.RequestDatabases(databases);
    server.Verify();
    EXPECT_EQ(SentFrom(server, 1),
              "cmd=get_db_struct db_id=4\ncmd=get_db_struct db_id=6\n"
              "cmd=get_db_struct db_id=4\ncmd=get_db_struct db_id=6\n");
    std::string read;
    for (int i = 0; i < databases.GetCount(); ++i) {
        TDatabase& db = databases.GetItem(i);
        const TDbLogicalStruct* def = db.LogicalStructures.GetDefault();
        read += Row(db.DbType == dtOstraDbDatabase, db.Info.Id, db.GetStructure().GetItemsCount(),
                    db.GetStructure().GetItem(0).Type, def ? def->Name : "none",
                    def ? def->GetCount() : -1);
    }
    EXPECT_EQ(read, "1|4|1|%own4|По умолчанию|1|1|6|1|%own6|По умолчанию|1|");

    // An empty catalog leaves no databases and asks for no structure.
    server.Expect("get_db_list").Reply(ListAnswer({}));
    client.RequestDatabases(databases);
    server.Verify();
    EXPECT_EQ(server.RequestCount(), 6u);
    EXPECT_EQ(databases.GetCount(), 0);
}

TEST_F(CatalogCommands, ProgressIsOfferedOnlyWhereTheServerTakesTheOffer) {
    struct Case {
        std::function<void(TOstraDbProtocol&, TInfoPacketEvent)> call;
        const char* cmd;
        bool offersWithHandler;
    } cases[] = {
        {[](TOstraDbProtocol& c, TInfoPacketEvent h) { c.AddDatabase(TDatabaseInfo(), h); },
         "add_db", true},
        {[](TOstraDbProtocol& c, TInfoPacketEvent h) { c.UpdateDatabase(TDatabaseInfo(), h); },
         "update_db", false},
        {[](TOstraDbProtocol& c, TInfoPacketEvent h) { c.ReloadBadFilesWithProgress(2, h); },
         "reload_bad_files", true},
    };
    std::size_t request = 0;
    for (const Case& c : cases) {
        for (const bool withHandler : {false, true}) {
            SCOPED_TRACE(Row(c.cmd, withHandler));
            std::string seen;
            TInfoPacketEvent handler;
            if (withHandler)
                handler = [&](TOstraDbProtocol& sender, pugi::xml_node xml) {
                    seen += xml.attribute("step").value();
                    // Started from the handler, the command is refused and leaves the running
                    // handler in place.
                    try {
                        c.call(sender, handler);
                    } catch (const TOstraClientSocketException& e) {
                        seen += "(" + std::to_string(e.Code) + ")";
                    }
                };
            server.Expect(c.cmd)
                .Reply(InfoPacket(R"(step="1")"))
                .Reply(InfoPacket(R"(step="2")"))
                .Reply(AnswerPacket({}, R"(<result db_id="31"/>)"));
            c.call(client, handler);
            const bool offered = withHandler && c.offersWithHandler;
            EXPECT_EQ(server.Request(request++).Attr("info_supported"), offered ? "True" : "");
            EXPECT_EQ(seen, withHandler ? "1(40)2(40)" : "");
            EXPECT_FALSE(client.OnInfo);
        }
    }
    server.Verify();
}

TEST_F(CatalogCommands, AddAndUpdateSendTheDatabaseAndAddReturnsTheNewId) {
    TDatabaseInfo info;
    info.Id = 12;
    info.Name = "Новая";
    info.Path = "D:\\new\\";
    server.Expect("add_db").Reply(AnswerPacket({}, R"(<result db_id="44"/>)"));
    EXPECT_EQ(client.AddDatabase(info, [](TOstraDbProtocol&, pugi::xml_node) {}), 44);
    server.Expect("update_db").Reply(AnswerPacket());
    client.UpdateDatabase(info, nullptr);
    server.Verify();
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(Row(server.Request(i).Attr("db_id"), server.Request(i).Attr("name"),
                      server.Request(i).Attr("path")),
                  "12|Новая|D:\\new\\|");
    // The offer follows the database's own attributes.
    EXPECT_TRUE(AttrText(server.Request(0)).ends_with(" info_supported=True"));
}

TEST_F(CatalogCommands, HandlerIsClearedAfterAnErrorAnswer) {
    int calls = 0;
    server.Expect("update_db").Reply(InfoPacket()).Reply(ErrorPacket(9, "занято"));
    EXPECT_THROW(
        client.UpdateDatabase(TDatabaseInfo(), [&](TOstraDbProtocol&, pugi::xml_node) { ++calls; }),
        TOstraClientSocketException);
    EXPECT_EQ(calls, 1);
    EXPECT_FALSE(client.OnInfo);

    server.Expect("reload_bad_files").Reply(ErrorPacket(9, "занято"));
    EXPECT_THROW(client.ReloadBadFilesWithProgress(1, [](TOstraDbProtocol&, pugi::xml_node) {}),
                 TOstraClientSocketException);
    EXPECT_FALSE(client.OnInfo);

    // A missing identifier in the answer is a conversion error, and clears the handler too.
    server.Expect("add_db").Reply(AnswerPacket({}, "<result/>"));
    EXPECT_THROW(client.AddDatabase(TDatabaseInfo(), [](TOstraDbProtocol&, pugi::xml_node) {}),
                 EConvertError);
    EXPECT_FALSE(client.OnInfo);
    server.Verify();
}

TEST_F(CatalogCommands, MergeStatusReadsAFullStopWhateverTheSeparator) {
    // The separator is changed after the request is built (which sets it to "."), before the
    // answer is read.
    struct RestoreSeparator {
        ~RestoreSeparator() { SetDecimalSeparator('.'); }
    } restore;
    server.Expect("get_mergevt_status_db")
        .Do([] { SetDecimalSeparator(','); })
        .Reply(AnswerPacket({}, R"(<vtables_merge_status percent="37.5"/>)"));
    server.Expect("get_mergevt_full_status_db")
        .Do([] { SetDecimalSeparator(','); })
        .Reply(AnswerPacket({}, R"(<vtables_merge_status percent="100" result="готово"/>)"));
    double percent = 0;
    client.RequestMergeVTableStatus(3, percent);
    EXPECT_DOUBLE_EQ(percent, 37.5);
    std::string text;
    client.RequestMergeVTableFullStatus(4, percent, text);
    EXPECT_EQ(Row(percent, text), "100|готово|");
    EXPECT_EQ(SentFrom(server, 0),
              "cmd=get_mergevt_status_db db_id=3\ncmd=get_mergevt_full_status_db db_id=4\n");

    // Without "percent" (or with one that is no number) the read fails.
    server.Expect().Reply(AnswerPacket({}, R"(<vtables_merge_status result="x"/>)"));
    EXPECT_THROW(client.RequestMergeVTableFullStatus(4, percent, text), EConvertError);
    server.Expect().Reply(AnswerPacket({}, R"(<vtables_merge_status percent="abc"/>)"));
    EXPECT_THROW(client.RequestMergeVTableStatus(4, percent), EConvertError);
    server.Verify();
}

}  // namespace
}  // namespace ostradb
