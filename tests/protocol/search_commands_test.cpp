// Search commands: the query text, what each search sends and reads, and the curve search's
// database list and full file names.

#include "ostradb/protocol/search_commands.hpp"
#include "exchange_fixture.hpp"
#include "ostradb/model/databases.hpp"
#include "ostradb/model/level_files.hpp"
#include "ostradb/protocol/connection_settings.hpp"

namespace ostradb {
namespace {

using namespace test;

using SearchCommands = ExchangeTest;

TEST(SearchRequest, ReadFromSimpleTextSplitsAtTheFirstEqualsSign) {
    const char* const kMask = " не соответствует маске *=*";
    struct Case {
        const char* text;
        std::string items;  // read, or left by a refusal: type, operator and value of each
        std::string error;  // the refusal
    } cases[] = {
        {"Запад\r\nmain\r\na=b=c\r\n\r\n=b\r\nимя=значение",
         "databases=Запад|tables=main|*a=b=c|*=b|*имя=значение|", ""},
        {"\r\n\r\nx=1", "databases=|tables=|*x=1|", ""},
        {"db\r\nt\r\na=", "databases=db|tables=t|", std::string("Строка запроса a=") + kMask},
        {"db\r\nt\r\nx=1\r\nбез знака", "databases=db|tables=t|*x=1|",
         std::string("Строка запроса без знака") + kMask},
        {"db\r\nt\r\n=", "databases=db|tables=t|", std::string("Строка запроса =") + kMask},
        {"db\r\nt", "", "Число строк запроса < 3-х"},
        {"", "", "Число строк запроса < 3-х"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        TSearchRequest request;
        request.Add("stale", "<", "x");  // replaced in any case
        std::string error;
        try {
            request.ReadFromSimpleText(c.text);
        } catch (const Error& e) {
            error = e.what();
        }
        EXPECT_EQ(error, c.error);
        std::string read;
        for (int i = 0; i < request.GetCount(); ++i) {
            const TSearchItem& item = request.GetItem(i);
            read += item.Type + item.Oper + item.Values + "|";
        }
        EXPECT_EQ(read, c.items);
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
    EXPECT_EQ(Joined(files), "old|a.ws|б.ws|");

    EXPECT_EQ(test::CommandText(server.Request(0)),
              R"(<command cmd="search"><items><filter type="databases" oper="=" values="Запад"/>)"
              R"(<filter type="*%well" oper="&lt;>" values="12"/></items></command>)");
    server.Verify();
}

TEST_F(SearchCommands, SearchXmlCopiesTheRequestInAndTheResultOut) {
    pugi::xml_document request;
    request.append_child("items").append_child("filter").append_attribute("type").set_value("t");
    pugi::xml_document answer;
    server.Expect("search").Reply(
        AnswerPacket("", R"(<other/><result count="2"><file filename="a.ws"/></result>)"));
    client.SearchXML(request, answer);
    EXPECT_EQ(test::CommandText(server.Request(0)),
              R"(<command cmd="search"><items><filter type="t"/></items></command>)");
    EXPECT_EQ(XmlText(answer), R"(<result count="2"><file filename="a.ws"/></result>)");

    // No "result": an empty one, and nothing of the previous answer is left.
    server.Expect("search").Reply(AnswerPacket());
    client.SearchXML(request, answer);
    EXPECT_EQ(XmlText(answer), "<result/>");
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
    // Read with the structure.
    EXPECT_EQ(Row(files.GetItem(0).PathNames.Values("%well"), execTime), "12|0.25|");

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
    ASSERT_EQ(result.GetCount(), 1);
    const TSearchLevelsItem& well = result.GetItem(0);
    ASSERT_EQ(well.GetNonKeyCount(), 1);
    const auto& survey = well.GetNonKeyItem(0);
    EXPECT_EQ(Row(result.HasMoreResult, result.ExecTime, Joined(well.WellLevels), survey.LevelType,
                  Joined(survey.SurveyValues), Joined(survey.AllValues)),
              "1|1.5|Северное|12||%survey|ГИС 2001||ГИС 1999|ГИС 2001||");

    // The same result object again: a "Result" that says nothing of more results.
    server.Expect("search_levels2").Reply(AnswerPacket(R"(exec_time="2")", "<Result/>"));
    client.SearchLevels2(database, words, result);
    EXPECT_EQ(Row(result.HasMoreResult, result.GetCount()), "0|0|");

    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_EQ(test::CommandText(server.Request(i)),
                  std::string(R"(<command cmd=")") + (i ? "search_levels2" : "search_levels") +
                      R"(" DbId="12"><WordsToSearch><Item>Север</Item><Item>12</Item>)"
                      R"(</WordsToSearch></command>)");
    server.Verify();
}

TEST_F(SearchCommands, FindFilesForWellSendsBothOptionsAndReadsTheFiles) {
    std::string read;
    for (const TFindFilesForWellOpts opts :
         {TFindFilesForWellOpts{}, TFindFilesForWellOpts{fffwoIncludeAllWsFiles},
          TFindFilesForWellOpts{fffwoUseNonKeylevels}}) {
        server.Expect("find_files_for_well")
            .Reply(
                AnswerPacket("", "<ResultFiles><Item>a.ws</Item><Item>b.ws</Item></ResultFiles>"));
        TStringList files{"old"};
        client.FindFilesForWell(7, TStringList{"Северное", "12"}, files, opts);
        read += Joined(files);
    }
    EXPECT_EQ(read, "a.ws|b.ws|a.ws|b.ws|a.ws|b.ws|");
    const std::string values =
        "><LevelValues><Item>Северное</Item><Item>12</Item></LevelValues></command>\n";
    EXPECT_EQ(
        Commands(server),
        R"(<command cmd="find_files_for_well" db_id="7" InclAllWsFiles="False" UseNonKeylevels="False")" +
            values +
            R"(<command cmd="find_files_for_well" db_id="7" InclAllWsFiles="True" UseNonKeylevels="False")" +
            values +
            R"(<command cmd="find_files_for_well" db_id="7" InclAllWsFiles="False" UseNonKeylevels="True")" +
            values);
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

    // A file of a database the list does not have keeps its name.
    ASSERT_EQ(result.GetFilesCount(), 3);
    ASSERT_EQ(result.GetFile(0).Curves.Count(), 1);
    const TFindCurveResultCurve& curve = result.GetFile(0).Curves[0];
    EXPECT_EQ(Row(result.GetFile(0).FileName, result.GetFile(1).FileName,
                  result.GetFile(2).FileName, curve.SearchGroup, curve.ObjDPos, curve.TableMStart),
              "WSTP://DIRECT:E:\\roots\\r7\\a.ws|WSTP://DIRECT:F:\\east\\b.ws|c.ws|Гамма|1024|16|");

    // The arguments stand on the command element itself.
    EXPECT_EQ(
        test::CommandText(server.Request(1)),
        R"(<command cmd="find_curves" OnPlanshOnly="1" AllCurves="0"><Files><Item>D:\w\a.ws)"
        R"(</Item><Item>b.ws</Item></Files><Groups><Item Name="Гамма"><Items>)"
        R"(<Item Table="main" Curve="ГК" CurvType="1"/><Item Table="" Curve="ПС" CurvType="3"/>)"
        R"(</Items></Item></Groups></command>)");

    EXPECT_EQ(server.Connections(), 2);  // the search went to the host its names named
    EXPECT_EQ(client.GetHost(), test::ScriptedServer::kHost);
    EXPECT_EQ(args.Files[0], remote);
    server.Verify();
}

TEST_F(SearchCommands, FindCurvesRefusedRestoresTheHostAndNeedsTheDatabaseList) {
    TFindCurveSearchArguments args;
    args.AddFile("WSTP:///HOST:localhost//PORT:" + std::to_string(server.Port()) + "/a.ws");
    TFindCurveResult result;
    auto expectRefused = [&](int code, const char* text) {
        test::ExpectServerError([&] { client.FindCurves(args, result); }, code, text);
        EXPECT_EQ(client.GetHost(), test::ScriptedServer::kHost);
    };

    server.Expect("get_db_list").Reply(AnswerPacket("", "<databases/>"));
    server.Expect("find_curves").Reply(ErrorPacket(77, "Нет файла"));
    expectRefused(77, "Нет файла");

    // Without the list no search is sent (Verify reports any further request).
    server.Expect("get_db_list").Reply(ErrorPacket(78, "Нет доступа"));
    expectRefused(78, "Нет доступа");
    EXPECT_EQ(server.RequestCount(), 3u);
    server.Verify();
}

}  // namespace
}  // namespace ostradb
