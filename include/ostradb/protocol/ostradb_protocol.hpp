#pragma once

// TOstraDbProtocol: the client of the well-logging database server. One object owns one TCP
// connection, connects lazily, logs in when the server asks for it, and runs one request at a
// time: a request is one XML packet, the answer one XML packet (after any number of "info"
// packets), either optionally followed by raw bytes.
//
// Threads: the object is used from one thread. Terminate is the only call that may come from
// another thread (or from a user-interface event) while a request runs; a request started
// from another thread then is refused with code 40 "Protocol is busy" and changes nothing.
//
// Host applications supply the interactive parts as callbacks: the login dialog, the message
// box, and optionally a packet trace. Without a login dialog the session logs in with the
// credentials given to Login, or the remembered last ones; without a message box the text
// goes to standard error.

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <pugixml.hpp>

#include "ostradb/export.hpp"
#include "ostradb/protocol/admin_commands.hpp"
#include "ostradb/protocol/catalog_commands.hpp"
#include "ostradb/protocol/dataserver_commands.hpp"
#include "ostradb/protocol/errors.hpp"
#include "ostradb/protocol/file_commands.hpp"
#include "ostradb/protocol/level_commands.hpp"
#include "ostradb/protocol/search_commands.hpp"
#include "ostradb/protocol/server_version.hpp"
#include "ostradb/protocol/socket_errors.hpp"
#include "ostradb/protocol/trunk_commands.hpp"
#include "ostradb/protocol/well_commands.hpp"
#include "ostradb/users/rights.hpp"

namespace ostradb {

class TOstraDbProtocol;
class TStringList;
class PacketReader;

namespace detail {
class Connection;
class AnswerSink;
class Request;
}  // namespace detail

// A path of level identifiers from the top of a database's hierarchy, and other lists of
// integers that commands take.
using TIntegerArray = std::vector<std::int32_t>;

// Handler of the intermediate "info" packets of a request; XML is the packet's root element.
// It runs on the requesting thread inside the exchange; whatever it throws is swallowed, and a
// command it starts on the same object raises code 40 "Protocol is busy".
using TInfoPacketEvent = std::function<void(TOstraDbProtocol& Sender, pugi::xml_node XML)>;

// What the login dialog answers.
enum ELoginDialogResult : std::int32_t {
    ldrOk = 1,      // log in with Data.User and Data.Password
    ldrCancel = 2,  // give up: no "login" is sent, the rights are cleared
    ldrRetry = 4,   // show the dialog again without sending (e.g. the user picked a server)
};

// What the login dialog is shown and fills in.
struct TLoginDialogData {
    std::string User;                  // pre-filled; the dialog returns the user's entry
    std::string Password;              // pre-filled; the dialog returns the user's entry
    bool AllowToSelectServer = false;  // whether the user may pick another server here
    std::string Message;               // why the dialog is shown again (the server's refusal)
    std::int32_t Attempt = 1;          // the attempt this showing is for, from 1
};
// The login dialog. It is also shown in the middle of a request whose answer demanded a new
// login; requests it makes itself (say, to check a server the user picked) are allowed then.
using TLoginDialogEvent =
    std::function<ELoginDialogResult(TOstraDbProtocol& Sender, TLoginDialogData& Data)>;

// Shows a text to the user and returns when the user has read it.
using TMessageBoxEvent = std::function<void(const std::string& Text)>;

// Receives the text of every packet as it is sent (Request true) or read (Request false), in
// UTF-8; the password digest of "login" is masked. Payload bytes are not passed.
using TPacketTraceEvent = std::function<void(bool Request, std::string_view Text)>;

class OSTRADB_API TOstraDbProtocol {
public:
    static constexpr std::int32_t kDefaultPort = 22344;
    static constexpr std::int32_t kDefaultConnectTimeout = 60000;  // milliseconds
    // Attempts through the login dialog before the server's refusal is raised; without a
    // dialog there is one attempt.
    static constexpr std::int32_t kMaxLoginAttempts = 3;

    TOstraDbProtocol();
    virtual ~TOstraDbProtocol();
    TOstraDbProtocol(const TOstraDbProtocol&) = delete;
    TOstraDbProtocol& operator=(const TOstraDbProtocol&) = delete;

    // ---- Connection (src/protocol/session.cpp) -------------------------------------------

