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

void GetFilesStat(CommandContext& ctx) {
    const Database& db = ctx.DatabaseArg();
    const LevelView view(ctx, db);
    const std::vector<std::string> values =
        view.Resolve(ctx.store.LevelIds(), LevelPathArg(ctx.command));
    // The group level: by type, by type without "%", or by display name.
    const std::string group = ctx.command.attribute("group_level").as_string();
    std::size_t depth = view.Depth();
    for (std::size_t d = 0; d < view.Depth() && depth == view.Depth(); ++d) {
        const LevelDef& level = view.Level(d);
        const std::string_view bare =
            std::string_view(level.type).substr(level.type.starts_with('%') ? 1 : 0);
        if (SameText(level.type, group) || SameText(bare, group) || SameText(level.realName, group))
            depth = d;
    }
    if (depth == view.Depth() || depth < values.size()) throw Refusal(ecLevelNotFound, group);
    const std::string mask = ctx.command.attribute("file_name_filter").as_string();
    const bool withFiles = BoolArg(ctx.command, "request_files");
    const bool withQuality = BoolArg(ctx.command, "request_quality");
    ActiveFilters filters;
    filters.own = ReadFilter(ctx.command.child("filter"));
    if (!filters.own.Empty()) filters.list.push_back(&filters.own);

    // One row per value of the group level: how many files, and how many curves they hold.
    struct Row {
        std::vector<std::string> texts;
        std::int64_t files = 0;
        std::int64_t curves = 0;
        std::vector<std::string> names;
    };
    std::vector<Row> rows;
    std::int64_t undescribed = 0;
    const std::vector<WsFile> files = ScanDatabase(db);
    for (const ListedFile& file : FilesBelow(ctx, view, files, values, filters.list)) {
        if (!FileNameMatches(mask, file.file->shortName)) continue;
        const std::vector<std::string> own = view.ValuesOf(*file.file);
        const std::vector<std::string> texts(own.begin(),
                                             own.begin() + static_cast<std::ptrdiff_t>(depth + 1));
        auto it =
            std::find_if(rows.begin(), rows.end(), [&](const Row& r) { return r.texts == texts; });
        if (it == rows.end()) it = rows.insert(rows.end(), Row{texts, 0, 0, {}});
        ++it->files;
        for (const TableInfo& table : file.meta->tables)
            it->curves += static_cast<std::int64_t>(table.curves.size());
        if (file.meta->tables.empty()) ++undescribed;
        it->names.push_back(file.file->shortName);
    }
    std::sort(rows.begin(), rows.end(), [&](const Row& a, const Row& b) {
        for (std::size_t i = 0; i < a.texts.size(); ++i)
            if (a.texts[i] != b.texts[i])
                return LessLevelValue(view.Level(i), a.texts[i], b.texts[i]);
        return false;
    });

    pugi::xml_node stat = ctx.answer.append_child("files_stat");
    pugi::xml_node hat = stat.append_child("hat");
    pugi::xml_node columns = hat.append_child("values");
    const std::pair<int, const char*> kColumns[] = {{1, "Файлов"}, {2, "Кривых"}};
    for (const auto& [type, name] : kColumns) {
        pugi::xml_node item = columns.append_child("item");
        item.append_attribute("type") = type;
        SetText(item, "name", name);
    }
    pugi::xml_node captions = hat.append_child("text");
    for (std::size_t d = 0; d <= depth; ++d)
        SetText(captions.append_child("item"), "value", view.Level(d).realName);
    pugi::xml_node lines = stat.append_child("lines");
    for (const Row& row : rows) {
        pugi::xml_node line = lines.append_child("line");
        SetText(line, "name", "");
        pugi::xml_node numbers = line.append_child("values");
        numbers.append_attribute("v1") = static_cast<long long>(row.files);
        numbers.append_attribute("v2") = static_cast<long long>(row.curves);
        pugi::xml_node text = line.append_child("text");
        for (const std::string& value : row.texts)
            SetText(text.append_child("item"), "value", value);
        pugi::xml_node names = line.append_child("files");
        if (withFiles)
            for (const std::string& name : row.names)
                SetText(names.append_child("item"), "value", name);
    }
    pugi::xml_node quality = stat.append_child("quality");
    if (withQuality) {
        pugi::xml_node item = quality.append_child("item");
        SetText(item, "msg_kind", "Описание файлов");
        SetText(item, "rule", "У файла есть таблицы");
        SetText(item, "status", undescribed == 0 ? "выполнено" : "есть замечания");
        item.append_attribute("cnt") = static_cast<long long>(undescribed);
    }
}

}  // namespace ostradb::sandbox
