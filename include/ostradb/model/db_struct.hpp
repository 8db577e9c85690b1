#pragma once

// The structure of a database: its physical levels as the server describes them, the logical
// orderings of those levels the user defines (kept in the per-server INI settings), the level
// values with their rights, and the server's virtual tables.

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include <pugixml.hpp>

#include "ostradb/export.hpp"
#include "ostradb/serial/persistent.hpp"
#include "ostradb/serial/xml_serializer.hpp"
#include "ostradb/util/collection.hpp"

namespace ostradb {

class TMemIniFile;
class TLevelFilesList;
class TDatabaseInfo;

enum EDbStructMainFileType : std::uint8_t { dsmft_None, dsmft_OneMainFile, dsmft_ManyMainFiles };

// The kind of a level's values ("ex_type" on the wire, by ordinal). The server marks date
// levels with dsetDate; filters convert the values of such levels as date ranges. Other
// ordinals are kept as they arrive.
enum EDbStructExType : std::uint8_t { dsetNone, dsetString, dsetNumber, dsetDate };

// One level of the physical structure. The XML attribute of each field is given beside it.
class OSTRADB_API TDbStructItem {
public:
    std::string Type;                     // "type": the level's type key, e.g. "%well"
    std::string View;                     // "df_view"
    EDbStructExType ExType = dsetString;  // "ex_type"
    std::string DisplayName;              // "real_name": the level's name as shown to the user
    std::string NoData;                   // "no_data"
    std::string DictName;                 // "dict_name"
    std::int32_t DictCol1 = -1;           // "dict_col1"
    std::int32_t DictCol2 = -1;           // "dict_col2"
    std::string SearchLink;               // "search_link"
    bool UseDict = false;                 // "use_dict"
    std::string Real;                     // "df_real"
    bool IsKey = false;                   // "is_key"

    // Reads the eleven attributes "type" to "df_real" (all required: a missing one raises
    // EConvertError) and "is_key" when present (false otherwise).
    void ReadFromXml(pugi::xml_node node);
    // Copies every field except IsKey: a copied item keeps its own key flag.
    void Assign(const TDbStructItem& other);
};

// The physical structure of a database: its levels in order.
class OSTRADB_API TDbStruct : public Persistent {
public:
    Collection<TDbStructItem> Items;
    std::int32_t DirCount = 0;
    EDbStructMainFileType MainFileType = dsmft_OneMainFile;

    // Reads "dir_count" and "main_file_type" of node, then one item per child "Item" (capital
    // I) of node's child "struct_items"; other children are skipped.
    void ReadFromXml(pugi::xml_node node);
    void Assign(const TDbStruct& other);

    int GetItemsCount() const { return Items.Count(); }
    TDbStructItem& GetItem(int i) { return Items[i]; }
    const TDbStructItem& GetItem(int i) const { return Items[i]; }
    void Clear() { Items.Clear(); }
    TDbStructItem& AddNewItem() { return Items.Add(); }

    // Look-ups by level type or display name, ignoring case; the first match.
    int IndexOfType(std::string_view type) const;
    TDbStructItem* GetItemByType(std::string_view type);
    const TDbStructItem* GetItemByType(std::string_view type) const;
    TDbStructItem* FindItemByRealName(std::string_view name);
    const TDbStructItem* FindItemByRealName(std::string_view name) const;
};

// One level of a logical structure, named by the type key of a structure item.
class OSTRADB_API TDbLogicalStructItem : public Persistent {
public:
    std::string ItemType;

    const PropertyList& Properties() const override;
    void Assign(const TDbLogicalStructItem& other) { ItemType = other.ItemType; }
};

// A named ordering of the levels. Its serializer form is an element with the attributes "Name"
// and "IsDefault" and the levels under "Items":
//   <LogStruct Name="By wells" IsDefault="0"><Items><Item ItemType="%well"/></Items></LogStruct>
class OSTRADB_API TDbLogicalStruct : public TXmlSerializedCollectionItem {
public:
    std::string Name;
    bool IsDefault = false;
    Collection<TDbLogicalStructItem> Items;

    const PropertyList& Properties() const override;
    void SaveToXML(std::string_view name, pugi::xml_node node) const override;
    void LoadFromXML(std::string_view name, pugi::xml_node node) override;
    void Assign(const TDbLogicalStruct& other);

    int GetCount() const { return Items.Count(); }
    TDbLogicalStructItem& GetItem(int i) { return Items[i]; }
    const TDbLogicalStructItem& GetItem(int i) const { return Items[i]; }
    void Clear() { Items.Clear(); }
    TDbLogicalStructItem& Add() { return Items.Add(); }
    void Delete(int i) { Items.Delete(i); }
    // Exchanges the contents of items i and j (the items themselves stay in place).
    void Swap(int i, int j);
    // The first item whose ItemType equals type exactly (letter case counts), or null.
    TDbLogicalStructItem* FindByType(std::string_view type);
    // Position of this very item, or -1.
    int IndexOf(const TDbLogicalStructItem* item) const { return Items.IndexOf(item); }
    // The first position whose ItemType equals name ignoring case, or -1.
    int IndexByName(std::string_view name) const;
    // One item per level of dbStruct, in order; the structure becomes a default one.
    void ReadFromRealStruct(const TDbStruct& dbStruct);

    // Its own INI section: "Count" and "Item1".."ItemN". Loading a default structure does
    // nothing.
    void SaveSettingsToIni(TMemIniFile& ini, std::string_view section) const;
    void LoadSettingsFromIni(const TMemIniFile& ini, std::string_view section);
};

// The logical structures of one database, with a current one. Default structures are built
// from the physical structure; they are never stored, found by name or deleted.
class OSTRADB_API TDbLogicalStructures : public Persistent {
public:
    Collection<TDbLogicalStruct> Items;
    std::int32_t CurrentIndex = -1;

