#pragma once

// ostradb::Client: the verbs people use, returning values. One client owns one session (a
// TOstraDbProtocol, logged in) and is used from one thread; terminate() is the only call that
// may come from another. The whole command catalog stays available through protocol(), on the
// same session.
//
//   auto c = ostradb::Client::connect({.host = "127.0.0.1", .user = "admin"});
//   ostradb::Database db = c.find_database("North Sea Demo");     // name (any case) or id
//   for (const ostradb::File& f : c.files(db, {"Eastfield"}))
//       std::cout << f.full_name << '\n';
//
// Failures raise the library's exceptions (ostradb::Error at the root): EArgumentError and
// ENotFoundError (client/errors.hpp) for what the caller gave, ETimeoutError naming the server
// and the time-out, the server's refusals as TOstraClientSocketException.

#include <cstdint>
#include <filesystem>
#include <functional>
#include <iosfwd>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "ostradb/client/connect_options.hpp"
#include "ostradb/client/errors.hpp"
#include "ostradb/client/results.hpp"
#include "ostradb/export.hpp"

namespace ostradb {

class TOstraDbProtocol;
namespace detail {
struct ClientSession;
}

// Bytes moved so far and the whole size (-1 while unknown). An exception it raises ends the
// transfer at once (the connection is reset) and leaves the call.
using ProgressCallback = std::function<void(std::int64_t done, std::int64_t total)>;
// The attributes of each progress packet of a server job ("percent", "text" ...). An exception
// it raises ends the job's request at once and leaves the call.
using JobProgressCallback = std::function<void(const std::map<std::string, std::string>& info)>;
// The text of each packet sent (request true) or received, the password digest masked. An
// exception it raises for a request keeps that request from being sent.
using TraceCallback = std::function<void(bool request, std::string_view text)>;

struct FilesOptions {
    // Conditions "KEY[,not][,and] -> VALUE, VALUE"; KEY is a level type ("%well"),
    // "*table.column", or curves, tables, planshets.
    std::vector<std::string> filters{};
    std::string name{};  // a mask the file names must match
};

struct StatOptions {
    std::vector<std::string> filters{};  // as FilesOptions::filters
    std::string name{};                  // as FilesOptions::name
    bool files = false;                  // each row's files too
    bool quality = false;                // the data-quality rows too
};

struct MergeOptions {
    bool use_delete = false;
    bool fail_no_connect = false;
};

class OSTRADB_API Client {
public:
    // Resolves the options (connect_options.hpp), connects and logs in.
    static Client connect(const ConnectOptions& options = {});
    // Resolves the options without connecting yet: login() does that, so that a trace or a
    // terminate() from another thread can be in place for the connect and the login.
    explicit Client(const ConnectOptions& options);
    // Connects and logs in: the user and password from the options, the password file or the
    // prompt. Raises EArgumentError when none of them supplies one.
    void login();

    Client(Client&&) noexcept;
    Client& operator=(Client&&) noexcept;
    ~Client();

    const std::string& host() const;
    std::int32_t port() const;
    const std::string& user() const;
    // Seconds; 0: no limit.
    double timeout() const;

    // The session itself, for the commands the client has no verb for. Its address stays the
    // same when the client is moved.
    TOstraDbProtocol& protocol();
    // Aborts the running request from any thread (it raises TTerminatedExeption); the next
    // request connects again. Not while the client itself is being moved or destroyed.
    void terminate();
    void set_trace(TraceCallback trace);

    // ---- the server

    // The server's version, "1.2.3.4".
    std::string version();
    // Sends a packet of the caller's own (a whole "<packet>" or a "<command .../>" element
    // alone) and returns the answer's text as it came, without carriage returns.
    std::string raw(const std::string& packet);

    // ---- databases, levels and files

    // With with_levels, each database's structure as well (one more request per database).
    std::vector<Database> databases(bool with_levels = true);
    // The database with this name (ignoring case) or else this id, with its levels.
    Database find_database(const std::string& name_or_id);
    // The values of the level below path, a list of level values from the top, each matched
    // by name (ignoring case), then by id.
    std::vector<Level> levels(const Database& db, const std::vector<std::string>& path = {});
    // The files below path, sorted by their level values (wells as well names) and by name.
    std::vector<File> files(const Database& db, const std::vector<std::string>& path = {},
                            const FilesOptions& options = {});
    // The name get and put take for a short file name of the database.
    std::string full_name(const Database& db, const std::string& short_name);
    // File statistics below path, one row per value of the level group (its type, with or
    // without "%", or its display name).
    FileStats file_stats(const Database& db, const std::vector<std::string>& path,
                         const std::string& group, const StatOptions& options = {});

