// Well-content commands: what each sends and reads, the address check of file names and the
// restored host and port, and the result classes' own behaviour.

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "exchange_fixture.hpp"
#include "ostradb/model/level_files.hpp"
#include "ostradb/protocol/well_commands.hpp"
#include "ostradb/serial/xml_serializer.hpp"
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

// The command element's attributes in the order they were sent, "cmd" first.
Attributes SentAttributes(const RecordedRequest& r) {
    Attributes attrs;
    for (pugi::xml_attribute a : r.Command().attributes())
        attrs.emplace_back(a.name(), a.value());
    return attrs;
}

// The session's own server is unreachable; file names address the scripted server, so a
// request arrives only when the names were checked, and the session must be back home after.
class WellCommands : public ExchangeTest {
protected:
    void GoHome() { client.SetHostPort("home.invalid", 1); }
    void ExpectAtHome() {
        EXPECT_EQ(client.GetHost(), "home.invalid");
        EXPECT_EQ(client.GetPort(), 1);
    }
    std::string Remote(const std::string& name) const {
        return "WSTP://DIRECT:/HOST:127.0.0.1//PORT:" + std::to_string(server.Port()) + "/" + name;
    }
    void ExpectRefused(const std::function<void()>& call) {
        try {
            call();
            ADD_FAILURE() << "no error";
        } catch (const TOstraClientSocketException& e) {
            EXPECT_EQ(e.Code, 77);
            EXPECT_STREQ(e.what(), "Нет файла");
        }
    }
};

struct FileListCase {
    const char* cmd;
    std::string answer;  // the body of the answer element
    // Calls the method with the names and checks what it read.
    std::function<void(TOstraDbProtocol&, const TStringList&)> call;
    // Checks what the request carries besides "FileNames".
    std::function<void(const RecordedRequest&)> sent;
};

