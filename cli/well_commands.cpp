// search, tables, curves and plansheets: what the wells hold and where.

#include <CLI/CLI.hpp>

#include <memory>

#include "commands.hpp"
#include "output.hpp"

namespace ostradb::cli {

namespace {

// One column of names, or {"<key>": [names]} in JSON.
void PrintNames(Context& ctx, const char* key, const char* header,
                const std::vector<std::string>& names, const std::string& empty) {
    PrintListing(
        ctx.Output(),
        [&] {
            return Json{{key, names}};
        },
        [&] {
            Table table({header}, empty);
            for (const std::string& name : names)
                table.AddRow({name});
            return table;
        });
}

std::string Describe(const std::vector<std::string>& files) {
    return files.size() == 1 ? "\"" + files.front() + "\""
                             : std::to_string(files.size()) + " files";
}

void RunTables(Context& ctx, const std::vector<std::string>& files) {
    ostradb::Client& client = ctx.Client();
    ctx.Doing("listing the tables of " + Describe(files));
    PrintNames(ctx, "tables", "table", client.tables(files), "(no tables)");
}

void RunPlansheets(Context& ctx, const std::vector<std::string>& files) {
    ostradb::Client& client = ctx.Client();
    ctx.Doing("listing the plansheets of " + Describe(files));
    PrintNames(ctx, "plansheets", "plansheet", client.plansheets(files), "(no plansheets)");
}

}  // namespace

void RunCurves(Context& ctx, const std::vector<std::string>& files,
               const std::vector<std::string>& tables) {
    ostradb::Client& client = ctx.Client();
    ctx.Doing("listing the curves of " + Describe(files));
    const bool perFile = files.size() > 1;
    const std::vector<Curve> curves = client.curves(files, tables);
    PrintListing(
        ctx.Output(),
        [&] {
            Json items = Json::array();
            for (const Curve& c : curves) {
                Json item = {{"curve", c.name},    {"table", c.table}, {"version", c.versions},
                             {"count", c.count},   {"units", c.units}, {"top", c.top},
                             {"bottom", c.bottom}, {"step", c.step}};
                if (perFile) item["file"] = c.file;
                items.push_back(std::move(item));
            }
            return Json{{"curves", std::move(items)}};
        },
        [&] {
            std::vector<std::string> headers = {"curve",  "table", "units", "top",
                                                "bottom", "step",  "count", "versions"};
            if (perFile) headers.emplace_back("file");
            Table table(std::move(headers), "(no curves)");
            for (std::size_t column : {3, 4, 5, 6, 7})
                table.AlignRight(column);
            for (const Curve& c : curves) {
                std::vector<std::string> row = {c.name,
                                                c.table,
                                                c.units,
                                                std::to_string(c.top),
                                                std::to_string(c.bottom),
                                                std::to_string(c.step),
                                                std::to_string(c.count),
                                                c.versions};
                if (perFile) row.push_back(c.file);
                table.AddRow(std::move(row));
            }
            return table;
        });
}

void RunSearch(Context& ctx, const std::string& database,
               const std::vector<std::string>& conditions, const std::string& tables) {
    ostradb::Client& client = ctx.Client();
    ctx.Doing("searching \"" + database + "\"");
    PrintNames(ctx, "files", "file", client.search(database, conditions, tables),
               "(nothing found)");
}

void AddWellCommands(CLI::App& app, Context& ctx) {
    struct SearchArgs {
        std::string database;
        std::vector<std::string> conditions;
        std::string tables;
    };
    auto searchArgs = std::make_shared<SearchArgs>();
    CLI::App* search = app.add_subcommand("search", "Find files by their levels and parameters");
    search->add_option("DB", searchArgs->database, "database name or id; all: every database")
        ->required();
    search
        ->add_option("CONDITION", searchArgs->conditions,
                     "NAME=VALUE: a level (by type or name) or a file parameter; the value "
                     "may hold * and ? and several values separated by commas")
        ->required();
    search->add_option("-t,--tables", searchArgs->tables,
                       "only files holding one of these tables (comma-separated)");
    search->footer(
        "Examples:\n"
        "  ostradb search 'North Sea Demo' well=N1\n"
        "  ostradb search all 'well=12*' survey='ГИС*' --tables 'ГИС'");
    ctx.SetAction(search, [&ctx, searchArgs] {
        RunSearch(ctx, searchArgs->database, searchArgs->conditions, searchArgs->tables);
    });

    auto tablesFiles = std::make_shared<std::vector<std::string>>();
    CLI::App* tables = app.add_subcommand("tables", "List the tables of files");
    tables->add_option("FILE", *tablesFiles, "the server's file names")->required();
    tables->footer("Example:\n  ostradb tables \"$FILE\"");
    ctx.SetAction(tables, [&ctx, tablesFiles] { RunTables(ctx, *tablesFiles); });

    struct CurvesArgs {
        std::vector<std::string> files;
        std::vector<std::string> tables;
    };
    auto curvesArgs = std::make_shared<CurvesArgs>();
    CLI::App* curves = app.add_subcommand("curves", "List the curves of files");
    curves->add_option("FILE", curvesArgs->files, "the server's file names")->required();
    curves->add_option("-t,--table", curvesArgs->tables,
                       "only the curves of this table; repeatable");
    curves->footer(
        "Examples:\n"
        "  ostradb curves \"$FILE\"\n"
        "  ostradb curves \"$A\" \"$B\" --table 'ГИС' --json");
    ctx.SetAction(curves,
                  [&ctx, curvesArgs] { RunCurves(ctx, curvesArgs->files, curvesArgs->tables); });

    auto plansheetsFiles = std::make_shared<std::vector<std::string>>();
    CLI::App* plansheets = app.add_subcommand("plansheets", "List the plansheets of files");
    plansheets->add_option("FILE", *plansheetsFiles, "the server's file names")->required();
    plansheets->footer("Example:\n  ostradb plansheets \"$FILE\"");
    ctx.SetAction(plansheets, [&ctx, plansheetsFiles] { RunPlansheets(ctx, *plansheetsFiles); });
}

}  // namespace ostradb::cli
