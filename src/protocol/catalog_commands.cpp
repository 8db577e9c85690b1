// The database catalog and the server's long jobs on a database: listing databases with their
// structures, adding, updating and deleting them, virtual tables and their merging, reloading
// structures and failed files, and the server-side well-file program.

#include <functional>
#include <thread>
#include <utility>

#include "ostradb/model/databases.hpp"
#include "ostradb/model/db_struct.hpp"
#include "ostradb/protocol/ostradb_protocol.hpp"
#include "ostradb/serial/xml.hpp"
#include "ostradb/serial/xml_serializer.hpp"
#include "protocol/command.hpp"
#include "protocol/list_answers.hpp"
#include "protocol/scope_exit.hpp"

namespace ostradb {

namespace {

// A request whose only argument is the database.
void SendDbCommand(TOstraDbProtocol& client, const char* cmd, std::int32_t dbId) {
    detail::Request req(client, cmd);
    req.Set("db_id", dbId);
    req.Exchange();
}

// Tells the server that the client takes progress packets. The booleans of these commands
// are written "True"/"False", not through SetBoolXmlAttr.
void OfferProgress(detail::Request& req, const TInfoPacketEvent& handler) {
    if (handler) xml::SetBoolAttr(req.command, "info_supported", true);
}

// The merge state of a database: "percent" always carries a full stop.
pugi::xml_node MergeStatus(TOstraDbProtocol& client, const char* cmd, std::int32_t dbId,
                           detail::Answer& ans) {
    detail::Request req(client, cmd);
    req.Set("db_id", dbId);
    ans = req.Exchange();
    return xml::Child(ans.answer, "vtables_merge_status");
}

}  // namespace

void TOstraDbProtocol::RequestDbStruct(std::int32_t DbId, TDbStruct& Struct) {
    detail::Request req(*this, "get_db_struct");
    req.Set("db_id", DbId);
    const detail::Answer ans = req.Exchange();
    Struct.ReadFromXml(xml::Child(ans.answer, "DbStructData"));
}

void TOstraDbProtocol::RequestDatabasesListEx(TDatabasesList& List, bool WithStructs) {
    {
        detail::Request req(*this, "get_db_list");
        detail::ParsedRecords items(
            {"databases", "item"}, [&] { List.Items.Clear(); },
            [&](pugi::xml_node item) { List.Items.Add().ReadFromXml(item); });
        req.Exchange(items);
    }
    if (!WithStructs) return;
    for (TDatabaseInfo& db : List.Items)
        RequestDbStruct(db.Id, db.Structure);
}

void TOstraDbProtocol::RequestDatabasesList(TDatabasesList& List) {
    RequestDatabasesListEx(List, true);
}

void TOstraDbProtocol::RequestDatabases(TDatabases& Databases) {
    Databases.Clear();
    TDatabasesList list;
    RequestDatabasesList(list);
    // The list already holds the structures; each database asks for its own once more.
    for (const TDatabaseInfo& item : list.Items) {
        TDatabase& db = Databases.Add();
        db.SetDbType(dtOstraDbDatabase);
        db.Info.Assign(item);
        RequestDbStruct(item.Id, db.GetStructure());
        db.LogicalStructures.SetDefaultStruct(db.GetStructure());
    }
}

void TOstraDbProtocol::RunWithProgress(TInfoPacketEvent Handler,
                                       const std::function<void()>& request) {
    // FBusy is taken before OnInfo is touched: a call from a running request's handler, or
    // from another thread, must not replace the handler that is running.
    bool idle = false;
    if (!FBusy.compare_exchange_strong(idle, true))
        throw TOstraClientSocketException(ecProtocolBusy, "Protocol is busy");
    mayEnter_ = std::this_thread::get_id();
    detail::ScopeExit release([this] {
        OnInfo = nullptr;
        mayEnter_ = std::thread::id();
        FBusy = false;
    });
    OnInfo = std::move(Handler);
    request();
}

std::int32_t TOstraDbProtocol::AddDatabase(const TDatabaseInfo& Info, TInfoPacketEvent Handler) {
    std::int32_t id = 0;
    RunWithProgress(std::move(Handler), [&] {
        detail::Request req(*this, "add_db");
        Info.WriteToXml(req.command);
        OfferProgress(req, OnInfo);
        const detail::Answer ans = req.Exchange();
        id = xml::AttrInt(xml::Child(ans.answer, "result"), "db_id");
    });
    return id;
}

void TOstraDbProtocol::UpdateDatabase(const TDatabaseInfo& Info, TInfoPacketEvent Handler) {
    RunWithProgress(std::move(Handler), [&] {
        detail::Request req(*this, "update_db");
        // The server does not take "info_supported" here, although progress packets may come.
        Info.WriteToXml(req.command);
        req.Exchange();
    });
}

void TOstraDbProtocol::DeleteDatabase(std::int32_t DbId) {
    SendDbCommand(*this, "delete_db", DbId);
}

void TOstraDbProtocol::RequestVTableList(TVTables& VTables) {
    detail::Request req(*this, "get_all_vtable_list");
    const detail::Answer ans = req.Exchange();
    VTables.ReadFromXml(ans.answer);
}

void TOstraDbProtocol::RequestVTableOptions(TVTableOptions& Options) {
    detail::Request req(*this, "get_vtable_options");
    const detail::Answer ans = req.Exchange();
    LoadFromXML(Options, "Result", ans.answer);
}

void TOstraDbProtocol::MergeVTableDB(std::int32_t DbId, bool UseDelete, bool FailNoConnect) {
    detail::Request req(*this, "merge_vtable_db");
    req.Set("db_id", DbId);
    xml::SetBoolAttr(req.command, "use_delete", UseDelete);
    xml::SetBoolAttr(req.command, "fail_no_connect", FailNoConnect);
    req.Exchange();
}

void TOstraDbProtocol::RequestMergeVTableStatus(std::int32_t DbId, double& Percent) {
    detail::Answer ans;
    Percent = xml::AttrFloat(MergeStatus(*this, "get_mergevt_status_db", DbId, ans), "percent");
}

void TOstraDbProtocol::RequestMergeVTableFullStatus(std::int32_t DbId, double& Percent,
                                                    std::string& ResultText) {
    detail::Answer ans;
    const pugi::xml_node status = MergeStatus(*this, "get_mergevt_full_status_db", DbId, ans);
    Percent = xml::AttrFloat(status, "percent");
    ResultText = xml::Attr(status, "result");
}

void TOstraDbProtocol::StopMergeVTableDB(std::int32_t DbId) {
    SendDbCommand(*this, "stop_merge_vtable_db", DbId);
}

void TOstraDbProtocol::ReloadDatabaseStruct(std::int32_t DbId) {
    SendDbCommand(*this, "reload_db_struct", DbId);
}

void TOstraDbProtocol::ReloadBadFiles(std::int32_t DbId) {
    SendDbCommand(*this, "reload_bad_files", DbId);
}

void TOstraDbProtocol::ReloadBadFilesWithProgress(std::int32_t DbId, TInfoPacketEvent Handler) {
    RunWithProgress(std::move(Handler), [&] {
        detail::Request req(*this, "reload_bad_files");
        req.Set("db_id", DbId);
        OfferProgress(req, OnInfo);
        req.Exchange();
    });
}

void TOstraDbProtocol::DeleteUnusedLevels(std::int32_t DbId) {
    SendDbCommand(*this, "delete_unused_levels", DbId);
}

void TOstraDbProtocol::RequestWFExePath(std::string& Path) {
    detail::Request req(*this, "get_wfexe_path");
    const detail::Answer ans = req.Exchange();
    Path = xml::Attr(xml::Child(ans.answer, "WFOstra_Options"), "wfexe_path");
}

void TOstraDbProtocol::StartWFOstra(const std::string& CommandLine) {
    // "command" is an attribute of the element that is itself named "command".
    detail::Request req(*this, "start_wfostra");
    req.Set("command", CommandLine);
    req.Exchange();
}

}  // namespace ostradb