    const std::string& GetHost() const { return host_; }
    std::int32_t GetPort() const { return port_; }
    // Keeps the connection when host and port are unchanged and it is connected; otherwise
    // closes it so that the next request connects to the new place.
    void SetHostPort(const std::string& Host, std::int32_t Port);
    void SetHost(const std::string& Host) { SetHostPort(Host, port_); }
    void SetPort(std::int32_t Port) { SetHostPort(host_, Port); }
    std::int32_t GetConnectTimeout() const { return connectTimeout_; }
    void SetConnectTimeout(std::int32_t Milliseconds) { connectTimeout_ = Milliseconds; }

    // Connects unless connected and no reconnect is pending. Raises EConnectError naming the
    // host in double quotes.
    void Connect();
    void Disconnect();
    bool Connected() const;

    // Removes the address prefixes of a server file name ("WSTP://", "DIRECT:",
    // "/HOST:name/", "/PORT:number/", in this order, any letter case) and switches to the host
    // and port it names, if it names a host.
    std::string CheckFileName(const std::string& Name);
    // CheckFileName for every line, in place.
    void CheckFileNames(TStringList& List);

    // ---- Session state --------------------------------------------------------------------

    // Whether the last request ended because the user cancelled the login dialog.
    bool GetLoginCanceled() const { return FLoginCanceled; }
    // All rights until the first login; then the rights the server granted.
    TUserRights GetUserRights() const { return FUserRights; }
    bool GetBusy() const { return FBusy.load(); }
    // The next request connects anew (set initially and when host or port change).
    bool GetNeedReconnect() const { return FNeedReconnect; }
    // Whether Terminate aborted the last request.
    bool GetTerminated() const;
    // User name of the last login attempt made by Login.
    const std::string& LastUser() const { return lastUser_; }
    // Handed to the login dialog (TLoginDialogData::AllowToSelectServer); false initially.
    void SetAllowToSelectServer(bool Value) { allowToSelectServer_ = Value; }
    bool GetAllowToSelectServer() const { return allowToSelectServer_; }
    // 1 after a successful login attempt, counted down (not below 0) by each failed one.
    std::int32_t GetLoginCounter() const { return loginCounter_; }

    // ---- Host application hooks -----------------------------------------------------------

    // Set by commands that report progress, for the duration of their request.
    TInfoPacketEvent OnInfo;

    // The login dialog; without one Login uses the given or remembered credentials.
    void SetLoginDialog(TLoginDialogEvent Handler) { loginDialog_ = std::move(Handler); }
    // Shown when reading or writing fails while the connection is still up (for instance the
    // stream to send broke off); without one the text goes to standard error.
    void SetMessageBox(TMessageBoxEvent Handler) { messageBox_ = std::move(Handler); }
    void SetPacketTrace(TPacketTraceEvent Handler) { packetTrace_ = std::move(Handler); }

    // Time-outs of each read and write on the connection; zero (the default) waits without
    // limit. When one expires the request raises ETimeoutError and the connection is closed.
    void SetReadTimeout(std::chrono::milliseconds Timeout);
    void SetWriteTimeout(std::chrono::milliseconds Timeout);
    std::chrono::milliseconds GetReadTimeout() const { return readTimeout_; }
    std::chrono::milliseconds GetWriteTimeout() const { return writeTimeout_; }
    // Largest answer packet text accepted (payloads do not count); a longer one raises Error
    // and closes the connection. List answers (files, level values, search results, the
    // databases list) are read as they arrive and never held whole: for them it bounds what
    // is held at once, one listed item or the rest of the packet.
    void SetMaxAnswerSize(std::size_t Bytes) { maxAnswerSize_ = Bytes; }
    std::size_t GetMaxAnswerSize() const { return maxAnswerSize_; }

    // ---- Packet exchange (src/protocol/exchange.cpp) --------------------------------------

    // A new request: root "packet" with version="1" and its child "command" with cmd=Command,
    // declared as Windows-1251. Sets the library's decimal separator to ".".
    static void CreatePacketXml(const std::string& Command, pugi::xml_document& Doc,
                                pugi::xml_node& CommandNode);
    // Sets Name to "true" or "false".
    static void SetBoolXmlAttr(pugi::xml_node Node, const char* Name, bool Value);

