// demo: a sandbox server inside this process, over a temporary copy of the sample data, and a
// walk through what the client does with it.

#include <unistd.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string_view>
#include <vector>

#include "commands.hpp"
#include "errors.hpp"
#include "interrupt.hpp"
#include "ostradb_sandbox/sandbox_server.hpp"

namespace ostradb::cli {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

namespace {

constexpr const char* kDatabase = "Западная Сибирь";

// A directory of its own under the system's temporary directory, removed at the end and
// also when an interrupt ends the process.
class TemporaryDirectory {
public:
    TemporaryDirectory() {
        std::string pattern = (fs::temp_directory_path() / "ostradb-demo-XXXXXX").string();
        std::vector<char> name(pattern.begin(), pattern.end());
        name.push_back('\0');
        if (!::mkdtemp(name.data())) throw CliError("cannot create a temporary directory");
        path_ = name.data();
        Interrupts().RemoveOnExit(path_);
    }
    ~TemporaryDirectory() {
        std::error_code ignored;
        fs::remove_all(path_, ignored);
        Interrupts().ForgetOnExit(path_);
    }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
    const fs::path& Path() const { return path_; }

private:
    fs::path path_;
};

// An argument as a shell would need it written.
std::string ShellWord(const std::string& word) {
    if (!word.empty() && word.find_first_of(" \t'\"$*?%<>|&;()\\,!#~") == std::string::npos)
        return word;
    std::string quoted = "'";
    for (const char c : word)
        quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

class Walkthrough {
public:
    explicit Walkthrough(Context&) : color_(::isatty(STDOUT_FILENO) == 1) {}

    // A numbered step: its title, the command line that does the same, then what it prints.
    template <class Action>
    void Step(const std::string& title, const std::vector<std::string>& args, Action action) {
        std::string line = "$ ostradb";
        for (const std::string& arg : args)
            line += " " + ShellWord(arg);
        std::cout << '\n'
                  << Bold(std::to_string(++step_) + ". " + title) << '\n'
                  << Dim(line) << '\n'
                  << std::flush;
        action();
        std::cout << std::flush;
    }
    void Say(const std::string& text) { std::cout << text << '\n' << std::flush; }
    std::string Bold(const std::string& text) const {
        return color_ ? "\033[1m" + text + "\033[0m" : text;
    }
    std::string Dim(const std::string& text) const {
        return color_ ? "\033[36m" + text + "\033[0m" : text;
    }

private:
    bool color_;
    int step_ = 0;
};

std::string ReadAll(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

// This program's own file, or an empty path where the system does not tell.
fs::path ThisProgram() {
    std::error_code ec;
    fs::path self = fs::read_symlink("/proc/self/exe", ec);
    return ec ? fs::path() : self;
}

// How a shell in the current directory calls a program: a relative path where there is one.
std::string CommandFor(const fs::path& program) {
    std::error_code ec;
    const fs::path shown = fs::relative(program, fs::current_path(), ec);
    if (ec || shown.empty()) return program.string();
    return shown.has_parent_path() ? shown.string() : "./" + shown.string();
}

// How to start the sandbox program: beside this program in a build tree or an installation.
std::string SandboxProgram() {
    const fs::path self = ThisProgram();
    if (self.empty()) return "ostradb-sandbox";
    std::error_code ec;
    for (const fs::path& candidate : {self.parent_path() / "../sandbox/ostradb-sandbox",
                                      self.parent_path() / "ostradb-sandbox"}) {
        const fs::path found = fs::canonical(candidate, ec);
        if (!ec) return CommandFor(found);
    }
    return "ostradb-sandbox";
}

// How to call this client: its name when its folder is on PATH.
std::string ClientProgram() {
    const fs::path self = ThisProgram();
    if (self.empty()) return "ostradb";
    const char* path = std::getenv("PATH");
    std::string_view dirs = path ? path : "";
    std::error_code ec;
    while (!dirs.empty()) {
        const std::size_t end = std::min(dirs.find(':'), dirs.size());
        if (fs::equivalent(fs::path(dirs.substr(0, end)), self.parent_path(), ec)) return "ostradb";
        dirs.remove_prefix(std::min(end + 1, dirs.size()));
    }
    return CommandFor(self);
}

void RunDemo(Context& ctx) {
    const fs::path sample = sandbox::SandboxServer::FindSampleData();
    if (sample.empty())
        throw CliError(
            "the sandbox's sample data set is not found (run ostradb from its build "
            "tree or its installation)");
    TemporaryDirectory temp;
    const fs::path data = temp.Path() / "data";
    const fs::path downloads = temp.Path() / "downloads";
    fs::create_directories(downloads);

    ctx.Doing("starting the sandbox");
    sandbox::SandboxOptions options;
    options.dataDir = data;
    options.sampleDir = sample;
    sandbox::SandboxServer server(options);
    server.Start();

    ctx.fixedConnection = ConnectOptions{
        .host = "127.0.0.1", .port = server.Port(), .user = "admin", .password = "admin"};
    ctx.options.output = {};
    ctx.progressSummary = true;
    const std::string port = std::to_string(server.Port());

    Walkthrough walk(ctx);
    walk.Say(walk.Bold("ostradb demo") +
             ": a sandbox server runs inside this process on 127.0.0.1:" + port +
             ",\nover a copy of the sample data in " + data.string() + ".\n" +
             "Each step shows the command line that does the same against a server of your own.");

    const std::string well = (data / "databases/west-siberia/Северное/N105-2/ГИС 2021").string();
    const std::string file = well + "/N105-2_gis_2021.ws";
    const std::string copy = well + "/N105-2_gis_2021_copy.ws";

    walk.Step(
        "The server's version (the client logs in first: admin, password from "
        "$OSTRADB_PASSWORD)",
        {"version"}, [&] { RunVersion(ctx); });
    walk.Step("The databases and the levels they are organised by", {"databases", "--structures"},
              [&] { RunDatabases(ctx, true); });
    walk.Step("The structure of one database", {"structure", kDatabase},
              [&] { RunStructure(ctx, kDatabase); });
    walk.Step("The levels of a database: its fields", {"levels", kDatabase},
              [&] { RunLevels(ctx, kDatabase, {}); });
    walk.Step("One level down: the wells of a field", {"levels", kDatabase, "Северное"},
              [&] { RunLevels(ctx, kDatabase, {"Северное"}); });
    walk.Step(
        "The files of well 12 under a filter: logging surveys only (sorted by well and "
        "survey)",
        {"files", kDatabase, "Северное", "12", "--filter", "%survey -> ГИС*"}, [&] {
            RunFiles(ctx, FilesArgs{kDatabase, {"Северное", "12"}, {"%survey -> ГИС*"}, ""});
        });
    walk.Step("The curves of one file", {"curves", file}, [&] { RunCurves(ctx, {file}, {}); });
    walk.Step("A search: the files a logging crew recorded, in every database",
              {"search", "all", "Оператор=Партия 13"},
              [&] { RunSearch(ctx, "all", {"Оператор=Партия 13"}, ""); });

    // The sandbox paces this one answer, so that the progress bar has time to move.
    sandbox::FaultSwitches pace;
    pace.segmentSize = 48 * 1024;
    pace.segmentPause = 40ms;
    pace.command = "get_file_contents";
    pace.times = 1;
    server.SetFaults(pace);
    walk.Step(
        "A download, with its progress bar (written to a temporary name, renamed when "
        "complete)",
        {"get", file, "-o", downloads.string()}, [&] { RunGet(ctx, file, downloads.string()); });
    server.ClearFaults();

    const fs::path local = downloads / fs::path(file).filename();
    walk.Step("An upload: the downloaded bytes as a new file", {"put", copy, local.string()},
              [&] { RunPut(ctx, copy, local.string()); });
    walk.Step("Its check: the new file exists", {"exists", copy}, [&] { RunExists(ctx, copy); });
    const fs::path back = downloads / "copy-read-back.ws";
    walk.Step("and reads back with the same bytes", {"get", copy, "-o", back.string()}, [&] {
        RunGet(ctx, copy, back.string());
        const bool same = ReadAll(back) == ReadAll(local);
        walk.Say(same ? "same bytes as the original: yes" : "same bytes as the original: NO");
        if (!same) throw CliError("the uploaded file reads back differently");
    });
    walk.Step("The users, their groups and rights", {"users"}, [&] { RunUsersList(ctx); });

    ctx.CloseClient();
    server.Stop();
    walk.Say("\n" + walk.Bold("Your turn.") +
             " Start a sandbox of your own (a copy of the sample data is made in the\n"
             "data directory when it is empty), and point the client at it:\n\n"
             "  " +
             SandboxProgram() +
             " --data /tmp/sandbox-data --port 22344 &\n"
             "  export OSTRADB_HOST=127.0.0.1 OSTRADB_PORT=22344 OSTRADB_USER=admin "
             "OSTRADB_PASSWORD=admin\n"
             "  " +
             ClientProgram() +
             " databases\n"
             "  " +
             ClientProgram() +
             " --help\n\n"
             "Without OSTRADB_PASSWORD the client asks for the password on the terminal.");
}

}  // namespace

void AddDemoCommand(CLI::App& app, Context& ctx) {
    CLI::App* demo = app.add_subcommand(
        "demo", "Walk through the client against a sandbox server started inside this process");
    demo->footer(
        "Needs no server, no network and no settings: the sandbox runs on a free loopback port\n"
        "over a temporary copy of the sample data, which is removed at the end.");
    ctx.SetAction(demo, [&ctx] { RunDemo(ctx); });
}

}  // namespace ostradb::cli
