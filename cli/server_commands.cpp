// version and raw: the server's version, and a packet of the user's own.

#include <CLI/CLI.hpp>

#include <iostream>
#include <iterator>

#include "commands.hpp"
#include "errors.hpp"
#include "output.hpp"

namespace ostradb::cli {

namespace {

// A command element alone is wrapped in a packet; the exchange wants the text to end with
// "</packet>" and a line break.
std::string CompletePacket(std::string text) {
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r' || text.back() == ' '))
        text.pop_back();
    std::size_t start = text.find_first_not_of(" \t\r\n");
    if (start == std::string::npos) throw UsageError("raw: the packet is empty");
    text.erase(0, start);
    if (text.starts_with("<command")) text = "<packet version=\"1\">" + text + "</packet>";
    if (!text.ends_with("</packet>"))
        throw UsageError("raw: a packet is \"<packet ...>...</packet>\" or a \"<command .../>\"");
    return text + "\r\n";
}

void RunRaw(Context& ctx, const std::string& packet) {
    std::string text = packet;
    if (packet == "-") text.assign(std::istreambuf_iterator<char>(std::cin), {});
    text = CompletePacket(std::move(text));
    TOstraDbProtocol& client = ctx.Client();
    ctx.Doing("sending the packet");
    client.SendCmdToServer(text);
    std::string answer = client.GetAnswer();
    std::erase(answer, '\r');
    if (ctx.Json()) {
        PrintJson(Json{{"answer", answer}});
    } else {
        std::cout << answer;
        if (!answer.empty() && answer.back() != '\n') std::cout << '\n';
    }
}

}  // namespace

void RunVersion(Context& ctx) {
    TOstraDbProtocol& client = ctx.Client();
    ctx.Doing("asking for the server's version");
    TServerVersion version;
    client.GetServerVersion(version);
    const Target& target = ctx.GetSession().GetTarget();
    if (ctx.Json()) {
        PrintJson(Json{{"client", OSTRADB_VERSION},
                       {"server", version.ToString()},
                       {"host", target.host},
                       {"port", target.port}});
        return;
    }
    std::cout << "client  " << OSTRADB_VERSION << '\n'
              << "server  " << version.ToString() << " at " << target.host << ':' << target.port
              << '\n';
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