    // Sends RequestDoc (with Stream's bytes from its start as payload, announced by
    // "bin_data_size"), reads the final answer into AnswerDoc and its "answer" element into
    // AnswerNode (created empty when missing), and streams an answer payload into OutStream
    // (dropped when OutStream is null). Server errors raise TOstraClientSocketException.
    void SendXmlAndReadAnswer(pugi::xml_document& RequestDoc, pugi::xml_document& AnswerDoc,
                              pugi::xml_node& AnswerNode, std::istream* Stream = nullptr,
                              std::ostream* OutStream = nullptr);
    // The exchange itself, for a packet given as UTF-8 text ending in "</packet>" CR LF. On
    // return Answer holds the text of the last packet read and AnswerDoc the final answer.
    void SendCommand(std::string_view PacketText, std::istream* Stream, std::string& Answer,
                     pugi::xml_document& AnswerDoc, std::ostream* OutStream);
    // SendCommand for a complete packet text; the answer's text is kept for GetAnswer.
    // Returns 0.
    std::int32_t SendCmdToServer(std::string_view PacketText);
    const std::string& GetAnswer() const { return FAnswer; }

    // Aborts the running request from any thread: the blocked connect, read or write raises
    // TTerminatedExeption. Does nothing when not connected or connecting.
    void Terminate();

    // ---- Login and server version (src/protocol/login.cpp) --------------------------------

    // A one-time value from the server for the next login.
    std::string RequestRandomAuthValue();
    // Logs in with the digest of the password and a fresh random value; stores the rights.
    // The password's Windows-1251 bytes enter the digest, as the server computes it.
    bool SendLoginCommand(const std::string& User, const std::string& Password);
    // Logs in through the login dialog, pre-filled with User and Password or, where empty,
    // the last ones. Returns false when the user cancelled; a refusal after the last attempt
    // raises the server's error.
    bool Login(const std::string& User = {}, const std::string& Password = {});
    // Fills Version; an older server that does not know the command gives 0.0.0.0.
    void GetServerVersion(TServerVersion& Version);

    // ---- Files (src/protocol/file_commands.cpp) -------------------------------------------
    //
    // File names may address another server ("WSTP://.../HOST:name//PORT:n/..."): the request
    // goes there, and afterwards the client points at its own host and port again, whatever
    // happened. Lists of names are checked on a copy; the caller's list is not changed.

    // The caller's rights on the file; the empty set when the user cancelled a login.
    TUserRights GetFileRights(const std::string& FileName);
    // The file's contents into Stream (dropped when null). The name is sent as given.
    void GetFileContents(const std::string& FileName, std::ostream* Stream);
    // GetFileContents, and the file's real name (when the server gives one) and times.
    void GetFileContentsEx(const std::string& FileName, std::ostream* Stream, TFileInfo& Info);
    // Stores Stream's bytes, from its start, as the file's contents. The name is sent as given.
    void PutFileContents(const std::string& FileName, std::istream* Stream);

    // Importing. Values holds the file's bindings to levels, "type=value" per line (for a
    // repeated type the first value counts); an empty type or value raises Error before
    // anything is sent. ExtraPath is the path below the bound levels; TransformName lets the
    // server adapt the name. The times of a local original (creation, last write, last access)
    // go with the request.
    //
    // Stores the local file FileName in database DbId. The file is opened read-only and locked
    // exclusively (EFileError naming it when that fails, before anything is built), streamed,
    // and closed on every way out.
    void ImportFile(std::int32_t DbId, const std::string& FileName, const TStringList& Values,
                    bool TransformName, const std::string& ExtraPath);
    // The name under which OrigFileName would be stored.
    void GetFileName(std::int32_t DbId, const std::string& OrigFileName, const TStringList& Values,
                     bool TransformName, const std::string& ExtraPath, std::string& Name);
    // Creates the directory that the bindings and ExtraPath name.
    void CreateDir(std::int32_t DbId, const TStringList& Values, const std::string& ExtraPath);

    // Makes the server read the file's information again.
    void UpdateFileInfo(const std::string& FileName);
    bool FileExists(const std::string& FileName);
    // Deletes the files; Log tells the outcome of each.
    void DeleteFiles(const TStringList& Files, TSimpleResultLog& Log);
    // Both names are sent as given.
    void MoveFile(const std::string& Source, const std::string& Destination);
    // Switches the server's watching of the database's directories on or off.
    void SetFsTrackingMode(std::int32_t DbId, bool Mode);
    // The files of the database that failed to load.
    void RequestErroneousFilesList(std::int32_t DbId, TErroneousFiles& Files);
    // The files of the database that are blocked.
    void GetBlockedFilesList(std::int32_t DbId, TStringList& Names);
    // Database, read-only flag and rights of each file. Info is emptied first.
    void GetSimpleFileInfo(const TStringList& Files, TSimpleFileInfoItems& Info);
    // Sets or resets the read-only attribute of each file; Items is not changed.
    void ChangeFilesAttributes(const TChangeFileAttrItems& Items);