    // The full names of the files of database ("all": every database) that match every
    // condition "NAME=VALUE" (a level by type or name, or a file parameter; values may hold
    // * and ? and several values separated by commas). tables: only files holding one of
    // these tables (comma-separated).
    std::vector<std::string> search(const std::string& database,
                                    const std::vector<std::string>& conditions,
                                    const std::string& tables = {});
    std::vector<std::string> search(const Database& db, const std::vector<std::string>& conditions,
                                    const std::string& tables = {});
    // One condition alone.
    std::vector<std::string> search(const std::string& database, const char* condition) {
        return search(database, std::vector<std::string>{condition});
    }
    std::vector<std::string> search(const Database& db, const char* condition) {
        return search(db, std::vector<std::string>{condition});
    }

    // ---- what well files hold

    std::vector<std::string> tables(const std::vector<std::string>& files);
    // The curves of the files, of the tables given (all when none); each names its file when
    // several files are asked about.
    std::vector<Curve> curves(const std::vector<std::string>& files,
                              const std::vector<std::string>& tables = {});
    std::vector<std::string> plansheets(const std::vector<std::string>& files);

    // ---- file contents and file commands

    // Writes the file's contents into out; returns the number of bytes.
    std::int64_t get(const std::string& file, std::ostream& out, ProgressCallback progress = {});
    // Saves the file's contents at destination (a file, or a folder to save it in under its
    // own name) through a temporary file that replaces the target only when complete: a failed
    // or interrupted download leaves an old file there untouched.
    std::int64_t get(const std::string& file, const std::filesystem::path& destination,
                     ProgressCallback progress = {});
    // Where get(file, destination) saves the file.
    static std::filesystem::path download_path(const std::string& file,
                                               const std::filesystem::path& destination);
    // Stores the stream's bytes, from its start, as the file's contents (creating or replacing
    // it); a stream that cannot seek (a pipe) is first copied to a temporary file. Returns the
    // number of bytes.
    std::int64_t put(const std::string& file, std::istream& in, ProgressCallback progress = {});
    std::int64_t put(const std::string& file, const std::filesystem::path& source,
                     ProgressCallback progress = {});
    std::int64_t put_bytes(const std::string& file, std::string_view bytes,
                           ProgressCallback progress = {});
    bool exists(const std::string& file);
    // Deletes the files; the outcome of each, also of those that failed.
    std::vector<FileResult> remove(const std::vector<std::string>& files);
    void move(const std::string& from, const std::string& to);

    // ---- administration

    // The options whose names match the masks (comma-separated, "Log*,Backup*").
    std::vector<Option> options(const std::string& masks = "*");
    std::string option(const std::string& name);
    void set_option(const std::string& name, const std::string& value);
    std::vector<User> users();
    std::vector<Group> groups();
    // Adds a user in the groups named (each must exist) and saves, unless nobody could
    // administer users afterwards.
    void add_user(const std::string& login, const std::string& name, const std::string& password,
                  const std::vector<std::string>& groups);
    // Makes the user a member of exactly these groups (none: of no group), and saves likewise.
    void set_user_groups(const std::string& login, const std::vector<std::string>& groups);
    // Raises Error when nobody could administer users.
    void check_users();
    // The server's message log, as much of it as the server sends.
    std::vector<LogRecord> log();

    // ---- server jobs; progress, when asked for, gets the attributes of each progress packet

    // Adds the database described by db (its name, path, ext_path and is_private; the id is
    // not used) and returns it as the server lists it.
    Database add_database(const Database& db, JobProgressCallback progress = {});
    // Gives the database db.id the description db.
    void update_database(const Database& db, JobProgressCallback progress = {});
    void delete_database(const Database& db);
    // Loads the database's files that failed to load once more.
    void reload_bad_files(const Database& db, JobProgressCallback progress = {});
    // Starts merging the database's virtual tables; merge_status tells how far it is.
    void merge_virtual_tables(const Database& db, const MergeOptions& options = {},
                              JobProgressCallback progress = {});
    MergeStatus merge_status(const Database& db);
    void stop_merge(const Database& db);

private:
    // Raise Error on a client that was moved from.
    detail::ClientSession& session();
    const detail::ClientSession& session() const;

    std::unique_ptr<detail::ClientSession> session_;
};

}  // namespace ostradb
