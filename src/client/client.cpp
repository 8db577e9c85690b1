// Connecting and logging in, the client's own state, and the server-wide calls.

#include "ostradb/client/client.hpp"

#include <chrono>
#include <cmath>
#include <limits>
#include <utility>

#include "client/session.hpp"
#include "ostradb/protocol/server_version.hpp"

namespace ostradb {

namespace {

using detail::ClientSession;

void ApplyTimeout(TOstraDbProtocol& p, double seconds) {
    const auto ms = std::chrono::milliseconds(static_cast<std::int64_t>(std::ceil(seconds * 1000)));
    p.SetReadTimeout(ms);
    p.SetWriteTimeout(ms);
    // Without a limit a connect still gives up after the library's own minute.
    if (ms.count() > 0)
        p.SetConnectTimeout(static_cast<std::int32_t>(
            std::min<std::int64_t>(ms.count(), std::numeric_limits<std::int32_t>::max())));
}

// The user and password that the options leave open, from the password file and the prompt;
// with a typed password, a refused one is asked again.
std::string Credentials(ClientSession& s) {
    const ConnectOptions& o = s.options;
    const std::string where = o.host + ":" + std::to_string(o.port);
    if (s.user.empty()) {
        if (!o.prompt)
            throw EArgumentError("no user name for " + where + ": give one, or set OSTRADB_USER");
        const auto user = o.prompt(Prompt{"User on " + o.host + ": ", false, {}});
        if (!user || user->empty()) throw Error("no user name given");
        s.user = *user;
    }
    if (o.password) return *o.password;
    if (auto stored = password_from_file(o.host, o.port, s.user, o.on_warning)) return *stored;
    if (!o.prompt)
        throw EArgumentError("no password for " + s.user + "@" + where +
                             ": give one, set OSTRADB_PASSWORD, or add a line to the password "
                             "file " +
                             password_file_path().string());
    const std::string promptText = "Password for " + s.user + "@" + o.host + ": ";
    const auto typed = o.prompt(Prompt{promptText, true, {}});
    if (!typed) throw Error("no password given");
    s.protocol.SetLoginDialog(
        [prompt = o.prompt, promptText](TOstraDbProtocol&, TLoginDialogData& data) {
            // The first showing carries what was typed (or, when the server asks for a new
            // login later, what the session remembers).
            if (data.Attempt == 1) return ldrOk;
            const auto again = prompt(Prompt{promptText, true, data.Message});
            if (!again) return ldrCancel;
            data.Password = *again;
            return ldrOk;
        });
    return *typed;
}

}  // namespace

Client::Client(Client&&) noexcept = default;
Client& Client::operator=(Client&&) noexcept = default;
Client::~Client() = default;

ClientSession& Client::session() {
    return const_cast<ClientSession&>(std::as_const(*this).session());
}

const ClientSession& Client::session() const {
    if (!session_) throw Error("the client was moved; it has no session any more");
    return *session_;
}

Client::Client(const ConnectOptions& options) : session_(std::make_unique<ClientSession>()) {
    ClientSession& s = *session_;
    s.options = resolve_connect_options(options);
    s.user = s.options.user;
    s.place.Server = s.options.host;
    s.place.Port = s.options.port;

    TOstraDbProtocol& p = s.protocol;
    p.SetHostPort(s.options.host, s.options.port);
    ApplyTimeout(p, *s.options.timeout);
    // Shown when the stream of a transfer broke off while the connection is up. Nobody is
    // there to read a message, and the server would wait for the rest of the payload: the
    // request ends with the reason (and the transfer resets the connection).
    p.SetMessageBox([](const std::string& text) { throw Error(text); });
    p.SetPacketTrace([session = &s](bool request, std::string_view text) {
        if (session->trace) session->trace(request, text);
        if (!request && session->payloadSize)
            if (const std::int64_t size = detail::AnnouncedPayloadSize(text); size >= 0)
                session->payloadSize(size);
    });
}

Client Client::connect(const ConnectOptions& options) {
    Client client(options);
    client.login();
    return client;
}

void Client::login() {
    ClientSession& s = session();
    detail::Run(s, [&] {
        // A server that is down fails before anybody is asked for a password.
        s.protocol.Connect();
        const std::string password = Credentials(s);
        if (!s.protocol.Login(s.user, password)) throw Error("login cancelled");
    });
}

const std::string& Client::host() const {
    return session().options.host;
}

std::int32_t Client::port() const {
    return session().options.port;
}

const std::string& Client::user() const {
    return session().user;
}

double Client::timeout() const {
    return *session().options.timeout;
}

TOstraDbProtocol& Client::protocol() {
    return session().protocol;
}

void Client::terminate() {
    if (session_) session_->protocol.Terminate();
}

void Client::set_trace(TraceCallback trace) {
    session().trace = std::move(trace);
}

std::string Client::version() {
    ClientSession& s = session();
    return detail::Run(s, [&] {
        TServerVersion version;
        s.protocol.GetServerVersion(version);
        return version.ToString();
    });
}

std::string Client::raw(const std::string& packet) {
    // A command element alone is wrapped in a packet; the exchange wants the text to end with
    // "</packet>" and a line break.
    std::string text = packet;
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r' || text.back() == ' '))
        text.pop_back();
    const std::size_t start = text.find_first_not_of(" \t\r\n");
    if (start == std::string::npos) throw EArgumentError("raw: the packet is empty");
    text.erase(0, start);
    if (text.starts_with("<command")) text = "<packet version=\"1\">" + text + "</packet>";
    if (!text.ends_with("</packet>"))
        throw EArgumentError(
            "raw: a packet is \"<packet ...>...</packet>\" or a \"<command .../>\"");
    text += "\r\n";

    ClientSession& s = session();
    return detail::Run(s, [&] {
        s.protocol.SendCmdToServer(text);
        std::string answer = s.protocol.GetAnswer();
        std::erase(answer, '\r');
        return answer;
    });
}

}  // namespace ostradb
