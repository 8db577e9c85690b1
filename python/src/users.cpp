// Users, groups and permissions; the server's log and options; file statistics.

#include "binding.hpp"
#include "collections.hpp"
#include "declared.hpp"

namespace ostradb::python {

namespace {

// Items handed out stay usable when their collection drops them.
constexpr ItemRef ref{};

void BindAccessModel(py::module_& m) {
    py::class_<TRights::TRightItem> right(m, "TRightItem");
    OSTRADB_FIELD(right, TRights::TRightItem, Name);
    OSTRADB_FIELD(right, TRights::TRightItem, Bit);
    py::class_<TRights>(m, "TRights")
        .def(py::init<>())
        .def_readonly_static("Count", &TRights::Count)
        .def("Item", &TRights::Item, "i"_a)
        .def("RightsToString", &TRights::RightsToString, "mask"_a);

    DeclaredClass<TFPAttribute, Persistent>(m, "TFPAttribute")
        .def("Assign", &TFPAttribute::Assign, "other"_a);
    BindCollection<Collection<TFPAttribute>, CollectionBase>(m, "TFPAttributeCollection");
    py::class_<TFPAttributes, TXmlSerialized> attrs(m, "TFPAttributes");
    OSTRADB_FIELD(attrs, TFPAttributes, Items);
    attrs.def(py::init<>())
        .def("Assign", &TFPAttributes::Assign, "other"_a)
        .def("Count", &TFPAttributes::Count)
        .def("Item", py::overload_cast<int>(&TFPAttributes::Item), "i"_a, ref)
        .def("Add", &TFPAttributes::Add, ref)
        .def("Delete", &TFPAttributes::Delete, "i"_a)
        .def("FindByName", &TFPAttributes::FindByName, "name"_a, ref)
        .def("DeleteByName", &TFPAttributes::DeleteByName, "name"_a);

    auto user = DeclaredClass<TUser, Persistent>(m, "TUser");
    user.def("Assign", &TUser::Assign, "other"_a);
    BindCollection<Collection<TUser>, CollectionBase>(m, "TUserCollection");

    DeclaredClass<TLevelsPermission, Persistent>(m, "TLevelsPermission")
        .def("Assign", &TLevelsPermission::Assign, "other"_a);
    BindCollection<Collection<TLevelsPermission>, CollectionBase>(m, "TLevelsPermissionCollection");
    auto db = DeclaredClass<TDbPremission, TXmlSerializedCollectionItem>(m, "TDbPremission");
    OSTRADB_FIELD(db, TDbPremission, FilesPerms);
    db.def("Assign", &TDbPremission::Assign, "other"_a)
        .def("FileRightsCount", &TDbPremission::FileRightsCount)
        .def("FileRight", py::overload_cast<int>(&TDbPremission::FileRight), "i"_a, ref)
        .def("ClearFileRights", &TDbPremission::ClearFileRights)
        .def("AddFileRights", &TDbPremission::AddFileRights, "levelCount"_a, ref)
        .def("DeleteFileRights", &TDbPremission::DeleteFileRights, "i"_a);
    BindCollection<Collection<TDbPremission>, CollectionBase>(m, "TDbPremissionCollection");
    py::class_<TDbPremissions, TXmlSerialized> dbs(m, "TDbPremissions");
    OSTRADB_FIELD(dbs, TDbPremissions, Items);
    dbs.def(py::init<>())
        .def("Assign", &TDbPremissions::Assign, "other"_a)
        .def("Count", &TDbPremissions::Count)
        .def("Item", py::overload_cast<int>(&TDbPremissions::Item), "i"_a, ref)
        .def("Clear", &TDbPremissions::Clear)
        .def("Add", &TDbPremissions::Add, ref)
        .def("Delete", &TDbPremissions::Delete, "i"_a)
        .def("FindByDbName", &TDbPremissions::FindByDbName, "name"_a, ref);

    DeclaredClass<TUserGroup, Persistent>(m, "TUserGroup")
        .def("Assign", &TUserGroup::Assign, "other"_a)
        .def("ContainsUser", &TUserGroup::ContainsUser, "login"_a);
    BindCollection<Collection<TUserGroup>, CollectionBase>(m, "TUserGroupCollection");
    py::class_<TUserGroups, TXmlSerialized> groups(m, "TUserGroups");
    OSTRADB_FIELD(groups, TUserGroups, Items);
    groups.def(py::init<>())
        .def("Assign", &TUserGroups::Assign, "other"_a)
        .def("Count", &TUserGroups::Count)
        .def("Item", py::overload_cast<int>(&TUserGroups::Item), "i"_a, ref)
        .def("AddNew", &TUserGroups::AddNew, ref)
        .def("Delete", &TUserGroups::Delete, "group"_a)
        .def("SetUserInGroups", &TUserGroups::SetUserInGroups, "login"_a, "groupNames"_a)
        .def("ExcludeUser", &TUserGroups::ExcludeUser, "user"_a);

    // Users live in a TUmData, which gives them their groups: there is no constructor.
    py::class_<TUsers, TXmlSerialized> users(m, "TUsers");
    OSTRADB_FIELD(users, TUsers, Items);
    users.def("Assign", &TUsers::Assign, "other"_a)
        .def("Count", &TUsers::Count)
        .def("Item", py::overload_cast<int>(&TUsers::Item), "i"_a, ref)
        .def("AddNew", &TUsers::AddNew, ref)
        .def("Delete", &TUsers::Delete, "user"_a)
        .def("Find", py::overload_cast<std::string_view>(&TUsers::Find), "login"_a, ref)
        .def("Groups", &TUsers::Groups, ref);
    user.def(
        "GetGroups",
        [](const TUser& u, py::object groups) {
            std::vector<const TUserGroup*> found;
            u.GetGroups(groups.cast<const TUserGroups&>(), found);
            py::list list;
            for (const TUserGroup* group : found) {
                py::object item =
                    py::cast(group, py::return_value_policy::reference_internal, groups);
                KeepItem(item);
                list.append(item);
            }
            return list;
        },
        "groups"_a, "The groups of groups that contain this user (a list, where C++ fills one).");

    DeclaredClass<TUmData, Persistent>(m, "TUmData")
        .def("Rights", &TUmData::Rights, ref)
        .def("CleanData", &TUmData::CleanData, "dbList"_a)
        .def("CheckForConsistency", &TUmData::CheckForConsistency);
}

void BindServerTypes(py::module_& m) {
    py::class_<TServerLogRecord> rec(m, "TServerLogRecord");
    rec.def(py::init<>());
    OSTRADB_FIELD(rec, TServerLogRecord, Id);
    OSTRADB_FIELD(rec, TServerLogRecord, MsgType);
    OSTRADB_FIELD(rec, TServerLogRecord, User);
    OSTRADB_FIELD(rec, TServerLogRecord, Addr);
    OSTRADB_FIELD(rec, TServerLogRecord, Text);
    OSTRADB_FIELD(rec, TServerLogRecord, Time);
    BindCollection<Collection<TServerLogRecord>, CollectionBase>(m, "TServerLogRecordCollection");
    py::class_<TServerLog> log(m, "TServerLog");
    OSTRADB_FIELD(log, TServerLog, Items);
    log.def(py::init<>())
        .def("Count", &TServerLog::Count)
        .def("Item", py::overload_cast<int>(&TServerLog::Item), "i"_a, ref);
    py::class_<TServerLogFilter>(m, "TServerLogFilter").def(py::init<>());

    DeclaredClass<TServerOption, Persistent>(m, "TServerOption");
    BindCollection<Collection<TServerOption>, CollectionBase>(m, "TServerOptionCollection");
    py::class_<TServerOptions, TXmlSerialized> options(m, "TServerOptions");
    OSTRADB_FIELD(options, TServerOptions, Items);
    options.def(py::init<>())
        .def("Count", &TServerOptions::Count)
        .def("Item", py::overload_cast<int>(&TServerOptions::Item), "i"_a, ref)
        .def("Clear", &TServerOptions::Clear)
        .def("FindByName", py::overload_cast<std::string_view>(&TServerOptions::FindByName),
             "Name"_a, ref)
        .def("GetOption", &TServerOptions::GetOption, "Name"_a)
        .def("GetInteger", &TServerOptions::GetInteger, "Name"_a)
        .def("SetOption", &TServerOptions::SetOption, "Name"_a, "Value"_a)
        .def("SetInteger", &TServerOptions::SetInteger, "Name"_a, "N"_a);

    py::class_<TFilesStatResultHatValueItem> column(m, "TFilesStatResultHatValueItem");
    column.def(py::init<>());
    OSTRADB_FIELD(column, TFilesStatResultHatValueItem, ValueType);
    OSTRADB_FIELD(column, TFilesStatResultHatValueItem, Name);
    BindCollection<Collection<TFilesStatResultHatValueItem>, CollectionBase>(
        m, "TFilesStatResultHatValueItemCollection");
    py::class_<TFilesStatResultHat> hat(m, "TFilesStatResultHat");
    OSTRADB_FIELD(hat, TFilesStatResultHat, Items);
    OSTRADB_FIELD(hat, TFilesStatResultHat, TextColumns);
    hat.def(py::init<>())
        .def("Count", &TFilesStatResultHat::Count)
        .def("Item", py::overload_cast<int>(&TFilesStatResultHat::Item), "i"_a, ref);
    py::class_<TFilesStatResultLine> line(m, "TFilesStatResultLine");
    line.def(py::init<>());
    OSTRADB_FIELD(line, TFilesStatResultLine, Values);
    OSTRADB_FIELD(line, TFilesStatResultLine, Texts);
    OSTRADB_FIELD(line, TFilesStatResultLine, Files);
    OSTRADB_FIELD(line, TFilesStatResultLine, Name);
    BindCollection<Collection<TFilesStatResultLine>, CollectionBase>(
        m, "TFilesStatResultLineCollection");
    py::class_<TFilesStatResultLines> lines(m, "TFilesStatResultLines");
    OSTRADB_FIELD(lines, TFilesStatResultLines, Items);
    lines.def(py::init<>())
        .def("Count", &TFilesStatResultLines::Count)
        .def("Item", py::overload_cast<int>(&TFilesStatResultLines::Item), "i"_a, ref);
    py::class_<TFilesStatResult> stat(m, "TFilesStatResult");
    OSTRADB_FIELD(stat, TFilesStatResult, Hat);
    OSTRADB_FIELD(stat, TFilesStatResult, Lines);
    OSTRADB_FIELD(stat, TFilesStatResult, Qualities);
    stat.def(py::init<>())
        .def(
            "ToStrings",
            [](const TFilesStatResult& r, Out<TStringList> strings) {
                r.ToStrings(*strings.object);
            },
            "Strings"_a);
}

}  // namespace

void BindUsers(py::module_& m) {
    BindAccessModel(m);
    BindServerTypes(m);
}

}  // namespace ostradb::python
