#pragma once

// Request flags and small result types of the level, filter and column commands of
// TOstraDbProtocol.

#include <cstdint>
#include <string>

#include <pugixml.hpp>

#include "ostradb/export.hpp"
#include "ostradb/util/collection.hpp"
#include "ostradb/util/set.hpp"
#include "ostradb/util/string_list.hpp"

namespace ostradb {

// The model classes these commands fill or send.
class TDatabase;
class TDatabaseInfo;
class TDbLogicalStruct;
class TDbStruct;
class TFilter;
class TLevelFilesList;
class TLevelsList;
class TTableColumnNames;

// What a level-file request asks the server to include or to do. Every flag goes out as its
// own "true"/"false" attribute, included or not.
enum EReqFilesFlags : std::uint8_t {
    rffInclTables,        // "include_tables"
    rffInclCurves,        // "include_curves"
    rffInclFilePath,      // "include_path"
    rffInclPlanshets,     // "include_plansh"
    rffUseFilters,        // "use_filters"
    rffIgnoreDicts,       // "ignore_dicts"
    rffIncludeRowValues,  // "include_row_values"
};
using TReqFilesFlags = Set<EReqFilesFlags>;

// How many files a filter leaves of a database.
struct TFilterStatistics {
    std::int32_t TotalFiles = 0;
    std::int32_t FilteredFiles = 0;
};

// One curve of the level files in scope, with the plansheets that show it.
class OSTRADB_API TSimpleCurvesListItem {
public:
    std::string Name;
    std::string Table;
    TStringList Planshets;
    std::int32_t Count = 0;
    std::string Version;

    // Reads "name", "table", "count" (required: EConvertError when missing or malformed) and
    // "version"; the plansheets are the "name" attributes of the children named exactly
    // "planshet", in order.
    void ReadFromXml(pugi::xml_node node);
    void Assign(const TSimpleCurvesListItem& other);
};

class OSTRADB_API TSimpleCurvesList {
public:
    Collection<TSimpleCurvesListItem> Items;

    int GetCount() const { return Items.Count(); }
    TSimpleCurvesListItem& GetItem(int i) { return Items[i]; }
    const TSimpleCurvesListItem& GetItem(int i) const { return Items[i]; }
    void Clear() { Items.Clear(); }

    // Clears, then reads one item per child named exactly "curve"; other children are
    // skipped. A failed read leaves the items read so far, the failing one included.
    void ReadFromXml(pugi::xml_node node);
};

}  // namespace ostradb
