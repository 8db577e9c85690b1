// search, tables, curves and plansheets: what the wells hold and where.

#include <CLI/CLI.hpp>

#include <memory>

#include "commands.hpp"
#include "errors.hpp"
#include "ostradb/protocol/search_commands.hpp"
#include "ostradb/protocol/well_commands.hpp"
#include "output.hpp"

namespace ostradb::cli {

namespace {

// One column of names, or {"<key>": [names]} in JSON.
void PrintNames(Context& ctx, const char* key, const char* header, const TStringList& names,
                const std::string& empty) {
    if (ctx.Json()) {
        PrintJson(Json{{key, names.Lines()}});
        return;
    }
    Table table({header});
    for (const std::string& name : names)
        table.AddRow({name});
    table.Print(empty);
}

std::string Describe(const std::vector<std::string>& files) {
    return files.size() == 1 ? "\"" + files.front() + "\""
                             : std::to_string(files.size()) + " files";
}

void RunTables(Context& ctx, const std::vector<std::string>& files) {
    TOstraDbProtocol& client = ctx.Client();
    ctx.Doing("listing the tables of " + Describe(files));
    TStringList names(files);
    TStringList tables;
    client.GetTablesList(names, tables);
    PrintNames(ctx, "tables", "table", tables, "(no tables)");
}

void RunPlansheets(Context& ctx, const std::vector<std::string>& files) {
    TOstraDbProtocol& client = ctx.Client();
    ctx.Doing("listing the plansheets of " + Describe(files));
    TStringList plansheets;
    client.GetPlansheetsList(TStringList(files), plansheets);
    PrintNames(ctx, "plansheets", "plansheet", plansheets, "(no plansheets)");
}

}  // namespace

void RunCurves(Context& ctx, const std::vector<std::string>& files,
               const std::vector<std::string>& tables) {
    TOstraDbProtocol& client = ctx.Client();
    ctx.Doing("listing the curves of " + Describe(files));
    const bool perFile = files.size() > 1;
    TCurvesListOpts options = {cloIncludeTable, cloIncludeVersion, cloIncludeCount,
                               cloIncludeTopBottomStep, cloIncludeUnits};
    if (perFile) options.Include(cloIncludeFileNames);
    TCurvesList curves;
    client.GetCurvesList(TStringList(files), TStringList(tables), options, curves);
    if (ctx.Json()) {
        Json items = Json::array();
        for (const TCurvesListItem& c : curves.Items) {
            Json item = {{"curve", c.Curve},   {"table", c.Table}, {"version", c.Version},
                         {"count", c.Count},   {"units", c.Units}, {"top", c.Top},
                         {"bottom", c.Bottom}, {"step", c.Step}};
            if (perFile) item["file"] = c.FileName;
            items.push_back(std::move(item));
        }
        PrintJson(Json{{"curves", std::move(items)}});
        return;
    }
    std::vector<std::string> headers = {"curve",  "table", "units", "top",
                                        "bottom", "step",  "count", "versions"};
    if (perFile) headers.emplace_back("file");
    Table table(std::move(headers));
    for (std::size_t column : {3, 4, 5, 6, 7})
        table.AlignRight(column);
    for (const TCurvesListItem& c : curves.Items) {
        std::vector<std::string> row = {c.Curve,
                                        c.Table,
                                        c.Units,
                                        std::to_string(c.Top),
                                        std::to_string(c.Bottom),
                                        std::to_string(c.Step),
                                        std::to_string(c.Count),
                                        c.Version};
        if (perFile) row.push_back(c.FileName);
        table.AddRow(std::move(row));
    }
    table.Print("(no curves)");
}

void RunSearch(Context& ctx, const std::string& database,
               const std::vector<std::string>& conditions, const std::string& tables) {
    // The query text: the databases, the tables, then one condition a line.
    std::string text =
        TStringList{database == "all" ? "*" : database}.CommaText() + "\r\n" + tables + "\r\n";
    for (const std::string& condition : conditions) {
        if (condition.find('=') == std::string::npos || condition.back() == '=')
            throw UsageError("search: \"" + condition + "\" is not NAME=VALUE");
        text += condition + "\r\n";
    }
    TSearchRequest request;
    request.ReadFromSimpleText(text);

    TOstraDbProtocol& client = ctx.Client();
    ctx.Doing("searching \"" + database + "\"");
    TStringList files;
    client.Search(request, files);
    PrintNames(ctx, "files", "file", files, "(nothing found)");
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
