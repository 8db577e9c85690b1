// Level files with their tables, curves, rows and plansheets; table columns; trunks.

#include "binding.hpp"
#include "collections.hpp"
#include "declared.hpp"

namespace ostradb::python {

namespace {

// Items handed out stay usable when their collection drops them.
constexpr ItemRef ref{};

void BindColumns(py::module_& m) {
    py::class_<TTableCol> col(m, "TTableCol");
    col.def(py::init<>());
    OSTRADB_FIELD(col, TTableCol, Name);
    BindCollection<Collection<TTableCol>, CollectionBase>(m, "TTableColCollection");
    py::class_<TTableCols> cols(m, "TTableCols");
    OSTRADB_FIELD(cols, TTableCols, Items);
    cols.def(py::init<>())
        .def("GetCount", &TTableCols::GetCount)
        .def("GetItem", py::overload_cast<int>(&TTableCols::GetItem), "i"_a, ref)
        .def("Clear", &TTableCols::Clear);

    py::class_<TTableValue> value(m, "TTableValue");
    value.def(py::init<>());
    OSTRADB_FIELD(value, TTableValue, Name);
    OSTRADB_FIELD(value, TTableValue, Value);
    OSTRADB_FIELD(value, TTableValue, Type);
    BindCollection<Collection<TTableValue>, CollectionBase>(m, "TTableValueCollection");

    auto names = DeclaredClass<TTableColumnNamesItem, TXmlSerializedCollectionItem>(
        m, "TTableColumnNamesItem");
    OSTRADB_FIELD(names, TTableColumnNamesItem, ColNames);
    names.def("Exists", &TTableColumnNamesItem::Exists, "column"_a);
    BindCollection<Collection<TTableColumnNamesItem>, CollectionBase>(
        m, "TTableColumnNamesItemCollection");
    py::class_<TTableColumnNames, TXmlSerialized> all(m, "TTableColumnNames");
    OSTRADB_FIELD(all, TTableColumnNames, Items);
    all.def(py::init<>())
        .def("FindByTableName",
             py::overload_cast<std::string_view>(&TTableColumnNames::FindByTableName), "table"_a,
             ref)
        .def("Exists", &TTableColumnNames::Exists, "table"_a, "column"_a)
        .def("DeleteByName", &TTableColumnNames::DeleteByName, "table"_a)
        .def("IsEmpty", &TTableColumnNames::IsEmpty)
        .def("Clear", &TTableColumnNames::Clear)
        .def("Add", &TTableColumnNames::Add, ref)
        .def("GetCount", &TTableColumnNames::GetCount)
        .def("GetItem", py::overload_cast<int>(&TTableColumnNames::GetItem), "i"_a, ref)
        .def("Assign", &TTableColumnNames::Assign, "other"_a);
}

void BindFiles(py::module_& m) {
    auto curve = DeclaredClass<TLevelFileCurve, Persistent>(m, "TLevelFileCurve");
    curve.def("Assign", &TLevelFileCurve::Assign, "other"_a)
        .def("GetKeyStr", &TLevelFileCurve::GetKeyStr)
        .def("GetCurveType", &TLevelFileCurve::GetCurveType)
        .def("GetIsBed", &TLevelFileCurve::GetIsBed)
        .def("GetIsColumn", &TLevelFileCurve::GetIsColumn)
        .def("GetVisibleName", &TLevelFileCurve::GetVisibleName);
    BindCollection<Collection<TLevelFileCurve>, CollectionBase>(m, "TLevelFileCurveCollection");

    py::class_<TLevelFileInternalFilter> filter(m, "TLevelFileInternalFilter");
    OSTRADB_FIELD(filter, TLevelFileInternalFilter, TableNames);
    OSTRADB_FIELD(filter, TLevelFileInternalFilter, CurveNames);
    OSTRADB_FIELD(filter, TLevelFileInternalFilter, CurveTypes);
    filter.def(py::init<>())
        .def("IsEmpty", &TLevelFileInternalFilter::IsEmpty)
        .def("Passes", &TLevelFileInternalFilter::Passes, "tableName"_a, "curve"_a);

    py::class_<TLevelFileRow> row(m, "TLevelFileRow");
    OSTRADB_FIELD(row, TLevelFileRow, Values);
    row.def(py::init<>())
        .def("GetCount", &TLevelFileRow::GetCount)
        .def("GetItem", py::overload_cast<int>(&TLevelFileRow::GetItem), "i"_a, ref)
        .def("Add", &TLevelFileRow::Add, ref)
        .def("GetKeyStr", &TLevelFileRow::GetKeyStr);
    BindCollection<Collection<TLevelFileRow>, CollectionBase>(m, "TLevelFileRowCollection");
    py::class_<TLevelFileRows> rows(m, "TLevelFileRows");
    OSTRADB_FIELD(rows, TLevelFileRows, Items);
    rows.def(py::init<>())
        .def("GetCount", &TLevelFileRows::GetCount)
        .def("GetItem", py::overload_cast<int>(&TLevelFileRows::GetItem), "i"_a, ref)
        .def("Add", &TLevelFileRows::Add, ref)
        .def("Clear", &TLevelFileRows::Clear);

    auto table = DeclaredClass<TLevelFileTable, TXmlSerializedCollectionItem>(m, "TLevelFileTable");
    OSTRADB_FIELD(table, TLevelFileTable, ShowNames);
    OSTRADB_FIELD(table, TLevelFileTable, Curves);
    OSTRADB_FIELD(table, TLevelFileTable, Cols);
    OSTRADB_FIELD(table, TLevelFileTable, Rows);
    table.def("Assign", &TLevelFileTable::Assign, "other"_a)
        .def("AddCurve", &TLevelFileTable::AddCurve, ref)
        .def("GetCurvesCount", &TLevelFileTable::GetCurvesCount)
        .def("GetCurve", py::overload_cast<int>(&TLevelFileTable::GetCurve), "i"_a, ref)
        .def("FindCurve", py::overload_cast<std::string_view>(&TLevelFileTable::FindCurve),
             "name"_a, ref)
        .def("FilterCurves", &TLevelFileTable::FilterCurves, "filter"_a);
    BindCollection<Collection<TLevelFileTable>, CollectionBase>(m, "TLevelFileTableCollection");

    DeclaredClass<TLevelFilePlanshet, Persistent>(m, "TLevelFilePlanshet")
        .def("Assign", &TLevelFilePlanshet::Assign, "other"_a);
    BindCollection<Collection<TLevelFilePlanshet>, CollectionBase>(m,
                                                                   "TLevelFilePlanshetCollection");

    DeclaredClass<TLevelFile, TXmlSerializedCollectionItem>(m, "TLevelFile")
        .def("Assign", &TLevelFile::Assign, "other"_a)
        .def("AddTable", &TLevelFile::AddTable, ref)
        .def("GetTablesCount", &TLevelFile::GetTablesCount)
        .def("GetTable", py::overload_cast<int>(&TLevelFile::GetTable), "i"_a, ref)
        .def("FindTable", py::overload_cast<std::string_view>(&TLevelFile::FindTable), "name"_a,
             ref)
        .def("AddPlanSheet", &TLevelFile::AddPlanSheet, ref)
        .def("GetPlanshetsCount", &TLevelFile::GetPlanshetsCount)
        .def("GetPlanshet", py::overload_cast<int>(&TLevelFile::GetPlanshet), "i"_a, ref)
        .def("IsReadOnly", &TLevelFile::IsReadOnly)
        .def("IsFullAccess", &TLevelFile::IsFullAccess)
        .def("FilterCurves", &TLevelFile::FilterCurves, "filter"_a);
    BindCollection<Collection<TLevelFile>, CollectionBase>(m, "TLevelFileCollection");

    py::class_<TLevelFilesList, TXmlSerialized> list(m, "TLevelFilesList");
    OSTRADB_FIELD(list, TLevelFilesList, Files);
    list.def(py::init<>())
        .def("Assign", &TLevelFilesList::Assign, "other"_a)
        .def("Add", &TLevelFilesList::Add, ref)
        .def("Clear", &TLevelFilesList::Clear)
        .def("GetCount", &TLevelFilesList::GetCount)
        .def("GetItem", py::overload_cast<int>(&TLevelFilesList::GetItem), "i"_a, ref)
        .def("FindByName", py::overload_cast<std::string_view>(&TLevelFilesList::FindByName),
             "name"_a, ref)
        .def(
            "GetFileNames",
            [](const TLevelFilesList& l, Out<TStringList> names) { l.GetFileNames(*names.object); },
            "list"_a)
        .def("LoadFromApiXMLText", &TLevelFilesList::LoadFromApiXMLText, "text"_a)
        .def("SmartSort", &TLevelFilesList::SmartSort);

    py::class_<TFlatCurvesList, TXmlSerialized> flat(m, "TFlatCurvesList");
    OSTRADB_FIELD(flat, TFlatCurvesList, Items);
    flat.def(py::init<>())
        .def("Assign", &TFlatCurvesList::Assign, "other"_a)
        .def("GetCount", &TFlatCurvesList::GetCount)
        .def("GetItem", py::overload_cast<int>(&TFlatCurvesList::GetItem), "i"_a, ref)
        .def("Add", &TFlatCurvesList::Add, ref)
        .def("Clear", &TFlatCurvesList::Clear);
}

void BindTrunks(py::module_& m) {
    DeclaredClass<TTrunk, Persistent>(m, "TTrunk")
        .def("Assign", &TTrunk::Assign, "other"_a)
        .def_static("GetWsPattern", &TTrunk::GetWsPattern);
    BindCollection<Collection<TTrunk>, CollectionBase>(m, "TTrunkCollection");
    py::class_<TTrunkList, TXmlSerialized> list(m, "TTrunkList");
    OSTRADB_FIELD(list, TTrunkList, Items);
    list.def(py::init<>())
        .def("Assign", &TTrunkList::Assign, "other"_a)
        .def("Find", py::overload_cast<std::string_view>(&TTrunkList::Find), "tid"_a, ref)
        .def("Add", &TTrunkList::Add, ref)
        .def("Clear", &TTrunkList::Clear)
        .def("GetCount", &TTrunkList::GetCount)
        .def("GetItem", py::overload_cast<int>(&TTrunkList::GetItem), "i"_a, ref);
}

}  // namespace

void BindLevelFiles(py::module_& m) {
    BindColumns(m);
    BindFiles(m);
    BindTrunks(m);
}

}  // namespace ostradb::python
