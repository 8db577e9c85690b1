#include "sandbox/sandbox_fixture.hpp"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "ostradb/util/exceptions.hpp"
#include "protocol/wire.hpp"

namespace ostradb::test {

std::map<std::string, std::string> Snapshot(const fs::path& root) {
    std::map<std::string, std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(root)) {
        const std::string name = entry.path().lexically_relative(root).generic_string();
        files[name] = entry.is_regular_file()
                          ? std::to_string(entry.file_size()) + ":" +
                                std::to_string(std::hash<std::string>{}(ReadFile(entry.path())))
                          : "dir";
    }
    return files;
}

Fill Attrs(std::vector<std::pair<std::string, std::string>> attrs) {
    return [attrs = std::move(attrs)](pugi::xml_node c) {
        for (const auto& [name, value] : attrs)
            c.append_attribute(name.c_str()) = value.c_str();
    };
}

Fill ItemList(std::string element, std::vector<std::string> values) {
    return [element = std::move(element), values = std::move(values)](pugi::xml_node c) {
        pugi::xml_node list = c.append_child(element.c_str());
        for (const std::string& v : values)
            list.append_child("Item").text() = v.c_str();
    };
}

// ---- RawClient --------------------------------------------------------------------------

RawClient::RawClient(std::uint16_t port, int receiveBuffer) {
    fd_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (receiveBuffer > 0)
        ::setsockopt(fd_, SOL_SOCKET, SO_RCVBUF, &receiveBuffer, sizeof receiveBuffer);
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_port = htons(port);
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::connect(fd_, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0)
        throw Error("RawClient cannot connect");
}

RawClient::~RawClient() {
    ::close(fd_);
}

void RawClient::Send(const std::string& text) {
    const std::string bytes = wire::EncodeText(text);
    for (std::size_t done = 0; done < bytes.size();) {
        const ssize_t n = ::send(fd_, bytes.data() + done, bytes.size() - done, MSG_NOSIGNAL);
        if (n <= 0) throw Error("RawClient cannot send");
        done += static_cast<std::size_t>(n);
    }
}

std::string RawClient::ReadPacket(std::chrono::milliseconds timeout) {
    for (;;) {
        const std::size_t end = rest_.find("</packet>\r\n");
        if (end != std::string::npos) {
            const std::string packet = rest_.substr(0, end + 11);
            rest_.erase(0, end + 11);
            return wire::DecodeText(packet);
        }
        pollfd p{fd_, POLLIN, 0};
        if (::poll(&p, 1, static_cast<int>(timeout.count())) <= 0)
            throw Error("RawClient: no answer");
        char buffer[65536];
        const ssize_t n = ::recv(fd_, buffer, sizeof buffer, 0);
        if (n <= 0) throw Error("RawClient: the server closed the connection");
        rest_.append(buffer, static_cast<std::size_t>(n));
    }
}

bool RawClient::ClosedByServer(std::chrono::milliseconds timeout) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    for (;;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0) return false;
        pollfd p{fd_, POLLIN, 0};
        if (::poll(&p, 1, static_cast<int>(left.count())) <= 0) return false;
        char buffer[65536];
        const ssize_t n = ::recv(fd_, buffer, sizeof buffer, 0);
        if (n <= 0) return true;
    }
}

// ---- SandboxTest ------------------------------------------------------------------------

void SandboxTest::StartServer(const std::function<void(sandbox::SandboxOptions&)>& adjust) {
    server.reset();
    sandbox::SandboxOptions options;
    options.dataDir = dataDir;
    // OSTRADB_SANDBOX_EVENTS=1 shows what the server saw, for a test that goes wrong.
    if (std::getenv("OSTRADB_SANDBOX_EVENTS"))
        options.eventLog = [](std::string_view line) {
            std::fprintf(stderr, "sandbox: %.*s\n", static_cast<int>(line.size()), line.data());
        };
    if (adjust) adjust(options);
    server = std::make_unique<sandbox::SandboxServer>(options);
    server->Start();
}

std::unique_ptr<TOstraDbProtocol> SandboxTest::Connect(const std::string& user,
                                                       const std::string& password) {
    auto client = std::make_unique<TOstraDbProtocol>();
    client->SetHostPort("127.0.0.1", server->Port());
    // A test that goes wrong fails instead of waiting for ever.
    client->SetReadTimeout(20s);
    client->SetMessageBox(
        [](const std::string& text) { ADD_FAILURE() << "message box: " << text; });
    if (!client->Login(user, password)) throw Error("login as " + user + " failed");
    return client;
}

detail::Answer SandboxTest::Call(TOstraDbProtocol& client, const std::string& cmd, const Fill& fill,
                                 std::istream* send, std::ostream* receive) {
    detail::Request req(client, cmd);
    if (fill) fill(req.command);
    return req.Exchange(send, receive);
}

int SandboxTest::ErrorCode(TOstraDbProtocol& client, const std::string& cmd, const Fill& fill,
                           std::istream* send) {
    try {
        Call(client, cmd, fill, send);
    } catch (const TOstraClientSocketException& e) {
        return e.Code;
    }
    return -1;
}

std::string SandboxTest::DbAttr(TOstraDbProtocol& client, const std::string& name,
                                const char* attr) {
    const detail::Answer ans = Call(client, "get_db_list");
    for (pugi::xml_node item : ans.answer.child("databases").children("item"))
        if (name == item.attribute("name").value()) return item.attribute(attr).value();
    throw Error("no database " + name);
}

std::string SandboxTest::GetContents(TOstraDbProtocol& client, const std::string& name) {
    std::ostringstream out;
    Call(client, "get_file_contents", Attrs({{"file_name", name}}), nullptr, &out);
    return out.str();
}

void SandboxTest::PutContents(TOstraDbProtocol& client, const std::string& name,
                              const std::string& bytes) {
    std::istringstream in(bytes);
    Call(client, "put_file_contents", Attrs({{"file_name", name}}), &in);
}

}  // namespace ostradb::test
