#pragma once

// The files of a level as the server lists them: a ws file with its path of level values,
// parameters, rights and flags, and (when asked for) its tables with their curves and rows and
// its plansheets.
//
// Answer forms read here:
//  - "get_log_level_files", "search_levels", "get_key_values_for_files": "file" elements
//    (ReadFromXml);
//  - the views list of "get_ws_info": "file" elements with "plansheets" and "table_info"
//    (LoadFromWSViewsListXml);
//  - the exchange form for other applications: "File" elements (SaveToApiXML_Ex and
//    LoadFromApiXML).
//
// Rows of a table's data come as a "rows" element of "row" children, each holding one "value"
// child per cell with the attributes "name", "value" and "type":
//   <rows><row><value name="DEPTH" value="1500" type="float"/>...</row></rows>

#include <cstdint>
#include <string>
#include <string_view>

#include <pugixml.hpp>

#include "ostradb/export.hpp"
#include "ostradb/model/table_columns.hpp"
#include "ostradb/serial/xml_serializer.hpp"
#include "ostradb/util/collection.hpp"
#include "ostradb/util/exceptions.hpp"
#include "ostradb/util/set.hpp"
#include "ostradb/util/string_list.hpp"

namespace ostradb {

class TDbStruct;
class PropertyList;

// Raised by the old exchange writer, kept only so that old callers fail loudly.
class OSTRADB_API TSaveToApiXMLDepricated : public Error {
public:
    using Error::Error;
    ~TSaveToApiXMLDepricated() override;
};

// The kind of a curve, from its data class.
enum ECurvesTypes : std::uint8_t { ctSimple, ctBed, ctColumn };
using TCurvesTypes = Set<ECurvesTypes>;

// Data class bits 1 and 2 both set: a column; only bit 2: a bed; anything else: simple.
OSTRADB_API ECurvesTypes DataClassToCurveType(std::int32_t dataClass);

class TLevelFileCurve;

// Which curves of a file to keep. Each criterion left empty lets every curve pass; a curve
// is kept when it passes all three.
class OSTRADB_API TLevelFileInternalFilter {
public:
    TStringList TableNames;  // tables whose curves are kept (ignoring case)
    TStringList CurveNames;  // curve names kept (ignoring case)
    TCurvesTypes CurveTypes;

    bool IsEmpty() const { return TableNames.Empty() && CurveNames.Empty() && CurveTypes.Empty(); }
    // tableName is the table that holds the curve.
    bool Passes(std::string_view tableName, const TLevelFileCurve& curve) const;
};

// One curve of a table.
class OSTRADB_API TLevelFileCurve : public Persistent {
public:
    std::string Table;
    std::string Name;
    float Start = 0;
    float Stop = 0;
    float Step = 0;
    std::int32_t NVers = 0;  // number of versions
    std::string Keystr;
    std::string Keystr2;  // the key value ("keyvalue"), when the server sends one
    std::int32_t DClass = 0;
    TStringList Planshets;  // the plansheets that show the curve
    std::int32_t QualityMark = 9999;

    const PropertyList& Properties() const override;
    void Assign(const TLevelFileCurve& other);

    // Numbers "start", "stop", "step", "nvers" and "dclass" are required (EConvertError when
    // missing or malformed); texts "name" and "keystr" read as empty when missing;
    // "keyvalue", "table" and "quality_mark" are read when present (quality mark 9999
    // otherwise); the plansheets are the "name" attributes of the "item" children of
    // "planshets".
    void ReadFromXml(pugi::xml_node node);

    std::string GetKeyStr() const { return Keystr2.empty() ? Keystr : Keystr2; }
    ECurvesTypes GetCurveType() const { return DataClassToCurveType(DClass); }
    bool GetIsBed() const { return GetCurveType() == ctBed; }
    bool GetIsColumn() const { return GetCurveType() == ctColumn; }
    // "#" + name for a bed, "!" + name for a column ("$" + name for a column of the table
    // "formation"), the bare name for a simple curve.
    std::string GetVisibleName() const;
};

// One row of a table's data: its cells in order.
class OSTRADB_API TLevelFileRow {
public:
    Collection<TTableValue> Values;

    int GetCount() const { return Values.Count(); }
    TTableValue& GetItem(int i) { return Values[i]; }
    const TTableValue& GetItem(int i) const { return Values[i]; }
    TTableValue& Add() { return Values.Add(); }
    void Assign(const TLevelFileRow& other) { Values.Assign(other.Values); }

    // One cell per "value" child; other children are skipped.
    void ReadFromXml(pugi::xml_node node);
    // The cells as "name=value" joined by ";", identifying the row among the table's rows.
    std::string GetKeyStr() const;
};

class OSTRADB_API TLevelFileRows {
public:
    Collection<TLevelFileRow> Items;

    int GetCount() const { return Items.Count(); }
    TLevelFileRow& GetItem(int i) { return Items[i]; }
    const TLevelFileRow& GetItem(int i) const { return Items[i]; }
    TLevelFileRow& Add() { return Items.Add(); }
    void Clear() { Items.Clear(); }
    void Assign(const TLevelFileRows& other) { Items.Assign(other.Items); }

