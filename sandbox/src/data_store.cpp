#include "data_store.hpp"

#include <set>
#include <sstream>

#include "atomic_file.hpp"
#include "command_error.hpp"
#include "ostradb/util/dates.hpp"
#include "ostradb/util/exceptions.hpp"
#include "ostradb/util/text.hpp"

namespace ostradb::sandbox {

namespace fs = std::filesystem;

namespace {

constexpr const char* kCatalogFile = "databases.xml";
constexpr const char* kUsersFile = "users.xml";
constexpr const char* kOptionsFile = "options.xml";

pugi::xml_node LoadXml(pugi::xml_document& doc, const fs::path& path, const char* rootName) {
    const pugi::xml_parse_result result = doc.load_file(path.c_str());
    if (!result)
        throw Error("The data directory's " + path.filename().string() +
                    " cannot be read: " + result.description());
    const pugi::xml_node root = doc.child(rootName);
    if (!root)
        throw Error("The data directory's " + path.filename().string() + " has no <" + rootName +
                    "> element");
    return root;
}

void SaveXml(const pugi::xml_document& doc, const fs::path& path) {
    std::ostringstream text;
    doc.save(text, "  ", pugi::format_default, pugi::encoding_utf8);
    WriteFileAtomically(path, text.str());
}

}  // namespace

// ---- ServerLog --------------------------------------------------------------------------

void ServerLog::Add(LogType type, std::string user, std::string addr, std::string text) {
    std::lock_guard lock(mutex_);
    LogRecord record;
    record.id = nextId_++;
    record.type = type;
    record.user = std::move(user);
    record.addr = std::move(addr);
    record.text = std::move(text);
    record.time = Now();
    records_.push_back(std::move(record));
    if (records_.size() > kCapacity) records_.pop_front();
}

std::vector<LogRecord> ServerLog::Records() const {
    std::lock_guard lock(mutex_);
    return {records_.begin(), records_.end()};
}

// ---- IdRegistry -------------------------------------------------------------------------

std::int32_t IdRegistry::IdOf(const std::string& key) {
    std::lock_guard lock(mutex_);
    const auto [it, added] = ids_.emplace(key, static_cast<std::int32_t>(keys_.size() + 1));
    if (added) keys_.push_back(key);
    return it->second;
}

std::optional<std::string> IdRegistry::KeyOf(std::int32_t id) const {
    std::lock_guard lock(mutex_);
    if (id < 1 || static_cast<std::size_t>(id) > keys_.size()) return std::nullopt;
    return keys_[static_cast<std::size_t>(id) - 1];
}

// ---- DataStore --------------------------------------------------------------------------

DataStore::DataStore(fs::path dataDir) {
    std::error_code ec;
    dir_ = fs::canonical(dataDir, ec);
    if (ec)
        throw Error("The data directory " + dataDir.string() + " cannot be used: " + ec.message());

    auto catalog = std::make_shared<Catalog>(LoadCatalogFile());
    std::set<std::int32_t> rootIds;
    for (const Database& db : catalog->databases) {
        fs::create_directories(db.dir, ec);
        for (const RootDir& root : db.roots) {
            // Short names carry the root's id alone, so it must name one root of one database.
            if (!rootIds.insert(root.id).second)
                throw Error("databases.xml: the root id " + std::to_string(root.id) +
                            " is used twice");
            fs::create_directories(root.dir, ec);
        }
    }
    catalog_ = std::move(catalog);

    auto usersDoc = std::make_shared<pugi::xml_document>();
    const pugi::xml_node users = LoadXml(*usersDoc, dir_ / kUsersFile, "UserPermissionsData");
    try {
        accounts_ = std::make_shared<const Accounts>(ReadAccounts(users));
    } catch (const CommandError& e) {
        throw Error(std::string("The data directory's users.xml is refused: ") + e.what());
    }
    accountsDoc_ = std::move(usersDoc);

    auto options = std::make_shared<ServerOptions>();
    if (fs::exists(dir_ / kOptionsFile)) {
        pugi::xml_document doc;
        for (pugi::xml_node item : LoadXml(doc, dir_ / kOptionsFile, "Options").children("Item"))
            options->emplace_back(item.attribute("Name").as_string(),
                                  item.attribute("Value").as_string());
    }
    options_ = std::move(options);
}

Catalog DataStore::LoadCatalogFile() const {
    pugi::xml_document doc;
    return ReadCatalog(dir_, LoadXml(doc, dir_ / kCatalogFile, "sandbox_databases"));
}

void DataStore::WriteCatalogFile(const Catalog& catalog) const {
    pugi::xml_document doc;
    pugi::xml_node decl = doc.append_child(pugi::node_declaration);
    decl.append_attribute("version") = "1.0";
    decl.append_attribute("encoding") = "UTF-8";
    WriteCatalog(catalog, doc.append_child("sandbox_databases"));
    SaveXml(doc, dir_ / kCatalogFile);
}

std::shared_ptr<const Catalog> DataStore::GetCatalog() const {
    std::lock_guard lock(mutex_);
    return catalog_;
}

void DataStore::ChangeCatalog(const std::function<void(Catalog&)>& change) {
    std::lock_guard write(writeMutex_);
    auto copy = std::make_shared<Catalog>(*GetCatalog());
    change(*copy);
    WriteCatalogFile(*copy);
    std::lock_guard lock(mutex_);
    catalog_ = std::move(copy);
}

bool DataStore::ReloadDatabase(std::int32_t id) {
    std::lock_guard write(writeMutex_);
    const Catalog file = LoadCatalogFile();
    const Database* fresh = file.FindById(id);
    auto copy = std::make_shared<Catalog>(*GetCatalog());
    auto it = std::find_if(copy->databases.begin(), copy->databases.end(),
                           [&](const Database& db) { return db.id == id; });
    if (it == copy->databases.end()) return false;
    if (fresh)
        *it = *fresh;
    else
        copy->databases.erase(it);
    std::lock_guard lock(mutex_);
    catalog_ = std::move(copy);
    return fresh != nullptr;
}

std::shared_ptr<const Accounts> DataStore::GetAccounts() const {
    std::lock_guard lock(mutex_);
    return accounts_;
}

std::shared_ptr<const pugi::xml_document> DataStore::GetAccountsDoc() const {
    std::lock_guard lock(mutex_);
    return accountsDoc_;
}

void DataStore::SaveAccounts(pugi::xml_node data) {
    auto accounts = std::make_shared<const Accounts>(ReadAccounts(data));
    auto doc = std::make_shared<pugi::xml_document>();
    pugi::xml_node decl = doc->append_child(pugi::node_declaration);
    decl.append_attribute("version") = "1.0";
    decl.append_attribute("encoding") = "UTF-8";
    doc->append_copy(data);
    std::lock_guard write(writeMutex_);
    SaveXml(*doc, dir_ / kUsersFile);
    std::lock_guard lock(mutex_);
    accounts_ = std::move(accounts);
    accountsDoc_ = std::move(doc);
}

ServerOptions DataStore::GetOptions() const {
    std::lock_guard lock(mutex_);
    return *options_;
}

void DataStore::SetOptions(const ServerOptions& changes) {
    std::lock_guard write(writeMutex_);
    auto options = std::make_shared<ServerOptions>(GetOptions());
    for (const auto& [name, value] : changes) {
        auto it = std::find_if(options->begin(), options->end(), [&n = name](const auto& option) {
            return SameText(option.first, n);
        });
        if (it != options->end())
            it->second = value;
        else
            options->emplace_back(name, value);
    }
    pugi::xml_document doc;
    pugi::xml_node decl = doc.append_child(pugi::node_declaration);
    decl.append_attribute("version") = "1.0";
    decl.append_attribute("encoding") = "UTF-8";
    pugi::xml_node root = doc.append_child("Options");
    for (const auto& [name, value] : *options) {
        pugi::xml_node item = root.append_child("Item");
        item.append_attribute("Name") = name.c_str();
        item.append_attribute("Value") = value.c_str();
    }
    SaveXml(doc, dir_ / kOptionsFile);
    std::lock_guard lock(mutex_);
    options_ = std::move(options);
}

}  // namespace ostradb::sandbox
