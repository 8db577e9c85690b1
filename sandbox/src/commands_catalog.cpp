// The list of databases, their structures, and adding and deleting databases.

#include <algorithm>
#include <system_error>

#include "commands.hpp"
#include "name_resolver.hpp"
#include "ostradb/util/text.hpp"
#include "ws_files.hpp"

namespace ostradb::sandbox {

namespace fs = std::filesystem;

namespace {

constexpr const char* kDatabasesFolder = "databases";
// Like the production check: a folder with ws files of which none of the first this many
// lies at the depth of the levels cannot become a database.
constexpr std::size_t kStructureProbe = 100;

const char* BoolText(bool value) {
    return value ? "true" : "false";
}

// A folder name for a database name: letters, digits, "-" and "_" kept, the rest "-".
std::string FolderName(const std::string& name) {
    std::string folder;
    for (char c : name) {
        const auto u = static_cast<unsigned char>(c);
        folder += (u >= 0x80 || std::isalnum(u) || c == '-' || c == '_') ? c : '-';
    }
    return folder.empty() ? "db" : folder;
}

// The directory for a new database: the one the client asked for, which must lie in the data
// directory's databases folder, or a new folder there.
fs::path NewDatabaseDir(const CommandContext& ctx, const std::string& requested,
                        const std::string& name) {
    const fs::path folder = ctx.store.Dir() / kDatabasesFolder;
    if (requested.empty()) return folder / FolderName(name);
    std::string text = StripAddress(requested);
    std::replace(text.begin(), text.end(), '\\', '/');
    const fs::path dir = fs::path(text).lexically_normal();
    const fs::path relative = dir.lexically_relative(folder);
    if (!dir.is_absolute() || relative.empty() || *relative.begin() == ".." || relative == "." ||
        text.find("..") != std::string::npos)
        throw Refusal(ecWrongFileName, requested);
    return dir;
}

// The ws files below dir, and how many of them lie at the depth of levels.
std::pair<std::vector<fs::path>, std::size_t> ProbeFiles(const fs::path& dir, std::size_t levels) {
    std::vector<fs::path> files;
    std::size_t atDepth = 0;
    std::error_code ec;
    for (fs::recursive_directory_iterator it(dir, ec), end; !ec && it != end; it.increment(ec)) {
        if (!it->is_regular_file(ec) || !IsWsFileName(it->path().filename().string())) continue;
        if (static_cast<std::size_t>(it.depth()) == levels && files.size() < kStructureProbe)
            ++atDepth;
        files.push_back(it->path());
    }
    return {std::move(files), atDepth};
}

}  // namespace

void GetDbList(CommandContext& ctx) {
    pugi::xml_node list = ctx.answer.append_child("databases");
    for (const Database& db : ctx.catalog->databases) {
        pugi::xml_node item = list.append_child("item");
        item.append_attribute("id") = db.id;
        SetText(item, "name", db.name);
        SetText(item, "path", db.WirePath());
        SetText(item, "ext_path", db.extPath);
        item.append_attribute("is_private") = BoolText(db.isPrivate);
        AppendList(item, "path_list", db.pathList);
        pugi::xml_node roots = item.append_child("roots");
        for (const RootDir& r : db.roots) {
            pugi::xml_node root = roots.append_child("root");
            SetText(root, "internal_dir", r.dir.string() + "/");
            SetText(root, "external_dir", r.externalDir);
            root.append_attribute("id") = r.id;
        }
    }
}

void GetDbStruct(CommandContext& ctx) {
    const Database& db = ctx.DatabaseArg();
    pugi::xml_node data = ctx.answer.append_child("DbStructData");
    data.append_attribute("dir_count") = static_cast<int>(db.levels.size());
    data.append_attribute("main_file_type") = db.mainFileType;
    pugi::xml_node items = data.append_child("struct_items");
    for (const LevelDef& level : db.levels) {
        pugi::xml_node item = items.append_child("Item");
        SetText(item, "type", level.type);
        SetText(item, "df_view", level.view);
        item.append_attribute("ex_type") = level.exType;
        SetText(item, "real_name", level.realName);
        SetText(item, "no_data", level.noData);
        SetText(item, "dict_name", level.dictName);
        item.append_attribute("dict_col1") = level.dictCol1;
        item.append_attribute("dict_col2") = level.dictCol2;
        SetText(item, "search_link", level.searchLink);
        item.append_attribute("use_dict") = BoolText(level.useDict);
        SetText(item, "df_real", level.real);
        item.append_attribute("is_key") = BoolText(level.isKey);
    }
}

void AddDb(CommandContext& ctx) {
    const std::string name = Trim(RequiredAttr(ctx.command, "name"));
    if (name.empty()) throw Refusal(ecWrongArguments, "name");
    if (ctx.catalog->FindByName(name)) throw Refusal(ecDatabaseExists, name);
    const fs::path dir = NewDatabaseDir(ctx, ctx.command.attribute("path").as_string(), name);
    for (const Database& db : ctx.catalog->databases)
        if (db.dir == dir) throw Refusal(ecDatabaseExists, dir.string());

    std::error_code ec;
    fs::create_directories(dir, ec);
    if (ec) throw Refusal(ecCannotCreateDirectory, dir.string());

    Database db;
    db.name = name;
    db.dir = dir;
    db.storedDir = dir.lexically_relative(ctx.store.Dir()).generic_string();
    db.extPath = ctx.command.attribute("ext_path").as_string();
    db.isPrivate = BoolArg(ctx.command, "is_private");
    db.pathList = ListArg(ctx.command, "path_list");
    db.levels = DefaultLevels();

    // Look through the files as the production server does, reporting progress when the
    // client can take it.
    const bool progress = BoolArg(ctx.command, "info_supported");
    const auto [files, atDepth] = ProbeFiles(dir, db.levels.size());
    if (!files.empty() && atDepth == 0) throw CommandError(ecNoMatchingWsFiles);
    if (progress) {
        const std::size_t steps = std::max<std::size_t>(1, std::min<std::size_t>(files.size(), 10));
        for (std::size_t step = 0; step <= steps; ++step) {
            const std::size_t done = files.size() * step / steps;
            ctx.SendInfo({{"percent", NumberText(100.0 * static_cast<double>(step) /
                                                 static_cast<double>(steps))},
                          {"text", "Просмотрено ws-файлов: " + std::to_string(done) + " из " +
                                       std::to_string(files.size())}});
        }
    }

    std::int32_t id = -1;
    ctx.store.ChangeCatalog([&](Catalog& catalog) {
        if (catalog.FindByName(name)) throw Refusal(ecDatabaseExists, name);
        db.id = id = catalog.nextId++;
        catalog.databases.push_back(db);
    });
    ctx.store.Log().Add(kLogInfo, ctx.session.user, ctx.session.peer,
                        "Добавлена база данных " + name);
    ctx.answer.append_child("result").append_attribute("db_id") = id;
}

void DeleteDb(CommandContext& ctx) {
    const std::int32_t id = ctx.DatabaseArg().id;
    std::string name;
    ctx.store.ChangeCatalog([&](Catalog& catalog) {
        auto it = std::find_if(catalog.databases.begin(), catalog.databases.end(),
                               [&](const Database& db) { return db.id == id; });
        if (it == catalog.databases.end()) throw Refusal(ecDatabaseNotFound, std::to_string(id));
        name = it->name;
        catalog.databases.erase(it);
    });
    ctx.store.Log().Add(kLogInfo, ctx.session.user, ctx.session.peer,
                        "Удалена база данных " + name);
}

void ReloadDbStruct(CommandContext& ctx) {
    const std::int32_t id = ctx.DatabaseArg().id;
    if (!ctx.store.ReloadDatabase(id)) throw Refusal(ecDatabaseNotFound, std::to_string(id));
}

}  // namespace ostradb::sandbox
