#include "catalog.hpp"

#include "ostradb/util/exceptions.hpp"
#include "ostradb/util/text.hpp"

namespace ostradb::sandbox {

namespace fs = std::filesystem;

std::string Database::WirePath() const {
    std::string path = dir.string();
    if (path.empty() || path.back() != '/') path += '/';
    return path;
}

const RootDir* Database::FindRoot(std::int32_t rootId) const {
    for (const RootDir& root : roots)
        if (root.id == rootId) return &root;
    return nullptr;
}

int Database::LevelIndex(std::string_view type) const {
    for (std::size_t i = 0; i < levels.size(); ++i)
        if (SameText(levels[i].type, type)) return static_cast<int>(i);
    return -1;
}

const Database* Catalog::FindById(std::int32_t id) const {
    for (const Database& db : databases)
        if (db.id == id) return &db;
    return nullptr;
}

const Database* Catalog::FindByName(std::string_view name) const {
    for (const Database& db : databases)
        if (SameText(db.name, name)) return &db;
    return nullptr;
}

std::vector<LevelDef> DefaultLevels() {
    std::vector<LevelDef> levels(3);
    levels[0].type = "%field";
    levels[0].realName = "Месторождение";
    levels[0].isKey = true;
    levels[1].type = "%well";
    levels[1].realName = "Скважина";
    levels[1].isKey = true;
    levels[2].type = "%survey";
    levels[2].realName = "Исследование";
    return levels;
}

namespace {

fs::path Absolute(const fs::path& dataDir, const std::string& stored) {
    const fs::path path(stored);
    return (path.is_absolute() ? path : dataDir / path).lexically_normal();
}

LevelDef ReadLevel(pugi::xml_node node) {
    LevelDef level;
    level.type = node.attribute("type").as_string();
    level.realName = node.attribute("real_name").as_string();
    level.view = node.attribute("df_view").as_string();
    level.exType = node.attribute("ex_type").as_int(1);
    level.noData = node.attribute("no_data").as_string();
    level.dictName = node.attribute("dict_name").as_string();
    level.dictCol1 = node.attribute("dict_col1").as_int(-1);
    level.dictCol2 = node.attribute("dict_col2").as_int(-1);
    level.searchLink = node.attribute("search_link").as_string();
    level.useDict = node.attribute("use_dict").as_bool(false);
    level.real = node.attribute("df_real").as_string();
    level.isKey = node.attribute("is_key").as_bool(false);
    if (level.type.empty()) throw Error("databases.xml: a level without a type");
    return level;
}

void WriteLevel(const LevelDef& level, pugi::xml_node node) {
    node.append_attribute("type") = level.type.c_str();
    node.append_attribute("real_name") = level.realName.c_str();
    if (!level.view.empty()) node.append_attribute("df_view") = level.view.c_str();
    if (level.exType != 1) node.append_attribute("ex_type") = level.exType;
    if (!level.noData.empty()) node.append_attribute("no_data") = level.noData.c_str();
    if (!level.dictName.empty()) node.append_attribute("dict_name") = level.dictName.c_str();
    if (level.dictCol1 != -1) node.append_attribute("dict_col1") = level.dictCol1;
    if (level.dictCol2 != -1) node.append_attribute("dict_col2") = level.dictCol2;
    if (!level.searchLink.empty()) node.append_attribute("search_link") = level.searchLink.c_str();
    if (level.useDict) node.append_attribute("use_dict") = true;
    if (!level.real.empty()) node.append_attribute("df_real") = level.real.c_str();
    if (level.isKey) node.append_attribute("is_key") = true;
}

}  // namespace

Catalog ReadCatalog(const fs::path& dataDir, pugi::xml_node root) {
    Catalog catalog;
    for (pugi::xml_node node : root.children("database")) {
        Database db;
        db.id = node.attribute("id").as_int(-1);
        db.name = node.attribute("name").as_string();
        db.storedDir = node.attribute("dir").as_string();
        if (db.id < 0 || db.name.empty() || db.storedDir.empty())
            throw Error("databases.xml: a database needs an id, a name and a dir");
        if (catalog.FindById(db.id) || catalog.FindByName(db.name))
            throw Error("databases.xml: database " + db.name + " is listed twice");
        db.dir = Absolute(dataDir, db.storedDir);
        db.extPath = node.attribute("ext_path").as_string();
        db.isPrivate = node.attribute("is_private").as_bool(false);
        db.mainFileType = node.attribute("main_file_type").as_int(1);
        for (pugi::xml_node level : node.children("level"))
            db.levels.push_back(ReadLevel(level));
        if (db.levels.empty()) db.levels = DefaultLevels();
        for (pugi::xml_node path : node.children("path"))
            db.pathList.emplace_back(path.text().get());
        for (pugi::xml_node r : node.children("root")) {
            RootDir rootDir;
            rootDir.id = r.attribute("id").as_int(-1);
            rootDir.storedDir = r.attribute("dir").as_string();
            rootDir.externalDir = r.attribute("external_dir").as_string();
            if (rootDir.id < 0 || rootDir.storedDir.empty())
                throw Error("databases.xml: a root of " + db.name + " needs an id and a dir");
            rootDir.dir = Absolute(dataDir, rootDir.storedDir);
            db.roots.push_back(std::move(rootDir));
        }
        catalog.nextId = std::max(catalog.nextId, db.id + 1);
        catalog.databases.push_back(std::move(db));
    }
    catalog.nextId = std::max(catalog.nextId, root.attribute("next_id").as_int(1));
    return catalog;
}

void WriteCatalog(const Catalog& catalog, pugi::xml_node root) {
    root.append_attribute("next_id") = catalog.nextId;
    for (const Database& db : catalog.databases) {
        pugi::xml_node node = root.append_child("database");
        node.append_attribute("id") = db.id;
        node.append_attribute("name") = db.name.c_str();
        node.append_attribute("dir") = db.storedDir.c_str();
        if (!db.extPath.empty()) node.append_attribute("ext_path") = db.extPath.c_str();
        if (db.isPrivate) node.append_attribute("is_private") = true;
        node.append_attribute("main_file_type") = db.mainFileType;
        for (const LevelDef& level : db.levels)
            WriteLevel(level, node.append_child("level"));
        for (const std::string& path : db.pathList)
            node.append_child("path").text().set(path.c_str());
        for (const RootDir& r : db.roots) {
            pugi::xml_node rn = node.append_child("root");
            rn.append_attribute("id") = r.id;
            rn.append_attribute("dir") = r.storedDir.c_str();
            if (!r.externalDir.empty()) rn.append_attribute("external_dir") = r.externalDir.c_str();
        }
    }
}

}  // namespace ostradb::sandbox
