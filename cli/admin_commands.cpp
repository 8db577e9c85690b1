// options, option, users, log and stat: administering the server.

#include <CLI/CLI.hpp>

#include <cstdlib>
#include <iostream>
#include <memory>

#include "commands.hpp"
#include "errors.hpp"
#include "lookup.hpp"
#include "ostradb/model/filters.hpp"
#include "ostradb/protocol/admin_commands.hpp"
#include "ostradb/users/users.hpp"
#include "ostradb/util/dates.hpp"
#include "ostradb/util/text.hpp"
#include "output.hpp"
#include "terminal.hpp"

namespace ostradb::cli {

namespace {

// Short names of the rights bits 1, 2, 4 ... 64, for tables and JSON.
constexpr const char* kRightNames[] = {"view",         "change-data", "change-files", "change-dbs",
                                       "admin-server", "admin-users", "browse-dirs"};

std::vector<std::string> RightNames(std::uint32_t mask) {
    std::vector<std::string> names;
    for (std::size_t bit = 0; bit < std::size(kRightNames); ++bit)
        if (mask & (1u << bit)) names.emplace_back(kRightNames[bit]);
    return names;
}

std::string Joined(const std::vector<std::string>& items, const char* separator = ",") {
    std::string text;
    for (const std::string& item : items)
        text += (text.empty() ? "" : separator) + item;
    return text;
}

// ---- options

void RunOptions(Context& ctx, const std::string& mask) {
    TOstraDbProtocol& client = ctx.Client();
    ctx.Doing("reading the server's options");
    TServerOptions options;
    client.GetServOptions(mask.empty() ? "*" : mask, options);
    if (ctx.Json()) {
        Json items = Json::array();
        for (const TServerOption& option : options.Items)
            items.push_back({{"name", option.Name}, {"value", option.Value}});
        PrintJson(Json{{"options", std::move(items)}});
        return;
    }
    Table table({"name", "value"});
    for (const TServerOption& option : options.Items)
        table.AddRow({option.Name, option.Value});
    table.Print("(no options)");
}

void RunOption(Context& ctx, const std::string& name, const std::optional<std::string>& value) {
    TOstraDbProtocol& client = ctx.Client();
    std::string current;
    if (value) {
        ctx.Doing("setting the option \"" + name + "\"");
        client.SetServOption(name, *value);
        current = *value;
    } else {
        ctx.Doing("reading the option \"" + name + "\"");
        current = client.GetServOption(name);
    }
    if (ctx.Json())
        PrintJson(Json{{"name", name}, {"value", current}});
    else
        std::cout << current << '\n';
}

// ---- users

std::uint32_t UserRights(const TUmData& data, const TUser& user) {
    std::vector<const TUserGroup*> groups;
    user.GetGroups(data.Groups(), groups);
    std::uint32_t mask = 0;
    for (const TUserGroup* group : groups)
        mask |= group->Rights;
    return mask;
}

std::vector<std::string> GroupNames(const TUmData& data, const TUser& user) {
    std::vector<const TUserGroup*> groups;
    user.GetGroups(data.Groups(), groups);
    std::vector<std::string> names;
    for (const TUserGroup* group : groups)
        names.push_back(group->Name);
    return names;
}

// The groups named, each of which must exist; raises UsageError naming the groups there are.
TStringList CheckedGroups(const TUmData& data, const std::vector<std::string>& names) {
    TStringList groups;
    for (const std::string& name : names) {
        bool found = false;
        for (const TUserGroup& group : data.Groups().Items)
            found = found || SameText(group.Name, name);
        if (!found) {
            std::vector<std::string> known;
            for (const TUserGroup& group : data.Groups().Items)
                known.push_back("\"" + group.Name + "\"");
            throw UsageError("no group \"" + name + "\"; there are " + Joined(known, ", "));
        }
        groups.Add(name);
    }
    return groups;
}

// Refuses data in which nobody could administer users any more, then saves it.
void CheckAndSave(Context& ctx, TOstraDbProtocol& client, const TUmData& data) {
    ctx.Doing("checking the users");
    data.CheckForConsistency();
    ctx.Doing("saving the users");
    client.SaveUmData(data);
}

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
    TOstraDbProtocol& client = ctx.Client();
    ctx.Doing("reading the users");
    TUmData data;
    client.GetUmData(data);
    if (data.Users().Find(login)) throw CliError("user \"" + login + "\" exists already");
    const TStringList memberOf = CheckedGroups(data, groups);
    TUser& user = data.Users().AddNew();
    user.User = login;
    user.Name = name;
    user.Pass = NewPassword(login);
    data.Groups().SetUserInGroups(login, memberOf);
    CheckAndSave(ctx, client, data);
    if (ctx.Json())
        PrintJson(Json{{"login", login}, {"name", name}, {"groups", memberOf.Lines()}});
    else
        std::cout << "added user " << login << " (groups: " << Joined(memberOf.Lines(), ", ")
                  << ")\n";
}

void RunUsersSetGroups(Context& ctx, const std::string& login,
                       const std::vector<std::string>& groups) {
    TOstraDbProtocol& client = ctx.Client();
    ctx.Doing("reading the users");
    TUmData data;
    client.GetUmData(data);
    if (!data.Users().Find(login)) throw CliError("no user \"" + login + "\"");
    const TStringList memberOf = CheckedGroups(data, groups);
    data.Groups().SetUserInGroups(login, memberOf);
    CheckAndSave(ctx, client, data);
    if (ctx.Json())
        PrintJson(Json{{"login", login}, {"groups", memberOf.Lines()}});
    else
        std::cout << login << " is in: " << Joined(memberOf.Lines(), ", ") << '\n';
}

void RunUsersCheck(Context& ctx) {
    TOstraDbProtocol& client = ctx.Client();
    ctx.Doing("reading the users");
    TUmData data;
    client.GetUmData(data);
    ctx.Doing("checking the users");
    data.CheckForConsistency();
    if (ctx.Json())
        PrintJson(Json{{"consistent", true}});
    else
        std::cout << "consistent: somebody can administer users\n";
}

// ---- log

void RunLog(Context& ctx) {
    TOstraDbProtocol& client = ctx.Client();
    ctx.Doing("reading the server's log");
    TServerLog log;
    client.RequestLog(TServerLogFilter{}, log);
    auto time = [](TDateTime t) { return FormatDateTime("yyyy-mm-dd hh:nn:ss", t); };
    if (ctx.Json()) {
        Json items = Json::array();
        for (const TServerLogRecord& r : log.Items)
            items.push_back({{"id", r.Id},
                             {"time", time(r.Time)},
                             {"type", r.MsgType},
                             {"user", r.User},
                             {"address", r.Addr},
                             {"text", r.Text}});
        PrintJson(Json{{"log", std::move(items)}});
        return;
    }
    Table table({"time", "type", "user", "address", "text"});
    table.AlignRight(1);
    for (const TServerLogRecord& r : log.Items)
        table.AddRow({time(r.Time), std::to_string(r.MsgType), r.User, r.Addr, r.Text});
    table.Print("(the log is empty)");
}

// ---- stat

struct StatArgs {
    std::string database;
    std::vector<std::string> path;
    std::string group;
    std::vector<std::string> filters;
    std::string mask;
    bool files = false;
    bool quality = false;
};

// The type of the level the user names by type ("%well"), by type without "%", or by name.
std::string GroupLevelType(const TDatabaseInfo& db, const std::string& name) {
    std::vector<std::string> known;
    for (const TDbStructItem& item : db.Structure.Items) {
        const std::string_view bare =
            std::string_view(item.Type).substr(item.Type.starts_with('%'));
        if (SameText(item.Type, name) || SameText(bare, name) || SameText(item.DisplayName, name))
            return item.Type;
        known.push_back(item.Type);
    }
    throw UsageError("--group: \"" + name + "\" is no level of \"" + db.Name +
                     "\"; its levels are " + Joined(known, ", "));
}

void RunStat(Context& ctx, const StatArgs& args) {
    TFilter filter;
    for (const std::string& line : args.filters) {
        TFilterItem& item = filter.Add();
        item.FromSimpleText(line);
        if (item.Key.empty() || item.Values.Empty() || line.find("->") == std::string::npos)
            throw UsageError("--filter \"" + line + "\": expected KEY -> VALUES");
    }
    TOstraDbProtocol& client = ctx.Client();
    ctx.Doing("reading the file statistics of \"" + args.database + "\"");
    const TDatabasesList list = LoadDatabases(client, true);
    const TDatabaseInfo& info = FindDatabase(list, args.database);
    const std::string group = GroupLevelType(info, args.group);
    const TIntegerArray ids = ResolveLevelPath(client, info, args.path);
    const std::unique_ptr<TDatabase> db = MakeDatabase(info);
    TFilesStatResult result;
    client.RequestFilesStat(result, *db, ids, group, filter.GetCount() > 0 ? &filter : nullptr,
                            args.mask, args.files, args.quality);
    if (ctx.Json()) {
        Json columns = Json::array();
        for (const std::string& caption : result.Hat.TextColumns)
            columns.push_back({{"name", caption}, {"kind", "text"}});
        for (const TFilesStatResultHatValueItem& value : result.Hat.Items)
            columns.push_back({{"name", value.Name}, {"kind", "value"}, {"type", value.ValueType}});
        Json rows = Json::array();
        for (const TFilesStatResultLine& line : result.Lines.Items) {
            Json row = {
                {"name", line.Name}, {"texts", line.Texts.Lines()}, {"values", line.Values}};
            if (args.files) row["files"] = line.Files.Lines();
            rows.push_back(std::move(row));
        }
        PrintJson(Json{{"columns", std::move(columns)},
                       {"rows", std::move(rows)},
                       {"quality", result.Qualities.Lines()}});
        return;
    }
    // The statistics' own tab-separated text, ready to paste into a spreadsheet.
    TStringList lines;
    result.ToStrings(lines);
    for (const std::string& line : lines)
        std::cout << line << '\n';
}

}  // namespace