TEST_F(WellCommands, FileListCommandsSendCheckedCopiesAndReadTheirAnswers) {
    const TStringList tables{"/PORT:9/main", "Пласты"};  // sent as given, never checked
    const std::vector<FileListCase> cases{
        {"get_units_list", "<Result><Item>мВ</Item><Item>API</Item></Result>",
         [&](TOstraDbProtocol& c, const TStringList& f) {
             TStringList r{"old"};
             c.GetUnitsList(f, tables, TStringList{"ГК", "/HOST:x/ПС"}, r);
             EXPECT_EQ(r.Lines(), (Lines{"мВ", "API"}));
         },
         [&](const RecordedRequest& r) {
             EXPECT_EQ(ItemTexts(r.Command().child("Tables")), tables.Lines());
             EXPECT_EQ(ItemTexts(r.Command().child("Curves")), (Lines{"ГК", "/HOST:x/ПС"}));
         }},
        {"get_collections_list",
         R"(<Result><Item CollectionName="Каротаж" CommonName="ГИС"/><Item/></Result>)",
         [](TOstraDbProtocol& c, const TStringList& f) {
             TGetCollectionsListResult r;
             c.GetCollectionsForFiles(f, r);
             ASSERT_EQ(r.Count(), 2);
             EXPECT_EQ(r.Item(0).ToString(), "Каротаж.ГИС");
             EXPECT_EQ(r.Item(1).ToString(), ".");
         },
         nullptr},
        {"get_startum_data",
         R"(<StratumForFiles><Item FileName="a.ws"><Items><Item Table="Пласты" Ident="Горизонт"
            Top="1500.5" Bottom="1510" AbsTop="-1400.25" AbsBottom="-1409.5" Version="2"
            Value="Ю1" PlanName="Основной"/></Items></Item><Item FileName="b.ws"/>
            </StratumForFiles>)",
         [](TOstraDbProtocol& c, const TStringList& f) {
             TStratumDataItems r;
             c.GetStratumData(f, "Пласты", "Горизонт", r);
             ASSERT_EQ(r.Count(), 2);
             EXPECT_EQ(r.Item(1).FileName, "b.ws");
             ASSERT_EQ(r.Item(0).Count(), 1);
             const TStratumItem& s = r.Item(0).Item(0);
             EXPECT_EQ(r.Item(0).FileName, "a.ws");
             EXPECT_EQ(s.Table + "|" + s.Ident + "|" + s.Value + "|" + s.PlanName,
                       "Пласты|Горизонт|Ю1|Основной");
             EXPECT_EQ(s.Top, 1500.5f);
             EXPECT_EQ(s.Bottom, 1510.f);
             EXPECT_EQ(s.AbsTop, -1400.25f);
             EXPECT_EQ(s.AbsBottom, -1409.5f);
             EXPECT_EQ(s.Version, 2);
         },
         [](const RecordedRequest& r) {
             EXPECT_EQ(r.Command().child("Filter").attribute("Table").as_string(),
                       std::string("Пласты"));
             EXPECT_EQ(r.Command().child("Filter").attribute("Ident").as_string(),
                       std::string("Горизонт"));
         }},
        {"get_stratum_text_for_files",
         R"(<Result><FilesToFix><Item FileName="a.ws" SameIdentCount="2"/><Item FileName="b.ws"/>
            </FilesToFix><Names><Item>Ю1</Item><Item>Ю2</Item></Names></Result>)",
         [](TOstraDbProtocol& c, const TStringList& f) {
             TGetStartTextAndInfoResult r;
             c.GetStratumText(f, "Пласты", "Горизонт", r);
             ASSERT_EQ(r.FilesToFixCount(), 2);
             EXPECT_EQ(r.FilesToFix(0).FileName, "a.ws");
             EXPECT_EQ(r.FilesToFix(0).SameIdentCount, 2);
             EXPECT_EQ(r.FilesToFix(1).SameIdentCount, -1);
             EXPECT_EQ(r.Names.Lines(), (Lines{"Ю1", "Ю2"}));
         },
         [](const RecordedRequest& r) {
             EXPECT_EQ(r.Command().child("Filter").attribute("Table").as_string(),
                       std::string("Пласты"));
             EXPECT_EQ(r.Command().child("Filter").attribute("Ident").as_string(),
                       std::string("Горизонт"));
         }},
        {"get_ws_info", R"(<file name="a.ws" type="1" trunk_id="T1" is_main="true"/><x/>)",
         [&](TOstraDbProtocol& c, const TStringList& f) {
             TLevelFilesList r;
             c.GetWsInfo(f, &tables, {wsoCurves, wsoStrat}, r);
             ASSERT_EQ(r.GetCount(), 1);
             EXPECT_EQ(r.GetItem(0).Name, "a.ws");
             EXPECT_EQ(r.GetItem(0).TrunkId, "T1");
         },
         [&](const RecordedRequest& r) {
             const pugi::xml_node options = r.Command().child("Options");
             EXPECT_EQ(ItemTexts(options.child("Tables")), tables.Lines());
             EXPECT_FALSE(r.Command().child("Tables"));
             EXPECT_FALSE(r.Command().attribute("IncludeCurves"));
         }},
        {"get_ws_info", "",
         [](TOstraDbProtocol& c, const TStringList& f) {
             TLevelFilesList r;
             c.GetWsInfo(f, nullptr, {}, r);
             EXPECT_EQ(r.GetCount(), 0);
         },
         [](const RecordedRequest& r) {
             EXPECT_TRUE(r.Command().child("Options"));
             EXPECT_FALSE(r.Command().child("Options").child("Tables"));
         }},
        {"get_startum_idents", "<Result><Item>Ю1</Item></Result>",
         [](TOstraDbProtocol& c, const TStringList& f) {
             TStringList r;
             c.GetColumnIdents(f, "Горизонт", r);
             EXPECT_EQ(r.Lines(), Lines{"Ю1"});
         },
         [](const RecordedRequest& r) { EXPECT_EQ(r.Attr("table"), "Горизонт"); }},
        {"get_startum_idents", "<Result><Item>Ю2</Item></Result>",
         [](TOstraDbProtocol& c, const TStringList& f) {
             TStringList r;
             c.GetStratumIdents(f, r);
             EXPECT_EQ(r.Lines(), Lines{"Ю2"});
         },
         [](const RecordedRequest& r) {
             ASSERT_TRUE(r.Command().attribute("table"));
             EXPECT_EQ(r.Attr("table"), "");
         }},
        {"get_plansheets_list", "<Result><Item>Основной</Item><Item>Второй</Item></Result>",
         [](TOstraDbProtocol& c, const TStringList& f) {
             TStringList r{"old"};
             c.GetPlansheetsList(f, r);
             EXPECT_EQ(r.Lines(), (Lines{"Основной", "Второй"}));
         },
         nullptr},
        {"get_curves_list",
         R"(<Result><Item Curve="ГК" Table="main" Count="100" Top="5"/></Result>)",
         [&](TOstraDbProtocol& c, const TStringList& f) {
             TCurvesList r;
             c.GetCurvesList(f, tables, {cloIncludeCount}, r);
             ASSERT_EQ(r.Count(), 1);
             EXPECT_EQ(r.Item(0).Curve, "ГК");
             EXPECT_EQ(r.Item(0).Count, 100);
             EXPECT_EQ(r.Item(0).Top, 5);
             EXPECT_EQ(r.Item(0).OnPlanCount, -1);
         },
         [&](const RecordedRequest& r) {
             EXPECT_EQ(ItemTexts(r.Command().child("Tables")), tables.Lines());
         }},
        {"parse_file_names",
         R"(<Result><Item FileName="a.ws" Database="Запад"><Items>
              <Item LevelType="%field"><LevelValues><Item>Северное</Item></LevelValues></Item>
              <Item LevelType="%Скважина"><LevelValues><Item>12</Item><Item>12Б</Item>
              </LevelValues></Item></Items></Item></Result>)",
         [](TOstraDbProtocol& c, const TStringList& f) {
             TParseFileNameResult r;
             c.ParseFileNameEx(f, {pfnoUseExtraHierarchy}, r);
             ASSERT_EQ(r.Count(), 1);
             const TParseFileNameResultItem& item = r.Item(0);
             EXPECT_EQ(item.FileName + "|" + item.Database, "a.ws|Запад");
             ASSERT_EQ(item.Count(), 2);
             EXPECT_EQ(item.PathValue(0).GetLevelValues().Lines(), Lines{"Северное"});
             const TParseFileNamePathItem* well = item.FindByType("%СКВАЖИНА");
             ASSERT_NE(well, nullptr);
             EXPECT_EQ(well->GetLevelValues().Lines(), (Lines{"12", "12Б"}));
             EXPECT_EQ(item.FindByType("%well"), nullptr);
         },
         [](const RecordedRequest& r) { EXPECT_EQ(r.Attr("UseExtraHierarchy"), "True"); }},
    };

    const TStringList names{Remote("D:\\w\\a.ws"), "b.ws"};
    std::size_t request = 0;
    for (const FileListCase& c : cases) {
        SCOPED_TRACE(c.cmd);
        GoHome();
        server.Expect(c.cmd).Reply(AnswerPacket("", c.answer));
        c.call(client, names);
        const RecordedRequest& r = server.Request(request++);
        EXPECT_EQ(ItemTexts(r.Command().child("FileNames")), (Lines{"D:\\w\\a.ws", "b.ws"}));
        if (c.sent) c.sent(r);
        ExpectAtHome();

        server.Expect(c.cmd).Reply(ErrorPacket(77, "Нет файла"));
        ExpectRefused([&] { c.call(client, names); });
        ++request;
        ExpectAtHome();
    }
    EXPECT_EQ(names[0], Remote("D:\\w\\a.ws"));
    server.Verify();
}

