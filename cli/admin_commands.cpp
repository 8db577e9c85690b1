// options, option, users, log and stat: administering the server.

#include <CLI/CLI.hpp>

#include <cstdlib>
#include <iostream>
#include <memory>

#include "commands.hpp"
#include "errors.hpp"
#include "output.hpp"
#include "terminal.hpp"

namespace ostradb::cli {

namespace {

std::string Joined(const std::vector<std::string>& items, const char* separator = ",") {
    std::string text;
    for (const std::string& item : items)
        text += (text.empty() ? "" : separator) + item;
    return text;
}

// Group names given on the command line that the server does not have are a usage error.
template <class F>
void WithGroupsGiven(F&& f) {
    try {
        f();
    } catch (const ENotFoundError& e) {
        if (e.kind() != ENotFoundError::Kind::group) throw;
        throw UsageError(e.what());
    }
}

// ---- options

void RunOptions(Context& ctx, const std::string& mask) {
    ostradb::Client& client = ctx.Client();
    ctx.Doing("reading the server's options");
    const std::vector<Option> options = client.options(mask.empty() ? "*" : mask);
    PrintListing(
        ctx.Output(),
        [&] {
            Json items = Json::array();
            for (const Option& option : options)
                items.push_back({{"name", option.name}, {"value", option.value}});
            return Json{{"options", std::move(items)}};
        },
        [&] {
            Table table({"name", "value"}, "(no options)");
            for (const Option& option : options)
                table.AddRow({option.name, option.value});
            return table;
        });
}

void RunOption(Context& ctx, const std::string& name, const std::optional<std::string>& value) {
    ostradb::Client& client = ctx.Client();
    std::string current;
    if (value) {
        ctx.Doing("setting the option \"" + name + "\"");
        client.set_option(name, *value);
        current = *value;
    } else {
        ctx.Doing("reading the option \"" + name + "\"");
        current = client.option(name);
    }
    if (ctx.Json())
        PrintJson(Json{{"name", name}, {"value", current}});
    else
        std::cout << current << '\n';
}

// ---- users

std::string NewPassword(const std::string& login) {
    if (const char* given = std::getenv("OSTRADB_NEW_PASSWORD")) return given;
    if (!StdinIsTerminal())
        throw UsageError(
            "no password for the new user: set OSTRADB_NEW_PASSWORD, or run on a "
            "terminal to be asked");
    const auto first = ReadHiddenLine("Password for the new user " + login + ": ");
    const auto second = ReadHiddenLine("The same password again: ");
    if (!first || !second) throw CliError("no password given");
    if (*first != *second) throw CliError("the two passwords differ");
    return *first;
}

void RunUsersAdd(Context& ctx, const std::string& login, const std::string& name,
                 const std::vector<std::string>& groups) {
    ostradb::Client& client = ctx.Client();
    const std::string password = NewPassword(login);
    ctx.Doing("adding the user \"" + login + "\"");
    WithGroupsGiven([&] { client.add_user(login, name, password, groups); });
    if (ctx.Json())
        PrintJson(Json{{"login", login}, {"name", name}, {"groups", groups}});
    else
        std::cout << "added user " << login << " (groups: " << Joined(groups, ", ") << ")\n";
}

void RunUsersSetGroups(Context& ctx, const std::string& login,
                       const std::vector<std::string>& groups) {
    ostradb::Client& client = ctx.Client();
    ctx.Doing("changing the groups of \"" + login + "\"");
    WithGroupsGiven([&] { client.set_user_groups(login, groups); });
    if (ctx.Json())
        PrintJson(Json{{"login", login}, {"groups", groups}});
    else
        std::cout << login << " is in: " << Joined(groups, ", ") << '\n';
}

void RunUsersCheck(Context& ctx) {
    ostradb::Client& client = ctx.Client();
    ctx.Doing("checking the users");
    client.check_users();
    if (ctx.Json())
        PrintJson(Json{{"consistent", true}});
    else
        std::cout << "consistent: somebody can administer users\n";
}

// ---- log

void RunLog(Context& ctx) {
    ostradb::Client& client = ctx.Client();
    ctx.Doing("reading the server's log");
    const std::vector<LogRecord> log = client.log();
    PrintListing(
        ctx.Output(),
        [&] {
            Json items = Json::array();
            for (const LogRecord& r : log)
                items.push_back({{"id", r.id},
                                 {"time", r.time},
                                 {"type", r.type},
                                 {"user", r.user},
                                 {"address", r.address},
                                 {"text", r.text}});
            return Json{{"log", std::move(items)}};
        },
        [&] {
            Table table({"time", "type", "user", "address", "text"}, "(the log is empty)");
            table.AlignRight(1);
            for (const LogRecord& r : log)
                table.AddRow({r.time, std::to_string(r.type), r.user, r.address, r.text});
            return table;
        });
}

// ---- stat

struct StatArgs {
    std::string database;
    std::vector<std::string> path;
    std::string group;
    StatOptions options;
};

void RunStat(Context& ctx, const StatArgs& args) {
    const Format format = ctx.Output().format;
    if (args.options.quality && (format == Format::csv || format == Format::tsv))
        throw UsageError(
            "--quality: the data-quality checks are a table of their own, printed with the "
            "table format or --json");
    ostradb::Client& client = ctx.Client();
    ctx.Doing("reading the file statistics of \"" + args.database + "\"");
    FileStats stats;
    try {
        stats = client.file_stats(client.find_database(args.database), args.path, args.group,
                                  args.options);
    } catch (const ENotFoundError& e) {
        if (e.kind() != ENotFoundError::Kind::level) throw;
        throw UsageError(std::string("--group: ") + e.what());
    }
    // The statistics' own tab-separated text, ready to paste into a spreadsheet, is their
    // table: a caption and the column heads, then a line per row.
    if (format == Format::table) {
        const std::size_t first = ctx.Output().header ? 0 : 2;
        for (std::size_t i = first; i < stats.lines.size(); ++i)
            std::cout << stats.lines[i] << '\n';
        return;
    }
    PrintListing(
        ctx.Output(),
        [&] {
            Json columns = Json::array();
            for (const StatColumn& column : stats.columns) {
                Json item = {{"name", column.name}, {"kind", column.text ? "text" : "value"}};
                if (!column.text) item["type"] = column.type;
                columns.push_back(std::move(item));
            }
            Json rows = Json::array();
            for (const StatRow& line : stats.rows) {
                Json row = {{"name", line.name}, {"texts", line.texts}, {"values", line.values}};
                if (args.options.files) row["files"] = line.files;
                rows.push_back(std::move(row));
            }
            return Json{{"columns", std::move(columns)},
                        {"rows", std::move(rows)},
                        {"quality", stats.quality}};
        },
        [&] {
            // A row's caption, its texts, its values and, on request, its files a line each.
            std::vector<std::string> headers = {"name"};
            for (const StatColumn& column : stats.columns)
                headers.push_back(column.name);
            if (args.options.files) headers.emplace_back("files");
            Table table(std::move(headers));
            for (const StatRow& line : stats.rows) {
                std::vector<std::string> row = {line.name};
                row.insert(row.end(), line.texts.begin(), line.texts.end());
                for (const std::int32_t value : line.values)
                    row.push_back(std::to_string(value));
                if (args.options.files) row.push_back(Joined(line.files, "\n"));
                table.AddRow(std::move(row));
            }
            return table;
        });
}

}  // namespace

void RunUsersList(Context& ctx) {
    ostradb::Client& client = ctx.Client();
    ctx.Doing("reading the users");
    const std::vector<User> users = client.users();
    PrintListing(
        ctx.Output(),
        [&] {
            Json items = Json::array();
            for (const User& user : users)
                items.push_back({{"login", user.login},
                                 {"name", user.name},
                                 {"groups", user.groups},
                                 {"rights", user.rights},
                                 {"rights_mask", user.rights_mask}});
            Json groups = Json::array();
            for (const Group& group : client.groups())
                groups.push_back({{"name", group.name},
                                  {"rights", group.rights},
                                  {"rights_mask", group.rights_mask},
                                  {"users", group.users}});
            return Json{{"users", std::move(items)}, {"groups", std::move(groups)}};
        },
        [&] {
            Table table({"login", "name", "groups", "rights"}, "(no users)");
            for (const User& user : users)
                table.AddRow(
                    {user.login, user.name, Joined(user.groups, ", "), Joined(user.rights)});
            return table;
        });
}

void AddAdminCommands(CLI::App& app, Context& ctx) {
    auto mask = std::make_shared<std::string>();
    CLI::App* options = app.add_subcommand("options", "List the server's options");
    options->add_option("MASK", *mask,
                        "only the options whose names match (comma-separated masks)");
    options->footer("Examples:\n  ostradb options\n  ostradb options 'Log*,Backup*' --json");
    ctx.SetAction(options, [&ctx, mask] { RunOptions(ctx, *mask); });

    struct OptionArgs {
        std::string name;
        std::optional<std::string> value;
    };
    auto optionArgs = std::make_shared<OptionArgs>();
    CLI::App* option = app.add_subcommand("option", "Show or set one server option");
    option->add_option("NAME", optionArgs->name, "the option's name")->required();
    option->add_option("VALUE", optionArgs->value, "the new value; without it, show the value");
    option->footer("Examples:\n  ostradb option LogLevel\n  ostradb option LogLevel 3");
    ctx.SetAction(option,
                  [&ctx, optionArgs] { RunOption(ctx, optionArgs->name, optionArgs->value); });

    CLI::App* users = app.add_subcommand("users", "List users, add one, or change a user's groups");
    users->require_subcommand(0, 1);
    users->footer(
        "Changes are saved only when somebody can still administer users afterwards.\n"
        "Examples:\n"
        "  ostradb users\n"
        "  OSTRADB_NEW_PASSWORD=secret ostradb users add anna --name 'Анна' --group "
        "'Наблюдатели'\n"
        "  ostradb users set-groups anna 'Наблюдатели' 'Администраторы'");
    ctx.SetAction(users, [&ctx] { RunUsersList(ctx); });

    struct UserArgs {
        std::string login;
        std::string name;
        std::vector<std::string> groups;
    };
    auto addArgs = std::make_shared<UserArgs>();
    CLI::App* add = users->add_subcommand("add", "Add a user");
    add->add_option("LOGIN", addArgs->login, "the new user's login")->required();
    add->add_option("--name", addArgs->name, "the person's name");
    add->add_option("-g,--group", addArgs->groups, "a group to join; repeatable");
    add->footer(
        "The password comes from $OSTRADB_NEW_PASSWORD or, on a terminal, from a prompt.\n"
        "Example:\n  ostradb users add anna --name 'Анна' --group 'Наблюдатели'");
    ctx.SetAction(
        add, [&ctx, addArgs] { RunUsersAdd(ctx, addArgs->login, addArgs->name, addArgs->groups); });

    auto groupsArgs = std::make_shared<UserArgs>();
    CLI::App* setGroups =
        users->add_subcommand("set-groups", "Make a user a member of exactly these groups");
    setGroups->add_option("LOGIN", groupsArgs->login, "the user's login")->required();
    setGroups->add_option("GROUP", groupsArgs->groups, "the groups; none: no group at all");
    setGroups->footer("Example:\n  ostradb users set-groups anna 'Наблюдатели'");
    ctx.SetAction(setGroups, [&ctx, groupsArgs] {
        RunUsersSetGroups(ctx, groupsArgs->login, groupsArgs->groups);
    });

    CLI::App* check = users->add_subcommand(
        "check", "Check that somebody can administer users (what saving requires)");
    ctx.SetAction(check, [&ctx] { RunUsersCheck(ctx); });

    CLI::App* log = app.add_subcommand("log", "Show the server's message log");
    log->footer("Example:\n  ostradb log --json");
    ctx.SetAction(log, [&ctx] { RunLog(ctx); });

    auto statArgs = std::make_shared<StatArgs>();
    CLI::App* stat = app.add_subcommand(
        "stat", "File statistics of a database, one row per value of a level (tab-separated)");
    stat->add_option("DB", statArgs->database, "database name or id")->required();
    stat->add_option("PATH", statArgs->path, "level values from the top");
    stat->add_option("-g,--group", statArgs->group,
                     "the level whose values make the rows: its type (%well), or its name")
        ->required();
    stat->add_option("-f,--filter", statArgs->options.filters,
                     "a condition \"KEY -> VALUES\"; repeatable");
    stat->add_option("-n,--name", statArgs->options.name, "only files whose name matches the mask");
    stat->add_flag("--files", statArgs->options.files, "list each row's files");
    stat->add_flag("--quality", statArgs->options.quality, "add the data-quality checks");
    stat->footer(
        "Examples:\n"
        "  ostradb stat 'North Sea Demo' --group well\n"
        "  ostradb stat 1 'Озёрное' --group '%survey' --files > stat.tsv");
    ctx.SetAction(stat, [&ctx, statArgs] { RunStat(ctx, *statArgs); });
}

}  // namespace ostradb::cli
