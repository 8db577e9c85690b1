// Well-content commands: curves, tables, plansheets, units, collections, dictionaries, stratum
// data and indexes of ws files, and the parsing of file names into database levels.

#include "ostradb/protocol/well_commands.hpp"

#include "ostradb/model/level_files.hpp"
#include "ostradb/protocol/ostradb_protocol.hpp"
#include "ostradb/serial/properties.hpp"
#include "ostradb/serial/xml.hpp"
#include "ostradb/util/numbers.hpp"
#include "ostradb/util/text.hpp"
#include "protocol/command.hpp"
#include "protocol/command_parts.hpp"

namespace ostradb {

// ---- stratum data ----

const PropertyList& TStratumItem::Properties() const {
    static const PropertyList list{
        Prop<&TStratumItem::Table>("Table"),       Prop<&TStratumItem::Ident>("Ident"),
        Prop<&TStratumItem::Top>("Top"),           Prop<&TStratumItem::Bottom>("Bottom"),
        Prop<&TStratumItem::AbsTop>("AbsTop"),     Prop<&TStratumItem::AbsBottom>("AbsBottom"),
        Prop<&TStratumItem::Version>("Version"),   Prop<&TStratumItem::Value>("Value"),
        Prop<&TStratumItem::PlanName>("PlanName"),
    };
    return list;
}

void TStratumItem::Assign(const TStratumItem& other) {
    Table = other.Table;
    Ident = other.Ident;
    Top = other.Top;
    Bottom = other.Bottom;
    AbsTop = other.AbsTop;
    AbsBottom = other.AbsBottom;
    Version = other.Version;
    Value = other.Value;
    PlanName = other.PlanName;
}

bool TStratumItem::IsEquals(std::string_view ATable, std::string_view AIdent,
                            std::string_view AValue) const {
    return SameText(Table, ATable) && SameText(Ident, AIdent) && SameText(Value, AValue);
}

const PropertyList& TStratumData::Properties() const {
    static const PropertyList list{
        Prop<&TStratumData::FileName>("FileName"),
        Prop<&TStratumData::Items>("Items"),
    };
    return list;
}

void TStratumData::Assign(const TStratumData& other) {
    Items.Assign(other.Items);
    FileName = other.FileName;
}

bool TStratumData::TableExists(std::string_view Table) const {
    for (const TStratumItem& item : Items)
        if (SameText(item.Table, Table)) return true;
    return false;
}

bool TStratumData::IdentExists(std::string_view Table, std::string_view Ident) const {
    for (const TStratumItem& item : Items)
        if (SameText(item.Table, Table) && SameText(item.Ident, Ident)) return true;
    return false;
}

const TStratumItem* TStratumData::FindValue(std::string_view Table, std::string_view Ident,
                                            std::string_view Value) const {
    for (const TStratumItem& item : Items)
        if (item.IsEquals(Table, Ident, Value)) return &item;
    return nullptr;
}

void TStratumDataItems::SaveToXML(std::string_view, pugi::xml_node node) const {
    ostradb::SaveToXML(Items, "", node);
}

void TStratumDataItems::LoadFromXML(std::string_view, pugi::xml_node node) {
    ostradb::LoadFromXML(Items, "", node);
}

// ---- curves ----

const PropertyList& TCurvesListItem::Properties() const {
    static const PropertyList list{
        Prop<&TCurvesListItem::Curve>("Curve"),
        Prop<&TCurvesListItem::Table>("Table"),
        Prop<&TCurvesListItem::Version>("Version"),
        Prop<&TCurvesListItem::Count>("Count"),
        Prop<&TCurvesListItem::OnPlanCount>("OnPlanCount"),
        Prop<&TCurvesListItem::KeyColumns>("KeyColumns"),
        Prop<&TCurvesListItem::KeyValues>("KeyValues"),
        Prop<&TCurvesListItem::Top>("Top"),
        Prop<&TCurvesListItem::Bottom>("Bottom"),
        Prop<&TCurvesListItem::Step>("Step"),
        Prop<&TCurvesListItem::Units>("Units"),
        Prop<&TCurvesListItem::FileName>("FileName"),
    };
    return list;
}

void TCurvesList::SaveToXML(std::string_view, pugi::xml_node node) const {
    ostradb::SaveToXML(Items, "", node);
}

void TCurvesList::LoadFromXML(std::string_view, pugi::xml_node node) {
    ostradb::LoadFromXML(Items, "", node);
}

void TCurvesList::SaveToStrings(TStringList& List, TCurvesListOpts Opts,
                                std::string_view Separator) const {
    static constexpr std::string_view kBrokenBar = "\u00A6";
    List.Clear();
    for (const TCurvesListItem& item : Items) {
        std::string line = UpperCase(item.Curve);
        auto column = [&](std::string_view text) {
            line += Separator;
            line += text;
        };
        if (Opts.Contains(cloIncludeTable)) column(UpperCase(item.Table));
        if (Opts.Contains(cloIncludeVersion)) column(item.Version);
        if (Opts.Contains(cloIncludeCount)) column(IntToStr(item.Count));
        if (Opts.Contains(cloIncludeOnPlanCount)) column(IntToStr(item.OnPlanCount));
        if (Opts.Contains(cloIncludeKeyColumns)) column(item.KeyColumns);
        if (Opts.Contains(cloIncludeKeyValues)) column(item.KeyValues);
        if (Opts.Contains(cloIncludeTopBottomStep)) {
            std::string range = IntToStr(item.Top);
            range += kBrokenBar;
            range += IntToStr(item.Bottom);
            range += kBrokenBar;
            range += IntToStr(item.Step);
            column(range);
        }
        if (Opts.Contains(cloIncludeUnits)) column(item.Units);
        if (Opts.Contains(cloIncludeFileNames)) column(item.FileName);
        List.Add(std::move(line));
    }
}

// ---- file-name parsing ----

const PropertyList& TParseFileNamePathItem::Properties() const {
    static const PropertyList list{
        Prop<&TParseFileNamePathItem::LevelType>("LevelType"),
        PropReadOnly<&TParseFileNamePathItem::GetLevelValues>("LevelValues"),
    };
    return list;
}

void TParseFileNamePathItem::Assign(const TParseFileNamePathItem& other) {
    LevelType = other.LevelType;
    levelValues_.Assign(other.levelValues_);
}

const PropertyList& TParseFileNameResultItem::Properties() const {
    static const PropertyList list{
        Prop<&TParseFileNameResultItem::FileName>("FileName"),
        Prop<&TParseFileNameResultItem::Database>("Database"),
        Prop<&TParseFileNameResultItem::Items>("Items"),
    };
    return list;
}

void TParseFileNameResultItem::Assign(const TParseFileNameResultItem& other) {
    FileName = other.FileName;
    Database = other.Database;
    Items.Assign(other.Items);
}

const TParseFileNamePathItem* TParseFileNameResultItem::FindByType(
    std::string_view LevelType) const {
    for (const TParseFileNamePathItem& item : Items)
        if (SameText(item.LevelType, LevelType)) return &item;
    return nullptr;
}

void TParseFileNameResult::SaveToXML(std::string_view, pugi::xml_node node) const {
    ostradb::SaveToXML(Items, "", node);
}

void TParseFileNameResult::LoadFromXML(std::string_view, pugi::xml_node node) {
    ostradb::LoadFromXML(Items, "", node);
}

// ---- collections and stratum texts ----

const PropertyList& TGetCollectionsListResultItem::Properties() const {
    static const PropertyList list{
        Prop<&TGetCollectionsListResultItem::CollectionName>("CollectionName"),
        Prop<&TGetCollectionsListResultItem::CommonName>("CommonName"),
    };
    return list;
}

std::string TGetCollectionsListResultItem::ToString() const {
    return CollectionName + "." + CommonName;
}

// Only ever read from answers: there is nothing to write.
void TGetCollectionsListResult::SaveToXML(std::string_view, pugi::xml_node) const {}

void TGetCollectionsListResult::LoadFromXML(std::string_view, pugi::xml_node node) {
    ostradb::LoadFromXML(Items, "", node);
}

const PropertyList& TGetStartTextAndWrongFileItem::Properties() const {
    static const PropertyList list{
        Prop<&TGetStartTextAndWrongFileItem::FileName>("FileName"),
        Prop<&TGetStartTextAndWrongFileItem::SameIdentCount>("SameIdentCount"),
    };
    return list;
}

// Only ever read from answers: there is nothing to write.
void TGetStartTextAndInfoResult::SaveToXML(std::string_view, pugi::xml_node) const {}

void TGetStartTextAndInfoResult::LoadFromXML(std::string_view, pugi::xml_node node) {
    ostradb::LoadFromXML(FilesToFixItems, "FilesToFix", node);
    ostradb::LoadFromXML(Names, "Names", node);
}

// ---- commands ----

namespace {

// A checked copy of names as "FileNames" of the request; the caller holds a HostPortGuard.
void WriteCheckedFileNames(TOstraDbProtocol& client, detail::Request& req,
                           const TStringList& names) {
    detail::WriteFileNames(req.command, detail::CheckedCopy(client, names));
}

// The child "Filter" of the stratum requests.
void WriteStratumFilter(detail::Request& req, const std::string& table, const std::string& ident) {
    pugi::xml_node filter = req.command.append_child("Filter");
    xml::SetAttr(filter, "Table", table);
    xml::SetAttr(filter, "Ident", ident);
}

const char* DictModeText(EDictMode mode) {
    return mode == dmDecode ? "decode" : "code";
}

// Servers answer "get_ws_info" in one of two forms: files holding "table" and "planshet"
// elements, or the views list, whose files hold "table_info" and "plansheets". Each reader
// skips the other's elements, so the answer's own elements choose the reader.
bool HoldsViewsList(pugi::xml_node answer) {
    for (pugi::xml_node f = answer.child("file"); f; f = f.next_sibling("file"))
        if (f.child("table_info") || f.child("plansheets")) return true;
    return false;
}

}  // namespace

void TOstraDbProtocol::DeleteCurve(std::string FileName, std::string Table, std::string KeyStr,
                                   std::string Curve) {
    detail::Request req(*this, "delete_curve");
    req.Set("file", FileName).Set("table", Table).Set("key_str", KeyStr).Set("curve", Curve);
    req.Exchange();
}

void TOstraDbProtocol::RenameTable(const std::string& FileName, const std::string& OldName,
                                   const std::string& NewName) {
    detail::HostPortGuard hostPort(*this);
    detail::Request req(*this, "rename_table");
    req.Set("file", CheckFileName(FileName)).Set("old_name", OldName).Set("new_name", NewName);
    req.Exchange();
}

void TOstraDbProtocol::DeleteTable(const std::string& FileName, const std::string& Table) {
    detail::HostPortGuard hostPort(*this);
    detail::Request req(*this, "delete_table");
    req.Set("file", CheckFileName(FileName)).Set("table", Table);
    req.Exchange();
}

void TOstraDbProtocol::GetUnitsList(const TStringList& FileNames, const TStringList& Tables,
                                    const TStringList& Curves, TStringList& Result) {
    detail::HostPortGuard hostPort(*this);
    detail::Request req(*this, "get_units_list");
    WriteCheckedFileNames(*this, req, FileNames);
    SaveToXML(Tables, "Tables", req.command);
    SaveToXML(Curves, "Curves", req.command);
    detail::Answer ans = req.Exchange();
    LoadFromXML(Result, "Result", ans.answer);
}

void TOstraDbProtocol::GetCollectionsForFiles(const TStringList& FileNames,
                                              TGetCollectionsListResult& Result) {
    detail::HostPortGuard hostPort(*this);
    detail::Request req(*this, "get_collections_list");
    WriteCheckedFileNames(*this, req, FileNames);
    detail::Answer ans = req.Exchange();
    LoadFromXML(Result, "Result", ans.answer);
}

void TOstraDbProtocol::RequestDictValues(std::int32_t DbId, const std::string& Level,
                                         EDictMode Mode, TStringList& Values) {
    detail::Request req(*this, "get_dict_values");
    req.Set("mode", DictModeText(Mode)).Set("db_id", DbId).Set("level", Level);
    detail::Answer ans = req.Exchange();
    const pugi::xml_node items = xml::Child(ans.answer, "items");
    for (pugi::xml_node item = items.first_child(); item; item = item.next_sibling())
        if (item.type() == pugi::node_element) Values.Add(xml::Attr(item, "value"));
}

std::string TOstraDbProtocol::RequestDictValue(std::int32_t DbId, const std::string& Level,
                                               const std::string& Key, EDictMode Mode,
                                               bool& Found) {
    detail::Request req(*this, "get_dict_value");
    req.Set("key", Key).Set("mode", DictModeText(Mode)).Set("db_id", DbId).Set("level", Level);
    detail::Answer ans = req.Exchange();
    const pugi::xml_node value = xml::Child(ans.answer, "dict_value");
    Found = xml::AttrBool(value, "found");
    return Found ? xml::Attr(value, "result") : std::string();
}

void TOstraDbProtocol::GetStratumData(const TStringList& FileNames, const std::string& Table,
                                      const std::string& Ident, TStratumDataItems& Result) {
    detail::HostPortGuard hostPort(*this);
    detail::Request req(*this, "get_startum_data");  // the server's spelling
    WriteStratumFilter(req, Table, Ident);
    WriteCheckedFileNames(*this, req, FileNames);
    detail::Answer ans = req.Exchange();
    LoadFromXML(Result, "StratumForFiles", ans.answer);
}

void TOstraDbProtocol::GetStratumText(const TStringList& FileNames, const std::string& Table,
                                      const std::string& Ident,
                                      TGetStartTextAndInfoResult& Result) {
    detail::HostPortGuard hostPort(*this);
    detail::Request req(*this, "get_stratum_text_for_files");
    WriteStratumFilter(req, Table, Ident);
    WriteCheckedFileNames(*this, req, FileNames);
    detail::Answer ans = req.Exchange();
    LoadFromXML(Result, "Result", ans.answer);
}

void TOstraDbProtocol::GetWsInfo(const TStringList& FileNames, const TStringList* Tables,
                                 TWsInfoOptions Options, TLevelFilesList& Result) {
    detail::HostPortGuard hostPort(*this);
    detail::Request req(*this, "get_ws_info");
    WriteCheckedFileNames(*this, req, FileNames);
    // Unlike "get_curves_list", the flags and the tables go into an element of their own.
    pugi::xml_node options = req.command.append_child("Options");
    xml::SetBoolAttr(options, "IncludeCurves", Options.Contains(wsoCurves));
    xml::SetBoolAttr(options, "IncludeBedCurves", Options.Contains(wsoBedCurves));
    xml::SetBoolAttr(options, "IncludeLithology", Options.Contains(wsoLitho));
    xml::SetBoolAttr(options, "IncludeStratum", Options.Contains(wsoStrat));
    if (Tables) SaveToXML(*Tables, "Tables", options);
    detail::Answer ans = req.Exchange();
    Result.ReadFromXml(ans.answer, nullptr, HoldsViewsList(ans.answer));
}

void TOstraDbProtocol::GetColumnIdents(const TStringList& FileNames, const std::string& Table,
                                       TStringList& Result) {
    detail::HostPortGuard hostPort(*this);
    detail::Request req(*this, "get_startum_idents");  // the server's spelling
    WriteCheckedFileNames(*this, req, FileNames);
    req.Set("table", Table);
    detail::Answer ans = req.Exchange();
    LoadFromXML(Result, "Result", ans.answer);
}

void TOstraDbProtocol::GetStratumIdents(const TStringList& FileNames, TStringList& Result) {
    GetColumnIdents(FileNames, std::string(), Result);
}

void TOstraDbProtocol::GetPlansheetsList(const TStringList& FileNames, TStringList& Result) {
    detail::HostPortGuard hostPort(*this);
    detail::Request req(*this, "get_plansheets_list");
    WriteCheckedFileNames(*this, req, FileNames);
    detail::Answer ans = req.Exchange();
    LoadFromXML(Result, "Result", ans.answer);
}

void TOstraDbProtocol::GetTablesList(TStringList& FileNames, TStringList& Result) {
    detail::HostPortGuard hostPort(*this);
    detail::Request req(*this, "get_tables_list");
    // No copy here: the caller's list keeps the checked names.
    CheckFileNames(FileNames);
    detail::WriteFileNames(req.command, FileNames);
    detail::Answer ans = req.Exchange();
    LoadFromXML(Result, "Result", ans.answer);
}

void TOstraDbProtocol::GetCurvesList(const TStringList& FileNames, const TStringList& Tables,
                                     TCurvesListOpts Options, TCurvesList& Result) {
    detail::HostPortGuard hostPort(*this);
    detail::Request req(*this, "get_curves_list");
    WriteCheckedFileNames(*this, req, FileNames);
    SaveToXML(Tables, "Tables", req.command);
    const pugi::xml_node cmd = req.command;
    xml::SetBoolAttr(cmd, "IncludeTableName", Options.Contains(cloIncludeTable));
    xml::SetBoolAttr(cmd, "IncludeVersion", Options.Contains(cloIncludeVersion));
    xml::SetBoolAttr(cmd, "IncludeCount", Options.Contains(cloIncludeCount));
    xml::SetBoolAttr(cmd, "OnPlanshOnly", Options.Contains(cloOnPlanshOnly));
    xml::SetBoolAttr(cmd, "IncludeOnPlanCount", Options.Contains(cloIncludeOnPlanCount));
    xml::SetBoolAttr(
        cmd, "IncludeKeys",
        Options.Contains(cloIncludeKeyColumns) || Options.Contains(cloIncludeKeyValues));
    xml::SetBoolAttr(cmd, "IncludeTopBottomStep", Options.Contains(cloIncludeTopBottomStep));
    xml::SetBoolAttr(cmd, "IncludeUnit", Options.Contains(cloIncludeUnits));
    xml::SetBoolAttr(cmd, "IncludeFileName", Options.Contains(cloIncludeFileNames));
    detail::Answer ans = req.Exchange();
    LoadFromXML(Result, "Result", ans.answer);
}

void TOstraDbProtocol::ParseFileNameEx(const TStringList& FileNames, TParseFNOptions Options,
                                       TParseFileNameResult& Result) {
    detail::HostPortGuard hostPort(*this);
    detail::Request req(*this, "parse_file_names");
    WriteCheckedFileNames(*this, req, FileNames);
    xml::SetBoolAttr(req.command, "UseExtraHierarchy", Options.Contains(pfnoUseExtraHierarchy));
    detail::Answer ans = req.Exchange();
    LoadFromXML(Result, "Result", ans.answer);
}

void TOstraDbProtocol::ParseFileName(const std::string& FileName, TStringList& Result) {
    detail::HostPortGuard hostPort(*this);
    detail::Request req(*this, "parse_file_name");
    req.Set("file_name", CheckFileName(FileName));
    detail::Answer ans = req.Exchange();
    LoadFromXML(Result, "PathValues", ans.answer);
}

void TOstraDbProtocol::GetWsIndex(const std::string& FileName, TDateTime FileTime,
                                  TGetWsIndexResult& Result) {
    detail::HostPortGuard hostPort(*this);
    detail::Request req(*this, "get_ws_index");
    req.Set("file_name", CheckFileName(FileName));
    xml::SetAttrFloat(req.command, "FileTime", FileTime);
    detail::Answer ans = req.Exchange();
    // The element lives in the document, which the record now shares.
    const pugi::xml_node index = xml::Child(ans.answer, "ObjIndex");
    Result.AnswerDoc = std::shared_ptr<pugi::xml_document>(std::move(ans.doc));
    Result.ObjIndex = index;
}

}  // namespace ostradb