TEST_F(WellCommands, TablesListChecksTheCallersOwnNames) {
    TStringList names{Remote("D:\\w\\a.ws"), "WSTP://b.ws"};
    TStringList tables;
    GoHome();
    server.Expect("get_tables_list").Reply(AnswerPacket("", "<Result><Item>main</Item></Result>"));
    client.GetTablesList(names, tables);
    EXPECT_EQ(names.Lines(), (Lines{"D:\\w\\a.ws", "b.ws"}));
    EXPECT_EQ(ItemTexts(server.Request(0).Command().child("FileNames")), names.Lines());
    EXPECT_EQ(tables.Lines(), Lines{"main"});
    ExpectAtHome();

    names = TStringList{Remote("c.ws")};
    server.Expect("get_tables_list").Reply(ErrorPacket(77, "Нет файла"));
    ExpectRefused([&] { client.GetTablesList(names, tables); });
    EXPECT_EQ(names.Lines(), Lines{"c.ws"});
    ExpectAtHome();
    server.Verify();
}

struct AttrCase {
    const char* cmd;
    bool remote;  // the call takes a name addressing the scripted server
    std::string answer;
    std::function<void(TOstraDbProtocol&, const std::string& remoteName)> call;
    Attributes sent;  // every attribute of the command element, in order, after "cmd"
};

