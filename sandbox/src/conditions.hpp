#pragma once

// Conditions on ws files: the filters clients send ("Filter" with "Item" children) and the
// conditions of the simple-text search ("items" with "filter" children).
//
// A filter item holds for a file when the file's attribute named by "Param" equals one of the
// values ("And": all of them); "Oper" "!=" and "Not" each negate it. The attributes known
// here: "%<level type>" (the file's value of that level), "tables", "curves" and "planshets"
// (the file has one of that name). Items with other keys do not narrow anything. Values
// compare ignoring letter case and may hold the wildcards "*" and "?".

#include <string>
#include <string_view>
#include <vector>

#include <pugixml.hpp>

namespace ostradb::sandbox {

struct Database;
struct WsFile;
struct WsMeta;

struct FilterItem {
    std::string key;
    std::string oper = "=";
    bool all = false;     // "And"
    bool negate = false;  // "Not"
    std::vector<std::string> values;
};

struct Filter {
    std::vector<FilterItem> items;
    bool Empty() const { return items.empty(); }
};

// The "Filter" child of node (an empty filter when there is none).
Filter ReadFilter(pugi::xml_node node);
bool Passes(const Filter& filter, const Database& db, const WsFile& file, const WsMeta& meta);

// One search: "databases" (names or ids, comma text; empty or "*": all), "tables" (the file
// has a table matching one of them; empty: no condition) and "*<name>" conditions, where name is a
// level type (with or without "%"), a level's display name, or a parameter of the file.
struct SearchRequest {
    std::vector<std::string> databases;
    std::vector<std::string> tables;
    std::vector<FilterItem> conditions;
};

SearchRequest ReadSearch(pugi::xml_node command);
bool SearchesDatabase(const SearchRequest& search, const Database& db);
bool Passes(const SearchRequest& search, const Database& db, const WsFile& file,
            const WsMeta& meta);

// Case-insensitive match with "*" (any run) and "?" (one character).
bool WildcardMatch(std::string_view mask, std::string_view text);

}  // namespace ostradb::sandbox
