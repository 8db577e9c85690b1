// The commands on well contents, trunks and maps, and the data-layer calls.

#include <utility>

#include "binding.hpp"
#include "wrap.hpp"

namespace ostradb::python {

namespace {

void BindContentCommands(ProtocolClass& c) {
    c.OSTRADB_NET(DeleteCurve, "FileName"_a, "Table"_a, "KeyStr"_a, "Curve"_a)
        .OSTRADB_NET(RenameTable, "FileName"_a, "OldName"_a, "NewName"_a)
        .OSTRADB_NET(DeleteTable, "FileName"_a, "Table"_a)
        .OSTRADB_NET(GetUnitsList, "FileNames"_a, "Tables"_a, "Curves"_a, "Result"_a)
        .OSTRADB_NET(GetCollectionsForFiles, "FileNames"_a, "Result"_a)
        .OSTRADB_NET(RequestDictValues, "DbId"_a, "Level"_a, "Mode"_a, "Values"_a)
        .def(
            "RequestDictValue",
            [](TOstraDbProtocol& p, std::int32_t dbId, const std::string& level,
               const std::string& key, EDictMode mode) {
                return Command(p, [&] {
                    bool found = false;
                    std::string value = p.RequestDictValue(dbId, level, key, mode, found);
                    return std::make_pair(value, found);
                });
            },
            "DbId"_a, "Level"_a, "Key"_a, "Mode"_a, "Returns (value, Found).")
        .OSTRADB_NET(GetStratumData, "FileNames"_a, "Table"_a, "Ident"_a, "Result"_a)
        .OSTRADB_NET(GetStratumText, "FileNames"_a, "Table"_a, "Ident"_a, "Result"_a)
        .OSTRADB_NET(GetWsInfo, "FileNames"_a, "Tables"_a, "Options"_a, "Result"_a)
        .OSTRADB_NET(GetColumnIdents, "FileNames"_a, "Table"_a, "Result"_a)
        .OSTRADB_NET(GetStratumIdents, "FileNames"_a, "Result"_a)
        .OSTRADB_NET(GetPlansheetsList, "FileNames"_a, "Result"_a)
        .OSTRADB_NET(GetTablesList, "FileNames"_a, "Result"_a)
        .OSTRADB_NET(GetCurvesList, "FileNames"_a, "Tables"_a, "Options"_a, "Result"_a)
        .OSTRADB_NET(ParseFileNameEx, "FileNames"_a, "Options"_a, "Result"_a)
        .OSTRADB_NET(ParseFileName, "FileName"_a, "Result"_a)
        .OSTRADB_NET(GetWsIndex, "FileName"_a, "FileTime"_a, "Result"_a);
}

void BindTrunkCommands(ProtocolClass& c) {
    c.OSTRADB_NET(GetTrunkObjects, "Ids"_a, "Trunks"_a)
        .OSTRADB_NET(GetTrunkObjectsForFiles, "FileNames"_a, "Trunks"_a)
        .OSTRADB_NET(SetTrunkObjects, "Trunks"_a)
        .OSTRADB_NET(GetFilesNamesForTrunks, "DbId"_a, "TrunkIds"_a, "Filter"_a, "Result"_a)
        .OSTRADB_NET(GetMapTrunks, "DbId"_a, "Filter"_a, "ExtraCols"_a, "Result"_a)
        .OSTRADB_NET(WriteTrunksAndPlastsData, "DbId"_a, "StratIdent"_a, "Trunks"_a, "ClearAttrs"_a,
                     "ClearCrosses"_a)
        .OSTRADB_NET(GetPlastNamesForMap, "DbId"_a, "Filter"_a, "StratIdent"_a, "Result"_a)
        .OSTRADB_NET(GetPlastsCrossItems, "DbId"_a, "Filter"_a, "StratIdent"_a, "PlastName"_a,
                     "Result"_a);
}

// A data-layer call whose plain out-value comes back beside the result code.
template <class Value, class F>
std::pair<std::int32_t, Value> WithValue(TOstraDbProtocol& p, F&& f) {
    return Command(p, [&] {
        Value value{};
        const std::int32_t code = f(value);
        return std::make_pair(code, std::move(value));
    });
}

// DatServ_Load_WS and DatServ_Load_WSEx: RowNumber goes to the server and comes back replaced.
template <auto Load>
std::pair<std::int32_t, std::uint16_t> LoadWs(TOstraDbProtocol& p, const std::string& resFName,
                                              const std::string& loadFName,
                                              const std::string& selectedAim,
                                              const std::string& tName, std::uint16_t rowNumber,
                                              OutStreamArg<false>& stream) {
    return WithValue<std::uint16_t>(p, [&](std::uint16_t& row) {
        row = rowNumber;
        return (p.*Load)(resFName, loadFName, selectedAim, tName, row, *stream.stream);
    });
}

void BindDataLayerCommands(ProtocolClass& c) {
    using Handle = const TObjectHandle&;
    c.def("DatServ_Load_WS", &LoadWs<&TOstraDbProtocol::DatServ_Load_WS>, "ResFName"_a,
          "LoadFName"_a, "SelectedAim"_a, "TName"_a, "RowNumber"_a, "Stream"_a,
          "Returns (result code, RowNumber as the server replaced it).")
        .def("DatServ_Load_WSEx", &LoadWs<&TOstraDbProtocol::DatServ_Load_WSEx>, "ResFName"_a,
             "LoadFName"_a, "SelectedAim"_a, "TName"_a, "RowNumber"_a, "Stream"_a,
             "Returns (result code, RowNumber as the server replaced it).")
        .OSTRADB_NET(DatServ_Save_WS, "SelectedAim"_a, "TName"_a, "FileName"_a, "CheckCopy"_a,
                     "Stream"_a)
        .OSTRADB_NET(DatServ_Save_WSExRW, "SelectedAim"_a, "TName"_a, "FileName"_a, "CheckCopy"_a,
                     "Stream"_a)
        .OSTRADB_NET(DatServ_SysLFInitOpenEx, "FileName"_a, "LFHandle"_a, "LROption"_a,
                     "ObjOption"_a)
        .def(
            "DatServ_GetTableName",
            [](TOstraDbProtocol& p, Handle lrHandle) {
                return WithValue<std::string>(
                    p, [&](std::string& name) { return p.DatServ_GetTableName(lrHandle, name); });
            },
            "LRHandle"_a, "Returns (result code, TableName).")
        .OSTRADB_NET(DatServ_GetCurObj, "LRHandle"_a, "Stream"_a)
        .OSTRADB_NET(DatServ_GetObjState, "ObjHandle"_a, "Mask"_a)
        .OSTRADB_NET(DatServ_Get_TableNew, "TableName"_a, "LFHandle"_a, "LRHandle"_a)
        .OSTRADB_NET(DatServ_Get_Table, "TableName"_a, "LFHandle"_a, "LRHandle"_a)
        .OSTRADB_NET(DatServ_GetTDescFldsN, "TDescHandle"_a, "FieldName"_a, "Stream"_a)
        .OSTRADB_NET(DatServ_GetTDescFldsI, "TDescHandle"_a, "FieldNumber"_a, "Stream"_a)
        .OSTRADB_NET(DatServ_GetObjByIdN, "LRHandle"_a, "Idn"_a, "Stream"_a)
        .def(
            "DatServ_GetTDescCounter",
            [](TOstraDbProtocol& p, Handle tDescHandle) {
                return WithValue<std::uint16_t>(p, [&](std::uint16_t& counter) {
                    return p.DatServ_GetTDescCounter(tDescHandle, counter);
                });
            },
            "TDescHandle"_a, "Returns (result code, Counter).")
        .OSTRADB_NET(DatServ_SSearchDataInit, "Name1"_a, "Val1"_a, "Name2"_a, "Val2"_a, "Name3"_a,
                     "Val3"_a, "TableHandle"_a, "SearchHandle"_a)
        .OSTRADB_NET(DatServ_SetSTable, "SOHandle"_a, "TableName"_a)
        .OSTRADB_NET(DatServ_FindFirst, "LFHandle"_a, "SOHandle"_a, "Stream"_a)
        .def(
            "DatServ_GetWSName",
            [](TOstraDbProtocol& p, Handle lrHandle) {
                return WithValue<std::string>(
                    p, [&](std::string& name) { return p.DatServ_GetWSName(lrHandle, name); });
            },
            "LRHandle"_a, "Returns (result code, WSName).")
        .OSTRADB_NET(DatServ_TableExistX, "TableName"_a, "LFHandle"_a, "Option"_a)
        .def(
            "DatServ_DSGetTableNames",
            [](TOstraDbProtocol& p, Handle lfHandle, std::uint16_t lrOption) {
                return WithValue<std::string>(p, [&](std::string& names) {
                    return p.DatServ_DSGetTableNames(lfHandle, lrOption, names);
                });
            },
            "LFHandle"_a, "LROption"_a, "Returns (result code, Names).")
        .OSTRADB_NET(DatServ__OneHandleFunc, "Command"_a, "HandleName"_a, "Handle"_a)
        .OSTRADB_NET(DatServ__InHandle_OutObj, "Command"_a, "HandleName"_a, "Handle"_a, "Stream"_a)
        .OSTRADB_NET(DatServ__InHandle_OutHandle, "Command"_a, "InHandleName"_a, "OutHandleName"_a,
                     "InHandle"_a, "OutHandle"_a);
}

}  // namespace

void BindWellCommands(ProtocolClass& c) {
    BindContentCommands(c);
    BindTrunkCommands(c);
    BindDataLayerCommands(c);
}

}  // namespace ostradb::python
