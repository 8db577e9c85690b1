// Enumerations and their sets, string lists, the serializable base classes, the XML serializer
// and the library's free functions that callers of the commands need.

#include <string>

#include "binding.hpp"
#include "collections.hpp"
#include "declared.hpp"

namespace ostradb::python {

namespace {

#define OSTRADB_VALUE(name) .value(#name, name)

void BindEnumerations(py::module_& m) {
    py::enum_<EOstraClientSocketExceptionCodes>(
        m, "EOstraClientSocketExceptionCodes") OSTRADB_VALUE(ecSuccess)
        OSTRADB_VALUE(ecInternalError) OSTRADB_VALUE(ecCode2) OSTRADB_VALUE(
            ecOdbcError) OSTRADB_VALUE(ecDatabaseNotFound) OSTRADB_VALUE(ecFileNotFound)
            OSTRADB_VALUE(ecCommandNotFound) OSTRADB_VALUE(ecWrongArguments) OSTRADB_VALUE(
                ecInternalError8) OSTRADB_VALUE(ecSearchError) OSTRADB_VALUE(ecTableNotFound)
                OSTRADB_VALUE(ecXmlTagsMissing) OSTRADB_VALUE(ecDatabaseExists) OSTRADB_VALUE(
                    ecCode13) OSTRADB_VALUE(ecThreadPoolError) OSTRADB_VALUE(ecNoMatchingWsFiles)
                    OSTRADB_VALUE(ecAccessDenied) OSTRADB_VALUE(ecUserNotFound) OSTRADB_VALUE(
                        ecOutOfRange) OSTRADB_VALUE(ecCode19) OSTRADB_VALUE(ecTableRowNotFound)
                        OSTRADB_VALUE(ecFileNotInDatabase) OSTRADB_VALUE(ecWsImportError)
                            OSTRADB_VALUE(ecCode23) OSTRADB_VALUE(ecCurveNotFound) OSTRADB_VALUE(
                                ecCannotCreateFile) OSTRADB_VALUE(ecCannotOpenFile)
                                OSTRADB_VALUE(ecNotLoggedIn) OSTRADB_VALUE(ecWrongPassword)
                                    OSTRADB_VALUE(ecFileLocked) OSTRADB_VALUE(ecCannotReadFile)
                                        OSTRADB_VALUE(ecCannotWriteFile) OSTRADB_VALUE(ecIdNotFound)
                                            OSTRADB_VALUE(ecWrongFileName)
                                                OSTRADB_VALUE(ecCannotCreateDirectory)
                                                    OSTRADB_VALUE(ecDataServerError) OSTRADB_VALUE(
                                                        ecDataServerHandle)
                                                        OSTRADB_VALUE(ecExclusiveCommand)
                                                            OSTRADB_VALUE(ecCannotDeleteFile)
                                                                OSTRADB_VALUE(ecLevelNotFound)
                                                                    OSTRADB_VALUE(ecProtocolBusy)
                                                                        OSTRADB_VALUE(ecTerminated)
                                                                            .export_values();
    py::enum_<ELoginDialogResult>(m, "ELoginDialogResult") OSTRADB_VALUE(ldrOk)
        OSTRADB_VALUE(ldrCancel) OSTRADB_VALUE(ldrRetry)
            .export_values();
    py::enum_<EUserRights>(m, "EUserRights") OSTRADB_VALUE(urView) OSTRADB_VALUE(urChangeData)
        OSTRADB_VALUE(urChangeLevels) OSTRADB_VALUE(urChangeDbList) OSTRADB_VALUE(urAdminServer)
            OSTRADB_VALUE(urAdminUsers) OSTRADB_VALUE(urListDirs)
                .export_values();
    py::enum_<TDatabaseType>(m, "TDatabaseType") OSTRADB_VALUE(dtUndef)
        OSTRADB_VALUE(dtOstraDbDatabase) OSTRADB_VALUE(dtLocalProject)
            .export_values();
    py::enum_<EDbStructMainFileType>(m, "EDbStructMainFileType") OSTRADB_VALUE(dsmft_None)
        OSTRADB_VALUE(dsmft_OneMainFile) OSTRADB_VALUE(dsmft_ManyMainFiles)
            .export_values();
    py::enum_<EDbStructExType>(m, "EDbStructExType") OSTRADB_VALUE(dsetNone)
        OSTRADB_VALUE(dsetString) OSTRADB_VALUE(dsetNumber) OSTRADB_VALUE(dsetDate)
            .export_values();
    py::enum_<EFilterItemType>(m, "EFilterItemType") OSTRADB_VALUE(fitNone) OSTRADB_VALUE(fitLevel)
        OSTRADB_VALUE(fitKeyValue) OSTRADB_VALUE(fitOther)
            .export_values();
    py::enum_<EFilterCheckFlags>(m, "EFilterCheckFlags") OSTRADB_VALUE(fcfCheckAll)
        OSTRADB_VALUE(fcfCheckLevels) OSTRADB_VALUE(fcfCheckKeyValues)
            .export_values();
    py::enum_<ECurvesTypes>(m, "ECurvesTypes") OSTRADB_VALUE(ctSimple) OSTRADB_VALUE(ctBed)
        OSTRADB_VALUE(ctColumn)
            .export_values();
    py::enum_<EReqFilesFlags>(m, "EReqFilesFlags") OSTRADB_VALUE(rffInclTables)
        OSTRADB_VALUE(rffInclCurves) OSTRADB_VALUE(rffInclFilePath) OSTRADB_VALUE(rffInclPlanshets)
            OSTRADB_VALUE(rffUseFilters) OSTRADB_VALUE(rffIgnoreDicts)
                OSTRADB_VALUE(rffIncludeRowValues)
                    .export_values();
    py::enum_<EFileAttrValue>(m, "EFileAttrValue") OSTRADB_VALUE(favNotChange) OSTRADB_VALUE(favSet)
        OSTRADB_VALUE(favReset)
            .export_values();
    py::enum_<TFindCurveSearchItemType>(m, "TFindCurveSearchItemType") OSTRADB_VALUE(fcsitNone)
        OSTRADB_VALUE(fcsitCurve) OSTRADB_VALUE(fcsitColumn) OSTRADB_VALUE(fcsitBed)
            .export_values();
    py::enum_<EFindFilesForWellOpts>(m, "EFindFilesForWellOpts")
        OSTRADB_VALUE(fffwoIncludeAllWsFiles) OSTRADB_VALUE(fffwoUseNonKeylevels)
            .export_values();
    py::enum_<ECurvesListOpts>(m, "ECurvesListOpts") OSTRADB_VALUE(cloIncludeTable)
        OSTRADB_VALUE(cloIncludeVersion) OSTRADB_VALUE(cloIncludeCount)
            OSTRADB_VALUE(cloOnPlanshOnly) OSTRADB_VALUE(cloIncludeOnPlanCount)
                OSTRADB_VALUE(cloIncludeKeyColumns) OSTRADB_VALUE(cloIncludeKeyValues)
                    OSTRADB_VALUE(cloIncludeTopBottomStep) OSTRADB_VALUE(cloIncludeUnits)
                        OSTRADB_VALUE(cloIncludeFileNames)
                            .export_values();
    py::enum_<EWsInfoOptions>(m, "EWsInfoOptions") OSTRADB_VALUE(wsoCurves)
        OSTRADB_VALUE(wsoBedCurves) OSTRADB_VALUE(wsoLitho) OSTRADB_VALUE(wsoStrat)
            .export_values();
    py::enum_<EDictMode>(m, "EDictMode") OSTRADB_VALUE(dmCode) OSTRADB_VALUE(dmDecode)
        .export_values();
    py::enum_<EParseFNOptions>(m, "EParseFNOptions") OSTRADB_VALUE(pfnoUseExtraHierarchy)
        .export_values();

    RegisterSet<EUserRights>();
    RegisterSet<EFilterCheckFlags>();
    RegisterSet<ECurvesTypes>();
    RegisterSet<EReqFilesFlags>();
    RegisterSet<EFindFilesForWellOpts>();
    RegisterSet<ECurvesListOpts>();
    RegisterSet<EWsInfoOptions>();
    RegisterSet<EParseFNOptions>();
}

#undef OSTRADB_VALUE

void BindStringList(py::module_& m) {
    py::class_<TStringList, Persistent>(m, "TStringList")
        .def(py::init<>())
        .def(py::init([](const py::iterable& lines) {
                 auto list = std::make_unique<TStringList>();
                 if (PyUnicode_Check(lines.ptr()))
                     throw py::type_error("a TStringList is made of a sequence of str, not a str");
                 for (py::handle line : lines)
                     list->Add(line.cast<std::string>());
                 return list;
             }),
             "lines"_a)
        .def("__len__", &TStringList::Count)
        .def("__getitem__",
             [](const TStringList& l, Py_ssize_t i) { return l[ItemIndex(l.Count(), i)]; })
        .def("__setitem__", [](TStringList& l, Py_ssize_t i,
                               std::string s) { l[ItemIndex(l.Count(), i)] = std::move(s); })
        .def("__delitem__", [](TStringList& l, Py_ssize_t i) { l.Delete(ItemIndex(l.Count(), i)); })
        .def("__eq__",
             [](const TStringList& l, const py::object& other) {
                 if (py::isinstance<TStringList>(other))
                     return l == other.cast<const TStringList&>();
                 if (!py::isinstance<py::sequence>(other) || PyUnicode_Check(other.ptr()))
                     return false;
                 return py::list(py::cast(l.Lines())).equal(py::list(other));
             })
        .def("__repr__",
             [](const TStringList& l) {
                 return "TStringList(" + std::string(py::repr(py::cast(l.Lines()))) + ")";
             })
        .def("Count", &TStringList::Count)
        .def("Add", &TStringList::Add, "line"_a)
        .def("Insert", &TStringList::Insert, "i"_a, "line"_a)
        .def("Delete", &TStringList::Delete, "i"_a)
        .def("Clear", &TStringList::Clear)
        .def("Exchange", &TStringList::Exchange, "i"_a, "j"_a)
        .def("IndexOf", &TStringList::IndexOf, "s"_a)
        .def("IndexOfName", &TStringList::IndexOfName, "name"_a)
        .def("Names", &TStringList::Names, "i"_a)
        .def("ValueFromIndex", &TStringList::ValueFromIndex, "i"_a)
        .def("Values", &TStringList::Values, "name"_a)
        .def("SetValue", &TStringList::SetValue, "name"_a, "value"_a)
        .def_property("Text", &TStringList::Text, &TStringList::SetText)
        .def_property("CommaText", &TStringList::CommaText, &TStringList::SetCommaText)
        .def("Join", &TStringList::Join, "sep"_a);
    // Lists and tuples of str pass where a command reads a string list (never where it fills
    // one: Out<T> takes no conversions).
    py::implicitly_convertible<py::list, TStringList>();
    py::implicitly_convertible<py::tuple, TStringList>();
}

void BindSerializer(py::module_& m) {
    py::class_<Persistent>(m, "Persistent");
    py::class_<TXmlSerialized, Persistent>(m, "TXmlSerialized");
    py::class_<TXmlSerializedCollectionItem, TXmlSerialized>(m, "TXmlSerializedCollectionItem");
    py::class_<CollectionBase, Persistent>(m, "CollectionBase");

    m.def(
        "SaveToXMLString",
        [](const Persistent& object, std::string_view name, bool oneLine) {
            return SaveToXMLString(object, name, oneLine);
        },
        "obj"_a, "name"_a, "oneLine"_a = false,
        "The text of a new UTF-8 XML document whose root element name holds obj.");
    m.def(
        "LoadFromXMLString",
        [](Persistent& object, std::string_view name, bool oneLine, std::string_view text) {
            LoadFromXMLString(object, name, oneLine, text);
        },
        "obj"_a, "name"_a, "oneLine"_a, "text"_a,
        "Reads obj from the root of the document in text.");
}

void BindFunctions(py::module_& m) {
    m.def("DbErrCodeToString", &DbErrCodeToString, "code"_a);
    m.def("getErrMsg", &getErrMsg, "code"_a);
    m.def("FileFlagToString", &FileFlagToString, "flag"_a);
    m.def(
        "FileFlagsToString",
        [](std::int64_t flags, Out<TStringList> list) { FileFlagsToString(flags, *list.object); },
        "flags"_a, "list"_a);
    m.def(
        "GetFileTypeString",
        [](std::int32_t kind) {
            std::string result;
            GetFileTypeString(kind, result);
            return result;
        },
        "kind"_a);
    m.def("RightBitsToSet", &RightBitsToSet, "mask"_a);
    m.def("DataClassToCurveType", &DataClassToCurveType, "dataClass"_a);
    m.def("CleanLogStructName", &CleanLogStructName, "name"_a);
    m.def("CompareWellNames", &CompareWellNames, "a"_a, "b"_a);
    m.def(
        "SortItemsList",
        [](Out<TStringList> list, bool byWellName) { SortItemsList(*list.object, byWellName); },
        "list"_a, "byWellName"_a);

    // Date-times are day counts since 1899-12-30 (floats); these convert them.
    py::class_<DateParts>(m, "DateParts")
        .def(py::init<>())
        .def_readwrite("year", &DateParts::year)
        .def_readwrite("month", &DateParts::month)
        .def_readwrite("day", &DateParts::day)
        .def_readwrite("hour", &DateParts::hour)
        .def_readwrite("minute", &DateParts::minute)
        .def_readwrite("second", &DateParts::second)
        .def_readwrite("millisecond", &DateParts::millisecond);
    m.def("EncodeDate", &EncodeDate, "year"_a, "month"_a, "day"_a);
    m.def("EncodeTime", &EncodeTime, "hour"_a, "minute"_a, "second"_a, "millisecond"_a);
    m.def("DecodeDateTime", &DecodeDateTime, "value"_a);
    m.def("UnixTimeToDateTime", &UnixTimeToDateTime, "secondsSinceEpoch"_a);
    m.def("DateTimeToUnixTime", &DateTimeToUnixTime, "value"_a);
    m.def("ShortDateFormat", &ShortDateFormat);
    m.def("SetShortDateFormat", &SetShortDateFormat, "format"_a);
    m.def("DateToStr", &DateToStr, "value"_a);
    m.def("FormatDateTime", &FormatDateTime, "format"_a, "value"_a);
    m.def("StrToDate", &StrToDate, "text"_a);
}

}  // namespace

void BindBasics(py::module_& m) {
    BindEnumerations(m);
    BindSerializer(m);
    BindStringList(m);
    BindFunctions(m);
}

}  // namespace ostradb::python
