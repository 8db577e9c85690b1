#include "client/session.hpp"

#include <charconv>
#include <cstdio>

#include "ostradb/client/errors.hpp"
#include "ostradb/model/db_struct.hpp"

namespace ostradb::detail {

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

// "2", "0.5", "1.25": seconds as people write them.
std::string Seconds(double seconds) {
    char text[32];
    std::snprintf(text, sizeof text, "%.3f", seconds);
    std::string s = text;
    while (s.back() == '0')
        s.pop_back();
    if (s.back() == '.') s.pop_back();
    return s;
}

}  // namespace

ClientSession::ClientSession() {
    place.Local = false;
}

std::string ClientSession::TimeoutMessage() const {
    return "the server at " + options.host + ":" + std::to_string(options.port) +
           " did not respond within " + Seconds(options.timeout.value_or(0)) + " s (the time-out)";
}

const TDatabaseInfo& ClientSession::Remember(TDatabasesList& list, const TDatabaseInfo& info) {
    // Taken, not copied: a copy would lose which levels are keys.
    std::unique_ptr<TDatabaseInfo>& slot = databases[info.Id];
    slot = list.Items.Extract(list.Items.IndexOf(&info));
    return *slot;
}

const TDatabaseInfo& ClientSession::Info(const Database& db) {
    // A description the client read has the same name; another is read again.
    if (const auto it = databases.find(db.id); it != databases.end() && it->second->Name == db.name)
        return *it->second;
    TDatabasesList list;
    protocol.RequestDatabasesListEx(list, false);
    TDatabaseInfo* info = list.FindById(db.id);
    if (!info)
        throw ENotFoundError(ENotFoundError::Kind::database, std::to_string(db.id),
                             "no database with id " + std::to_string(db.id) + " (" +
                                 Quoted(db.name) + ") on the server");
    protocol.RequestDbStruct(info->Id, info->Structure);
    return Remember(list, *info);
}

std::int64_t AnnouncedPayloadSize(std::string_view text) {
    const std::size_t root = text.find("<packet");
    if (root == std::string_view::npos) return -1;
    const std::string_view tag = text.substr(root, text.find('>', root) - root);
    constexpr std::string_view kAttr = "bin_data_size=\"";
    const std::size_t at = tag.find(kAttr);
    if (at == std::string_view::npos) return -1;
    const std::string_view digits = tag.substr(at + kAttr.size());
    std::int64_t size = -1;
    std::from_chars(digits.data(), digits.data() + digits.size(), size);
    return size < 0 ? -1 : size;
}

Database ToDatabase(const TDatabaseInfo& info, bool withLevels) {
    Database db{info.Id, info.Name, info.Path, info.ExtPath, info.IsPrivate, {}};
    if (!withLevels) return db;
    const TDbStruct& structure = info.Structure;
    for (int i = 0; i < structure.GetItemsCount(); ++i) {
        const TDbStructItem& item = structure.GetItem(i);
        std::string title = !item.DisplayName.empty() ? item.DisplayName
                            : !item.Type.empty()      ? item.Type
                                                      : "level " + std::to_string(i + 1);
        db.levels.push_back(
            {item.Type, item.DisplayName, std::move(title), item.IsKey, KindName(item.ExType)});
    }
    return db;
}

std::vector<std::string> TakeLines(TStringList& list) {
    std::vector<std::string> lines;
    lines.reserve(static_cast<std::size_t>(list.Count()));
    for (std::string& line : list)
        lines.push_back(std::move(line));
    list.Clear();
    return lines;
}

std::optional<std::int32_t> AsId(std::string_view text) {
    std::int32_t id = 0;
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), id);
    if (ec != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return id;
}

std::string Quoted(std::string_view text) {
    return "\"" + std::string(text) + "\"";
}

std::string QuotedList(const std::vector<std::string>& names) {
    std::string known;
    for (const std::string& name : names)
        known += (known.empty() ? "" : ", ") + Quoted(name);
    return known;
}

}  // namespace ostradb::detail
