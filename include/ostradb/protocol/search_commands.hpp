#pragma once

// Requests and results of the search commands of TOstraDbProtocol: files by conditions,
// level values by words, curves by name and type, and the files of one well.

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

class PropertyList;
// Taken and filled by the search commands (ostradb/model/databases.hpp, level_files.hpp).
class TDatabase;
class TLevelFilesList;

// ---- Searching files by conditions ("search") ---------------------------------------------

// One condition: the searched attribute, the operator and the values.
class OSTRADB_API TSearchItem {
public:
    std::string Type;
    std::string Oper;
    std::string Values;
};

class OSTRADB_API TSearchRequest {
public:
    TSearchItem& Add(std::string Type, std::string Oper, std::string Values);
    void Clear() { Items.Clear(); }
    int GetCount() const { return Items.Count(); }
    TSearchItem& GetItem(int i) { return Items[i]; }
    const TSearchItem& GetItem(int i) const { return Items[i]; }

    // Appends to node a child "items" with one "filter" per condition, carrying "type",
    // "oper" and "values".
    void ToXmlNode(pugi::xml_node node) const;
    // Replaces the conditions by those of a query text of at least three lines: the
    // databases, the tables, then one "name=value" per line (empty lines skipped), which
    // becomes the type "*name" with the operator "=". A line is split at its first "=" and
    // needs a value after it. A shorter text or a malformed line raises Error; the conditions
    // read before it stay.
    void ReadFromSimpleText(std::string_view Text);

    Collection<TSearchItem> Items;
};

// ---- Searching level values by words ("search_levels2") -----------------------------------
//
// Serializer form of the answer's "Result":
//   <Result HasMoreResult="1">
//     <Items><Item>
//       <WellLevels><Item>Field 1</Item><Item>12</Item></WellLevels>
//       <SurveyLevels><Item LevelType="%survey">
//         <SurveyValues><Item>GIS 2001</Item></SurveyValues>
//         <AllValues><Item>GIS 1999</Item><Item>GIS 2001</Item></AllValues>
//       </Item></SurveyLevels>
//     </Item></Items>
//   </Result>

// A level below the well (a non-key level) of a found well.
class OSTRADB_API TSearchedSurveyLevel : public Persistent {
public:
    std::string LevelType;     // "LevelType": the level's type in the database structure
    TStringList SurveyValues;  // "SurveyValues": the values of this level that matched
    TStringList AllValues;     // "AllValues": every value of this level under the well

    const PropertyList& Properties() const override;
};

// One found well.
class OSTRADB_API TSearchLevelsItem : public Persistent {
public:
    TStringList WellLevels;  // "WellLevels": the key level values down to the well, in order
    Collection<TSearchedSurveyLevel> SurveyLevels;  // "SurveyLevels": the non-key levels

    int GetNonKeyCount() const { return SurveyLevels.Count(); }
    const TSearchedSurveyLevel& GetNonKeyItem(int i) const { return SurveyLevels[i]; }

    const PropertyList& Properties() const override;
};

class OSTRADB_API TSearchLevelsResult : public Persistent {
public:
    bool HasMoreResult = false;  // the server found more than it sent; false when not said
    Collection<TSearchLevelsItem> Items;
    // The server's "exec_time" of the request that filled this result (not part of the
    // serializer form).
    double ExecTime = 0;

    int GetCount() const { return Items.Count(); }
    const TSearchLevelsItem& GetItem(int i) const { return Items[i]; }

    const PropertyList& Properties() const override;
};

// ---- Searching curves ("find_curves") ------------------------------------------------------

enum TFindCurveSearchItemType : std::uint8_t { fcsitNone, fcsitCurve, fcsitColumn, fcsitBed };

class OSTRADB_API TFindCurveSearchItem : public Persistent {
public:
    std::string Table;
    std::string Curve;
    TFindCurveSearchItemType CurvType = fcsitNone;

    const PropertyList& Properties() const override;
};

// A named group of curves; a result curve names the group it matched ("SearchGroup").
class OSTRADB_API TFindCurveSearchGroup : public Persistent {
public:
    std::string Name;
    Collection<TFindCurveSearchItem> Items;  // "Items"

    TFindCurveSearchItem& AddCurve(std::string Table, std::string Curve,
                                   TFindCurveSearchItemType CurvType);

    const PropertyList& Properties() const override;
};

// Serializer form: "OnPlanshOnly" and "AllCurves" (0 or 1), then the children "Files" and
// "Groups".
class OSTRADB_API TFindCurveSearchArguments : public Persistent {
public:
    bool OnPlanshOnly = false;
    bool AllCurves = false;
    TStringList Files;  // the files to search, server file names
    Collection<TFindCurveSearchGroup> Groups;

    TFindCurveSearchGroup& NewGroup(std::string Name);
    void AddFile(std::string FileName) { Files.Add(std::move(FileName)); }

    const PropertyList& Properties() const override;
};

class OSTRADB_API TFindCurveResultCurve : public Persistent {
public:
    std::string SearchGroup;  // the name of the group the curve matched
    std::int32_t ObjDPos = 0;
    std::int32_t TableMStart = 0;

    const PropertyList& Properties() const override;
};

using TFindCurveResultCurves = Collection<TFindCurveResultCurve>;

class OSTRADB_API TFindCurveResultFile : public Persistent {
public:
    std::string FileName;  // FindCurves turns the server's short name into a full name
    std::int32_t DbId = -1;
    TFindCurveResultCurves Curves;

    const PropertyList& Properties() const override;
};

// Serializer form: the files under "Files".
class OSTRADB_API TFindCurveResult : public Persistent {
public:
    Collection<TFindCurveResultFile> Files;

    int GetFilesCount() const { return Files.Count(); }
    TFindCurveResultFile& GetFile(int i) { return Files[i]; }
    const TFindCurveResultFile& GetFile(int i) const { return Files[i]; }

    const PropertyList& Properties() const override;
};

// ---- The files of one well ("find_files_for_well") -----------------------------------------

enum EFindFilesForWellOpts : std::uint8_t {
    fffwoIncludeAllWsFiles,  // "InclAllWsFiles"
    fffwoUseNonKeylevels,    // "UseNonKeylevels"
};
using TFindFilesForWellOpts = Set<EFindFilesForWellOpts>;

}  // namespace ostradb
