#pragma once

// The databases of the data directory as the server holds them in memory: one immutable
// snapshot at a time, replaced whole when a database is added, deleted or reloaded.

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include <pugixml.hpp>

namespace ostradb::sandbox {

// One level of a database's hierarchy (one structure item): a level folder depth.
struct LevelDef {
    std::string type;      // "%field", "%well", …
    std::string realName;  // shown to users
    std::string view;
    std::int32_t exType = 1;
    std::string noData;
    std::string dictName;
    std::int32_t dictCol1 = -1;
    std::int32_t dictCol2 = -1;
    std::string searchLink;
    bool useDict = false;
    std::string real;
    bool isKey = false;
};

// A further storage root of a database; its files are named "${Root_<id>}\" + the path below.
struct RootDir {
    std::int32_t id = -1;
    std::filesystem::path dir;  // absolute
    std::string storedDir;      // as written in databases.xml
    std::string externalDir;
};

struct Database {
    std::int32_t id = -1;
    std::string name;
    std::filesystem::path dir;  // absolute
    std::string storedDir;      // as written in databases.xml
    std::string extPath;
    bool isPrivate = false;
    std::vector<std::string> pathList;
    std::vector<LevelDef> levels;  // the level folders, outermost first
    std::int32_t mainFileType = 1;
    std::vector<RootDir> roots;

    // The directory as clients see it: absolute, ending with the path delimiter.
    std::string WirePath() const;
    const RootDir* FindRoot(std::int32_t rootId) const;
    // Index of the level of this type (ignoring case), or -1.
    int LevelIndex(std::string_view type) const;
};

struct Catalog {
    std::vector<Database> databases;
    std::int32_t nextId = 1;

    const Database* FindById(std::int32_t id) const;
    const Database* FindByName(std::string_view name) const;
};

// The structure given to databases added by clients: field, well, survey.
std::vector<LevelDef> DefaultLevels();

// databases.xml: read (directories relative to dataDir), and written back.
Catalog ReadCatalog(const std::filesystem::path& dataDir, pugi::xml_node root);
void WriteCatalog(const Catalog& catalog, pugi::xml_node root);

}  // namespace ostradb::sandbox
