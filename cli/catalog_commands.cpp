// databases, structure, levels and files: finding one's way around the server's catalog.

#include <CLI/CLI.hpp>

#include <map>
#include <memory>
#include <tuple>

#include "commands.hpp"
#include "errors.hpp"
#include "lookup.hpp"
#include "ostradb/model/filters.hpp"
#include "ostradb/model/level_files.hpp"
#include "ostradb/util/text.hpp"
#include "output.hpp"

namespace ostradb::cli {

namespace {

const char* KindName(EDbStructExType kind) {
    switch (kind) {
        case dsetNone:
            return "none";
        case dsetString:
            return "text";
        case dsetNumber:
            return "number";
        case dsetDate:
            return "date";
    }
    return "other";
}

Json LevelsJson(const TDbStruct& structure) {
    Json levels = Json::array();
    for (const TDbStructItem& item : structure.Items)
        levels.push_back({{"type", item.Type},
                          {"name", item.DisplayName},
                          {"key", item.IsKey},
                          {"kind", KindName(item.ExType)}});
    return levels;
}

std::string PathText(const std::vector<std::string>& path) {
    std::string text = "/";
    for (const std::string& value : path)
        text += value + "/";
    return text;
}

// The filter of the simple text lines "key[,not][,and] -> value, value".
TFilter ParseFilter(const std::vector<std::string>& lines) {
    TFilter filter;
    for (const std::string& line : lines) {
        TFilterItem& item = filter.Add();
        item.FromSimpleText(line);
        if (item.Key.empty() || item.Values.Empty() || line.find("->") == std::string::npos)
            throw UsageError("--filter \"" + line +
                             "\": expected KEY -> VALUES, e.g. \"%well -> 12, 12a\"");
    }
    return filter;
}

}  // namespace

void RunDatabases(Context& ctx, bool withStructs) {
    TOstraDbProtocol& client = ctx.Client();
    ctx.Doing("listing the databases");
    const TDatabasesList list = LoadDatabases(client, withStructs);
    if (ctx.Json()) {
        Json items = Json::array();
        for (const TDatabaseInfo& db : list.Items) {
            Json item = {{"id", db.Id},
                         {"name", db.Name},
                         {"path", db.Path},
                         {"ext_path", db.ExtPath},
                         {"private", db.IsPrivate}};
            if (withStructs) item["levels"] = LevelsJson(db.Structure);
            items.push_back(std::move(item));
        }
        PrintJson(Json{{"databases", std::move(items)}});
        return;
    }
    std::vector<std::string> headers = {"id", "name", "path"};
    if (withStructs) headers.emplace_back("levels");
    Table table(std::move(headers));
    table.AlignRight(0);
    for (const TDatabaseInfo& db : list.Items) {
        std::vector<std::string> row = {std::to_string(db.Id), db.Name, db.Path};
        if (withStructs) {
            std::string levels;
            for (int i = 0; i < db.Structure.GetItemsCount(); ++i)
                levels += (i ? " > " : "") + LevelTitle(db.Structure, i);
            row.push_back(levels);
        }
        table.AddRow(std::move(row));
    }
    table.Print("(the server has no databases)");
}

void RunStructure(Context& ctx, const std::string& database) {
    TOstraDbProtocol& client = ctx.Client();
    ctx.Doing("reading the structure of \"" + database + "\"");
    const TDatabasesList list = LoadDatabases(client, false);
    const TDatabaseInfo& db = FindDatabase(list, database);
    TDbStruct structure;
    client.RequestDbStruct(db.Id, structure);
    if (ctx.Json()) {
        PrintJson(Json{{"database", {{"id", db.Id}, {"name", db.Name}}},
                       {"levels", LevelsJson(structure)}});
        return;
    }
    Table table({"#", "type", "name", "key", "kind"});
    table.AlignRight(0);
    for (int i = 0; i < structure.GetItemsCount(); ++i) {
        const TDbStructItem& item = structure.GetItem(i);
        table.AddRow({std::to_string(i + 1), item.Type, item.DisplayName, item.IsKey ? "yes" : "",
                      KindName(item.ExType)});
    }
    table.Print("(the database has no levels)");
}

void RunLevels(Context& ctx, const std::string& database, const std::vector<std::string>& path) {
    TOstraDbProtocol& client = ctx.Client();
    ctx.Doing("listing the levels of \"" + database + "\" under " + PathText(path));
    const TDatabasesList list = LoadDatabases(client, true);
    const TDatabaseInfo& db = FindDatabase(list, database);
    const TIntegerArray ids = ResolveLevelPath(client, db, path);
    TLevelsList levels;
    client.RequestLevelsList(db.Id, ids, false, false, false, nullptr, levels);
    const int depth = static_cast<int>(path.size());
    const bool below = depth < db.Structure.GetItemsCount();
    const std::string title = below ? LevelTitle(db.Structure, depth) : "value";
    if (ctx.Json()) {
        Json values = Json::array();
        for (const TLevelItem& level : levels.Items)
            values.push_back({{"id", level.Id}, {"name", level.Name}, {"path", level.Path}});
        Json level = nullptr;
        if (below) {
            const TDbStructItem& item = db.Structure.GetItem(depth);
            level = {{"type", item.Type}, {"name", item.DisplayName}};
        }
        PrintJson(Json{{"database", db.Name},
                       {"path", path},
                       {"level", std::move(level)},
                       {"values", std::move(values)}});
        return;
    }
    Table table({"id", title});
    table.AlignRight(0);
    for (const TLevelItem& level : levels.Items)
        table.AddRow({std::to_string(level.Id), level.Name});
    table.Print("(nothing below " + PathText(path) + "; 'ostradb files' lists the files there)");
}

void RunFiles(Context& ctx, const FilesArgs& args) {
    const TFilter filter = ParseFilter(args.filters);
    TOstraDbProtocol& client = ctx.Client();
    ctx.Doing("listing the files of \"" + args.database + "\" under " + PathText(args.path));
    const TDatabasesList list = LoadDatabases(client, true);
    const TDatabaseInfo& info = FindDatabase(list, args.database);
    const TIntegerArray ids = ResolveLevelPath(client, info, args.path);
    TReqFilesFlags flags = {rffInclFilePath};
    if (filter.GetCount() > 0) {
        const std::unique_ptr<TDatabase> db = MakeDatabase(info);
        client.CheckAndSetFilter(*db, filter);
        flags.Include(rffUseFilters);
    }
    TLevelFilesList files;
    client.RequestFiles(files, info.Id, ids, flags, args.mask);
    // Named by their level types, the path values sort the files by field, then by well
    // (compared as well names), and so on down.
    for (TLevelFile& file : files.Files)
        if (file.PathNames.Empty() && file.PathValues.Count() == info.Structure.GetItemsCount())
            for (int i = 0; i < file.PathValues.Count(); ++i)
                file.PathNames.Add(LowerCase(info.Structure.GetItem(i).Type) + "=" +
                                   file.PathValues[i]);
    files.SmartSort();
    // The files of one place come by name; SmartSort orders the places but is not stable.
    std::map<const TLevelFile*, int> place;
    for (int i = 0, rank = 0; i < files.GetCount(); ++i) {
        if (i > 0 && !(files.GetItem(i).PathValues == files.GetItem(i - 1).PathValues)) ++rank;
        place[&files.GetItem(i)] = rank;
    }
    files.Files.Sort([&](const TLevelFile& a, const TLevelFile& b) {
        return std::tie(place[&a], a.Name) < std::tie(place[&b], b.Name);
    });

    if (ctx.Json()) {
        Json items = Json::array();
        for (const TLevelFile& file : files.Files)
            items.push_back({{"name", file.Name},
                             {"file", FullFileName(info, file.Name)},
                             {"path", file.PathValues.Lines()},
                             {"trunk", file.TrunkId},
                             {"main", file.IsMain}});
        PrintJson(Json{{"database", info.Name}, {"files", std::move(items)}});
        return;
    }
    std::vector<std::string> headers;
    for (int i = 0; i < info.Structure.GetItemsCount(); ++i)
        headers.push_back(LevelTitle(info.Structure, i));
    const std::size_t levels = headers.size();
    headers.emplace_back("file");
    Table table(std::move(headers));
    for (const TLevelFile& file : files.Files) {
        std::vector<std::string> row(levels);
        for (int i = 0; i < file.PathValues.Count() && static_cast<std::size_t>(i) < levels; ++i)
            row[static_cast<std::size_t>(i)] = file.PathValues[i];
        row.push_back(FullFileName(info, file.Name));
        table.AddRow(std::move(row));
    }
    table.Print("(no files)");
}

void AddCatalogCommands(CLI::App& app, Context& ctx) {
    auto withStructs = std::make_shared<bool>(false);
    CLI::App* databases = app.add_subcommand("databases", "List the server's databases");
    databases->add_flag("-s,--structures", *withStructs, "show each database's levels too");
    databases->footer("Examples:\n  ostradb databases\n  ostradb databases --structures --json");
    ctx.SetAction(databases, [&ctx, withStructs] { RunDatabases(ctx, *withStructs); });

    auto structureDb = std::make_shared<std::string>();
    CLI::App* structure =
        app.add_subcommand("structure", "Show the levels a database is organised by");
    structure->add_option("DB", *structureDb, "database name or id")->required();
    structure->footer("Example:\n  ostradb structure 'North Sea Demo'");
    ctx.SetAction(structure, [&ctx, structureDb] { RunStructure(ctx, *structureDb); });

    struct LevelsArgs {
        std::string database;
        std::vector<std::string> path;
    };
    auto levelsArgs = std::make_shared<LevelsArgs>();
    CLI::App* levels =
        app.add_subcommand("levels", "List the level values (fields, wells ...) below a path");
    levels->add_option("DB", levelsArgs->database, "database name or id")->required();
    levels->add_option("PATH", levelsArgs->path, "level values from the top, e.g. a field, a well");
    levels->footer(
        "Examples:\n"
        "  ostradb levels 'North Sea Demo'              the fields\n"
        "  ostradb levels 'North Sea Demo' Eastfield    the wells of a field");
    ctx.SetAction(levels,
                  [&ctx, levelsArgs] { RunLevels(ctx, levelsArgs->database, levelsArgs->path); });

    auto filesArgs = std::make_shared<FilesArgs>();
    CLI::App* files = app.add_subcommand("files", "List the files below a level path");
    files->add_option("DB", filesArgs->database, "database name or id")->required();
    files->add_option("PATH", filesArgs->path, "level values from the top");
    files->add_option("-f,--filter", filesArgs->filters,
                      "a condition \"KEY[,not][,and] -> VALUE, VALUE\"; KEY is a level type "
                      "(%well), *table.column, or curves, tables, planshets; repeatable");
    files->add_option("-n,--name", filesArgs->mask, "only files whose name matches the mask");
    files->footer(
        "Examples:\n"
        "  ostradb files 'North Sea Demo' Eastfield\n"
        "  ostradb files 'North Sea Demo' --filter '%well -> N1, N2' --name '*_log_*'\n"
        "  ostradb files 1 --filter 'curves -> GR' --json");
    ctx.SetAction(files, [&ctx, filesArgs] { RunFiles(ctx, *filesArgs); });
}

}  // namespace ostradb::cli
