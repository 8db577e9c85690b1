#pragma once

// Request and result classes of the trunk and map commands: the extra columns a map asks for,
// the trunks of a map with their attributes and layer crossings, and the files of trunks.
//
// Serializer forms, as they travel:
//   ExtraCols:  <ExtraCols><Item Param="Depth" Table="WELLS" Col="DEPTH"/></ExtraCols>
//   TMapTrunks: <Trunks><Item TID="1"><PlastsCross><Item TID="1" PlastName="P1" X=".." Y=".."
//                 Z=".."/></PlastsCross><Attributes><Item Name="Depth" Value="1500"/>
//                 </Attributes></Item></Trunks><StratIdents><Item>S1</Item></StratIdents>
//   TFilesForTrunkList: <FilesList><Item TrunkId="1"><FilesNames><Item>a.ws</Item>
//                 </FilesNames></Item></FilesList>

#include <cstdint>
#include <string>
#include <string_view>

#include <pugixml.hpp>

#include "ostradb/export.hpp"
#include "ostradb/serial/xml_serializer.hpp"
#include "ostradb/util/collection.hpp"
#include "ostradb/util/string_list.hpp"

namespace ostradb {

class PropertyList;
class TFilter;
class TTrunkList;

// One extra column read for every trunk of a map: the value of Table.Col shown as Param.
class OSTRADB_API TMapSpecialCol : public Persistent {
public:
    std::string Param;  // the name under which the value is shown on the map
    std::string Table;
    std::string Col;

    const PropertyList& Properties() const override;
};

class OSTRADB_API TMapSpecialCols {
public:
    Collection<TMapSpecialCol> Items;

    TMapSpecialCol& Add(std::string Param, std::string Table, std::string Col);
    int Count() const { return Items.Count(); }
    TMapSpecialCol& Item(int i) { return Items[i]; }
    const TMapSpecialCol& Item(int i) const { return Items[i]; }

    // Adds one column per line "Param=Table.Col" (the column may hold further dots). A line
    // without "=" or with an empty name, or whose value has no "." followed by a column, adds
    // nothing; a repeated name (ignoring case) takes the value of its first line. Existing
    // columns are kept.
    void ReadFromText(std::string_view Text);
    // The columns as a child Name of Node holding one "Item" per column.
    void SaveToXML(std::string_view Name, pugi::xml_node Node) const;
};

// One attribute of a map trunk; the value is text with typed access.
class OSTRADB_API TMapTrunkAttr : public TXmlSerializedCollectionItem {
public:
    std::string Name;
    std::string Value;

    const PropertyList& Properties() const override;

    // Value as a number; 0 when it is not one. The decimal separator is the library's.
    float GetFloat() const;
    // The shortest text that GetFloat reads back as X.
    void SetFloat(float X);
    // Value as an integer; 0 when it is not one.
    std::int32_t GetInteger() const;
    void SetInteger(std::int32_t N);
};

// Serializer form: the attributes stand directly in the object's element.
class OSTRADB_API TMapTrunkAttributes : public TXmlSerialized {
public:
    Collection<TMapTrunkAttr> Items;

    void SaveToXML(std::string_view name, pugi::xml_node node) const override;
    void LoadFromXML(std::string_view name, pugi::xml_node node) override;

    int Count() const { return Items.Count(); }
    TMapTrunkAttr& Item(int i) { return Items[i]; }
    const TMapTrunkAttr& Item(int i) const { return Items[i]; }
    TMapTrunkAttr& AddNew() { return Items.Add(); }
    // The first attribute named Name (ignoring case), or null.
    TMapTrunkAttr* FindByName(std::string_view Name);
    // That attribute, or a new one with this name and an empty value appended.
    TMapTrunkAttr& FindByNameOrCreate(std::string_view Name);
};

// Where a trunk crosses a layer.
class OSTRADB_API TMapPlastsCrossItem : public Persistent {
public:
    std::string TID;        // trunk id
    std::string PlastName;  // layer name
    float X = 0;
    float Y = 0;
    float Z = 0;

    const PropertyList& Properties() const override;
};

// Serializer form: the items under a child "PlastsCross" of the object's element.
class OSTRADB_API TMapPlastsCrossItems : public TXmlSerialized {
public:
    Collection<TMapPlastsCrossItem> Items;

    void SaveToXML(std::string_view name, pugi::xml_node node) const override;
    void LoadFromXML(std::string_view name, pugi::xml_node node) override;

    int Count() const { return Items.Count(); }
    TMapPlastsCrossItem& Item(int i) { return Items[i]; }
    const TMapPlastsCrossItem& Item(int i) const { return Items[i]; }
    TMapPlastsCrossItem& AddNew() { return Items.Add(); }
};

// One trunk of a map. Serializer form: "TID", the child "Attributes", and beside them the
// child "PlastsCross" of its layer crossings.
class OSTRADB_API TMapTrunk : public TXmlSerializedCollectionItem {
public:
    std::string TID;
    TMapTrunkAttributes Attributes;
    TMapPlastsCrossItems PlastsCross;

    const PropertyList& Properties() const override;
    void SaveToXML(std::string_view name, pugi::xml_node node) const override;
    void LoadFromXML(std::string_view name, pugi::xml_node node) override;
};

// The trunks of a map and the stratum identifiers the data refers to. Serializer form: the
// children "Trunks" and "StratIdents", in this order.
class OSTRADB_API TMapTrunks : public TXmlSerialized {
public:
    Collection<TMapTrunk> Items;
    TStringList StratIdents;

    void SaveToXML(std::string_view name, pugi::xml_node node) const override;
    void LoadFromXML(std::string_view name, pugi::xml_node node) override;

    int Count() const { return Items.Count(); }
    TMapTrunk& Item(int i) { return Items[i]; }
    const TMapTrunk& Item(int i) const { return Items[i]; }
    TMapTrunk& AddNew() { return Items.Add(); }
};

// The files of one trunk.
class OSTRADB_API TFilesForTrunk : public Persistent {
public:
    std::string TrunkId;
    TStringList FilesNames;

    const PropertyList& Properties() const override;
};

// Serializer form: the items under a child "FilesList" of the object's element.
class OSTRADB_API TFilesForTrunkList : public TXmlSerialized {
public:
    Collection<TFilesForTrunk> Items;

    void SaveToXML(std::string_view name, pugi::xml_node node) const override;
    void LoadFromXML(std::string_view name, pugi::xml_node node) override;

    int Count() const { return Items.Count(); }
    TFilesForTrunk& Item(int i) { return Items[i]; }
    const TFilesForTrunk& Item(int i) const { return Items[i]; }
};

}  // namespace ostradb
