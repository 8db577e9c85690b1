#include "model/level_files_read.hpp"

#include <cstring>
#include <string_view>

#include "ostradb/model/db_struct.hpp"
#include "ostradb/serial/xml.hpp"
#include "ostradb/util/numbers.hpp"
#include "ostradb/util/text.hpp"

namespace ostradb::detail {

namespace {

bool Is(const char* a, const char* b) {
    return std::strcmp(a, b) == 0;
}

bool IsElement(pugi::xml_node node, const char* name) {
    return node.type() == pugi::node_element && Is(node.name(), name);
}

// Conversions of attribute text found by a walk over the attributes. A missing (null) or
// malformed text falls back to the XML layer, which raises the conversion error naming the
// attribute.
std::int32_t ToInt(pugi::xml_node node, const char* name, const char* text) {
    std::int32_t v;
    if (text && TryStrToInt(text, v)) return v;
    return xml::AttrInt(node, name);
}

std::int64_t ToInt64(pugi::xml_node node, const char* name, const char* text) {
    std::int64_t v;
    if (text && TryStrToInt64(text, v)) return v;
    return xml::AttrInt64(node, name);
}

float ToSingle(pugi::xml_node node, const char* name, const char* text) {
    double v;
    if (!text || !TryStrToFloat(text, v)) v = xml::AttrFloat(node, name);
    return static_cast<float>(v);
}

bool ToBool(pugi::xml_node node, const char* name, const char* text) {
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

void ReadParams(TLevelFile& file, pugi::xml_node params) {
    for (pugi::xml_node p = params.first_child(); p; p = p.next_sibling()) {
        if (!IsElement(p, "param")) continue;
        file.Params.Add(Pair(p.attribute("key").value(), p.attribute("value").value()));
    }
}

void ReadCurvePlanshets(TLevelFileCurve& curve, pugi::xml_node planshets) {
    for (pugi::xml_node p = planshets.first_child(); p; p = p.next_sibling())
        if (IsElement(p, "item")) curve.Planshets.Add(p.attribute("name").value());
}

// The attributes of a curve, found in one walk; null when absent.
struct CurveAttrs {
    const char* name = nullptr;
    const char* start = nullptr;
    const char* stop = nullptr;
    const char* step = nullptr;
    const char* nvers = nullptr;
    const char* keystr = nullptr;
    const char* keyvalue = nullptr;
    const char* dclass = nullptr;
    const char* table = nullptr;
    const char* qualityMark = nullptr;     // "quality_mark", or "qualitymark" in the views list
    const char* qualityMarkStr = nullptr;  // views list only

    explicit CurveAttrs(pugi::xml_node node) {
        for (pugi::xml_attribute a = node.first_attribute(); a; a = a.next_attribute()) {
            const char* n = a.name();
            const char* v = a.value();
            auto take = [&](const char*& slot, const char* attr) {
                if (!slot && Is(n, attr)) slot = v;
            };
            switch (n[0]) {
                case 'n':
                    take(name, "name");
                    take(nvers, "nvers");
                    break;
                case 's':
                    take(start, "start");
                    take(stop, "stop");
                    take(step, "step");
                    break;
                case 'k':
                    take(keystr, "keystr");
                    take(keyvalue, "keyvalue");
                    break;
                case 'd':
                    take(dclass, "dclass");
                    break;
                case 't':
                    take(table, "table");
                    break;
                case 'q':
                    take(qualityMark, "quality_mark");
                    take(qualityMark, "qualitymark");
                    take(qualityMarkStr, "qualitymarkstr");
                    break;
                default:
                    break;
            }
        }
    }
};

}  // namespace

PathLevels::PathLevels(const TDbStruct* structure) : given(structure != nullptr) {
    if (!structure) return;
    names.reserve(static_cast<std::size_t>(structure->GetItemsCount()));
    for (int i = 0; i < structure->GetItemsCount(); ++i)
        names.push_back(LowerCase(structure->GetItem(i).Type));
}

void ReadPath(TLevelFile& file, pugi::xml_node node, const PathLevels& levels) {
    file.PathValues.Clear();
    file.PathNames.Clear();
    for (pugi::xml_node c = node.first_child(); c; c = c.next_sibling())
        if (IsElement(c, "item")) file.PathValues.Add(c.attribute("value").value());
    if (!levels.given || levels.names.size() != static_cast<std::size_t>(file.PathValues.Count()))
        return;
    for (int i = 0; i < file.PathValues.Count(); ++i)
        file.PathNames.Add(Pair(levels.names[static_cast<std::size_t>(i)], file.PathValues[i]));
}

void ReadCurve(TLevelFileCurve& curve, pugi::xml_node node) {
    const CurveAttrs a(node);
    curve.Name = OrEmpty(a.name);
    curve.Start = ToSingle(node, "start", a.start);
    curve.Stop = ToSingle(node, "stop", a.stop);
    curve.Step = ToSingle(node, "step", a.step);
    curve.NVers = ToInt(node, "nvers", a.nvers);
    curve.Keystr = OrEmpty(a.keystr);
    if (a.keyvalue) curve.Keystr2 = a.keyvalue;
    curve.DClass = ToInt(node, "dclass", a.dclass);
    if (a.table) curve.Table = a.table;
    curve.QualityMark = a.qualityMark ? ToInt(node, "quality_mark", a.qualityMark) : 9999;
    curve.Planshets.Clear();
    ReadCurvePlanshets(curve, node.child("planshets"));
}

void ReadRowCells(TLevelFileRow& row, pugi::xml_node node) {
    row.Values.Clear();
    for (pugi::xml_node c = node.first_child(); c; c = c.next_sibling())
        if (IsElement(c, "value")) row.Values.Add().LoadFromXML(c);
}

void ReadTable(TLevelFileTable& table, pugi::xml_node node) {
    table.Name = node.attribute("name").value();
    table.Curves.Clear();
    for (pugi::xml_node c = node.child("data").first_child(); c; c = c.next_sibling()) {
        if (!IsElement(c, "curve")) continue;
        TLevelFileCurve& curve = table.Curves.Add();
        curve.Table = table.Name;
        ReadCurve(curve, c);
    }
    table.Rows.ReadFromXml(node.child("rows"));
}

void ReadFile(TLevelFile& file, pugi::xml_node node, const PathLevels& levels) {
    file.Tables.Clear();
    file.Planshets.Clear();
    file.Params.Clear();

    const char* extraPath = nullptr;
    const char* name = nullptr;
    const char* type = nullptr;
    const char* trunkId = nullptr;
    const char* isMain = nullptr;
    const char* fileId = nullptr;
    const char* flags = nullptr;
    const char* rights = nullptr;
    for (pugi::xml_attribute a = node.first_attribute(); a; a = a.next_attribute()) {
        const char* n = a.name();
        const char* v = a.value();
        auto take = [&](const char*& slot, const char* attr) {
            if (!slot && Is(n, attr)) slot = v;
        };
        switch (n[0]) {
            case 'e':
                take(extraPath, "extra_path");
                break;
            case 'n':
                take(name, "name");
                break;
            case 't':
                take(type, "type");
                take(trunkId, "trunk_id");
                break;
            case 'i':
                take(isMain, "is_main");
                break;
            case 'f':
                take(fileId, "file_id");
                take(flags, "flags");
                break;
            case 'U':
                take(rights, "UserRights");
                break;
            default:
                break;
        }
    }
    file.ExtraPath = OrEmpty(extraPath);
    file.Name = OrEmpty(name);
    file.FileType = ToInt(node, "type", type);
    file.TrunkId = OrEmpty(trunkId);
    file.IsMain = ToBool(node, "is_main", isMain);
    file.FileId = fileId ? ToInt(node, "file_id", fileId) : -1;
    file.Flags = flags ? ToInt64(node, "flags", flags) : 0;
    file.UserRights = rights ? ToInt64(node, "UserRights", rights) : -1;

    bool paramsRead = false;
    for (pugi::xml_node c = node.first_child(); c; c = c.next_sibling()) {
        if (c.type() != pugi::node_element) continue;
        const char* n = c.name();
        if (Is(n, "table")) {
            ReadTable(file.Tables.Add(), c);
        } else if (Is(n, "path")) {
            ReadPath(file, c, levels);
        } else if (Is(n, "planshet")) {
            file.Planshets.Add().ReadFromXml(c);
        } else if (!paramsRead && Is(n, "params")) {
            paramsRead = true;
            ReadParams(file, c);
        }
    }
}

// ---- the views list of "get_ws_info" ----

void ReadViewsListTable(TLevelFileTable& table, pugi::xml_node node) {
    if (pugi::xml_attribute a = node.attribute("tname")) table.Name = a.value();
    if (pugi::xml_attribute a = node.attribute("shownames")) table.ShowNames = a.value();
    table.Curves.Clear();
    table.Rows.Clear();
    table.Cols.LoadFromWSViewsListXml(node.child("Fields"));
    for (pugi::xml_node c = node.first_child(); c; c = c.next_sibling()) {
        if (!IsElement(c, "obj_info")) continue;
        const CurveAttrs a(c);
        TLevelFileCurve& curve = table.Curves.Add();
        curve.Table = table.Name;
        if (a.table) curve.Table = a.table;
        curve.Name = OrEmpty(a.name);
        if (a.start) curve.Start = ToSingle(c, "start", a.start);
        if (a.stop) curve.Stop = ToSingle(c, "stop", a.stop);
        if (a.step) curve.Step = ToSingle(c, "step", a.step);
        if (a.nvers) curve.NVers = ToInt(c, "nvers", a.nvers);
        curve.Keystr = OrEmpty(a.keystr);
        if (a.keyvalue) curve.Keystr2 = a.keyvalue;
        if (a.dclass) curve.DClass = ToInt(c, "dclass", a.dclass);
        std::int32_t mark;
        if (a.qualityMark && TryStrToInt(a.qualityMark, mark))
            curve.QualityMark = mark;
        else if (a.qualityMarkStr && TryStrToInt(a.qualityMarkStr, mark))
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
            file.Params.Clear();
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
