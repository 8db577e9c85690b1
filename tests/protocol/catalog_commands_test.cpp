// Database catalog and server-job commands: what each sends, what it reads, the structure
// requests that follow the list, and the progress handler's life.

#include <string>
#include <vector>

#include "exchange_fixture.hpp"
#include "ostradb/model/databases.hpp"
#include "ostradb/model/db_struct.hpp"
#include "ostradb/util/numbers.hpp"

namespace ostradb {
namespace {

using namespace test;

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

// Each database's id and the types of its structure's levels.
std::string Structures(const TDatabasesList& list) {
    std::string out;
    for (const TDatabaseInfo& db : list.Items) {
        out += std::to_string(db.Id) + ":";
        for (const TDbStructItem& level : db.Structure.Items)
            out += level.Type;
        out += " ";
    }
    return out;
}

using CatalogCommands = ExchangeTest;

TEST_F(CatalogCommands, SendExactlyTheirAttributesAndReadTheAnswer) {
    for (int i = 0; i < 9; ++i)
        server.Expect().Reply(AnswerPacket());
    server.Expect().Reply(AnswerPacket({}, R"(<WFOstra_Options wfexe_path="C:\wf\wf.exe"/>)"));
    server.Expect().Reply(AnswerPacket({},
                                       R"(<all_vtables use_delete="true" collection_path="C:\v">)"
                                       R"(<item name="t1" file_name="t1.db" )"
                                       R"(only_login_update="0"/></all_vtables>)"));
    server.Expect().Reply(AnswerPacket(
        {}, R"(<Result><Items><Item Section="s" Key="k" Value="v"/></Items></Result>)"));
    client.DeleteDatabase(3);
    client.StopMergeVTableDB(4);
    client.ReloadDatabaseStruct(-5);
    client.ReloadBadFiles(6);
    client.ReloadBadFilesWithProgress(6, nullptr);
    client.DeleteUnusedLevels(7);
    client.MergeVTableDB(8, true, false);
    client.MergeVTableDB(8, false, true);
    client.StartWFOstra("wf.exe /run \"a b\"");
    std::string path;
    client.RequestWFExePath(path);
    TVTables tables;
    client.RequestVTableList(tables);
    TVTableOptions options;
    client.RequestVTableOptions(options);
    // "command" on the element named "command"; the command name stays in "cmd".
    EXPECT_EQ(Commands(server),
              R"(<command cmd="delete_db" db_id="3"/>
<command cmd="stop_merge_vtable_db" db_id="4"/>
<command cmd="reload_db_struct" db_id="-5"/>
<command cmd="reload_bad_files" db_id="6"/>
<command cmd="reload_bad_files" db_id="6"/>
<command cmd="delete_unused_levels" db_id="7"/>
<command cmd="merge_vtable_db" db_id="8" use_delete="True" fail_no_connect="False"/>
<command cmd="merge_vtable_db" db_id="8" use_delete="False" fail_no_connect="True"/>
<command cmd="start_wfostra" command="wf.exe /run &quot;a b&quot;"/>
<command cmd="get_wfexe_path"/>
<command cmd="get_all_vtable_list"/>
<command cmd="get_vtable_options"/>
)");
    EXPECT_EQ(Row(path, tables.GetItemsCount(), tables.GetItem(0).FileName, tables.CollectionPath,
                  options.GetItemsCount(), options.GetItem(0).Key, options.GetItem(0).Value),
              "C:\\wf\\wf.exe|1|t1.db|C:\\v|1|k|v|");
    server.Verify();
}

TEST_F(CatalogCommands, DatabasesListAsksForEachStructureInListOrderOnlyWhenAsked) {
    server.Expect("get_db_list").Reply(ListAnswer({5, 8}));
    TDatabasesList list;
    client.RequestDatabasesListEx(list, false);
    EXPECT_EQ(Structures(list), "5: 8: ");
    server.Expect("get_db_list").Reply(ListAnswer({9, 2, 5}));
    for (const char* type : {"%a", "%b", "%c"})
        server.Expect("get_db_struct").Reply(StructAnswer(type));
    client.RequestDatabasesList(list);
    EXPECT_EQ(Structures(list), "9:%a 2:%b 5:%c ");
    EXPECT_EQ(Commands(server), R"(<command cmd="get_db_list"/>
<command cmd="get_db_list"/>
<command cmd="get_db_struct" db_id="9"/>
<command cmd="get_db_struct" db_id="2"/>
<command cmd="get_db_struct" db_id="5"/>
)");

    // A failed structure ends the loop and keeps what was read.
    server.Expect("get_db_list").Reply(ListAnswer({1, 2, 3}));
    server.Expect("get_db_struct").Reply(StructAnswer("%a"));
    server.Expect("get_db_struct").Reply(ErrorPacket(12, "Нет базы"));
    test::ExpectServerError([&] { client.RequestDatabasesListEx(list, true); }, 12, "Нет базы");
    server.Verify();
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
    EXPECT_EQ(Commands(server, 1), R"(<command cmd="get_db_struct" db_id="4"/>
<command cmd="get_db_struct" db_id="6"/>
<command cmd="get_db_struct" db_id="4"/>
<command cmd="get_db_struct" db_id="6"/>
)");
    std::string read;
    for (TDatabase& db : databases.Items) {
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
    EXPECT_EQ(Row(server.RequestCount(), databases.GetCount()), "6|0|");
}

// add_db and reload_bad_files offer progress when given a handler, update_db never; the
// handler sees the info packets and is gone after the command, error answers included.
TEST_F(CatalogCommands, ProgressIsOfferedOnlyWhereTheServerTakesTheOffer) {
    TDatabaseInfo info;
    info.Id = 12;
    info.Name = "Новая";
    info.Path = "D:\\new\\";
    std::string seen;
    TInfoPacketEvent handler;
    handler = [&](TOstraDbProtocol& sender, pugi::xml_node xml) {
        seen += xml.attribute("step").value();
        // Started from the handler, a command is refused and leaves the running handler in place.
        try {
            sender.ReloadBadFilesWithProgress(1, handler);
        } catch (const TOstraClientSocketException& e) {
            seen += "(" + std::to_string(e.Code) + ")";
        }
    };
    for (int i = 0; i < 6; ++i)
        server.Expect()
            .Reply(InfoPacket(R"(step="1")"))
            .Reply(InfoPacket(R"(step="2")"))
            .Reply(AnswerPacket({}, R"(<result db_id="44"/>)"));
    for (const TInfoPacketEvent& h : {TInfoPacketEvent(), handler}) {
        EXPECT_EQ(client.AddDatabase(info, h), 44);
        client.UpdateDatabase(info, h);
        client.ReloadBadFilesWithProgress(2, h);
        EXPECT_FALSE(client.OnInfo);
    }
    EXPECT_EQ(seen, "1(40)2(40)1(40)2(40)1(40)2(40)");
    const std::string db =
        R"(db_id="12" name="Новая" path="D:\new\" ext_path="" is_private="false")";
    EXPECT_EQ(Commands(server),
              "<command cmd=\"add_db\" " + db + "><path_list/></command>\n" +
                  "<command cmd=\"update_db\" " + db + "><path_list/></command>\n" +
                  "<command cmd=\"reload_bad_files\" db_id=\"2\"/>\n" + "<command cmd=\"add_db\" " +
                  db + " info_supported=\"True\"><path_list/></command>\n" +
                  "<command cmd=\"update_db\" " + db + "><path_list/></command>\n" +
                  "<command cmd=\"reload_bad_files\" db_id=\"2\" "
                  "info_supported=\"True\"/>\n");

    int calls = 0;
    const TInfoPacketEvent counter = [&](TOstraDbProtocol&, pugi::xml_node) { ++calls; };
    server.Expect("update_db").Reply(InfoPacket()).Reply(ErrorPacket(9, "занято"));
    EXPECT_THROW(client.UpdateDatabase(info, counter), TOstraClientSocketException);
    EXPECT_EQ(calls, 1);
    EXPECT_FALSE(client.OnInfo);
    server.Expect("reload_bad_files").Reply(ErrorPacket(9, "занято"));
    EXPECT_THROW(client.ReloadBadFilesWithProgress(1, counter), TOstraClientSocketException);
    EXPECT_FALSE(client.OnInfo);
    // A missing identifier in the answer is a conversion error, and clears the handler too.
    server.Expect("add_db").Reply(AnswerPacket({}, "<result/>"));
    EXPECT_THROW(client.AddDatabase(info, counter), EConvertError);
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
    double percent = 0, fullPercent = 0;
    client.RequestMergeVTableStatus(3, percent);
    std::string text;
    client.RequestMergeVTableFullStatus(4, fullPercent, text);
    EXPECT_EQ(Row(percent, fullPercent, text), "37.5|100|готово|");
    EXPECT_EQ(Commands(server), R"(<command cmd="get_mergevt_status_db" db_id="3"/>
<command cmd="get_mergevt_full_status_db" db_id="4"/>
)");

    // Without "percent" (or with one that is no number) the read fails.
    server.Expect().Reply(AnswerPacket({}, R"(<vtables_merge_status result="x"/>)"));
    EXPECT_THROW(client.RequestMergeVTableFullStatus(4, percent, text), EConvertError);
    server.Expect().Reply(AnswerPacket({}, R"(<vtables_merge_status percent="abc"/>)"));
    EXPECT_THROW(client.RequestMergeVTableStatus(4, percent), EConvertError);
    server.Verify();
}

}  // namespace
}  // namespace ostradb
