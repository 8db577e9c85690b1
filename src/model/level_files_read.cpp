#include "model/level_files_read.hpp"

#include <cstring>
#include <string_view>

#include "ostradb/model/db_struct.hpp"
#include "ostradb/serial/xml.hpp"
#include "ostradb/util/numbers.hpp"
#include "ostradb/util/text.hpp"
#include "serial/xml_record.hpp"

namespace ostradb::detail {

namespace {

// Element and attribute names are short: an inline loop beats a call to strcmp.
bool Is(const char* a, const char* b) {
    for (; *a == *b; ++a, ++b)
        if (*a == '\0') return true;
    return false;
}

template <class Node>
bool IsElement(Node node, const char* name) {
    return node.type() == pugi::node_element && Is(node.name(), name);
}

// Conversions of attribute text found by a walk over the attributes. A missing (null) or
// malformed text falls back to the XML layer, which raises the conversion error naming the
// attribute.
template <class Node>
std::int32_t ToInt(Node node, const char* name, const char* text) {
    std::int32_t v;
    if (text && TryStrToInt(text, v)) return v;
    return xml::AttrInt(node, name);
}

template <class Node>
std::int64_t ToInt64(Node node, const char* name, const char* text) {
    std::int64_t v;
    if (text && TryStrToInt64(text, v)) return v;
    return xml::AttrInt64(node, name);
}

// Plain decimals ("2500", "-12.75") with at most 15 digits convert exactly as the digits
// divided by a power of ten (both exact doubles, so the quotient is correctly rounded); any
// other form returns false and takes the general conversion.
bool PlainDecimal(const char* s, double& value) {
    static constexpr double kPow10[] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                        1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
    const bool negative = *s == '-';
    if (negative) ++s;
    std::uint64_t digits = 0;
    int count = 0, fraction = 0;
    bool point = false;
    for (;; ++s) {
        const char c = *s;
        if (c >= '0' && c <= '9') {
            if (++count > 15) return false;
            digits = digits * 10 + static_cast<unsigned>(c - '0');
            fraction += point;
        } else if (c == '.' && !point) {
            point = true;
        } else if (c == '\0') {
            break;
        } else {
            return false;
        }
    }
    if (count == 0) return false;
    value = static_cast<double>(digits) / kPow10[fraction];
    if (negative) value = -value;
    return true;
}

template <class Node>
float ToSingle(Node node, const char* name, const char* text) {
    double v;
    if (!text || (!PlainDecimal(text, v) && !TryStrToFloat(text, v)))
        v = xml::AttrFloat(node, name);
    return static_cast<float>(v);
}

template <class Node>
bool ToBool(Node node, const char* name, const char* text) {
    if (text && Is(text, "true")) return true;
    if (text && Is(text, "false")) return false;
    return xml::AttrBool(node, name);
}

const char* OrEmpty(const char* text) {
    return text ? text : "";
}

std::string Pair(std::string_view name, std::string_view value) {
    std::string s;
    s.reserve(name.size() + 1 + value.size());
    s.append(name);
    s += '=';
    s.append(value);
    return s;
}

// The values of the attributes names[0..N-1] of an element, found in one walk (null when
// absent; the first of duplicates counts). Servers write attributes in a fixed order, so the
// name after the last match is tried first and a walk costs about one comparison per
// attribute.
template <std::size_t N>
struct Attrs {
    const char* values[N] = {};

