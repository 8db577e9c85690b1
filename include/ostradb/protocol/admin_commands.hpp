#pragma once

// Request and result classes of the administration commands: the server's message log, its
// named options, and the file statistics of a database with their tabular text form.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <pugixml.hpp>

#include "ostradb/export.hpp"
#include "ostradb/serial/xml_serializer.hpp"
#include "ostradb/util/collection.hpp"
#include "ostradb/util/dates.hpp"
#include "ostradb/util/string_list.hpp"

namespace ostradb {

class PropertyList;
class TDatabase;
class TFilter;
class TUmData;

// ---- Server log -------------------------------------------------------------------------

// One message of the server log.
class OSTRADB_API TServerLogRecord {
public:
    std::int32_t Id = -1;
    std::int32_t MsgType = -1;  // the server's own message codes
    std::string User;           // who caused the message
    std::string Addr;           // the client's address
    std::string Text;
    TDateTime Time = 0;
};

class OSTRADB_API TServerLog {
public:
    Collection<TServerLogRecord> Items;

    int Count() const { return Items.Count(); }
    TServerLogRecord& Item(int i) { return Items[i]; }
    const TServerLogRecord& Item(int i) const { return Items[i]; }

    // Clears, then one record per child named exactly "item": "id" and "type" (integers),
    // "user", "addr", "text", "time" (a day count). A missing or malformed number raises
    // EConvertError, leaving the records read so far and the failing one as far as it got.
    void ReadFromXml(pugi::xml_node Node);
};

// What RequestLog accepts to narrow the log. The server chooses what it returns, so the
// request carries none of it and the class holds nothing.
class OSTRADB_API TServerLogFilter {};

// ---- Server options ---------------------------------------------------------------------

class OSTRADB_API TServerOption : public Persistent {
public:
    std::string Name;
    std::string Value;

    const PropertyList& Properties() const override;
};

// Named server options. Serializer form: the options stand directly in the object's element.
class OSTRADB_API TServerOptions : public TXmlSerialized {
public:
    Collection<TServerOption> Items;

    void SaveToXML(std::string_view name, pugi::xml_node node) const override;
    void LoadFromXML(std::string_view name, pugi::xml_node node) override;

    int Count() const { return Items.Count(); }
    TServerOption& Item(int i) { return Items[i]; }
    const TServerOption& Item(int i) const { return Items[i]; }
    void Clear() { Items.Clear(); }

    // The first option named Name (ignoring case), or null.
    TServerOption* FindByName(std::string_view Name);
    const TServerOption* FindByName(std::string_view Name) const;
    // The option's value; empty when there is no such option.
    std::string GetOption(std::string_view Name) const;
    // The option's value as an integer; 0 when absent or not a number.
    std::int32_t GetInteger(std::string_view Name) const;
    // Sets the value of the option found by name, or appends a new option.
    void SetOption(std::string_view Name, std::string_view Value);
    void SetInteger(std::string_view Name, std::int32_t N);
};

// ---- File statistics --------------------------------------------------------------------

// One value column of the statistics table.
class OSTRADB_API TFilesStatResultHatValueItem {
public:
    std::int32_t ValueType = 0;  // the server's own codes
    std::string Name;
};

// The head of the table: the text columns (the grouping levels) and then the value columns.
class OSTRADB_API TFilesStatResultHat {
public:
    Collection<TFilesStatResultHatValueItem> Items;  // the value columns
    TStringList TextColumns;                         // captions of the text columns

    int Count() const { return Items.Count(); }
    TFilesStatResultHatValueItem& Item(int i) { return Items[i]; }
    const TFilesStatResultHatValueItem& Item(int i) const { return Items[i]; }

    // Clears both, then the "item" children of the child "values" ("type", "name") and those
    // of the child "text" ("value"). A missing or malformed "type" raises EConvertError.
    void ReadFromXml(pugi::xml_node Node);
};

// One row: its grouping values, one number per value column, and the files when requested.
class OSTRADB_API TFilesStatResultLine {
public:
    std::vector<std::int32_t> Values;
    TStringList Texts;
    TStringList Files;
    std::string Name;

    // Values from the attributes v1 to vCount of the child "values" (a missing or malformed
    // one raises EConvertError); Texts and Files from the "item" children ("value") of the
    // children "text" and "files"; Name from "name".
    void ReadFromXml(pugi::xml_node Node, int Count);
    // Writes nothing: rows carry no quality data of their own.
    void QualitiesToStrings(TStringList& Lines) const;
};

class OSTRADB_API TFilesStatResultLines {
public:
    Collection<TFilesStatResultLine> Items;

    int Count() const { return Items.Count(); }
    TFilesStatResultLine& Item(int i) { return Items[i]; }
    const TFilesStatResultLine& Item(int i) const { return Items[i]; }

    // Clears, then one row per child named "line", each with ValueCount values.
    void ReadFromXml(pugi::xml_node Node, int ValueCount);
};

class OSTRADB_API TFilesStatResult {
public:
    TFilesStatResultHat Hat;
    TFilesStatResultLines Lines;
    // Data-quality rows: check kind, rule, status and remark count, tab-separated.
    TStringList Qualities;

    // Reads the child "files_stat" of Answer: its "hat", its "lines" and its "quality" items.
    void ReadFromXml(pugi::xml_node Answer);
    // Appends the table as tab-separated lines, for pasting into a spreadsheet: a caption, the
    // head, one line per row, the files of each row that has some, and the quality rows.
    void ToStrings(TStringList& Strings) const;
};

}  // namespace ostradb
