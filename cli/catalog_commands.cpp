// databases, structure, levels and files: finding one's way around the server's catalog.

#include <CLI/CLI.hpp>

#include <memory>

#include "commands.hpp"
#include "output.hpp"

namespace ostradb::cli {

namespace {

Json LevelsJson(const std::vector<StructureLevel>& levels) {
    Json items = Json::array();
    for (const StructureLevel& level : levels)
        items.push_back(
            {{"type", level.type}, {"name", level.name}, {"key", level.key}, {"kind", level.kind}});
    return items;
}

std::string PathText(const std::vector<std::string>& path) {
    std::string text = "/";
    for (const std::string& value : path)
        text += value + "/";
    return text;
}

}  // namespace

void RunDatabases(Context& ctx, bool withStructs) {
    ostradb::Client& client = ctx.Client();
    ctx.Doing("listing the databases");
    const std::vector<Database> databases = client.databases(withStructs);
    PrintListing(
        ctx.Output(),
        [&] {
            Json items = Json::array();
            for (const Database& db : databases) {
                Json item = {{"id", db.id},
                             {"name", db.name},
                             {"path", db.path},
                             {"ext_path", db.ext_path},
                             {"private", db.is_private}};
                if (withStructs) item["levels"] = LevelsJson(db.levels);
                items.push_back(std::move(item));
            }
            return Json{{"databases", std::move(items)}};
        },
        [&] {
            std::vector<std::string> headers = {"id", "name", "path"};
            if (withStructs) headers.emplace_back("levels");
            Table table(std::move(headers), "(the server has no databases)");
            table.AlignRight(0);
            for (const Database& db : databases) {
                std::vector<std::string> row = {std::to_string(db.id), db.name, db.path};
                if (withStructs) {
                    std::string levels;
                    for (const StructureLevel& level : db.levels)
                        levels += (levels.empty() ? "" : " > ") + level.title;
                    row.push_back(levels);
                }
                table.AddRow(std::move(row));
            }
            return table;
        });
}

void RunStructure(Context& ctx, const std::string& database) {
    ostradb::Client& client = ctx.Client();
    ctx.Doing("reading the structure of \"" + database + "\"");
    const Database db = client.find_database(database);
    PrintListing(
        ctx.Output(),
        [&] {
            return Json{{"database", {{"id", db.id}, {"name", db.name}}},
                        {"levels", LevelsJson(db.levels)}};
        },
        [&] {
            Table table({"#", "type", "name", "key", "kind"}, "(the database has no levels)");
            table.AlignRight(0);
            for (std::size_t i = 0; i < db.levels.size(); ++i) {
                const StructureLevel& level = db.levels[i];
                table.AddRow({std::to_string(i + 1), level.type, level.name, level.key ? "yes" : "",
                              level.kind});
            }
            return table;
        });
}

void RunLevels(Context& ctx, const std::string& database, const std::vector<std::string>& path) {
    ostradb::Client& client = ctx.Client();
    ctx.Doing("listing the levels of \"" + database + "\" under " + PathText(path));
    const Database db = client.find_database(database);
    const std::vector<Level> levels = client.levels(db, path);
    const bool below = path.size() < db.levels.size();
    PrintListing(
        ctx.Output(),
        [&] {
            Json values = Json::array();
            for (const Level& level : levels)
                values.push_back({{"id", level.id}, {"name", level.value}, {"path", level.path}});
            Json level = nullptr;
            if (below)
                level = {{"type", db.levels[path.size()].type},
                         {"name", db.levels[path.size()].name}};
            return Json{{"database", db.name},
                        {"path", path},
                        {"level", std::move(level)},
                        {"values", std::move(values)}};
        },
        [&] {
            Table table(
                {"id", below ? db.levels[path.size()].title : "value"},
                "(nothing below " + PathText(path) + "; 'ostradb files' lists the files there)");
            table.AlignRight(0);
            for (const Level& level : levels)
                table.AddRow({std::to_string(level.id), level.value});
            return table;
        });
}

void RunFiles(Context& ctx, const FilesArgs& args) {
    ostradb::Client& client = ctx.Client();
    ctx.Doing("listing the files of \"" + args.database + "\" under " + PathText(args.path));
    const Database db = client.find_database(args.database);
    std::vector<File> files = client.files(db, args.path, {args.filters, args.mask});
    PrintListing(
        ctx.Output(),
        [&] {
            Json items = Json::array();
            for (const File& file : files)
                items.push_back({{"name", file.name},
                                 {"file", file.full_name},
                                 {"path", file.path},
                                 {"trunk", file.trunk},
                                 {"main", file.main}});
            return Json{{"database", db.name}, {"files", std::move(items)}};
        },
        [&] {
            std::vector<std::string> headers;
            for (const StructureLevel& level : db.levels)
                headers.push_back(level.title);
            const std::size_t levels = headers.size();
            headers.emplace_back("file");
            Table table(std::move(headers), "(no files)");
            // The files are not needed afterwards: a long listing is not held twice.
            table.Reserve(files.size());
            for (File& file : files) {
                const std::span<std::string> row = table.NewRow();
                for (std::size_t i = 0; i < file.path.size() && i < levels; ++i)
                    row[i] = std::move(file.path[i]);
                row[levels] = std::move(file.full_name);
            }
            return table;
        });
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
