#include "ostradb/model/table_columns.hpp"

#include <cstring>
#include <utility>

#include "ostradb/serial/properties.hpp"
#include "ostradb/util/text.hpp"

namespace ostradb {

void TTableCols::LoadFromWSViewsListXml(pugi::xml_node node) {
    Items.Clear();
    for (pugi::xml_node c = node.first_child(); c; c = c.next_sibling()) {
        if (c.type() != pugi::node_element || std::strcmp(c.name(), "Field") != 0) continue;
        Items.Add().Name = c.attribute("Name").value();
    }
}

void TTableValue::Assign(const TTableValue& other) {
    Name = other.Name;
    Value = other.Value;
    Type = other.Type;
}

void TTableValue::LoadFromXML(pugi::xml_node node) {
    Name = node.attribute("name").value();
    Value = node.attribute("value").value();
    Type = node.attribute("type").value();
}

const PropertyList& TTableColumnNamesItem::Properties() const {
    static const PropertyList list{Prop<&TTableColumnNamesItem::Table>("Table")};
    return list;
}

void TTableColumnNamesItem::SaveToXML(std::string_view, pugi::xml_node node) const {
    ostradb::SaveToXML(ColNames, "ColNames", node);
}

void TTableColumnNamesItem::LoadFromXML(std::string_view, pugi::xml_node node) {
    ostradb::LoadFromXML(ColNames, "ColNames", node);
}

void TTableColumnNamesItem::Assign(const TTableColumnNamesItem& other) {
    ColNames.Assign(other.ColNames);
    Table = other.Table;
}

void TTableColumnNames::SaveToXML(std::string_view, pugi::xml_node node) const {
    ostradb::SaveToXML(Items, "", node);
}

void TTableColumnNames::LoadFromXML(std::string_view, pugi::xml_node node) {
    ostradb::LoadFromXML(Items, "", node);
}

const TTableColumnNamesItem* TTableColumnNames::FindByTableName(std::string_view table) const {
    for (const TTableColumnNamesItem& item : Items)
        if (SameText(item.Table, table)) return &item;
    return nullptr;
}

TTableColumnNamesItem* TTableColumnNames::FindByTableName(std::string_view table) {
    return const_cast<TTableColumnNamesItem*>(std::as_const(*this).FindByTableName(table));
}

bool TTableColumnNames::Exists(std::string_view table, std::string_view column) const {
    const TTableColumnNamesItem* item = FindByTableName(table);
    return item && item->Exists(column);
}

void TTableColumnNames::DeleteByName(std::string_view table) {
    Items.Delete(Items.IndexOf(FindByTableName(table)));
}

}  // namespace ostradb
