// Level, filter and column commands: what each sends and what it reads back.

#include "ostradb/protocol/level_commands.hpp"
#include "exchange_fixture.hpp"
#include "ostradb/model/databases.hpp"
#include "ostradb/model/level_files.hpp"
#include "ostradb/model/table_columns.hpp"

namespace ostradb {
namespace {

using namespace test;

const char* const kLogStruct =
    R"(<LogStruct Name="L" IsDefault="0"><Items><Item ItemType="%well"/></Items></LogStruct>)";
// The filter below as written unchecked, and checked against the database (which has no
// level "%bore").
const char* const kWellItem =
    R"(<Item Param="%well" Oper="="><Items><Item>12</Item></Items></Item>)";
const char* const kBoreItem =
    R"(<Item Param="%bore" Oper="=" Not="true"><Items><Item>B</Item></Items></Item>)";

class LevelCommandsTest : public ExchangeTest {
protected:
    LevelCommandsTest() {
        db.Info.Id = 7;
        db.Info.Structure.AddNewItem().Type = "%field";
        db.Info.Structure.AddNewItem().Type = "%well";
        logStruct.Name = "L";
        logStruct.Add().ItemType = "%well";
        db.LogicalStructures.Add().Assign(logStruct);
        TFilterItem& well = filter.Add();
        well.Key = "%well";
        well.Values = {"12"};
        TFilterItem& bore = filter.Add();
        bore.Key = "%bore";
        bore.Values = {"B"};
        bore.Not = true;
    }

    std::string Unchecked() const {
        return std::string("<Filter>") + kWellItem + kBoreItem + "</Filter>";
    }
    std::string Checked() const { return std::string("<Filter>") + kWellItem + "</Filter>"; }

