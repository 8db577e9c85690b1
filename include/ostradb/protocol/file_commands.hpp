#pragma once

// What the file commands of TOstraDbProtocol send and fill: file times, short file
// information, attribute changes, the result log of deletions, and the files a database
// could not load.

#include <cstdint>
#include <string>
#include <string_view>

#include <pugixml.hpp>

#include "ostradb/export.hpp"
#include "ostradb/serial/properties.hpp"
#include "ostradb/serial/xml_serializer.hpp"
#include "ostradb/users/rights.hpp"
#include "ostradb/util/collection.hpp"
#include "ostradb/util/dates.hpp"

namespace ostradb {

// ---- File contents ------------------------------------------------------------------------

// What GetFileContentsEx learns about a file besides its bytes.
struct TFileInfo {
    std::string RealFileName;  // set only when the server names it
    TDateTime CreateTime = 0;
    TDateTime WriteTime = 0;
    TDateTime AccessTime = 0;
};

// ---- Short file information ---------------------------------------------------------------

class OSTRADB_API TSimpleFileInfoItem : public Persistent {
public:
    std::string FileName;
    std::int32_t Database = -1;  // the database's identifier
    bool IsReadOnly = false;
    TUserRights FileRights;

    // "FileName", "Database", "IsReadOnly", "FileRights" (a bit mask).
    const PropertyList& Properties() const override;
};

// Serialised as one "Item" per file.
class OSTRADB_API TSimpleFileInfoItems : public Collection<TSimpleFileInfoItem> {
public:
    // The first item with this name, ignoring letter case, or null.
    TSimpleFileInfoItem* Find(std::string_view FileName);
    const TSimpleFileInfoItem* Find(std::string_view FileName) const;
};

// ---- Attribute changes --------------------------------------------------------------------

enum EFileAttrValue : std::uint8_t { favNotChange, favSet, favReset };

class OSTRADB_API TFileNameAndAttr : public Persistent {
public:
    std::string FileName;
    EFileAttrValue ReadOnlyAttr = favNotChange;  // written by position: 0, 1, 2

    // "FileName", "ReadOnlyAttr".
    const PropertyList& Properties() const override;
};

// Serialised as one "Item" per file.
class OSTRADB_API TChangeFileAttrItems : public Collection<TFileNameAndAttr> {};

// ---- Result log ---------------------------------------------------------------------------

// The outcome of one item of a command on many files.
class OSTRADB_API TSimpleResultLogRec : public TXmlSerializedCollectionItem {
public:
    std::string ItemName;
    std::uint8_t Result = 0;  // 0 is success; otherwise the server's error code

    // "ItemName"; Result goes through the hooks as the attribute "Result".
    const PropertyList& Properties() const override;
    void SaveToXML(std::string_view name, pugi::xml_node node) const override;
    // A missing or malformed "Result" raises EConvertError.
    void LoadFromXML(std::string_view name, pugi::xml_node node) override;
};

// Serialised as one "Item" per record.
class OSTRADB_API TSimpleResultLog : public Collection<TSimpleResultLogRec> {
public:
    // Whether any record failed; false for an empty log.
    bool ContainsErrors() const;
};

// ---- Files a database could not load ------------------------------------------------------

class OSTRADB_API TErroneousFile : public TXmlSerializedCollectionItem {
public:
    std::int32_t Id = 0;
    std::string FileName;
    std::string ErrorMsg;
    TDateTime ChTime = 0;  // when the file was changed
    std::int32_t Flags = 0;

    // The attributes "id", "file_name", "error_msg", "ch_time" (a day count) and "flags"; a
    // missing or malformed number raises EConvertError.
    void SaveToXML(std::string_view name, pugi::xml_node node) const override;
    void LoadFromXML(std::string_view name, pugi::xml_node node) override;
};

class OSTRADB_API TErroneousFiles : public Collection<TErroneousFile> {
public:
    // One "Item" child of node per file (node itself holds the items).
    void SaveToXML(pugi::xml_node node) const;
    // Clears, then reads one file per "Item" child of node.
    void LoadFromXML(pugi::xml_node node);
};

}  // namespace ostradb
