// The commands on files, the database catalog and server jobs, levels, filters and columns,
// search and administration.

#include "binding.hpp"
#include "wrap.hpp"

namespace ostradb::python {

namespace {

void BindFileCommands(ProtocolClass& c) {
    c.OSTRADB_NET(GetFileRights, "FileName"_a)
        .OSTRADB_NET(GetFileContents, "FileName"_a, "Stream"_a)
        .OSTRADB_NET(GetFileContentsEx, "FileName"_a, "Stream"_a, "Info"_a)
        .OSTRADB_NET(PutFileContents, "FileName"_a, "Stream"_a)
        .OSTRADB_NET(ImportFile, "DbId"_a, "FileName"_a, "Values"_a, "TransformName"_a,
                     "ExtraPath"_a)
        .def(
            "GetFileName",
            [](TOstraDbProtocol& p, std::int32_t dbId, const std::string& origFileName,
               const TStringList& values, bool transformName, const std::string& extraPath) {
                return Command(p, [&] {
                    std::string name;
                    p.GetFileName(dbId, origFileName, values, transformName, extraPath, name);
                    return name;
                });
            },
            "DbId"_a, "OrigFileName"_a, "Values"_a, "TransformName"_a, "ExtraPath"_a,
            "Returns the name under which OrigFileName would be stored.")
        .OSTRADB_NET(CreateDir, "DbId"_a, "Values"_a, "ExtraPath"_a)
        .OSTRADB_NET(UpdateFileInfo, "FileName"_a)
        .OSTRADB_NET(FileExists, "FileName"_a)
        .OSTRADB_NET(DeleteFiles, "Files"_a, "Log"_a)
        .OSTRADB_NET(MoveFile, "Source"_a, "Destination"_a)
        .OSTRADB_NET(SetFsTrackingMode, "DbId"_a, "Mode"_a)
        .OSTRADB_NET(RequestErroneousFilesList, "DbId"_a, "Files"_a)
        .OSTRADB_NET(GetBlockedFilesList, "DbId"_a, "Names"_a)
        .OSTRADB_NET(GetSimpleFileInfo, "Files"_a, "Info"_a)
        .OSTRADB_NET(ChangeFilesAttributes, "Items"_a);
}

void BindCatalogCommands(ProtocolClass& c) {
    c.OSTRADB_NET(RequestDatabasesListEx, "List"_a, "WithStructs"_a)
        .OSTRADB_NET(RequestDatabasesList, "List"_a)
        .OSTRADB_NET(RequestDbStruct, "DbId"_a, "Struct"_a)
        .OSTRADB_NET(RequestDatabases, "Databases"_a)
        .OSTRADB_NET(AddDatabase, "Info"_a, "Handler"_a = py::none())
        .OSTRADB_NET(UpdateDatabase, "Info"_a, "Handler"_a = py::none())
        .OSTRADB_NET(DeleteDatabase, "DbId"_a)
        .OSTRADB_NET(RequestVTableList, "VTables"_a)
        .OSTRADB_NET(RequestVTableOptions, "Options"_a)
        .OSTRADB_NET(MergeVTableDB, "DbId"_a, "UseDelete"_a, "FailNoConnect"_a)
        .def(
            "RequestMergeVTableStatus",
            [](TOstraDbProtocol& p, std::int32_t dbId) {
                return Command(p, [&] {
                    double percent = 0;
                    p.RequestMergeVTableStatus(dbId, percent);
                    return percent;
                });
            },
            "DbId"_a, "Returns Percent.")
        .def(
            "RequestMergeVTableFullStatus",
            [](TOstraDbProtocol& p, std::int32_t dbId) {
                return Command(p, [&] {
                    double percent = 0;
                    std::string text;
                    p.RequestMergeVTableFullStatus(dbId, percent, text);
                    return std::make_pair(percent, text);
                });
            },
            "DbId"_a, "Returns (Percent, ResultText).")
        .OSTRADB_NET(StopMergeVTableDB, "DbId"_a)
        .OSTRADB_NET(ReloadDatabaseStruct, "DbId"_a)
        .OSTRADB_NET(ReloadBadFiles, "DbId"_a)
        .OSTRADB_NET(ReloadBadFilesWithProgress, "DbId"_a, "Handler"_a)
        .OSTRADB_NET(DeleteUnusedLevels, "DbId"_a)
        .def(
            "RequestWFExePath",
            [](TOstraDbProtocol& p) {
                return Command(p, [&] {
                    std::string path;
                    p.RequestWFExePath(path);
                    return path;
                });
            },
            "Returns Path.")
        .OSTRADB_NET(StartWFOstra, "CommandLine"_a);
}

void BindLevelCommands(ProtocolClass& c) {
    c.OSTRADB_NET(RequestFiles, "List"_a, "DbId"_a, "Levels"_a, "Flags"_a, "FnFilter"_a = "")
        .OSTRADB_NET(RequestFilesForLogStruct, "List"_a, "DbInfo"_a, "Levels"_a, "Flags"_a,
                     "FnFilter"_a, "LogStruct"_a)
        .OSTRADB_NET(RequestLevelsList, "DbId"_a, "Levels"_a, "UseFilters"_a, "IncludeCurves"_a,
                     "IncludeFiles"_a, "LogDbStruct"_a, "List"_a)
        .OSTRADB_NET(RequestLevelsForLogStruct, "List"_a, "DbInfo"_a, "Levels"_a, "UseFilters"_a,
                     "LogStruct"_a)
        .OSTRADB_NET(SetLogDbStruct, "DbId"_a, "Types"_a)
        .OSTRADB_NET(RequestFilterPopupList, "DbId"_a, "Filter"_a, "DbStruct"_a, "Request"_a,
                     "Values"_a)
        .OSTRADB_NET(RequestFilterPopupValues, "Database"_a, "Filter"_a, "DbStruct"_a, "Request"_a,
                     "Values"_a)
        .OSTRADB_NET(SetFilter, "DbId"_a, "DbStruct"_a, "Filter"_a)
        .OSTRADB_NET(CheckAndSetFilter, "Database"_a, "Filter"_a)
        .OSTRADB_NET(GetFilterStats, "Database"_a, "Filter"_a, "Stats"_a, "UseFilter"_a)
        .OSTRADB_NET(ConvertPathToFilter, "DbId"_a, "Levels"_a, "DbStruct"_a, "LogStruct"_a,
                     "Filter"_a)
        .OSTRADB_NET(MergeFilters, "DbInfo"_a, "Filter1"_a, "Filter2"_a, "Merged"_a)
        .OSTRADB_NET(GetColumnNames, "DbId"_a, "Names"_a)
        .OSTRADB_NET(GetTableColumnNames, "DbId"_a, "Names"_a)
        .OSTRADB_NET(GetTableColNames, "DbId"_a, "Table"_a, "Names"_a)
        .OSTRADB_NET(GetTableColumnNamesForFiles, "Files"_a, "TableName"_a, "Names"_a)
        .def(
            "RequestKeyValues",
            [](TOstraDbProtocol& p, const TFilter* filter) {
                return Command(p, [&] {
                    pugi::xml_document doc;
                    p.RequestKeyValues(filter, doc);
                    return xml::ToText(doc);
                });
            },
            "Filter"_a = nullptr, "Returns the document (XML text) whose root holds \"files\".")
        .OSTRADB_NET(RequestKeyValuesForFiles, "DbStruct"_a, "Files"_a, "ColumnNames"_a, "List"_a)
        .OSTRADB_NET(RequestSimpleCurvesList, "DbId"_a, "Levels"_a, "UseFilters"_a, "List"_a)
        .OSTRADB_NET(GetSimpleCurvesList, "Database"_a, "Levels"_a, "UseFilters"_a, "UseVersions"_a,
                     "List"_a);
}

void BindSearchCommands(ProtocolClass& c) {
    c.OSTRADB_NET(Search, "Request"_a, "Files"_a)
        .def(
            "SearchXML",
            [](TOstraDbProtocol& p, const std::string& request) {
                pugi::xml_document requestDoc;
                xml::Parse(requestDoc, request);
                return Command(p, [&] {
                    pugi::xml_document answerDoc;
                    p.SearchXML(requestDoc, answerDoc);
                    return xml::ToText(answerDoc);
                });
            },
            "RequestDoc"_a,
            "Sends the root element of the request document (XML text) in a \"search\"; returns "
            "the document whose root is the answer's \"result\".")
        .def(
            "SearchLevels",
            [](TOstraDbProtocol& p, const TDatabase& database, const TStringList& words,
               Out<TLevelFilesList> files) {
                return Command(p, [&] {
                    double execTime = 0;
                    p.SearchLevels(database, words, *files.object, execTime);
                    return execTime;
                });
            },
            "Database"_a, "Words"_a, "Files"_a, "Fills Files; returns ExecTime.")
        .OSTRADB_NET(SearchLevels2, "Database"_a, "Words"_a, "Result"_a)
        .OSTRADB_NET(FindCurves, "Args"_a, "Result"_a)
        .OSTRADB_NET(FindFilesForWell, "DbId"_a, "LevelValues"_a, "Files"_a,
                     "Opts"_a = TFindFilesForWellOpts{});
}

void BindAdminCommands(ProtocolClass& c) {
    c.OSTRADB_NET(GetUmData, "Data"_a)
        .OSTRADB_NET(SaveUmData, "Data"_a)
        .OSTRADB_NET(RequestLog, "Filter"_a, "Log"_a)
        .OSTRADB_NET(GetServOptionDef, "Name"_a, "Def"_a)
        .OSTRADB_NET(GetServOption, "Name"_a)
        .OSTRADB_NET(SetServOption, "Name"_a, "Value"_a)
        .OSTRADB_NET(GetServOptions, "Masks"_a, "Options"_a)
        .OSTRADB_NET(SetServOptions, "Options"_a)
        .OSTRADB_NET(ReloadDictionary)
        .OSTRADB_NET(RequestFilesStat, "Result"_a, "Database"_a, "LevelPath"_a, "GroupLevel"_a,
                     "Filter"_a, "FileNameFilter"_a, "RequestFiles"_a, "RequestQuality"_a);
}

}  // namespace

void BindCommands(ProtocolClass& c) {
    BindFileCommands(c);
    BindCatalogCommands(c);
    BindLevelCommands(c);
    BindSearchCommands(c);
    BindAdminCommands(c);
}

}  // namespace ostradb::python
