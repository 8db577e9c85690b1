// Databases as the server lists them and as the client keeps them, and the connection
// settings.

#include <vector>

#include "binding.hpp"
#include "callbacks.hpp"
#include "collections.hpp"
#include "declared.hpp"

namespace ostradb::python {

namespace {

// Items handed out stay usable when their collection drops them.
constexpr ItemRef ref{};

void BindDatabaseClasses(py::module_& m) {
    py::class_<TDbRootDir> root(m, "TDbRootDir");
    root.def(py::init<>()).def("Assign", &TDbRootDir::Assign, "other"_a);
    OSTRADB_FIELD(root, TDbRootDir, InternalDir);
    OSTRADB_FIELD(root, TDbRootDir, ExternalDir);
    OSTRADB_FIELD(root, TDbRootDir, Id);
    BindCollection<Collection<TDbRootDir>, CollectionBase>(m, "TDbRootDirCollection");
    py::class_<TDbRootDirs> roots(m, "TDbRootDirs");
    OSTRADB_FIELD(roots, TDbRootDirs, Items);
    roots.def(py::init<>())
        .def("FindRootById", py::overload_cast<std::int32_t>(&TDbRootDirs::FindRootById), "id"_a,
             ref)
        .def("GetCount", &TDbRootDirs::GetCount)
        .def("GetItem", py::overload_cast<int>(&TDbRootDirs::GetItem), "i"_a, ref)
        .def("Assign", &TDbRootDirs::Assign, "other"_a);

    py::class_<TDatabaseInfo> info(m, "TDatabaseInfo");
    OSTRADB_FIELD(info, TDatabaseInfo, Id);
    OSTRADB_FIELD(info, TDatabaseInfo, Name);
    OSTRADB_FIELD(info, TDatabaseInfo, Path);
    OSTRADB_FIELD(info, TDatabaseInfo, ExtPath);
    OSTRADB_FIELD(info, TDatabaseInfo, Structure);
    OSTRADB_FIELD(info, TDatabaseInfo, PathList);
    OSTRADB_FIELD(info, TDatabaseInfo, IsPrivate);
    OSTRADB_FIELD(info, TDatabaseInfo, Roots);
    OSTRADB_FIELD(info, TDatabaseInfo, IsProjectDatabase);
    info.def(py::init<>())
        .def("Assign", &TDatabaseInfo::Assign, "other"_a)
        .def("CanBeAccessedLocally", &TDatabaseInfo::CanBeAccessedLocally)
        .def("ShortFileNameToLocalFileName", &TDatabaseInfo::ShortFileNameToLocalFileName,
             "shortName"_a)
        .def("ShortFileNameToFullFileName",
             py::overload_cast<std::string_view, bool>(&TDatabaseInfo::ShortFileNameToFullFileName,
                                                       py::const_),
             "shortName"_a, "withHostAndPort"_a)
        .def("__repr__", [](const TDatabaseInfo& i) {
            return "TDatabaseInfo(Id=" + std::to_string(i.Id) +
                   ", Name=" + std::string(py::repr(py::str(i.Name))) + ")";
        });
    BindCollection<Collection<TDatabaseInfo>, CollectionBase>(m, "TDatabaseInfoCollection");

    py::class_<TDatabasesList> list(m, "TDatabasesList");
    OSTRADB_FIELD(list, TDatabasesList, Items);
    list.def(py::init<>())
        .def("FindByName", py::overload_cast<std::string_view>(&TDatabasesList::FindByName),
             "name"_a, ref)
        .def("FindById", py::overload_cast<std::int32_t>(&TDatabasesList::FindById), "id"_a, ref)
        .def("GetCount", &TDatabasesList::GetCount)
        .def("GetItem", py::overload_cast<int>(&TDatabasesList::GetItem), "i"_a, ref);

    DeclaredClass<TDatabaseOptions, Persistent>(m, "TDatabaseOptions")
        .def("Assign", &TDatabaseOptions::Assign, "other"_a);

    py::class_<TDatabase> db(m, "TDatabase");
    OSTRADB_FIELD(db, TDatabase, Info);
    OSTRADB_FIELD(db, TDatabase, LogicalStructures);
    OSTRADB_FIELD(db, TDatabase, Options);
    OSTRADB_FIELD(db, TDatabase, DbType);
    db.def(py::init<>())
        .def("LevelFiles", py::overload_cast<>(&TDatabase::LevelFiles), ref)
        .def("Assign", &TDatabase::Assign, "other"_a)
        .def("GetStructure", py::overload_cast<>(&TDatabase::GetStructure), ref)
        .def("SetDbType", &TDatabase::SetDbType, "t"_a)
        .def("ConfigureAsProjectDatabase", &TDatabase::ConfigureAsProjectDatabase)
        .def(
            "GetLevelsForProject",
            [](const TDatabase& d, Out<TLevelsList> levels) {
                d.GetLevelsForProject(*levels.object);
            },
            "levels"_a)
        .def(
            "GetFilesForLevel",
            [](const TDatabase& d, const std::vector<std::int32_t>& levelIds,
               Out<TLevelFilesList> files) { d.GetFilesForLevel(levelIds, *files.object); },
            "levelIds"_a, "files"_a);
    BindCollection<Collection<TDatabase>, CollectionBase>(m, "TDatabaseCollection");

    py::class_<TDatabases, Persistent> dbs(m, "TDatabases");
    OSTRADB_FIELD(dbs, TDatabases, Items);
    OSTRADB_FIELD(dbs, TDatabases, CurrentId);
    OSTRADB_FIELD(dbs, TDatabases, Tag);
    OSTRADB_FIELD(dbs, TDatabases, Filters);
    OSTRADB_FIELD(dbs, TDatabases, SettingsLoaded);
    OSTRADB_FIELD(dbs, TDatabases, SettingsDir);
    dbs.def(py::init<>())
        .def("Assign", &TDatabases::Assign, "other"_a)
        .def("GetCount", &TDatabases::GetCount)
        .def("GetItem", py::overload_cast<int>(&TDatabases::GetItem), "i"_a, ref)
        .def("Add", &TDatabases::Add, ref)
        .def("Clear", &TDatabases::Clear)
        .def("GetCurrent", &TDatabases::GetCurrent, ref)
        .def("SetCurrent", &TDatabases::SetCurrent, "db"_a)
        .def("FindByDbName", &TDatabases::FindByDbName, "name"_a, ref)
        .def("FindById", &TDatabases::FindById, "id"_a, ref)
        // The active list does not own its databases: each one added is kept alive with the set.
        .def("AddToActiveList", &TDatabases::AddToActiveList, "db"_a, py::keep_alive<1, 2>())
        .def("RemoveFromActiveList", &TDatabases::RemoveFromActiveList, "db"_a)
        .def("IsInActiveList", &TDatabases::IsInActiveList, "db"_a)
        .def("ClearActiveList", &TDatabases::ClearActiveList)
        .def("GetActiveCount", &TDatabases::GetActiveCount)
        .def("GetActiveItem", &TDatabases::GetActiveItem, "i"_a, ref)
        .def("GetSettingsFileName", &TDatabases::GetSettingsFileName, "server"_a)
        .def("SaveSettingsToIniEx", &TDatabases::SaveSettingsToIniEx, "server"_a)
        .def("LoadSettingsFromIniEx", &TDatabases::LoadSettingsFromIniEx, "server"_a);
}

void BindConnectionSettings(py::module_& m) {
    DeclaredClass<TConnectionSettings, Persistent>(m, "TConnectionSettings")
        .def("GetServer", &TConnectionSettings::GetServer)
        .def("Load", &TConnectionSettings::Load)
        .def("Save", &TConnectionSettings::Save)
        .def("Check", &TConnectionSettings::Check)
        .def("SetConfigToSocket", &TConnectionSettings::SetConfigToSocket, "client"_a)
        .def("IsReallyLocal", &TConnectionSettings::IsReallyLocal)
        .def("AskUser", &TConnectionSettings::AskUser)
        .def_static(
            "SetAskUserHandler",
            [](py::object fn) {
                TConnectionSettings::SetAskUserHandler(MakeAskUser(std::move(fn)));
            },
            "handler"_a, "handler(settings) -> bool; None removes it.");
    m.def("ConnSettings", &ConnSettings, py::return_value_policy::reference,
          "The process-wide connection settings.");
}

}  // namespace

void BindDatabases(py::module_& m) {
    BindDatabaseClasses(m);
    BindConnectionSettings(m);
}

}  // namespace ostradb::python