    // ---- Database catalog and server jobs (src/protocol/catalog_commands.cpp) -------------

    // The databases of the server. With WithStructs, then each database's structure, one
    // request per database in list order; a failure ends the loop and keeps what was read.
    void RequestDatabasesListEx(TDatabasesList& List, bool WithStructs);
    // RequestDatabasesListEx with the structures.
    void RequestDatabasesList(TDatabasesList& List);
    void RequestDbStruct(std::int32_t DbId, TDbStruct& Struct);
    // Rebuilds Databases from the server: the list with structures, then for each database
    // its structure once more, into the database and as its default logical structure.
    void RequestDatabases(TDatabases& Databases);

    // The commands with progress install Handler on OnInfo for their request and always clear
    // it afterwards; while another request runs they are refused with code 40 "Protocol is
    // busy" before touching OnInfo, so the running request keeps its handler. Only AddDatabase
    // and ReloadBadFilesWithProgress tell the server that progress packets are welcome, and
    // only when a handler is given.
    // Returns the new database's identifier.
    std::int32_t AddDatabase(const TDatabaseInfo& Info, TInfoPacketEvent Handler);
    void UpdateDatabase(const TDatabaseInfo& Info, TInfoPacketEvent Handler);
    void DeleteDatabase(std::int32_t DbId);

    void RequestVTableList(TVTables& VTables);
    void RequestVTableOptions(TVTableOptions& Options);
    // Merging of virtual tables: start, poll (Percent from 0 to 100), stop.
    void MergeVTableDB(std::int32_t DbId, bool UseDelete, bool FailNoConnect);
    void RequestMergeVTableStatus(std::int32_t DbId, double& Percent);
    void RequestMergeVTableFullStatus(std::int32_t DbId, double& Percent, std::string& ResultText);
    void StopMergeVTableDB(std::int32_t DbId);

    void ReloadDatabaseStruct(std::int32_t DbId);
    // Reloads the files of the database that failed to load.
    void ReloadBadFiles(std::int32_t DbId);
    void ReloadBadFilesWithProgress(std::int32_t DbId, TInfoPacketEvent Handler);
    void DeleteUnusedLevels(std::int32_t DbId);

    // The server-side well-file program: where it lies, and starting it with a command line.
    void RequestWFExePath(std::string& Path);
    void StartWFOstra(const std::string& CommandLine);

    // ---- Levels, filters and columns (src/protocol/level_commands.cpp) --------------------

    // Levels is the path of level identifiers from the top of a database's hierarchy.
    // FnFilter, when not empty, narrows the files by name.

    // Clears List, then fills it with the files of the level.
    void RequestFiles(TLevelFilesList& List, std::int32_t DbId, const TIntegerArray& Levels,
                      TReqFilesFlags Flags, const std::string& FnFilter);
    // RequestFiles along a logical structure; the files' paths are named by DbInfo's
    // structure and every file gets DbInfo's id as its database.
    void RequestFilesForLogStruct(TLevelFilesList& List, const TDatabaseInfo& DbInfo,
                                  const TIntegerArray& Levels, TReqFilesFlags Flags,
                                  const std::string& FnFilter, const TDbLogicalStruct& LogStruct);
    // The values of the next level below Levels. LogDbStruct (may be null) lists the level
    // types of a logical structure, top first.
    void RequestLevelsList(std::int32_t DbId, const TIntegerArray& Levels, bool UseFilters,
                           bool IncludeCurves, bool IncludeFiles, const TStringList* LogDbStruct,
                           TLevelsList& List);
    // The values of the next level below Levels along LogStruct (may be null).
    void RequestLevelsForLogStruct(TLevelsList& List, const TDatabaseInfo& DbInfo,
                                   const TIntegerArray& Levels, bool UseFilters,
                                   const TDbLogicalStruct* LogStruct);
    // Sends the level types of a logical structure, top first. DbId is accepted and not sent.
    void SetLogDbStruct(std::int32_t DbId, const TStringList& Types);

    // Filters. DbStruct may be null; it names levels only where the server's answer is read.

