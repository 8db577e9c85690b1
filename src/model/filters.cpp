#include "ostradb/model/filters.hpp"

#include <algorithm>
#include <cstring>
#include <string>

#include "ostradb/model/databases.hpp"
#include "ostradb/model/db_struct.hpp"
#include "ostradb/serial/xml.hpp"
#include "ostradb/serial/xml_serializer.hpp"
#include "ostradb/util/dates.hpp"
#include "ostradb/util/exceptions.hpp"
#include "ostradb/util/ini_file.hpp"
#include "ostradb/util/numbers.hpp"
#include "ostradb/util/text.hpp"

namespace ostradb {

namespace {

std::string Numbered(const char* key, int n) {
    return key + std::to_string(n);
}

// Counts in a hand-edited INI file can be anything. The count is cut to the entries the file
// holds (keys of the section, or sections): a damaged file cannot make the reader build
// millions of empty entries.
int ReadCount(const TMemIniFile& ini, std::string_view section, bool ofSections) {
    TStringList entries;
    if (ofSections)
        ini.ReadSections(entries);
    else
        ini.ReadSection(section, entries);
    return std::clamp(ini.ReadInteger(section, "Count", 0), 0, entries.Count());
}

// "true", "false" or a number; anything else is false.
bool LenientBool(pugi::xml_node node, const char* name) {
    const std::string_view v = xml::AttrView(node, name);
    if (SameText(v, "true")) return true;
    std::int64_t n = 0;
    return !v.empty() && !SameText(v, "false") && TryStrToInt64(v, n) && n != 0;
}

std::string NormalisedDate(std::string_view text) {
    return DateToStr(StrToDate(Trim(text)));
}

// A date-range value: "0", a date, ">date", "<date" or "date-date", each date rewritten in
// the short date format. The short date format may itself use "-" between its parts, so a
// whole date is tried first and then every "-" as the range's joint.
std::string ConvertDateRange(std::string_view value) {
    const std::string v = Trim(value);
    if (v == "0") return v;
    if (!v.empty() && (v[0] == '>' || v[0] == '<')) return v[0] + NormalisedDate(v.substr(1));
    TDateTime d;
    if (TryStrToDate(v, d)) return DateToStr(d);
    for (std::size_t p = v.find('-'); p != std::string::npos; p = v.find('-', p + 1)) {
        TDateTime from, to;
        if (TryStrToDate(Trim(v.substr(0, p)), from) && TryStrToDate(Trim(v.substr(p + 1)), to))
            return DateToStr(from) + "-" + DateToStr(to);
    }
    return NormalisedDate(v);  // raises the parser's message
}

bool IsDateKey(std::string_view key) {
    return SameText(key, "hist_date") || SameText(key, "file_date");
}

const char* ReservedWordLabel(std::string_view key) {
    static const struct {
        const char* key;
        const char* label;
    } labels[] = {
        {"curves", "Кривые"},
        {"planshets", "Планшеты"},
        {"tables", "Таблицы"},
        {"strat_idents", "Идентификатор стратиграфии"},
        {"strat_any_names", "Любой из объектов стратиграфии"},
        {"strat_all_names", "Все объекты стратиграфии"},
    };
    for (const auto& l : labels)
        if (key == l.key) return l.label;
    return nullptr;
}

bool IsWritable(const TFilterItem& item) {
    return !item.Key.empty() && !item.Values.Empty();
}

pugi::xml_node WriteItem(pugi::xml_node filter, const TFilterItem& item,
                         const TStringList& values) {
    pugi::xml_node node = filter.append_child("Item");
    xml::SetAttr(node, "Param", item.Key);
    xml::SetAttr(node, "Oper", item.Oper);
    if (item.And) xml::SetBoolXmlAttr(node, "And", true);
    if (item.Not) xml::SetBoolXmlAttr(node, "Not", true);
    SaveToXML(&values, "Items", node);
    return node;
}

}  // namespace

// ---- one condition

EFilterItemType TFilterItem::GetItemType() const {
    if (Key.empty()) return fitNone;
    if (Key[0] == '%') return fitLevel;
    if (Key[0] == '*') return fitKeyValue;
    return fitOther;
}

bool TFilterItem::ExplodeKeyIntoTableAndColName(std::string& table, std::string& column) const {
    table.clear();
    column.clear();
    if (GetItemType() != fitKeyValue) return false;
    const std::string_view rest = std::string_view(Key).substr(1);
    const std::size_t dot = rest.find('.');
    table = rest.substr(0, dot);
    if (dot != std::string_view::npos) column = rest.substr(dot + 1);
    return true;
}

void TFilterItem::Assign(const TFilterItem& other) {
    if (this == &other) return;
    Key = other.Key;
    Values.Assign(other.Values);
    Oper = other.Oper;
    Not = other.Not;
    And = other.And;
}

std::string TFilterItem::ToSimpleText() const {
    // The key is an item of the head's comma text: quoted when it holds a comma or the like,
    // or the arrow that ends the head.
    std::string head = TStringList{Key}.CommaText();
    if (head.find("->") != std::string::npos && head.front() != '"') head = '"' + head + '"';
    if (Not) head += ",not";
    if (And) head += ",and";
    return head + " -> " + Values.CommaText();
}

namespace {

// The first "->" outside double quotes: a quoted key may hold one.
std::size_t FindArrow(std::string_view text) {
    bool quoted = false;
    for (std::size_t i = 0; i + 1 < text.size(); ++i) {
        if (text[i] == '"') quoted = !quoted;
        if (!quoted && text[i] == '-' && text[i + 1] == '>') return i;
    }
    return std::string_view::npos;
}

}  // namespace

void TFilterItem::FromSimpleText(std::string_view text) {
    const std::size_t arrow = FindArrow(text);
    TStringList head;
    head.SetCommaText(Trim(text.substr(0, arrow)));
    Key = head.Empty() ? std::string() : head[0];
    Not = false;
    And = false;
    for (int i = 1; i < head.Count(); ++i) {
        if (SameText(head[i], "not")) Not = true;
        if (SameText(head[i], "and")) And = true;
    }
    Values.Clear();
    if (arrow != std::string_view::npos) Values.SetCommaText(Trim(text.substr(arrow + 2)));
}

// ---- a filter

bool TFilter::DeleteByKey(std::string_view key) {
    for (int i = 0; i < Items.Count(); ++i)
        if (SameText(Items[i].Key, key)) {
            Items.Delete(i);
            return true;
        }
    return false;
}

TFilterItem* TFilter::FindByKey(std::string_view key) {
    for (TFilterItem& item : Items)
        if (SameText(item.Key, key)) return &item;
    return nullptr;
}

const TFilterItem* TFilter::FindByKey(std::string_view key) const {
    return const_cast<TFilter*>(this)->FindByKey(key);
}

void TFilter::Assign(const TFilter& other) {
    if (this == &other) return;
    Name = other.Name;
    Items.Assign(other.Items);
}

int TFilter::GetFilledItemsCount() const {
    return static_cast<int>(std::count_if(Items.begin(), Items.end(), [](const TFilterItem& i) {
        return !Trim(i.Values.CommaText()).empty();
    }));
}

void TFilter::CheckAndCorrect() {
    for (int i = Items.Count() - 1; i >= 0; --i)
        if (Items[i].Key.empty()) Items.Delete(i);
}

void TFilter::FillToSimpleText(TStringList& list) const {
    list.Clear();
    for (const TFilterItem& item : Items)
        list.Add(item.ToSimpleText());
}

void TFilter::ReadimpleText(const TStringList& list) {
    Items.Clear();
    for (const std::string& line : list)
        if (!Trim(line).empty()) Items.Add().FromSimpleText(line);
}

void TFilter::FillToXml(const TDbStruct*, pugi::xml_node node) const {
    pugi::xml_node filter = node.append_child("Filter");
    for (const TFilterItem& item : Items)
        if (IsWritable(item)) WriteItem(filter, item, item.Values);
}

void TFilter::FillToXmlWithCheck(const TDatabase* database, pugi::xml_node node,
                                 TFilterCheckFlags flags) const {
    // Without a database there is nothing to check against: the values go as they stand.
    if (!database) return FillToXml(nullptr, node);
    const TDbStruct& structure = database->GetStructure();
    const bool checkLevels = flags.Contains(fcfCheckAll) || flags.Contains(fcfCheckLevels);
    pugi::xml_node filter = node.append_child("Filter");
    for (const TFilterItem& item : Items) {
        if (!IsWritable(item)) continue;
        bool isDate = IsDateKey(item.Key);
        if (item.GetItemType() == fitLevel) {
            const TDbStructItem* level = structure.GetItemByType(item.Key);
            if (!level && checkLevels) continue;
            isDate = isDate || (level && level->ExType == dsetDate);
        }
        if (!isDate) {
            WriteItem(filter, item, item.Values);
            continue;
        }
        TStringList values;
        for (const std::string& v : item.Values)
            values.Add(ConvertDateRange(v));
        WriteItem(filter, item, values);
    }
}

void TFilter::ReadFromXml(pugi::xml_node node) {
    Items.Clear();
    const pugi::xml_node filter = xml::Child(node, "Filter");
    for (pugi::xml_node c = filter.first_child(); c; c = c.next_sibling()) {
        if (c.type() != pugi::node_element || std::strcmp(c.name(), "Item") != 0) continue;
        TFilterItem& item = Items.Add();
        item.Key = xml::Attr(c, "Param");
        if (xml::HasAttr(c, "Oper")) item.Oper = xml::Attr(c, "Oper");
        item.And = LenientBool(c, "And");
        item.Not = LenientBool(c, "Not");
        LoadFromXML(&item.Values, "Items", c);
    }
}

std::string TFilter::FillToXmlStr() const {
    pugi::xml_document doc;
    pugi::xml_node decl = doc.append_child(pugi::node_declaration);
    decl.append_attribute("version").set_value("1.0");
    decl.append_attribute("encoding").set_value("UTF-8");
    FillToXml(nullptr, doc);
    return xml::ToText(doc);
}

void TFilter::ReadFromXmlStr(std::string_view text) {
    Items.Clear();
    try {
        pugi::xml_document doc;
        xml::Parse(doc, text);
        ReadFromXml(doc);
    } catch (const Error&) {
        Items.Clear();
    }
}

std::string TFilter::ToHumanReadableText(const TDbStruct* structure) const {
    std::string text;
    for (const TFilterItem& item : Items) {
        std::string label = item.Key;
        switch (item.GetItemType()) {
            case fitLevel:
                if (const TDbStructItem* level =
                        structure ? structure->GetItemByType(item.Key) : nullptr)
                    label = level->DisplayName;
                break;
            case fitKeyValue: {
                std::string table, column;
                item.ExplodeKeyIntoTableAndColName(table, column);
                label = table + "." + column;
                break;
            }
            case fitOther:
                if (const char* l = ReservedWordLabel(item.Key)) label = l;
                break;
            case fitNone:
                break;
        }
        if (!text.empty()) text += "\r\n";
        text += label;
        text += item.Not != (item.Oper == "!=") ? " != " : " = ";
        if (item.And) text += "(ВСЕ) ";
        text += item.Values.Join(", ");
    }
    return text;
}

void TFilter::SaveSettingsToIni(TMemIniFile& ini, std::string_view section) const {
    ini.WriteInteger(section, "Count", Items.Count());
    for (int i = 1; i <= Items.Count(); ++i) {
        const TFilterItem& item = Items[i - 1];
        ini.WriteString(section, Numbered("Key", i), item.Key);
        ini.WriteString(section, Numbered("Value", i), "\"" + item.Values.CommaText() + "\"");
        ini.WriteString(section, Numbered("Oper", i), item.Oper);
        ini.WriteBool(section, Numbered("And", i), item.And);
        ini.WriteBool(section, Numbered("Not", i), item.Not);
    }
}

void TFilter::LoadSettingsFromIni(const TMemIniFile& ini, std::string_view section) {
    Items.Clear();
    const int count = ReadCount(ini, section, false);
    for (int i = 1; i <= count; ++i) {
        TFilterItem& item = Items.Add();
        item.Key = ini.ReadString(section, Numbered("Key", i), "");
        std::string value = ini.ReadString(section, Numbered("Value", i), "");
        if (value.size() >= 2 && value.front() == '"' && value.back() == '"')
            value = value.substr(1, value.size() - 2);
        item.Values.SetCommaText(value);
        item.Oper = ini.ReadString(section, Numbered("Oper", i), "=");
        item.And = ini.ReadBool(section, Numbered("And", i), false);
        item.Not = ini.ReadBool(section, Numbered("Not", i), false);
    }
    CheckAndCorrect();
}

// ---- the named filters

void TFilters::Delete(std::string_view name) {
    int found = -1;
    for (int i = 0; i < Items.Count() && found < 0; ++i)
        if (SameText(Items[i].Name, name)) found = i;
    if (found < 0) throw Error("TFilters.Delete: Указанный фильтр Filter не найден");
    Items.Delete(found);
    // The current filter stays current when an earlier one goes.
    if (found == CurrentIndex)
        CurrentIndex = -1;
    else if (found < CurrentIndex)
        --CurrentIndex;
}

TFilter* TFilters::FindByName(std::string_view name) {
    if (name.empty()) return GetCurrent();
    for (TFilter& f : Items)
        if (SameText(f.Name, name)) return &f;
    return nullptr;
}

TFilter* TFilters::GetCurrent() {
    if (CurrentIndex >= 0 && CurrentIndex < Items.Count()) return &Items[CurrentIndex];
    if (Items.Empty()) {
        Items.Add();
        CurrentIndex = 0;
        return &Items[0];
    }
    return nullptr;
}

void TFilters::SetCurrent(const TFilter* f) {
    if (!f) return;
    const int i = Items.IndexOf(f);
    if (i >= 0) {
        CurrentIndex = i;
        return;
    }
    Items.Add().Assign(*f);
    CurrentIndex = Items.Count() - 1;
}

void TFilters::Assign(const TFilters& other) {
    if (this == &other) return;
    Items.Assign(other.Items);
    CurrentIndex = other.CurrentIndex;
    UseAsGlobal = other.UseAsGlobal;
}

void TFilters::SaveSettingsToIni(TMemIniFile& ini, std::string_view prefix) const {
    const std::string section = std::string(prefix) + "Filters";
    ini.WriteBool(section, "UseAsGlobal", UseAsGlobal);
    ini.WriteInteger(section, "Count", Items.Count());
    const bool hasCurrent = CurrentIndex >= 0 && CurrentIndex < Items.Count();
    ini.WriteString(section, "CurrentFilter", hasCurrent ? Items[CurrentIndex].Name : "");
    for (int k = 1; k <= Items.Count(); ++k) {
        const std::string own = section + std::to_string(k);
        ini.EraseSection(own);
        ini.WriteString(own, "Name", Items[k - 1].Name);
        Items[k - 1].SaveSettingsToIni(ini, own);
    }
}

void TFilters::LoadSettingsFromIni(const TMemIniFile& ini, std::string_view prefix) {
    const std::string section = std::string(prefix) + "Filters";
    Items.Clear();
    CurrentIndex = -1;
    UseAsGlobal = ini.ReadBool(section, "UseAsGlobal", UseAsGlobal);
    const int count = ReadCount(ini, section, true);
    for (int k = 1; k <= count; ++k) {
        const std::string own = section + std::to_string(k);
        TFilter& f = Items.Add();
        f.Name = ini.ReadString(own, "Name", "");
        f.LoadSettingsFromIni(ini, own);
    }
    const std::string current = ini.ReadString(section, "CurrentFilter", "");
    for (int i = 0; i < Items.Count(); ++i)
        if (SameText(Items[i].Name, current)) {
            CurrentIndex = i;
            break;
        }
}

}  // namespace ostradb