TEST_F(WellCommands, AttributeCommandsSendTheirArgumentsInOrder) {
    // DeleteCurve sends its name exactly as given: were it checked, the request would go to a
    // host that does not exist.
    const std::string unchecked = "WSTP://DIRECT:/HOST:elsewhere.invalid//PORT:1/D:\\a.ws";
    const std::vector<AttrCase> cases{
        {"delete_curve",
         false,
         "",
         [&](TOstraDbProtocol& c, const std::string&) {
             c.DeleteCurve(unchecked, "main", "DEPT=1500", "ГК");
         },
         {{"file", unchecked}, {"table", "main"}, {"key_str", "DEPT=1500"}, {"curve", "ГК"}}},
        {"rename_table",
         true,
         "",
         [](TOstraDbProtocol& c, const std::string& name) {
             c.RenameTable(name, "Старая", "Новая");
         },
         {{"file", "D:\\a.ws"}, {"old_name", "Старая"}, {"new_name", "Новая"}}},
        {"delete_table",
         true,
         "",
         [](TOstraDbProtocol& c, const std::string& name) { c.DeleteTable(name, "main"); },
         {{"file", "D:\\a.ws"}, {"table", "main"}}},
        {"parse_file_name",
         true,
         "<PathValues><Item>Север</Item><Item>12</Item></PathValues>",
         [](TOstraDbProtocol& c, const std::string& name) {
             TStringList r{"old"};
             c.ParseFileName(name, r);
             EXPECT_EQ(r.Lines(), (Lines{"Север", "12"}));
         },
         {{"file_name", "D:\\a.ws"}}},
        {"get_ws_index",
         true,
         R"(<ObjIndex count="3"><obj name="ГК"/></ObjIndex>)",
         [](TOstraDbProtocol& c, const std::string& name) {
             TGetWsIndexResult r;
             c.GetWsIndex(name, 45000.25, r);
             TGetWsIndexResult kept = r;
             r.Clear();
             EXPECT_FALSE(r.ObjIndex);
             ASSERT_TRUE(kept.AnswerDoc);
             EXPECT_EQ(kept.ObjIndex.root(), *kept.AnswerDoc);
             // The element outlives the exchange and the cleared record.
             EXPECT_EQ(kept.ObjIndex.attribute("count").as_int(), 3);
             EXPECT_STREQ(kept.ObjIndex.child("obj").attribute("name").value(), "ГК");
         },
         {{"file_name", "D:\\a.ws"}, {"FileTime", "45000.25"}}},
        {"get_dict_values",
         false,
         R"(<items><item value="a"/>text<val value="б"/></items>)",
         [](TOstraDbProtocol& c, const std::string&) {
             TStringList values{"old"};
             c.RequestDictValues(7, "%field", dmDecode, values);
             EXPECT_EQ(values.Lines(), (Lines{"old", "a", "б"}));  // appended, not replaced
         },
         {{"mode", "decode"}, {"db_id", "7"}, {"level", "%field"}}},
        {"get_dict_value",
         false,
         R"(<dict_value found="true" result="Северное"/>)",
         [](TOstraDbProtocol& c, const std::string&) {
             bool found = false;
             EXPECT_EQ(c.RequestDictValue(-3, "%field", "K1", dmCode, found), "Северное");
             EXPECT_TRUE(found);
         },
         {{"key", "K1"}, {"mode", "code"}, {"db_id", "-3"}, {"level", "%field"}}},
        {"get_dict_value",
         false,
         R"(<dict_value found="false" result="Северное"/>)",
         [](TOstraDbProtocol& c, const std::string&) {
             bool found = true;
             EXPECT_EQ(c.RequestDictValue(5, "%well", "K2", dmDecode, found), "");
             EXPECT_FALSE(found);
         },
         {{"key", "K2"}, {"mode", "decode"}, {"db_id", "5"}, {"level", "%well"}}},
    };

    std::size_t request = 0;
    for (const AttrCase& c : cases) {
        SCOPED_TRACE(c.cmd);
        if (c.remote) GoHome();
        server.Expect(c.cmd).Reply(AnswerPacket("", c.answer));
        c.call(client, Remote("D:\\a.ws"));
        Attributes expected{{"cmd", c.cmd}};
        expected.insert(expected.end(), c.sent.begin(), c.sent.end());
        EXPECT_EQ(SentAttributes(server.Request(request++)), expected);
        if (c.remote) {
            ExpectAtHome();
            server.Expect(c.cmd).Reply(ErrorPacket(77, "Нет файла"));
            ExpectRefused([&] { c.call(client, Remote("D:\\a.ws")); });
            ++request;
            ExpectAtHome();
            server.PointAt(client);
        } else {
            EXPECT_EQ(client.GetHost(), test::ScriptedServer::kHost);
        }
    }
    server.Verify();
}