    // Clears Values, then fills them with what the server offers for Request (a navigation
    // level or column, passed through) under Filter.
    void RequestFilterPopupList(std::int32_t DbId, const TFilter& Filter, const TDbStruct* DbStruct,
                                const std::string& Request, TStringList& Values);
    // RequestFilterPopupList with Filter checked against Database; DbStruct is not used.
    void RequestFilterPopupValues(const TDatabase& Database, const TFilter& Filter,
                                  const TDbStruct* DbStruct, const std::string& Request,
                                  TStringList& Values);
    // Makes Filter the session's filter of the database.
    void SetFilter(std::int32_t DbId, const TDbStruct* DbStruct, const TFilter& Filter);
    // SetFilter with Filter checked against Database.
    void CheckAndSetFilter(const TDatabase& Database, const TFilter& Filter);
    // How many files the database holds and how many Filter leaves of them; without
    // UseFilter no filter is sent.
    void GetFilterStats(const TDatabase& Database, const TFilter& Filter, TFilterStatistics& Stats,
                        bool UseFilter);
    // Replaces Filter by the filter that selects the level path Levels of LogStruct.
    void ConvertPathToFilter(std::int32_t DbId, const TIntegerArray& Levels,
                             const TDbStruct* DbStruct, const TDbLogicalStruct& LogStruct,
                             TFilter& Filter);
    // Replaces Merged by the server's combination of Filter1 and Filter2.
    void MergeFilters(const TDatabaseInfo& DbInfo, const TFilter& Filter1, const TFilter& Filter2,
                      TFilter& Merged);

    // Column names, key values and curves.

    // Clears Names, then fills them with the database's column names (none empty).
    void GetColumnNames(std::int32_t DbId, TStringList& Names);
    void GetTableColumnNames(std::int32_t DbId, TTableColumnNames& Names);
    void GetTableColNames(std::int32_t DbId, const std::string& Table, TStringList& Names);
    // The column names of table TableName in the files Files. The names may address another
    // server for this one request; Files itself is not changed.
    void GetTableColumnNamesForFiles(const TStringList& Files, const std::string& TableName,
                                     TTableColumnNames& Names);
    // The server's key values of all files, unfiltered (Filter is not sent), as the element
    // "files" under a new root "result" of Doc. Doc must be empty: a document that already
    // has a root raises Error before anything is sent.
    void RequestKeyValues(const TFilter* Filter, pugi::xml_document& Doc);
    // The files Files with the key values of ColumnNames; the file names may address
    // another server for this one request. DbStruct (may be null) names the files' levels.
    void RequestKeyValuesForFiles(const TDbStruct* DbStruct, const TStringList& Files,
                                  const TTableColumnNames& ColumnNames, TLevelFilesList& List);
    // Replaces List by the curves of the level files below Levels once the answer is in.
    void RequestSimpleCurvesList(std::int32_t DbId, const TIntegerArray& Levels, bool UseFilters,
                                 TSimpleCurvesList& List);
    // RequestSimpleCurvesList along Database's current logical structure.
    void GetSimpleCurvesList(const TDatabase& Database, const TIntegerArray& Levels,
                             bool UseFilters, bool UseVersions, TSimpleCurvesList& List);

    // ---- Search (src/protocol/search_commands.cpp) ----------------------------------------

    // Adds to Files (not cleared first) the "filename" of every "file" the server found.
    void Search(const TSearchRequest& Request, TStringList& Files);
    // "search" with the caller's own request: the root element of RequestDoc is copied, with
    // everything in it, as a child of the command element (a root "items" holding "filter"
    // elements gives the request Search makes). AnswerDoc is replaced by a document whose root
    // is a copy of the answer's "result" element (an empty "result" when the server sent none).
    void SearchXML(const pugi::xml_document& RequestDoc, pugi::xml_document& AnswerDoc);
    // The files whose level values match Words, read with the database's structure, and the
    // server's time for the search.
    void SearchLevels(const TDatabase& Database, const TStringList& Words, TLevelFilesList& Files,
                      double& ExecTime);
    // The wells whose level values match Words; Result.ExecTime gets the server's time.
    void SearchLevels2(const TDatabase& Database, const TStringList& Words,
                       TSearchLevelsResult& Result);
    // Curves by name and type in the files of Args (the caller's Args are not changed). Asks
    // for the database list first, then turns each found file's short name into a full
    // "WSTP://" name of its database (without host and port); a file of a database the list
    // lacks keeps the server's name.
    void FindCurves(const TFindCurveSearchArguments& Args, TFindCurveResult& Result);
    // The files of the well given by its level values.
    void FindFilesForWell(std::int32_t DbId, const TStringList& LevelValues, TStringList& Files,
                          TFindFilesForWellOpts Opts = {});

    // ---- Well contents (src/protocol/well_commands.cpp) -----------------------------------

    // Commands on file names send a checked copy of the caller's names (see CheckFileName)
    // and restore host and port afterwards, unless said otherwise.