    // Clears, then reads one row per "row" child of node.
    void ReadFromXml(pugi::xml_node node);
};

// One table of a file. The serializer form is the attribute "Name" and the curves under
// "Curves"; columns and rows are not part of it.
class OSTRADB_API TLevelFileTable : public TXmlSerializedCollectionItem {
public:
    std::string Name;
    std::string ShowNames;  // the table's display names (views list "shownames")
    Collection<TLevelFileCurve> Curves;
    TTableCols Cols;
    TLevelFileRows Rows;

    const PropertyList& Properties() const override;
    void SaveToXML(std::string_view name, pugi::xml_node node) const override;
    void LoadFromXML(std::string_view name, pugi::xml_node node) override;
    void Assign(const TLevelFileTable& other);

    TLevelFileCurve& AddCurve() { return Curves.Add(); }
    int GetCurvesCount() const { return Curves.Count(); }
    TLevelFileCurve& GetCurve(int i) { return Curves[i]; }
    const TLevelFileCurve& GetCurve(int i) const { return Curves[i]; }
    // The first curve named name (ignoring case), or null.
    TLevelFileCurve* FindCurve(std::string_view name);
    const TLevelFileCurve* FindCurve(std::string_view name) const;
    // Removes the curves that don't pass filter.
    void FilterCurves(const TLevelFileInternalFilter& filter);

    // "name"; curves from the "curve" children of "data" (each curve's Table is this
    // table's name unless it names another); rows from "rows".
    void ReadFromXml(pugi::xml_node node);
    // The views-list form of a table: "tname", "shownames" (when present), the columns from
    // "Fields", and one curve per "obj_info" child (see TLevelFilesList).
    void LoadCurvesFromWSViewsListXml(pugi::xml_node node);
};

class OSTRADB_API TLevelFilePlanshet : public Persistent {
public:
    std::string Name;

    const PropertyList& Properties() const override;
    void Assign(const TLevelFilePlanshet& other) { Name = other.Name; }
    // "name".
    void ReadFromXml(pugi::xml_node node);
};

// One ws file as seen from a level.
class OSTRADB_API TLevelFile : public TXmlSerializedCollectionItem {
public:
    std::string Name;       // the file's short name
    std::string ExtraPath;  // "extra_path"
    std::int32_t FileType = 0;
    std::string TrunkId;  // the trunk (well bore) of the file
    bool IsMain = false;
    std::int32_t FileId = -1;
    std::int32_t DbId = -1;        // the database, when the request named one
    std::int64_t Flags = 0;        // see FileFlagToString
    std::int64_t UserRights = -1;  // rights bit mask; -1 when the server sent none
    TStringList Params;            // key=value
    TStringList PathValues;        // the level values of the file's path, top first
    TStringList PathNames;         // lower-cased level type=value, when the structure fits
    Collection<TLevelFileTable> Tables;
    Collection<TLevelFilePlanshet> Planshets;

    // The serializer form holds every field above; Flags and UserRights, 64-bit, are written
    // by the hook since the generic form leaves 64-bit values out.
    const PropertyList& Properties() const override;
    void SaveToXML(std::string_view name, pugi::xml_node node) const override;
    void LoadFromXML(std::string_view name, pugi::xml_node node) override;
    void Assign(const TLevelFile& other);

    TLevelFileTable& AddTable() { return Tables.Add(); }
    int GetTablesCount() const { return Tables.Count(); }
    TLevelFileTable& GetTable(int i) { return Tables[i]; }
    const TLevelFileTable& GetTable(int i) const { return Tables[i]; }
    // The first table named name (ignoring case), or null.
    TLevelFileTable* FindTable(std::string_view name);
    const TLevelFileTable* FindTable(std::string_view name) const;
    TLevelFilePlanshet& AddPlanSheet() { return Planshets.Add(); }
    int GetPlanshetsCount() const { return Planshets.Count(); }
    TLevelFilePlanshet& GetPlanshet(int i) { return Planshets[i]; }
    const TLevelFilePlanshet& GetPlanshet(int i) const { return Planshets[i]; }

    // Rights known and without the right to change data.
    bool IsReadOnly() const;
    // No rights sent (nothing restricted), or viewing, changing data and adding or deleting
    // files all allowed.
    bool IsFullAccess() const;
    // Removes from every table the curves that don't pass filter.
    void FilterCurves(const TLevelFileInternalFilter& filter);

