#pragma once

// The databases a server offers, as it describes them (TDatabaseInfo, TDatabasesList), and the
// client's own set of databases with their per-database settings, a current database, the
// named filters and the per-server INI settings file (TDatabase, TDatabases).

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <pugixml.hpp>

#include "ostradb/export.hpp"
#include "ostradb/model/db_struct.hpp"
#include "ostradb/model/filters.hpp"
#include "ostradb/serial/persistent.hpp"
#include "ostradb/util/collection.hpp"
#include "ostradb/util/exceptions.hpp"
#include "ostradb/util/string_list.hpp"

namespace ostradb {

class TConnectionSettings;
class TMemIniFile;
class TLevelFilesList;

// A root-relative file name ("${Root_<id>}\...") that cannot be resolved.
class OSTRADB_API TDbRootDirException : public Error {
public:
    using Error::Error;
    ~TDbRootDirException() override;
};

// A database whose files cannot be reached through the local file system.
class OSTRADB_API EFileCantBeAccessedLocally : public Error {
public:
    using Error::Error;
    ~EFileCantBeAccessedLocally() override;
};

enum TDatabaseType : std::uint8_t { dtUndef, dtOstraDbDatabase, dtLocalProject };

// A storage root of a database.
class OSTRADB_API TDbRootDir {
public:
    std::string InternalDir;  // as seen on the server machine
    std::string ExternalDir;  // as seen from other machines
    std::int32_t Id = -1;

    // "internal_dir", "external_dir" and "id" (required).
    void ReadFromXml(pugi::xml_node node);
    void Assign(const TDbRootDir& other);
};

class OSTRADB_API TDbRootDirs {
public:
    Collection<TDbRootDir> Items;

    // Clears, then reads one root per child "root" of node.
    void ReadFromXml(pugi::xml_node node);
    TDbRootDir* FindRootById(std::int32_t id);
    const TDbRootDir* FindRootById(std::int32_t id) const;
    int GetCount() const { return Items.Count(); }
    TDbRootDir& GetItem(int i) { return Items[i]; }
    const TDbRootDir& GetItem(int i) const { return Items[i]; }
    void Assign(const TDbRootDirs& other) { Items.Assign(other.Items); }
};

// One database as the server describes it.
class OSTRADB_API TDatabaseInfo {
public:
    std::int32_t Id = -1;
    std::string Name;
    std::string Path;     // the database directory on the server machine
    std::string ExtPath;  // the same directory as seen from other machines; may be empty
    TDbStruct Structure;
    TStringList PathList;
    bool IsPrivate = false;
    TDbRootDirs Roots;
    bool IsProjectDatabase = false;  // set only through TDatabase::SetDbType

    // Reads "id", "name", "path", "ext_path" (required: a missing one raises EConvertError),
    // "is_private" when present, the serializer's list "path_list", and the roots from a
    // child "roots" when there is one.
    void ReadFromXml(pugi::xml_node node);
    // Writes "db_id" (unless the id is -1), "name", "path", "ext_path", "is_private"
    // ("true"/"false") and the list "path_list". The answer's "id" becomes the request's
    // "db_id"; roots and structure are never written.
    void WriteToXml(pugi::xml_node node) const;
    // Copies all but PathList and IsProjectDatabase.
    void Assign(const TDatabaseInfo& other);

    // The server is the local machine, or the database has an external path.
    bool CanBeAccessedLocally() const;
    // The local file system name of a short file name; raises EFileCantBeAccessedLocally.
    std::string ShortFileNameToLocalFileName(std::string_view shortName) const;
    // The full "WSTP://" name of a short file name, resolving "${Root_<id>}\" prefixes;
    // raises TDbRootDirException for a prefix that cannot be resolved. With withHostAndPort
    // the name carries "/HOST:<server>//PORT:<port>/".
    std::string ShortFileNameToFullFileName(std::string_view shortName, bool withHostAndPort) const;
    // The same for the server that settings describe rather than the process-wide one.
    std::string ShortFileNameToFullFileName(std::string_view shortName, bool withHostAndPort,
                                            const TConnectionSettings& settings) const;
};

// The databases of a server's answer.
class OSTRADB_API TDatabasesList {
public:
    Collection<TDatabaseInfo> Items;

    // Clears, then reads one database per child "item" of node's child "databases". A failed
    // read leaves the databases read before it.
    void ReadFromXml(pugi::xml_node node);
    // The first database named name ignoring case, or null.
    TDatabaseInfo* FindByName(std::string_view name);
    const TDatabaseInfo* FindByName(std::string_view name) const;
    TDatabaseInfo* FindById(std::int32_t id);
    const TDatabaseInfo* FindById(std::int32_t id) const;
    int GetCount() const { return Items.Count(); }
    TDatabaseInfo& GetItem(int i) { return Items[i]; }
    const TDatabaseInfo& GetItem(int i) const { return Items[i]; }
};

// What the application shows of a database.
class OSTRADB_API TDatabaseOptions : public Persistent {
public:
    bool ShowPlanshets = true;
    bool ShowFiles = true;
    bool ShowCurves = true;
    bool ShowColumns = true;
    bool ShowTables = true;
    std::string LastFilterName;
    bool UseFilter = false;

