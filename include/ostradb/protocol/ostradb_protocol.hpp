#pragma once

// TOstraDbProtocol: the client of the well-logging database server. One object owns one TCP
// connection, connects lazily, logs in when the server asks for it, and runs one request at a
// time: a request is one XML packet, the answer one XML packet (after any number of "info"
// packets), either optionally followed by raw bytes.
//
// Threads: the object is used from one thread. Terminate is the only call that may come from
// another thread (or from a user-interface event) while a request runs.
//
// Host applications supply the interactive parts as callbacks: the login dialog, the message
// box, and optionally a packet trace. Without a login dialog the session logs in with the
// credentials given to Login, or the remembered last ones; without a message box the text
// goes to standard error.

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <pugixml.hpp>

#include "ostradb/export.hpp"
#include "ostradb/protocol/errors.hpp"
#include "ostradb/protocol/search_commands.hpp"
#include "ostradb/protocol/server_version.hpp"
#include "ostradb/protocol/socket_errors.hpp"
#include "ostradb/protocol/well_commands.hpp"
#include "ostradb/users/rights.hpp"

namespace ostradb {

class TOstraDbProtocol;
class TStringList;
class PacketReader;

namespace detail {
class Connection;
}

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
    bool GetBusy() const { return FBusy; }
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
    // and closes the connection.
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

    // Aborts the running request from any thread: the blocked read or write raises
    // TTerminatedExeption. Does nothing when not connected.
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

    // ---- Database catalog and server jobs (src/protocol/catalog_commands.cpp) -------------

    // ---- Levels, filters and columns (src/protocol/level_commands.cpp) --------------------

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

    // ---- Server administration (src/protocol/admin_commands.cpp) --------------------------

    // ---- Data-layer calls (src/protocol/dataserver_commands.cpp) --------------------------

private:
    void SendPacket(std::string_view packet, std::istream* stream);
    void ReceivePayload(PacketReader& rest, std::int64_t size, std::ostream* out);
    void ShowMessage(const std::string& text);
    void Trace(bool request, std::string_view text) const;

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
    bool FBusy = false;
    std::string FAnswer;
    // Set by the exchange around its own re-login, whose requests may run while FBusy is set;
    // each request clears it for its own duration, so nothing it calls out to may re-enter.
    bool reloginMayEnter_ = false;
    // A "login" or "generate_auth_value" of Login is running: code 27 is an error then.
    bool loggingIn_ = false;

    std::string lastUser_;
    std::string lastPassword_;
    bool allowToSelectServer_ = false;
    std::int32_t loginCounter_ = 0;

    TLoginDialogEvent loginDialog_;
    TMessageBoxEvent messageBox_;
    TPacketTraceEvent packetTrace_;
};

// The process-wide client, created on the first call.
OSTRADB_API TOstraDbProtocol& OstraDbProtocol();
// Whether OstraDbProtocol() has created it.
OSTRADB_API bool OstraDbProtocolInitialized();

}  // namespace ostradb
