// Well-content commands: what each sends and reads, the address check of file names and the
// restored host and port, and the result classes' own behaviour.

#include "ostradb/protocol/well_commands.hpp"
#include <cstring>
#include <tuple>

#include "exchange_fixture.hpp"
#include "ostradb/model/level_files.hpp"

namespace ostradb {
namespace {

using namespace test;
using Lines = std::vector<std::string>;

// The names every file-list command below sends, checked.
constexpr const char* kNames = R"(<FileNames><Item>D:\w\a.ws</Item><Item>b.ws</Item></FileNames>)";

// The session's own server is unreachable; file names address the scripted server, so a
// request arrives only when the names were checked, and the session must be back home after.
class WellCommands : public ExchangeTest {
protected:
    void GoHome() { client.SetHostPort("home.invalid", 1); }
    void ExpectAtHome() { EXPECT_EQ(Row(client.GetHost(), client.GetPort()), "home.invalid|1|"); }
    std::string Remote(const std::string& name) const {
        return "WSTP://DIRECT:/HOST:127.0.0.1//PORT:" + std::to_string(server.Port()) + "/" + name;
    }
};

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

// Every command of a file list sends a checked copy of the names (the session switches to the
// scripted server for it and comes back) and the request's other parts in order.
TEST_F(WellCommands, FileListCommandsSendCheckedCopiesAndReadTheirAnswers) {
    const TStringList tables{"/PORT:9/main", "Пласты"};  // sent as given, never checked
    for (const char* answer :
         {"<Result><Item>мВ</Item><Item>API</Item></Result>",
          R"(<Result><Item CollectionName="Каротаж" CommonName="ГИС"/><Item/></Result>)",
          R"(<StratumForFiles><Item FileName="a.ws"><Items><Item Table="Пласты" )"
          R"(Ident="Горизонт" Top="1500.5" Bottom="1510" AbsTop="-1400.25" AbsBottom="-1409.5" )"
          R"(Version="2" Value="Ю1" PlanName="Основной"/></Items></Item><Item FileName="b.ws"/>)"
          R"(</StratumForFiles>)",
          R"(<Result><FilesToFix><Item FileName="a.ws" SameIdentCount="2"/><Item FileName="b.ws"/>)"
          R"(</FilesToFix><Names><Item>Ю1</Item><Item>Ю2</Item></Names></Result>)",
          R"(<file name="a.ws" type="1" trunk_id="T1" is_main="true"><planshet name="Осн"/>)"
          R"(<table name="main"><data><curve name="ГК" start="0" stop="1" step="1" nvers="1" )"
          R"(dclass="1"/></data></table></file><x/>)",
          "",
          // The views-list form of the same answer.
          R"(<file name="b.ws" trunk_id="T2"><plansheets><plansheet name="Второй"/></plansheets>)"
          R"(<table_info tname="gis"><obj_info name="ПС"/></table_info></file>)",
          "<Result><Item>Ю1</Item></Result>", "<Result><Item>Ю2</Item></Result>",
          "<Result><Item>Основной</Item><Item>Второй</Item></Result>",
          R"(<Result><Item Curve="ГК" Table="main" Count="100" Top="5"/></Result>)",
          R"(<Result><Item FileName="a.ws" Database="Запад"><Items><Item LevelType="%field">)"
          R"(<LevelValues><Item>Северное</Item></LevelValues></Item><Item LevelType="%Скважина">)"
          R"(<LevelValues><Item>12</Item><Item>12Б</Item></LevelValues></Item></Items></Item>)"
          R"(</Result>)"})
        server.Expect().Reply(AnswerPacket("", answer));
    const TStringList names{Remote("D:\\w\\a.ws"), "b.ws"};
    GoHome();
    TStringList units{"old"}, idents, stratumIdents, plansheets{"old"};
    client.GetUnitsList(names, tables, TStringList{"ГК", "/HOST:x/ПС"}, units);
    TGetCollectionsListResult collections;
    client.GetCollectionsForFiles(names, collections);
    TStratumDataItems stratum;
    client.GetStratumData(names, "Пласты", "Горизонт", stratum);
    TGetStartTextAndInfoResult texts;
    client.GetStratumText(names, "Пласты", "Горизонт", texts);
    TLevelFilesList info, noInfo, views;
    client.GetWsInfo(names, &tables, {wsoCurves, wsoStrat}, info);
    client.GetWsInfo(names, nullptr, {}, noInfo);
    client.GetWsInfo(names, nullptr, {wsoCurves}, views);
    client.GetColumnIdents(names, "Горизонт", idents);
    client.GetStratumIdents(names, stratumIdents);
    client.GetPlansheetsList(names, plansheets);
    TCurvesList curves;
    client.GetCurvesList(names, tables, {cloIncludeCount}, curves);
    TParseFileNameResult parsed;
    client.ParseFileNameEx(names, {pfnoUseExtraHierarchy}, parsed);
    ExpectAtHome();
    EXPECT_EQ(names[0], Remote("D:\\w\\a.ws"));

    std::string sent = Commands(server);
    for (std::size_t at; (at = sent.find(kNames)) != std::string::npos;)
        sent.replace(at, std::strlen(kNames), "<FileNames/>");
    EXPECT_EQ(
        sent,
        R"(<command cmd="get_units_list"><FileNames/><Tables><Item>/PORT:9/main</Item><Item>Пласты</Item></Tables><Curves><Item>ГК</Item><Item>/HOST:x/ПС</Item></Curves></command>
<command cmd="get_collections_list"><FileNames/></command>
<command cmd="get_startum_data"><Filter Table="Пласты" Ident="Горизонт"/><FileNames/></command>
<command cmd="get_stratum_text_for_files"><Filter Table="Пласты" Ident="Горизонт"/><FileNames/></command>
<command cmd="get_ws_info"><FileNames/><Options IncludeCurves="True" IncludeBedCurves="False" IncludeLithology="False" IncludeStratum="True"><Tables><Item>/PORT:9/main</Item><Item>Пласты</Item></Tables></Options></command>
<command cmd="get_ws_info"><FileNames/><Options IncludeCurves="False" IncludeBedCurves="False" IncludeLithology="False" IncludeStratum="False"/></command>
<command cmd="get_ws_info"><FileNames/><Options IncludeCurves="True" IncludeBedCurves="False" IncludeLithology="False" IncludeStratum="False"/></command>
<command cmd="get_startum_idents" table="Горизонт"><FileNames/></command>
<command cmd="get_startum_idents" table=""><FileNames/></command>
<command cmd="get_plansheets_list"><FileNames/></command>
<command cmd="get_curves_list" IncludeTableName="False" IncludeVersion="False" IncludeCount="True" OnPlanshOnly="False" IncludeOnPlanCount="False" IncludeKeys="False" IncludeTopBottomStep="False" IncludeUnit="False" IncludeFileName="False"><FileNames/><Tables><Item>/PORT:9/main</Item><Item>Пласты</Item></Tables></command>
<command cmd="parse_file_names" UseExtraHierarchy="True"><FileNames/></command>
)");

    const TStratumItem& s = stratum.Item(0).Item(0);
    const TParseFileNameResultItem& path = parsed.Item(0);
    const TParseFileNamePathItem* well = path.FindByType("%СКВАЖИНА");
    EXPECT_EQ(Row(Joined(units), collections.Count(), collections.Item(0).ToString(),
                  collections.Item(1).ToString(), stratum.Count(), stratum.Item(0).FileName,
                  stratum.Item(1).FileName, stratum.Item(0).Count()),
              "мВ|API||2|Каротаж.ГИС|.|2|a.ws|b.ws|1|");
    EXPECT_EQ(Row(s.Table, s.Ident, s.Value, s.PlanName, s.Top, s.Bottom, s.AbsTop, s.AbsBottom,
                  s.Version),
              "Пласты|Горизонт|Ю1|Основной|1500.5|1510|-1400.25|-1409.5|2|");
    EXPECT_EQ(Row(texts.FilesToFixCount(), texts.FilesToFix(0).FileName,
                  texts.FilesToFix(0).SameIdentCount, texts.FilesToFix(1).SameIdentCount,
                  Joined(texts.Names), noInfo.GetCount()),
              "2|a.ws|2|-1|Ю1|Ю2||0|");
    EXPECT_EQ(WsInfoRead(info) + WsInfoRead(views),
              "1|a.ws|T1|Осн|main|ГК|1|b.ws|T2|Второй|gis|ПС|");
    EXPECT_EQ(Row(Joined(idents), Joined(stratumIdents), Joined(plansheets), curves.Count(),
                  curves.Item(0).Curve, curves.Item(0).Count, curves.Item(0).Top,
                  curves.Item(0).OnPlanCount),
              "Ю1||Ю2||Основной|Второй||1|ГК|100|5|-1|");
    EXPECT_EQ(Row(parsed.Count(), path.FileName, path.Database, path.Count(),
                  Joined(path.PathValue(0).GetLevelValues()),
                  well ? Joined(well->GetLevelValues()) : "none", path.FindByType("%well")),
              "1|a.ws|Запад|2|Северное||12|12Б||0|");
    server.Verify();
}

TEST_F(WellCommands, TablesListChecksTheCallersOwnNames) {
    TStringList names{Remote("D:\\w\\a.ws"), "WSTP://b.ws"};
    TStringList tables;
    GoHome();
    server.Expect("get_tables_list").Reply(AnswerPacket("", "<Result><Item>main</Item></Result>"));
    client.GetTablesList(names, tables);
    EXPECT_EQ(Joined(names) + Joined(tables), "D:\\w\\a.ws|b.ws|main|");
    EXPECT_EQ(ItemTexts(server.Request(0).Command().child("FileNames")), names.Lines());
    ExpectAtHome();

    // Also after an error answer.
    names = TStringList{Remote("c.ws")};
    server.Expect("get_tables_list").Reply(ErrorPacket(77, "Нет файла"));
    test::ExpectServerError([&] { client.GetTablesList(names, tables); }, 77, "Нет файла");
    ExpectAtHome();
    EXPECT_EQ(Joined(names), "c.ws|");
    server.Verify();
}

TEST_F(WellCommands, AttributeCommandsSendTheirArgumentsInOrder) {
    for (const char* answer :
         {"", "", "", "<PathValues><Item>Север</Item><Item>12</Item></PathValues>",
          R"(<ObjIndex count="3"><obj name="ГК"/></ObjIndex>)",
          R"(<items><item value="a"/>text<val value="б"/></items>)",
          R"(<dict_value found="true" result="Северное"/>)",
          R"(<dict_value found="false" result="Северное"/>)"})
        server.Expect().Reply(AnswerPacket("", answer));
    // DeleteCurve sends its name exactly as given: were it checked, the request would go to a
    // host that does not exist.
    const std::string unchecked = "WSTP://DIRECT:/HOST:elsewhere.invalid//PORT:1/D:\\a.ws";
    client.DeleteCurve(unchecked, "main", "DEPT=1500", "ГК");
    GoHome();
    client.RenameTable(Remote("D:\\a.ws"), "Старая", "Новая");
    client.DeleteTable(Remote("D:\\a.ws"), "main");
    TStringList path{"old"}, values{"old"};
    client.ParseFileName(Remote("D:\\a.ws"), path);
    TGetWsIndexResult index;
    client.GetWsIndex(Remote("D:\\a.ws"), 45000.25, index);
    ExpectAtHome();
    server.PointAt(client);
    client.RequestDictValues(7, "%field", dmDecode, values);  // appended, not replaced
    bool found = false, notFound = true;
    const std::string value = client.RequestDictValue(-3, "%field", "K1", dmCode, found);
    const std::string none = client.RequestDictValue(5, "%well", "K2", dmDecode, notFound);
    EXPECT_EQ(Commands(server), R"(<command cmd="delete_curve" file=")" + unchecked +
                                    R"(" table="main" key_str="DEPT=1500" curve="ГК"/>
<command cmd="rename_table" file="D:\a.ws" old_name="Старая" new_name="Новая"/>
<command cmd="delete_table" file="D:\a.ws" table="main"/>
<command cmd="parse_file_name" file_name="D:\a.ws"/>
<command cmd="get_ws_index" file_name="D:\a.ws" FileTime="45000.25"/>
<command cmd="get_dict_values" mode="decode" db_id="7" level="%field"/>
<command cmd="get_dict_value" key="K1" mode="code" db_id="-3" level="%field"/>
<command cmd="get_dict_value" key="K2" mode="decode" db_id="5" level="%well"/>
)");
    // The index element outlives the exchange and the cleared record.
    TGetWsIndexResult kept = index;
    index.Clear();
    EXPECT_EQ(Row(Joined(path), Joined(values), value, found, none, notFound, bool(index.ObjIndex),
                  kept.AnswerDoc && kept.ObjIndex.root() == *kept.AnswerDoc,
                  kept.ObjIndex.attribute("count").as_int(),
                  kept.ObjIndex.child("obj").attribute("name").value()),
              "Север|12||old|a|б||Северное|1||0|0|1|3|ГК|");
    server.Verify();
}

// The attribute names are the table's above; here, which flag each option sets.
TEST_F(WellCommands, EachOptionSetsItsOwnFlag) {
    const TStringList names{"a.ws"};
    auto trueAt = [](pugi::xml_node node) {
        std::string at;
        int i = 0;
        for (pugi::xml_attribute a : node.attributes())
            at += std::string_view(a.value()) == "True" ? std::to_string(i++) : (++i, "");
        return at + " ";
    };
    std::string flags;
    for (int option = 0; option < 10; ++option) {
        TCurvesList curves;
        server.Expect("get_curves_list").Reply(AnswerPacket());
        client.GetCurvesList(names, {}, {static_cast<ECurvesListOpts>(option)}, curves);
        flags += trueAt(server.Request(option).Command());
    }
    for (int option = 0; option < 4; ++option) {
        TLevelFilesList files;
        server.Expect("get_ws_info").Reply(AnswerPacket());
        client.GetWsInfo(names, nullptr, {static_cast<EWsInfoOptions>(option)}, files);
        flags += trueAt(server.Request(10 + option).Command().child("Options"));
    }
    TParseFileNameResult parsed;
    server.Expect("parse_file_names").Reply(AnswerPacket());
    client.ParseFileNameEx(names, {}, parsed);
    // After "cmd" on the curve list, where both key options set "IncludeKeys".
    EXPECT_EQ(flags, "1 2 3 4 5 6 6 7 8 9 0 1 2 3 ");
    EXPECT_EQ(server.Request(14).Attr("UseExtraHierarchy"), "False");
    server.Verify();
}

// ---- result classes ----

TEST(CurvesList, SaveToStringsWritesColumnsInAFixedOrder) {
    TCurvesList list;
    TCurvesListItem& gk = list.Items.Add();
    std::tie(gk.Curve, gk.Table, gk.Version, gk.KeyColumns, gk.KeyValues, gk.Units, gk.FileName) =
        std::tuple("гк", "Осн", "v2", "DEPT", "1", "мкР/ч", "a.ws");
    std::tie(gk.Count, gk.OnPlanCount, gk.Top, gk.Bottom, gk.Step) =
        std::tuple(100, 2, 100, 2500, 1);
    list.Items.Add().Curve = "ps";
    std::string written;
    for (const TCurvesListOpts opts :
         {TCurvesListOpts::FromMask(0x3FF), TCurvesListOpts{},
          TCurvesListOpts{cloIncludeFileNames, cloOnPlanshOnly, cloIncludeTable},
          TCurvesListOpts{cloIncludeUnits, cloIncludeKeyValues, cloIncludeVersion}}) {
        TStringList out{"stale"};
        list.SaveToStrings(out, opts, ";");
        written += Joined(out) + "\n";
    }
    EXPECT_EQ(written,
              "ГК;ОСН;v2;100;2;DEPT;1;100¦2500¦1;мкР/ч;a.ws|PS;;;-1;-1;;;0¦0¦0;;|\nГК|PS|\n"
              "ГК;ОСН;a.ws|PS;;|\nГК;v2;1;мкР/ч|PS;;;|\n");
    TStringList out{"stale"};
    TCurvesList().SaveToStrings(out, TCurvesListOpts::FromMask(0x3FF), ";");
    EXPECT_TRUE(out.Empty());
}

TEST(StratumData, LookUpsIgnoreCaseAlsoInCyrillic) {
    TStratumData data;
    for (const auto& [table, ident, value] : {std::tuple{"Литология", "Пласт", "Глина"},
                                              {"Пласты", "Горизонт", "Ёлка"},
                                              {"ПЛАСТЫ", "ГОРИЗОНТ", "ЁЛКА"}}) {
        TStratumItem& item = data.Items.Add();
        std::tie(item.Table, item.Ident, item.Value) = std::tie(table, ident, value);
    }
    data.Items[2].Top = 2;
    // Both names must match one item; the first of two matches; Е is not Ё.
    EXPECT_EQ(Row(data.TableExists("пласты"), data.TableExists("пласт"),
                  data.IdentExists("ЛИТОЛОГИЯ", "пЛаСт"), data.IdentExists("Литология", "Горизонт"),
                  data.FindValue("пласты", "горизонт", "ёлка") == &data.Items[1],
                  data.FindValue("Пласты", "Горизонт", "Елка"),
                  data.FindValue("Пласты", "Пласт", "Глина")),
              "1|0|1|0|1|0|0|");
    TStratumData copy;
    copy.Assign(data);
    data.Clear();
    EXPECT_EQ(Row(copy.Count(), copy.Item(2).Top), "3|2|");
}

}  // namespace
}  // namespace ostradb