    // Sends the file name exactly as given: no address check, host and port untouched.
    void DeleteCurve(std::string FileName, std::string Table, std::string KeyStr,
                     std::string Curve);
    void RenameTable(const std::string& FileName, const std::string& OldName,
                     const std::string& NewName);
    void DeleteTable(const std::string& FileName, const std::string& Table);
    // Tables and Curves are sent as given.
    void GetUnitsList(const TStringList& FileNames, const TStringList& Tables,
                      const TStringList& Curves, TStringList& Result);
    void GetCollectionsForFiles(const TStringList& FileNames, TGetCollectionsListResult& Result);
    // Appends the dictionary's values to Values, which is not cleared first.
    void RequestDictValues(std::int32_t DbId, const std::string& Level, EDictMode Mode,
                           TStringList& Values);
    // The value for Key, or empty when the dictionary has none (Found false).
    std::string RequestDictValue(std::int32_t DbId, const std::string& Level,
                                 const std::string& Key, EDictMode Mode, bool& Found);
    void GetStratumData(const TStringList& FileNames, const std::string& Table,
                        const std::string& Ident, TStratumDataItems& Result);
    void GetStratumText(const TStringList& FileNames, const std::string& Table,
                        const std::string& Ident, TGetStartTextAndInfoResult& Result);
    // Tables (may be null) limits the tables described; Result is read without a structure.
    void GetWsInfo(const TStringList& FileNames, const TStringList* Tables, TWsInfoOptions Options,
                   TLevelFilesList& Result);
    // The stratum identifiers of the column Table; GetStratumIdents asks with an empty table.
    void GetColumnIdents(const TStringList& FileNames, const std::string& Table,
                         TStringList& Result);
    void GetStratumIdents(const TStringList& FileNames, TStringList& Result);
    void GetPlansheetsList(const TStringList& FileNames, TStringList& Result);
    // Checks the caller's own FileNames in place: afterwards they hold the names without their
    // address prefixes.
    void GetTablesList(TStringList& FileNames, TStringList& Result);
    // Tables is sent as given.
    void GetCurvesList(const TStringList& FileNames, const TStringList& Tables,
                       TCurvesListOpts Options, TCurvesList& Result);
    void ParseFileNameEx(const TStringList& FileNames, TParseFNOptions Options,
                         TParseFileNameResult& Result);
    // The level values of one file's place in its database.
    void ParseFileName(const std::string& FileName, TStringList& Result);
    // The index the server keeps of a file, for the file's modification time FileTime.
    void GetWsIndex(const std::string& FileName, TDateTime FileTime, TGetWsIndexResult& Result);

    // ---- Trunks and maps (src/protocol/trunk_commands.cpp) --------------------------------

    // A Filter, when given, narrows the trunks; it goes to the server as it is, not checked
    // against a database's levels. Null sends no filter.

    // The trunks with the ids given.
    void GetTrunkObjects(const TStringList& Ids, TTrunkList& Trunks);
    // The trunks of the files given. FileNames itself loses the address parts of its names;
    // the request goes to the server they address, and host and port are restored after it.
    void GetTrunkObjectsForFiles(TStringList& FileNames, TTrunkList& Trunks);
    void SetTrunkObjects(const TTrunkList& Trunks);
    // The files of each of the trunks named.
    void GetFilesNamesForTrunks(std::int32_t DbId, const TStringList& TrunkIds,
                                const TFilter* Filter, TFilesForTrunkList& Result);
    // The trunks of a map, each with the extra columns asked for as attributes.
    void GetMapTrunks(std::int32_t DbId, const TFilter* Filter, const TMapSpecialCols& ExtraCols,
                      TMapTrunks& Result);
    // Writes the attributes and layer crossings of the trunks of a map for a stratum
    // identifier; the flags ask the server to clear the existing attributes or crossings.
    void WriteTrunksAndPlastsData(std::int32_t DbId, const std::string& StratIdent,
                                  const TMapTrunks& Trunks, bool ClearAttrs, bool ClearCrosses);
    // The layer names of a map.
    void GetPlastNamesForMap(std::int32_t DbId, const TFilter* Filter,
                             const std::string& StratIdent, TStringList& Result);
    // Where the trunks cross one layer.
    void GetPlastsCrossItems(std::int32_t DbId, const TFilter* Filter,
                             const std::string& StratIdent, const std::string& PlastName,
                             TMapPlastsCrossItems& Result);

