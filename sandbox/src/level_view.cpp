#include "level_view.hpp"

#include <algorithm>

#include "ostradb/util/text.hpp"

namespace ostradb::sandbox {

namespace {

constexpr char kNodeSeparator = '\x1e';
constexpr char kValueSeparator = '\x1f';

// The types the request names; empty when it names none.
std::vector<std::string> RequestedOrder(const CommandContext& ctx) {
    std::vector<std::string> types;
    if (pugi::xml_node log = ctx.command.child("LogStruct")) {
        for (pugi::xml_node item : log.child("Items").children("Item"))
            types.emplace_back(item.attribute("ItemType").as_string());
    } else if (pugi::xml_node list = ctx.command.child("log_db_struct")) {
        for (pugi::xml_node item : list.children("item"))
            types.emplace_back(item.attribute("type").as_string());
    }
    return types;
}

bool HasAllTypes(const Database& db, const std::vector<std::string>& types) {
    return std::all_of(types.begin(), types.end(),
                       [&](const std::string& type) { return db.LevelIndex(type) >= 0; });
}

}  // namespace

LevelView::LevelView(const CommandContext& ctx, const Database& db) : db_(&db) {
    std::vector<std::string> types = RequestedOrder(ctx);
    // The session's order applies to the databases that have all of its levels.
    if (types.empty() && HasAllTypes(db, ctx.session.logStruct)) types = ctx.session.logStruct;
    if (types.empty()) {
        for (std::size_t i = 0; i < db.levels.size(); ++i)
            order_.push_back(i);
        return;
    }
    for (const std::string& type : types) {
        const int index = db.LevelIndex(type);
        if (index < 0) throw Refusal(ecWrongArguments, type);
        const auto level = static_cast<std::size_t>(index);
        if (std::find(order_.begin(), order_.end(), level) != order_.end())
            throw Refusal(ecWrongArguments, type);
        order_.push_back(level);
    }
}

std::vector<std::string> LevelView::ValuesOf(const WsFile& file) const {
    std::vector<std::string> values;
    values.reserve(order_.size());
    for (std::size_t level : order_)
        values.push_back(level < file.values.size() ? file.values[level] : std::string());
    return values;
}

std::string LevelView::Key(const std::vector<std::string>& values, std::size_t count) const {
    std::string key = std::to_string(db_->id);
    for (std::size_t i = 0; i < count; ++i) {
        key += kNodeSeparator;
        key += Level(i).type;
        key += kValueSeparator;
        key += values[i];
    }
    return key;
}

std::int32_t LevelView::IdOf(IdRegistry& ids, const std::vector<std::string>& values) const {
    return ids.IdOf(Key(values, values.size()));
}

std::vector<std::string> LevelView::Resolve(IdRegistry& ids,
                                            const std::vector<std::int32_t>& path) const {
    std::vector<std::string> values;
    for (std::int32_t id : path) {
        const std::optional<std::string> key = ids.KeyOf(id);
        if (!key || values.size() >= Depth()) throw Refusal(ecLevelNotFound, std::to_string(id));
        std::string prefix = Key(values, values.size());
        prefix += kNodeSeparator;
        prefix += Level(values.size()).type;
        prefix += kValueSeparator;
        if (!key->starts_with(prefix) ||
            key->find(kNodeSeparator, prefix.size()) != std::string::npos)
            throw Refusal(ecLevelNotFound, std::to_string(id));
        values.push_back(key->substr(prefix.size()));
    }
    return values;
}

std::vector<ListedFile> FilesBelow(const CommandContext& ctx, const LevelView& view,
                                   const std::vector<WsFile>& files,
                                   const std::vector<std::string>& values,
                                   const std::vector<const Filter*>& filters) {
    std::vector<ListedFile> listed;
    for (const WsFile& file : files) {
        const std::vector<std::string> own = view.ValuesOf(file);
        if (!std::equal(values.begin(), values.end(), own.begin())) continue;
        auto meta = ctx.store.Metas().Get(file.path);
        const bool passes = std::all_of(filters.begin(), filters.end(), [&](const Filter* f) {
            return Passes(*f, view.Db(), file, *meta);
        });
        if (passes) listed.push_back({&file, std::move(meta)});
    }
    return listed;
}

void AppendFileElement(const CommandContext& ctx, pugi::xml_node parent, const ListedFile& listed,
                       const FileParts& parts) {
    const WsFile& file = *listed.file;
    const WsMeta& meta = *listed.meta;
    pugi::xml_node node = parent.append_child("file");
    node.append_attribute("extra_path") = "";
    SetText(node, "name", file.shortName);
    node.append_attribute("type") = 1;  // a correct file
    SetText(node, "trunk_id", meta.trunkId);
    node.append_attribute("is_main") = meta.isMain ? "true" : "false";
    node.append_attribute("file_id") = ctx.store.FileIds().IdOf(file.path.string());
    node.append_attribute("flags") = 0;
    node.append_attribute("UserRights") = ctx.session.rights;

    pugi::xml_node params = node.append_child("params");
    for (const auto& [key, value] : meta.params) {
        pugi::xml_node param = params.append_child("param");
        SetText(param, "key", key);
        SetText(param, "value", value);
    }
    if (parts.path) {
        pugi::xml_node path = node.append_child("path");
        for (const std::string& value : file.values)
            SetText(path.append_child("item"), "value", value);
    }
    if (parts.tables || parts.curves) {
        for (const TableInfo& table : meta.tables) {
            pugi::xml_node t = node.append_child("table");
            SetText(t, "name", table.name);
            pugi::xml_node data = t.append_child("data");
            if (parts.curves) {
                for (const CurveInfo& curve : table.curves) {
                    pugi::xml_node c = data.append_child("curve");
                    SetText(c, "name", curve.name);
                    SetNumber(c, "start", curve.start);
                    SetNumber(c, "stop", curve.stop);
                    SetNumber(c, "step", curve.step);
                    c.append_attribute("nvers") = curve.nvers;
                    SetText(c, "keystr", curve.keystr);
                    c.append_attribute("dclass") = curve.dclass;
                    SetText(c, "table", table.name);
                    pugi::xml_node planshets = c.append_child("planshets");
                    for (const std::string& p : curve.planshets)
                        SetText(planshets.append_child("item"), "name", p);
                }
            }
            if (parts.rows) t.append_child("rows");
        }
    }
    if (parts.planshets)
        for (const std::string& p : meta.planshets)
            SetText(node.append_child("planshet"), "name", p);
}

}  // namespace ostradb::sandbox
