#include "connection.hpp"

#include <charconv>
#include <cstdlib>
#include <iostream>

#include "errors.hpp"
#include "interrupt.hpp"
#include "ostradb/protocol/connection_settings.hpp"
#include "terminal.hpp"

namespace ostradb::cli {

namespace {

std::optional<std::string> Env(const char* name) {
    const char* value = std::getenv(name);
    if (!value) return std::nullopt;
    return std::string(value);
}

std::int32_t ParsePort(std::string_view text, std::string_view source) {
    std::int32_t port = 0;
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), port);
    if (ec != std::errc() || end != text.data() + text.size() || port < 1 || port > 65535)
        throw UsageError(std::string(source) + ": not a port number: \"" + std::string(text) +
                         "\"");
    return port;
}

}  // namespace

Target ResolveTarget(const ConnectionFlags& flags) {
    Target target;
    std::optional<std::string> host = flags.host.empty() ? Env("OSTRADB_HOST") : flags.host;
    if (host && host->empty()) host.reset();
    std::optional<std::int32_t> port;
    if (flags.port != 0) {
        port = flags.port;
    } else if (const auto text = Env("OSTRADB_PORT"); text && !text->empty()) {
        port = ParsePort(*text, "OSTRADB_PORT");
    }

    TConnectionSettings& stored = ConnSettings();
    if (!host || !port) {
        stored.Load();
        if (!host) host = stored.GetServer();
        if (!port) port = stored.Port;
    }
    // File names built from database paths ask the settings whether the server is local.
    stored.Local = false;
    stored.Server = *host;
    stored.Port = *port;

    target.host = *host;
    target.port = *port;
    target.user = flags.user.empty() ? Env("OSTRADB_USER").value_or("") : flags.user;
    target.password = Env("OSTRADB_PASSWORD");
    return target;
}

std::int64_t AnnouncedPayloadSize(std::string_view text) {
    const std::size_t root = text.find("<packet");
    if (root == std::string_view::npos) return -1;
    const std::string_view tag = text.substr(root, text.find('>', root) - root);
    constexpr std::string_view kAttr = "bin_data_size=\"";
    const std::size_t at = tag.find(kAttr);
    if (at == std::string_view::npos) return -1;
    const std::string_view digits = tag.substr(at + kAttr.size());
    std::int64_t size = -1;
    std::from_chars(digits.data(), digits.data() + digits.size(), size);
    return size;
}

Session::Session(Target target, bool trace) : target_(std::move(target)), trace_(trace) {
    client_.SetHostPort(target_.host, target_.port);
    client_.SetPacketTrace([this](bool request, std::string_view text) { Trace(request, text); });
    client_.SetMessageBox(
        [](const std::string& text) { std::cerr << "ostradb: " << text << '\n'; });
    Interrupts().SetClient(&client_);
}

Session::~Session() {
    Interrupts().SetClient(nullptr);
}

void Session::Open() {
    client_.Connect();

    const bool interactive = StdinIsTerminal();
    if (target_.user.empty()) {
        if (!interactive) throw UsageError("no user name: give -U/--user or set OSTRADB_USER");
        const auto user = ReadLine("User on " + target_.host + ": ");
        if (!user || user->empty()) throw CliError("no user name given");
        target_.user = *user;
    }
    std::string password;
    if (target_.password) {
        password = *target_.password;
    } else {
        if (!interactive)
            throw UsageError("no password: set OSTRADB_PASSWORD, or run on a terminal to be asked");
        const auto typed =
            ReadHiddenLine("Password for " + target_.user + "@" + target_.host + ": ");
        if (!typed) throw CliError("no password given");
        password = *typed;
        // A refused password is asked again, as long as the user is there to type it.
        client_.SetLoginDialog(
            [this](TOstraDbProtocol&, TLoginDialogData& data) { return AskAgain(data); });
    }
    if (!client_.Login(target_.user, password)) throw CliError("login cancelled");
}

ELoginDialogResult Session::AskAgain(TLoginDialogData& data) {
    // The first showing carries what the user already typed (or what the session remembers
    // when the server asks for a new login later).
    if (data.Attempt == 1) return ldrOk;
    std::cerr << "ostradb: login refused: " << data.Message << '\n';
    const auto typed = ReadHiddenLine("Password for " + data.User + "@" + target_.host + ": ");
    if (!typed) return ldrCancel;
    data.Password = *typed;
    return ldrOk;
}

void Session::Trace(bool request, std::string_view text) {
    // Every request passes here before it is sent: the place to stop after an interrupt
    // that came between two requests.
    if (request) Interrupts().ThrowIfInterrupted();
    if (trace_) {
        const char* mark = request ? "> " : "< ";
        std::string out;
        std::size_t start = 0;
        while (start < text.size()) {
            std::size_t end = text.find('\n', start);
            if (end == std::string_view::npos) end = text.size();
            std::string_view line = text.substr(start, end - start);
            if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
            if (!line.empty()) out.append(mark).append(line).append("\n");
            start = end + 1;
        }
        std::cerr << out << std::flush;
    }
    if (!request && payloadListener_) {
        const std::int64_t size = AnnouncedPayloadSize(text);
        if (size >= 0) payloadListener_(size);
    }
}

}  // namespace ostradb::cli