    // Reads one "file" element: "extra_path", "name", "type", "trunk_id" and "is_main" ("type"
    // and "is_main" required: EConvertError when missing or malformed; the texts read as
    // empty when missing); "file_id", "flags" and "UserRights" when present (-1, 0 and -1
    // otherwise); "params"/"param" ("key", "value") fill Params; then the children in order:
    // "planshet", "table" and "path".
    void ReadFromXml(pugi::xml_node node, const TDbStruct* structure);
    // Clears the path; one value per "item" child ("value"); PathNames only when structure
    // has exactly as many levels as values were read.
    void ReadPathFromXml(pugi::xml_node node, const TDbStruct* structure);
};

// "Содержит некорректные данные" for bit 1, "Находится по некорректному пути" for bit 2,
// "При загрузке данных произошла ошибка" for bit 4: the lowest of these bits set in flag
// decides; empty when none is set.
OSTRADB_API std::string FileFlagToString(std::int64_t flag);
// Adds to list the text of every set bit (0 to 31) that has one, lowest bit first.
OSTRADB_API void FileFlagsToString(std::int64_t flags, TStringList& list);

// The files of a level. Serializer form: the files under "Files".
class OSTRADB_API TLevelFilesList : public TXmlSerialized {
public:
    Collection<TLevelFile> Files;

    void SaveToXML(std::string_view name, pugi::xml_node node) const override;
    void LoadFromXML(std::string_view name, pugi::xml_node node) override;
    // Deep copy.
    void Assign(const TLevelFilesList& other);

    TLevelFile& Add() { return Files.Add(); }
    void Clear() { Files.Clear(); }
    int GetCount() const { return Files.Count(); }
    TLevelFile& GetItem(int i) { return Files[i]; }
    const TLevelFile& GetItem(int i) const { return Files[i]; }
    // The first file whose Name equals name ignoring case, or null.
    TLevelFile* FindByName(std::string_view name);
    const TLevelFile* FindByName(std::string_view name) const;
    // Clears list and adds every file's Name in order.
    void GetFileNames(TStringList& list) const;

    // Clears, then reads one file per child "file" of node; other children are skipped. A
    // missing required attribute raises EConvertError and leaves the files read so far.
    // structure (may be null) names the levels of the files' paths.
    void ReadFromXml(pugi::xml_node node, const TDbStruct* structure);
    // ReadFromXml, or LoadFromWSViewsListXml when wsViewsList is set.
    void ReadFromXml(pugi::xml_node node, const TDbStruct* structure, bool wsViewsList);

    // The views list of "get_ws_info". Clears, then one file per child "file":
    //   <file name="a.ws" extra_path="" type="1" trunk_id="T1" is_main="true" file_id="7">
    //     <plansheets><plansheet name="Основной"/></plansheets>
    //     <table_info tname="main" shownames="Основная">
    //       <Fields><Field Name="DEPTH"/><Field Name="GK"/></Fields>
    //       <obj_info name="GK" start="0" stop="10" step="0.1" nvers="1" keystr="k"
    //                 keyvalue="v" dclass="1" qualitymark="2" qualitymarkstr="2">
    //         <value name="DEPTH" value="10" type="float"/>
    //       </obj_info>
    //     </table_info>
    //   </file>
    // Every attribute is read when present (a malformed number raises EConvertError). An
    // "obj_info" gives a curve (the quality mark from "qualitymark", else from an integer
    // "qualitymarkstr", else 9999) and, when it holds "value" cells, a row. A file may also
    // hold "params" and "path" as in ReadFromXml (the path without level names).
    void LoadFromWSViewsListXml(pugi::xml_node node);

    // The exchange form for other applications: one "File" element per file into node:
    //   <File FileName="a.ws" TrunkId="T1">
    //     <Path><Item Name="%well" Value="12"/></Path>
    //     <Tables><Table Name="main"><Curves>
    //       <Curve VisibleName="#GK" Name="GK" Keystr="k" NVers="1"/>
    //     </Curves></Table></Tables>
    //   </File>
    // A path item's Name is the level type from PathNames (empty when the file has none).
    void SaveToApiXML_Ex(pugi::xml_node node) const;
    // Replaced by SaveToApiXML_Ex: always raises TSaveToApiXMLDepricated.
    [[noreturn]] void SaveToApiXML(pugi::xml_node node) const;
    // Clears, then reads the "File" children of node. A curve's data class comes back from
    // the mark of its VisibleName ("#" bed, "!" or "$" column).
    void LoadFromApiXML(pugi::xml_node node);
    // LoadFromApiXML of the root element of a document in text.
    void LoadFromApiXMLText(std::string_view text);

    // Sorts the files by their PathNames: level names in order of first appearance over all
    // files; "%well" values compared as well names, the others ignoring case. Not stable.
    void SmartSort();
};

// A flat list of curves, as applications keep them. Serializer form: the curves stand
// directly in the object's element.
class OSTRADB_API TFlatCurvesList : public TXmlSerialized {
public:
    Collection<TLevelFileCurve> Items;

    void SaveToXML(std::string_view name, pugi::xml_node node) const override;
    void LoadFromXML(std::string_view name, pugi::xml_node node) override;
    void Assign(const TFlatCurvesList& other) { Items.Assign(other.Items); }

    int GetCount() const { return Items.Count(); }
    TLevelFileCurve& GetItem(int i) { return Items[i]; }
    const TLevelFileCurve& GetItem(int i) const { return Items[i]; }
    TLevelFileCurve& Add() { return Items.Add(); }
    void Clear() { Items.Clear(); }
};

}  // namespace ostradb
