#include "ostradb/model/db_struct.hpp"

#include <algorithm>
#include <cstring>
#include <string>

#include "ostradb/model/level_files.hpp"
#include "ostradb/serial/properties.hpp"
#include "ostradb/serial/xml.hpp"
#include "ostradb/util/exceptions.hpp"
#include "ostradb/util/ini_file.hpp"
#include "ostradb/util/string_list.hpp"
#include "ostradb/util/text.hpp"

namespace ostradb {

namespace {

template <class Fn>
void ForEachChild(pugi::xml_node parent, const char* name, Fn fn) {
    for (pugi::xml_node c = parent.first_child(); c; c = c.next_sibling())
        if (c.type() == pugi::node_element && std::strcmp(c.name(), name) == 0) fn(c);
}

// A string attribute the answer must carry: a missing one fails like a missing number.
std::string Required(pugi::xml_node node, const char* name) {
    if (!xml::HasAttr(node, name))
        throw EConvertError(std::string("Missing attribute \"") + name + "\" of <" + node.name() +
                            ">");
    return xml::Attr(node, name);
}

// Counts in a hand-edited INI file can be anything. Every entry counted is a key of the
// section, so the count is cut to its keys: a damaged file cannot make the reader build
// millions of empty entries.
int ReadCount(const TMemIniFile& ini, std::string_view section) {
    TStringList keys;
    ini.ReadSection(section, keys);
    return std::clamp(ini.ReadInteger(section, "Count", 0), 0, keys.Count());
}

std::string Numbered(const char* key, int n) {
    return key + std::to_string(n);
}

}  // namespace

// ---- physical structure

void TDbStructItem::ReadFromXml(pugi::xml_node node) {
    Type = Required(node, "type");
    View = Required(node, "df_view");
    ExType = static_cast<EDbStructExType>(static_cast<std::uint8_t>(xml::AttrInt(node, "ex_type")));
    DisplayName = Required(node, "real_name");
    NoData = Required(node, "no_data");
    DictName = Required(node, "dict_name");
    DictCol1 = xml::AttrInt(node, "dict_col1");
    DictCol2 = xml::AttrInt(node, "dict_col2");
    SearchLink = Required(node, "search_link");
    UseDict = xml::AttrBool(node, "use_dict");
    Real = Required(node, "df_real");
    IsKey = xml::HasAttr(node, "is_key") && xml::AttrBool(node, "is_key");
}

void TDbStructItem::Assign(const TDbStructItem& other) {
    Type = other.Type;
    View = other.View;
    ExType = other.ExType;
    DisplayName = other.DisplayName;
    NoData = other.NoData;
    DictName = other.DictName;
    DictCol1 = other.DictCol1;
    DictCol2 = other.DictCol2;
    SearchLink = other.SearchLink;
    UseDict = other.UseDict;
    Real = other.Real;
}

void TDbStruct::ReadFromXml(pugi::xml_node node) {
    DirCount = xml::AttrInt(node, "dir_count");
    MainFileType = static_cast<EDbStructMainFileType>(
        static_cast<std::uint8_t>(xml::AttrInt(node, "main_file_type")));
    Items.Clear();
    ForEachChild(xml::Child(node, "struct_items"), "Item",
                 [&](pugi::xml_node c) { Items.Add().ReadFromXml(c); });
}

void TDbStruct::Assign(const TDbStruct& other) {
    if (this == &other) return;
    // Item by item through TDbStructItem::Assign, so new items start with IsKey false.
    Items.Assign(other.Items);
    DirCount = other.DirCount;
    MainFileType = other.MainFileType;
}

int TDbStruct::IndexOfType(std::string_view type) const {
    for (int i = 0; i < Items.Count(); ++i)
        if (SameText(Items[i].Type, type)) return i;
    return -1;
}

TDbStructItem* TDbStruct::GetItemByType(std::string_view type) {
    const int i = IndexOfType(type);
    return i < 0 ? nullptr : &Items[i];
}

const TDbStructItem* TDbStruct::GetItemByType(std::string_view type) const {
    const int i = IndexOfType(type);
    return i < 0 ? nullptr : &Items[i];
}

TDbStructItem* TDbStruct::FindItemByRealName(std::string_view name) {
    for (TDbStructItem& item : Items)
        if (SameText(item.DisplayName, name)) return &item;
    return nullptr;
}

const TDbStructItem* TDbStruct::FindItemByRealName(std::string_view name) const {
    return const_cast<TDbStruct*>(this)->FindItemByRealName(name);
}

// ---- logical structures

const PropertyList& TDbLogicalStructItem::Properties() const {
    static const PropertyList list{Prop<&TDbLogicalStructItem::ItemType>("ItemType")};
    return list;
}

const PropertyList& TDbLogicalStruct::Properties() const {
    static const PropertyList list{
        Prop<&TDbLogicalStruct::Name>("Name"),
        Prop<&TDbLogicalStruct::IsDefault>("IsDefault"),
    };
    return list;
}

void TDbLogicalStruct::SaveToXML(std::string_view, pugi::xml_node node) const {
    ostradb::SaveToXML(&Items, "Items", node);
}

void TDbLogicalStruct::LoadFromXML(std::string_view, pugi::xml_node node) {
    ostradb::LoadFromXML(&Items, "Items", node);
}

void TDbLogicalStruct::Assign(const TDbLogicalStruct& other) {
    if (this == &other) return;
    Items.Assign(other.Items);
    Name = other.Name;
    IsDefault = other.IsDefault;
}

void TDbLogicalStruct::Swap(int i, int j) {
    TDbLogicalStructItem temp;
    temp.Assign(Items[i]);
    Items[i].Assign(Items[j]);
    Items[j].Assign(temp);
}

TDbLogicalStructItem* TDbLogicalStruct::FindByType(std::string_view type) {
    for (TDbLogicalStructItem& item : Items)
        if (item.ItemType == type) return &item;
    return nullptr;
}

int TDbLogicalStruct::IndexByName(std::string_view name) const {
    for (int i = 0; i < Items.Count(); ++i)
        if (SameText(Items[i].ItemType, name)) return i;
    return -1;
}

void TDbLogicalStruct::ReadFromRealStruct(const TDbStruct& dbStruct) {
    Items.Clear();
    for (const TDbStructItem& item : dbStruct.Items)
        Items.Add().ItemType = item.Type;
    IsDefault = true;
}

void TDbLogicalStruct::SaveSettingsToIni(TMemIniFile& ini, std::string_view section) const {
    ini.WriteInteger(section, "Count", Items.Count());
    for (int n = 1; n <= Items.Count(); ++n)
        ini.WriteString(section, Numbered("Item", n), Items[n - 1].ItemType);
}

void TDbLogicalStruct::LoadSettingsFromIni(const TMemIniFile& ini, std::string_view section) {
    if (IsDefault) return;
    Items.Clear();
    const int count = ReadCount(ini, section);
    for (int n = 1; n <= count; ++n)
        Items.Add().ItemType = ini.ReadString(section, Numbered("Item", n), "");
}

std::string CleanLogStructName(std::string_view name) {
    std::string s(name);
    for (char& c : s)
        if (c == '[' || c == ']' || c == '=') c = '-';
    return s;
}

void TDbLogicalStructures::Assign(const TDbLogicalStructures& other) {
    if (this == &other) return;
    Items.Assign(other.Items);
    CurrentIndex = other.CurrentIndex;
}

TDbLogicalStruct* TDbLogicalStructures::GetCurrent() {
    if (Items.Count() == 1) return &Items[0];
    if (CurrentIndex == -1) return GetDefault();
    if (CurrentIndex < 0 || CurrentIndex >= Items.Count()) return nullptr;
    return &Items[CurrentIndex];
}

void TDbLogicalStructures::SetCurrent(const TDbLogicalStruct* s) {
    const int i = Items.IndexOf(s);
    if (i >= 0) CurrentIndex = i;
}

TDbLogicalStruct* TDbLogicalStructures::GetDefault() {
    for (TDbLogicalStruct& s : Items)
        if (s.IsDefault) return &s;
    return nullptr;
}

void TDbLogicalStructures::SetDefaultStruct(const TDbStruct& dbStruct) {
    TDbLogicalStruct* s = GetDefault();
    if (!s) s = &Items.Add();
    s->ReadFromRealStruct(dbStruct);
    s->Name = "По умолчанию";
}

void TDbLogicalStructures::Delete(int i) {
    if (Items[i].IsDefault) return;
    if (i == CurrentIndex) CurrentIndex = -1;
    Items.Delete(i);
}

TDbLogicalStruct* TDbLogicalStructures::FindByName(std::string_view name) {
    for (TDbLogicalStruct& s : Items)
        if (!s.IsDefault && SameText(s.Name, name)) return &s;
    return nullptr;
}

void TDbLogicalStructures::SaveSettingsToIni(std::string_view prefix, TMemIniFile& ini) const {
    const std::string section = std::string(prefix) + "/LogStructure";
    int count = 0;
    for (const TDbLogicalStruct& s : Items)
        if (!s.IsDefault) ++count;
    ini.WriteInteger(section, "Count", count);
    const TDbLogicalStruct* current = const_cast<TDbLogicalStructures*>(this)->GetCurrent();
    ini.WriteString(section, "Current", current ? current->Name : std::string());
    int k = 0;
    for (const TDbLogicalStruct& s : Items) {
        if (s.IsDefault) continue;
        ini.WriteString(section, Numbered("Item", ++k), s.Name);
        s.SaveSettingsToIni(ini, section + "/" + CleanLogStructName(s.Name));
    }
}

void TDbLogicalStructures::LoadSettingsFromIni(std::string_view prefix, const TMemIniFile& ini) {
    for (int i = Items.Count() - 1; i >= 0; --i)
        if (!Items[i].IsDefault) Delete(i);
    const std::string section = std::string(prefix) + "/LogStructure";
    const int count = ReadCount(ini, section);
    for (int k = 1; k <= count; ++k) {
        TDbLogicalStruct& s = Items.Add();
        s.Name = ini.ReadString(section, Numbered("Item", k), "");
        s.LoadSettingsFromIni(ini, section + "/" + CleanLogStructName(s.Name));
    }
    SetCurrent(FindByName(ini.ReadString(section, "Current", "")));
}

// ---- levels

TLevelItem::TLevelItem() : levelFiles_(std::make_unique<TLevelFilesList>()) {}
TLevelItem::~TLevelItem() = default;

void TLevelItem::ReadFromXml(pugi::xml_node node, const TDatabaseInfo*) {
    Date = 0;
    Id = xml::AttrInt(node, "id");
    Name = Required(node, "name");
    Path = Required(node, "path");
    if (xml::HasAttr(node, "name_is_correct"))
        NameIsCorrect = xml::AttrBool(node, "name_is_correct");
    if (xml::HasAttr(node, "StrType")) StrType = xml::Attr(node, "StrType");
    if (xml::HasAttr(node, "date")) Date = xml::AttrFloat(node, "date");
    // The server sends the mask as a 64-bit number; only the low 32 bits carry rights.
    if (xml::HasAttr(node, "UserRights"))
        UserRights = static_cast<std::int32_t>(
            static_cast<std::uint32_t>(xml::AttrInt64(node, "UserRights")));
    if (xml::HasAttr(node, "quality_mark")) QualityMark = xml::AttrInt(node, "quality_mark");
    levelFiles_->ReadFromXml(xml::Child(node, "fap"), nullptr);
}

void TLevelItem::Assign(const TLevelItem& other) {
    if (this == &other) return;
    Id = other.Id;
    Name = other.Name;
    levelFiles_->Assign(*other.levelFiles_);
    Date = other.Date;
    NameIsCorrect = other.NameIsCorrect;
    Path = other.Path;
    StrType = other.StrType;
    UserRights = other.UserRights;
    QualityMark = other.QualityMark;
}

void TLevelsList::ReadFromXml(pugi::xml_node node, const TDatabaseInfo* info) {
    Items.Clear();
    ForEachChild(xml::Child(node, "level_values"), "item",
                 [&](pugi::xml_node c) { Items.Add().ReadFromXml(c, info); });
}

// ---- virtual tables

void TVTableItem::ReadFromXml(pugi::xml_node node) {
    Name = Required(node, "name");
    FileName = Required(node, "file_name");
    OnlyLoginUpdate = xml::AttrBool(node, "only_login_update");
}

void TVTables::ReadFromXml(pugi::xml_node node) {
    Items.Clear();
    const pugi::xml_node all = xml::Child(node, "all_vtables");
    UseDelete = xml::AttrBool(all, "use_delete");
    CollectionPath = Required(all, "collection_path");
    ForEachChild(all, "item", [&](pugi::xml_node c) { Items.Add().ReadFromXml(c); });
}

const PropertyList& TVTableOption::Properties() const {
    static const PropertyList list{
        Prop<&TVTableOption::Section>("Section"),
        Prop<&TVTableOption::Key>("Key"),
        Prop<&TVTableOption::Value>("Value"),
    };
    return list;
}

void TVTableOption::ReadFromXml(pugi::xml_node node) {
    Section = Required(node, "section");
    Key = Required(node, "key");
    Value = Required(node, "value");
}

const PropertyList& TVTableOptions::Properties() const {
    static const PropertyList list{Prop<&TVTableOptions::Items>("Items")};
    return list;
}

void TVTableOptions::ReadFromXml(pugi::xml_node node) {
    Items.Clear();
    ForEachChild(xml::Child(node, "vtable_options"), "item",
                 [&](pugi::xml_node c) { Items.Add().ReadFromXml(c); });
}

}  // namespace ostradb