    const TStringList& GetLastOpenedPaths() const { return lastOpenedPaths_; }
    TStringList& LastOpenedPaths() { return lastOpenedPaths_; }

    const PropertyList& Properties() const override;
    // Copies the Show flags, LastFilterName and UseFilter; not LastOpenedPaths.
    void Assign(const TDatabaseOptions& other);
    // The declared properties in section prefix + "/Options".
    void SaveSettingsToIni(std::string_view prefix, TMemIniFile& ini) const;
    void LoadSettingsFromIni(std::string_view prefix, const TMemIniFile& ini);

private:
    TStringList lastOpenedPaths_;
};

// One database of the client's set, with its settings.
class OSTRADB_API TDatabase {
public:
    TDatabase();
    ~TDatabase();
    TDatabase(const TDatabase&) = delete;
    TDatabase& operator=(const TDatabase&) = delete;

    TDatabaseInfo Info;
    TDbLogicalStructures LogicalStructures;
    TDatabaseOptions Options;
    TDatabaseType DbType = dtUndef;

    // The files of a project database; null until ConfigureAsProjectDatabase.
    TLevelFilesList* LevelFiles() { return levelFiles_.get(); }
    const TLevelFilesList* LevelFiles() const { return levelFiles_.get(); }

    // Copies info, options and logical structures, and the level files when the source has
    // them (the files list is created here when this database has none). Not DbType.
    void Assign(const TDatabase& other);

    TDbStruct& GetStructure() { return Info.Structure; }
    const TDbStruct& GetStructure() const { return Info.Structure; }
    void SetDbType(TDatabaseType t);
    // Turns this database into a local project: one level "%file_level", the default logical
    // structure built from it, and a files list (kept when it exists).
    void ConfigureAsProjectDatabase();
    // One level per project file: id = its index, name = its file name without directories.
    void GetLevelsForProject(TLevelsList& levels) const;
    // levelIds[0] (or -1 when empty) selects a file by index; -1 copies all files.
    void GetFilesForLevel(std::span<const std::int32_t> levelIds, TLevelFilesList& files) const;

    // The logical structures and options under the database's name.
    void SaveSettingsToIni(TMemIniFile& ini) const;
    void LoadSettingsFromIni(const TMemIniFile& ini);

private:
    std::unique_ptr<TLevelFilesList> levelFiles_;
};

// The client's set of databases for one server.
class OSTRADB_API TDatabases : public Persistent {
public:
    TDatabases();
    ~TDatabases() override;
    TDatabases(const TDatabases&) = delete;
    TDatabases& operator=(const TDatabases&) = delete;

    Collection<TDatabase> Items;
    std::int32_t CurrentId = -1;  // the info id of the current database
    std::string Tag;              // copied by Assign; not used by the set itself
    TFilters Filters;
    bool SettingsLoaded = false;
    std::string SettingsDir;  // where the INI files lie; set before any settings call

    // Copies the databases, current id, Tag and filters; not the active list.
    void Assign(const TDatabases& other);
    int GetCount() const { return Items.Count(); }
    TDatabase& GetItem(int i) { return Items[i]; }
    const TDatabase& GetItem(int i) const { return Items[i]; }
    TDatabase& Add() { return Items.Add(); }
    // Empties the databases; no current database, settings not loaded. Entries of the active
    // list that were these databases go with them (they would dangle); others stay.
    void Clear();

    // The first database whose info id is the current id; null when the current id is -1.
    TDatabase* GetCurrent();
    // Makes db current when it is one of the databases; otherwise there is no current one.
    void SetCurrent(const TDatabase* db);
    TDatabase* FindByDbName(std::string_view name);
    TDatabase* FindById(std::int32_t id);

    // Databases the application keeps open. The list never owns them.
    void AddToActiveList(TDatabase* db);
    void RemoveFromActiveList(const TDatabase* db);
    bool IsInActiveList(const TDatabase* db) const;
    void ClearActiveList() { active_.clear(); }
    int GetActiveCount() const { return static_cast<int>(active_.size()); }
    TDatabase* GetActiveItem(int i) const;

    // SettingsDir, the path separator, "Marvolt." + the trimmed server + ".ini". Raises Error
    // "Не задан SettingsFileName" when SettingsDir is empty.
    std::string GetSettingsFileName(std::string_view server) const;
    // Rewrites the whole file (the filters, every database, "Main"/"Current") and replaces
    // the previous one only once it is complete. Does nothing before settings were loaded.
    void SaveSettingsToIniEx(std::string_view server);
    void SaveSettingsToIni() { SaveSettingsToIniEx("localhost"); }
    // Loads the settings of the databases in the set (matched by name), the filters and the
    // current database.
    void LoadSettingsFromIniEx(std::string_view server);
    void LoadSettingsFromIni() { LoadSettingsFromIniEx("localhost"); }

private:
    std::vector<TDatabase*> active_;
};

// The label of a level-file-name kind (1 to 4); other kinds leave result untouched.
OSTRADB_API void GetFileTypeString(std::int32_t kind, std::string& result);

}  // namespace ostradb
