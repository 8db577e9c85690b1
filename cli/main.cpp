// ostradb: the command-line client of the well-logging database server.

#include <CLI/CLI.hpp>
#ifdef __GLIBC__
#include <malloc.h>
#endif

#include <iostream>

#include "commands.hpp"
#include "context.hpp"
#include "errors.hpp"
#include "interrupt.hpp"

namespace {

using namespace ostradb::cli;

void AddGlobalOptions(CLI::App& app, GlobalOptions& options) {
    // -h names the host, as in other database shells; help is --help alone.
    app.set_help_flag("--help", "Print this help and exit");
    app.set_version_flag("--version", "ostradb " OSTRADB_VERSION, "Print the version and exit");
    app.add_option("-h,--host", options.connection.host,
                   "server host (default: $OSTRADB_HOST, then the -s connection's, then the stored "
                   "settings, then localhost)")
        ->type_name("HOST")
        ->group("Connection");
    app.add_option("-p,--port", options.connection.port,
                   "server port (default: $OSTRADB_PORT, then the -s connection's, then the "
                   "stored settings, then 22344)")
        ->check(CLI::Range(1, 65535))
        ->type_name("PORT")
        ->group("Connection");
    app.add_option("-U,--user", options.connection.user,
                   "user name (default: $OSTRADB_USER, then the -s connection's)")
        ->type_name("NAME")
        ->group("Connection");
    app.add_option("-s,--service", options.connection.service,
                   "take host, port and user from the section NAME of "
                   "~/.config/ostradb/servers.ini where flags and environment leave them open")
        ->type_name("NAME")
        ->group("Connection");
    app.add_option("--timeout", options.connection.timeout,
                   "give up when the server stays silent this long (connecting, answering, "
                   "taking data); 0: never (default: $OSTRADB_TIMEOUT, else 300: long enough for "
                   "a search or statistics over a large database, which report nothing while "
                   "they run; the progress reports of server jobs count as answers)")
        ->check(CLI::NonNegativeNumber)
        ->type_name("SECONDS")
        ->group("Connection");
    std::vector<std::string> formats;
    for (const auto& [name, format] : FormatsByName())
        formats.push_back(name);
    CLI::Option* format =
        app.add_option_function<std::string>(
               "--format",
               [&options](const std::string& name) {
                   for (const auto& [known, format] : FormatsByName())
                       if (known == name) options.output.format = format;
               },
               "how listings are printed: table (aligned, for people), csv, tsv or json (one "
               "document); other commands print their usual line, or JSON")
            ->check(CLI::IsMember(formats))
            ->type_name("FORMAT")
            ->group("Output");
    app.add_flag_callback(
           "--json", [&options] { options.output.format = Format::json; },
           "the same as --format json")
        ->excludes(format)
        ->group("Output");
    app.add_flag_callback(
           "--no-header", [&options] { options.output.header = false; },
           "leave out the header row of tables, CSV and TSV")
        ->group("Output");
    app.add_flag("--trace", options.trace,
                 "print every packet sent (>) and received (<) on standard error; the password "
                 "digest is masked")
        ->group("Output");
}

// The subcommand the command line selected, deepest first ("users add").
CLI::App* Selected(CLI::App& app) {
    CLI::App* current = &app;
    for (;;) {
        const auto chosen = current->get_subcommands();
        if (chosen.empty()) return current;
        current = chosen.front();
    }
}

// The help of a command with the whole command line in its usage ("ostradb users add"). The
// formatter is called directly: App::help would show the selected subcommand's help instead.
std::string HelpOf(const CLI::App& command) {
    return command.get_formatter()->make_help(&command, CommandLineOf(command),
                                              CLI::AppFormatMode::Normal);
}

int Run(int argc, char** argv) {
    Context ctx;
    CLI::App app("Command-line client of the well-logging database server.", "ostradb");
    AddGlobalOptions(app, ctx.options);
    app.require_subcommand(1);
    app.fallthrough();
    app.footer(
        "The password comes from $OSTRADB_PASSWORD, the password file\n"
        "(~/.config/ostradb/passwords or $OSTRADB_PASSFILE: lines host:port:user:password,\n"
        "* for any value, readable by its owner only) or, on a terminal, from a prompt; never\n"
        "from the command line. Exit status: 0 done, 1 failed (the server refused, or cannot\n"
        "be reached, or did not answer in time), 2 wrong usage, 130 interrupted.\n"
        "Start with:  ostradb demo");
    AddServerCommands(app, ctx);
    AddCatalogCommands(app, ctx);
    AddFileCommands(app, ctx);
    AddWellCommands(app, ctx);
    AddAdminCommands(app, ctx);
    AddDemoCommand(app, ctx);
    AddCompletionCommands(app, ctx);
    // What the build gives help2man to make the manual page of.
    app.add_flag_callback("--help-man",
                          [&app] {
                              std::cout << ManualText(app);
                              throw CLI::Success();
                          })
        ->group("");

    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp& e) {
        return app.exit(e);
    } catch (const CLI::CallForAllHelp& e) {
        return app.exit(e);
    } catch (const CLI::CallForVersion& e) {
        return app.exit(e);
    } catch (const CLI::Success& e) {
        return app.exit(e);
    } catch (const CLI::ParseError& e) {
        CLI::App* where = Selected(app);
        std::string message = e.what();
        // A wrong value of a connection or output option is the program's usage, not the
        // subcommand's.
        const std::size_t end = message.find_first_of(": ");
        if (end != std::string::npos && app.get_option_no_throw(message.substr(0, end)))
            where = &app;
        // An unknown word where a subcommand belongs is left over, not a missing subcommand.
        if (where == &app && !app.remaining().empty())
            message = "unknown subcommand \"" + app.remaining().front() + "\"";
        std::cerr << "ostradb: " << message << "\n\n" << HelpOf(*where);
        return kExitUsage;
    }

    CLI::App* command = Selected(app);
    const std::function<void()>* action = ctx.ActionFor(command);
    if (!action) {
        std::cerr << HelpOf(*command);
        return kExitUsage;
    }
    try {
        (*action)();
        ctx.CloseClient();
        return Interrupts().Interrupted() ? kExitInterrupted : kExitOk;
    } catch (...) {
        const int status = ReportCurrentException(ctx.Doing());
        ctx.CloseClient();
        return status;
    }
}

}  // namespace

int main(int argc, char** argv) {
#ifdef __GLIBC__
    // A listing of a million files frees millions of small blocks. glibc keeps such blocks
    // apart ("fast bins") and merges them all at the next large allocation or free, which
    // then takes half a second; without fast bins each block is merged as it is freed.
    mallopt(M_MXFAST, 0);
#endif
    // Before any other thread exists, so that every thread inherits the blocked signals.
    Interrupts().Start();
    const int status = Run(argc, argv);
    Interrupts().Stop();
    return status;
}
