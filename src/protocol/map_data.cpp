// The request and result classes of the trunk and map commands.

#include "ostradb/protocol/trunk_commands.hpp"

#include <utility>

#include "ostradb/serial/properties.hpp"
#include "ostradb/util/numbers.hpp"
#include "ostradb/util/text.hpp"

namespace ostradb {

const PropertyList& TMapSpecialCol::Properties() const {
    static const PropertyList list{
        Prop<&TMapSpecialCol::Param>("Param"),
        Prop<&TMapSpecialCol::Table>("Table"),
        Prop<&TMapSpecialCol::Col>("Col"),
    };
    return list;
}

TMapSpecialCol& TMapSpecialCols::Add(std::string Param, std::string Table, std::string Col) {
    TMapSpecialCol& col = Items.Add();
    col.Param = std::move(Param);
    col.Table = std::move(Table);
    col.Col = std::move(Col);
    return col;
}

void TMapSpecialCols::ReadFromText(std::string_view Text) {
    TStringList lines;
    lines.SetText(Text);
    for (int i = 0; i < lines.Count(); ++i) {
        const std::string name = lines.Names(i);  // empty also when the line has no "="
        if (name.empty()) continue;
        // The value as the name look-up finds it: a repeated name repeats its first line.
        std::string value = lines.Values(name);
        // The first "." splits table from column; the column keeps any further dots. Splitting
        // as lines, an empty table still counts as a line while an empty column does not.
        const std::size_t dot = value.find('.');
        if (dot != std::string::npos) value.replace(dot, 1, "\r\n");
        TStringList parts;
        parts.SetText(value);
        if (parts.Count() == 2) Add(name, parts[0], parts[1]);
    }
}

void TMapSpecialCols::SaveToXML(std::string_view Name, pugi::xml_node Node) const {
    ostradb::SaveToXML(Items, Name, Node);
}

const PropertyList& TMapTrunkAttr::Properties() const {
    static const PropertyList list{
        Prop<&TMapTrunkAttr::Name>("Name"),
        Prop<&TMapTrunkAttr::Value>("Value"),
    };
    return list;
}

float TMapTrunkAttr::GetFloat() const {
    double v;
    return TryStrToFloat(Value, v) ? static_cast<float>(v) : 0.0f;
}

void TMapTrunkAttr::SetFloat(float X) {
    Value = FloatToStr(X);
}

std::int32_t TMapTrunkAttr::GetInteger() const {
    return StrToIntDef(Value, 0);
}

void TMapTrunkAttr::SetInteger(std::int32_t N) {
    Value = IntToStr(N);
}

void TMapTrunkAttributes::SaveToXML(std::string_view, pugi::xml_node node) const {
    ostradb::SaveToXML(Items, "", node);
}

void TMapTrunkAttributes::LoadFromXML(std::string_view, pugi::xml_node node) {
    ostradb::LoadFromXML(Items, "", node);
}

TMapTrunkAttr* TMapTrunkAttributes::FindByName(std::string_view Name) {
    for (TMapTrunkAttr& attr : Items)
        if (SameText(attr.Name, Name)) return &attr;
    return nullptr;
}

TMapTrunkAttr& TMapTrunkAttributes::FindByNameOrCreate(std::string_view Name) {
    if (TMapTrunkAttr* found = FindByName(Name)) return *found;
    TMapTrunkAttr& attr = Items.Add();
    attr.Name = std::string(Name);
    return attr;
}

const PropertyList& TMapPlastsCrossItem::Properties() const {
    static const PropertyList list{
        Prop<&TMapPlastsCrossItem::TID>("TID"), Prop<&TMapPlastsCrossItem::PlastName>("PlastName"),
        Prop<&TMapPlastsCrossItem::X>("X"),     Prop<&TMapPlastsCrossItem::Y>("Y"),
        Prop<&TMapPlastsCrossItem::Z>("Z"),
    };
    return list;
}

void TMapPlastsCrossItems::SaveToXML(std::string_view, pugi::xml_node node) const {
    ostradb::SaveToXML(Items, "PlastsCross", node);
}

void TMapPlastsCrossItems::LoadFromXML(std::string_view, pugi::xml_node node) {
    ostradb::LoadFromXML(Items, "PlastsCross", node);
}

const PropertyList& TMapTrunk::Properties() const {
    static const PropertyList list{
        Prop<&TMapTrunk::TID>("TID"),
        Prop<&TMapTrunk::Attributes>("Attributes"),
    };
    return list;
}

void TMapTrunk::SaveToXML(std::string_view, pugi::xml_node node) const {
    ostradb::SaveToXML(PlastsCross, "", node);
}

void TMapTrunk::LoadFromXML(std::string_view, pugi::xml_node node) {
    ostradb::LoadFromXML(PlastsCross, "", node);
}

void TMapTrunks::SaveToXML(std::string_view, pugi::xml_node node) const {
    ostradb::SaveToXML(Items, "Trunks", node);
    ostradb::SaveToXML(StratIdents, "StratIdents", node);
}

void TMapTrunks::LoadFromXML(std::string_view, pugi::xml_node node) {
    ostradb::LoadFromXML(Items, "Trunks", node);
    ostradb::LoadFromXML(StratIdents, "StratIdents", node);
}

const PropertyList& TFilesForTrunk::Properties() const {
    static const PropertyList list{
        Prop<&TFilesForTrunk::TrunkId>("TrunkId"),
        Prop<&TFilesForTrunk::FilesNames>("FilesNames"),
    };
    return list;
}

void TFilesForTrunkList::SaveToXML(std::string_view, pugi::xml_node node) const {
    ostradb::SaveToXML(Items, "FilesList", node);
}

void TFilesForTrunkList::LoadFromXML(std::string_view, pugi::xml_node node) {
    ostradb::LoadFromXML(Items, "FilesList", node);
}

}  // namespace ostradb
