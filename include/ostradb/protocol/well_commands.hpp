#pragma once

// Results and options of the well-content commands of TOstraDbProtocol: curves, tables,
// plansheets, units, collections, dictionaries, stratum data, indexes of ws files, and the
// server's parsing of file names into database levels. The result classes are read from the
// answers by the serializer (ostradb/serial/xml_serializer.hpp).

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include <pugixml.hpp>

#include "ostradb/export.hpp"
#include "ostradb/serial/persistent.hpp"
#include "ostradb/serial/xml_serializer.hpp"
#include "ostradb/util/collection.hpp"
#include "ostradb/util/dates.hpp"
#include "ostradb/util/set.hpp"
#include "ostradb/util/string_list.hpp"

namespace ostradb {

class PropertyList;
class TLevelFilesList;  // filled by "get_ws_info" (ostradb/model/level_files.hpp)

// ---- Stratum (layer) data --------------------------------------------------------------------

// One stratum value of one file.
class OSTRADB_API TStratumItem : public Persistent {
public:
    std::string Table;  // the table that holds the stratum
    std::string Ident;  // the stratum identifier (column)
    float Top = 0;
    float Bottom = 0;
    float AbsTop = 0;  // absolute (true vertical) depths
    float AbsBottom = 0;
    std::int32_t Version = 0;
    std::string Value;  // the layer's name
    std::string PlanName;

    const PropertyList& Properties() const override;
    void Assign(const TStratumItem& other);
    // Table, Ident and Value all equal to the given ones, ignoring letter case.
    bool IsEquals(std::string_view ATable, std::string_view AIdent, std::string_view AValue) const;
};

// The stratum data of one file. Serializer form: "FileName" and the items under "Items".
class OSTRADB_API TStratumData : public TXmlSerializedCollectionItem {
public:
    std::string FileName;
    Collection<TStratumItem> Items;

    const PropertyList& Properties() const override;
    void Assign(const TStratumData& other);

    void Clear() { Items.Clear(); }
    int Count() const { return Items.Count(); }
    TStratumItem& Item(int i) { return Items[i]; }
    const TStratumItem& Item(int i) const { return Items[i]; }

    // Look-ups over the items in order, ignoring letter case (Cyrillic included).
    bool TableExists(std::string_view Table) const;
    bool IdentExists(std::string_view Table, std::string_view Ident) const;
    // The first item with that table, identifier and value, or null.
    const TStratumItem* FindValue(std::string_view Table, std::string_view Ident,
                                  std::string_view Value) const;
};

// The stratum data of several files. Serializer form: the files stand directly in the
// object's element.
class OSTRADB_API TStratumDataItems : public TXmlSerialized {
public:
    Collection<TStratumData> Items;

    void SaveToXML(std::string_view name, pugi::xml_node node) const override;
    void LoadFromXML(std::string_view name, pugi::xml_node node) override;

    int Count() const { return Items.Count(); }
    TStratumData& Item(int i) { return Items[i]; }
    const TStratumData& Item(int i) const { return Items[i]; }
};

// ---- Curves ---------------------------------------------------------------------------------

// What "get_curves_list" includes, and which columns TCurvesList::SaveToStrings writes.
enum ECurvesListOpts : std::uint8_t {
    cloIncludeTable,
    cloIncludeVersion,
    cloIncludeCount,
    cloOnPlanshOnly,  // only curves shown on a plansheet; adds no column
    cloIncludeOnPlanCount,
    cloIncludeKeyColumns,
    cloIncludeKeyValues,
    cloIncludeTopBottomStep,
    cloIncludeUnits,
    cloIncludeFileNames,
};
using TCurvesListOpts = Set<ECurvesListOpts>;

// One curve found in a file.
class OSTRADB_API TCurvesListItem : public Persistent {
public:
    std::string Curve;
    std::string Table;
    std::string Version;
    std::int32_t Count = -1;        // number of values
    std::int32_t OnPlanCount = -1;  // number of plansheets that show the curve
    std::string KeyColumns;
    std::string KeyValues;
    std::int32_t Top = 0;
    std::int32_t Bottom = 0;
    std::int32_t Step = 0;
    std::string Units;
    std::string FileName;

    const PropertyList& Properties() const override;
};

// Serializer form: the curves stand directly in the object's element.
class OSTRADB_API TCurvesList : public TXmlSerialized {
public:
    Collection<TCurvesListItem> Items;

    void SaveToXML(std::string_view name, pugi::xml_node node) const override;
    void LoadFromXML(std::string_view name, pugi::xml_node node) override;

    int Count() const { return Items.Count(); }
    TCurvesListItem& Item(int i) { return Items[i]; }
    const TCurvesListItem& Item(int i) const { return Items[i]; }

