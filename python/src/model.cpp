// The structures and logical structures of databases, their levels and filters.

#include "binding.hpp"
#include "collections.hpp"
#include "declared.hpp"

namespace ostradb::python {

namespace {

// Items handed out stay usable when their collection drops them.
constexpr ItemRef ref{};

void BindStructures(py::module_& m) {
    py::class_<TDbStructItem> item(m, "TDbStructItem");
    item.def(py::init<>()).def("Assign", &TDbStructItem::Assign, "other"_a);
    OSTRADB_FIELD(item, TDbStructItem, Type);
    OSTRADB_FIELD(item, TDbStructItem, View);
    OSTRADB_FIELD(item, TDbStructItem, ExType);
    OSTRADB_FIELD(item, TDbStructItem, DisplayName);
    OSTRADB_FIELD(item, TDbStructItem, NoData);
    OSTRADB_FIELD(item, TDbStructItem, DictName);
    OSTRADB_FIELD(item, TDbStructItem, DictCol1);
    OSTRADB_FIELD(item, TDbStructItem, DictCol2);
    OSTRADB_FIELD(item, TDbStructItem, SearchLink);
    OSTRADB_FIELD(item, TDbStructItem, UseDict);
    OSTRADB_FIELD(item, TDbStructItem, Real);
    OSTRADB_FIELD(item, TDbStructItem, IsKey);
    BindCollection<Collection<TDbStructItem>, CollectionBase>(m, "TDbStructItemCollection");

    py::class_<TDbStruct, Persistent> structure(m, "TDbStruct");
    structure.def(py::init<>())
        .def("Assign", &TDbStruct::Assign, "other"_a)
        .def("GetItemsCount", &TDbStruct::GetItemsCount)
        .def("GetItem", py::overload_cast<int>(&TDbStruct::GetItem), "i"_a, ref)
        .def("Clear", &TDbStruct::Clear)
        .def("AddNewItem", &TDbStruct::AddNewItem, ref)
        .def("IndexOfType", &TDbStruct::IndexOfType, "type"_a)
        .def("GetItemByType", py::overload_cast<std::string_view>(&TDbStruct::GetItemByType),
             "type"_a, ref)
        .def("FindItemByRealName",
             py::overload_cast<std::string_view>(&TDbStruct::FindItemByRealName), "name"_a, ref);
    OSTRADB_FIELD(structure, TDbStruct, Items);
    OSTRADB_FIELD(structure, TDbStruct, DirCount);
    OSTRADB_FIELD(structure, TDbStruct, MainFileType);

    DeclaredClass<TDbLogicalStructItem, Persistent>(m, "TDbLogicalStructItem")
        .def("Assign", &TDbLogicalStructItem::Assign, "other"_a);
    BindCollection<Collection<TDbLogicalStructItem>, CollectionBase>(
        m, "TDbLogicalStructItemCollection");
    auto logical =
        DeclaredClass<TDbLogicalStruct, TXmlSerializedCollectionItem>(m, "TDbLogicalStruct");
    OSTRADB_FIELD(logical, TDbLogicalStruct, Items);
    logical.def("Assign", &TDbLogicalStruct::Assign, "other"_a)
        .def("GetCount", &TDbLogicalStruct::GetCount)
        .def("GetItem", py::overload_cast<int>(&TDbLogicalStruct::GetItem), "i"_a, ref)
        .def("Clear", &TDbLogicalStruct::Clear)
        .def("Add", &TDbLogicalStruct::Add, ref)
        .def("Delete", &TDbLogicalStruct::Delete, "i"_a)
        .def("Swap", &TDbLogicalStruct::Swap, "i"_a, "j"_a)
        .def("FindByType", &TDbLogicalStruct::FindByType, "type"_a, ref)
        .def("IndexByName", &TDbLogicalStruct::IndexByName, "name"_a)
        .def("ReadFromRealStruct", &TDbLogicalStruct::ReadFromRealStruct, "dbStruct"_a);
    BindCollection<Collection<TDbLogicalStruct>, CollectionBase>(m, "TDbLogicalStructCollection");

    py::class_<TDbLogicalStructures, Persistent> structures(m, "TDbLogicalStructures");
    OSTRADB_FIELD(structures, TDbLogicalStructures, Items);
    OSTRADB_FIELD(structures, TDbLogicalStructures, CurrentIndex);
    structures.def(py::init<>())
        .def("Assign", &TDbLogicalStructures::Assign, "other"_a)
        .def("GetCount", &TDbLogicalStructures::GetCount)
        .def("GetItem", py::overload_cast<int>(&TDbLogicalStructures::GetItem), "i"_a, ref)
        .def("Add", &TDbLogicalStructures::Add, ref)
        .def("GetCurrent", py::overload_cast<>(&TDbLogicalStructures::GetCurrent), ref)
        .def("SetCurrent", &TDbLogicalStructures::SetCurrent, "s"_a)
        .def("GetDefault", &TDbLogicalStructures::GetDefault, ref)
        .def("SetDefaultStruct", &TDbLogicalStructures::SetDefaultStruct, "dbStruct"_a)
        .def("Delete", &TDbLogicalStructures::Delete, "i"_a)
        .def("FindByName", &TDbLogicalStructures::FindByName, "name"_a, ref);
}

void BindLevels(py::module_& m) {
    py::class_<TLevelItem> level(m, "TLevelItem");
    level.def(py::init<>())
        .def_property_readonly("LevelFiles", py::overload_cast<>(&TLevelItem::LevelFiles), ref)
        .def("Assign", &TLevelItem::Assign, "other"_a)
        .def("IsReadOnly", &TLevelItem::IsReadOnly)
        .def("IsNavigateOnly", &TLevelItem::IsNavigateOnly)
        .def("IsFullAccess", &TLevelItem::IsFullAccess);
    OSTRADB_FIELD(level, TLevelItem, Id);
    OSTRADB_FIELD(level, TLevelItem, Name);
    OSTRADB_FIELD(level, TLevelItem, Date);
    OSTRADB_FIELD(level, TLevelItem, NameIsCorrect);
    OSTRADB_FIELD(level, TLevelItem, Path);
    OSTRADB_FIELD(level, TLevelItem, StrType);
    OSTRADB_FIELD(level, TLevelItem, UserRights);
    OSTRADB_FIELD(level, TLevelItem, QualityMark);
    BindCollection<Collection<TLevelItem>, CollectionBase>(m, "TLevelItemCollection");

    py::class_<TLevelsList> levels(m, "TLevelsList");
    OSTRADB_FIELD(levels, TLevelsList, Items);
    levels.def(py::init<>())
        .def("AddNew", &TLevelsList::AddNew, ref)
        .def("GetCount", &TLevelsList::GetCount)
        .def("GetItem", py::overload_cast<int>(&TLevelsList::GetItem), "i"_a, ref)
        .def("Clear", &TLevelsList::Clear);

    py::class_<TVTableItem> vtable(m, "TVTableItem");
    vtable.def(py::init<>());
    OSTRADB_FIELD(vtable, TVTableItem, Name);
    OSTRADB_FIELD(vtable, TVTableItem, FileName);
    OSTRADB_FIELD(vtable, TVTableItem, OnlyLoginUpdate);
    BindCollection<Collection<TVTableItem>, CollectionBase>(m, "TVTableItemCollection");
    py::class_<TVTables, Persistent> vtables(m, "TVTables");
    vtables.def(py::init<>())
        .def("GetItemsCount", &TVTables::GetItemsCount)
        .def("GetItem", py::overload_cast<int>(&TVTables::GetItem), "i"_a, ref);
    OSTRADB_FIELD(vtables, TVTables, Items);
    OSTRADB_FIELD(vtables, TVTables, CollectionPath);
    OSTRADB_FIELD(vtables, TVTables, UseDelete);
    DeclaredClass<TVTableOption, Persistent>(m, "TVTableOption");
    BindCollection<Collection<TVTableOption>, CollectionBase>(m, "TVTableOptionCollection");
    DeclaredClass<TVTableOptions, Persistent>(m, "TVTableOptions")
        .def("GetItemsCount", &TVTableOptions::GetItemsCount)
        .def("GetItem", py::overload_cast<int>(&TVTableOptions::GetItem), "i"_a, ref);
}

void BindFilters(py::module_& m) {
    py::class_<TFilterItem> item(m, "TFilterItem");
    OSTRADB_FIELD(item, TFilterItem, Key);
    OSTRADB_FIELD(item, TFilterItem, Values);
    OSTRADB_FIELD(item, TFilterItem, Oper);
    OSTRADB_FIELD(item, TFilterItem, Not);
    OSTRADB_FIELD(item, TFilterItem, And);
    item.def(py::init<>())
        .def("GetItemType", &TFilterItem::GetItemType)
        .def(
            "ExplodeKeyIntoTableAndColName",
            [](const TFilterItem& i) {
                std::string table, column;
                const bool ok = i.ExplodeKeyIntoTableAndColName(table, column);
                return py::make_tuple(ok, table, column);
            },
            "Returns (is a key column, table, column).")
        .def("Assign", &TFilterItem::Assign, "other"_a)
        .def("ToSimpleText", &TFilterItem::ToSimpleText)
        .def("FromSimpleText", &TFilterItem::FromSimpleText, "text"_a);
    BindCollection<Collection<TFilterItem>, CollectionBase>(m, "TFilterItemCollection");

    py::class_<TFilter> filter(m, "TFilter");
    OSTRADB_FIELD(filter, TFilter, Name);
    OSTRADB_FIELD(filter, TFilter, Items);
    filter.def(py::init<>())
        .def("Add", &TFilter::Add, ref)
        .def("GetCount", &TFilter::GetCount)
        .def("GetItem", py::overload_cast<int>(&TFilter::GetItem), "i"_a, ref)
        .def("Delete", &TFilter::Delete, "i"_a)
        .def("DeleteByKey", &TFilter::DeleteByKey, "key"_a)
        .def("FindByKey", py::overload_cast<std::string_view>(&TFilter::FindByKey), "key"_a, ref)
        .def("Clear", &TFilter::Clear)
        .def("Assign", &TFilter::Assign, "other"_a)
        .def("GetFilledItemsCount", &TFilter::GetFilledItemsCount)
        .def("CheckAndCorrect", &TFilter::CheckAndCorrect)
        .def(
            "FillToSimpleText",
            [](const TFilter& f, Out<TStringList> list) { f.FillToSimpleText(*list.object); },
            "list"_a)
        .def("ReadSimpleText", &TFilter::ReadSimpleText, "list"_a)
        .def("FillToXmlStr", &TFilter::FillToXmlStr)
        .def("ReadFromXmlStr", &TFilter::ReadFromXmlStr, "text"_a)
        .def("ToHumanReadableText", &TFilter::ToHumanReadableText, "structure"_a = nullptr);
    BindCollection<Collection<TFilter>, CollectionBase>(m, "TFilterCollection");

    py::class_<TFilters> filters(m, "TFilters");
    OSTRADB_FIELD(filters, TFilters, Items);
    OSTRADB_FIELD(filters, TFilters, CurrentIndex);
    OSTRADB_FIELD(filters, TFilters, UseAsGlobal);
    filters.def(py::init<>())
        .def("Add", &TFilters::Add, ref)
        .def("Delete", &TFilters::Delete, "name"_a)
        .def("FindByName", &TFilters::FindByName, "name"_a, ref)
        .def("GetCurrent", &TFilters::GetCurrent, ref)
        .def("SetCurrent", &TFilters::SetCurrent, "f"_a)
        .def("GetCount", &TFilters::GetCount)
        .def("GetItem", py::overload_cast<int>(&TFilters::GetItem), "i"_a, ref)
        .def("Assign", &TFilters::Assign, "other"_a);
}

}  // namespace

void BindModel(py::module_& m) {
    BindStructures(m);
    BindLevels(m);
    BindFilters(m);
}

}  // namespace ostradb::python
