// What the commands take and fill: file information and logs, curve lists, search requests
// and results, data-layer handles, the server version and the login dialog's data.

#include "binding.hpp"
#include "collections.hpp"
#include "declared.hpp"

namespace ostradb::python {

namespace {

// Items handed out stay usable when their collection drops them.
constexpr ItemRef ref{};

void BindFileTypes(py::module_& m) {
    py::class_<TFileInfo> info(m, "TFileInfo");
    info.def(py::init<>());
    OSTRADB_FIELD(info, TFileInfo, RealFileName);
    OSTRADB_FIELD(info, TFileInfo, CreateTime);
    OSTRADB_FIELD(info, TFileInfo, WriteTime);
    OSTRADB_FIELD(info, TFileInfo, AccessTime);

    DeclaredClass<TSimpleFileInfoItem, Persistent>(m, "TSimpleFileInfoItem");
    BindCollection<Collection<TSimpleFileInfoItem>, CollectionBase>(
        m, "TSimpleFileInfoItemCollection");
    py::class_<TSimpleFileInfoItems, Collection<TSimpleFileInfoItem>>(m, "TSimpleFileInfoItems")
        .def(py::init<>())
        .def("Find", py::overload_cast<std::string_view>(&TSimpleFileInfoItems::Find), "FileName"_a,
             ref);

    DeclaredClass<TFileNameAndAttr, Persistent>(m, "TFileNameAndAttr");
    BindCollection<Collection<TFileNameAndAttr>, CollectionBase>(m, "TFileNameAndAttrCollection");
    py::class_<TChangeFileAttrItems, Collection<TFileNameAndAttr>>(m, "TChangeFileAttrItems")
        .def(py::init<>());

    auto rec =
        DeclaredClass<TSimpleResultLogRec, TXmlSerializedCollectionItem>(m, "TSimpleResultLogRec");
    OSTRADB_FIELD(rec, TSimpleResultLogRec, Result);
    BindCollection<Collection<TSimpleResultLogRec>, CollectionBase>(
        m, "TSimpleResultLogRecCollection");
    py::class_<TSimpleResultLog, Collection<TSimpleResultLogRec>>(m, "TSimpleResultLog")
        .def(py::init<>())
        .def("ContainsErrors", &TSimpleResultLog::ContainsErrors);

    py::class_<TErroneousFile, TXmlSerializedCollectionItem> bad(m, "TErroneousFile");
    bad.def(py::init<>());
    OSTRADB_FIELD(bad, TErroneousFile, Id);
    OSTRADB_FIELD(bad, TErroneousFile, FileName);
    OSTRADB_FIELD(bad, TErroneousFile, ErrorMsg);
    OSTRADB_FIELD(bad, TErroneousFile, ChTime);
    OSTRADB_FIELD(bad, TErroneousFile, Flags);
    BindCollection<Collection<TErroneousFile>, CollectionBase>(m, "TErroneousFileCollection");
    py::class_<TErroneousFiles, Collection<TErroneousFile>>(m, "TErroneousFiles").def(py::init<>());
}

void BindLevelTypes(py::module_& m) {
    py::class_<TFilterStatistics> stats(m, "TFilterStatistics");
    stats.def(py::init<>());
    OSTRADB_FIELD(stats, TFilterStatistics, TotalFiles);
    OSTRADB_FIELD(stats, TFilterStatistics, FilteredFiles);

    py::class_<TSimpleCurvesListItem> item(m, "TSimpleCurvesListItem");
    item.def(py::init<>()).def("Assign", &TSimpleCurvesListItem::Assign, "other"_a);
    OSTRADB_FIELD(item, TSimpleCurvesListItem, Name);
    OSTRADB_FIELD(item, TSimpleCurvesListItem, Table);
    OSTRADB_FIELD(item, TSimpleCurvesListItem, Planshets);
    OSTRADB_FIELD(item, TSimpleCurvesListItem, Count);
    OSTRADB_FIELD(item, TSimpleCurvesListItem, Version);
    BindCollection<Collection<TSimpleCurvesListItem>, CollectionBase>(
        m, "TSimpleCurvesListItemCollection");
    py::class_<TSimpleCurvesList> list(m, "TSimpleCurvesList");
    OSTRADB_FIELD(list, TSimpleCurvesList, Items);
    list.def(py::init<>())
        .def("GetCount", &TSimpleCurvesList::GetCount)
        .def("GetItem", py::overload_cast<int>(&TSimpleCurvesList::GetItem), "i"_a, ref)
        .def("Clear", &TSimpleCurvesList::Clear);
}

void BindSearchTypes(py::module_& m) {
    py::class_<TSearchItem> item(m, "TSearchItem");
    item.def(py::init<>());
    OSTRADB_FIELD(item, TSearchItem, Type);
    OSTRADB_FIELD(item, TSearchItem, Oper);
    OSTRADB_FIELD(item, TSearchItem, Values);
    BindCollection<Collection<TSearchItem>, CollectionBase>(m, "TSearchItemCollection");
    py::class_<TSearchRequest> request(m, "TSearchRequest");
    OSTRADB_FIELD(request, TSearchRequest, Items);
    request.def(py::init<>())
        .def("Add", &TSearchRequest::Add, "Type"_a, "Oper"_a, "Values"_a, ref)
        .def("Clear", &TSearchRequest::Clear)
        .def("GetCount", &TSearchRequest::GetCount)
        .def("GetItem", py::overload_cast<int>(&TSearchRequest::GetItem), "i"_a, ref)
        .def("ReadFromSimpleText", &TSearchRequest::ReadFromSimpleText, "Text"_a);

    DeclaredClass<TSearchedSurveyLevel, Persistent>(m, "TSearchedSurveyLevel");
    BindCollection<Collection<TSearchedSurveyLevel>, CollectionBase>(
        m, "TSearchedSurveyLevelCollection");
    DeclaredClass<TSearchLevelsItem, Persistent>(m, "TSearchLevelsItem")
        .def("GetNonKeyCount", &TSearchLevelsItem::GetNonKeyCount)
        .def("GetNonKeyItem", &TSearchLevelsItem::GetNonKeyItem, "i"_a, ref);
    BindCollection<Collection<TSearchLevelsItem>, CollectionBase>(m, "TSearchLevelsItemCollection");
    auto result = DeclaredClass<TSearchLevelsResult, Persistent>(m, "TSearchLevelsResult");
    OSTRADB_FIELD(result, TSearchLevelsResult, ExecTime);
    result.def("GetCount", &TSearchLevelsResult::GetCount)
        .def("GetItem", &TSearchLevelsResult::GetItem, "i"_a, ref);

    DeclaredClass<TFindCurveSearchItem, Persistent>(m, "TFindCurveSearchItem");
    BindCollection<Collection<TFindCurveSearchItem>, CollectionBase>(
        m, "TFindCurveSearchItemCollection");
    DeclaredClass<TFindCurveSearchGroup, Persistent>(m, "TFindCurveSearchGroup")
        .def("AddCurve", &TFindCurveSearchGroup::AddCurve, "Table"_a, "Curve"_a, "CurvType"_a, ref);
    BindCollection<Collection<TFindCurveSearchGroup>, CollectionBase>(
        m, "TFindCurveSearchGroupCollection");
    DeclaredClass<TFindCurveSearchArguments, Persistent>(m, "TFindCurveSearchArguments")
        .def("NewGroup", &TFindCurveSearchArguments::NewGroup, "Name"_a, ref)
        .def("AddFile", &TFindCurveSearchArguments::AddFile, "FileName"_a);
    DeclaredClass<TFindCurveResultCurve, Persistent>(m, "TFindCurveResultCurve");
    BindCollection<TFindCurveResultCurves, CollectionBase>(m, "TFindCurveResultCurveCollection");
    DeclaredClass<TFindCurveResultFile, Persistent>(m, "TFindCurveResultFile");
    BindCollection<Collection<TFindCurveResultFile>, CollectionBase>(
        m, "TFindCurveResultFileCollection");
    DeclaredClass<TFindCurveResult, Persistent>(m, "TFindCurveResult")
        .def("GetFilesCount", &TFindCurveResult::GetFilesCount)
        .def("GetFile", py::overload_cast<int>(&TFindCurveResult::GetFile), "i"_a, ref);
}

void BindSessionTypes(py::module_& m) {
    py::class_<TObjectHandle> handle(m, "TObjectHandle");
    handle.def(py::init<>())
        .def(py::init([](std::int32_t h, std::uint8_t t, std::uint8_t mode) {
                 return TObjectHandle{h, t, mode};
             }),
             "H"_a, "T"_a = 0, "M"_a = 0)
        .def("__eq__", [](const TObjectHandle& a, const TObjectHandle& b) { return a == b; })
        .def("__repr__", [](const TObjectHandle& h) {
            return "TObjectHandle(H=" + std::to_string(h.H) + ", T=" + std::to_string(h.T) +
                   ", M=" + std::to_string(h.M) + ")";
        });
    OSTRADB_FIELD(handle, TObjectHandle, H);
    OSTRADB_FIELD(handle, TObjectHandle, T);
    OSTRADB_FIELD(handle, TObjectHandle, M);

    DeclaredClass<TServerVersion, Persistent>(m, "TServerVersion")
        .def("SetValues", &TServerVersion::SetValues, "mayor"_a, "minor"_a, "maintenance"_a,
             "revision"_a)
        .def("Compare", &TServerVersion::Compare, "other"_a)
        .def("ToString", &TServerVersion::ToString)
        .def("__str__", &TServerVersion::ToString)
        .def("__eq__", [](const TServerVersion& a, const TServerVersion& b) { return a == b; })
        .def("__lt__", [](const TServerVersion& a, const TServerVersion& b) { return a < b; })
        .def("__le__", [](const TServerVersion& a, const TServerVersion& b) { return a <= b; });

    py::class_<TLoginDialogData> login(m, "TLoginDialogData");
    login.def(py::init<>());
    OSTRADB_FIELD(login, TLoginDialogData, User);
    OSTRADB_FIELD(login, TLoginDialogData, Password);
    OSTRADB_FIELD(login, TLoginDialogData, AllowToSelectServer);
    OSTRADB_FIELD(login, TLoginDialogData, Message);
    OSTRADB_FIELD(login, TLoginDialogData, Attempt);
}

}  // namespace

void BindCommandTypes(py::module_& m) {
    BindFileTypes(m);
    BindLevelTypes(m);
    BindSearchTypes(m);
    BindSessionTypes(m);
}

}  // namespace ostradb::python
