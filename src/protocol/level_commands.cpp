// Level, filter and column commands: the database's hierarchy of levels, the files of a level,
// filters kept on the server for the session, column names and key values.

#include "ostradb/protocol/level_commands.hpp"

#include "ostradb/model/databases.hpp"
#include "ostradb/model/db_struct.hpp"
#include "ostradb/model/filters.hpp"
#include "ostradb/model/level_files.hpp"
#include "ostradb/model/table_columns.hpp"
#include "ostradb/serial/xml.hpp"
#include "ostradb/serial/xml_serializer.hpp"
#include "protocol/command.hpp"
#include "protocol/command_parts.hpp"
#include "protocol/list_answers.hpp"

namespace ostradb {

// ---- Result types

void TSimpleCurvesListItem::ReadFromXml(pugi::xml_node node) {
    Planshets.Clear();
    Name = xml::Attr(node, "name");
    Table = xml::Attr(node, "table");
    Count = xml::AttrInt(node, "count");
    Version = xml::Attr(node, "version");
    for (pugi::xml_node c = node.child("planshet"); c; c = c.next_sibling("planshet"))
        Planshets.Add(xml::Attr(c, "name"));
}

void TSimpleCurvesListItem::Assign(const TSimpleCurvesListItem& other) {
    Name = other.Name;
    Table = other.Table;
    Planshets.Assign(other.Planshets);
    Count = other.Count;
    Version = other.Version;
}

void TSimpleCurvesList::ReadFromXml(pugi::xml_node node) {
    Items.Clear();
    for (pugi::xml_node c = node.child("curve"); c; c = c.next_sibling("curve"))
        Items.Add().ReadFromXml(c);
}

namespace {

// The seven request flags, each always sent.
void WriteFilesFlags(detail::Request& req, TReqFilesFlags flags) {
    static constexpr struct {
        EReqFilesFlags flag;
        const char* attr;
    } kFlags[] = {
        {rffInclTables, "include_tables"},
        {rffInclCurves, "include_curves"},
        {rffInclFilePath, "include_path"},
        {rffInclPlanshets, "include_plansh"},
        {rffUseFilters, "use_filters"},
        {rffIgnoreDicts, "ignore_dicts"},
        {rffIncludeRowValues, "include_row_values"},
    };
    for (const auto& f : kFlags)
        req.SetBool(f.attr, flags.Contains(f.flag));
}

// The level-file request up to its level path: "db_id", "fn_filter" when given, the flags.
void WriteFilesRequest(detail::Request& req, std::int32_t dbId, const TIntegerArray& levels,
                       TReqFilesFlags flags, const std::string& fnFilter) {
    req.Set("db_id", dbId);
    if (!fnFilter.empty()) req.Set("fn_filter", fnFilter);
    WriteFilesFlags(req, flags);
    detail::WriteLevelPath(req.command, levels);
}

// The level types of a logical structure: "log_db_struct" with one "item" per type.
void WriteLogDbStruct(pugi::xml_node node, const TStringList& types) {
    pugi::xml_node list = node.append_child("log_db_struct");
    for (const std::string& type : types)
        xml::SetAttr(list.append_child("item"), "type", type);
}

void WriteLogStruct(pugi::xml_node node, const TDbLogicalStruct* logStruct) {
    SaveToXML(logStruct, "LogStruct", node);
}

void WriteCheckedFilter(pugi::xml_node node, const TDatabase& database, const TFilter& filter) {
    filter.FillToXmlWithCheck(&database, node, {fcfCheckAll});
}

// The level values of an answer into list, each level as it arrives.
void ReadLevels(detail::Request& req, TLevelsList& list, const TDatabaseInfo* info) {
    detail::ParsedRecords items(
        {"level_values", "item"}, [&] { list.Clear(); },
        [&](pugi::xml_node item) { list.AddNew().ReadFromXml(item, info); });
    req.Exchange(items);
}

}  // namespace

// ---- Level lists and level files

void TOstraDbProtocol::RequestFiles(TLevelFilesList& List, std::int32_t DbId,
                                    const TIntegerArray& Levels, TReqFilesFlags Flags,
                                    const std::string& FnFilter) {
    List.Clear();
    detail::Request req(*this, "get_log_level_files");
    WriteFilesRequest(req, DbId, Levels, Flags, FnFilter);
    detail::FileRecords files(List, nullptr);
    req.Exchange(files);
}

void TOstraDbProtocol::RequestFilesForLogStruct(TLevelFilesList& List, const TDatabaseInfo& DbInfo,
                                                const TIntegerArray& Levels, TReqFilesFlags Flags,
                                                const std::string& FnFilter,
                                                const TDbLogicalStruct& LogStruct) {
    List.Clear();
    detail::Request req(*this, "get_log_level_files");
    WriteFilesRequest(req, DbInfo.Id, Levels, Flags, FnFilter);
    WriteLogStruct(req.command, &LogStruct);
    detail::FileRecords files(List, &DbInfo.Structure);
    req.Exchange(files);
    for (TLevelFile& file : List.Files)
        file.DbId = DbInfo.Id;
}

void TOstraDbProtocol::RequestLevelsList(std::int32_t DbId, const TIntegerArray& Levels,
                                         bool UseFilters, bool IncludeCurves, bool IncludeFiles,
                                         const TStringList* LogDbStruct, TLevelsList& List) {
    detail::Request req(*this, "get_log_level_values");
    req.Set("db_id", DbId);
    req.SetBool("include_curves", IncludeCurves);
    req.SetBool("include_files", IncludeFiles);
    req.SetBool("use_filters", UseFilters);
    if (LogDbStruct) WriteLogDbStruct(req.command, *LogDbStruct);
    detail::WriteLevelPath(req.command, Levels);
    ReadLevels(req, List, nullptr);
}

void TOstraDbProtocol::RequestLevelsForLogStruct(TLevelsList& List, const TDatabaseInfo& DbInfo,
                                                 const TIntegerArray& Levels, bool UseFilters,
                                                 const TDbLogicalStruct* LogStruct) {
    detail::Request req(*this, "get_log_level_values");
    req.Set("db_id", DbInfo.Id);
    req.SetBool("use_filters", UseFilters);
    WriteLogStruct(req.command, LogStruct);
    detail::WriteLevelPath(req.command, Levels);
    ReadLevels(req, List, &DbInfo);
}

// The request has never carried a database identifier: DbId is accepted and not sent.
void TOstraDbProtocol::SetLogDbStruct(std::int32_t /*DbId*/, const TStringList& Types) {
    detail::Request req(*this, "set_log_db_struct");
    WriteLogDbStruct(req.command, Types);
    req.Exchange();
}

// ---- Filters

void TOstraDbProtocol::RequestFilterPopupList(std::int32_t DbId, const TFilter& Filter,
                                              const TDbStruct* DbStruct, const std::string& Request,
                                              TStringList& Values) {
    Values.Clear();
    detail::Request req(*this, "get_popup_navi_list");
    req.Set("db_id", DbId);
    req.Set("request", Request);
    Filter.FillToXml(DbStruct, req.command);
    detail::Answer ans = req.Exchange();
    LoadFromXML(Values, "Items", ans.answer);
}

void TOstraDbProtocol::RequestFilterPopupValues(const TDatabase& Database, const TFilter& Filter,
                                                const TDbStruct* /*DbStruct*/,
                                                const std::string& Request, TStringList& Values) {
    Values.Clear();
    detail::Request req(*this, "get_popup_navi_list");
    req.Set("db_id", Database.Info.Id);
    req.Set("request", Request);
    WriteCheckedFilter(req.command, Database, Filter);
    detail::Answer ans = req.Exchange();
    LoadFromXML(Values, "Items", ans.answer);
}

void TOstraDbProtocol::SetFilter(std::int32_t DbId, const TDbStruct* DbStruct,
                                 const TFilter& Filter) {
    detail::Request req(*this, "set_filters");
    req.Set("db_id", DbId);
    Filter.FillToXml(DbStruct, req.command);
    req.Exchange();
}

void TOstraDbProtocol::CheckAndSetFilter(const TDatabase& Database, const TFilter& Filter) {
    detail::Request req(*this, "set_filters");
    req.Set("db_id", Database.Info.Id);
    WriteCheckedFilter(req.command, Database, Filter);
    req.Exchange();
}

void TOstraDbProtocol::GetFilterStats(const TDatabase& Database, const TFilter& Filter,
                                      TFilterStatistics& Stats, bool UseFilter) {
    detail::Request req(*this, "get_filter_stats");
    req.Set("db_id", Database.Info.Id);
    xml::SetBoolAttr(req.command, "use_filter", UseFilter);
    if (UseFilter) WriteCheckedFilter(req.command, Database, Filter);
    detail::Answer ans = req.Exchange();
    Stats.TotalFiles = xml::AttrInt(ans.answer, "total_files");
    Stats.FilteredFiles = xml::AttrInt(ans.answer, "filtered_files");
}

void TOstraDbProtocol::ConvertPathToFilter(std::int32_t DbId, const TIntegerArray& Levels,
                                           const TDbStruct* DbStruct,
                                           const TDbLogicalStruct& LogStruct, TFilter& Filter) {
    detail::Request req(*this, "cvt_path_to_filter");
    req.Set("db_id", DbId);
    detail::WriteLevelPath(req.command, Levels);
    WriteLogStruct(req.command, &LogStruct);
    detail::Answer ans = req.Exchange();
    Filter.ReadFromXml(DbStruct, ans.answer);
}

void TOstraDbProtocol::MergeFilters(const TDatabaseInfo& DbInfo, const TFilter& Filter1,
                                    const TFilter& Filter2, TFilter& Merged) {
    detail::Request req(*this, "merge_filters");
    req.Set("db_id", DbInfo.Id);
    Filter1.FillToXml(&DbInfo.Structure, req.command.append_child("Filter1"));
    Filter2.FillToXml(&DbInfo.Structure, req.command.append_child("Filter2"));
    detail::Answer ans = req.Exchange();
    Merged.ReadFromXml(&DbInfo.Structure, ans.answer);
}

// ---- Column names, key values and curves

void TOstraDbProtocol::GetColumnNames(std::int32_t DbId, TStringList& Names) {
    Names.Clear();
    detail::Request req(*this, "get_column_names");
    req.Set("db_id", DbId);
    detail::Answer ans = req.Exchange();
    pugi::xml_node names = xml::Child(ans.answer, "names");
    for (pugi::xml_node c = names.child("name"); c; c = c.next_sibling("name")) {
        std::string value = xml::Attr(c, "value");
        if (!value.empty()) Names.Add(std::move(value));
    }
}

void TOstraDbProtocol::GetTableColumnNames(std::int32_t DbId, TTableColumnNames& Names) {
    detail::Request req(*this, "get_column_names");
    req.Set("db_id", DbId);
    detail::Answer ans = req.Exchange();
    LoadFromXML(Names, "ColumnNames", ans.answer);
}

void TOstraDbProtocol::GetTableColNames(std::int32_t DbId, const std::string& Table,
                                        TStringList& Names) {
    detail::Request req(*this, "get_col_names_for_table");
    req.Set("db_id", DbId);
    req.Set("Table", Table);
    detail::Answer ans = req.Exchange();
    LoadFromXML(Names, "TableColumnNames", ans.answer);
}

void TOstraDbProtocol::GetTableColumnNamesForFiles(const TStringList& Files,
                                                   const std::string& TableName,
                                                   TTableColumnNames& Names) {
    detail::HostPortGuard hostPort(*this);
    const TStringList files = detail::CheckedCopy(*this, Files);
    detail::Request req(*this, "get_col_names_for_files");
    req.Set("TableName", TableName);
    SaveToXML(files, "FilesList", req.command);
    detail::Answer ans = req.Exchange();
    LoadFromXML(Names, "ColumnNames", ans.answer);
}

void TOstraDbProtocol::RequestKeyValues(const TFilter* Filter, pugi::xml_document& Doc) {
    if (Doc.document_element())
        throw Error("RequestKeyValues: документ уже содержит корневой элемент");
    // The filter is written into no element before the request exists, so none reaches the
    // server: the answer is the whole unfiltered key-value set, which callers rely on.
    if (Filter) Filter->FillToXml(nullptr, pugi::xml_node());
    detail::Request req(*this, "get_key_values");
    detail::Answer ans = req.Exchange();
    pugi::xml_node result = Doc.append_child("result");
    result.append_copy(xml::Child(ans.answer, "files"));
}

void TOstraDbProtocol::RequestKeyValuesForFiles(const TDbStruct* DbStruct, const TStringList& Files,
                                                const TTableColumnNames& ColumnNames,
                                                TLevelFilesList& List) {
    detail::HostPortGuard hostPort(*this);
    const TStringList files = detail::CheckedCopy(*this, Files);
    detail::Request req(*this, "get_key_values_for_files");
    SaveToXML(files, "FilesList", req.command);
    SaveToXML(ColumnNames, "ColumnNames", req.command);
    detail::FileRecords records(List, DbStruct);
    req.Exchange(records);
}

void TOstraDbProtocol::RequestSimpleCurvesList(std::int32_t DbId, const TIntegerArray& Levels,
                                               bool UseFilters, TSimpleCurvesList& List) {
    detail::Request req(*this, "get_simple_curves_list");
    req.Set("db_id", DbId);
    xml::SetBoolAttr(req.command, "use_filters", UseFilters);
    detail::WriteLevelPath(req.command, Levels);
    detail::Answer ans = req.Exchange();
    List.ReadFromXml(xml::Child(ans.answer, "curves"));
}

void TOstraDbProtocol::GetSimpleCurvesList(const TDatabase& Database, const TIntegerArray& Levels,
                                           bool UseFilters, bool UseVersions,
                                           TSimpleCurvesList& List) {
    detail::Request req(*this, "get_simple_curves_list");
    req.Set("db_id", Database.Info.Id);
    xml::SetBoolAttr(req.command, "use_filters", UseFilters);
    xml::SetBoolAttr(req.command, "use_versions", UseVersions);
    detail::WriteLevelPath(req.command, Levels);
    WriteLogStruct(req.command, Database.LogicalStructures.GetCurrent());
    detail::Answer ans = req.Exchange();
    List.ReadFromXml(xml::Child(ans.answer, "curves"));
}

}  // namespace ostradb
