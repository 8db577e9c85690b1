#include "ostradb/model/level_files.hpp"

#include <cstring>
#include <utility>
#include <vector>

#include "model/level_files_read.hpp"
#include "ostradb/model/db_struct.hpp"
#include "ostradb/serial/properties.hpp"
#include "ostradb/serial/xml.hpp"
#include "ostradb/users/rights.hpp"
#include "ostradb/util/numbers.hpp"
#include "ostradb/util/text.hpp"

namespace ostradb {

TSaveToApiXMLDepricated::~TSaveToApiXMLDepricated() = default;

ECurvesTypes DataClassToCurveType(std::int32_t dataClass) {
    switch (dataClass & 3) {
        case 3:
            return ctColumn;
        case 2:
            return ctBed;
        default:
            return ctSimple;
    }
}

bool TLevelFileInternalFilter::Passes(std::string_view tableName,
                                      const TLevelFileCurve& curve) const {
    return (TableNames.Empty() || TableNames.IndexOf(tableName) >= 0) &&
           (CurveNames.Empty() || CurveNames.IndexOf(curve.Name) >= 0) &&
           (CurveTypes.Empty() || CurveTypes.Contains(curve.GetCurveType()));
}

// ---- curves ----

const PropertyList& TLevelFileCurve::Properties() const {
    static const PropertyList list{
        Prop<&TLevelFileCurve::Table>("Table"),
        Prop<&TLevelFileCurve::Name>("Name"),
        Prop<&TLevelFileCurve::Start>("Start"),
        Prop<&TLevelFileCurve::Stop>("Stop"),
        Prop<&TLevelFileCurve::Step>("Step"),
        Prop<&TLevelFileCurve::NVers>("NVers"),
        Prop<&TLevelFileCurve::Keystr>("Keystr"),
        Prop<&TLevelFileCurve::Keystr2>("Keystr2"),
        Prop<&TLevelFileCurve::DClass>("DClass"),
        Prop<&TLevelFileCurve::Planshets>("Planshets"),
        Prop<&TLevelFileCurve::QualityMark>("QualityMark"),
    };
    return list;
}

void TLevelFileCurve::Assign(const TLevelFileCurve& other) {
    if (this != &other) *this = other;
}

void TLevelFileCurve::ReadFromXml(pugi::xml_node node) {
    detail::ReadCurve(*this, node);
}

std::string TLevelFileCurve::GetVisibleName() const {
    switch (GetCurveType()) {
        case ctBed:
            return "#" + Name;
        case ctColumn:
            return (SameText(Table, "formation") ? "$" : "!") + Name;
        default:
            return Name;
    }
}

// ---- rows ----

void TLevelFileRow::ReadFromXml(pugi::xml_node node) {
    detail::ReadRowCells(*this, node);
}

std::string TLevelFileRow::GetKeyStr() const {
    std::string key;
    for (const TTableValue& v : Values) {
        if (!key.empty()) key += ';';
        key += v.Name;
        key += '=';
        key += v.Value;
    }
    return key;
}

void TLevelFileRows::ReadFromXml(pugi::xml_node node) {
    Items.Clear();
    for (pugi::xml_node c = node.child("row"); c; c = c.next_sibling("row"))
        Items.Add().ReadFromXml(c);
}

// ---- tables ----

const PropertyList& TLevelFileTable::Properties() const {
    static const PropertyList list{Prop<&TLevelFileTable::Name>("Name")};
    return list;
}

void TLevelFileTable::SaveToXML(std::string_view, pugi::xml_node node) const {
    ostradb::SaveToXML(Curves, "Curves", node);
}

void TLevelFileTable::LoadFromXML(std::string_view, pugi::xml_node node) {
    ostradb::LoadFromXML(Curves, "Curves", node);
}

void TLevelFileTable::Assign(const TLevelFileTable& other) {
    if (this != &other) *this = other;
}

const TLevelFileCurve* TLevelFileTable::FindCurve(std::string_view name) const {
    for (const TLevelFileCurve& c : Curves)
        if (SameText(c.Name, name)) return &c;
    return nullptr;
}

TLevelFileCurve* TLevelFileTable::FindCurve(std::string_view name) {
    return const_cast<TLevelFileCurve*>(std::as_const(*this).FindCurve(name));
}

void TLevelFileTable::FilterCurves(const TLevelFileInternalFilter& filter) {
    for (int i = Curves.Count() - 1; i >= 0; --i)
        if (!filter.Passes(Name, Curves[i])) Curves.Delete(i);
}

void TLevelFileTable::ReadFromXml(pugi::xml_node node) {
    detail::ReadTable(*this, node);
}

void TLevelFileTable::LoadCurvesFromWSViewsListXml(pugi::xml_node node) {
    detail::ReadViewsListTable(*this, node);
}

// ---- plansheets ----

const PropertyList& TLevelFilePlanshet::Properties() const {
    static const PropertyList list{Prop<&TLevelFilePlanshet::Name>("Name")};
    return list;
}

void TLevelFilePlanshet::ReadFromXml(pugi::xml_node node) {
    Name = node.attribute("name").value();
}

// ---- files ----

const PropertyList& TLevelFile::Properties() const {
    static const PropertyList list{
        Prop<&TLevelFile::Name>("Name"),
        Prop<&TLevelFile::ExtraPath>("ExtraPath"),
        Prop<&TLevelFile::FileType>("FileType"),
        Prop<&TLevelFile::TrunkId>("TrunkId"),
        Prop<&TLevelFile::IsMain>("IsMain"),
        Prop<&TLevelFile::FileId>("FileId").Default(-1),
        Prop<&TLevelFile::DbId>("DbId").Default(-1),
        Prop<&TLevelFile::Flags>("Flags").Default(0),
        Prop<&TLevelFile::UserRights>("UserRights").Default(-1),
        Prop<&TLevelFile::Params>("Params"),
        Prop<&TLevelFile::PathValues>("PathValues"),
        Prop<&TLevelFile::PathNames>("PathNames"),
        Prop<&TLevelFile::Tables>("Tables"),
        Prop<&TLevelFile::Planshets>("Planshets"),
    };
    return list;
}

void TLevelFile::SaveToXML(std::string_view, pugi::xml_node node) const {
    // The generic form reads 64-bit properties but never writes them.
    node.append_attribute("Flags").set_value(static_cast<long long>(Flags));
    node.append_attribute("UserRights").set_value(static_cast<long long>(UserRights));
}

void TLevelFile::LoadFromXML(std::string_view, pugi::xml_node) {}

void TLevelFile::Assign(const TLevelFile& other) {
    if (this != &other) *this = other;
}

const TLevelFileTable* TLevelFile::FindTable(std::string_view name) const {
    for (const TLevelFileTable& t : Tables)
        if (SameText(t.Name, name)) return &t;
    return nullptr;
}

TLevelFileTable* TLevelFile::FindTable(std::string_view name) {
    return const_cast<TLevelFileTable*>(std::as_const(*this).FindTable(name));
}

bool TLevelFile::IsReadOnly() const {
    return UserRights != -1 &&
           !RightBitsToSet(static_cast<std::uint32_t>(UserRights)).Contains(urChangeData);
}

bool TLevelFile::IsFullAccess() const {
    if (UserRights == -1) return true;
    const TUserRights needed{urView, urChangeData, urChangeLevels};
    return (RightBitsToSet(static_cast<std::uint32_t>(UserRights)) * needed) == needed;
}

void TLevelFile::FilterCurves(const TLevelFileInternalFilter& filter) {
    for (TLevelFileTable& t : Tables)
        t.FilterCurves(filter);
}

void TLevelFile::ReadFromXml(pugi::xml_node node, const TDbStruct* structure) {
    const detail::PathLevels levels(structure);
    detail::ReadFile(*this, node, levels);
}

void TLevelFile::ReadPathFromXml(pugi::xml_node node, const TDbStruct* structure) {
    const detail::PathLevels levels(structure);
    detail::ReadPath(*this, node, levels);
}

// ---- flags ----

std::string FileFlagToString(std::int64_t flag) {
    if (flag & 1) return "Содержит некорректные данные";
    if (flag & 2) return "Находится по некорректному пути";
    if (flag & 4) return "При загрузке данных произошла ошибка";
    return std::string();
}

void FileFlagsToString(std::int64_t flags, TStringList& list) {
    for (int bit = 0; bit < 32; ++bit) {
        const std::int64_t mask = std::int64_t{1} << bit;
        if ((flags & mask) == 0) continue;
        std::string text = FileFlagToString(mask);
        if (!text.empty()) list.Add(std::move(text));
    }
}

// ---- the list ----

void TLevelFilesList::SaveToXML(std::string_view, pugi::xml_node node) const {
    ostradb::SaveToXML(Files, "Files", node);
}

void TLevelFilesList::LoadFromXML(std::string_view, pugi::xml_node node) {
    ostradb::LoadFromXML(Files, "Files", node);
}

void TLevelFilesList::Assign(const TLevelFilesList& other) {
    Files.Assign(other.Files);
}

const TLevelFile* TLevelFilesList::FindByName(std::string_view name) const {
    for (const TLevelFile& f : Files)
        if (SameText(f.Name, name)) return &f;
    return nullptr;
}

TLevelFile* TLevelFilesList::FindByName(std::string_view name) {
    return const_cast<TLevelFile*>(std::as_const(*this).FindByName(name));
}

void TLevelFilesList::GetFileNames(TStringList& list) const {
    list.Clear();
    for (const TLevelFile& f : Files)
        list.Add(f.Name);
}

void TLevelFilesList::ReadFromXml(pugi::xml_node node, const TDbStruct* structure) {
    Files.Clear();
    const detail::PathLevels levels(structure);
    for (pugi::xml_node c = node.first_child(); c; c = c.next_sibling()) {
        if (c.type() != pugi::node_element || std::strcmp(c.name(), "file") != 0) continue;
        detail::ReadFile(Files.Add(), c, levels);
    }
}

void TLevelFilesList::ReadFromXml(pugi::xml_node node, const TDbStruct* structure,
                                  bool wsViewsList) {
    if (wsViewsList)
        LoadFromWSViewsListXml(node);
    else
        ReadFromXml(node, structure);
}

void TLevelFilesList::LoadFromWSViewsListXml(pugi::xml_node node) {
    Files.Clear();
    for (pugi::xml_node c = node.child("file"); c; c = c.next_sibling("file"))
        detail::ReadViewsListFile(Files.Add(), c);
}

// ---- the exchange form for other applications ----

void TLevelFilesList::SaveToApiXML_Ex(pugi::xml_node node) const {
    for (const TLevelFile& f : Files) {
        pugi::xml_node file = node.append_child("File");
        file.append_attribute("FileName").set_value(f.Name.c_str());
        file.append_attribute("TrunkId").set_value(f.TrunkId.c_str());
        pugi::xml_node path = file.append_child("Path");
        const bool named = f.PathNames.Count() == f.PathValues.Count();
        for (int i = 0; i < f.PathValues.Count(); ++i) {
            pugi::xml_node item = path.append_child("Item");
            item.append_attribute("Name").set_value(named ? f.PathNames.Names(i).c_str() : "");
            item.append_attribute("Value").set_value(f.PathValues[i].c_str());
        }
        pugi::xml_node tables = file.append_child("Tables");
        for (const TLevelFileTable& t : f.Tables) {
            pugi::xml_node table = tables.append_child("Table");
            table.append_attribute("Name").set_value(t.Name.c_str());
            pugi::xml_node curves = table.append_child("Curves");
            for (const TLevelFileCurve& c : t.Curves) {
                pugi::xml_node curve = curves.append_child("Curve");
                curve.append_attribute("VisibleName").set_value(c.GetVisibleName().c_str());
                curve.append_attribute("Name").set_value(c.Name.c_str());
                curve.append_attribute("Keystr").set_value(c.GetKeyStr().c_str());
                curve.append_attribute("NVers").set_value(c.NVers);
            }
        }
    }
}

void TLevelFilesList::SaveToApiXML(pugi::xml_node) const {
    throw TSaveToApiXMLDepricated("TLevelFilesList.SaveToApiXML is deprecated");
}

void TLevelFilesList::LoadFromApiXML(pugi::xml_node node) {
    Files.Clear();
    for (pugi::xml_node c = node.child("File"); c; c = c.next_sibling("File"))
        detail::ReadApiFile(Files.Add(), c);
}

void TLevelFilesList::LoadFromApiXMLText(std::string_view text) {
    pugi::xml_document doc;
    xml::Parse(doc, text);
    LoadFromApiXML(doc.document_element());
}

// ---- flat curves ----

void TFlatCurvesList::SaveToXML(std::string_view, pugi::xml_node node) const {
    ostradb::SaveToXML(Items, "", node);
}

void TFlatCurvesList::LoadFromXML(std::string_view, pugi::xml_node node) {
    ostradb::LoadFromXML(Items, "", node);
}

}  // namespace ostradb
