#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iterator>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "ostradb/model/db_struct.hpp"
#include "ostradb/model/level_files.hpp"
#include "ostradb/serial/xml.hpp"
#include "ostradb/serial/xml_serializer.hpp"
#include "ostradb/util/text.hpp"
#include "ostradb/util/well_names.hpp"
#include "support/render.hpp"

namespace ostradb {
namespace {

using test::Joined;
using test::Row;

pugi::xml_node Parse(pugi::xml_document& doc, const std::string& text) {
    xml::Parse(doc, text);
    return doc.document_element();
}

// A file as text: its fields, parameters, plansheets and path, then each table with its
// columns, curves and rows on lines of their own.
std::string Text(const TLevelFile& f) {
    std::ostringstream s;
    s << f.ExtraPath << '|' << f.Name << '|' << f.FileType << '|' << f.TrunkId << '|' << f.IsMain
      << '|' << f.FileId << '|' << f.Flags << '|' << f.UserRights << " params " << Joined(f.Params)
      << " plansheets ";
    for (const TLevelFilePlanshet& p : f.Planshets)
        s << p.Name << '|';
    s << " path " << Joined(f.PathValues) << " names " << Joined(f.PathNames);
    for (const TLevelFileTable& t : f.Tables) {
        s << "\n" << t.Name << " (" << t.ShowNames << ") cols ";
        for (int i = 0; i < t.Cols.GetCount(); ++i)
            s << t.Cols.GetItem(i).Name << '|';
        for (const TLevelFileCurve& c : t.Curves)
            s << "\n " << c.Name << '|' << c.Table << '|' << c.Start << '|' << c.Step << '|'
              << c.NVers << '|' << c.Keystr << '|' << c.GetKeyStr() << '|' << c.DClass << '|'
              << c.QualityMark << '|' << c.GetVisibleName() << " on " << Joined(c.Planshets);
        for (const TLevelFileRow& r : t.Rows.Items)
            s << "\n row " << r.GetKeyStr() << " " << r.GetItem(0).Type;
    }
    return s.str();
}

TEST(LevelFilesRead, ReadsFilesTablesCurvesRowsAndPaths) {
    pugi::xml_document doc;
    TDbStruct levels;
    for (const char* type : {"%Field", "%AREA", "%Well", "%survey"})
        levels.AddNewItem().Type = type;
    TLevelFilesList list;
    list.Add().Name = "stale";
    list.ReadFromXml(Parse(doc, R"(<answer>
  <file extra_path="x/" name="w12.ws" type="2" trunk_id="T12" is_main="true" file_id="7"
        flags="1099511627776" UserRights="3">
    <params><param key="size" value="10"/><note key="no" value="no"/>
      <param key="author" value="Иванов"/></params>
    <planshet name="Основной"/>
    <table name="formation">
      <data>
        <curve name="PL" start="0" stop="1" step="0" nvers="2" keystr="k1" keyvalue="v1"
               dclass="7" quality_mark="3" table="other">
          <planshets><item name="P1"/><other name="x"/><item name="P2"/></planshets>
        </curve>
        <curve name="GK" start="100.5" stop="2500" step="0.1" nvers="1" keystr="" dclass="1"/>
        <item name="skipped" start="0" stop="0" step="0" nvers="0" keystr="" dclass="0"/>
      </data>
      <rows><row><value name="TOP" value="1500" type="float"/><cell name="no"/>
        <value name="NAME" value="Ю1" type="string"/></row><other/></rows>
    </table>
    <path><item value="Месторождение"/><item value="Площадь"/><item value="Скв 12"/>
      <item value="ГИС"/></path>
  </file>
  <File extra_path="" name="upper" type="1" trunk_id="" is_main="false"/>
  <item/>
  <file name="b.ws" type="1" trunk_id="" is_main="False" extra_path="e/">
    <path><item value="A"/><item value="B"/></path>
  </file>
</answer>)"),
                     &levels);

    ASSERT_EQ(list.GetCount(), 2);
    // No "table": the curve's own table; no quality mark: 9999. A path shorter than the
    // structure has no names; no "file_id", "flags" or "UserRights": the defaults; attributes
    // in another order are found all the same.
    EXPECT_EQ(Text(list.GetItem(0)),
              "x/|w12.ws|2|T12|1|7|1099511627776|3 params size=10|author=Иванов| plansheets "
              "Основной| path Месторождение|Площадь|Скв 12|ГИС| names %field=Месторождение|"
              "%area=Площадь|%well=Скв 12|%survey=ГИС|\nformation () cols "
              "\n PL|other|0|0|2|k1|v1|7|3|!PL on P1|P2|"
              "\n GK|formation|100.5|0.1|1|||1|9999|GK on "
              "\n row TOP=1500;NAME=Ю1 float");
    EXPECT_EQ(Text(list.GetItem(1)), "e/|b.ws|1||0|-1|0|-1 params  plansheets  path A|B| names ");
    EXPECT_EQ(list.GetItem(0).GetTable(0).FindCurve("gk"), &list.GetItem(0).GetTable(0).Curves[1]);

    // Without a structure no path names at all.
    list.ReadFromXml(doc.document_element(), nullptr);
    EXPECT_EQ(Row(list.GetItem(0).PathValues.Count(), list.GetItem(0).PathNames.Count()), "4|0|");
}

TEST(LevelFilesRead, BadRequiredValueRaisesAndKeepsWhatWasRead) {
    for (const char* second : {R"(<file name="b" trunk_id="" is_main="true" extra_path=""/>)",
                               R"(<file name="b" type="1" trunk_id="" is_main="yes"/>)",
                               R"(<file name="b" type="1" is_main="1" flags="x"/>)"}) {
        pugi::xml_document doc;
        const std::string text = std::string("<answer><file name=\"a\" type=\"3\" is_main=\"0\">") +
                                 "<path><item value=\"v\"/></path></file>" + second + "</answer>";
        TLevelFilesList list;
        EXPECT_THROW(list.ReadFromXml(Parse(doc, text), nullptr), EConvertError) << second;
        ASSERT_EQ(list.GetCount(), 2) << second;
        EXPECT_EQ(
            Row(list.GetItem(0).FileType, list.GetItem(0).PathValues.Count(), list.GetItem(1).Name),
            "3|1|b|");
    }
}

TEST(LevelFileCurve, TypeAndVisibleNameFollowTheDataClass) {
    struct Case {
        std::int32_t dclass;
        const char* table;
        ECurvesTypes type;
        const char* visible;
    };
    for (const Case& c : {Case{7, "t", ctColumn, "!C"}, Case{6, "t", ctBed, "#C"},
                          Case{1, "t", ctSimple, "C"}, Case{3, "formation", ctColumn, "$C"},
                          Case{11, "FORMATION", ctColumn, "$C"}, Case{2, "formation", ctBed, "#C"},
                          Case{5, "formation", ctSimple, "C"}, Case{0, "t", ctSimple, "C"}}) {
        TLevelFileCurve curve;
        curve.Name = "C";
        curve.Table = c.table;
        curve.DClass = c.dclass;
        EXPECT_EQ(Row(int(DataClassToCurveType(c.dclass)), curve.GetIsBed(), curve.GetIsColumn(),
                      curve.GetVisibleName()),
                  Row(int(c.type), c.type == ctBed, c.type == ctColumn, c.visible))
            << c.dclass << " " << c.table;
    }
}

TEST(LevelFileFlags, LowestKnownBitDecides) {
    EXPECT_EQ(FileFlagToString(8), "");
    TStringList list{"kept"};
    FileFlagsToString(0x8000000F, list);
    EXPECT_EQ(Joined(list),
              "kept|Содержит некорректные данные|Находится по некорректному пути|"
              "При загрузке данных произошла ошибка|");
    EXPECT_EQ(FileFlagToString(6) + FileFlagToString(7) + FileFlagToString(4),
              "Находится по некорректному путиСодержит некорректные данные"
              "При загрузке данных произошла ошибка");
}

TLevelFile& AddFile(TLevelFilesList& list, const char* name, std::vector<std::string> path) {
    TLevelFile& f = list.Add();
    f.Name = name;
    for (std::string& p : path)
        f.PathNames.Add(std::move(p));
    return f;
}

std::string Names(const TLevelFilesList& list) {
    std::string names;
    for (const TLevelFile& f : list.Files)
        names += f.Name;
    return names;
}

TEST(LevelFilesSort, SortsByLevelsWithWellNamesNumberFirst) {
    TLevelFilesList list;
    AddFile(list, "a", {"%field=Beta", "%well=12"});
    AddFile(list, "b", {"%field=alpha", "%well=9"});
    TLevelFile& c = AddFile(list, "c", {"%Field=ALPHA", "%Well=N100"});
    AddFile(list, "d", {"%field=alpha", "%well=abc"});
    AddFile(list, "e", {"%field=Alpha", "%well=12a"});
    AddFile(list, "f", {"%field=beta", "%well=7"});
    AddFile(list, "g", {});
    list.SmartSort();
    EXPECT_EQ(Names(list), "gbecdfa");
    EXPECT_EQ(&list.GetItem(3), &c);  // moved whole

    // Levels are compared in the order the files first name them.
    TLevelFilesList byWell;
    AddFile(byWell, "y", {"%field=a", "%well=10"});
    AddFile(byWell, "x", {"%well=2", "%field=b"});
    byWell.SmartSort();
    EXPECT_EQ(Names(byWell), "yx");
    AddFile(byWell, "z", {"%well=1", "%field=a"});
    AddFile(byWell, "w", {"%area=x"});
    byWell.SmartSort();  // w: empty field and well, which sort first
    EXPECT_EQ(Names(byWell), "wzyx");
}

TEST(LevelFilesSort, AgreesWithComparingFilesLevelByLevel) {
    // Random paths with letter-case variants, equal well numbers, names without numbers and
    // missing levels; the result must be ordered by the plain level-by-level comparison.
    const char* fields[] = {"Беta", "бЕТА", "alpha", "Альфа", "альфа", ""};
    const char* wells[] = {"12", "12a", "12А", "N12", "7", "007", "abc", "ABC", "", "100"};
    std::mt19937 rng(5);
    TLevelFilesList list;
    for (int i = 0; i < 400; ++i) {
        TLevelFile& f = list.Add();
        if (rng() % 7)
            f.PathNames.Add(std::string(rng() % 2 ? "%field=" : "%FIELD=") +
                            fields[rng() % std::size(fields)]);
        if (rng() % 9) f.PathNames.Add(std::string("%well=") + wells[rng() % std::size(wells)]);
    }
    list.SmartSort();
    auto compare = [](const TLevelFile& a, const TLevelFile& b) {
        if (int c = CompareText(a.PathNames.Values("%field"), b.PathNames.Values("%field")))
            return c;
        return CompareWellNames(a.PathNames.Values("%well"), b.PathNames.Values("%well"));
    };
    for (int i = 1; i < list.GetCount(); ++i)
        ASSERT_LE(compare(list.GetItem(i - 1), list.GetItem(i)), 0) << i;
}

TLevelFilesList SampleList() {
    TLevelFilesList list;
    TLevelFile& f = list.Add();
    f.Name = "a.ws";
    f.TrunkId = "T1";
    f.Flags = std::int64_t{1} << 40;
    f.UserRights = 5;
    f.Params.Add("k=v");
    f.PathValues = TStringList{"F", "12"};
    f.PathNames = TStringList{"%field=F", "%well=12"};
    TLevelFileTable& t = f.AddTable();
    t.Name = "formation";
    for (const auto& [name, dclass, key] : {std::tuple{"A", 3, "k"}, std::tuple{"B", 2, "kb"}}) {
        TLevelFileCurve& c = t.AddCurve();
        c.Table = "formation";
        c.Name = name;
        c.DClass = dclass;
        c.Keystr = key;
    }
    t.GetCurve(0).Keystr2 = "v";
    t.GetCurve(0).NVers = 2;
    TLevelFile& g = list.Add();
    g.Name = "b.ws";
    g.PathValues = TStringList{"only"};
    return list;
}

TEST(LevelFilesExchange, WritesTheApiAndSerializerFormsAndReadsThemBack) {
    auto apiText = [](const TLevelFilesList& l) {
        pugi::xml_document d;
        l.SaveToApiXML_Ex(d.append_child("Files"));
        return xml::ToText(d, false, "");
    };
    const TLevelFilesList list = SampleList();
    const std::string text = apiText(list);
    EXPECT_EQ(text,
              "<Files><File FileName=\"a.ws\" TrunkId=\"T1\"><Path>"
              "<Item Name=\"%field\" Value=\"F\"/><Item Name=\"%well\" Value=\"12\"/></Path>"
              "<Tables><Table Name=\"formation\"><Curves>"
              "<Curve VisibleName=\"$A\" Name=\"A\" Keystr=\"v\" NVers=\"2\"/>"
              "<Curve VisibleName=\"#B\" Name=\"B\" Keystr=\"kb\" NVers=\"0\"/>"
              "</Curves></Table></Tables></File>"
              "<File FileName=\"b.ws\" TrunkId=\"\"><Path><Item Name=\"\" Value=\"only\"/>"
              "</Path><Tables/></File></Files>");
    TLevelFilesList back;
    back.LoadFromApiXMLText(text);
    EXPECT_EQ(apiText(back), text);
    EXPECT_TRUE(back.GetItem(1).PathNames.Empty());
    pugi::xml_document doc;
    EXPECT_THAT([&] { list.SaveToApiXML(doc.append_child("Files")); },
                testing::ThrowsMessage<TSaveToApiXMLDepricated>(
                    testing::StrEq("TLevelFilesList.SaveToApiXML is deprecated")));

    // The serializer's form: the files under "Files", 64-bit values whole.
    doc.reset();
    pugi::xml_node root = doc.append_child("root");
    SaveToXML(list, "List", root);
    const pugi::xml_node item = root.child("List").child("Files").child("Item");
    EXPECT_EQ(
        test::Row(test::AttrText(item), test::XmlText(item.child("Params")),
                  test::AttrText(item.child("Tables").child("Item").child("Curves").child("Item"))),
        "Flags=1099511627776 UserRights=5 Name=a.ws ExtraPath= FileType=0 TrunkId=T1 IsMain=0 "
        "FileId=-1 DbId=-1|<Params><Item>k=v</Item></Params>|Table=formation "
        "Name=A Start=0 Stop=0 Step=0 NVers=2 Keystr=k Keystr2=v DClass=3 QualityMark=9999|");
    TLevelFilesList loaded;
    LoadFromXML(loaded, "List", root);
    pugi::xml_document again;
    SaveToXML(loaded, "List", again.append_child("root"));
    EXPECT_EQ(xml::ToText(again, false, ""), xml::ToText(doc, false, ""));
}

TEST(LevelFilesViewsList, ReadsPlansheetsTablesColumnsCurvesAndRows) {
    pugi::xml_document doc;
    TLevelFilesList list;
    list.ReadFromXml(Parse(doc, R"(<answer>
      <file name="a.ws" type="2" is_main="true" trunk_id="T">
        <plansheets><plansheet name="P1"/><plansheet name="P2"/></plansheets>
        <table_info tname="strat" shownames="Стратиграфия">
          <Fields><Field Name="TOP"/><field Name="no"/><Field Name="NAME"/></Fields>
          <obj_info name="S1" dclass="3" keystr="k" keyvalue="kv" qualitymark="4"
                    qualitymarkstr="7"><value name="TOP" value="10" type="float"/></obj_info>
          <obj_info name="S2" qualitymarkstr="6" start="1.5"/>
          <obj_info name="S3" qualitymarkstr="плохо"/>
        </table_info>
      </file><other/></answer>)"),
                     nullptr, true);
    ASSERT_EQ(list.GetCount(), 1);
    EXPECT_EQ(Text(list.GetItem(0)),
              "|a.ws|2|T|1|-1|0|-1 params  plansheets P1|P2| path  names "
              "\nstrat (Стратиграфия) cols TOP|NAME|"
              "\n S1|strat|0|0|0|k|kv|3|4|!S1 on "
              "\n S2|strat|1.5|0|0|||0|6|S2 on "
              "\n S3|strat|0|0|0|||0|9999|S3 on "
              "\n row TOP=10 float");
}

TEST(LevelFiles, AssignFindFilterAndRights) {
    TLevelFilesList list = SampleList();
    TLevelFilesList copy;
    copy.Assign(list);
    copy.GetItem(0).GetTable(0).GetCurve(0).Name = "changed";
    EXPECT_EQ(list.GetItem(0).GetTable(0).GetCurve(0).Name, "A");
    EXPECT_EQ(copy.FindByName("B.WS"), &copy.GetItem(1));
    EXPECT_EQ(copy.FindByName("c.ws"), nullptr);
    TStringList names{"old"};
    copy.GetFileNames(names);
    EXPECT_EQ(Joined(names), "a.ws|b.ws|");

    TLevelFile& f = list.GetItem(0);
    f.AddTable().Name = "depth";
    f.GetTable(1).AddCurve().Name = "GK";
    TLevelFileInternalFilter filter;
    filter.CurveTypes = {ctSimple, ctColumn};
    f.FilterCurves(filter);  // the bed is gone
    EXPECT_EQ(Row(f.GetTable(0).GetCurvesCount(), f.GetTable(0).GetCurve(0).Name), "1|A|");
    filter.TableNames = TStringList{"DEPTH"};
    f.FilterCurves(filter);
    EXPECT_EQ(Row(f.GetTable(0).GetCurvesCount(), f.GetTable(1).GetCurvesCount()), "0|1|");

    std::string rights;
    for (std::int64_t mask : {-1, 1, 7, 3, 64, 127}) {
        f.UserRights = mask;
        rights += Row(mask, f.IsReadOnly(), f.IsFullAccess());
    }
    EXPECT_EQ(rights, "-1|0|1|1|1|0|7|0|1|3|0|0|64|1|0|127|0|1|");
}

}  // namespace
}  // namespace ostradb
