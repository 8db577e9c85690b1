// ostradb.Client: the high-level client (ostradb::Client) with the command-line client's verbs,
// keyword arguments and plain result values, and ostradb.connect(), which makes one logged in.
// Each call holds the client against other threads, waits for the network without the GIL
// and stops at Ctrl-C as the command catalog's calls do (call.hpp), on the same session:
// c.protocol is the catalog object underneath.

#include <cstdint>
#include <filesystem>
#include <istream>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include <pybind11/pybind11.h>
#include <pybind11/stl.h>
#include <pybind11/stl/filesystem.h>

#include "call.hpp"
#include "callbacks.hpp"
#include "ostradb/client/client.hpp"
#include "ostradb/protocol/ostradb_protocol.hpp"
#include "streams.hpp"

namespace ostradb::python {

namespace fs = std::filesystem;

// A progress callback made from a Python callable or None (the caster below).
template <class F, F (*Make)(py::object)>
struct CallbackArg {
    F fn;
};
using ProgressArg = CallbackArg<ProgressCallback, MakeProgress>;
using JobProgressArg = CallbackArg<JobProgressCallback, MakeJobProgress>;

// Where a download goes or an upload comes from: a path, or a stream over a Python object
// (streams.hpp) moved chunk by chunk.
template <class Stream, std::unique_ptr<Stream> (*Make)(py::handle)>
struct PathOrStream {
    std::optional<fs::path> path;
    std::unique_ptr<Stream> stream;
};
using DestinationArg = PathOrStream<std::ostream, MakeOutputStream>;
using SourceArg = PathOrStream<std::istream, MakeInputStream>;

inline bool IsPath(py::handle value) {
    static const py::object pathLike = py::module_::import("os").attr("PathLike");
    return PyUnicode_Check(value.ptr()) || py::isinstance(value, pathLike);
}

inline std::string TypeName(py::handle value) {
    return py::str(py::type::of(value).attr("__name__"));
}

}  // namespace ostradb::python

namespace pybind11::detail {

template <class F, F (*Make)(object)>
struct type_caster<ostradb::python::CallbackArg<F, Make>> {
    using Arg = ostradb::python::CallbackArg<F, Make>;
    static constexpr bool kTransfer = std::is_same_v<F, ostradb::ProgressCallback>;
    PYBIND11_TYPE_CASTER(Arg, const_name<kTransfer>("Callable[[int, int], None] | None",
                                                    "Callable[[dict[str, str]], None] | None"));
    bool load(handle src, bool) {
        if (!src.is_none() && !PyCallable_Check(src.ptr()))
            throw type_error("progress takes a callable or None, not " +
                             ostradb::python::TypeName(src));
        value.fn = Make(reinterpret_borrow<object>(src));
        return true;
    }
    static handle cast(const Arg&, return_value_policy, handle) { return none().release(); }
};

template <class Stream, std::unique_ptr<Stream> (*Make)(handle)>
struct type_caster<ostradb::python::PathOrStream<Stream, Make>> {
    using Arg = ostradb::python::PathOrStream<Stream, Make>;
    static constexpr bool kOut = std::is_same_v<Stream, std::ostream>;
    PYBIND11_TYPE_CASTER(Arg, const_name<kOut>("str | os.PathLike[str] | BinaryIO | bytearray",
                                               "str | os.PathLike[str] | bytes | BinaryIO"));
    bool load(handle src, bool) {
        if (ostradb::python::IsPath(src))
            value.path = src.cast<std::filesystem::path>();
        else
            value.stream = Make(src);
        return true;
    }
    static handle cast(const Arg&, return_value_policy, handle) { return none().release(); }
};

}  // namespace pybind11::detail

namespace ostradb::python {

namespace {

using namespace pybind11::literals;

// A database as the caller names it: its id, its name (any case) or a Database.
using DbArg = std::variant<Database, std::int64_t, std::string>;
// One text or several.
using TextOrList = std::variant<std::string, std::vector<std::string>>;

// The client of a Python Client object. close() disconnects it and refuses further calls
// until login(); the object itself stays, so that c.protocol stays valid.
class Session {
public:
    explicit Session(const ConnectOptions& options) : client_(options) {}

    Client& client() { return client_; }
    bool closed() const { return closed_; }

    // f(client) as one call of the client (call.hpp).
    template <class F>
    auto Call(F&& f) {
        if (closed_) throw Error("the client is closed");
        CallScope scope(client_.protocol());
        return scope.Run([&] { return f(client_); });
    }

