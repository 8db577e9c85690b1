// Navigating the levels of a database down to its files, and filters.

#include <algorithm>
#include <map>

#include "commands.hpp"
#include "level_view.hpp"
#include "ostradb/util/text.hpp"
#include "ostradb/util/well_names.hpp"

namespace ostradb::sandbox {

namespace {

// The session's filter of the database, when the request asks to use it, and the filter the
// request carries itself.
struct ActiveFilters {
    Filter own;
    std::vector<const Filter*> list;
};

void CollectFilters(const CommandContext& ctx, const Database& db, bool useSession,
                    ActiveFilters& out) {
    if (useSession) {
        const auto it = ctx.session.filters.find(db.id);
        if (it != ctx.session.filters.end()) out.list.push_back(&it->second);
    }
    out.own = ReadFilter(ctx.command);
    if (!out.own.Empty()) out.list.push_back(&out.own);
}

bool LessLevelValue(const LevelDef& level, const std::string& a, const std::string& b) {
    const bool wells = LowerCase(level.type).find("well") != std::string::npos;
    return (wells ? CompareWellNames(a, b) : CompareText(a, b)) < 0;
}

// "12*" as given; a mask without wildcards matches names that contain it.
bool FileNameMatches(const std::string& mask, const std::string& shortName) {
    if (mask.empty()) return true;
    const std::size_t slash = shortName.find_last_of("/\\");
    const std::string name = slash == std::string::npos ? shortName : shortName.substr(slash + 1);
    const bool wild = mask.find_first_of("*?") != std::string::npos;
    return WildcardMatch(wild ? mask : "*" + mask + "*", name);
}

}  // namespace

void GetLogLevelValues(CommandContext& ctx) {
    const Database& db = ctx.DatabaseArg();
    const LevelView view(ctx, db);
    const std::vector<std::string> values =
        view.Resolve(ctx.store.LevelIds(), LevelPathArg(ctx.command));
    const bool includeFiles = BoolArg(ctx.command, "include_files");
    const bool includeCurves = BoolArg(ctx.command, "include_curves");
    ActiveFilters filters;
    CollectFilters(ctx, db, BoolArg(ctx.command, "use_filters"), filters);

    pugi::xml_node list = ctx.answer.append_child("level_values");
    if (values.size() >= view.Depth()) return;
    const LevelDef& level = view.Level(values.size());
    const std::vector<WsFile> files = ScanDatabase(db);
    const std::vector<ListedFile> listed = FilesBelow(ctx, view, files, values, filters.list);

    std::vector<std::pair<std::string, std::vector<const ListedFile*>>> nodes;
    for (const ListedFile& file : listed) {
        const std::string value = view.ValuesOf(*file.file)[values.size()];
        auto it = std::find_if(nodes.begin(), nodes.end(),
                               [&](const auto& n) { return n.first == value; });
        if (it == nodes.end()) it = nodes.insert(nodes.end(), {value, {}});
        it->second.push_back(&file);
    }
    std::sort(nodes.begin(), nodes.end(), [&](const auto& a, const auto& b) {
        return LessLevelValue(level, a.first, b.first);
    });

    const bool leaf = values.size() + 1 == view.Depth();
    for (const auto& [value, nodeFiles] : nodes) {
        std::vector<std::string> nodeValues = values;
        nodeValues.push_back(value);
        pugi::xml_node item = list.append_child("item");
        item.append_attribute("id") = view.IdOf(ctx.store.LevelIds(), nodeValues);
        SetText(item, "name", value);
        std::string path;
        for (const std::string& v : nodeValues)
            path += v + "/";
        SetText(item, "path", path);
        item.append_attribute("name_is_correct") = "true";
        SetText(item, "StrType", level.type);
        item.append_attribute("UserRights") = ctx.session.rights;
        item.append_attribute("quality_mark") = 0;
        if (includeFiles && leaf) {
            pugi::xml_node fap = item.append_child("fap");
            FileParts parts;
            parts.tables = parts.curves = includeCurves;
            for (const ListedFile* file : nodeFiles)
                AppendFileElement(ctx, fap, *file, parts);
        }
    }
}

void GetLogLevelFiles(CommandContext& ctx) {
    const Database& db = ctx.DatabaseArg();
    const LevelView view(ctx, db);
    const std::vector<std::string> values =
        view.Resolve(ctx.store.LevelIds(), LevelPathArg(ctx.command));
    FileParts parts;
    parts.tables = BoolArg(ctx.command, "include_tables");
    parts.curves = BoolArg(ctx.command, "include_curves");
    parts.path = BoolArg(ctx.command, "include_path");
    parts.planshets = BoolArg(ctx.command, "include_plansh");
    parts.rows = BoolArg(ctx.command, "include_row_values");
    BoolArg(ctx.command, "ignore_dicts");  // no dictionaries here; checked for its form only
    const std::string mask = ctx.command.attribute("fn_filter").as_string();
    ActiveFilters filters;
    CollectFilters(ctx, db, BoolArg(ctx.command, "use_filters"), filters);

    const std::vector<WsFile> files = ScanDatabase(db);
    for (const ListedFile& file : FilesBelow(ctx, view, files, values, filters.list))
        if (FileNameMatches(mask, file.file->shortName))
            AppendFileElement(ctx, ctx.answer, file, parts);
}

void SetFilters(CommandContext& ctx) {
    const Database& db = ctx.DatabaseArg();
    Filter filter = ReadFilter(ctx.command);
    if (filter.Empty())
        ctx.session.filters.erase(db.id);
    else
        ctx.session.filters[db.id] = std::move(filter);
}

void GetFilterStats(CommandContext& ctx) {
    const Database& db = ctx.DatabaseArg();
    const bool useFilter = BoolArg(ctx.command, "use_filter");
    ActiveFilters filters;
    if (useFilter) {
        // The filter of the request, or the session's when the request carries none.
        CollectFilters(ctx, db, !ctx.command.child("Filter"), filters);
    }
    const LevelView view(ctx, db);
    const std::vector<WsFile> files = ScanDatabase(db);
    const std::size_t filtered =
        useFilter ? FilesBelow(ctx, view, files, {}, filters.list).size() : files.size();
    ctx.answer.append_attribute("total_files") = static_cast<unsigned long long>(files.size());
    ctx.answer.append_attribute("filtered_files") = static_cast<unsigned long long>(filtered);
}

void SetLogDbStruct(CommandContext& ctx) {
    std::vector<std::string> types;
    for (pugi::xml_node item : ctx.command.child("log_db_struct").children("item"))
        types.emplace_back(item.attribute("type").as_string());
    ctx.session.logStruct = std::move(types);
}

}  // namespace ostradb::sandbox