    TDatabase db;
    TDbLogicalStruct logStruct;
    TFilter filter;
};

// The commands' texts, the filter as written unchecked and checked, and the logical
// structure put back as the named parts.
std::string Sent(test::ScriptedServer& server, const std::string& unchecked,
                 const std::string& checked) {
    std::string text = Commands(server);
    for (const auto& [part, name] : {std::pair{unchecked, "{unchecked}"},
                                     {checked, "{checked}"},
                                     {std::string(kLogStruct), "{L}"}})
        for (std::size_t at; (at = text.find(part)) != std::string::npos;)
            text.replace(at, part.size(), name);
    return text;
}

TEST_F(LevelCommandsTest, EachCommandSendsItsAttributesAndElementsInOrder) {
    for (int i = 0; i < 24; ++i)
        server.Expect().Reply(i == 12 || i == 13
                                  ? AnswerPacket(R"(total_files="1" filtered_files="0")")
                                  : AnswerPacket());
    TLevelFilesList files;
    TLevelsList levels;
    TStringList values;
    TTableColumnNames columns;
    columns.Add().Table = "main";
    columns.GetItem(0).ColNames = {"DEPTH"};
    TTableColumnNames keyColumns;  // columns is read over below
    keyColumns.Assign(columns);
    TFilterStatistics stats;
    TFilter out, other;
    other.Add().Key = "%field";
    other.GetItem(0).Values = {"F"};
    TSimpleCurvesList curves;
    const TStringList types{"%field", "%well"};
    pugi::xml_document doc;
    client.RequestFiles(files, 5, {3, 14},
                        {rffInclTables, rffInclFilePath, rffUseFilters, rffIncludeRowValues},
                        "*.ws");
    client.RequestFiles(files, 5, {}, {rffInclCurves, rffInclPlanshets, rffIgnoreDicts}, "");
    client.RequestFilesForLogStruct(files, db.Info, {3}, {rffUseFilters}, "a*", logStruct);
    client.RequestLevelsList(5, {3}, true, false, true, &types, levels);
    client.RequestLevelsList(5, {3}, false, true, false, nullptr, levels);
    client.RequestLevelsForLogStruct(levels, db.Info, {3}, true, &logStruct);
    client.RequestLevelsForLogStruct(levels, db.Info, {3}, false, nullptr);
    client.SetLogDbStruct(5, {"a", "b"});
    client.RequestFilterPopupList(5, filter, &db.Info.Structure, "%well", values);
    client.RequestFilterPopupValues(db, filter, nullptr, "*t.c", values);
    client.SetFilter(5, &db.Info.Structure, filter);
    client.CheckAndSetFilter(db, filter);
    client.GetFilterStats(db, filter, stats, true);
    client.GetFilterStats(db, filter, stats, false);
    client.ConvertPathToFilter(5, {3, 14}, nullptr, logStruct, out);
    client.MergeFilters(db.Info, filter, other, out);
    client.GetColumnNames(5, values);
    client.GetTableColumnNames(6, columns);
    client.GetTableColNames(5, "main", values);
    client.GetTableColumnNamesForFiles({"DIRECT:a.ws", "b.ws"}, "main", columns);
    client.RequestKeyValues(&filter, doc);
    client.RequestKeyValuesForFiles(nullptr, {"DIRECT:a.ws"}, keyColumns, files);
    client.RequestSimpleCurvesList(5, {3}, true, curves);
    client.GetSimpleCurvesList(db, {3}, false, true, curves);
    EXPECT_EQ(
        Sent(server, Unchecked(), Checked()),
        R"(<command cmd="get_log_level_files" db_id="5" fn_filter="*.ws" include_tables="true" include_curves="false" include_path="true" include_plansh="false" use_filters="true" ignore_dicts="false" include_row_values="true"><path><item id="3"/><item id="14"/></path></command>
<command cmd="get_log_level_files" db_id="5" include_tables="false" include_curves="true" include_path="false" include_plansh="true" use_filters="false" ignore_dicts="true" include_row_values="false"><path/></command>
<command cmd="get_log_level_files" db_id="7" fn_filter="a*" include_tables="false" include_curves="false" include_path="false" include_plansh="false" use_filters="true" ignore_dicts="false" include_row_values="false"><path><item id="3"/></path>{L}</command>
<command cmd="get_log_level_values" db_id="5" include_curves="false" include_files="true" use_filters="true"><log_db_struct><item type="%field"/><item type="%well"/></log_db_struct><path><item id="3"/></path></command>
<command cmd="get_log_level_values" db_id="5" include_curves="true" include_files="false" use_filters="false"><path><item id="3"/></path></command>
<command cmd="get_log_level_values" db_id="7" use_filters="true">{L}<path><item id="3"/></path></command>
<command cmd="get_log_level_values" db_id="7" use_filters="false"><path><item id="3"/></path></command>
<command cmd="set_log_db_struct"><log_db_struct><item type="a"/><item type="b"/></log_db_struct></command>
<command cmd="get_popup_navi_list" db_id="5" request="%well">{unchecked}</command>
<command cmd="get_popup_navi_list" db_id="7" request="*t.c">{checked}</command>
<command cmd="set_filters" db_id="5">{unchecked}</command>
<command cmd="set_filters" db_id="7">{checked}</command>
<command cmd="get_filter_stats" db_id="7" use_filter="True">{checked}</command>
<command cmd="get_filter_stats" db_id="7" use_filter="False"/>
<command cmd="cvt_path_to_filter" db_id="5"><path><item id="3"/><item id="14"/></path>{L}</command>
<command cmd="merge_filters" db_id="7"><Filter1>{unchecked}</Filter1><Filter2><Filter><Item Param="%field" Oper="="><Items><Item>F</Item></Items></Item></Filter></Filter2></command>
<command cmd="get_column_names" db_id="5"/>
<command cmd="get_column_names" db_id="6"/>
<command cmd="get_col_names_for_table" db_id="5" Table="main"/>
<command cmd="get_col_names_for_files" TableName="main"><FilesList><Item>a.ws</Item><Item>b.ws</Item></FilesList></command>
<command cmd="get_key_values"/>
<command cmd="get_key_values_for_files"><FilesList><Item>a.ws</Item></FilesList><ColumnNames><Item Table="main"><ColNames><Item>DEPTH</Item></ColNames></Item></ColumnNames></command>
<command cmd="get_simple_curves_list" db_id="5" use_filters="True"><path><item id="3"/></path></command>
<command cmd="get_simple_curves_list" db_id="7" use_filters="False" use_versions="True"><path><item id="3"/></path>{L}</command>
)");
    server.Verify();
}

TEST_F(LevelCommandsTest, LevelFilesAreReadWithTheDatabasesStructureForALogicalStructure) {
    const std::string answer = AnswerPacket(
        "",
        R"(<file name="a.ws" type="1" is_main="true"><path><item value="F1"/><item value="W1"/></path></file>)"
        R"(<other/><file name="b.ws" type="2" is_main="false"/>)");
    TLevelFilesList files;
    server.Expect().Reply(answer);
    client.RequestFiles(files, 5, {}, {}, "");
    ASSERT_EQ(files.GetCount(), 2);
    EXPECT_EQ(Row(test::Joined(files.GetItem(0).PathValues), files.GetItem(0).PathNames.Count(),
                  files.GetItem(1).DbId),
              "F1|W1||0|-1|");

    server.Expect().Reply(answer);
    client.RequestFilesForLogStruct(files, db.Info, {}, {}, "", logStruct);
    ASSERT_EQ(files.GetCount(), 2);
    EXPECT_EQ(Row(files.GetItem(0).PathNames.Values("%well"), files.GetItem(0).DbId,
                  files.GetItem(1).DbId),
              "W1|7|7|");
    server.Verify();
}

TEST_F(LevelCommandsTest, LevelsPopupValuesAndFiltersAreReadFromTheAnswer) {
    TLevelsList levels;
    server.Expect().Reply(
        AnswerPacket("", R"(<level_values><item id="3" name="W1" path="p"/></level_values>)"));
    client.RequestLevelsList(5, {}, false, false, false, nullptr, levels);
    ASSERT_EQ(levels.GetCount(), 1);
    EXPECT_EQ(levels.GetItem(0).Name, "W1");

    TStringList values{"old"};
    server.Expect().Reply(AnswerPacket("", "<Items><Item>x</Item><Item>y z</Item></Items>"));
    client.RequestFilterPopupValues(db, filter, nullptr, "%well", values);
    EXPECT_EQ(values, TStringList({"x", "y z"}));

    const std::string read = std::string("<Filter>") + kWellItem + "</Filter>";
    for (const bool merge : {false, true}) {
        TFilter result = filter;
        server.Expect().Reply(AnswerPacket("", read));
        if (merge)
            client.MergeFilters(db.Info, filter, filter, result);
        else
            client.ConvertPathToFilter(5, {3}, nullptr, logStruct, result);
        ASSERT_EQ(result.GetCount(), 1) << merge;
        EXPECT_EQ(Row(result.GetItem(0).Key, test::Joined(result.GetItem(0).Values)), "%well|12||");
    }
    server.Verify();
}

TEST_F(LevelCommandsTest, FilterStatisticsNeedBothCounts) {
    TFilterStatistics stats;
    server.Expect().Reply(AnswerPacket(R"(total_files="40" filtered_files="-12")"));
    client.GetFilterStats(db, filter, stats, true);
    EXPECT_EQ(Row(stats.TotalFiles, stats.FilteredFiles), "40|-12|");
    for (const char* attrs : {R"(filtered_files="12")", R"(total_files="40")",
                              R"(total_files="4x" filtered_files="12")"}) {
        server.Expect().Reply(AnswerPacket(attrs));
        EXPECT_THROW(client.GetFilterStats(db, filter, stats, true), EConvertError) << attrs;
    }
    server.Verify();
}

TEST_F(LevelCommandsTest, ColumnNamesSkipEmptyValuesAndOtherElements) {
    TStringList names{"old"};
    server.Expect().Reply(AnswerPacket(
        "", R"(<names><name value="DEPTH"/>text<name value=""/><Name value="X"/><col value="Y"/>)"
            R"(<name value="GK"/></names><name value="Z"/>)"));
    client.GetColumnNames(5, names);
    EXPECT_EQ(names, TStringList({"DEPTH", "GK"}));

    TTableColumnNames columns;
    server.Expect().Reply(AnswerPacket(
        "",
        R"(<ColumnNames><Item Table="main"><ColNames><Item>DEPTH</Item></ColNames></Item></ColumnNames>)"));
    client.GetTableColumnNames(5, columns);
    EXPECT_EQ(Row(columns.GetCount(), columns.Exists("main", "DEPTH")), "1|1|");

    server.Expect().Reply(
        AnswerPacket("", "<TableColumnNames><Item>A</Item><Item>B</Item></TableColumnNames>"));
    client.GetTableColNames(5, "main", names);
    EXPECT_EQ(names, TStringList({"A", "B"}));
    server.Verify();
}

TEST_F(LevelCommandsTest, KeyValuesAreCopiedUnderANewRootOfTheCallersDocument) {
    pugi::xml_document doc;
    server.Expect().Reply(AnswerPacket(
        "", R"(<other/><files><file name="a.ws"><key col="c" value="1"/></file></files>)"));
    client.RequestKeyValues(nullptr, doc);
    EXPECT_EQ(
        XmlText(doc),
        R"(<result><files><file name="a.ws"><key col="c" value="1"/></file></files></result>)");

    // A document that already has a root cannot take the answer: nothing is sent.
    EXPECT_THROW(client.RequestKeyValues(nullptr, doc), Error);
    EXPECT_EQ(server.RequestCount(), 1u);
    server.Verify();
}

TEST_F(LevelCommandsTest, SimpleCurvesAreReadFromCurveAndPlanshetChildrenOnly) {
    TSimpleCurvesList curves;
    server.Expect().Reply(AnswerPacket(
        "", R"(<curves><curve name="GK" table="main" count="3" version="v1"><planshet name="P1"/>)"
            R"(<other name="X"/><Planshet name="Y"/><planshet name="P2"/></curve><item name="no"/>)"
            R"(<curve name="PS" count="0"/></curves>)"));
    client.RequestSimpleCurvesList(5, {}, false, curves);
    ASSERT_EQ(curves.GetCount(), 2);
    const TSimpleCurvesListItem& gk = curves.GetItem(0);
    const TSimpleCurvesListItem& ps = curves.GetItem(1);
    EXPECT_EQ(Row(gk.Name, gk.Table, gk.Count, gk.Version, test::Joined(gk.Planshets), ps.Name,
                  ps.Planshets.Count()),
              "GK|main|3|v1|P1|P2||PS|0|");

    server.Expect().Reply(
        AnswerPacket("", R"(<curves><curve name="A" count="1"/><curve name="B"/></curves>)"));
    EXPECT_THROW(client.GetSimpleCurvesList(db, {}, false, false, curves), EConvertError);
    EXPECT_EQ(curves.GetCount(), 2);  // the first and the one that failed
    server.Verify();
}

// The names go to the server they name, checked on a copy, and the session comes back.
TEST_F(LevelCommandsTest, FileListCommandsGoToTheNamedServerAndComeBack) {
    test::ScriptedServer other;
    const std::string named =
        "WSTP:///HOST:127.0.0.1//PORT:" + std::to_string(other.Port()) + "/D:\\w\\a.ws";
    const TStringList files{named, "b.ws"};
    TTableColumnNames columns;
    TLevelFilesList list;
    other.Expect("get_col_names_for_files").Reply(AnswerPacket());
    other.Expect("get_key_values_for_files").Reply(ErrorPacket(3, "x"));
    client.GetTableColumnNamesForFiles(files, "main", columns);
    EXPECT_THROW(client.RequestKeyValuesForFiles(nullptr, files, columns, list),
                 TOstraClientSocketException);
    for (std::size_t i = 0; i < 2; ++i)
        EXPECT_EQ(XmlText(other.Request(i).Command().child("FilesList")),
                  "<FilesList><Item>D:\\w\\a.ws</Item><Item>b.ws</Item></FilesList>");
    EXPECT_EQ(Row(client.GetPort(), files[0]), Row(server.Port(), named));
    other.Verify();
    server.Verify();
}

}  // namespace
}  // namespace ostradb
