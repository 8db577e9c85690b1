// Database catalog and server-job commands: what each sends, what it reads, the structure
// requests that follow the list, and the progress handler's life.

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "exchange_fixture.hpp"
#include "ostradb/model/databases.hpp"
#include "ostradb/model/db_struct.hpp"
#include "ostradb/util/numbers.hpp"

namespace ostradb {
namespace {

using test::AnswerPacket;
using test::ErrorPacket;
using test::InfoPacket;
using Attrs = std::vector<std::pair<std::string, std::string>>;

// The attributes of the request's command element, in the order they were sent.
Attrs CommandAttrs(const test::RecordedRequest& r) {
    Attrs result;
    for (const pugi::xml_attribute a : r.Command().attributes())
        result.emplace_back(a.name(), a.value());
    return result;
}

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

using CatalogCommands = ExchangeTest;

TEST_F(CatalogCommands, SendExactlyTheirAttributes) {
    struct Case {
        std::function<void(TOstraDbProtocol&)> call;
        Attrs sent;
    } cases[] = {
        {[](TOstraDbProtocol& c) { c.DeleteDatabase(3); }, {{"cmd", "delete_db"}, {"db_id", "3"}}},
        {[](TOstraDbProtocol& c) { c.StopMergeVTableDB(4); },
         {{"cmd", "stop_merge_vtable_db"}, {"db_id", "4"}}},
        {[](TOstraDbProtocol& c) { c.ReloadDatabaseStruct(-5); },
         {{"cmd", "reload_db_struct"}, {"db_id", "-5"}}},
        {[](TOstraDbProtocol& c) { c.ReloadBadFiles(6); },
         {{"cmd", "reload_bad_files"}, {"db_id", "6"}}},
        {[](TOstraDbProtocol& c) { c.ReloadBadFilesWithProgress(6, nullptr); },
         {{"cmd", "reload_bad_files"}, {"db_id", "6"}}},
        {[](TOstraDbProtocol& c) { c.DeleteUnusedLevels(7); },
         {{"cmd", "delete_unused_levels"}, {"db_id", "7"}}},
        {[](TOstraDbProtocol& c) { c.MergeVTableDB(8, true, false); },
         {{"cmd", "merge_vtable_db"},
          {"db_id", "8"},
          {"use_delete", "True"},
          {"fail_no_connect", "False"}}},
        {[](TOstraDbProtocol& c) { c.MergeVTableDB(8, false, true); },
         {{"cmd", "merge_vtable_db"},
          {"db_id", "8"},
          {"use_delete", "False"},
          {"fail_no_connect", "True"}}},
        // "command" on the element named "command"; the command name stays in "cmd".
        {[](TOstraDbProtocol& c) { c.StartWFOstra("wf.exe /run \"a b\""); },
         {{"cmd", "start_wfostra"}, {"command", "wf.exe /run \"a b\""}}},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        server.Expect().Reply(AnswerPacket());
        cases[i].call(client);
        EXPECT_EQ(CommandAttrs(server.Request(i)), cases[i].sent) << "case " << i;
        EXPECT_FALSE(server.Request(i).Command().first_child()) << "case " << i;
    }
    server.Verify();
}

TEST_F(CatalogCommands, ReadWhatTheServerAnswers) {
    server.Expect("get_wfexe_path")
        .Reply(AnswerPacket({}, R"(<WFOstra_Options wfexe_path="C:\wf\wf.exe"/>)"));
    std::string path;
    client.RequestWFExePath(path);
    EXPECT_EQ(path, "C:\\wf\\wf.exe");

    server.Expect("get_all_vtable_list")
        .Reply(AnswerPacket({}, R"(<all_vtables use_delete="true" collection_path="C:\v">)"
                                R"(<item name="t1" file_name="t1.db" only_login_update="0"/>)"
                                R"(</all_vtables>)"));
    TVTables tables;
    client.RequestVTableList(tables);
    ASSERT_EQ(tables.GetItemsCount(), 1);
    EXPECT_EQ(tables.GetItem(0).FileName, "t1.db");
    EXPECT_EQ(tables.CollectionPath, "C:\\v");

    server.Expect("get_vtable_options")
        .Reply(AnswerPacket(
            {}, R"(<Result><Items><Item Section="s" Key="k" Value="v"/></Items></Result>)"));
    TVTableOptions options;
    client.RequestVTableOptions(options);
    ASSERT_EQ(options.GetItemsCount(), 1);
    EXPECT_EQ(options.GetItem(0).Key, "k");
    EXPECT_EQ(options.GetItem(0).Value, "v");
    server.Verify();
    const char* cmds[] = {"get_wfexe_path", "get_all_vtable_list", "get_vtable_options"};
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(CommandAttrs(server.Request(i)), (Attrs{{"cmd", cmds[i]}}));
        EXPECT_FALSE(server.Request(i).Command().first_child());
    }
}

TEST_F(CatalogCommands, DatabasesListWithoutStructuresIsOneExchange) {
    server.Expect("get_db_list").Reply(ListAnswer({5, 8}));
    TDatabasesList list;
    client.RequestDatabasesListEx(list, false);
    server.Verify();
    EXPECT_EQ(server.RequestCount(), 1u);
    EXPECT_EQ(CommandAttrs(server.Request(0)), (Attrs{{"cmd", "get_db_list"}}));
    ASSERT_EQ(list.GetCount(), 2);
    EXPECT_EQ(list.GetItem(1).Name, "db8");
    EXPECT_EQ(list.GetItem(0).Structure.GetItemsCount(), 0);
}

TEST_F(CatalogCommands, DatabasesListAsksForEachStructureInListOrder) {
    server.Expect("get_db_list").Reply(ListAnswer({9, 2, 5}));
    for (const char* type : {"%a", "%b", "%c"})
        server.Expect("get_db_struct").Reply(StructAnswer(type));
    TDatabasesList list;
    client.RequestDatabasesList(list);
    server.Verify();
    ASSERT_EQ(server.RequestCount(), 4u);
    const char* ids[] = {"9", "2", "5"};
    const char* types[] = {"%a", "%b", "%c"};
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(CommandAttrs(server.Request(i + 1)),
                  (Attrs{{"cmd", "get_db_struct"}, {"db_id", ids[i]}}));
        ASSERT_EQ(list.GetItem(i).Structure.GetItemsCount(), 1);
        EXPECT_EQ(list.GetItem(i).Structure.GetItem(0).Type, types[i]);
    }
}

