// Well-content commands: what each sends and reads, the address check of file names and the
// restored host and port, and the result classes' own behaviour.

#include <functional>
#include <string>
#include <vector>

#include "exchange_fixture.hpp"
#include "ostradb/model/level_files.hpp"
#include "ostradb/protocol/well_commands.hpp"
#include "ostradb/serial/xml_serializer.hpp"
#include "ostradb/util/string_list.hpp"

namespace ostradb {
namespace {

using test::AnswerPacket;
using test::AttrText;
using test::ErrorPacket;
using test::ItemTexts;
using test::Joined;
using test::RecordedRequest;
using test::Row;
using Lines = std::vector<std::string>;

// The session's own server is unreachable; file names address the scripted server, so a
// request arrives only when the names were checked, and the session must be back home after.
class WellCommands : public ExchangeTest {
protected:
    void GoHome() { client.SetHostPort("home.invalid", 1); }
    void ExpectAtHome() { EXPECT_EQ(Row(client.GetHost(), client.GetPort()), "home.invalid|1|"); }
    std::string Remote(const std::string& name) const {
        return "WSTP://DIRECT:/HOST:127.0.0.1//PORT:" + std::to_string(server.Port()) + "/" + name;
    }
    // The command fails with the server's answer and leaves the session at home.
    void ExpectRefused(const char* cmd, const std::function<void()>& call) {
        server.Expect(cmd).Reply(ErrorPacket(77, "Нет файла"));
        test::ExpectServerError(call, 77, "Нет файла");
        ExpectAtHome();
    }
};

struct FileListCase {
    const char* cmd;
    std::string answer;  // the body of the answer element
    // Calls the method with the names and renders what it read.
    std::function<std::string(TOstraDbProtocol&, const TStringList&)> call;
    std::string read;
    std::string sent;  // the request's other parts: attributes, then children but "FileNames"
};

// The command's attributes after "cmd", then each child but "FileNames" as "name[attrs](items)".
std::string OtherParts(const RecordedRequest& r) {
    std::string out = AttrText(r);
    out.erase(0, out.find(' ') == std::string::npos ? out.size() : out.find(' ') + 1);
    for (pugi::xml_node c : r.Command().children())
        if (std::string_view(c.name()) != "FileNames")
            out += ";" + std::string(c.name()) + "[" + AttrText(c) + "](" +
                   Joined(TStringList(ItemTexts(c.child("Tables") ? c.child("Tables") : c))) + ")";
    return out;
}

// The files read: count, then the first file's name, trunk, first plansheet, first table and
// that table's first curve (empty where missing).
std::string WsInfoRead(const TLevelFilesList& r) {
    if (r.GetCount() == 0) return Row(0);
    const TLevelFile& f = r.GetItem(0);
    const bool table = f.GetTablesCount() > 0;
    return Row(r.GetCount(), f.Name, f.TrunkId, f.GetPlanshetsCount() ? f.GetPlanshet(0).Name : "",
               table ? f.GetTable(0).Name : "",
               table && f.GetTable(0).GetCurvesCount() ? f.GetTable(0).GetCurve(0).Name : "");
}

TEST_F(WellCommands, FileListCommandsSendCheckedCopiesAndReadTheirAnswers) {
    const TStringList tables{"/PORT:9/main", "Пласты"};  // sent as given, never checked
    const std::vector<FileListCase> cases{
        {"get_units_list", "<Result><Item>мВ</Item><Item>API</Item></Result>",
         [&](TOstraDbProtocol& c, const TStringList& f) {
             TStringList r{"old"};
             c.GetUnitsList(f, tables, TStringList{"ГК", "/HOST:x/ПС"}, r);
             return Joined(r);
         },
         "мВ|API|", ";Tables[](/PORT:9/main|Пласты|);Curves[](ГК|/HOST:x/ПС|)"},
        {"get_collections_list",
         R"(<Result><Item CollectionName="Каротаж" CommonName="ГИС"/><Item/></Result>)",
         [](TOstraDbProtocol& c, const TStringList& f) {
             TGetCollectionsListResult r;
             c.GetCollectionsForFiles(f, r);
             return Row(r.Count(), r.Item(0).ToString(), r.Item(1).ToString());
         },
         "2|Каротаж.ГИС|.|", ""},
        {"get_startum_data",
         R"(<StratumForFiles><Item FileName="a.ws"><Items><Item Table="Пласты" Ident="Горизонт"
            Top="1500.5" Bottom="1510" AbsTop="-1400.25" AbsBottom="-1409.5" Version="2"
            Value="Ю1" PlanName="Основной"/></Items></Item><Item FileName="b.ws"/>
            </StratumForFiles>)",
         [](TOstraDbProtocol& c, const TStringList& f) {
             TStratumDataItems r;
             c.GetStratumData(f, "Пласты", "Горизонт", r);
             const TStratumItem& s = r.Item(0).Item(0);
             return Row(r.Count(), r.Item(0).FileName, r.Item(1).FileName, r.Item(0).Count(),
                        s.Table, s.Ident, s.Value, s.PlanName, s.Top, s.Bottom, s.AbsTop,
                        s.AbsBottom, s.Version);
         },
         "2|a.ws|b.ws|1|Пласты|Горизонт|Ю1|Основной|1500.5|1510|-1400.25|-1409.5|2|",
         ";Filter[Table=Пласты Ident=Горизонт]()"},
        {"get_stratum_text_for_files",
         R"(<Result><FilesToFix><Item FileName="a.ws" SameIdentCount="2"/><Item FileName="b.ws"/>
            </FilesToFix><Names><Item>Ю1</Item><Item>Ю2</Item></Names></Result>)",
         [](TOstraDbProtocol& c, const TStringList& f) {
             TGetStartTextAndInfoResult r;
             c.GetStratumText(f, "Пласты", "Горизонт", r);
             return Row(r.FilesToFixCount(), r.FilesToFix(0).FileName,
                        r.FilesToFix(0).SameIdentCount, r.FilesToFix(1).SameIdentCount,
                        Joined(r.Names));
         },
         "2|a.ws|2|-1|Ю1|Ю2||", ";Filter[Table=Пласты Ident=Горизонт]()"},
        {"get_ws_info",
         R"(<file name="a.ws" type="1" trunk_id="T1" is_main="true"><planshet name="Осн"/>
            <table name="main"><data><curve name="ГК" start="0" stop="1" step="1" nvers="1"
            dclass="1"/></data></table></file><x/>)",
         [&](TOstraDbProtocol& c, const TStringList& f) {
             TLevelFilesList r;
             c.GetWsInfo(f, &tables, {wsoCurves, wsoStrat}, r);
             return WsInfoRead(r);
         },
         "1|a.ws|T1|Осн|main|ГК|",
         ";Options[IncludeCurves=True IncludeBedCurves=False IncludeLithology=False "
         "IncludeStratum=True](/PORT:9/main|Пласты|)"},
        // The views-list form of the same answer.
        {"get_ws_info",
         R"(<file name="b.ws" trunk_id="T2"><plansheets><plansheet name="Второй"/></plansheets>
            <table_info tname="gis"><obj_info name="ПС"/></table_info></file>)",
         [&](TOstraDbProtocol& c, const TStringList& f) {
             TLevelFilesList r;
             c.GetWsInfo(f, nullptr, {wsoCurves}, r);
             return WsInfoRead(r);
         },
         "1|b.ws|T2|Второй|gis|ПС|",
         ";Options[IncludeCurves=True IncludeBedCurves=False IncludeLithology=False "
         "IncludeStratum=False]()"},
        {"get_ws_info", "",
         [](TOstraDbProtocol& c, const TStringList& f) {
             TLevelFilesList r;
             c.GetWsInfo(f, nullptr, {}, r);
             return Row(r.GetCount());
         },
         "0|",
         ";Options[IncludeCurves=False IncludeBedCurves=False IncludeLithology=False "
         "IncludeStratum=False]()"},
        {"get_startum_idents", "<Result><Item>Ю1</Item></Result>",
         [](TOstraDbProtocol& c, const TStringList& f) {
             TStringList r;
             c.GetColumnIdents(f, "Горизонт", r);
             return Joined(r);
         },
         "Ю1|", "table=Горизонт"},
        {"get_startum_idents", "<Result><Item>Ю2</Item></Result>",
         [](TOstraDbProtocol& c, const TStringList& f) {
             TStringList r;
             c.GetStratumIdents(f, r);
             return Joined(r);
         },
         "Ю2|", "table="},
        {"get_plansheets_list", "<Result><Item>Основной</Item><Item>Второй</Item></Result>",
         [](TOstraDbProtocol& c, const TStringList& f) {
             TStringList r{"old"};
             c.GetPlansheetsList(f, r);
             return Joined(r);
         },
         "Основной|Второй|", ""},
        {"get_curves_list",
         R"(<Result><Item Curve="ГК" Table="main" Count="100" Top="5"/></Result>)",
         [&](TOstraDbProtocol& c, const TStringList& f) {
             TCurvesList r;
             c.GetCurvesList(f, tables, {cloIncludeCount}, r);
             return Row(r.Count(), r.Item(0).Curve, r.Item(0).Count, r.Item(0).Top,
                        r.Item(0).OnPlanCount);
         },
         "1|ГК|100|5|-1|",
         "IncludeTableName=False IncludeVersion=False IncludeCount=True OnPlanshOnly=False "
         "IncludeOnPlanCount=False IncludeKeys=False IncludeTopBottomStep=False "
         "IncludeUnit=False IncludeFileName=False;Tables[](/PORT:9/main|Пласты|)"},
        {"parse_file_names",
         R"(<Result><Item FileName="a.ws" Database="Запад"><Items>
              <Item LevelType="%field"><LevelValues><Item>Северное</Item></LevelValues></Item>
              <Item LevelType="%Скважина"><LevelValues><Item>12</Item><Item>12Б</Item>
              </LevelValues></Item></Items></Item></Result>)",
         [](TOstraDbProtocol& c, const TStringList& f) {
             TParseFileNameResult r;
             c.ParseFileNameEx(f, {pfnoUseExtraHierarchy}, r);
             const TParseFileNameResultItem& item = r.Item(0);
             const TParseFileNamePathItem* well = item.FindByType("%СКВАЖИНА");
             return Row(r.Count(), item.FileName, item.Database, item.Count(),
                        Joined(item.PathValue(0).GetLevelValues()),
                        well ? Joined(well->GetLevelValues()) : "none",
                        item.FindByType("%well") == nullptr);
         },
         "1|a.ws|Запад|2|Северное||12|12Б||1|", "UseExtraHierarchy=True"},
    };

    const TStringList names{Remote("D:\\w\\a.ws"), "b.ws"};
    std::size_t request = 0;
    for (const FileListCase& c : cases) {
        SCOPED_TRACE(c.cmd);
        GoHome();
        server.Expect(c.cmd).Reply(AnswerPacket("", c.answer));
        EXPECT_EQ(c.call(client, names), c.read);
        const RecordedRequest& r = server.Request(request);
        EXPECT_EQ(ItemTexts(r.Command().child("FileNames")), (Lines{"D:\\w\\a.ws", "b.ws"}));
        EXPECT_EQ(OtherParts(r), c.sent);
        ExpectAtHome();
        ExpectRefused(c.cmd, [&] { c.call(client, names); });
        request += 2;
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
    ExpectRefused("get_tables_list", [&] { client.GetTablesList(names, tables); });
    EXPECT_EQ(names.Lines(), Lines{"c.ws"});
    server.Verify();
}