    // ---- Server administration (src/protocol/admin_commands.cpp) --------------------------

    // The users, groups and permissions.
    void GetUmData(TUmData& Data);
    // Replaces the server's users, groups and permissions; check the data first
    // (TUmData::CheckForConsistency), this call does not.
    void SaveUmData(const TUmData& Data);
    // The server's message log, as much of it as the server chooses to send: Filter is
    // accepted but not sent.
    void RequestLog(const TServerLogFilter& Filter, TServerLog& Log);
    // A server option's value; Def goes to the server as the option's default.
    std::string GetServOptionDef(const std::string& Name, const std::string& Def);
    std::string GetServOption(const std::string& Name);
    void SetServOption(const std::string& Name, const std::string& Value);
    // The options whose names match the masks, given as comma text ("log*,backup*").
    void GetServOptions(const std::string& Masks, TServerOptions& Options);
    void SetServOptions(const TServerOptions& Options);
    void ReloadDictionary();
    // File statistics of Database below LevelPath, one row per value of the level
    // GroupLevel; Filter (checked against the database's levels) and FileNameFilter narrow
    // the files. RequestFiles adds each row's files, RequestQuality the data-quality rows.
    void RequestFilesStat(TFilesStatResult& Result, const TDatabase& Database,
                          const TIntegerArray& LevelPath, const std::string& GroupLevel,
                          const TFilter* Filter, const std::string& FileNameFilter,
                          bool RequestFiles, bool RequestQuality);

    // ---- Data-layer calls (src/protocol/dataserver_commands.cpp) --------------------------

    // Each call returns the server's result code ("RetValue", 16 bits unless said otherwise)
    // without interpreting it; out arguments take what the answer carries, also when the code
    // reports a failure. A missing handle or value in the answer raises EConvertError.

    // Loads a well file into Stream. RowNumber goes to the server and comes back replaced.
    std::int16_t DatServ_Load_WS(const std::string& ResFName, const std::string& LoadFName,
                                 const std::string& SelectedAim, const std::string& TName,
                                 std::uint16_t& RowNumber, std::ostream& Stream);
    std::int16_t DatServ_Load_WSEx(const std::string& ResFName, const std::string& LoadFName,
                                   const std::string& SelectedAim, const std::string& TName,
                                   std::uint16_t& RowNumber, std::ostream& Stream);
    // Saves Stream's contents as a well file; a non-zero CheckCopy sends CheckCopy="true".
    std::int16_t DatServ_Save_WS(const std::string& SelectedAim, const std::string& TName,
                                 const std::string& FileName, std::int32_t CheckCopy,
                                 std::istream& Stream);
    std::int16_t DatServ_Save_WSExRW(const std::string& SelectedAim, const std::string& TName,
                                     const std::string& FileName, std::int32_t CheckCopy,
                                     std::istream& Stream);
    // Opens a well file; its handle comes back in LFHandle.
    std::int16_t DatServ_SysLFInitOpenEx(const std::string& FileName, TObjectHandle& LFHandle,
                                         std::int32_t LROption, std::int32_t ObjOption);
    std::int16_t DatServ_GetTableName(const TObjectHandle& LRHandle, std::string& TableName);
    std::int16_t DatServ_GetCurObj(const TObjectHandle& LRHandle, std::ostream& Stream);
    // The result code taken as a Boolean.
    bool DatServ_GetObjState(const TObjectHandle& ObjHandle, std::uint16_t Mask);
    // Sends the LRHandle given and replaces it with the answer's.
    std::int16_t DatServ_Get_TableNew(const std::string& TableName, const TObjectHandle& LFHandle,
                                      TObjectHandle& LRHandle);
    // Sends no LRHandle; the answer's comes back in LRHandle.
    std::int16_t DatServ_Get_Table(const std::string& TableName, const TObjectHandle& LFHandle,
                                   TObjectHandle& LRHandle);
    std::int16_t DatServ_GetTDescFldsN(const TObjectHandle& TDescHandle,
                                       const std::string& FieldName, std::ostream& Stream);
    std::int16_t DatServ_GetTDescFldsI(const TObjectHandle& TDescHandle, std::uint16_t FieldNumber,
                                       std::ostream& Stream);
    std::int16_t DatServ_GetObjByIdN(const TObjectHandle& LRHandle, std::uint16_t Idn,
                                     std::ostream& Stream);
    std::int16_t DatServ_GetTDescCounter(const TObjectHandle& TDescHandle, std::uint16_t& Counter);
    // Starts a search of TableHandle's table for up to three name/value conditions.
    std::int16_t DatServ_SSearchDataInit(const std::string& Name1, const std::string& Val1,
                                         const std::string& Name2, const std::string& Val2,
                                         const std::string& Name3, const std::string& Val3,
                                         const TObjectHandle& TableHandle,
                                         TObjectHandle& SearchHandle);
    std::int16_t DatServ_SetSTable(const TObjectHandle& SOHandle, const std::string& TableName);
    std::int16_t DatServ_FindFirst(const TObjectHandle& LFHandle, const TObjectHandle& SOHandle,
                                   std::ostream& Stream);
    // The well file's name as a full "WSTP://" name (empty when the server sends none).
    std::int16_t DatServ_GetWSName(const TObjectHandle& LRHandle, std::string& WSName);
    std::int16_t DatServ_TableExistX(const std::string& TableName, const TObjectHandle& LFHandle,
                                     std::int32_t Option);
    // All table names in one text, as the server sends it; the result code keeps 32 bits.
    std::int32_t DatServ_DSGetTableNames(const TObjectHandle& LFHandle, std::uint16_t LROption,
                                         std::string& Names);
    // Further calls of three shapes, the command and handle elements named by the caller:
    // one handle in; one handle in and a payload out; one handle in and one out.
    std::int16_t DatServ__OneHandleFunc(const std::string& Command, const std::string& HandleName,
                                        const TObjectHandle& Handle);
    std::int16_t DatServ__InHandle_OutObj(const std::string& Command, const std::string& HandleName,
                                          const TObjectHandle& Handle, std::ostream& Stream);
    std::int16_t DatServ__InHandle_OutHandle(const std::string& Command,
                                             const std::string& InHandleName,
                                             const std::string& OutHandleName,
                                             const TObjectHandle& InHandle,
                                             TObjectHandle& OutHandle);

private:
    // The list commands stream their answers through their request (src/protocol/command.hpp).
    friend class detail::Request;