void RunUsersList(Context& ctx) {
    TOstraDbProtocol& client = ctx.Client();
    ctx.Doing("reading the users");
    TUmData data;
    client.GetUmData(data);
    if (ctx.Json()) {
        Json users = Json::array();
        for (const TUser& user : data.Users().Items) {
            const std::uint32_t rights = UserRights(data, user);
            users.push_back({{"login", user.User},
                             {"name", user.Name},
                             {"groups", GroupNames(data, user)},
                             {"rights", RightNames(rights)},
                             {"rights_mask", rights}});
        }
        Json groups = Json::array();
        for (const TUserGroup& group : data.Groups().Items)
            groups.push_back({{"name", group.Name},
                              {"rights", RightNames(group.Rights)},
                              {"rights_mask", group.Rights},
                              {"users", group.Users.Lines()}});
        PrintJson(Json{{"users", std::move(users)}, {"groups", std::move(groups)}});
        return;
    }
    Table table({"login", "name", "groups", "rights"});
    for (const TUser& user : data.Users().Items)
        table.AddRow({user.User, user.Name, Joined(GroupNames(data, user), ", "),
                      Joined(RightNames(UserRights(data, user)))});
    table.Print("(no users)");
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
    stat->add_option("-f,--filter", statArgs->filters, "a condition \"KEY -> VALUES\"; repeatable");
    stat->add_option("-n,--name", statArgs->mask, "only files whose name matches the mask");
    stat->add_flag("--files", statArgs->files, "list each row's files");
    stat->add_flag("--quality", statArgs->quality, "add the data-quality checks");
    stat->footer(
        "Examples:\n"
        "  ostradb stat 'North Sea Demo' --group well\n"
        "  ostradb stat 1 'Озёрное' --group '%survey' --files > stat.tsv");
    ctx.SetAction(stat, [&ctx, statArgs] { RunStat(ctx, *statArgs); });
}

}  // namespace ostradb::cli
