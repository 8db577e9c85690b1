#include <atomic>
#include <iostream>
#include <mutex>

#include "ostradb/protocol/ostradb_protocol.hpp"
#include "ostradb/util/numbers.hpp"
#include "ostradb/util/string_list.hpp"
#include "ostradb/util/text.hpp"
#include "protocol/connection.hpp"
#include "protocol/packet_reader.hpp"

namespace ostradb {

TOstraDbProtocol::TOstraDbProtocol()
    : connection_(std::make_unique<detail::Connection>()),
      maxAnswerSize_(PacketReader::kDefaultMaxPacketSize),
      FUserRights{urView,         urChangeData,  urChangeLevels,
                  urChangeDbList, urAdminServer, urAdminUsers} {}

TOstraDbProtocol::~TOstraDbProtocol() = default;

void TOstraDbProtocol::SetHostPort(const std::string& Host, std::int32_t Port) {
    if (Host != host_ || Port != port_ || !Connected()) {
        FNeedReconnect = true;
        Disconnect();
    }
    host_ = Host;
    port_ = Port;
}

void TOstraDbProtocol::Connect() {
    if (Connected() && !FNeedReconnect) return;
    Disconnect();
    try {
        if (port_ < 1 || port_ > 65535) throw ESocketError("port out of range");
        connection_->Open(host_, static_cast<std::uint16_t>(port_),
                          std::chrono::milliseconds(connectTimeout_));
    } catch (const ESocketError& e) {
        throw EConnectError("Невозможно подключится к серверу OstraDB на компьютере \"" + host_ +
                            "\".\nВозможно, компьютер отключен или на нём не запущен OstraDB (" +
                            e.what() + ")");
    }
}

void TOstraDbProtocol::Disconnect() {
    connection_->Close();
}

bool TOstraDbProtocol::Connected() const {
    return connection_->IsOpen();
}

bool TOstraDbProtocol::GetTerminated() const {
    return connection_->Terminated();
}

void TOstraDbProtocol::Terminate() {
    connection_->Terminate();
}

void TOstraDbProtocol::SetReadTimeout(std::chrono::milliseconds Timeout) {
    readTimeout_ = Timeout;
    connection_->SetTimeouts(readTimeout_, writeTimeout_);
}

void TOstraDbProtocol::SetWriteTimeout(std::chrono::milliseconds Timeout) {
    writeTimeout_ = Timeout;
    connection_->SetTimeouts(readTimeout_, writeTimeout_);
}

namespace {

// Cuts prefix off text when text starts with it in any letter case.
bool CutPrefix(std::string& text, std::string_view prefix) {
    if (!StartsText(prefix, text)) return false;
    text.erase(0, prefix.size());
    return true;
}

// The text before the first "/" of text, removed with that "/". Without a "/" nothing is
// taken and only the first character (all bytes of its UTF-8 form) is removed.
std::string CutField(std::string& text) {
    const std::size_t slash = text.find('/');
    if (slash == std::string::npos) {
        std::size_t n = text.empty() ? 0 : 1;
        while (n < text.size() && (static_cast<unsigned char>(text[n]) & 0xC0) == 0x80)
            ++n;
        text.erase(0, n);
        return {};
    }
    std::string field = text.substr(0, slash);
    text.erase(0, slash + 1);
    return field;
}

}  // namespace

std::string TOstraDbProtocol::CheckFileName(const std::string& Name) {
    std::string result = Name;
    std::int32_t port = kDefaultPort;
    std::string host;
    CutPrefix(result, "WSTP://");
    CutPrefix(result, "DIRECT:");
    if (CutPrefix(result, "/HOST:")) host = CutField(result);
    if (CutPrefix(result, "/PORT:")) port = StrToIntDef(CutField(result), kDefaultPort);
    if (!host.empty()) SetHostPort(host, port);
    return result;
}

void TOstraDbProtocol::CheckFileNames(TStringList& List) {
    for (int i = 0; i < List.Count(); ++i)
        List[i] = CheckFileName(List[i]);
}

void TOstraDbProtocol::ShowMessage(const std::string& text) {
    if (messageBox_)
        messageBox_(text);
    else
        std::cerr << text << std::endl;
}

namespace {
std::once_flag instanceOnce;
std::unique_ptr<TOstraDbProtocol> instance;
std::atomic<bool> instanceCreated{false};
}  // namespace

TOstraDbProtocol& OstraDbProtocol() {
    // pugixml needs no registration; the instance lives until the process exits.
    std::call_once(instanceOnce, [] {
        instance = std::make_unique<TOstraDbProtocol>();
        instanceCreated.store(true);
    });
    return *instance;
}

bool OstraDbProtocolInitialized() {
    return instanceCreated.load();
}

}  // namespace ostradb