    void SendPacket(std::string_view packet, std::istream* stream);
    void ReceivePayload(PacketReader& rest, std::int64_t size, std::ostream* out);
    // Reads the next packet as it arrives: records to sink, the rest parsed into doc. With
    // pendingOnly, the bytes already buffered are all there is.
    void ReadStreamedPacket(PacketReader& rest, detail::AnswerSink& sink, pugi::xml_document& doc,
                            bool pendingOnly);
    // Reads and drops the rest of a packet whose reading failed half-way, so that the
    // connection stays usable.
    void SkipPacket(PacketReader& rest);
    void ShowMessage(const std::string& text);
    void Trace(bool request, std::string_view text) const;
    // Runs request (the exchange of a command with progress) with Handler as OnInfo; refused
    // with code 40 while another request runs.
    void RunWithProgress(TInfoPacketEvent Handler, const std::function<void()>& request);

    std::unique_ptr<detail::Connection> connection_;
    std::string host_ = "localhost";
    std::int32_t port_ = kDefaultPort;
    std::int32_t connectTimeout_ = kDefaultConnectTimeout;
    std::chrono::milliseconds readTimeout_{0};
    std::chrono::milliseconds writeTimeout_{0};
    std::size_t maxAnswerSize_;

    bool FLoginCanceled = false;
    TUserRights FUserRights;
    bool FNeedReconnect = true;
    // Atomic, so that a request from another thread is refused cleanly.
    std::atomic<bool> FBusy{false};
    std::string FAnswer;
    // The thread whose requests may run while FBusy is set: the exchange's own re-login, or a
    // command with progress that took FBusy before installing its handler. Each request clears
    // it for its own duration, so nothing it calls out to may re-enter; another thread never
    // matches it.
    std::atomic<std::thread::id> mayEnter_{};
    // A "login" or "generate_auth_value" of Login is running: code 27 is an error then.
    bool loggingIn_ = false;

    std::string lastUser_;
    std::string lastPassword_;
    bool allowToSelectServer_ = false;
    std::int32_t loginCounter_ = 0;

    TLoginDialogEvent loginDialog_;
    TMessageBoxEvent messageBox_;
    TPacketTraceEvent packetTrace_;
    // Where the final answer of the next request goes as it arrives (set by a list command).
    detail::AnswerSink* answerSink_ = nullptr;
};

// The process-wide client, created on the first call.
OSTRADB_API TOstraDbProtocol& OstraDbProtocol();
// Whether OstraDbProtocol() has created it.
OSTRADB_API bool OstraDbProtocolInitialized();

}  // namespace ostradb