TEST_F(WellCommands, OptionSetsBecomeTrueFalseFlagsInTheirPlaces) {
    // get_curves_list: on the command element, in this order; either key option sets
    // "IncludeKeys"; cloOnPlanshOnly has an attribute, unlike in SaveToStrings.
    const char* curveFlags[] = {"IncludeTableName",     "IncludeVersion",     "IncludeCount",
                                "OnPlanshOnly",         "IncludeOnPlanCount", "IncludeKeys",
                                "IncludeTopBottomStep", "IncludeUnit",        "IncludeFileName"};
    const int flagOfOption[] = {0, 1, 2, 3, 4, 5, 5, 6, 7, 8};
    const TStringList names{"a.ws"};
    std::size_t request = 0;
    for (int option = 0; option < 10; ++option) {
        TCurvesList curves;
        server.Expect("get_curves_list").Reply(AnswerPacket());
        client.GetCurvesList(names, TStringList{}, {static_cast<ECurvesListOpts>(option)}, curves);
        Attributes expected{{"cmd", "get_curves_list"}};
        for (int f = 0; f < 9; ++f)
            expected.emplace_back(curveFlags[f], f == flagOfOption[option] ? "True" : "False");
        EXPECT_EQ(SentAttributes(server.Request(request++)), expected) << option;
    }

    // get_ws_info: on the "Options" child, all four always.
    const char* wsFlags[] = {"IncludeCurves", "IncludeBedCurves", "IncludeLithology",
                             "IncludeStratum"};
    for (int option = 0; option < 4; ++option) {
        TLevelFilesList files;
        server.Expect("get_ws_info").Reply(AnswerPacket());
        client.GetWsInfo(names, nullptr, {static_cast<EWsInfoOptions>(option)}, files);
        const pugi::xml_node options = server.Request(request++).Command().child("Options");
        Attributes sent, expected;
        for (pugi::xml_attribute a : options.attributes())
            sent.emplace_back(a.name(), a.value());
        for (int f = 0; f < 4; ++f)
            expected.emplace_back(wsFlags[f], f == option ? "True" : "False");
        EXPECT_EQ(sent, expected) << option;
    }

    TParseFileNameResult parsed;
    server.Expect("parse_file_names").Reply(AnswerPacket());
    client.ParseFileNameEx(names, {}, parsed);
    EXPECT_EQ(server.Request(request).Attr("UseExtraHierarchy"), "False");
    server.Verify();
}

// ---- result classes ----