    void Login() {
        CallScope scope(client_.protocol());
        scope.Run([&] { client_.login(); });
        closed_ = false;
    }

    void Close() {
        BusyGuard busy(client_.protocol());
        client_.protocol().Disconnect();
        closed_ = true;
    }

private:
    Client client_;
    bool closed_ = false;
};

ConnectOptions Options(const std::optional<std::string>& host, std::optional<std::int32_t> port,
                       const std::optional<std::string>& user,
                       const std::optional<std::string>& password, std::optional<double> timeout,
                       const std::optional<std::string>& service) {
    ConnectOptions options;
    options.host = host.value_or("");
    options.port = port.value_or(0);
    options.user = user.value_or("");
    options.password = password;
    options.timeout = timeout;
    options.service = service;
    options.on_warning = MakeWarning();
    return options;
}

Database Resolve(Client& c, const DbArg& db) {
    if (const auto* given = std::get_if<Database>(&db)) return *given;
    if (const auto* id = std::get_if<std::int64_t>(&db))
        return c.find_database(std::to_string(*id));
    return c.find_database(std::get<std::string>(db));
}

// The positional arguments as texts: str, and int too where numbers are allowed.
std::vector<std::string> Texts(const py::args& args, const char* what, bool numbers = false) {
    std::vector<std::string> texts;
    texts.reserve(args.size());
    for (py::handle arg : args) {
        if (PyUnicode_Check(arg.ptr()))
            texts.push_back(arg.cast<std::string>());
        else if (numbers && PyLong_Check(arg.ptr()) && !PyBool_Check(arg.ptr()))
            texts.push_back(py::str(arg));
        else
            throw py::type_error(std::string(what) + (numbers ? " are str or int" : " are str") +
                                 ", not " + TypeName(arg));
    }
    return texts;
}

std::vector<std::string> Lines(const std::optional<TextOrList>& value) {
    if (!value) return {};
    if (const auto* one = std::get_if<std::string>(&*value)) return {*one};
    return std::get<std::vector<std::string>>(*value);
}

std::string CommaText(const std::optional<TextOrList>& value) {
    std::string text;
    for (const std::string& line : Lines(value))
        text += (text.empty() ? "" : ",") + line;
    return text;
}

void BindConnection(py::class_<Session>& cls) {
    cls.def(py::init([](const std::optional<std::string>& host, std::optional<std::int32_t> port,
                        const std::optional<std::string>& user,
                        const std::optional<std::string>& password, std::optional<double> timeout,
                        const std::optional<std::string>& service) {
                return std::make_unique<Session>(
                    Options(host, port, user, password, timeout, service));
            }),
            py::kw_only(), "host"_a = py::none(), "port"_a = py::none(), "user"_a = py::none(),
            "password"_a = py::none(), "timeout"_a = py::none(), "service"_a = py::none(),
            "A client that is not connected yet (login() connects): the options as connect() "
            "takes them.")
        .def("login", &Session::Login,
             "Connects and logs in (again, after close()); the password as connect() finds it.")
        .def("close", &Session::Close,
             "Disconnects; calls raise Error until login(). A client in a request on another "
             "thread raises BusyError.")
        .def_property_readonly("closed", &Session::closed)
        .def(
            "__enter__", [](Session& s) -> Session& { return s; },
            py::return_value_policy::reference)
        .def("__exit__", [](Session& s, const py::args&) { s.Close(); })
        .def("__repr__",
             [](Session& s) {
                 Client& c = s.client();
                 return "<ostradb.Client " + c.user() + "@" + c.host() + ":" +
                        std::to_string(c.port()) + (s.closed() ? " closed>" : ">");
             })
        .def_property_readonly("host", [](Session& s) { return s.client().host(); })
        .def_property_readonly("port", [](Session& s) { return s.client().port(); })
        .def_property_readonly("user", [](Session& s) { return s.client().user(); })
        .def_property_readonly(
            "timeout", [](Session& s) { return s.client().timeout(); },
            "Seconds a connect, read or write may wait; 0: no limit.")
        .def_property_readonly(
            "protocol", [](Session& s) -> TOstraDbProtocol& { return s.client().protocol(); },
            py::return_value_policy::reference_internal,
            "The command catalog on this client's session. Its packet trace and message box "
            "are the client's own: use set_trace().")
        .def(
            "terminate", [](Session& s) { s.client().terminate(); },
            py::call_guard<py::gil_scoped_release>(),
            "Aborts the running request from any thread; it raises InterruptedError.")
        .def(
            "set_trace",
            [](Session& s, py::object fn) {
                BusyGuard busy(s.client().protocol());
                s.client().set_trace(MakePacketTrace(std::move(fn)));
            },
            "trace"_a,
            "trace(request: bool, text: str) for every packet, the password digest masked; "
            "None removes it.")
        .def(
            "version", [](Session& s) { return s.Call([](Client& c) { return c.version(); }); },
            "The server's version, \"1.2.3.4\".")
        .def(
            "raw",
            [](Session& s, const std::string& packet) {
                return s.Call([&](Client& c) { return c.raw(packet); });
            },
            "packet"_a,
            "Sends a packet of one's own (\"<packet ...>...</packet>\" or a \"<command .../>\") "
            "and returns the answer packet's text.");
}

void BindCatalog(py::class_<Session>& cls) {
    cls.def(
           "databases",
           [](Session& s, bool structures) {
               return s.Call([&](Client& c) { return c.databases(structures); });
           },
           "structures"_a = false, "The databases; with structures, each one's levels too.")
        .def(
            "find_database",
            [](Session& s, const DbArg& db) {
                return s.Call([&](Client& c) { return Resolve(c, db); });
            },
            "db"_a, "The database with this name (any case), else this id, with its levels.")
        .def(
            "structure",
            [](Session& s, const DbArg& db) {
                return s.Call([&](Client& c) {
                    Database found = Resolve(c, db);
                    if (found.levels.empty()) found = c.find_database(std::to_string(found.id));
                    return found.levels;
                });
            },
            "db"_a, "The levels the database is organised by, top first.")
        .def(
            "levels",
            [](Session& s, const DbArg& db, const py::args& path) {
                const std::vector<std::string> values = Texts(path, "level values", true);
                return s.Call([&](Client& c) { return c.levels(Resolve(c, db), values); });
            },
            "db"_a,
            "The values of the level below the path (level values from the top, each by name "
            "in any case, else by id).")
        .def(
            "files",
            [](Session& s, const DbArg& db, const py::args& path,
               const std::optional<TextOrList>& filter, const std::optional<std::string>& name) {
                const std::vector<std::string> values = Texts(path, "level values", true);
                FilesOptions options{Lines(filter), name.value_or("")};
                return s.Call([&](Client& c) { return c.files(Resolve(c, db), values, options); });
            },
            "db"_a, "filter"_a = py::none(), "name"_a = py::none(),
            "The files below the path, sorted by their level values (wells by number) and "
            "name. filter: conditions \"KEY[,not][,and] -> VALUE, VALUE\" (KEY a level type "
            "such as %well, *table.column, curves, tables or planshets); name: a mask.")
        .def(
            "full_name",
            [](Session& s, const DbArg& db, const std::string& name) {
                return s.Call([&](Client& c) { return c.full_name(Resolve(c, db), name); });
            },
            "db"_a, "name"_a, "The name get and put take for a short file name of the database.")
        .def(
            "stat",
            [](Session& s, const DbArg& db, const py::args& path, const std::string& group,
               const std::optional<TextOrList>& filter, const std::optional<std::string>& name,
               bool files, bool quality) {
                const std::vector<std::string> values = Texts(path, "level values", true);
                StatOptions options{Lines(filter), name.value_or(""), files, quality};
                return s.Call([&](Client& c) {
                    return c.file_stats(Resolve(c, db), values, group, options);
                });
            },
            "db"_a, "group"_a, "filter"_a = py::none(), "name"_a = py::none(), "files"_a = false,
            "quality"_a = false,
            "File statistics below the path, one row per value of the level group (its type, "
            "with or without %, or its name); filter and name as files() takes them.")
        .def(
            "search",
            [](Session& s, const DbArg& db, const py::args& conditions,
               const std::optional<TextOrList>& tables) {
                const std::vector<std::string> lines = Texts(conditions, "conditions");
                const std::string only = CommaText(tables);
                return s.Call([&](Client& c) {
                    if (const auto* given = std::get_if<Database>(&db))
                        return c.search(*given, lines, only);
                    if (const auto* id = std::get_if<std::int64_t>(&db))
                        return c.search(std::to_string(*id), lines, only);
                    return c.search(std::get<std::string>(db), lines, only);
                });
            },
            "db"_a, "tables"_a = py::none(),
            "The full names of the files of the database (\"all\": of every database) that "
            "match every condition \"NAME=VALUE\" (a level or a file parameter; * and ? and "
            "comma-separated values allowed); tables: only files holding one of them.")
        .def(
            "tables",
            [](Session& s, const py::args& files) {
                const std::vector<std::string> names = Texts(files, "file names");
                return s.Call([&](Client& c) { return c.tables(names); });
            },
            "The tables of the well files.")
        .def(
            "curves",
            [](Session& s, const py::args& files, const std::optional<TextOrList>& tables) {
                const std::vector<std::string> names = Texts(files, "file names");
                const std::vector<std::string> only = Lines(tables);
                return s.Call([&](Client& c) { return c.curves(names, only); });
            },
            "tables"_a = py::none(),
            "The curves of the well files, of the tables given (all when none).")
        .def(
            "plansheets",
            [](Session& s, const py::args& files) {
                const std::vector<std::string> names = Texts(files, "file names");
                return s.Call([&](Client& c) { return c.plansheets(names); });
            },
            "The plansheets of the well files.");
}

void BindFiles(py::class_<Session>& cls) {
    cls.def(
           "get",
           [](Session& s, const std::string& file, DestinationArg& dest, ProgressArg& progress) {
               return s.Call([&](Client& c) {
                   return dest.path ? c.get(file, *dest.path, std::move(progress.fn))
                                    : c.get(file, *dest.stream, std::move(progress.fn));
               });
           },
           "file"_a, "dest"_a, "progress"_a = py::none(),
           "Downloads the file; returns the number of bytes. dest: a path (a folder: the file "
           "keeps its name there), written under a temporary name that replaces the target only "
           "once complete; or a binary file object or bytearray, written in chunks. "
           "progress(done, total) after each chunk.")
        .def(
            "put",
            [](Session& s, const std::string& file, SourceArg& src, ProgressArg& progress) {
                return s.Call([&](Client& c) {
                    return src.path ? c.put(file, *src.path, std::move(progress.fn))
                                    : c.put(file, *src.stream, std::move(progress.fn));
                });
            },
            "file"_a, "src"_a, "progress"_a = py::none(),
            "Stores the contents of the file, creating or replacing it; returns the number of "
            "bytes. src: a path, bytes (or another buffer) or a binary file object (sent from "
            "its start, in chunks). progress(done, total) after each chunk.")
        .def(
            "exists",
            [](Session& s, const std::string& file) {
                return s.Call([&](Client& c) { return c.exists(file); });
            },
            "file"_a)
        .def(
            "remove",
            [](Session& s, const py::args& files) {
                const std::vector<std::string> names = Texts(files, "file names");
                return s.Call([&](Client& c) { return c.remove(names); });
            },
            "Deletes the files; the outcome of each, also of those that failed (ok False).")
        .def(
            "move",
            [](Session& s, const std::string& src, const std::string& dst) {
                s.Call([&](Client& c) { c.move(src, dst); });
            },
            "src"_a, "dst"_a);
}

void BindAdmin(py::class_<Session>& cls) {
    cls.def(
           "options",
           [](Session& s, const std::optional<std::string>& mask) {
               return s.Call([&](Client& c) { return c.options(mask.value_or("*")); });
           },
           "mask"_a = py::none(),
           "The server options whose names match the masks (comma-separated, \"Log*,Backup*\").")
        .def(
            "option",
            [](Session& s, const std::string& name, const std::optional<std::string>& value) {
                return s.Call([&](Client& c) -> std::optional<std::string> {
                    if (!value) return c.option(name);
                    c.set_option(name, *value);
                    return std::nullopt;
                });
            },
            "name"_a, "value"_a = py::none(),
            "The option's value; with a value, sets it (and returns None).")
        .def(
            "users", [](Session& s) { return s.Call([](Client& c) { return c.users(); }); },
            "The users, with their groups and rights.")
        .def("groups", [](Session& s) { return s.Call([](Client& c) { return c.groups(); }); })
        .def(
            "add_user",
            [](Session& s, const std::string& login, const std::string& name,
               const std::string& password, const std::vector<std::string>& groups) {
                s.Call([&](Client& c) { c.add_user(login, name, password, groups); });
            },
            "login"_a, "name"_a, "password"_a, "groups"_a = std::vector<std::string>{},
            "Adds a user in the groups named, unless nobody could administer users afterwards.")
        .def(
            "set_user_groups",
            [](Session& s, const std::string& login, const std::vector<std::string>& groups) {
                s.Call([&](Client& c) { c.set_user_groups(login, groups); });
            },
            "login"_a, "groups"_a, "Makes the user a member of exactly these groups.")
        .def(
            "check_users", [](Session& s) { s.Call([](Client& c) { c.check_users(); }); },
            "Raises Error when nobody could administer users.")
        .def(
            "log", [](Session& s) { return s.Call([](Client& c) { return c.log(); }); },
            "The server's message log.");
}

void BindJobs(py::class_<Session>& cls) {
    cls.def(
           "add_database",
           [](Session& s, const Database& db, JobProgressArg& progress) {
               return s.Call([&](Client& c) { return c.add_database(db, std::move(progress.fn)); });
           },
           "db"_a, "progress"_a = py::none(),
           "Adds the database described (name, path, ext_path, is_private) and returns it as "
           "the server lists it; progress(info) gets the fields of each progress report.")
        .def(
            "update_database",
            [](Session& s, const Database& db, JobProgressArg& progress) {
                s.Call([&](Client& c) { c.update_database(db, std::move(progress.fn)); });
            },
            "db"_a, "progress"_a = py::none(), "Gives the database db.id the description db.")
        .def(
            "delete_database",
            [](Session& s, const DbArg& db) {
                s.Call([&](Client& c) { c.delete_database(Resolve(c, db)); });
            },
            "db"_a)
        .def(
            "reload_bad_files",
            [](Session& s, const DbArg& db, JobProgressArg& progress) {
                s.Call(
                    [&](Client& c) { c.reload_bad_files(Resolve(c, db), std::move(progress.fn)); });
            },
            "db"_a, "progress"_a = py::none(),
            "Loads the database's files that failed to load once more.")
        .def(
            "merge_virtual_tables",
            [](Session& s, const DbArg& db, bool useDelete, bool failNoConnect,
               JobProgressArg& progress) {
                s.Call([&](Client& c) {
                    c.merge_virtual_tables(Resolve(c, db), {useDelete, failNoConnect},
                                           std::move(progress.fn));
                });
            },
            "db"_a, py::kw_only(), "use_delete"_a = false, "fail_no_connect"_a = false,
            "progress"_a = py::none(),
            "Starts merging the database's virtual tables; merge_status() tells how far.")
        .def(
            "merge_status",
            [](Session& s, const DbArg& db) {
                return s.Call([&](Client& c) { return c.merge_status(Resolve(c, db)); });
            },
            "db"_a)
        .def(
            "stop_merge",
            [](Session& s, const DbArg& db) {
                s.Call([&](Client& c) { c.stop_merge(Resolve(c, db)); });
            },
            "db"_a);
}

}  // namespace

void BindClient(py::module_& m) {
    py::class_<Session> cls(m, "Client",
                            "A client of the server with the command-line client's verbs; "
                            "connect() makes one. One thread at a time: a call while another "
                            "thread's call runs raises BusyError.");
    BindConnection(cls);
    BindCatalog(cls);
    BindFiles(cls);
    BindAdmin(cls);
    BindJobs(cls);
    m.def(
        "connect",
        [](const std::optional<std::string>& host, std::optional<std::int32_t> port,
           const std::optional<std::string>& user, const std::optional<std::string>& password,
           std::optional<double> timeout, const std::optional<std::string>& service) {
            auto session =
                std::make_unique<Session>(Options(host, port, user, password, timeout, service));
            session->Login();
            return session;
        },
        py::kw_only(), "host"_a = py::none(), "port"_a = py::none(), "user"_a = py::none(),
        "password"_a = py::none(), "timeout"_a = py::none(), "service"_a = py::none(),
        "Connects and logs in. What the arguments leave open comes, field by field, from "
        "$OSTRADB_HOST, $OSTRADB_PORT, $OSTRADB_USER, $OSTRADB_PASSWORD and $OSTRADB_TIMEOUT, "
        "then from the section service of servers.ini, then from the stored connection "
        "settings; the password last from the password file. timeout: seconds a connect, read "
        "or write may wait (0: no limit; None: $OSTRADB_TIMEOUT, else 300).");
}

}  // namespace ostradb::python
