// get, put, exists, rm and mv: the files the server stores.

#include <CLI/CLI.hpp>

#include <filesystem>
#include <iostream>
#include <memory>

#include "commands.hpp"
#include "errors.hpp"
#include "interrupt.hpp"
#include "ostradb/client/atomic_file.hpp"
#include "ostradb/util/file_names.hpp"
#include "output.hpp"
#include "progress.hpp"
#include "terminal.hpp"

namespace ostradb::cli {

namespace fs = std::filesystem;

namespace {

// Registers a temporary file for removal should an interrupt have to end the process before
// the command unwinds.
class RemovedOnForcedExit {
public:
    explicit RemovedOnForcedExit(fs::path path) : path_(std::move(path)) {
        Interrupts().RemoveOnExit(path_);
    }
    ~RemovedOnForcedExit() { Interrupts().ForgetOnExit(path_); }
    RemovedOnForcedExit(const RemovedOnForcedExit&) = delete;
    RemovedOnForcedExit& operator=(const RemovedOnForcedExit&) = delete;

private:
    fs::path path_;
};

void RunRm(Context& ctx, const std::vector<std::string>& files) {
    ostradb::Client& client = ctx.Client();
    ctx.Doing(files.size() == 1 ? "deleting \"" + files.front() + "\"" : "deleting files");
    const std::vector<FileResult> results = client.remove(files);
    PrintListing(
        ctx.Output(),
        [&] {
            Json items = Json::array();
            for (const FileResult& r : results)
                items.push_back(
                    {{"file", r.file}, {"ok", r.ok}, {"code", r.code}, {"message", r.message}});
            return Json{{"results", std::move(items)}};
        },
        [&] {
            Table table({"file", "result"});
            for (const FileResult& r : results)
                table.AddRow({r.file, r.message});
            return table;
        });
    for (const FileResult& r : results)
        if (!r.ok) throw CliError("some files were not deleted");
}

void RunMv(Context& ctx, const std::string& source, const std::string& destination) {
    ostradb::Client& client = ctx.Client();
    ctx.Doing("moving \"" + source + "\" to \"" + destination + "\"");
    client.move(source, destination);
    if (ctx.Json())
        PrintJson(Json{{"source", source}, {"destination", destination}});
    else
        std::cout << "moved \"" << source << "\" to \"" << destination << "\"\n";
}

}  // namespace

void RunGet(Context& ctx, const std::string& file, const std::string& out) {
    ostradb::Client& client = ctx.Client();
    ctx.Doing("reading \"" + file + "\"");
    ProgressBar bar(ExtractFileName(file), StderrIsTerminal(), ctx.progressSummary);
    auto progress = [&](std::int64_t done, std::int64_t total) { bar.Report(done, total); };
    if (out.empty() || out == "-") {
        client.get(file, std::cout, progress);
        bar.Finish();
        return;
    }
    AtomicFile output(ostradb::Client::download_path(file, out));
    const RemovedOnForcedExit temporary(output.temporary_path());
    const std::int64_t bytes = client.get(file, output.stream(), progress);
    ctx.Doing("saving \"" + output.target().string() + "\"");
    output.commit();
    bar.Finish();
    if (ctx.Json())
        PrintJson(Json{{"file", file}, {"output", output.target().string()}, {"bytes", bytes}});
    else
        std::cout << bytes << " bytes written to " << output.target().string() << '\n';
}

void RunPut(Context& ctx, const std::string& file, const std::string& in) {
    ostradb::Client& client = ctx.Client();
    ctx.Doing("writing \"" + file + "\"");
    ProgressBar bar(ExtractFileName(file), StderrIsTerminal(), ctx.progressSummary);
    auto progress = [&](std::int64_t done, std::int64_t total) { bar.Report(done, total); };
    const std::int64_t size = in.empty() || in == "-" ? client.put(file, std::cin, progress)
                                                      : client.put(file, fs::path(in), progress);
    bar.Finish();
    if (ctx.Json())
        PrintJson(Json{{"file", file}, {"bytes", size}});
    else
        std::cout << size << " bytes written to " << file << '\n';
}

void RunExists(Context& ctx, const std::string& file) {
    ostradb::Client& client = ctx.Client();
    ctx.Doing("looking for \"" + file + "\"");
    const bool exists = client.exists(file);
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
                    "where to save it (a file or a directory); standard output when not given")
        ->type_name("PATH");
    get->footer(
        "The download is written to a temporary file that is renamed only when complete.\n"
        "Examples:\n"
        "  ostradb get '/data/north-sea/Eastfield/N1/Logging 2016/N1_log_2016.ws' -o .\n"
        "  ostradb get \"$FILE\" | sha256sum");
    ctx.SetAction(get, [&ctx, getArgs] { RunGet(ctx, getArgs->file, getArgs->local); });

    auto putArgs = std::make_shared<Transfer>();
    CLI::App* put = app.add_subcommand("put", "Upload a file (creates or replaces it)");
    put->add_option("FILE", putArgs->file, "the server's file name")->required();
    put->add_option("IN", putArgs->local, "the local file; standard input when not given or -")
        ->type_name("PATH");
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