    template <class Node>
    Attrs(Node node, const char* const (&names)[N]) {
        std::size_t next = 0;
        for (auto a = node.first_attribute(); a; a = a.next_attribute()) {
            const char* n = a.name();
            std::size_t i = next;
            if (i >= N || !Is(n, names[i]))
                for (i = 0; i < N && (values[i] || !Is(n, names[i])); ++i) {
                }
            if (i == N) continue;
            if (!values[i]) values[i] = a.value();
            next = i + 1;
        }
    }
    const char* operator[](std::size_t i) const { return values[i]; }
};

constexpr const char* kParamAttrs[] = {"key", "value"};
constexpr const char* kValueAttr[] = {"value"};

template <class Node>
std::size_t CountElements(Node parent, const char* name) {
    std::size_t n = 0;
    for (Node c = parent.first_child(); c; c = c.next_sibling())
        n += IsElement(c, name);
    return n;
}

// Lists are built at their final size and handed over whole: a string list grows one line
// at a time, which costs a reallocation per doubling.
template <class Node>
void ReadParams(TLevelFile& file, Node params) {
    std::vector<std::string> lines;
    lines.reserve(CountElements(params, "param"));
    for (Node p = params.first_child(); p; p = p.next_sibling()) {
        if (!IsElement(p, "param")) continue;
        const Attrs<2> a(p, kParamAttrs);
        lines.push_back(Pair(OrEmpty(a[0]), OrEmpty(a[1])));
    }
    file.Params = TStringList(std::move(lines));
}

template <class Node>
void ReadCurvePlanshets(TLevelFileCurve& curve, Node planshets) {
    for (Node p = planshets.first_child(); p; p = p.next_sibling())
        if (IsElement(p, "item")) curve.Planshets.Add(p.attribute("name").value());
}

enum CurveAttr : std::size_t {
    caName,
    caStart,
    caStop,
    caStep,
    caNVers,
    caKeystr,
    caKeyValue,
    caDClass,
    caTable,
    caQualityMark,     // "quality_mark"
    caQualityMark2,    // "qualitymark" (views list)
    caQualityMarkStr,  // "qualitymarkstr" (views list)
};
constexpr const char* kCurveAttrs[] = {"name",  "start",        "stop",        "step",
                                       "nvers", "keystr",       "keyvalue",    "dclass",
                                       "table", "quality_mark", "qualitymark", "qualitymarkstr"};
using CurveAttrs = Attrs<std::size(kCurveAttrs)>;

enum FileAttr : std::size_t {
    faExtraPath,
    faName,
    faType,
    faTrunkId,
    faIsMain,
    faFileId,
    faFlags,
    faUserRights,
};
constexpr const char* kFileAttrs[] = {"extra_path", "name",    "type",  "trunk_id",
                                      "is_main",    "file_id", "flags", "UserRights"};

}  // namespace

PathLevels::PathLevels(const TDbStruct* structure) : given(structure != nullptr) {
    if (!structure) return;
    names.reserve(static_cast<std::size_t>(structure->GetItemsCount()));
    for (int i = 0; i < structure->GetItemsCount(); ++i)
        names.push_back(LowerCase(structure->GetItem(i).Type));
}

template <class Node>
void ReadPath(TLevelFile& file, Node node, const PathLevels& levels) {
    std::vector<std::string> values;
    values.reserve(CountElements(node, "item"));
    for (Node c = node.first_child(); c; c = c.next_sibling())
        if (IsElement(c, "item")) values.emplace_back(OrEmpty(Attrs<1>(c, kValueAttr)[0]));
    std::vector<std::string> names;
    if (levels.given && levels.names.size() == values.size()) {
        names.reserve(values.size());
        for (std::size_t i = 0; i < values.size(); ++i)
            names.push_back(Pair(levels.names[i], values[i]));
    }
    file.PathValues = TStringList(std::move(values));
    file.PathNames = TStringList(std::move(names));
}

template <class Node>
void ReadCurve(TLevelFileCurve& curve, Node node) {
    const CurveAttrs a(node, kCurveAttrs);
    curve.Name = OrEmpty(a[caName]);
    curve.Start = ToSingle(node, "start", a[caStart]);
    curve.Stop = ToSingle(node, "stop", a[caStop]);
    curve.Step = ToSingle(node, "step", a[caStep]);
    curve.NVers = ToInt(node, "nvers", a[caNVers]);
    curve.Keystr = OrEmpty(a[caKeystr]);
    if (a[caKeyValue]) curve.Keystr2 = a[caKeyValue];
    curve.DClass = ToInt(node, "dclass", a[caDClass]);
    if (a[caTable]) curve.Table = a[caTable];
    curve.QualityMark = a[caQualityMark] ? ToInt(node, "quality_mark", a[caQualityMark]) : 9999;
    curve.Planshets.Clear();
    ReadCurvePlanshets(curve, node.child("planshets"));
}

template <class Node>
void ReadRowCells(TLevelFileRow& row, Node node) {
    row.Values.Clear();
    for (Node c = node.first_child(); c; c = c.next_sibling()) {
        if (!IsElement(c, "value")) continue;
        TTableValue& cell = row.Values.Add();
        cell.Name = c.attribute("name").value();
        cell.Value = c.attribute("value").value();
        cell.Type = c.attribute("type").value();
    }
}

template <class Node>
void ReadTable(TLevelFileTable& table, Node node) {
    table.Name = node.attribute("name").value();
    table.Curves.Clear();
    for (Node c = node.child("data").first_child(); c; c = c.next_sibling()) {
        if (!IsElement(c, "curve")) continue;
        TLevelFileCurve& curve = table.Curves.Add();
        curve.Table = table.Name;
        ReadCurve(curve, c);
    }
    table.Rows.Clear();
    for (Node c = node.child("rows").child("row"); c; c = c.next_sibling("row"))
        ReadRowCells(table.Rows.Add(), c);
}

template <class Node>
void ReadFile(TLevelFile& file, Node node, const PathLevels& levels) {
    file.Tables.Clear();
    file.Planshets.Clear();
    file.Params.Clear();

    const Attrs<std::size(kFileAttrs)> a(node, kFileAttrs);
    file.ExtraPath = OrEmpty(a[faExtraPath]);
    file.Name = OrEmpty(a[faName]);
    file.FileType = ToInt(node, "type", a[faType]);
    file.TrunkId = OrEmpty(a[faTrunkId]);
    file.IsMain = ToBool(node, "is_main", a[faIsMain]);
    file.FileId = a[faFileId] ? ToInt(node, "file_id", a[faFileId]) : -1;
    file.Flags = a[faFlags] ? ToInt64(node, "flags", a[faFlags]) : 0;
    file.UserRights = a[faUserRights] ? ToInt64(node, "UserRights", a[faUserRights]) : -1;

    bool paramsRead = false;
    for (Node c = node.first_child(); c; c = c.next_sibling()) {
        if (c.type() != pugi::node_element) continue;
        const char* n = c.name();
        if (Is(n, "table")) {
            ReadTable(file.Tables.Add(), c);
        } else if (Is(n, "path")) {
            ReadPath(file, c, levels);
        } else if (Is(n, "planshet")) {
            file.Planshets.Add().Name = c.attribute("name").value();
        } else if (!paramsRead && Is(n, "params")) {
            paramsRead = true;
            ReadParams(file, c);
        }
    }
}

// Both forms of answer: parsed whole, and streamed.
#define OSTRADB_READERS(Node)                                     \
    template void ReadFile(TLevelFile&, Node, const PathLevels&); \
    template void ReadPath(TLevelFile&, Node, const PathLevels&); \
    template void ReadTable(TLevelFileTable&, Node);              \
    template void ReadCurve(TLevelFileCurve&, Node);              \
    template void ReadRowCells(TLevelFileRow&, Node);
OSTRADB_READERS(pugi::xml_node)
OSTRADB_READERS(xml::RecordNode)
#undef OSTRADB_READERS

// ---- the views list of "get_ws_info" ----

void ReadViewsListTable(TLevelFileTable& table, pugi::xml_node node) {
    if (pugi::xml_attribute a = node.attribute("tname")) table.Name = a.value();
    if (pugi::xml_attribute a = node.attribute("shownames")) table.ShowNames = a.value();
    table.Curves.Clear();
    table.Rows.Clear();
    table.Cols.LoadFromWSViewsListXml(node.child("Fields"));
    for (pugi::xml_node c = node.first_child(); c; c = c.next_sibling()) {
        if (!IsElement(c, "obj_info")) continue;
        const CurveAttrs a(c, kCurveAttrs);
        TLevelFileCurve& curve = table.Curves.Add();
        curve.Table = a[caTable] ? a[caTable] : table.Name;
        curve.Name = OrEmpty(a[caName]);
        if (a[caStart]) curve.Start = ToSingle(c, "start", a[caStart]);
        if (a[caStop]) curve.Stop = ToSingle(c, "stop", a[caStop]);
        if (a[caStep]) curve.Step = ToSingle(c, "step", a[caStep]);
        if (a[caNVers]) curve.NVers = ToInt(c, "nvers", a[caNVers]);
        curve.Keystr = OrEmpty(a[caKeystr]);
        if (a[caKeyValue]) curve.Keystr2 = a[caKeyValue];
        if (a[caDClass]) curve.DClass = ToInt(c, "dclass", a[caDClass]);
        std::int32_t mark;
        if (a[caQualityMark2] && TryStrToInt(a[caQualityMark2], mark))
            curve.QualityMark = mark;
        else if (a[caQualityMarkStr] && TryStrToInt(a[caQualityMarkStr], mark))
            curve.QualityMark = mark;
        else
            curve.QualityMark = 9999;
        ReadCurvePlanshets(curve, c.child("planshets"));
        if (c.child("value")) ReadRowCells(table.Rows.Add(), c);
    }
}

void ReadViewsListFile(TLevelFile& file, pugi::xml_node node) {
    file.Tables.Clear();
    file.Planshets.Clear();
    if (pugi::xml_attribute a = node.attribute("name")) file.Name = a.value();
    if (pugi::xml_attribute a = node.attribute("extra_path")) file.ExtraPath = a.value();
    if (pugi::xml_attribute a = node.attribute("trunk_id")) file.TrunkId = a.value();
    if (pugi::xml_attribute a = node.attribute("type"))
        file.FileType = ToInt(node, "type", a.value());
    if (pugi::xml_attribute a = node.attribute("is_main"))
        file.IsMain = ToBool(node, "is_main", a.value());
    if (pugi::xml_attribute a = node.attribute("file_id"))
        file.FileId = ToInt(node, "file_id", a.value());
    const PathLevels noLevels(nullptr);
    for (pugi::xml_node c = node.first_child(); c; c = c.next_sibling()) {
        if (c.type() != pugi::node_element) continue;
        const char* n = c.name();
        if (Is(n, "plansheets")) {
            for (pugi::xml_node p = c.child("plansheet"); p; p = p.next_sibling("plansheet"))
                file.Planshets.Add().ReadFromXml(p);
        } else if (Is(n, "table_info")) {
            ReadViewsListTable(file.Tables.Add(), c);
        } else if (Is(n, "path")) {
            ReadPath(file, c, noLevels);
        } else if (Is(n, "params")) {
            ReadParams(file, c);
        }
    }
}

// ---- the exchange form for other applications ----

void ReadApiFile(TLevelFile& file, pugi::xml_node node) {
    file.Name = node.attribute("FileName").value();
    file.TrunkId = node.attribute("TrunkId").value();
    file.PathValues.Clear();
    file.PathNames.Clear();
    bool allNamed = true;
    TStringList names;
    for (pugi::xml_node i = node.child("Path").child("Item"); i; i = i.next_sibling("Item")) {
        const char* name = i.attribute("Name").value();
        const char* value = i.attribute("Value").value();
        file.PathValues.Add(value);
        if (*name == '\0') allNamed = false;
        names.Add(Pair(name, value));
    }
    if (allNamed) file.PathNames.Assign(names);

    file.Tables.Clear();
    for (pugi::xml_node t = node.child("Tables").child("Table"); t; t = t.next_sibling("Table")) {
        TLevelFileTable& table = file.Tables.Add();
        table.Name = t.attribute("Name").value();
        for (pugi::xml_node c = t.child("Curves").child("Curve"); c; c = c.next_sibling("Curve")) {
            TLevelFileCurve& curve = table.Curves.Add();
            curve.Table = table.Name;
            curve.Name = c.attribute("Name").value();
            curve.Keystr = c.attribute("Keystr").value();
            if (pugi::xml_attribute a = c.attribute("NVers"))
                curve.NVers = ToInt(c, "NVers", a.value());
            // The mark in front of the visible name tells the kind of the curve.
            const std::string_view visible = c.attribute("VisibleName").value();
            const bool marked =
                visible.size() == curve.Name.size() + 1 && visible.substr(1) == curve.Name;
            switch (marked ? visible.front() : '\0') {
                case '#':
                    curve.DClass = 2;
                    break;
                case '!':
                case '$':
                    curve.DClass = 3;
                    break;
                default:
                    curve.DClass = 0;
                    break;
            }
        }
    }
}

}  // namespace ostradb::detail
