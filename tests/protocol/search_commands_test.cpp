// Search commands: the query text, what each search sends and reads, and the curve search's
// database list and full file names.

#include <array>
#include <string>
#include <utility>
#include <vector>

#include "exchange_fixture.hpp"
#include "ostradb/model/databases.hpp"
#include "ostradb/model/level_files.hpp"
#include "ostradb/protocol/connection_settings.hpp"
#include "ostradb/protocol/search_commands.hpp"
#include "ostradb/util/string_list.hpp"

namespace ostradb {
namespace {

using test::AnswerPacket;
using test::ErrorPacket;
using test::RecordedRequest;
using Lines = std::vector<std::string>;
using Attributes = std::vector<std::pair<std::string, std::string>>;

Lines ItemTexts(pugi::xml_node node) {
    Lines texts;
    for (pugi::xml_node item = node.child("Item"); item; item = item.next_sibling("Item"))
        texts.push_back(item.text().get());
    return texts;
}

Attributes AttributesOf(pugi::xml_node node) {
    Attributes attrs;
    for (pugi::xml_attribute a : node.attributes())
        attrs.emplace_back(a.name(), a.value());
    return attrs;
}

using SearchCommands = ExchangeTest;

TEST(SearchRequest, ReadFromSimpleTextSplitsAtTheFirstEqualsSign) {
    using Item = std::array<std::string, 3>;
    const Item db{"databases", "=", "db"};
    const Item t{"tables", "=", "t"};
    struct Case {
        const char* text;
        std::vector<Item> items;  // read, or left by a refusal
        const char* error;        // the refusal
    } cases[] = {
        {"Запад\r\nmain\r\na=b=c\r\n\r\n=b\r\nимя=значение",
         {{"databases", "=", "Запад"},
          {"tables", "=", "main"},
          {"*a", "=", "b=c"},
          {"*", "=", "b"},
          {"*имя", "=", "значение"}},
         nullptr},
        {"\r\n\r\nx=1", {{"databases", "=", ""}, {"tables", "=", ""}, {"*x", "=", "1"}}, nullptr},
        {"db\r\nt\r\na=", {db, t}, "Строка запроса a= не соответствует маске *=*"},
        {"db\r\nt\r\nx=1\r\nбез знака",
         {db, t, {"*x", "=", "1"}},
         "Строка запроса без знака не соответствует маске *=*"},
        {"db\r\nt\r\n=", {db, t}, "Строка запроса = не соответствует маске *=*"},
        {"db\r\nt", {}, "Число строк запроса < 3-х"},
        {"", {}, "Число строк запроса < 3-х"},
    };
    for (const Case& c : cases) {
        TSearchRequest request;
        request.Add("stale", "<", "x");  // replaced in any case
        try {
            request.ReadFromSimpleText(c.text);
            EXPECT_EQ(c.error, nullptr) << "no error for " << c.text;
        } catch (const Error& e) {
            EXPECT_STREQ(e.what(), c.error);
        }
        std::vector<Item> read;
        for (int i = 0; i < request.GetCount(); ++i) {
            const TSearchItem& item = request.GetItem(i);
            read.push_back({item.Type, item.Oper, item.Values});
        }
        EXPECT_EQ(read, c.items) << c.text;
    }
}

TEST_F(SearchCommands, SearchSendsFiltersAndAddsTheFoundFiles) {
    TSearchRequest request;
    request.Add("databases", "=", "Запад");
    request.Add("*%well", "<>", "12");
    server.Expect("search").Reply(
        AnswerPacket("", R"(<file filename="a.ws"/><dir filename="x"/><file filename="б.ws"/>)"));
    TStringList files{"old"};
    client.Search(request, files);
    EXPECT_EQ(files.Lines(), (Lines{"old", "a.ws", "б.ws"}));

    const pugi::xml_node items = server.Request(0).Command().child("items");
    std::vector<Attributes> filters;
    for (pugi::xml_node f = items.first_child(); f; f = f.next_sibling()) {
        EXPECT_STREQ(f.name(), "filter");
        filters.push_back(AttributesOf(f));
    }
    EXPECT_EQ(filters,
              (std::vector<Attributes>{{{"type", "databases"}, {"oper", "="}, {"values", "Запад"}},
                                       {{"type", "*%well"}, {"oper", "<>"}, {"values", "12"}}}));
    server.Verify();
}

TEST_F(SearchCommands, SearchXmlCopiesTheRequestInAndTheResultOut) {
    pugi::xml_document request;
    request.append_child("items").append_child("filter").append_attribute("type").set_value("t");
    pugi::xml_document answer;
    server.Expect("search").Reply(
        AnswerPacket("", R"(<other/><result count="2"><file filename="a.ws"/></result>)"));
    client.SearchXML(request, answer);
    const pugi::xml_node sent = server.Request(0).Command();
    EXPECT_STREQ(sent.child("items").child("filter").attribute("type").value(), "t");
    EXPECT_EQ(AttributesOf(sent), (Attributes{{"cmd", "search"}}));
    const pugi::xml_node result = answer.document_element();
    EXPECT_STREQ(result.name(), "result");
    EXPECT_STREQ(result.attribute("count").value(), "2");
    EXPECT_STREQ(result.child("file").attribute("filename").value(), "a.ws");

    // No "result": an empty one, and nothing of the previous answer is left.
    server.Expect("search").Reply(AnswerPacket());
    client.SearchXML(request, answer);
    EXPECT_STREQ(answer.document_element().name(), "result");
    EXPECT_FALSE(answer.document_element().first_child());
    EXPECT_EQ(std::distance(answer.children().begin(), answer.children().end()), 1);
    server.Verify();
}

TEST_F(SearchCommands, LevelSearchesSendDbIdAndWordsAndReadTheirAnswers) {
    TDatabase database;
    database.Info.Id = 12;
    database.GetStructure().AddNewItem().Type = "%field";
    database.GetStructure().AddNewItem().Type = "%well";
    const TStringList words{"Север", "12"};

    server.Expect("search_levels")
        .Reply(AnswerPacket(R"(exec_time="0.25")",
                            R"(<file name="a.ws" type="1" trunk_id="" is_main="false">
                                 <path><item value="Северное"/><item value="12"/></path></file>)"));
    TLevelFilesList files;
    double execTime = 0;
    client.SearchLevels(database, words, files, execTime);
    ASSERT_EQ(files.GetCount(), 1);
    EXPECT_EQ(files.GetItem(0).PathNames.Values("%well"), "12");  // read with the structure
    EXPECT_EQ(execTime, 0.25);

    server.Expect("search_levels2").Reply(AnswerPacket(R"(exec_time="1.5")", R"(
            <Result HasMoreResult="true"><Items><Item>
              <WellLevels><Item>Северное</Item><Item>12</Item></WellLevels>
              <SurveyLevels><Item LevelType="%survey">
                <SurveyValues><Item>ГИС 2001</Item></SurveyValues>
                <AllValues><Item>ГИС 1999</Item><Item>ГИС 2001</Item></AllValues>
              </Item></SurveyLevels>
            </Item></Items></Result>)"));
    TSearchLevelsResult result;
    client.SearchLevels2(database, words, result);
    EXPECT_TRUE(result.HasMoreResult);
    EXPECT_EQ(result.ExecTime, 1.5);
    ASSERT_EQ(result.GetCount(), 1);
    const TSearchLevelsItem& well = result.GetItem(0);
    EXPECT_EQ(well.WellLevels.Lines(), (Lines{"Северное", "12"}));
    ASSERT_EQ(well.GetNonKeyCount(), 1);
    EXPECT_EQ(well.GetNonKeyItem(0).LevelType, "%survey");
    EXPECT_EQ(well.GetNonKeyItem(0).SurveyValues.Lines(), Lines{"ГИС 2001"});
    EXPECT_EQ(well.GetNonKeyItem(0).AllValues.Lines(), (Lines{"ГИС 1999", "ГИС 2001"}));

    // The same result object again: a "Result" that says nothing of more results.
    server.Expect("search_levels2").Reply(AnswerPacket(R"(exec_time="2")", "<Result/>"));
    client.SearchLevels2(database, words, result);
    EXPECT_FALSE(result.HasMoreResult);
    EXPECT_EQ(result.GetCount(), 0);

    for (std::size_t i = 0; i < 3; ++i) {
        const RecordedRequest& r = server.Request(i);
        EXPECT_EQ(AttributesOf(r.Command()), (Attributes{{"cmd", r.Cmd()}, {"DbId", "12"}}));
        EXPECT_EQ(ItemTexts(r.Command().child("WordsToSearch")), words.Lines());
    }
    server.Verify();
}

TEST_F(SearchCommands, FindFilesForWellSendsBothOptionsAndReadsTheFiles) {
    struct Case {
        TFindFilesForWellOpts opts;
        const char* inclAll;
        const char* nonKey;
    } cases[] = {
        {{}, "False", "False"},
        {{fffwoIncludeAllWsFiles}, "True", "False"},
        {{fffwoUseNonKeylevels}, "False", "True"},
    };
    const TStringList levels{"Северное", "12"};
    std::size_t request = 0;
    for (const Case& c : cases) {
        server.Expect("find_files_for_well")
            .Reply(
                AnswerPacket("", "<ResultFiles><Item>a.ws</Item><Item>b.ws</Item></ResultFiles>"));
        TStringList files{"old"};
        client.FindFilesForWell(7, levels, files, c.opts);
        EXPECT_EQ(files.Lines(), (Lines{"a.ws", "b.ws"}));
        const RecordedRequest& r = server.Request(request++);
        EXPECT_EQ(AttributesOf(r.Command()), (Attributes{{"cmd", "find_files_for_well"},
                                                         {"db_id", "7"},
                                                         {"InclAllWsFiles", c.inclAll},
                                                         {"UseNonKeylevels", c.nonKey}}));
        EXPECT_EQ(ItemTexts(r.Command().child("LevelValues")), levels.Lines());
    }
    server.Verify();
}

// The connection settings as a local server, for the duration of a test.
class LocalServerSettings {
public:
    LocalServerSettings() : saved_(ConnSettings().Local) { ConnSettings().Local = true; }
    ~LocalServerSettings() { ConnSettings().Local = saved_; }

private:
    bool saved_;
};

TEST_F(SearchCommands, FindCurvesAsksForTheDatabasesThenResolvesTheFoundFiles) {
    LocalServerSettings local;
    TFindCurveSearchArguments args;
    args.OnPlanshOnly = true;
    // "localhost" reaches the scripted server too, but as another host: the session switches
    // to it for the search and comes back to 127.0.0.1 after.
    const std::string remote =
        "WSTP://DIRECT:/HOST:localhost//PORT:" + std::to_string(server.Port()) + "/D:\\w\\a.ws";
    args.AddFile(remote);
    args.AddFile("b.ws");
    TFindCurveSearchGroup& gamma = args.NewGroup("Гамма");
    gamma.AddCurve("main", "ГК", fcsitCurve);
    gamma.AddCurve("", "ПС", fcsitBed);

    server.Expect("get_db_list").Reply(AnswerPacket("", R"(<databases>
            <item id="3" name="Запад" path="D:\base\" ext_path="">
              <roots><root internal_dir="E:\roots\r7\" external_dir="" id="7"/></roots></item>
            <item id="4" name="Восток" path="F:\east\" ext_path=""/></databases>)"));
    server.Expect("find_curves").Reply(AnswerPacket("", R"(<Files>
            <Item FileName="${Root_7}\a.ws" DbId="3">
              <Curves><Item SearchGroup="Гамма" ObjDPos="1024" TableMStart="16"/></Curves></Item>
            <Item FileName="b.ws" DbId="4"/>
            <Item FileName="c.ws" DbId="9"/></Files>)"));
    TFindCurveResult result;
    client.FindCurves(args, result);

    ASSERT_EQ(result.GetFilesCount(), 3);
    EXPECT_EQ(result.GetFile(0).FileName, "WSTP://DIRECT:E:\\roots\\r7\\a.ws");
    EXPECT_EQ(result.GetFile(1).FileName, "WSTP://DIRECT:F:\\east\\b.ws");
    EXPECT_EQ(result.GetFile(2).FileName, "c.ws");  // a database the list does not have
    ASSERT_EQ(result.GetFile(0).Curves.Count(), 1);
    const TFindCurveResultCurve& curve = result.GetFile(0).Curves[0];
    EXPECT_EQ(curve.SearchGroup, "Гамма");
    EXPECT_EQ(curve.ObjDPos, 1024);
    EXPECT_EQ(curve.TableMStart, 16);

    // The arguments stand on the command element itself.
    const pugi::xml_node sent = server.Request(1).Command();
    EXPECT_EQ(AttributesOf(sent),
              (Attributes{{"cmd", "find_curves"}, {"OnPlanshOnly", "1"}, {"AllCurves", "0"}}));
    EXPECT_STREQ(sent.first_child().name(), "Files");
    EXPECT_STREQ(sent.first_child().next_sibling().name(), "Groups");
    EXPECT_EQ(ItemTexts(sent.child("Files")), (Lines{"D:\\w\\a.ws", "b.ws"}));
    const pugi::xml_node group = sent.child("Groups").child("Item");
    EXPECT_STREQ(group.attribute("Name").value(), "Гамма");
    std::vector<Attributes> curves;
    for (pugi::xml_node c = group.child("Items").child("Item"); c; c = c.next_sibling("Item"))
        curves.push_back(AttributesOf(c));
    EXPECT_EQ(curves,
              (std::vector<Attributes>{{{"Table", "main"}, {"Curve", "ГК"}, {"CurvType", "1"}},
                                       {{"Table", ""}, {"Curve", "ПС"}, {"CurvType", "3"}}}));

    EXPECT_EQ(server.Connections(), 2);  // the search went to the host its names named
    EXPECT_EQ(client.GetHost(), test::ScriptedServer::kHost);
    EXPECT_EQ(args.Files[0], remote);
    server.Verify();
}

TEST_F(SearchCommands, FindCurvesRefusedRestoresTheHostAndNeedsTheDatabaseList) {
    TFindCurveSearchArguments args;
    args.AddFile("WSTP:///HOST:localhost//PORT:" + std::to_string(server.Port()) + "/a.ws");
    TFindCurveResult result;
    auto expectRefused = [&](int code) {
        try {
            client.FindCurves(args, result);
            ADD_FAILURE() << "no error";
        } catch (const TOstraClientSocketException& e) {
            EXPECT_EQ(e.Code, code);
        }
        EXPECT_EQ(client.GetHost(), test::ScriptedServer::kHost);
    };

    server.Expect("get_db_list").Reply(AnswerPacket("", "<databases/>"));
    server.Expect("find_curves").Reply(ErrorPacket(77, "Нет файла"));
    expectRefused(77);

    // Without the list no search is sent (Verify reports any further request).
    server.Expect("get_db_list").Reply(ErrorPacket(78, "Нет доступа"));
    expectRefused(78);
    EXPECT_EQ(server.RequestCount(), 3u);
    server.Verify();
}

}  // namespace
}  // namespace ostradb
