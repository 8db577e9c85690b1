// get, put, exists, rm and mv: the files the server stores.

#include <CLI/CLI.hpp>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <iterator>
#include <memory>
#include <sstream>

#include "commands.hpp"
#include "errors.hpp"
#include "output.hpp"
#include "output_file.hpp"
#include "progress.hpp"
#include "terminal.hpp"

namespace ostradb::cli {

namespace fs = std::filesystem;

namespace {

// The last part of a server file name, whichever separator it uses.
std::string BaseName(const std::string& name) {
    const std::size_t slash = name.find_last_of("/\\");
    return slash == std::string::npos ? name : name.substr(slash + 1);
}

// Tells the progress bar the size the server's answer announces, for one transfer.
class PayloadSizeToBar {
public:
    PayloadSizeToBar(Session& session, ProgressBar& bar) : session_(session) {
        session_.SetPayloadListener([&bar](std::int64_t size) { bar.SetTotal(size); });
    }
    ~PayloadSizeToBar() { session_.SetPayloadListener({}); }
    PayloadSizeToBar(const PayloadSizeToBar&) = delete;
    PayloadSizeToBar& operator=(const PayloadSizeToBar&) = delete;

private:
    Session& session_;
};

void RunRm(Context& ctx, const std::vector<std::string>& files) {
    TOstraDbProtocol& client = ctx.Client();
    ctx.Doing(files.size() == 1 ? "deleting \"" + files.front() + "\"" : "deleting files");
    TStringList names(files);
    TSimpleResultLog log;
    client.DeleteFiles(names, log);
    auto message = [](std::uint8_t code) {
        if (code == 0) return std::string("deleted");
        std::string text = DbErrCodeToString(static_cast<EOstraClientSocketExceptionCodes>(code));
        return (text.empty() ? std::string("failed") : text) + " (server code " +
               std::to_string(code) + ")";
    };
    if (ctx.Json()) {
        Json items = Json::array();
        for (const TSimpleResultLogRec& rec : log)
            items.push_back({{"file", rec.ItemName},
                             {"ok", rec.Result == 0},
                             {"code", rec.Result},
                             {"message", message(rec.Result)}});
        PrintJson(Json{{"results", std::move(items)}});
    } else {
        Table table({"file", "result"});
        for (const TSimpleResultLogRec& rec : log)
            table.AddRow({rec.ItemName, message(rec.Result)});
        table.Print();
    }
    if (log.ContainsErrors()) throw CliError("some files were not deleted");
}

void RunMv(Context& ctx, const std::string& source, const std::string& destination) {
    TOstraDbProtocol& client = ctx.Client();
    ctx.Doing("moving \"" + source + "\" to \"" + destination + "\"");
    client.MoveFile(source, destination);
    if (ctx.Json())
        PrintJson(Json{{"source", source}, {"destination", destination}});
    else
        std::cout << "moved \"" << source << "\" to \"" << destination << "\"\n";
}

}  // namespace

void RunGet(Context& ctx, const std::string& file, const std::string& out) {
    Session& session = ctx.GetSession();
    TOstraDbProtocol& client = session.Client();
    ctx.Doing("reading \"" + file + "\"");
    const bool toStdout = out.empty() || out == "-";
    fs::path target = out;
    if (!toStdout && fs::is_directory(target)) target /= BaseName(file);

    ProgressBar bar(BaseName(file), StderrIsTerminal(), ctx.progressSummary);
    const PayloadSizeToBar sizes(session, bar);
    std::int64_t bytes = 0;
    auto progress = [&](std::int64_t n) {
        bytes = n;
        bar.Update(n);
    };
    if (toStdout) {
        CountingOutBuf buffer(*std::cout.rdbuf(), progress);
        std::ostream stream(&buffer);
        client.GetFileContents(file, &stream);
        std::cout.flush();
    } else {
        AtomicOutputFile output(target);
        CountingOutBuf buffer(output.Buffer(), progress);
        std::ostream stream(&buffer);
        client.GetFileContents(file, &stream);
        ctx.Doing("saving \"" + target.string() + "\"");
        output.Commit();
    }
    bar.Finish();
    if (toStdout) return;
    if (ctx.Json())
        PrintJson(Json{{"file", file}, {"output", target.string()}, {"bytes", bytes}});
    else
        std::cout << bytes << " bytes written to " << target.string() << '\n';
}

void RunPut(Context& ctx, const std::string& file, const std::string& in) {
    Session& session = ctx.GetSession();
    TOstraDbProtocol& client = session.Client();
    const bool fromStdin = in.empty() || in == "-";
    // Standard input cannot be measured or rewound, so it is read whole first.
    std::stringbuf piped;
    std::filebuf opened;
    std::streambuf* source = &piped;
    std::int64_t size = 0;
    if (fromStdin) {
        const std::string data(std::istreambuf_iterator<char>(std::cin), {});
        size = static_cast<std::int64_t>(data.size());
        piped.str(data);
    } else {
        if (!opened.open(in, std::ios::in | std::ios::binary))
            throw CliError("cannot read \"" + in + "\": " + std::strerror(errno));
        std::error_code ec;
        size = static_cast<std::int64_t>(fs::file_size(in, ec));
        source = &opened;
    }

    ctx.Doing("writing \"" + file + "\"");
    ProgressBar bar(BaseName(file), StderrIsTerminal(), ctx.progressSummary);
    bar.SetTotal(size);
    CountingInBuf buffer(*source, [&](std::int64_t n) { bar.Update(n); });
    std::istream stream(&buffer);
    client.PutFileContents(file, &stream);
    bar.Finish();
    if (ctx.Json())
        PrintJson(Json{{"file", file}, {"bytes", size}});
    else
        std::cout << size << " bytes written to " << file << '\n';
}

void RunExists(Context& ctx, const std::string& file) {
    TOstraDbProtocol& client = ctx.Client();
    ctx.Doing("looking for \"" + file + "\"");
    const bool exists = client.FileExists(file);
    if (ctx.Json())
        PrintJson(Json{{"file", file}, {"exists", exists}});
    else
        std::cout << (exists ? "yes" : "no") << '\n';
}

void AddFileCommands(CLI::App& app, Context& ctx) {
    struct Transfer {
        std::string file;
        std::string local;
    };
    auto getArgs = std::make_shared<Transfer>();
    CLI::App* get = app.add_subcommand("get", "Download a file");
    get->add_option("FILE", getArgs->file, "the server's file name")->required();
    get->add_option("-o,--output", getArgs->local,
                    "where to save it (a file or a directory); standard output when not given");
    get->footer(
        "The download is written to a temporary file that is renamed only when complete.\n"
        "Examples:\n"
        "  ostradb get '/data/north-sea/Eastfield/N1/Logging 2016/N1_log_2016.ws' -o .\n"
        "  ostradb get \"$FILE\" | sha256sum");
    ctx.SetAction(get, [&ctx, getArgs] { RunGet(ctx, getArgs->file, getArgs->local); });

    auto putArgs = std::make_shared<Transfer>();
    CLI::App* put = app.add_subcommand("put", "Upload a file (creates or replaces it)");
    put->add_option("FILE", putArgs->file, "the server's file name")->required();
    put->add_option("IN", putArgs->local, "the local file; standard input when not given or -");
    put->footer(
        "Examples:\n"
        "  ostradb put '/data/north-sea/Eastfield/N1/Logging 2016/new.ws' new.ws\n"
        "  generate-well | ostradb put \"$FILE\"");
    ctx.SetAction(put, [&ctx, putArgs] { RunPut(ctx, putArgs->file, putArgs->local); });

    auto existsFile = std::make_shared<std::string>();
    CLI::App* exists = app.add_subcommand("exists", "Tell whether a file exists (yes or no)");
    exists->add_option("FILE", *existsFile, "the server's file name")->required();
    exists->footer("Example:\n  ostradb exists \"$FILE\" --json");
    ctx.SetAction(exists, [&ctx, existsFile] { RunExists(ctx, *existsFile); });

    auto rmFiles = std::make_shared<std::vector<std::string>>();
    CLI::App* rm = app.add_subcommand("rm", "Delete files");
    rm->add_option("FILE", *rmFiles, "the server's file names")->required();
    rm->footer(
        "Exits with status 1 when any file could not be deleted.\n"
        "Example:\n  ostradb rm \"$DIR/a.ws\" \"$DIR/b.ws\"");
    ctx.SetAction(rm, [&ctx, rmFiles] { RunRm(ctx, *rmFiles); });

    auto mvArgs = std::make_shared<Transfer>();
    CLI::App* mv = app.add_subcommand("mv", "Move or rename a file on the server");
    mv->add_option("SRC", mvArgs->file, "the file's name")->required();
    mv->add_option("DST", mvArgs->local, "its new name")->required();
    mv->footer("Example:\n  ostradb mv \"$DIR/a.ws\" \"$DIR/b.ws\"");
    ctx.SetAction(mv, [&ctx, mvArgs] { RunMv(ctx, mvArgs->file, mvArgs->local); });
}

}  // namespace ostradb::cli
