// version and raw: the server's version, and a packet of the user's own.

#include <CLI/CLI.hpp>

#include <iostream>
#include <iterator>

#include "commands.hpp"
#include "output.hpp"

namespace ostradb::cli {

namespace {

void RunRaw(Context& ctx, const std::string& packet) {
    std::string text = packet;
    if (packet == "-") text.assign(std::istreambuf_iterator<char>(std::cin), {});
    ostradb::Client& client = ctx.Client();
    ctx.Doing("sending the packet");
    const std::string answer = client.raw(text);
    if (ctx.Json()) {
        PrintJson(Json{{"answer", answer}});
    } else {
        std::cout << answer;
        if (!answer.empty() && answer.back() != '\n') std::cout << '\n';
    }
}

}  // namespace

void RunVersion(Context& ctx) {
    ostradb::Client& client = ctx.Client();
    ctx.Doing("asking for the server's version");
    const std::string version = client.version();
    if (ctx.Json()) {
        PrintJson(Json{{"client", OSTRADB_VERSION},
                       {"server", version},
                       {"host", client.host()},
                       {"port", client.port()}});
        return;
    }
    std::cout << "client  " << OSTRADB_VERSION << '\n'
              << "server  " << version << " at " << client.host() << ':' << client.port() << '\n';
}

void AddServerCommands(CLI::App& app, Context& ctx) {
    CLI::App* version = app.add_subcommand("version", "Show the client's and the server's version");
    version->footer("Example:\n  ostradb version -h db.example.org");
    ctx.SetAction(version, [&ctx] { RunVersion(ctx); });

    auto packet = std::make_shared<std::string>();
    CLI::App* raw = app.add_subcommand(
        "raw", "Send a packet of your own and print the server's answer as it came");
    raw->add_option("PACKET", *packet,
                    "the packet text, or a <command .../> element alone; - reads standard input")
        ->required();
    raw->footer(
        "Examples:\n"
        "  ostradb raw '<command cmd=\"get_server_version\"/>'\n"
        "  ostradb raw - < request.xml");
    ctx.SetAction(raw, [&ctx, packet] { RunRaw(ctx, *packet); });
}

}  // namespace ostradb::cli
