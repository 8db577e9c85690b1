#include "lookup.hpp"

#include <charconv>
#include <optional>

#include "errors.hpp"
#include "ostradb/model/db_struct.hpp"
#include "ostradb/util/text.hpp"

namespace ostradb::cli {

namespace {

std::optional<std::int32_t> AsId(const std::string& text) {
    std::int32_t id = 0;
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), id);
    if (ec != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return id;
}

std::string Quoted(const std::string& text) {
    return "\"" + text + "\"";
}

}  // namespace

TDatabasesList LoadDatabases(TOstraDbProtocol& client, bool withStructs) {
    TDatabasesList list;
    client.RequestDatabasesListEx(list, withStructs);
    return list;
}

const TDatabaseInfo& FindDatabase(const TDatabasesList& list, const std::string& name) {
    if (const TDatabaseInfo* found = list.FindByName(name)) return *found;
    if (const auto id = AsId(name))
        if (const TDatabaseInfo* found = list.FindById(*id)) return *found;
    std::string known;
    for (const TDatabaseInfo& db : list.Items)
        known += (known.empty() ? "" : ", ") + Quoted(db.Name);
    throw CliError("no database " + Quoted(name) + " on the server" +
                   (known.empty() ? " (it has none)" : "; it has " + known));
}

std::unique_ptr<TDatabase> MakeDatabase(const TDatabaseInfo& info) {
    auto db = std::make_unique<TDatabase>();
    db->SetDbType(dtOstraDbDatabase);
    db->Info.Assign(info);
    db->LogicalStructures.SetDefaultStruct(db->Info.Structure);
    return db;
}

TIntegerArray ResolveLevelPath(TOstraDbProtocol& client, const TDatabaseInfo& db,
                               const std::vector<std::string>& values) {
    TIntegerArray ids;
    std::string where = "/";
    for (const std::string& value : values) {
        TLevelsList levels;
        client.RequestLevelsList(db.Id, ids, false, false, false, nullptr, levels);
        const TLevelItem* match = nullptr;
        for (const TLevelItem& level : levels.Items)
            if (SameText(level.Name, value)) {
                match = &level;
                break;
            }
        if (!match)
            if (const auto id = AsId(value))
                for (const TLevelItem& level : levels.Items)
                    if (level.Id == *id) {
                        match = &level;
                        break;
                    }
        if (!match) {
            std::string known;
            for (const TLevelItem& level : levels.Items)
                known += (known.empty() ? "" : ", ") + Quoted(level.Name);
            throw CliError("no level value " + Quoted(value) + " under " + where + " in " +
                           Quoted(db.Name) +
                           (known.empty() ? " (there is nothing below)" : "; there are " + known));
        }
        ids.push_back(match->Id);
        where += value + "/";
    }
    return ids;
}

std::string FullFileName(const TDatabaseInfo& db, const std::string& shortName) {
    std::string name = db.ShortFileNameToFullFileName(shortName, false);
    constexpr std::string_view kLocal = "WSTP://DIRECT:";
    if (name.starts_with(kLocal)) name.erase(0, kLocal.size());
    return name;
}

std::string LevelTitle(const TDbStruct& structure, int i) {
    if (i >= 0 && i < structure.GetItemsCount()) {
        const TDbStructItem& item = structure.GetItem(i);
        if (!item.DisplayName.empty()) return item.DisplayName;
        if (!item.Type.empty()) return item.Type;
    }
    return "level " + std::to_string(i + 1);
}

}  // namespace ostradb::cli