TEST(CurvesList, SaveToStringsWritesColumnsInAFixedOrder) {
    TCurvesList list;
    TCurvesListItem& gk = list.Items.Add();
    gk.Curve = "гк";
    gk.Table = "Осн";
    gk.Version = "v2";
    gk.Count = 100;
    gk.OnPlanCount = 2;
    gk.KeyColumns = "DEPT";
    gk.KeyValues = "1";
    gk.Top = 100;
    gk.Bottom = 2500;
    gk.Step = 1;
    gk.Units = "мкР/ч";
    gk.FileName = "a.ws";
    list.Items.Add().Curve = "ps";

    const TCurvesListOpts all = TCurvesListOpts::FromMask(0x3FF);
    struct Case {
        TCurvesListOpts opts;
        Lines lines;
    } cases[] = {
        {all, {"ГК;ОСН;v2;100;2;DEPT;1;100¦2500¦1;мкР/ч;a.ws", "PS;;;-1;-1;;;0¦0¦0;;"}},
        {{}, {"ГК", "PS"}},
        {{cloIncludeFileNames, cloOnPlanshOnly, cloIncludeTable}, {"ГК;ОСН;a.ws", "PS;;"}},
        {{cloIncludeUnits, cloIncludeKeyValues, cloIncludeVersion}, {"ГК;v2;1;мкР/ч", "PS;;;"}},
    };
    for (const Case& c : cases) {
        TStringList out{"stale"};
        list.SaveToStrings(out, c.opts, ";");
        EXPECT_EQ(out.Lines(), c.lines) << c.opts.Mask();
    }

    TStringList out{"stale"};
    TCurvesList().SaveToStrings(out, all, ";");
    EXPECT_TRUE(out.Empty());
}

TEST(StratumData, LookUpsIgnoreCaseAlsoInCyrillic) {
    TStratumData data;
    auto add = [&](const char* table, const char* ident, const char* value) -> TStratumItem& {
        TStratumItem& item = data.Items.Add();
        item.Table = table;
        item.Ident = ident;
        item.Value = value;
        return item;
    };
    add("Литология", "Пласт", "Глина");
    TStratumItem& first = add("Пласты", "Горизонт", "Ёлка");
    first.Top = 1;
    add("ПЛАСТЫ", "ГОРИЗОНТ", "ЁЛКА").Top = 2;

    EXPECT_TRUE(data.TableExists("пласты"));
    EXPECT_FALSE(data.TableExists("пласт"));
    EXPECT_TRUE(data.IdentExists("ЛИТОЛОГИЯ", "пЛаСт"));
    EXPECT_FALSE(data.IdentExists("Литология", "Горизонт"));           // both must match one item
    EXPECT_EQ(data.FindValue("пласты", "горизонт", "ёлка"), &first);   // the first of two
    EXPECT_EQ(data.FindValue("Пласты", "Горизонт", "Елка"), nullptr);  // Е is not Ё
    EXPECT_EQ(data.FindValue("Пласты", "Пласт", "Глина"), nullptr);

    TStratumData copy;
    copy.Assign(data);
    data.Clear();
    ASSERT_EQ(copy.Count(), 3);
    EXPECT_EQ(copy.Item(2).Top, 2.f);
}

TEST(ReadOnlyResults, SaveNothing) {
    pugi::xml_document doc;
    pugi::xml_node root = doc.append_child("root");
    TGetCollectionsListResult collections;
    collections.Items.Add().CollectionName = "c";
    TGetStartTextAndInfoResult texts;
    texts.FilesToFixItems.Add().FileName = "a.ws";
    texts.Names.Add("n");
    SaveToXML(collections, "", root);
    SaveToXML(texts, "", root);
    SaveToXML(collections, "C", root);
    EXPECT_FALSE(root.first_attribute());
    ASSERT_TRUE(root.child("C"));
    EXPECT_FALSE(root.child("C").first_child());
    EXPECT_FALSE(root.child("C").first_attribute());
    EXPECT_EQ(std::distance(root.children().begin(), root.children().end()), 1);
}

}  // namespace
}  // namespace ostradb
