// Administration commands: what each sends and reads; the log, options and file statistics.

#include "ostradb/protocol/admin_commands.hpp"
#include "exchange_fixture.hpp"
#include "ostradb/model/databases.hpp"
#include "ostradb/model/filters.hpp"
#include "ostradb/serial/xml.hpp"
#include "ostradb/users/users.hpp"

namespace ostradb {
namespace {

using namespace test;

TEST_F(ExchangeTest, AdministrationCommandsSendAndRead) {
    for (const auto& [attrs, body] : std::initializer_list<std::pair<const char*, const char*>>{
             {"", R"(<UserPermissionsData><Users><Item User="admin" Name="Админ"/></Users><Groups>)"
                  R"(<Item Name="G" Rights="33"><Users><Item>admin</Item></Users></Item></Groups>)"
                  R"(</UserPermissionsData>)"},
             {"", ""},
             {"", R"(<log><item id="1" type="2" user="u" addr="10.0.0.1" text="старт" )"
                  R"(time="45000.5"/><Item id="9" type="9" time="1"/><item id="3" type="-4" )"
                  R"(time="0"/></log>)"},
             {R"(value="5")", ""},
             {R"(value="7")", ""},
             {"", ""},
             {"", R"(<Options><Item Name="a1" Value="1"/><Item Name="b1" Value="x"/></Options>)"},
             {"", ""},
             {"", ""}})
        server.Expect().Reply(AnswerPacket(attrs, body));
    TUmData um, umToSave;
    umToSave.Users().AddNew().User = "admin";
    TServerLog log;
    TServerOptions options, optionsToSave;
    optionsToSave.SetOption("LogLevel", "3");
    client.GetUmData(um);
    client.SaveUmData(umToSave);
    client.RequestLog(TServerLogFilter{}, log);
    const std::string byDefault = client.GetServOptionDef("LogLevel", "3");
    const std::string value = client.GetServOption("LogLevel");
    client.SetServOption("LogLevel", "4");
    client.GetServOptions("a*,b*", options);
    client.SetServOptions(optionsToSave);
    client.ReloadDictionary();
    // The log request is the bare command: the filter is not sent.
    EXPECT_EQ(Commands(server), R"(<command cmd="get_auth_data"/>
<command cmd="save_auth_data"><UserPermissionsData><Users><Item User="admin" Name="" Pass=""><Attributes/></Item></Users><Groups/></UserPermissionsData></command>
<command cmd="request_log"/>
<command cmd="get_serv_option" name="LogLevel" def="3"/>
<command cmd="get_serv_option" name="LogLevel" def=""/>
<command cmd="set_serv_option" name="LogLevel" value="4"/>
<command cmd="get_serv_options"><Masks><Item>a*</Item><Item>b*</Item></Masks></command>
<command cmd="set_serv_options"><Options><Item Name="LogLevel" Value="3"/></Options></command>
<command cmd="reload_dictionary"/>
)");
    ASSERT_EQ(Row(um.Users().Count(), um.Groups().Count(), log.Count(), options.Count()),
              "1|1|2|2|");
    const TServerLogRecord& r = log.Item(0);
    EXPECT_EQ(Row(um.Users().Item(0).Name, um.Groups().Item(0).Rights,
                  um.Groups().Item(0).ContainsUser("admin"), r.Id, r.MsgType, r.User, r.Addr,
                  r.Text, r.Time, log.Item(1).MsgType, byDefault, value, options.GetOption("B1")),
              "Админ|33|1|1|2|u|10.0.0.1|старт|45000.5|-4|5|7|x|");
    server.Verify();
}

TEST(ServerLog, AMissingNumberFailsTheReadKeepingWhatWasRead) {
    pugi::xml_document doc;
    xml::Parse(doc, R"(<log><item id="1" type="2" time="3"/><item type="2" time="3"/></log>)");
    TServerLog log;
    EXPECT_THROW(log.ReadFromXml(doc.document_element()), EConvertError);
    ASSERT_EQ(log.Count(), 2);
    EXPECT_EQ(test::Row(log.Item(0).Id, log.Item(1).Id), "1|-1|");
}

TEST(ServerOptions, LookUpIgnoresCaseAndNumbersDefaultToZero) {
    TServerOptions options;
    options.SetOption("Port", "12x");
    EXPECT_EQ(test::Row(options.GetInteger("port"), options.GetInteger("absent"),
                        options.GetOption("absent")),
              "0|0||");
    options.SetOption("PORT", "22344");
    options.SetInteger("Timeout", -30);
    ASSERT_EQ(options.Count(), 2);
    EXPECT_EQ(test::Row(options.Item(0).Name, options.GetInteger("Port"), options.Item(1).Value),
              "Port|22344|-30|");
}

// Two text columns, two value columns; a row without a name and with files, then a named row
// without files; children of other names are skipped.
constexpr const char* kStatBody =
    R"(<files_stat><hat><values><item type="1" name="Файлов"/><Item type="9" name="x"/>)"
    R"(<item type="2" name="Кривых"/></values><text><item value="Месторождение"/>)"
    R"(<item value="Скважина"/></text></hat><lines>)"
    R"(<line name=""><values v1="3" v2="10"/><text><item value="F1"/><item value="W1"/>)"
    R"(</text><files><item value="a.ws"/><item value="b.ws"/></files></line><other/>)"
    R"(<line name="Итого"><values v2="20" v1="5"/><text><item value="F1"/><item value=""/>)"
    R"(</text></line></lines>)";

TEST_F(ExchangeTest, FilesStatSendsItsRequestInOrderAndRendersTheTable) {
    TDatabase db;
    db.Info.Id = 4;
    db.GetStructure().AddNewItem().Type = "%well";
    TFilter filter;
    for (const char* key : {"%field", "%well"}) {
        TFilterItem& item = filter.Add();
        item.Key = key;
        item.Values.Add("12");
    }
    server.Expect("get_files_stat")
        .Reply(AnswerPacket({}, std::string(kStatBody) +
                                    R"(<quality><item msg_kind="k" rule="r" status="s" cnt="2"/>)"
                                    R"(<Item msg_kind="x"/></quality></files_stat>)"));
    TFilesStatResult result;
    client.RequestFilesStat(result, db, {1, 2}, "%well", &filter, "*.ws", true, false);

    // The filter is checked against the database's levels: "%field" is not one of them.
    EXPECT_EQ(test::CommandText(server.Request(0)),
              R"(<command cmd="get_files_stat" db_id="4" group_level="%well")"
              R"( file_name_filter="*.ws" request_files="true" request_quality="false"><path>)"
              R"(<item id="1"/><item id="2"/></path><filter><Filter><Item Param="%well" Oper="=">)"
              R"(<Items><Item>12</Item></Items></Item></Filter></filter></command>)");

    TStringList lines{"before"};
    result.ToStrings(lines);
    EXPECT_EQ(test::Joined(lines),
              "before|Статистика по файлам| \tМесторождение\tСкважина\tФайлов\tКривых|"
              " \tF1\tW1\t3\t10|Итого\tF1\t\t5\t20||Список файлов для уровня F1\\W1:|a.ws|b.ws||"
              "Проверка качества данных (вид проверки, правило, статус, кол-во замечаний в БД):|"
              "k\tr\ts\t2|");
    server.Verify();
}

TEST(FilesStatResult, ReadingWithoutQualityOrFilesAndAMissingValue) {
    pugi::xml_document doc;
    xml::Parse(doc, std::string("<answer>") + kStatBody + "<quality/></files_stat></answer>");
    TFilesStatResult result;
    result.Qualities.Add("stale");
    result.ReadFromXml(doc.document_element());
    EXPECT_TRUE(result.Qualities.Empty());
    result.Lines.Item(0).Files.Clear();
    TStringList lines;
    result.ToStrings(lines);
    ASSERT_EQ(lines.Count(), 4);
    EXPECT_EQ(lines[3], "Итого\tF1\t\t5\t20");

    xml::Parse(doc, R"(<answer><files_stat><hat><values><item type="1" name="a"/>)"
                    R"(<item type="1" name="b"/></values></hat><lines><line name="r">)"
                    R"(<values v1="1"/></line></lines></files_stat></answer>)");
    EXPECT_THROW(result.ReadFromXml(doc.document_element()), EConvertError);
}

}  // namespace
}  // namespace ostradb
