#pragma once

// Columns of tables: the column lists and key/value cells of well-view answers, and the
// column names the user chose per table.

#include <string>
#include <string_view>

#include <pugixml.hpp>

#include "ostradb/export.hpp"
#include "ostradb/serial/xml_serializer.hpp"
#include "ostradb/util/collection.hpp"
#include "ostradb/util/string_list.hpp"

namespace ostradb {

class PropertyList;

class OSTRADB_API TTableCol {
public:
    std::string Name;

    void Assign(const TTableCol& other) { Name = other.Name; }
};

// The columns of a table in a well-view answer.
class OSTRADB_API TTableCols {
public:
    Collection<TTableCol> Items;

    void Assign(const TTableCols& other) { Items.Assign(other.Items); }
    int GetCount() const { return Items.Count(); }
    TTableCol& GetItem(int i) { return Items[i]; }
    const TTableCol& GetItem(int i) const { return Items[i]; }
    void Clear() { Items.Clear(); }

    // Clears, then one column per child named exactly "Field", named by its "Name".
    void LoadFromWSViewsListXml(pugi::xml_node node);
};

// One cell: a column name, its value and the value's type, all as text.
class OSTRADB_API TTableValue {
public:
    std::string Name;
    std::string Value;
    std::string Type;

    void Assign(const TTableValue& other);
    // "name", "value" and "type"; a missing attribute reads as empty.
    void LoadFromXML(pugi::xml_node node);
};

// The chosen columns of one table. Serializer form: the attribute "Table" and the columns
// under "ColNames".
class OSTRADB_API TTableColumnNamesItem : public TXmlSerializedCollectionItem {
public:
    std::string Table;
    TStringList ColNames;

    const PropertyList& Properties() const override;
    void SaveToXML(std::string_view name, pugi::xml_node node) const override;
    void LoadFromXML(std::string_view name, pugi::xml_node node) override;
    void Assign(const TTableColumnNamesItem& other);

    // The column list holds column (ignoring case).
    bool Exists(std::string_view column) const { return ColNames.IndexOf(column) >= 0; }
};

// The chosen columns of every table. Serializer form: the items stand directly in the
// object's element.
class OSTRADB_API TTableColumnNames : public TXmlSerialized {
public:
    Collection<TTableColumnNamesItem> Items;

    void SaveToXML(std::string_view name, pugi::xml_node node) const override;
    void LoadFromXML(std::string_view name, pugi::xml_node node) override;
    void Assign(const TTableColumnNames& other) { Items.Assign(other.Items); }

    // The first item whose Table equals table ignoring case, or null.
    TTableColumnNamesItem* FindByTableName(std::string_view table);
    const TTableColumnNamesItem* FindByTableName(std::string_view table) const;
    // False for an unknown table; else whether its columns hold column (ignoring case).
    bool Exists(std::string_view table, std::string_view column) const;
    // Removes the item of table; raises EListError when there is none.
    void DeleteByName(std::string_view table);

    bool IsEmpty() const { return Items.Empty(); }
    void Clear() { Items.Clear(); }
    TTableColumnNamesItem& Add() { return Items.Add(); }
    int GetCount() const { return Items.Count(); }
    TTableColumnNamesItem& GetItem(int i) { return Items[i]; }
    const TTableColumnNamesItem& GetItem(int i) const { return Items[i]; }
};

}  // namespace ostradb
