#pragma once

// Filters narrow the files of a database by conditions on level values, key columns and other
// attributes. The client keeps named filters per database in its INI settings, shows them as
// text, reads a one-line text form that users type, and sends them to the server as XML.
//
// Forms chosen here:
//  - a key column "*table.column" is shown to people as "table.column";
//  - filter k (counted from 1) of a TFilters is kept in the INI section prefix + "Filters" + k;
//  - date-range values go to the server as the user wrote them, each date re-written in the
//    process's short date format: "d", ">d", "<d", "d1-d2" and "0" (no date) unchanged;
//  - the comma text of values is the string list's: items holding a comma, a blank, a quote
//    or nothing are double-quoted, inner quotes doubled.

#include <cstdint>
#include <string>
#include <string_view>

#include <pugixml.hpp>

#include "ostradb/export.hpp"
#include "ostradb/serial/persistent.hpp"
#include "ostradb/util/collection.hpp"
#include "ostradb/util/set.hpp"
#include "ostradb/util/string_list.hpp"

namespace ostradb {

class TDbStruct;
class TDatabase;
class TMemIniFile;

enum EFilterItemType : std::uint8_t { fitNone, fitLevel, fitKeyValue, fitOther };

enum EFilterCheckFlags : std::uint8_t { fcfCheckAll, fcfCheckLevels, fcfCheckKeyValues };
using TFilterCheckFlags = Set<EFilterCheckFlags>;

// One condition: the attribute named by Key equals one of Values.
class OSTRADB_API TFilterItem {
public:
    // "%type" a level, "*table.column" a key column, anything else a reserved word
    // ("curves", "planshets", "tables", "strat_idents", "hist_date", "file_date"...).
    std::string Key;
    TStringList Values;
    std::string Oper = "=";  // "!=" negates
    bool Not = false;        // negates too; with "!=" the two cancel
    bool And = false;        // all values must hold at once

    EFilterItemType GetItemType() const;
    // For a "*table.column" key: the text between "*" and the first "." and the text after
    // it. False (both cleared) for keys of other types.
    bool ExplodeKeyIntoTableAndColName(std::string& table, std::string& column) const;
    void Assign(const TFilterItem& other);

    // "key[,not][,and] -> values as comma text".
    std::string ToSimpleText() const;
    // Reads what ToSimpleText writes; the flags and values not named are reset.
    void FromSimpleText(std::string_view text);
};

class OSTRADB_API TFilter {
public:
    std::string Name;
    Collection<TFilterItem> Items;

    TFilterItem& Add() { return Items.Add(); }
    int GetCount() const { return Items.Count(); }
    TFilterItem& GetItem(int i) { return Items[i]; }
    const TFilterItem& GetItem(int i) const { return Items[i]; }
    void Delete(int i) { Items.Delete(i); }
    // Removes the first item whose key equals key ignoring case; false when there is none.
    bool DeleteByKey(std::string_view key);
    // The first item whose key equals key ignoring case, or null.
    TFilterItem* FindByKey(std::string_view key);
    const TFilterItem* FindByKey(std::string_view key) const;
    void Clear() { Items.Clear(); }
    void Assign(const TFilter& other);
    // Items whose values, as trimmed comma text, are not empty.
    int GetFilledItemsCount() const;
    // Removes every item with an empty key.
    void CheckAndCorrect();

    // Replaces list's lines by one line per item in the simple text form.
    void FillToSimpleText(TStringList& list) const;
    // Replaces the items by one item per non-empty line. The name is historical; see
    // ReadSimpleText.
    void ReadimpleText(const TStringList& list);
    void ReadSimpleText(const TStringList& list) { ReadimpleText(list); }

    // Appends to node a child "Filter" with one "Item" per item that has a key and a value:
    //   <Filter><Item Param="%well" Oper="=" Not="true"><Items><Item>12</Item></Items></Item>
    // "And" and "Not" ("true") are written only when set. The structure is not used.
    void FillToXml(const TDbStruct* structure, pugi::xml_node node) const;
    // As FillToXml, checked against database: a level item whose level the database lacks is
    // skipped when flags hold fcfCheckAll or fcfCheckLevels; values of date levels,
    // "hist_date" and "file_date" are parsed as date ranges (raising the date parser's error)
    // and written in the short date format. A null database writes exactly what FillToXml writes.
    void FillToXmlWithCheck(const TDatabase* database, pugi::xml_node node,
                            TFilterCheckFlags flags) const;
    // Clears, then reads node's child "Filter" as FillToXml writes it.
    void ReadFromXml(pugi::xml_node node);
    void ReadFromXml(const TDbStruct* /*structure*/, pugi::xml_node node) { ReadFromXml(node); }
    // A whole UTF-8 document whose root holds the "Filter" element.
    std::string FillToXmlStr() const;
    // Reads what FillToXmlStr writes; text that does not parse leaves the filter cleared.
    void ReadFromXmlStr(std::string_view text);

    // One line per item, joined by CR LF: "label = value1, value2", with "!=" when the item
    // is negated and "(ВСЕ) " before the values of an And item.
    std::string ToHumanReadableText(const TDbStruct* structure) const;

    // Keys "Count", then "Key"i, "Value"i (comma text in double quotes), "Oper"i, "And"i and
    // "Not"i for i from 1. Reading ends with CheckAndCorrect.
    void SaveSettingsToIni(TMemIniFile& ini, std::string_view section) const;
    void LoadSettingsFromIni(const TMemIniFile& ini, std::string_view section);
};

// The named filters of a database, with a current one.
class OSTRADB_API TFilters {
public:
    Collection<TFilter> Items;
    std::int32_t CurrentIndex = -1;
    bool UseAsGlobal = false;  // the current filter applies to every view

    TFilter& Add() { return Items.Add(); }
    // Removes the filter named name (ignoring case); raises Error
    // "TFilters.Delete: Указанный фильтр Filter не найден" when there is none.
    void Delete(std::string_view name);
    // The first filter named name ignoring case; an empty name gives the current filter.
    TFilter* FindByName(std::string_view name);
    // The filter at the current index; with no filters at all, a new empty one that becomes
    // current. Null when there are filters but the index is not valid.
    TFilter* GetCurrent();
    // f becomes current when it is one of the filters; otherwise a copy of it is added and
    // becomes current. Null changes nothing.
    void SetCurrent(const TFilter* f);
    int GetCount() const { return Items.Count(); }
    TFilter& GetItem(int i) { return Items[i]; }
    const TFilter& GetItem(int i) const { return Items[i]; }
    void Assign(const TFilters& other);

    // Section prefix + "Filters": "UseAsGlobal", "Count", "CurrentFilter"; filter k in section
    // prefix + "Filters" + k with its "Name".
    void SaveSettingsToIni(TMemIniFile& ini, std::string_view prefix) const;
    void LoadSettingsFromIni(const TMemIniFile& ini, std::string_view prefix);
};

}  // namespace ostradb