    // Replaces List by one line per curve: the curve name in upper case, then, each after
    // Separator and always in this order whatever the order of Opts: the table in upper
    // case, the version, the count, the plansheet count, the key columns, the key values,
    // top, bottom and step joined by "¦", the units, the file name, each only when its
    // option is in Opts.
    void SaveToStrings(TStringList& List, TCurvesListOpts Opts, std::string_view Separator) const;
};

// ---- Well information, dictionaries, file-name parsing ----------------------------------------

// What "get_ws_info" includes.
enum EWsInfoOptions : std::uint8_t { wsoCurves, wsoBedCurves, wsoLitho, wsoStrat };
using TWsInfoOptions = Set<EWsInfoOptions>;

// Direction of a dictionary look-up.
enum EDictMode : std::uint8_t { dmCode, dmDecode };

enum EParseFNOptions : std::uint8_t { pfnoUseExtraHierarchy };
using TParseFNOptions = Set<EParseFNOptions>;

// One level of the database hierarchy that a file name resolves to.
class OSTRADB_API TParseFileNamePathItem : public Persistent {
public:
    std::string LevelType;

    const TStringList& GetLevelValues() const { return levelValues_; }
    TStringList& LevelValues() { return levelValues_; }

    const PropertyList& Properties() const override;
    void Assign(const TParseFileNamePathItem& other);

private:
    TStringList levelValues_;
};

// One parsed file. Serializer form: "FileName", "Database" and the levels under "Items".
class OSTRADB_API TParseFileNameResultItem : public TXmlSerializedCollectionItem {
public:
    std::string FileName;
    std::string Database;
    Collection<TParseFileNamePathItem> Items;

    const PropertyList& Properties() const override;
    void Assign(const TParseFileNameResultItem& other);

    int Count() const { return Items.Count(); }
    const TParseFileNamePathItem& PathValue(int i) const { return Items[i]; }
    // The first level whose type equals LevelType ignoring case, or null.
    const TParseFileNamePathItem* FindByType(std::string_view LevelType) const;
};

// Serializer form: the files stand directly in the object's element.
class OSTRADB_API TParseFileNameResult : public TXmlSerialized {
public:
    Collection<TParseFileNameResultItem> Items;

    void SaveToXML(std::string_view name, pugi::xml_node node) const override;
    void LoadFromXML(std::string_view name, pugi::xml_node node) override;

    int Count() const { return Items.Count(); }
    const TParseFileNameResultItem& Item(int i) const { return Items[i]; }
};

// ---- Collections and stratum texts ----------------------------------------------------------

class OSTRADB_API TGetCollectionsListResultItem : public Persistent {
public:
    std::string CollectionName;
    std::string CommonName;

    const PropertyList& Properties() const override;
    // CollectionName + "." + CommonName.
    std::string ToString() const;
};

// Read only: the items are read straight from the given element; saving writes nothing.
class OSTRADB_API TGetCollectionsListResult : public TXmlSerialized {
public:
    Collection<TGetCollectionsListResultItem> Items;

    void SaveToXML(std::string_view name, pugi::xml_node node) const override;
    void LoadFromXML(std::string_view name, pugi::xml_node node) override;

    int Count() const { return Items.Count(); }
    const TGetCollectionsListResultItem& Item(int i) const { return Items[i]; }
};

// A file whose stratum text needs fixing, and how many of its stratum identifiers repeat.
class OSTRADB_API TGetStartTextAndWrongFileItem : public Persistent {
public:
    std::string FileName;
    std::int32_t SameIdentCount = -1;

    const PropertyList& Properties() const override;
};

// Read only: "FilesToFix", then "Names", from the given element; saving writes nothing.
class OSTRADB_API TGetStartTextAndInfoResult : public TXmlSerialized {
public:
    Collection<TGetStartTextAndWrongFileItem> FilesToFixItems;
    TStringList Names;

    void SaveToXML(std::string_view name, pugi::xml_node node) const override;
    void LoadFromXML(std::string_view name, pugi::xml_node node) override;

    int FilesToFixCount() const { return FilesToFixItems.Count(); }
    const TGetStartTextAndWrongFileItem& FilesToFix(int i) const { return FilesToFixItems[i]; }
};

// ---- Index of a ws file ---------------------------------------------------------------------

// The answer of "get_ws_index". The record shares the answer document, so ObjIndex stays valid
// as long as the record (or a copy of it) holds the document; Clear releases both.
struct OSTRADB_API TGetWsIndexResult {
    std::shared_ptr<pugi::xml_document> AnswerDoc;
    pugi::xml_node ObjIndex;  // the answer's "ObjIndex" element, inside *AnswerDoc

    void Clear() {
        ObjIndex = pugi::xml_node();
        AnswerDoc.reset();
    }
};

}  // namespace ostradb
