// Search commands: files by conditions, level values by words, curves by name and type, and
// the files of one well.

#include "ostradb/protocol/search_commands.hpp"

#include "ostradb/model/databases.hpp"
#include "ostradb/model/level_files.hpp"
#include "ostradb/protocol/ostradb_protocol.hpp"
#include "ostradb/serial/properties.hpp"
#include "ostradb/serial/xml.hpp"
#include "ostradb/serial/xml_serializer.hpp"
#include "ostradb/util/exceptions.hpp"
#include "protocol/command.hpp"
#include "protocol/command_parts.hpp"
#include "protocol/list_answers.hpp"

namespace ostradb {

// ---- TSearchRequest ----

TSearchItem& TSearchRequest::Add(std::string Type, std::string Oper, std::string Values) {
    TSearchItem& item = Items.Add();
    item.Type = std::move(Type);
    item.Oper = std::move(Oper);
    item.Values = std::move(Values);
    return item;
}

void TSearchRequest::ToXmlNode(pugi::xml_node node) const {
    pugi::xml_node items = node.append_child("items");
    for (const TSearchItem& item : Items) {
        pugi::xml_node filter = items.append_child("filter");
        xml::SetAttr(filter, "type", item.Type);
        xml::SetAttr(filter, "oper", item.Oper);
        xml::SetAttr(filter, "values", item.Values);
    }
}

void TSearchRequest::ReadFromSimpleText(std::string_view Text) {
    Clear();
    TStringList lines;
    lines.SetText(Text);
    if (lines.Count() < 3) throw Error("Число строк запроса < 3-х");
    Add("databases", "=", lines[0]);
    Add("tables", "=", lines[1]);
    for (int i = 2; i < lines.Count(); ++i) {
        const std::string& line = lines[i];
        if (line.empty()) continue;
        // Only the first "=" splits, and the value after it must not be empty: "a=b=c" is
        // the name "a" with the value "b=c", "=b" has an empty name, "a=" is refused.
        const std::size_t eq = line.find('=');
        if (eq == std::string::npos || eq + 1 == line.size())
            throw Error("Строка запроса " + line + " не соответствует маске *=*");
        Add("*" + line.substr(0, eq), "=", line.substr(eq + 1));
    }
}

// ---- search-levels results ----

const PropertyList& TSearchedSurveyLevel::Properties() const {
    static const PropertyList list{
        Prop<&TSearchedSurveyLevel::LevelType>("LevelType"),
        Prop<&TSearchedSurveyLevel::SurveyValues>("SurveyValues"),
        Prop<&TSearchedSurveyLevel::AllValues>("AllValues"),
    };
    return list;
}

const PropertyList& TSearchLevelsItem::Properties() const {
    static const PropertyList list{
        Prop<&TSearchLevelsItem::WellLevels>("WellLevels"),
        Prop<&TSearchLevelsItem::SurveyLevels>("SurveyLevels"),
    };
    return list;
}

const PropertyList& TSearchLevelsResult::Properties() const {
    static const PropertyList list{
        Prop<&TSearchLevelsResult::HasMoreResult>("HasMoreResult").Default(0),
        Prop<&TSearchLevelsResult::Items>("Items"),
    };
    return list;
}

// ---- find-curves arguments and results ----

const PropertyList& TFindCurveSearchItem::Properties() const {
    static const PropertyList list{
        Prop<&TFindCurveSearchItem::Table>("Table"),
        Prop<&TFindCurveSearchItem::Curve>("Curve"),
        Prop<&TFindCurveSearchItem::CurvType>("CurvType"),
    };
    return list;
}

TFindCurveSearchItem& TFindCurveSearchGroup::AddCurve(std::string Table, std::string Curve,
                                                      TFindCurveSearchItemType CurvType) {
    TFindCurveSearchItem& item = Items.Add();
    item.Table = std::move(Table);
    item.Curve = std::move(Curve);
    item.CurvType = CurvType;
    return item;
}

const PropertyList& TFindCurveSearchGroup::Properties() const {
    static const PropertyList list{
        Prop<&TFindCurveSearchGroup::Name>("Name"),
        Prop<&TFindCurveSearchGroup::Items>("Items"),
    };
    return list;
}

TFindCurveSearchGroup& TFindCurveSearchArguments::NewGroup(std::string Name) {
    TFindCurveSearchGroup& group = Groups.Add();
    group.Name = std::move(Name);
    return group;
}

const PropertyList& TFindCurveSearchArguments::Properties() const {
    static const PropertyList list{
        Prop<&TFindCurveSearchArguments::OnPlanshOnly>("OnPlanshOnly"),
        Prop<&TFindCurveSearchArguments::AllCurves>("AllCurves"),
        Prop<&TFindCurveSearchArguments::Files>("Files"),
        Prop<&TFindCurveSearchArguments::Groups>("Groups"),
    };
    return list;
}

const PropertyList& TFindCurveResultCurve::Properties() const {
    static const PropertyList list{
        Prop<&TFindCurveResultCurve::SearchGroup>("SearchGroup"),
        Prop<&TFindCurveResultCurve::ObjDPos>("ObjDPos"),
        Prop<&TFindCurveResultCurve::TableMStart>("TableMStart"),
    };
    return list;
}

const PropertyList& TFindCurveResultFile::Properties() const {
    static const PropertyList list{
        Prop<&TFindCurveResultFile::FileName>("FileName"),
        Prop<&TFindCurveResultFile::DbId>("DbId"),
        Prop<&TFindCurveResultFile::Curves>("Curves"),
    };
    return list;
}

const PropertyList& TFindCurveResult::Properties() const {
    static const PropertyList list{
        Prop<&TFindCurveResult::Files>("Files"),
    };
    return list;
}

// ---- commands ----

void TOstraDbProtocol::Search(const TSearchRequest& Request, TStringList& Files) {
    detail::Request req(*this, "search");
    Request.ToXmlNode(req.command);
    // The names are added to what Files holds.
    const int before = Files.Count();
    detail::TreeRecords names(
        {"file"},
        [&] {
            while (Files.Count() > before)
                Files.Delete(Files.Count() - 1);
        },
        [&](xml::RecordNode file) { Files.Add(file.attribute("filename").value()); });
    req.Exchange(names);
}

void TOstraDbProtocol::SearchXML(const pugi::xml_document& RequestDoc,
                                 pugi::xml_document& AnswerDoc) {
    detail::Request req(*this, "search");
    if (const pugi::xml_node root = RequestDoc.document_element()) req.command.append_copy(root);
    detail::Answer ans = req.Exchange();
    AnswerDoc.reset();
    AnswerDoc.append_copy(xml::Child(ans.answer, "result"));
}

namespace {

// What both level searches send.
void WriteLevelSearch(detail::Request& req, const TDatabase& database, const TStringList& words) {
    req.Set("DbId", database.Info.Id);
    SaveToXML(words, "WordsToSearch", req.command);
}

}  // namespace

void TOstraDbProtocol::SearchLevels(const TDatabase& Database, const TStringList& Words,
                                    TLevelFilesList& Files, double& ExecTime) {
    detail::Request req(*this, "search_levels");
    WriteLevelSearch(req, Database, Words);
    detail::FileRecords files(Files, &Database.GetStructure());
    const detail::Answer ans = req.Exchange(files);
    ExecTime = xml::AttrFloat(ans.answer, "exec_time");
}

void TOstraDbProtocol::SearchLevels2(const TDatabase& Database, const TStringList& Words,
                                     TSearchLevelsResult& Result) {
    detail::Request req(*this, "search_levels2");
    WriteLevelSearch(req, Database, Words);
    detail::Answer ans = req.Exchange();
    Result.ExecTime = xml::AttrFloat(ans.answer, "exec_time");
    LoadFromXML(Result, "Result", ans.answer);
}

void TOstraDbProtocol::FindCurves(const TFindCurveSearchArguments& Args, TFindCurveResult& Result) {
    // Asked for before the argument names may switch the session to another server.
    TDatabasesList databases;
    RequestDatabasesListEx(databases, false);

    detail::HostPortGuard hostPort(*this);
    TFindCurveSearchArguments checked(Args);
    CheckFileNames(checked.Files);

    detail::Request req(*this, "find_curves");
    SaveToXML(checked, "", req.command);
    detail::Answer ans = req.Exchange();
    LoadFromXML(Result, "", ans.answer);
    for (TFindCurveResultFile& file : Result.Files)
        if (const TDatabaseInfo* database = databases.FindById(file.DbId))
            file.FileName = database->ShortFileNameToFullFileName(file.FileName, false);
}

void TOstraDbProtocol::FindFilesForWell(std::int32_t DbId, const TStringList& LevelValues,
                                        TStringList& Files, TFindFilesForWellOpts Opts) {
    detail::Request req(*this, "find_files_for_well");
    req.Set("db_id", DbId);
    xml::SetBoolAttr(req.command, "InclAllWsFiles", Opts.Contains(fffwoIncludeAllWsFiles));
    xml::SetBoolAttr(req.command, "UseNonKeylevels", Opts.Contains(fffwoUseNonKeylevels));
    SaveToXML(LevelValues, "LevelValues", req.command);
    detail::Answer ans = req.Exchange();
    LoadFromXML(Files, "ResultFiles", ans.answer);
}

}  // namespace ostradb
