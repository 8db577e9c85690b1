// Databases, levels, files, statistics and search: finding one's way around the catalog by
// names people use.

#include <algorithm>

#include "client/files_list.hpp"
#include "client/session.hpp"
#include "ostradb/model/db_struct.hpp"
#include "ostradb/model/filters.hpp"
#include "ostradb/model/level_files.hpp"
#include "ostradb/protocol/search_commands.hpp"
#include "ostradb/util/text.hpp"

namespace ostradb {

namespace {

using detail::ClientSession;
using detail::Quoted;
using NotFound = ENotFoundError::Kind;

// The filter of the simple text lines "key[,not][,and] -> value, value".
TFilter ParseFilter(const std::vector<std::string>& lines) {
    TFilter filter;
    for (const std::string& line : lines) {
        TFilterItem& item = filter.Add();
        item.FromSimpleText(line);
        if (item.Key.empty() || item.Values.Empty() || line.find("->") == std::string::npos)
            throw EArgumentError("the filter " + Quoted(line) +
                                 " is not KEY -> VALUES, e.g. \"%well -> 12, 12a\"");
    }
    return filter;
}

// The database as the filter and statistics commands take it, with its structure as the
// default logical structure.
std::unique_ptr<TDatabase> MakeDatabase(const TDatabaseInfo& info) {
    auto db = std::make_unique<TDatabase>();
    db->SetDbType(dtOstraDbDatabase);
    db->Info.Assign(info);
    db->LogicalStructures.SetDefaultStruct(db->Info.Structure);
    return db;
}

void CheckConditions(const std::vector<std::string>& conditions) {
    for (const std::string& condition : conditions)
        if (condition.find('=') == std::string::npos || condition.back() == '=')
            throw EArgumentError("the search condition " + Quoted(condition) +
                                 " is not NAME=VALUE");
}

// The level ids of a path of level values, top first: each value is looked up among the
// values below the previous one (ignoring case, then as an id).
TIntegerArray ResolveLevelPath(TOstraDbProtocol& p, const TDatabaseInfo& db,
                               const std::vector<std::string>& values) {
    TIntegerArray ids;
    std::string where = "/";
    for (const std::string& value : values) {
        TLevelsList levels;
        p.RequestLevelsList(db.Id, ids, false, false, false, nullptr, levels);
        const TLevelItem* match = nullptr;
        for (const TLevelItem& level : levels.Items)
            if (!match && SameText(level.Name, value)) match = &level;
        if (const auto id = detail::AsId(value); !match && id)
            for (const TLevelItem& level : levels.Items)
                if (!match && level.Id == *id) match = &level;
        if (!match) {
            std::vector<std::string> known;
            for (const TLevelItem& level : levels.Items)
                known.push_back(level.Name);
            throw ENotFoundError(NotFound::level_value, value,
                                 "no level value " + Quoted(value) + " under " + where + " in " +
                                     Quoted(db.Name) +
                                     (known.empty() ? " (there is nothing below)"
                                                    : "; there are " + detail::QuotedList(known)));
        }
        ids.push_back(match->Id);
        where += value + "/";
    }
    return ids;
}

// The type of the level named by its type ("%well"), its type without "%", or its name.
std::string GroupLevelType(const TDatabaseInfo& db, const std::string& name) {
    std::string known;
    for (const TDbStructItem& item : db.Structure.Items) {
        const std::string_view bare =
            std::string_view(item.Type).substr(item.Type.starts_with('%'));
        if (SameText(item.Type, name) || SameText(bare, name) || SameText(item.DisplayName, name))
            return item.Type;
        known += (known.empty() ? "" : ", ") + item.Type;
    }
    throw ENotFoundError(
        NotFound::level, name,
        Quoted(name) + " is no level of " + Quoted(db.Name) + "; its levels are " + known);
}

}  // namespace

std::vector<Database> Client::databases(bool with_levels) {
    ClientSession& s = session();
    return detail::Run(s, [&] {
        TDatabasesList list;
        s.protocol.RequestDatabasesListEx(list, with_levels);
        std::vector<Database> result;
        for (const TDatabaseInfo& info : list.Items)
            result.push_back(detail::ToDatabase(info, with_levels));
        while (with_levels && list.GetCount() > 0)
            s.Remember(list, list.GetItem(list.GetCount() - 1));
        return result;
    });
}

Database Client::find_database(const std::string& name_or_id) {
    ClientSession& s = session();
    return detail::Run(s, [&] {
        TDatabasesList list;
        s.protocol.RequestDatabasesListEx(list, false);
        TDatabaseInfo* info = list.FindByName(name_or_id);
        if (const auto id = detail::AsId(name_or_id); !info && id) info = list.FindById(*id);
        if (!info) {
            std::vector<std::string> known;
            for (const TDatabaseInfo& db : list.Items)
                known.push_back(db.Name);
            throw ENotFoundError(
                NotFound::database, name_or_id,
                "no database " + Quoted(name_or_id) + " on the server" +
                    (known.empty() ? " (it has none)" : "; it has " + detail::QuotedList(known)));
        }
        s.protocol.RequestDbStruct(info->Id, info->Structure);
        return detail::ToDatabase(s.Remember(list, *info), true);
    });
}

std::vector<Level> Client::levels(const Database& db, const std::vector<std::string>& path) {
    ClientSession& s = session();
    return detail::Run(s, [&] {
        const TDatabaseInfo& info = s.Info(db);
        TLevelsList levels;
        s.protocol.RequestLevelsList(info.Id, ResolveLevelPath(s.protocol, info, path), false,
                                     false, false, nullptr, levels);
        std::vector<Level> result;
        for (TLevelItem& level : levels.Items)
            result.push_back({level.Id, std::move(level.Name), std::move(level.Path)});
        return result;
    });
}

std::vector<File> Client::files(const Database& db, const std::vector<std::string>& path,
                                const FilesOptions& options) {
    const TFilter filter = ParseFilter(options.filters);
    ClientSession& s = session();
    return detail::Run(s, [&] {
        const TDatabaseInfo& info = s.Info(db);
        const TIntegerArray ids = ResolveLevelPath(s.protocol, info, path);
        TReqFilesFlags flags = {rffInclFilePath};
        if (filter.GetCount() > 0) {
            s.protocol.CheckAndSetFilter(*MakeDatabase(info), filter);
            flags.Include(rffUseFilters);
        }
        TLevelFilesList list;
        s.protocol.RequestFiles(list, info.Id, ids, flags, options.name);
        return detail::TakeSortedFiles(list, info, s.place);
    });
}

std::string Client::full_name(const Database& db, const std::string& short_name) {
    ClientSession& s = session();
    return detail::Run(s, [&] { return detail::FullFileName(s.Info(db), short_name, s.place); });
}

FileStats Client::file_stats(const Database& db, const std::vector<std::string>& path,
                             const std::string& group, const StatOptions& options) {
    const TFilter filter = ParseFilter(options.filters);
    ClientSession& s = session();
    return detail::Run(s, [&] {
        const TDatabaseInfo& info = s.Info(db);
        const std::string groupType = GroupLevelType(info, group);
        const TIntegerArray ids = ResolveLevelPath(s.protocol, info, path);
        TFilesStatResult stat;
        s.protocol.RequestFilesStat(stat, *MakeDatabase(info), ids, groupType,
                                    filter.GetCount() > 0 ? &filter : nullptr, options.name,
                                    options.files, options.quality);
        FileStats result;
        for (const std::string& caption : stat.Hat.TextColumns)
            result.columns.push_back({caption, true, 0});
        for (const TFilesStatResultHatValueItem& value : stat.Hat.Items)
            result.columns.push_back({value.Name, false, value.ValueType});
        TStringList lines;
        stat.ToStrings(lines);
        result.lines = detail::TakeLines(lines);
        for (TFilesStatResultLine& line : stat.Lines.Items)
            result.rows.push_back({std::move(line.Name), detail::TakeLines(line.Texts),
                                   std::move(line.Values), detail::TakeLines(line.Files)});
        result.quality = detail::TakeLines(stat.Qualities);
        return result;
    });
}

std::vector<std::string> Client::search(const std::string& database,
                                        const std::vector<std::string>& conditions,
                                        const std::string& tables) {
    CheckConditions(conditions);
    if (database == "all") return search(Database{.name = "*"}, conditions, tables);
    return search(find_database(database), conditions, tables);
}

std::vector<std::string> Client::search(const Database& db,
                                        const std::vector<std::string>& conditions,
                                        const std::string& tables) {
    // The query text: the databases, the tables, then one condition a line.
    CheckConditions(conditions);
    std::string text = TStringList{db.name}.CommaText() + "\r\n" + tables + "\r\n";
    for (const std::string& condition : conditions)
        text += condition + "\r\n";
    TSearchRequest request;
    request.ReadFromSimpleText(text);
    ClientSession& s = session();
    return detail::Run(s, [&] {
        TStringList files;
        s.protocol.Search(request, files);
        return detail::TakeLines(files);
    });
}

}  // namespace ostradb
