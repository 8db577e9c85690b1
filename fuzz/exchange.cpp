// Real commands against a server on 127.0.0.1 that answers every connection with the fuzz
// input and closes it: the exchange's own paths (info packets, the demand to log in again,
// payloads, a connection closed half-way, the reconnect) are reached only this way.

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>

#include "fuzz.hpp"
#include "ostradb/model/databases.hpp"
#include "ostradb/model/level_files.hpp"
#include "ostradb/model/trunks.hpp"
#include "ostradb/protocol/ostradb_protocol.hpp"
#include "ostradb/users/users.hpp"

namespace ostradb::fuzz {

namespace {

using namespace std::chrono_literals;

class AnswerServer {
public:
    AnswerServer() {
        listen_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in addr{};
        addr.sin_family = AF_INET;
        addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof addr;
        if (::bind(listen_, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0 ||
            ::listen(listen_, 4) != 0 ||
            ::getsockname(listen_, reinterpret_cast<sockaddr*>(&addr), &length) != 0) {
            std::perror("answer server");
            std::abort();
        }
        port_ = ntohs(addr.sin_port);
        std::thread([this] { Loop(); }).detach();
    }

    std::uint16_t Port() const { return port_; }
    void SetAnswer(std::string_view bytes) {
        std::lock_guard lock(mutex_);
        answer_.assign(bytes);
        answered_ = 0;
    }

private:
    // A unit's commands need a few connections (a reconnect, a login); later ones are closed
    // unanswered, so that a client that keeps reconnecting to a server that sends only "info"
    // packets still ends its unit.
    static constexpr int kAnswersPerUnit = 8;

    [[noreturn]] void Loop() {
        for (;;) {
            const int fd = ::accept4(listen_, nullptr, nullptr, SOCK_CLOEXEC);
            if (fd < 0) continue;
            Serve(fd);
            ::close(fd);
        }
    }

    // The answer goes out at once, whatever the client sends (a client that reconnects after
    // an info packet sends nothing); the connection is then half closed and read until the
    // client closes it, so that no unread request turns the close into a reset that could
    // overtake the answer.
    void Serve(int fd) {
        std::string answer;
        {
            std::lock_guard lock(mutex_);
            if (++answered_ > kAnswersPerUnit) return;
            answer = answer_;
        }
        for (std::size_t sent = 0; sent < answer.size();) {
            const ssize_t n = ::send(fd, answer.data() + sent, answer.size() - sent, MSG_NOSIGNAL);
            if (n <= 0) return;
            sent += static_cast<std::size_t>(n);
        }
        ::shutdown(fd, SHUT_WR);
        char buffer[16384];
        pollfd p{fd, POLLIN, 0};
        while (::poll(&p, 1, 2000) > 0 && ::recv(fd, buffer, sizeof buffer, 0) > 0) {
        }
    }

    int listen_ = -1;
    std::uint16_t port_ = 0;
    std::mutex mutex_;
    std::string answer_;
    int answered_ = 0;
};

// A stream of size bytes to upload.
std::istringstream Upload(std::size_t size) {
    return std::istringstream(std::string(size, 'u'));
}

}  // namespace

// The first byte picks the command; the rest is what the server answers.
void Exchange(std::string_view input) {
    // Both live for the whole run: the server's thread never ends.
    static AnswerServer& server = *new AnswerServer;
    static TOstraDbProtocol& client = []() -> TOstraDbProtocol& {
        auto* c = new TOstraDbProtocol;
        c->SetHostPort("127.0.0.1", server.Port());
        c->SetConnectTimeout(2000);
        c->SetReadTimeout(2s);
        c->SetWriteTimeout(2s);
        c->SetMaxAnswerSize(1 << 20);
        c->SetMessageBox([](const std::string&) {});
        return *c;
    }();
    if (input.empty()) return;
    const unsigned char command = static_cast<unsigned char>(input[0]);
    server.SetAnswer(input.substr(1));

    TStringList files{"WSTP://DIRECT:/HOST:127.0.0.1//PORT:" + std::to_string(server.Port()) +
                      "/a.ws"};
    try {
        switch (command % 10) {
            case 0: {
                TServerVersion version;
                client.GetServerVersion(version);
                break;
            }
            case 1: {
                TDatabasesList list;
                client.RequestDatabasesListEx(list, true);
                break;
            }
            case 2: {
                TLevelFilesList list;
                client.RequestFiles(list, 1, {1, 2}, {rffInclTables, rffInclCurves}, "");
                break;
            }
            case 3: {
                std::ostringstream out;
                client.GetFileContents(files[0], &out);
                break;
            }
            case 4: {
                std::istringstream data = Upload(command & 0x80 ? 300000 : 100);
                client.PutFileContents("a.ws", &data);
                break;
            }
            case 5: {
                TUmData data;
                client.GetUmData(data);
                break;
            }
            case 6: {
                TLevelsList levels;
                client.RequestLevelsList(1, {1}, true, true, true, nullptr, levels);
                break;
            }
            case 7: {
                TCurvesList curves;
                client.GetCurvesList(files, {}, TCurvesListOpts::FromMask(0x3FF), curves);
                break;
            }
            case 8:
                client.ReloadBadFilesWithProgress(1, [](TOstraDbProtocol&, pugi::xml_node) {});
                break;
            case 9: {
                TTrunkList trunks;
                client.GetTrunkObjectsForFiles(files, trunks);
                break;
            }
        }
    } catch (const Error&) {
        // Refused: what matters is what follows.
    }
    FUZZ_CHECK(!client.GetBusy());
    FUZZ_CHECK(client.GetHost() == "127.0.0.1" && client.GetPort() == server.Port());
    client.Disconnect();
}

}  // namespace ostradb::fuzz