struct AttrCase {
    const char* cmd;
    bool remote;  // the call takes a name addressing the scripted server
    std::string answer;
    std::function<std::string(TOstraDbProtocol&, const std::string& remoteName)> call;
    std::string read;
    std::string sent;  // every attribute of the command element, in order
};

TEST_F(WellCommands, AttributeCommandsSendTheirArgumentsInOrder) {
    // DeleteCurve sends its name exactly as given: were it checked, the request would go to a
    // host that does not exist.
    const std::string unchecked = "WSTP://DIRECT:/HOST:elsewhere.invalid//PORT:1/D:\\a.ws";
    const std::vector<AttrCase> cases{
        {"delete_curve", false, "",
         [&](TOstraDbProtocol& c, const std::string&) {
             return c.DeleteCurve(unchecked, "main", "DEPT=1500", "ГК"), "";
         },
         "", "cmd=delete_curve file=" + unchecked + " table=main key_str=DEPT=1500 curve=ГК"},
        {"rename_table", true, "",
         [](TOstraDbProtocol& c, const std::string& name) {
             return c.RenameTable(name, "Старая", "Новая"), "";
         },
         "", "cmd=rename_table file=D:\\a.ws old_name=Старая new_name=Новая"},
        {"delete_table", true, "",
         [](TOstraDbProtocol& c, const std::string& name) {
             return c.DeleteTable(name, "main"), "";
         },
         "", "cmd=delete_table file=D:\\a.ws table=main"},
        {"parse_file_name", true, "<PathValues><Item>Север</Item><Item>12</Item></PathValues>",
         [](TOstraDbProtocol& c, const std::string& name) {
             TStringList r{"old"};
             c.ParseFileName(name, r);
             return Joined(r);
         },
         "Север|12|", "cmd=parse_file_name file_name=D:\\a.ws"},
        {"get_ws_index", true, R"(<ObjIndex count="3"><obj name="ГК"/></ObjIndex>)",
         [](TOstraDbProtocol& c, const std::string& name) {
             TGetWsIndexResult r;
             c.GetWsIndex(name, 45000.25, r);
             TGetWsIndexResult kept = r;
             r.Clear();
             // The element outlives the exchange and the cleared record.
             return Row(bool(r.ObjIndex), kept.AnswerDoc && kept.ObjIndex.root() == *kept.AnswerDoc,
                        kept.ObjIndex.attribute("count").as_int(),
                        kept.ObjIndex.child("obj").attribute("name").value());
         },
         "0|1|3|ГК|", "cmd=get_ws_index file_name=D:\\a.ws FileTime=45000.25"},
        {"get_dict_values", false, R"(<items><item value="a"/>text<val value="б"/></items>)",
         [](TOstraDbProtocol& c, const std::string&) {
             TStringList values{"old"};
             c.RequestDictValues(7, "%field", dmDecode, values);
             return Joined(values);  // appended, not replaced
         },
         "old|a|б|", "cmd=get_dict_values mode=decode db_id=7 level=%field"},
        {"get_dict_value", false, R"(<dict_value found="true" result="Северное"/>)",
         [](TOstraDbProtocol& c, const std::string&) {
             bool found = false;
             return Row(c.RequestDictValue(-3, "%field", "K1", dmCode, found), found);
         },
         "Северное|1|", "cmd=get_dict_value key=K1 mode=code db_id=-3 level=%field"},
        {"get_dict_value", false, R"(<dict_value found="false" result="Северное"/>)",
         [](TOstraDbProtocol& c, const std::string&) {
             bool found = true;
             return Row(c.RequestDictValue(5, "%well", "K2", dmDecode, found), found);
         },
         "|0|", "cmd=get_dict_value key=K2 mode=decode db_id=5 level=%well"},
    };

    std::size_t request = 0;
    for (const AttrCase& c : cases) {
        SCOPED_TRACE(c.cmd);
        if (c.remote) GoHome();
        server.Expect(c.cmd).Reply(AnswerPacket("", c.answer));
        EXPECT_EQ(c.call(client, Remote("D:\\a.ws")), c.read);
        EXPECT_EQ(AttrText(server.Request(request++)), c.sent);
        if (c.remote) {
            ExpectAtHome();
            ExpectRefused(c.cmd, [&] { c.call(client, Remote("D:\\a.ws")); });
            ++request;
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
        std::string expected = "cmd=get_curves_list";
        for (int f = 0; f < 9; ++f)
            expected += std::string(" ") + curveFlags[f] + "=" +
                        (f == flagOfOption[option] ? "True" : "False");
        EXPECT_EQ(AttrText(server.Request(request++)), expected) << option;
    }

    // get_ws_info: on the "Options" child, all four always.
    const char* wsFlags[] = {"IncludeCurves", "IncludeBedCurves", "IncludeLithology",
                             "IncludeStratum"};
    for (int option = 0; option < 4; ++option) {
        TLevelFilesList files;
        server.Expect("get_ws_info").Reply(AnswerPacket());
        client.GetWsInfo(names, nullptr, {static_cast<EWsInfoOptions>(option)}, files);
        std::string expected;
        for (int f = 0; f < 4; ++f)
            expected +=
                std::string(f ? " " : "") + wsFlags[f] + "=" + (f == option ? "True" : "False");
        EXPECT_EQ(AttrText(server.Request(request++).Command().child("Options")), expected);
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
    std::ostringstream text;
    root.print(text, "", pugi::format_raw);
    EXPECT_EQ(text.str(), "<root><C/></root>");
}

}  // namespace
}  // namespace ostradb
