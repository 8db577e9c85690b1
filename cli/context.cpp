#include "context.hpp"

#include <iostream>

#include "interrupt.hpp"
#include "terminal.hpp"

namespace ostradb::cli {

namespace {

// The user name and password the library asks for, typed on the terminal.
std::optional<std::string> AskOnTerminal(const Prompt& prompt) {
    if (!prompt.refusal.empty()) std::cerr << "ostradb: login refused: " << prompt.refusal << '\n';
    return prompt.secret ? ReadHiddenLine(prompt.text) : ReadLine(prompt.text);
}

// Every packet, a line at a time, marked "> " when sent and "< " when received.
void PrintPacket(bool request, std::string_view text) {
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

}  // namespace

ConnectOptions Context::Connection() const {
    if (fixedConnection) return *fixedConnection;
    const ConnectionFlags& flags = options.connection;
    ConnectOptions connect{
        .host = flags.host, .port = flags.port, .user = flags.user, .timeout = flags.timeout};
    if (!flags.service.empty()) connect.service = flags.service;
    // Nobody can type a password without a terminal: what is missing is then an error.
    if (StdinIsTerminal() && !quiet) connect.prompt = AskOnTerminal;
    connect.on_warning = [quiet = quiet](const std::string& text) {
        if (!quiet) std::cerr << "ostradb: " << text << '\n';
    };
    return connect;
}

ostradb::Client& Context::Client() {
    if (!client_) {
        ostradb::Client& client = client_.emplace(Connection());
        client.set_trace([trace = options.trace](bool request, std::string_view text) {
            // Every request passes here before it is sent: the place to stop after an
            // interrupt that came between two requests.
            if (request) Interrupts().ThrowIfInterrupted();
            if (trace) PrintPacket(request, text);
        });
        Interrupts().SetClient(&client);
        const std::string saved = doing_;
        doing_ = "logging in to " + client.host() + ":" + std::to_string(client.port());
        try {
            client.login();
        } catch (...) {
            CloseClient();
            throw;
        }
        doing_ = saved;
    }
    return *client_;
}

void Context::CloseClient() {
    Interrupts().SetClient(nullptr);
    client_.reset();
}

void Context::SetAction(const CLI::App* command, std::function<void()> action) {
    actions_[command] = std::move(action);
}

const std::function<void()>* Context::ActionFor(const CLI::App* command) const {
    const auto it = actions_.find(command);
    return it == actions_.end() ? nullptr : &it->second;
}

}  // namespace ostradb::cli
