// What the well-content and map commands take and fill: stratum data, curve lists, parsed
// file names, collections, stratum texts, indexes; map columns, trunks and layer crossings.

#include "binding.hpp"
#include "collections.hpp"
#include "declared.hpp"

namespace ostradb::python {

namespace {

// Items handed out stay usable when their collection drops them.
constexpr ItemRef ref{};

void BindWellContentTypes(py::module_& m) {
    DeclaredClass<TStratumItem, Persistent>(m, "TStratumItem")
        .def("Assign", &TStratumItem::Assign, "other"_a)
        .def("IsEquals", &TStratumItem::IsEquals, "ATable"_a, "AIdent"_a, "AValue"_a);
    BindCollection<Collection<TStratumItem>, CollectionBase>(m, "TStratumItemCollection");
    DeclaredClass<TStratumData, TXmlSerializedCollectionItem>(m, "TStratumData")
        .def("Assign", &TStratumData::Assign, "other"_a)
        .def("Clear", &TStratumData::Clear)
        .def("Count", &TStratumData::Count)
        .def("Item", py::overload_cast<int>(&TStratumData::Item), "i"_a, ref)
        .def("TableExists", &TStratumData::TableExists, "Table"_a)
        .def("IdentExists", &TStratumData::IdentExists, "Table"_a, "Ident"_a)
        .def("FindValue", &TStratumData::FindValue, "Table"_a, "Ident"_a, "Value"_a, ref);
    BindCollection<Collection<TStratumData>, CollectionBase>(m, "TStratumDataCollection");
    py::class_<TStratumDataItems, TXmlSerialized> strata(m, "TStratumDataItems");
    OSTRADB_FIELD(strata, TStratumDataItems, Items);
    strata.def(py::init<>())
        .def("Count", &TStratumDataItems::Count)
        .def("Item", py::overload_cast<int>(&TStratumDataItems::Item), "i"_a, ref);

    DeclaredClass<TCurvesListItem, Persistent>(m, "TCurvesListItem");
    BindCollection<Collection<TCurvesListItem>, CollectionBase>(m, "TCurvesListItemCollection");
    py::class_<TCurvesList, TXmlSerialized> curves(m, "TCurvesList");
    OSTRADB_FIELD(curves, TCurvesList, Items);
    curves.def(py::init<>())
        .def("Count", &TCurvesList::Count)
        .def("Item", py::overload_cast<int>(&TCurvesList::Item), "i"_a, ref)
        .def(
            "SaveToStrings",
            [](const TCurvesList& c, Out<TStringList> list, TCurvesListOpts opts,
               std::string_view separator) { c.SaveToStrings(*list.object, opts, separator); },
            "List"_a, "Opts"_a, "Separator"_a);

    DeclaredClass<TParseFileNamePathItem, Persistent>(m, "TParseFileNamePathItem")
        .def("Assign", &TParseFileNamePathItem::Assign, "other"_a);
    BindCollection<Collection<TParseFileNamePathItem>, CollectionBase>(
        m, "TParseFileNamePathItemCollection");
    DeclaredClass<TParseFileNameResultItem, TXmlSerializedCollectionItem>(
        m, "TParseFileNameResultItem")
        .def("Assign", &TParseFileNameResultItem::Assign, "other"_a)
        .def("Count", &TParseFileNameResultItem::Count)
        .def("PathValue", &TParseFileNameResultItem::PathValue, "i"_a, ref)
        .def("FindByType", &TParseFileNameResultItem::FindByType, "LevelType"_a, ref);
    BindCollection<Collection<TParseFileNameResultItem>, CollectionBase>(
        m, "TParseFileNameResultItemCollection");
    py::class_<TParseFileNameResult, TXmlSerialized> parsed(m, "TParseFileNameResult");
    OSTRADB_FIELD(parsed, TParseFileNameResult, Items);
    parsed.def(py::init<>())
        .def("Count", &TParseFileNameResult::Count)
        .def("Item", &TParseFileNameResult::Item, "i"_a, ref);

    DeclaredClass<TGetCollectionsListResultItem, Persistent>(m, "TGetCollectionsListResultItem")
        .def("ToString", &TGetCollectionsListResultItem::ToString);
    BindCollection<Collection<TGetCollectionsListResultItem>, CollectionBase>(
        m, "TGetCollectionsListResultItemCollection");
    py::class_<TGetCollectionsListResult, TXmlSerialized> collections(m,
                                                                      "TGetCollectionsListResult");
    OSTRADB_FIELD(collections, TGetCollectionsListResult, Items);
    collections.def(py::init<>())
        .def("Count", &TGetCollectionsListResult::Count)
        .def("Item", &TGetCollectionsListResult::Item, "i"_a, ref);

    DeclaredClass<TGetStartTextAndWrongFileItem, Persistent>(m, "TGetStartTextAndWrongFileItem");
    BindCollection<Collection<TGetStartTextAndWrongFileItem>, CollectionBase>(
        m, "TGetStartTextAndWrongFileItemCollection");
    py::class_<TGetStartTextAndInfoResult, TXmlSerialized> texts(m, "TGetStartTextAndInfoResult");
    OSTRADB_FIELD(texts, TGetStartTextAndInfoResult, FilesToFixItems);
    OSTRADB_FIELD(texts, TGetStartTextAndInfoResult, Names);
    texts.def(py::init<>())
        .def("FilesToFixCount", &TGetStartTextAndInfoResult::FilesToFixCount)
        .def("FilesToFix", &TGetStartTextAndInfoResult::FilesToFix, "i"_a, ref);

    // The index is an XML element of the answer; Python reads it as XML text.
    py::class_<TGetWsIndexResult>(m, "TGetWsIndexResult")
        .def(py::init<>())
        .def_property_readonly("ObjIndex",
                               [](const TGetWsIndexResult& r) {
                                   pugi::xml_document doc;
                                   if (r.ObjIndex) doc.append_copy(r.ObjIndex);
                                   return xml::ToText(doc);
                               })
        .def("Clear", &TGetWsIndexResult::Clear);
}

void BindMapTypes(py::module_& m) {
    DeclaredClass<TMapSpecialCol, Persistent>(m, "TMapSpecialCol");
    BindCollection<Collection<TMapSpecialCol>, CollectionBase>(m, "TMapSpecialColCollection");
    py::class_<TMapSpecialCols> cols(m, "TMapSpecialCols");
    OSTRADB_FIELD(cols, TMapSpecialCols, Items);
    cols.def(py::init<>())
        .def("Add", &TMapSpecialCols::Add, "Param"_a, "Table"_a, "Col"_a, ref)
        .def("Count", &TMapSpecialCols::Count)
        .def("Item", py::overload_cast<int>(&TMapSpecialCols::Item), "i"_a, ref)
        .def("ReadFromText", &TMapSpecialCols::ReadFromText, "Text"_a);

    DeclaredClass<TMapTrunkAttr, TXmlSerializedCollectionItem>(m, "TMapTrunkAttr")
        .def("GetFloat", &TMapTrunkAttr::GetFloat)
        .def("SetFloat", &TMapTrunkAttr::SetFloat, "X"_a)
        .def("GetInteger", &TMapTrunkAttr::GetInteger)
        .def("SetInteger", &TMapTrunkAttr::SetInteger, "N"_a);
    BindCollection<Collection<TMapTrunkAttr>, CollectionBase>(m, "TMapTrunkAttrCollection");
    py::class_<TMapTrunkAttributes, TXmlSerialized> attrs(m, "TMapTrunkAttributes");
    OSTRADB_FIELD(attrs, TMapTrunkAttributes, Items);
    attrs.def(py::init<>())
        .def("Count", &TMapTrunkAttributes::Count)
        .def("Item", py::overload_cast<int>(&TMapTrunkAttributes::Item), "i"_a, ref)
        .def("AddNew", &TMapTrunkAttributes::AddNew, ref)
        .def("FindByName", &TMapTrunkAttributes::FindByName, "Name"_a, ref)
        .def("FindByNameOrCreate", &TMapTrunkAttributes::FindByNameOrCreate, "Name"_a, ref);

    DeclaredClass<TMapPlastsCrossItem, Persistent>(m, "TMapPlastsCrossItem");
    BindCollection<Collection<TMapPlastsCrossItem>, CollectionBase>(
        m, "TMapPlastsCrossItemCollection");
    py::class_<TMapPlastsCrossItems, TXmlSerialized> crosses(m, "TMapPlastsCrossItems");
    OSTRADB_FIELD(crosses, TMapPlastsCrossItems, Items);
    crosses.def(py::init<>())
        .def("Count", &TMapPlastsCrossItems::Count)
        .def("Item", py::overload_cast<int>(&TMapPlastsCrossItems::Item), "i"_a, ref)
        .def("AddNew", &TMapPlastsCrossItems::AddNew, ref);

    auto trunk = DeclaredClass<TMapTrunk, TXmlSerializedCollectionItem>(m, "TMapTrunk");
    OSTRADB_FIELD(trunk, TMapTrunk, PlastsCross);
    BindCollection<Collection<TMapTrunk>, CollectionBase>(m, "TMapTrunkCollection");
    py::class_<TMapTrunks, TXmlSerialized> trunks(m, "TMapTrunks");
    OSTRADB_FIELD(trunks, TMapTrunks, Items);
    OSTRADB_FIELD(trunks, TMapTrunks, StratIdents);
    trunks.def(py::init<>())
        .def("Count", &TMapTrunks::Count)
        .def("Item", py::overload_cast<int>(&TMapTrunks::Item), "i"_a, ref)
        .def("AddNew", &TMapTrunks::AddNew, ref);

    DeclaredClass<TFilesForTrunk, Persistent>(m, "TFilesForTrunk");
    BindCollection<Collection<TFilesForTrunk>, CollectionBase>(m, "TFilesForTrunkCollection");
    py::class_<TFilesForTrunkList, TXmlSerialized> files(m, "TFilesForTrunkList");
    OSTRADB_FIELD(files, TFilesForTrunkList, Items);
    files.def(py::init<>())
        .def("Count", &TFilesForTrunkList::Count)
        .def("Item", py::overload_cast<int>(&TFilesForTrunkList::Item), "i"_a, ref);
}

}  // namespace

void BindWellTypes(py::module_& m) {
    BindWellContentTypes(m);
    BindMapTypes(m);
}

}  // namespace ostradb::python