    void Assign(const TDbLogicalStructures& other);
    int GetCount() const { return Items.Count(); }
    TDbLogicalStruct& GetItem(int i) { return Items[i]; }
    const TDbLogicalStruct& GetItem(int i) const { return Items[i]; }
    TDbLogicalStruct& Add() { return Items.Add(); }

    // The only structure when there is one; else, with no current index, the first default
    // one; else the one at the current index (null when that index is out of range).
    TDbLogicalStruct* GetCurrent();
    const TDbLogicalStruct* GetCurrent() const {
        return const_cast<TDbLogicalStructures*>(this)->GetCurrent();
    }
    // Makes s current when it is one of the structures; otherwise nothing changes.
    void SetCurrent(const TDbLogicalStruct* s);
    TDbLogicalStruct* GetDefault();
    // Fills the first default structure (appended when there is none) from dbStruct and names
    // it "По умолчанию".
    void SetDefaultStruct(const TDbStruct& dbStruct);
    // Removes structure i unless it is a default one. The current index is reset when it is i
    // and is not shifted otherwise.
    void Delete(int i);
    // The first non-default structure named name (ignoring case), or null.
    TDbLogicalStruct* FindByName(std::string_view name);

    // Section prefix + "/LogStructure" with "Count", "Current" and "Item1".."ItemN"; each
    // non-default structure in prefix + "/LogStructure/" + its cleaned name. Only the memory
    // INI changes: the caller writes the file once it holds everything (a file written half-way
    // through a save would otherwise lose settings on a failure).
    void SaveSettingsToIni(std::string_view prefix, TMemIniFile& ini) const;
    // Replaces the non-default structures by those stored under prefix; the current one is
    // chosen by the stored name.
    void LoadSettingsFromIni(std::string_view prefix, const TMemIniFile& ini);
};

// A structure name as it appears in an INI section name: "[", "]" and "=" become "-".
OSTRADB_API std::string CleanLogStructName(std::string_view name);

// One value of a level (a field, a well...) with the files under it and the user's rights.
class OSTRADB_API TLevelItem {
public:
    TLevelItem();
    ~TLevelItem();
    TLevelItem(const TLevelItem&) = delete;
    TLevelItem& operator=(const TLevelItem&) = delete;

    std::int32_t Id = -1;
    std::string Name;
    double Date = 0;  // day count
    bool NameIsCorrect = true;
    std::string Path;
    std::string StrType;
    std::int32_t UserRights = -1;  // rights bit mask
    std::int32_t QualityMark = 0;

    TLevelFilesList& LevelFiles() { return *levelFiles_; }
    const TLevelFilesList& LevelFiles() const { return *levelFiles_; }

    // "id", "name" and "path" are required; "name_is_correct", "StrType", "date",
    // "UserRights" (64-bit on the wire, kept in 32 bits) and "quality_mark" are read when
    // present; the files come from the child "fap". info is not used.
    void ReadFromXml(pugi::xml_node node, const TDatabaseInfo* info);
    void Assign(const TLevelItem& other);

    bool IsReadOnly() const { return UserRights == 1; }
    bool IsNavigateOnly() const { return UserRights == 64; }
    // Always false: callers decide full access through the two tests above.
    bool IsFullAccess() const { return false; }

private:
    std::unique_ptr<TLevelFilesList> levelFiles_;
};

class OSTRADB_API TLevelsList {
public:
    Collection<TLevelItem> Items;

    // Clears, then reads one level per child "item" of node's child "level_values".
    void ReadFromXml(pugi::xml_node node, const TDatabaseInfo* info);
    TLevelItem& AddNew() { return Items.Add(); }
    int GetCount() const { return Items.Count(); }
    TLevelItem& GetItem(int i) { return Items[i]; }
    const TLevelItem& GetItem(int i) const { return Items[i]; }
    void Clear() { Items.Clear(); }
};

class OSTRADB_API TVTableItem {
public:
    std::string Name;
    std::string FileName;
    bool OnlyLoginUpdate = false;

    // "name", "file_name", "only_login_update", all required.
    void ReadFromXml(pugi::xml_node node);
};

// The server's virtual tables.
class OSTRADB_API TVTables : public Persistent {
public:
    Collection<TVTableItem> Items;
    std::string CollectionPath;
    bool UseDelete = false;

    // Reads node's child "all_vtables": "use_delete", "collection_path" and one table per
    // child "item".
    void ReadFromXml(pugi::xml_node node);
    int GetItemsCount() const { return Items.Count(); }
    TVTableItem& GetItem(int i) { return Items[i]; }
    const TVTableItem& GetItem(int i) const { return Items[i]; }
};

class OSTRADB_API TVTableOption : public Persistent {
public:
    std::string Section;
    std::string Key;
    std::string Value;

    // Declared as "Section", "Key", "Value" for the serializer form.
    const PropertyList& Properties() const override;
    // "section", "key", "value", all required strings.
    void ReadFromXml(pugi::xml_node node);
};

// The options of the virtual tables. Read either from "vtable_options"/"item" elements by
// ReadFromXml, or by the serializer, whose form is the declared property "Items":
//   <Result><Items><Item Section="s" Key="k" Value="v"/></Items></Result>
class OSTRADB_API TVTableOptions : public Persistent {
public:
    Collection<TVTableOption> Items;

    const PropertyList& Properties() const override;
    // Clears, then reads one option per child "item" of node's child "vtable_options".
    void ReadFromXml(pugi::xml_node node);
    int GetItemsCount() const { return Items.Count(); }
    TVTableOption& GetItem(int i) { return Items[i]; }
    const TVTableOption& GetItem(int i) const { return Items[i]; }
};

}  // namespace ostradb
