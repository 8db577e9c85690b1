// What ws files hold (tables, curves, plansheets) as their side files describe it, and the
// simple-text search over level values.

#include <algorithm>
#include <cmath>

#include "commands.hpp"
#include "conditions.hpp"
#include "name_resolver.hpp"
#include "ostradb/util/text.hpp"
#include "ws_files.hpp"

namespace ostradb::sandbox {

namespace {

struct NamedMeta {
    std::string name;  // as the client gave it
    std::shared_ptr<const WsMeta> meta;
};

// The side files of the request's "FileNames"; CommandError 5 for a file that is not there.
std::vector<NamedMeta> RequestedFiles(CommandContext& ctx) {
    std::vector<NamedMeta> files;
    for (const std::string& name : ListArg(ctx.command, "FileNames")) {
        const ResolvedName file = ResolveFileName(*ctx.catalog, name);
        std::error_code ec;
        if (!std::filesystem::is_regular_file(file.path, ec)) throw Refusal(ecFileNotFound, name);
        files.push_back({name, ctx.store.Metas().Get(file.path)});
    }
    return files;
}

void AddUnique(std::vector<std::string>& names, const std::string& name) {
    if (std::none_of(names.begin(), names.end(),
                     [&](const std::string& n) { return SameText(n, name); }))
        names.push_back(name);
}

struct CurveRow {
    std::string curve, table, version, keys, units, file;
    std::int64_t count = 0;
    std::int32_t onPlanCount = 0;
    double top = 0, bottom = 0, step = 0;
};

}  // namespace

void GetTablesList(CommandContext& ctx) {
    std::vector<std::string> names;
    for (const NamedMeta& file : RequestedFiles(ctx))
        for (const TableInfo& table : file.meta->tables)
            AddUnique(names, table.name);
    AppendList(ctx.answer, "Result", names);
}

void GetPlansheetsList(CommandContext& ctx) {
    std::vector<std::string> names;
    for (const NamedMeta& file : RequestedFiles(ctx))
        for (const std::string& planshet : file.meta->planshets)
            AddUnique(names, planshet);
    AppendList(ctx.answer, "Result", names);
}

void GetCurvesList(CommandContext& ctx) {
    const bool withTable = BoolArg(ctx.command, "IncludeTableName");
    const bool withVersion = BoolArg(ctx.command, "IncludeVersion");
    const bool withCount = BoolArg(ctx.command, "IncludeCount");
    const bool onPlanshOnly = BoolArg(ctx.command, "OnPlanshOnly");
    const bool withOnPlanCount = BoolArg(ctx.command, "IncludeOnPlanCount");
    const bool withKeys = BoolArg(ctx.command, "IncludeKeys");
    const bool withRange = BoolArg(ctx.command, "IncludeTopBottomStep");
    const bool withUnit = BoolArg(ctx.command, "IncludeUnit");
    const bool withFile = BoolArg(ctx.command, "IncludeFileName");
    const std::vector<std::string> tables = ListArg(ctx.command, "Tables");

    // One row per curve, or per what tells curves apart in the answer.
    std::vector<CurveRow> rows;
    for (const NamedMeta& file : RequestedFiles(ctx)) {
        for (const TableInfo& table : file.meta->tables) {
            if (!tables.empty() &&
                std::none_of(tables.begin(), tables.end(),
                             [&](const std::string& t) { return SameText(t, table.name); }))
                continue;
            for (const CurveInfo& curve : table.curves) {
                if (onPlanshOnly && curve.planshets.empty()) continue;
                CurveRow row;
                row.curve = curve.name;
                row.table = withTable ? table.name : "";
                row.version = withVersion ? std::to_string(curve.nvers) : "";
                row.file = withFile ? file.name : "";
                auto it = std::find_if(rows.begin(), rows.end(), [&](const CurveRow& r) {
                    return SameText(r.curve, row.curve) && SameText(r.table, row.table) &&
                           r.version == row.version && r.file == row.file;
                });
                if (it == rows.end()) {
                    row.keys = curve.keystr;
                    row.units = curve.units;
                    row.top = curve.start;
                    row.bottom = curve.stop;
                    row.step = curve.step;
                    it = rows.insert(rows.end(), std::move(row));
                }
                it->count += curve.Count();
                it->onPlanCount =
                    std::max(it->onPlanCount, static_cast<std::int32_t>(curve.planshets.size()));
                it->top = std::min(it->top, curve.start);
                it->bottom = std::max(it->bottom, curve.stop);
            }
        }
    }

    pugi::xml_node result = ctx.answer.append_child("Result");
    for (const CurveRow& row : rows) {
        pugi::xml_node item = result.append_child("Item");
        SetText(item, "Curve", row.curve);
        if (withTable) SetText(item, "Table", row.table);
        if (withVersion) SetText(item, "Version", row.version);
        if (withCount) item.append_attribute("Count") = static_cast<long long>(row.count);
        if (withOnPlanCount) item.append_attribute("OnPlanCount") = row.onPlanCount;
        if (withKeys) {
            SetText(item, "KeyColumns", "");
            SetText(item, "KeyValues", row.keys);
        }
        // These three travel as whole numbers (metres).
        if (withRange) {
            item.append_attribute("Top") = static_cast<long long>(std::llround(row.top));
            item.append_attribute("Bottom") = static_cast<long long>(std::llround(row.bottom));
            item.append_attribute("Step") = static_cast<long long>(std::llround(row.step));
        }
        if (withUnit) SetText(item, "Units", row.units);
        if (withFile) SetText(item, "FileName", row.file);
    }
}

void Search(CommandContext& ctx) {
    const SearchRequest search = ReadSearch(ctx.command);
    for (const Database& db : ctx.catalog->databases) {
        if (!SearchesDatabase(search, db)) continue;
        for (const WsFile& file : ScanDatabase(db)) {
            const auto meta = ctx.store.Metas().Get(file.path);
            if (Passes(search, db, file, *meta))
                SetText(ctx.answer.append_child("file"), "filename", file.path.string());
        }
    }
}

}  // namespace ostradb::sandbox