TEST_F(CatalogCommands, AFailedStructureEndsTheLoopAndKeepsWhatWasRead) {
    server.Expect("get_db_list").Reply(ListAnswer({1, 2, 3}));
    server.Expect("get_db_struct").Reply(StructAnswer("%a"));
    server.Expect("get_db_struct").Reply(ErrorPacket(12, "Нет базы"));
    TDatabasesList list;
    try {
        client.RequestDatabasesListEx(list, true);
        FAIL() << "no error";
    } catch (const TOstraClientSocketException& e) {
        EXPECT_EQ(e.Code, 12);
        EXPECT_STREQ(e.what(), "Нет базы");
    }
    server.Verify();
    EXPECT_EQ(server.RequestCount(), 3u);
    EXPECT_EQ(list.GetItem(0).Structure.GetItemsCount(), 1);
    EXPECT_EQ(list.GetItem(2).Structure.GetItemsCount(), 0);
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
    ASSERT_EQ(server.RequestCount(), 5u);  // 1 + 2 * N
    const char* ids[] = {"4", "6", "4", "6"};
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(server.Request(i + 1).Attr("db_id"), ids[i]);

    ASSERT_EQ(databases.GetCount(), 2);
    for (int i = 0; i < 2; ++i) {
        TDatabase& db = databases.GetItem(i);
        EXPECT_EQ(db.DbType, dtOstraDbDatabase);
        EXPECT_EQ(db.Info.Id, i == 0 ? 4 : 6);
        ASSERT_EQ(db.GetStructure().GetItemsCount(), 1);
        EXPECT_EQ(db.GetStructure().GetItem(0).Type, i == 0 ? "%own4" : "%own6");
        const TDbLogicalStruct* def = db.LogicalStructures.GetDefault();
        ASSERT_NE(def, nullptr);
        EXPECT_EQ(def->Name, "По умолчанию");
        EXPECT_EQ(def->GetCount(), 1);
    }
}

TEST_F(CatalogCommands, AnEmptyCatalogLeavesNoDatabases) {
    TDatabases databases;
    databases.Add().Info.Name = "old";
    server.Expect("get_db_list").Reply(ListAnswer({}));
    client.RequestDatabases(databases);
    server.Verify();
    EXPECT_EQ(server.RequestCount(), 1u);
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
            std::vector<std::string> seen;
            TInfoPacketEvent handler;
            if (withHandler)
                handler = [&](TOstraDbProtocol&, pugi::xml_node xml) {
                    seen.push_back(xml.attribute("step").value());
                };
            server.Expect(c.cmd)
                .Reply(InfoPacket(R"(step="1")"))
                .Reply(InfoPacket(R"(step="2")"))
                .Reply(AnswerPacket({}, R"(<result db_id="31"/>)"));
            c.call(client, handler);
            const test::RecordedRequest& r = server.Request(request++);
            const bool offered = withHandler && c.offersWithHandler;
            EXPECT_EQ(r.Attr("info_supported"), offered ? "True" : "") << c.cmd << withHandler;
            const std::vector<std::string> expected =
                withHandler ? std::vector<std::string>{"1", "2"} : std::vector<std::string>{};
            EXPECT_EQ(seen, expected) << c.cmd;
            EXPECT_FALSE(client.OnInfo) << c.cmd;
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
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(server.Request(i).Attr("db_id"), "12");
        EXPECT_EQ(server.Request(i).Attr("name"), "Новая");
        EXPECT_EQ(server.Request(i).Attr("path"), "D:\\new\\");
    }
    // The offer follows the database's own attributes.
    EXPECT_EQ(CommandAttrs(server.Request(0)).back().first, "info_supported");
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
    EXPECT_DOUBLE_EQ(percent, 100.0);
    EXPECT_EQ(text, "готово");
    EXPECT_EQ(CommandAttrs(server.Request(0)),
              (Attrs{{"cmd", "get_mergevt_status_db"}, {"db_id", "3"}}));
    EXPECT_EQ(CommandAttrs(server.Request(1)),
              (Attrs{{"cmd", "get_mergevt_full_status_db"}, {"db_id", "4"}}));

    // Without "percent" (or with one that is no number) the read fails.
    server.Expect().Reply(AnswerPacket({}, R"(<vtables_merge_status result="x"/>)"));
    EXPECT_THROW(client.RequestMergeVTableFullStatus(4, percent, text), EConvertError);
    server.Expect().Reply(AnswerPacket({}, R"(<vtables_merge_status percent="abc"/>)"));
    EXPECT_THROW(client.RequestMergeVTableStatus(4, percent), EConvertError);
    server.Verify();
}

}  // namespace
}  // namespace ostradb
