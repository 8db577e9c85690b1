#include "conditions.hpp"

#include <optional>

#include "catalog.hpp"
#include "ostradb/util/string_list.hpp"
#include "ostradb/util/text.hpp"
#include "ws_files.hpp"

namespace ostradb::sandbox {

namespace {

std::u32string CodePoints(std::string_view utf8) {
    std::u32string out;
    out.reserve(utf8.size());
    for (std::size_t i = 0; i < utf8.size();) {
        const auto c = static_cast<unsigned char>(utf8[i]);
        const int length = c < 0x80 ? 1 : c < 0xE0 ? 2 : c < 0xF0 ? 3 : 4;
        char32_t cp = length == 1   ? c
                      : length == 2 ? (c & 0x1F)
                      : length == 3 ? (c & 0x0F)
                                    : (c & 0x07);
        for (int k = 1; k < length && i + static_cast<std::size_t>(k) < utf8.size(); ++k)
            cp = (cp << 6) |
                 (static_cast<unsigned char>(utf8[i + static_cast<std::size_t>(k)]) & 0x3F);
        out += cp;
        i += static_cast<std::size_t>(length);
    }
    return out;
}

bool Match(std::u32string_view mask, std::u32string_view text) {
    // Greedy matching with one back-track point for the last "*".
    std::size_t m = 0, t = 0, star = std::u32string_view::npos, mark = 0;
    while (t < text.size()) {
        if (m < mask.size() && (mask[m] == U'?' || mask[m] == text[t])) {
            ++m;
            ++t;
        } else if (m < mask.size() && mask[m] == U'*') {
            star = m++;
            mark = t;
        } else if (star != std::u32string_view::npos) {
            m = star + 1;
            t = ++mark;
        } else {
            return false;
        }
    }
    while (m < mask.size() && mask[m] == U'*')
        ++m;
    return m == mask.size();
}

std::vector<std::string> CommaList(std::string_view text) {
    TStringList list;
    list.SetCommaText(text);
    std::vector<std::string> out;
    for (int i = 0; i < list.Count(); ++i)
        if (!Trim(list[i]).empty()) out.push_back(Trim(list[i]));
    return out;
}

bool Negated(const FilterItem& item) {
    return (item.oper == "!=") != item.negate;
}

// Whether the values hold for one attribute value of the file.
bool ValuesMatch(const FilterItem& item, const std::string& actual) {
    if (item.all) {
        for (const std::string& value : item.values)
            if (!WildcardMatch(value, actual)) return false;
        return true;
    }
    for (const std::string& value : item.values)
        if (WildcardMatch(value, actual)) return true;
    return false;
}

// Whether the values hold for a set of names the file has (tables, curves, plansheets).
template <typename HasName>
bool NamesMatch(const FilterItem& item, const std::vector<std::string>& names, HasName has) {
    auto holds = [&](const std::string& value) {
        for (const std::string& name : names)
            if (WildcardMatch(value, name)) return true;
        return has(value);
    };
    if (item.all) {
        for (const std::string& value : item.values)
            if (!holds(value)) return false;
        return true;
    }
    for (const std::string& value : item.values)
        if (holds(value)) return true;
    return false;
}

std::vector<std::string> CurveNames(const WsMeta& meta) {
    std::vector<std::string> names;
    for (const TableInfo& table : meta.tables)
        for (const CurveInfo& curve : table.curves)
            names.push_back(curve.name);
    return names;
}

std::vector<std::string> TableNames(const WsMeta& meta) {
    std::vector<std::string> names;
    for (const TableInfo& table : meta.tables)
        names.push_back(table.name);
    return names;
}

// nullopt: the item says nothing about this file.
std::optional<bool> ItemHolds(const FilterItem& item, const Database& db, const WsFile& file,
                              const WsMeta& meta) {
    const auto none = [](const std::string&) { return false; };
    if (item.key.starts_with('%')) {
        const int level = db.LevelIndex(item.key);
        if (level < 0 || static_cast<std::size_t>(level) >= file.values.size()) return std::nullopt;
        return ValuesMatch(item, file.values[static_cast<std::size_t>(level)]);
    }
    if (SameText(item.key, "tables")) return NamesMatch(item, TableNames(meta), none);
    if (SameText(item.key, "curves")) return NamesMatch(item, CurveNames(meta), none);
    if (SameText(item.key, "planshets")) return NamesMatch(item, meta.planshets, none);
    return std::nullopt;
}

}  // namespace

bool WildcardMatch(std::string_view mask, std::string_view text) {
    return Match(CodePoints(LowerCase(mask)), CodePoints(LowerCase(text)));
}

Filter ReadFilter(pugi::xml_node node) {
    Filter filter;
    for (pugi::xml_node item : node.child("Filter").children("Item")) {
        FilterItem f;
        f.key = item.attribute("Param").as_string();
        f.oper = item.attribute("Oper").as_string("=");
        f.all = item.attribute("And").as_bool(false);
        f.negate = item.attribute("Not").as_bool(false);
        for (pugi::xml_node value : item.child("Items").children("Item"))
            f.values.emplace_back(value.text().get());
        if (f.key.empty() || f.values.empty()) continue;
        filter.items.push_back(std::move(f));
    }
    return filter;
}

bool Passes(const Filter& filter, const Database& db, const WsFile& file, const WsMeta& meta) {
    for (const FilterItem& item : filter.items) {
        const std::optional<bool> holds = ItemHolds(item, db, file, meta);
        if (holds && *holds == Negated(item)) return false;
    }
    return true;
}

SearchRequest ReadSearch(pugi::xml_node command) {
    SearchRequest search;
    for (pugi::xml_node node : command.child("items").children("filter")) {
        const std::string type = node.attribute("type").as_string();
        const std::string values = node.attribute("values").as_string();
        if (SameText(type, "databases")) {
            search.databases = CommaList(values);
        } else if (SameText(type, "tables")) {
            search.tables = CommaList(values);
        } else if (type.starts_with('*')) {
            FilterItem item;
            item.key = type.substr(1);
            item.oper = node.attribute("oper").as_string("=");
            item.values = CommaList(values);
            if (item.values.empty()) item.values.push_back(Trim(values));
            search.conditions.push_back(std::move(item));
        }
    }
    return search;
}

bool SearchesDatabase(const SearchRequest& search, const Database& db) {
    if (search.databases.empty()) return true;
    for (const std::string& value : search.databases)
        if (value == "*" || WildcardMatch(value, db.name) || value == std::to_string(db.id))
            return true;
    return false;
}

bool Passes(const SearchRequest& search, const Database& db, const WsFile& file,
            const WsMeta& meta) {
    if (!search.tables.empty()) {
        const std::vector<std::string> names = TableNames(meta);
        bool any = false;
        for (const std::string& table : search.tables)
            for (const std::string& name : names)
                any = any || WildcardMatch(table, name);
        if (!any) return false;
    }
    for (const FilterItem& condition : search.conditions) {
        // The attribute: a level (by type, with or without "%", or display name) or a parameter.
        std::optional<std::string> actual;
        for (std::size_t i = 0; i < db.levels.size() && i < file.values.size(); ++i) {
            const LevelDef& level = db.levels[i];
            const std::string_view bare =
                std::string_view(level.type).substr(level.type.starts_with('%') ? 1 : 0);
            if (SameText(level.type, condition.key) || SameText(bare, condition.key) ||
                SameText(level.realName, condition.key)) {
                actual = file.values[i];
                break;
            }
        }
        if (!actual)
            for (const auto& [key, value] : meta.params)
                if (SameText(key, condition.key)) {
                    actual = value;
                    break;
                }
        const bool holds = actual && ValuesMatch(condition, *actual);
        if (holds == (condition.oper == "!=")) return false;
    }
    return true;
}

}  // namespace ostradb::sandbox
