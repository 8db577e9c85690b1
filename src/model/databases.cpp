#include "ostradb/model/databases.hpp"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <string>

#include "ostradb/model/level_files.hpp"
#include "ostradb/protocol/connection_settings.hpp"
#include "ostradb/serial/ini_properties.hpp"
#include "ostradb/serial/properties.hpp"
#include "ostradb/serial/xml.hpp"
#include "ostradb/serial/xml_serializer.hpp"
#include "ostradb/util/file_names.hpp"
#include "ostradb/util/ini_file.hpp"
#include "ostradb/util/numbers.hpp"
#include "ostradb/util/text.hpp"

namespace ostradb {

TDbRootDirException::~TDbRootDirException() = default;
EFileCantBeAccessedLocally::~EFileCantBeAccessedLocally() = default;

namespace {

// A string attribute the answer must carry: a missing one fails like a missing number.
std::string Required(pugi::xml_node node, const char* name) {
    if (!xml::HasAttr(node, name))
        throw EConvertError(std::string("Missing attribute \"") + name + "\" of <" + node.name() +
                            ">");
    return xml::Attr(node, name);
}

template <class Fn>
void ForEachChild(pugi::xml_node parent, const char* name, Fn fn) {
    for (pugi::xml_node c = parent.first_child(); c; c = c.next_sibling())
        if (c.type() == pugi::node_element && std::strcmp(c.name(), name) == 0) fn(c);
}

constexpr std::string_view kRootPrefix = "${Root_";
constexpr std::string_view kRootEnd = "}\\";

}  // namespace

// ---- roots

void TDbRootDir::ReadFromXml(pugi::xml_node node) {
    InternalDir = Required(node, "internal_dir");
    ExternalDir = Required(node, "external_dir");
    Id = xml::AttrInt(node, "id");
}

void TDbRootDir::Assign(const TDbRootDir& other) {
    InternalDir = other.InternalDir;
    ExternalDir = other.ExternalDir;
    Id = other.Id;
}

void TDbRootDirs::ReadFromXml(pugi::xml_node node) {
    Items.Clear();
    ForEachChild(node, "root", [&](pugi::xml_node c) { Items.Add().ReadFromXml(c); });
}

TDbRootDir* TDbRootDirs::FindRootById(std::int32_t id) {
    for (TDbRootDir& r : Items)
        if (r.Id == id) return &r;
    return nullptr;
}

const TDbRootDir* TDbRootDirs::FindRootById(std::int32_t id) const {
    return const_cast<TDbRootDirs*>(this)->FindRootById(id);
}

// ---- database info

void TDatabaseInfo::ReadFromXml(pugi::xml_node node) {
    Id = xml::AttrInt(node, "id");
    Name = Required(node, "name");
    Path = Required(node, "path");
    ExtPath = Required(node, "ext_path");
    if (xml::HasAttr(node, "is_private")) IsPrivate = xml::AttrBool(node, "is_private");
    LoadFromXML(&PathList, "path_list", node);
    if (pugi::xml_node roots = node.child("roots")) Roots.ReadFromXml(roots);
}

void TDatabaseInfo::WriteToXml(pugi::xml_node node) const {
    if (Id != -1) xml::SetAttr(node, "db_id", Id);
    xml::SetAttr(node, "name", Name);
    xml::SetAttr(node, "path", Path);
    xml::SetAttr(node, "ext_path", ExtPath);
    xml::SetBoolXmlAttr(node, "is_private", IsPrivate);
    SaveToXML(&PathList, "path_list", node);
}

void TDatabaseInfo::Assign(const TDatabaseInfo& other) {
    if (this == &other) return;
    Id = other.Id;
    Name = other.Name;
    Path = other.Path;
    ExtPath = other.ExtPath;
    IsPrivate = other.IsPrivate;
    Structure.Assign(other.Structure);
    Roots.Assign(other.Roots);
}

bool TDatabaseInfo::CanBeAccessedLocally() const {
    return ConnSettings().IsReallyLocal() || !ExtPath.empty();
}

std::string TDatabaseInfo::ShortFileNameToLocalFileName(std::string_view shortName) const {
    if (!CanBeAccessedLocally())
        throw EFileCantBeAccessedLocally("Database " + Name + " can't be accessed locally");
    const std::string& dir = ConnSettings().IsReallyLocal() ? Path : ExtPath;
    return FixEmptyExtension(dir + std::string(shortName));
}

std::string TDatabaseInfo::ShortFileNameToFullFileName(std::string_view shortName,
                                                       bool withHostAndPort) const {
    return ShortFileNameToFullFileName(shortName, withHostAndPort, ConnSettings());
}

std::string TDatabaseInfo::ShortFileNameToFullFileName(std::string_view shortName,
                                                       bool withHostAndPort,
                                                       const TConnectionSettings& conn) const {
    if (IsProjectDatabase) return std::string(shortName);

    std::string internal = Path;
    std::string external = ExtPath;
    std::string_view rest = shortName;
    if (Roots.GetCount() > 0 && shortName.starts_with(kRootPrefix)) {
        const std::string name(shortName);
        const std::size_t end = shortName.find(kRootEnd);
        if (end == std::string_view::npos)
            throw TDbRootDirException("End of root id is not recognized in \"" + name + "\"");
        const std::string idText(shortName.substr(kRootPrefix.size(), end - kRootPrefix.size()));
        if (idText.empty()) throw TDbRootDirException("Empty root ID in \"" + name + "\"");
        const std::int32_t id = StrToIntDef(idText, -1);
        if (id == -1) throw TDbRootDirException("Wrong root ID " + idText);
        const TDbRootDir* root = Roots.FindRootById(id);
        if (!root)
            throw TDbRootDirException("Root with ID = " + std::to_string(id) +
                                      " not found for database \"" + Name + "\"");
        internal = root->InternalDir;
        external = root->ExternalDir;
        rest = shortName.substr(end + kRootEnd.size());
    }

    std::string host;
    if (withHostAndPort)
        host = "/HOST:" + conn.GetServer() + "/" + "/PORT:" + std::to_string(conn.Port) + "/";

    std::string full;
    if (conn.IsReallyLocal())
        full = "WSTP://DIRECT:" + host + internal + std::string(rest);
    else if (!external.empty())
        full = "WSTP://DIRECT:" + host + external + std::string(rest);
    else
        full = "WSTP://" + host + Name + "\\" + std::string(shortName);
    return FixEmptyExtension(full);
}

// ---- databases of an answer

void TDatabasesList::ReadFromXml(pugi::xml_node node) {
    Items.Clear();
    ForEachChild(xml::Child(node, "databases"), "item",
                 [&](pugi::xml_node c) { Items.Add().ReadFromXml(c); });
}

TDatabaseInfo* TDatabasesList::FindByName(std::string_view name) {
    for (TDatabaseInfo& info : Items)
        if (SameText(info.Name, name)) return &info;
    return nullptr;
}

const TDatabaseInfo* TDatabasesList::FindByName(std::string_view name) const {
    return const_cast<TDatabasesList*>(this)->FindByName(name);
}

TDatabaseInfo* TDatabasesList::FindById(std::int32_t id) {
    for (TDatabaseInfo& info : Items)
        if (info.Id == id) return &info;
    return nullptr;
}

const TDatabaseInfo* TDatabasesList::FindById(std::int32_t id) const {
    return const_cast<TDatabasesList*>(this)->FindById(id);
}

// ---- options

const PropertyList& TDatabaseOptions::Properties() const {
    static const PropertyList list{
        Prop<&TDatabaseOptions::ShowPlanshets>("ShowPlanshets").Default(1),
        Prop<&TDatabaseOptions::ShowFiles>("ShowFiles").Default(1),
        Prop<&TDatabaseOptions::ShowCurves>("ShowCurves").Default(1),
        Prop<&TDatabaseOptions::ShowColumns>("ShowColumns").Default(1),
        Prop<&TDatabaseOptions::ShowTables>("ShowTables").Default(1),
        Prop<&TDatabaseOptions::LastFilterName>("LastFilterName"),
        Prop<&TDatabaseOptions::UseFilter>("UseFilter").Default(0),
        PropReadOnly<&TDatabaseOptions::GetLastOpenedPaths>("LastOpenedPaths"),
    };
    return list;
}

void TDatabaseOptions::Assign(const TDatabaseOptions& other) {
    ShowPlanshets = other.ShowPlanshets;
    ShowFiles = other.ShowFiles;
    ShowCurves = other.ShowCurves;
    ShowColumns = other.ShowColumns;
    ShowTables = other.ShowTables;
    LastFilterName = other.LastFilterName;
    UseFilter = other.UseFilter;
}

void TDatabaseOptions::SaveSettingsToIni(std::string_view prefix, TMemIniFile& ini) const {
    SavePropertiesToIni(*this, ini, std::string(prefix) + "/Options");
}

void TDatabaseOptions::LoadSettingsFromIni(std::string_view prefix, const TMemIniFile& ini) {
    LoadPropertiesFromIni(*this, ini, std::string(prefix) + "/Options");
}

// ---- one database of the set

TDatabase::TDatabase() = default;
TDatabase::~TDatabase() = default;

void TDatabase::Assign(const TDatabase& other) {
    if (this == &other) return;
    Options.Assign(other.Options);
    Info.Assign(other.Info);
    LogicalStructures.Assign(other.LogicalStructures);
    if (other.levelFiles_) {
        if (!levelFiles_) levelFiles_ = std::make_unique<TLevelFilesList>();
        levelFiles_->Assign(*other.levelFiles_);
    }
}

void TDatabase::SetDbType(TDatabaseType t) {
    DbType = t;
    Info.IsProjectDatabase = t == dtLocalProject;
}

void TDatabase::ConfigureAsProjectDatabase() {
    Info.Name = "Проект WS";
    Info.Structure.Clear();
    TDbStructItem& level = Info.Structure.AddNewItem();
    level.Type = "%file_level";
    level.DisplayName = "Имя файла в проекте";
    LogicalStructures.SetDefaultStruct(Info.Structure);
    if (!levelFiles_) levelFiles_ = std::make_unique<TLevelFilesList>();
}

void TDatabase::GetLevelsForProject(TLevelsList& levels) const {
    if (!levelFiles_) return;
    for (int i = 0; i < levelFiles_->GetCount(); ++i) {
        TLevelItem& level = levels.AddNew();
        level.Id = i;
        level.Name = ExtractFileName(levelFiles_->GetItem(i).Name);
    }
}

void TDatabase::GetFilesForLevel(std::span<const std::int32_t> levelIds,
                                 TLevelFilesList& files) const {
    if (!levelFiles_) return;
    const std::int32_t id = levelIds.empty() ? -1 : levelIds[0];
    if (id == -1)
        files.Assign(*levelFiles_);
    else
        files.Add().Assign(levelFiles_->GetItem(id));
}

void TDatabase::SaveSettingsToIni(TMemIniFile& ini) const {
    LogicalStructures.SaveSettingsToIni(Info.Name, ini);
    Options.SaveSettingsToIni(Info.Name, ini);
}

void TDatabase::LoadSettingsFromIni(const TMemIniFile& ini) {
    LogicalStructures.LoadSettingsFromIni(Info.Name, ini);
    Options.LoadSettingsFromIni(Info.Name, ini);
}

// ---- the set

TDatabases::TDatabases() = default;
TDatabases::~TDatabases() = default;

void TDatabases::Assign(const TDatabases& other) {
    if (this == &other) return;
    Items.Assign(other.Items);
    CurrentId = other.CurrentId;
    Tag = other.Tag;
    Filters.Assign(other.Filters);
}

void TDatabases::Clear() {
    std::erase_if(active_, [&](const TDatabase* db) { return Items.IndexOf(db) >= 0; });
    Items.Clear();
    CurrentId = -1;
    SettingsLoaded = false;
}

TDatabase* TDatabases::GetCurrent() {
    return CurrentId == -1 ? nullptr : FindById(CurrentId);
}

void TDatabases::SetCurrent(const TDatabase* db) {
    CurrentId = -1;
    if (db && Items.IndexOf(db) >= 0) CurrentId = db->Info.Id;
}

TDatabase* TDatabases::FindByDbName(std::string_view name) {
    for (TDatabase& db : Items)
        if (SameText(db.Info.Name, name)) return &db;
    return nullptr;
}

TDatabase* TDatabases::FindById(std::int32_t id) {
    for (TDatabase& db : Items)
        if (db.Info.Id == id) return &db;
    return nullptr;
}

void TDatabases::AddToActiveList(TDatabase* db) {
    if (db && !IsInActiveList(db)) active_.push_back(db);
}

void TDatabases::RemoveFromActiveList(const TDatabase* db) {
    std::erase(active_, db);
}

bool TDatabases::IsInActiveList(const TDatabase* db) const {
    return std::find(active_.begin(), active_.end(), db) != active_.end();
}

TDatabase* TDatabases::GetActiveItem(int i) const {
    if (i < 0 || i >= GetActiveCount()) detail::ThrowListIndex(i, active_.size());
    return active_[static_cast<std::size_t>(i)];
}

std::string TDatabases::GetSettingsFileName(std::string_view server) const {
    if (SettingsDir.empty()) throw Error("Не задан SettingsFileName");
    const std::filesystem::path dir(SettingsDir);
    return (dir / ("Marvolt." + Trim(server) + ".ini")).string();
}

void TDatabases::SaveSettingsToIniEx(std::string_view server) {
    if (!SettingsLoaded) return;
    // The file is rewritten from nothing; the old one is replaced only when the new one is
    // complete.
    TMemIniFile ini(GetSettingsFileName(server));
    ini.Clear();
    Filters.SaveSettingsToIni(ini, "");
    for (const TDatabase& db : Items)
        db.SaveSettingsToIni(ini);
    if (const TDatabase* current = GetCurrent())
        ini.WriteString("Main", "Current", current->Info.Name);
    ini.UpdateFile();
}

void TDatabases::LoadSettingsFromIniEx(std::string_view server) {
    SettingsLoaded = false;
    const TMemIniFile ini(GetSettingsFileName(server));
    for (TDatabase& db : Items)
        db.LoadSettingsFromIni(ini);
    Filters.LoadSettingsFromIni(ini, "");
    SetCurrent(FindByDbName(ini.ReadString("Main", "Current", "")));
    SettingsLoaded = true;
}

void GetFileTypeString(std::int32_t kind, std::string& result) {
    switch (kind) {
        case 1:
            result = "Корректный файл";
            break;
        case 2:
            result = "Корректный второстепенный файл";
            break;
        case 3:
            result = "Файл с некорректным путём";
            break;
        case 4:
            result = "Файл с некорректными данными";
            break;
        default:
            break;
    }
}

}  // namespace ostradb
