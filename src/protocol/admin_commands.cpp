// Server administration commands: users and rights, the log, options, the dictionary and
// file statistics.

#include "ostradb/protocol/admin_commands.hpp"
#include "ostradb/model/databases.hpp"
#include "ostradb/model/filters.hpp"
#include "ostradb/protocol/ostradb_protocol.hpp"
#include "ostradb/users/users.hpp"
#include "protocol/command.hpp"
#include "protocol/command_parts.hpp"

namespace ostradb {

void TOstraDbProtocol::GetUmData(TUmData& Data) {
    detail::Request req(*this, "get_auth_data");
    const detail::Answer ans = req.Exchange();
    LoadFromXML(Data, "UserPermissionsData", ans.answer);
}

void TOstraDbProtocol::SaveUmData(const TUmData& Data) {
    detail::Request req(*this, "save_auth_data");
    SaveToXML(Data, "UserPermissionsData", req.command);
    req.Exchange();
}

void TOstraDbProtocol::RequestLog(const TServerLogFilter& /*Filter*/, TServerLog& Log) {
    // The server decides what part of its log to send; the filter is not part of the request.
    detail::Request req(*this, "request_log");
    const detail::Answer ans = req.Exchange();
    Log.ReadFromXml(xml::Child(ans.answer, "log"));
}

std::string TOstraDbProtocol::GetServOptionDef(const std::string& Name, const std::string& Def) {
    detail::Request req(*this, "get_serv_option");
    req.Set("name", Name).Set("def", Def);
    const detail::Answer ans = req.Exchange();
    return xml::Attr(ans.answer, "value");
}

std::string TOstraDbProtocol::GetServOption(const std::string& Name) {
    return GetServOptionDef(Name, std::string());
}

void TOstraDbProtocol::SetServOption(const std::string& Name, const std::string& Value) {
    detail::Request req(*this, "set_serv_option");
    req.Set("name", Name).Set("value", Value);
    req.Exchange();
}

void TOstraDbProtocol::GetServOptions(const std::string& Masks, TServerOptions& Options) {
    detail::Request req(*this, "get_serv_options");
    TStringList masks;
    masks.SetCommaText(Masks);
    SaveToXML(masks, "Masks", req.command);
    const detail::Answer ans = req.Exchange();
    LoadFromXML(Options, "Options", ans.answer);
}

void TOstraDbProtocol::SetServOptions(const TServerOptions& Options) {
    detail::Request req(*this, "set_serv_options");
    SaveToXML(Options, "Options", req.command);
    req.Exchange();
}

void TOstraDbProtocol::ReloadDictionary() {
    detail::Request req(*this, "reload_dictionary");
    req.Exchange();
}

void TOstraDbProtocol::RequestFilesStat(TFilesStatResult& Result, const TDatabase& Database,
                                        const TIntegerArray& LevelPath,
                                        const std::string& GroupLevel, const TFilter* Filter,
                                        const std::string& FileNameFilter, bool RequestFiles,
                                        bool RequestQuality) {
    detail::Request req(*this, "get_files_stat");
    detail::WriteLevelPath(req.command, LevelPath);
    req.Set("db_id", Database.Info.Id)
        .Set("group_level", GroupLevel)
        .Set("file_name_filter", FileNameFilter)
        .SetBool("request_files", RequestFiles)
        .SetBool("request_quality", RequestQuality);
    if (Filter)
        Filter->FillToXmlWithCheck(&Database, req.command.append_child("filter"),
                                   TFilterCheckFlags{fcfCheckLevels});
    const detail::Answer ans = req.Exchange();
    Result.ReadFromXml(ans.answer);
}

}  // namespace ostradb
