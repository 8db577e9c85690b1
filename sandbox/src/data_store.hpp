#pragma once

// The data directory, shared by every connection:
//
//   databases.xml   the databases (id, name, directory, levels, roots)
//   users.xml       users and groups ("UserPermissionsData")
//   options.xml     the server options ("Options")
//   databases/…     the databases' directories with their level folders and ws files
//
// The catalog, the accounts and the options are immutable snapshots: readers take one and
// keep it for the length of a command; a change writes the file (atomically) and then
// publishes the new snapshot.

#include <cstdint>
#include <deque>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include <pugixml.hpp>

#include "accounts.hpp"
#include "catalog.hpp"
#include "ws_files.hpp"

namespace ostradb::sandbox {

using ServerOptions = std::vector<std::pair<std::string, std::string>>;

// The server's own log of logins and errors, as "request_log" hands it out.
struct LogRecord {
    std::int32_t id = 0;
    std::int32_t type = 0;  // LogType
    std::string user;
    std::string addr;
    std::string text;
    double time = 0;  // day count
};

enum LogType : std::int32_t { kLogInfo = 0, kLogWarning = 1, kLogError = 2 };

class ServerLog {
public:
    static constexpr std::size_t kCapacity = 1000;

    void Add(LogType type, std::string user, std::string addr, std::string text);
    std::vector<LogRecord> Records() const;

private:
    mutable std::mutex mutex_;
    std::deque<LogRecord> records_;
    std::int32_t nextId_ = 1;
};

// Numbers handed out for keys (level paths, file names) on first sight, stable for the run.
class IdRegistry {
public:
    std::int32_t IdOf(const std::string& key);
    std::optional<std::string> KeyOf(std::int32_t id) const;

private:
    mutable std::mutex mutex_;
    std::unordered_map<std::string, std::int32_t> ids_;
    std::vector<std::string> keys_;  // id - 1 → key
};

class DataStore {
public:
    // Loads the data directory. Raises Error when a file of it is missing or malformed.
    explicit DataStore(std::filesystem::path dataDir);

    const std::filesystem::path& Dir() const { return dir_; }

    std::shared_ptr<const Catalog> GetCatalog() const;
    // Applies change to a copy of the catalog, writes databases.xml, publishes the copy.
    // Changes run one at a time; whatever change throws leaves everything as it was.
    void ChangeCatalog(const std::function<void(Catalog&)>& change);
    // Reads databases.xml again and replaces the entry of this database with the file's.
    // False when the file no longer lists it.
    bool ReloadDatabase(std::int32_t id);

    std::shared_ptr<const Accounts> GetAccounts() const;
    // The stored document; its root is the "UserPermissionsData" element.
    std::shared_ptr<const pugi::xml_document> GetAccountsDoc() const;
    // Checks and stores a new "UserPermissionsData" (CommandError 7 when it is refused).
    void SaveAccounts(pugi::xml_node data);

    ServerOptions GetOptions() const;
    // Sets each option (by name, ignoring case; new names are appended) and writes the file.
    void SetOptions(const ServerOptions& changes);

    ServerLog& Log() { return log_; }
    IdRegistry& LevelIds() { return levelIds_; }
    IdRegistry& FileIds() { return fileIds_; }
    MetaCache& Metas() { return metas_; }

private:
    Catalog LoadCatalogFile() const;
    void WriteCatalogFile(const Catalog& catalog) const;

    std::filesystem::path dir_;
    mutable std::mutex mutex_;  // guards the snapshot pointers
    std::mutex writeMutex_;     // one change of a file at a time
    std::shared_ptr<const Catalog> catalog_;
    std::shared_ptr<const Accounts> accounts_;
    std::shared_ptr<const pugi::xml_document> accountsDoc_;
    std::shared_ptr<const ServerOptions> options_;

    ServerLog log_;
    IdRegistry levelIds_;
    IdRegistry fileIds_;
    MetaCache metas_;
};

}  // namespace ostradb::sandbox
