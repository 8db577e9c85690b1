// Data-layer calls: one "ds_" command per call, handles carried as role-named elements, the
// server's result code returned from "RetValue" without interpretation.

#include <istream>
#include <ostream>

#include "ostradb/protocol/dataserver_commands.hpp"
#include "ostradb/protocol/ostradb_protocol.hpp"
#include "protocol/command.hpp"

namespace ostradb {

namespace {

void WriteHandle(pugi::xml_node node, const char* role, const TObjectHandle& handle) {
    const pugi::xml_node element = xml::Child(node, role);
    xml::SetAttr(element, "H", handle.H);
    xml::SetAttr(element, "T", std::int32_t{handle.T});
    xml::SetAttr(element, "M", std::int32_t{handle.M});
}

// Field by field: when an attribute is missing the fields before it keep their new values.
void ReadHandle(pugi::xml_node node, const char* role, TObjectHandle& handle) {
    const pugi::xml_node element = xml::Child(node, role);
    handle.H = xml::AttrInt(element, "H");
    handle.T = static_cast<std::uint8_t>(xml::AttrInt(element, "T"));
    handle.M = static_cast<std::uint8_t>(xml::AttrInt(element, "M"));
}

// The result code; the server's codes fit in 16 bits and higher bits are dropped.
std::int16_t RetValue(const detail::Answer& ans) {
    return static_cast<std::int16_t>(xml::AttrInt(ans.answer, "RetValue"));
}

std::int16_t LoadWS(TOstraDbProtocol& client, bool ex, const std::string& resFName,
                    const std::string& loadFName, const std::string& selectedAim,
                    const std::string& tName, std::uint16_t& rowNumber, std::ostream& stream) {
    detail::Request req(client, ex ? "ds_load_ws_ex" : "ds_load_ws");
    req.Set("ResFName", resFName)
        .Set("LoadFName", loadFName)
        .Set("Selected_Aim", selectedAim)
        .Set("TName", tName)
        .Set("RowNumber", std::int64_t{rowNumber});
    const detail::Answer ans = req.Exchange(nullptr, &stream);
    const std::int16_t result = RetValue(ans);
    rowNumber = static_cast<std::uint16_t>(xml::AttrInt(ans.answer, "RowNumber"));
    return result;
}

std::int16_t SaveWS(TOstraDbProtocol& client, _ESaveWSMode mode, const std::string& selectedAim,
                    const std::string& tName, const std::string& fileName, std::int32_t checkCopy,
                    std::istream& stream) {
    detail::Request req(client, mode == swsmExRW ? "ds_save_ws_exrw" : "ds_save_ws");
    req.Set("Selected_Aim", selectedAim)
        .Set("TName", tName)
        .Set("FileName", fileName)
        .SetBool("CheckCopy", checkCopy != 0);
    return RetValue(req.Exchange(&stream));
}

}  // namespace

std::int16_t TOstraDbProtocol::DatServ_Load_WS(const std::string& ResFName,
                                               const std::string& LoadFName,
                                               const std::string& SelectedAim,
                                               const std::string& TName, std::uint16_t& RowNumber,
                                               std::ostream& Stream) {
    return LoadWS(*this, false, ResFName, LoadFName, SelectedAim, TName, RowNumber, Stream);
}

std::int16_t TOstraDbProtocol::DatServ_Load_WSEx(const std::string& ResFName,
                                                 const std::string& LoadFName,
                                                 const std::string& SelectedAim,
                                                 const std::string& TName, std::uint16_t& RowNumber,
                                                 std::ostream& Stream) {
    return LoadWS(*this, true, ResFName, LoadFName, SelectedAim, TName, RowNumber, Stream);
}

std::int16_t TOstraDbProtocol::DatServ_Save_WS(const std::string& SelectedAim,
                                               const std::string& TName,
                                               const std::string& FileName, std::int32_t CheckCopy,
                                               std::istream& Stream) {
    return SaveWS(*this, swsmNormal, SelectedAim, TName, FileName, CheckCopy, Stream);
}

std::int16_t TOstraDbProtocol::DatServ_Save_WSExRW(const std::string& SelectedAim,
                                                   const std::string& TName,
                                                   const std::string& FileName,
                                                   std::int32_t CheckCopy, std::istream& Stream) {
    return SaveWS(*this, swsmExRW, SelectedAim, TName, FileName, CheckCopy, Stream);
}

std::int16_t TOstraDbProtocol::DatServ_SysLFInitOpenEx(const std::string& FileName,
                                                       TObjectHandle& LFHandle,
                                                       std::int32_t LROption,
                                                       std::int32_t ObjOption) {
    detail::Request req(*this, "ds_sys_lf_init_open_ex");
    req.Set("FileName", FileName).Set("LROption", LROption).Set("ObjOption", ObjOption);
    const detail::Answer ans = req.Exchange();
    ReadHandle(ans.answer, "LFHandle", LFHandle);
    return RetValue(ans);
}

std::int16_t TOstraDbProtocol::DatServ_GetTableName(const TObjectHandle& LRHandle,
                                                    std::string& TableName) {
    detail::Request req(*this, "ds_get_table_name");
    WriteHandle(req.command, "LRHandle", LRHandle);
    const detail::Answer ans = req.Exchange();
    TableName = xml::Attr(ans.answer, "TableName");
    return RetValue(ans);
}

std::int16_t TOstraDbProtocol::DatServ_GetCurObj(const TObjectHandle& LRHandle,
                                                 std::ostream& Stream) {
    return DatServ__InHandle_OutObj("ds_get_cur_obj", "LRHandle", LRHandle, Stream);
}

bool TOstraDbProtocol::DatServ_GetObjState(const TObjectHandle& ObjHandle, std::uint16_t Mask) {
    detail::Request req(*this, "ds_get_obj_state");
    WriteHandle(req.command, "ObjHandle", ObjHandle);
    req.Set("Mask", std::int64_t{Mask});
    const detail::Answer ans = req.Exchange();
    return xml::AttrBool(ans.answer, "RetValue");
}

std::int16_t TOstraDbProtocol::DatServ_Get_TableNew(const std::string& TableName,
                                                    const TObjectHandle& LFHandle,
                                                    TObjectHandle& LRHandle) {
    detail::Request req(*this, "ds_get_table_new");
    WriteHandle(req.command, "LFHandle", LFHandle);
    WriteHandle(req.command, "LRHandle", LRHandle);
    req.Set("TableName", TableName);
    const detail::Answer ans = req.Exchange();
    ReadHandle(ans.answer, "LRHandle", LRHandle);
    return RetValue(ans);
}

std::int16_t TOstraDbProtocol::DatServ_Get_Table(const std::string& TableName,
                                                 const TObjectHandle& LFHandle,
                                                 TObjectHandle& LRHandle) {
    detail::Request req(*this, "ds_get_table");
    WriteHandle(req.command, "LFHandle", LFHandle);
    req.Set("TableName", TableName);
    const detail::Answer ans = req.Exchange();
    ReadHandle(ans.answer, "LRHandle", LRHandle);
    return RetValue(ans);
}

std::int16_t TOstraDbProtocol::DatServ_GetTDescFldsN(const TObjectHandle& TDescHandle,
                                                     const std::string& FieldName,
                                                     std::ostream& Stream) {
    detail::Request req(*this, "ds_get_tdesc_fld_n");
    WriteHandle(req.command, "TDescHandle", TDescHandle);
    req.Set("FieldName", FieldName);
    return RetValue(req.Exchange(nullptr, &Stream));
}

std::int16_t TOstraDbProtocol::DatServ_GetTDescFldsI(const TObjectHandle& TDescHandle,
                                                     std::uint16_t FieldNumber,
                                                     std::ostream& Stream) {
    detail::Request req(*this, "ds_get_tdesc_fld_i");
    WriteHandle(req.command, "TDescHandle", TDescHandle);
    req.Set("FieldNumber", std::int64_t{FieldNumber});
    return RetValue(req.Exchange(nullptr, &Stream));
}

std::int16_t TOstraDbProtocol::DatServ_GetObjByIdN(const TObjectHandle& LRHandle, std::uint16_t Idn,
                                                   std::ostream& Stream) {
    detail::Request req(*this, "ds_get_obj_by_idn");
    WriteHandle(req.command, "LRHandle", LRHandle);
    req.Set("Idn", std::int64_t{Idn});
    return RetValue(req.Exchange(nullptr, &Stream));
}

std::int16_t TOstraDbProtocol::DatServ_GetTDescCounter(const TObjectHandle& TDescHandle,
                                                       std::uint16_t& Counter) {
    detail::Request req(*this, "ds_get_tdesc_counter");
    WriteHandle(req.command, "TDescHandle", TDescHandle);
    const detail::Answer ans = req.Exchange();
    const std::int16_t result = RetValue(ans);
    Counter = static_cast<std::uint16_t>(xml::AttrInt(ans.answer, "TDCounter"));
    return result;
}

std::int16_t TOstraDbProtocol::DatServ_SSearchDataInit(
    const std::string& Name1, const std::string& Val1, const std::string& Name2,
    const std::string& Val2, const std::string& Name3, const std::string& Val3,
    const TObjectHandle& TableHandle, TObjectHandle& SearchHandle) {
    detail::Request req(*this, "ds_ssearch_data_init");
    req.Set("Name1", Name1)
        .Set("Val1", Val1)
        .Set("Name2", Name2)
        .Set("Val2", Val2)
        .Set("Name3", Name3)
        .Set("Val3", Val3);
    WriteHandle(req.command, "TableHandle", TableHandle);
    const detail::Answer ans = req.Exchange();
    const std::int16_t result = RetValue(ans);
    ReadHandle(ans.answer, "SearchDataH", SearchHandle);
    return result;
}

std::int16_t TOstraDbProtocol::DatServ_SetSTable(const TObjectHandle& SOHandle,
                                                 const std::string& TableName) {
    detail::Request req(*this, "ds_set_s_table");
    req.Set("TablName", TableName);
    WriteHandle(req.command, "SOHandle", SOHandle);
    return RetValue(req.Exchange());
}

std::int16_t TOstraDbProtocol::DatServ_FindFirst(const TObjectHandle& LFHandle,
                                                 const TObjectHandle& SOHandle,
                                                 std::ostream& Stream) {
    detail::Request req(*this, "ds_find_first");
    WriteHandle(req.command, "LFHandle", LFHandle);
    WriteHandle(req.command, "SOHandle", SOHandle);
    return RetValue(req.Exchange(nullptr, &Stream));
}

std::int16_t TOstraDbProtocol::DatServ_GetWSName(const TObjectHandle& LRHandle,
                                                 std::string& WSName) {
    detail::Request req(*this, "ds_get_ws_name");
    WriteHandle(req.command, "LRHandle", LRHandle);
    const detail::Answer ans = req.Exchange();
    const std::int16_t result = RetValue(ans);
    WSName = xml::Attr(ans.answer, "WSName");
    if (!WSName.empty()) WSName.insert(0, "WSTP://");
    return result;
}

std::int16_t TOstraDbProtocol::DatServ_TableExistX(const std::string& TableName,
                                                   const TObjectHandle& LFHandle,
                                                   std::int32_t Option) {
    detail::Request req(*this, "ds_table_exists_x");
    WriteHandle(req.command, "LFHandle", LFHandle);
    req.Set("TableName", TableName).Set("Option", Option);
    return RetValue(req.Exchange());
}

std::int32_t TOstraDbProtocol::DatServ_DSGetTableNames(const TObjectHandle& LFHandle,
                                                       std::uint16_t LROption, std::string& Names) {
    detail::Request req(*this, "ds_ds_get_table_names");
    WriteHandle(req.command, "LFHandle", LFHandle);
    req.Set("LROption", std::int64_t{LROption});
    const detail::Answer ans = req.Exchange();
    const std::int32_t result = xml::AttrInt(ans.answer, "RetValue");
    Names = xml::Attr(ans.answer, "Names");
    return result;
}

std::int16_t TOstraDbProtocol::DatServ__OneHandleFunc(const std::string& Command,
                                                      const std::string& HandleName,
                                                      const TObjectHandle& Handle) {
    detail::Request req(*this, Command);
    WriteHandle(req.command, HandleName.c_str(), Handle);
    return RetValue(req.Exchange());
}

std::int16_t TOstraDbProtocol::DatServ__InHandle_OutObj(const std::string& Command,
                                                        const std::string& HandleName,
                                                        const TObjectHandle& Handle,
                                                        std::ostream& Stream) {
    detail::Request req(*this, Command);
    WriteHandle(req.command, HandleName.c_str(), Handle);
    return RetValue(req.Exchange(nullptr, &Stream));
}

std::int16_t TOstraDbProtocol::DatServ__InHandle_OutHandle(const std::string& Command,
                                                           const std::string& InHandleName,
                                                           const std::string& OutHandleName,
                                                           const TObjectHandle& InHandle,
                                                           TObjectHandle& OutHandle) {
    detail::Request req(*this, Command);
    WriteHandle(req.command, InHandleName.c_str(), InHandle);
    const detail::Answer ans = req.Exchange();
    ReadHandle(ans.answer, OutHandleName.c_str(), OutHandle);
    return RetValue(ans);
}

}  // namespace ostradb
