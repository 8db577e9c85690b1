// Trunk and map commands: trunk objects, the files of trunks, and the map data of a database.

#include "ostradb/protocol/trunk_commands.hpp"
#include "ostradb/model/filters.hpp"
#include "ostradb/model/trunks.hpp"
#include "ostradb/protocol/ostradb_protocol.hpp"
#include "protocol/command.hpp"

namespace ostradb {

namespace {

// The filter goes onto the command element itself, unchecked: these commands know no
// database structure to check it against.
void WriteFilter(pugi::xml_node command, const TFilter* filter) {
    if (filter) filter->FillToXmlWithCheck(nullptr, command, TFilterCheckFlags{});
}

}  // namespace

void TOstraDbProtocol::GetTrunkObjects(const TStringList& Ids, TTrunkList& Trunks) {
    detail::Request req(*this, "get_trunk_data");
    SaveToXML(Ids, "Ids", req.command);
    const detail::Answer ans = req.Exchange();
    LoadFromXML(Trunks, "Trunks", ans.answer);
}

void TOstraDbProtocol::GetTrunkObjectsForFiles(TStringList& FileNames, TTrunkList& Trunks) {
    detail::HostPortGuard hostPort(*this);
    detail::Request req(*this, "get_trunks_for_files");
    CheckFileNames(FileNames);
    SaveToXML(FileNames, "FileNames", req.command);
    const detail::Answer ans = req.Exchange();
    LoadFromXML(Trunks, "Trunks", ans.answer);
}

void TOstraDbProtocol::SetTrunkObjects(const TTrunkList& Trunks) {
    detail::Request req(*this, "set_trunk_data");
    SaveToXML(Trunks, "Trunks", req.command);
    req.Exchange();
}

void TOstraDbProtocol::GetFilesNamesForTrunks(std::int32_t DbId, const TStringList& TrunkIds,
                                              const TFilter* Filter, TFilesForTrunkList& Result) {
    detail::Request req(*this, "get_files_for_trunks");
    req.Set("db_id", DbId);
    SaveToXML(TrunkIds, "Trunks", req.command);
    WriteFilter(req.command, Filter);
    const detail::Answer ans = req.Exchange();
    LoadFromXML(Result, "Result", ans.answer);
}

void TOstraDbProtocol::GetMapTrunks(std::int32_t DbId, const TFilter* Filter,
                                    const TMapSpecialCols& ExtraCols, TMapTrunks& Result) {
    detail::Request req(*this, "get_map_trunks");
    req.Set("db_id", DbId);
    WriteFilter(req.command, Filter);
    ExtraCols.SaveToXML("ExtraCols", req.command);
    const detail::Answer ans = req.Exchange();
    LoadFromXML(Result, "Result", ans.answer);
}

void TOstraDbProtocol::WriteTrunksAndPlastsData(std::int32_t DbId, const std::string& StratIdent,
                                                const TMapTrunks& Trunks, bool ClearAttrs,
                                                bool ClearCrosses) {
    detail::Request req(*this, "set_map_data");
    req.Set("db_id", DbId)
        .Set("strat_ident", StratIdent)
        .SetBool("clear_attrs", ClearAttrs)
        .SetBool("clear_crosses", ClearCrosses);
    SaveToXML(Trunks, "Trunks", req.command);
    req.Exchange();
}

void TOstraDbProtocol::GetPlastNamesForMap(std::int32_t DbId, const TFilter* Filter,
                                           const std::string& StratIdent, TStringList& Result) {
    detail::Request req(*this, "get_map_plast_names");
    req.Set("db_id", DbId).Set("strat_ident", StratIdent);
    WriteFilter(req.command, Filter);
    const detail::Answer ans = req.Exchange();
    LoadFromXML(Result, "Result", ans.answer);
}

void TOstraDbProtocol::GetPlastsCrossItems(std::int32_t DbId, const TFilter* Filter,
                                           const std::string& StratIdent,
                                           const std::string& PlastName,
                                           TMapPlastsCrossItems& Result) {
    detail::Request req(*this, "get_plasts_cross");
    req.Set("db_id", DbId).Set("strat_ident", StratIdent).Set("plast_name", PlastName);
    WriteFilter(req.command, Filter);
    const detail::Answer ans = req.Exchange();
    LoadFromXML(Result, "Result", ans.answer);
}

}  // namespace ostradb
