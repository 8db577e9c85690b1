// The exchange of one request: the packet is written, packets are read until the final
// answer ("info" packets go to OnInfo), the server's demand to log in again is met by a
// login and a resend, and a payload announced by the answer is streamed to the caller.

#include <algorithm>
#include <istream>
#include <memory>
#include <ostream>
#include <thread>
#include <utility>

#include "ostradb/protocol/ostradb_protocol.hpp"
#include "ostradb/serial/xml.hpp"
#include "ostradb/util/numbers.hpp"
#include "protocol/connection.hpp"
#include "protocol/packet_reader.hpp"
#include "protocol/scope_exit.hpp"
#include "protocol/wire.hpp"

namespace ostradb {

namespace {

// Payloads move through a buffer of this size, never whole.
constexpr std::size_t kChunkSize = std::size_t{256} << 10;
// Answer packets are read in pieces of this size.
constexpr std::size_t kReadSize = std::size_t{64} << 10;

constexpr std::uint8_t kInfoState = 255;

// The caller's stream to send broke off; the connection itself is fine.
class StreamError : public Error {
public:
    using Error::Error;
};

}  // namespace

void TOstraDbProtocol::CreatePacketXml(const std::string& Command, pugi::xml_document& Doc,
                                       pugi::xml_node& CommandNode) {
    SetDecimalSeparator('.');
    pugi::xml_node packet = xml::NewDocument(Doc, wire::kEncoding, "packet");
    xml::SetAttr(packet, "version", "1");
    CommandNode = packet.append_child("command");
    xml::SetAttr(CommandNode, "cmd", Command);
}

void TOstraDbProtocol::SetBoolXmlAttr(pugi::xml_node Node, const char* Name, bool Value) {
    xml::SetBoolXmlAttr(Node, Name, Value);
}

void TOstraDbProtocol::SendXmlAndReadAnswer(pugi::xml_document& RequestDoc,
                                            pugi::xml_document& AnswerDoc,
                                            pugi::xml_node& AnswerNode, std::istream* Stream,
                                            std::ostream* OutStream) {
    if (Stream) {
        Stream->clear();
        Stream->seekg(0, std::ios::end);
        const std::streamoff size = Stream->tellg();
        if (!*Stream || size < 0) throw Error("The data to send cannot tell its size");
        Stream->seekg(0);
        xml::SetAttr(RequestDoc.document_element(), "bin_data_size",
                     static_cast<std::int64_t>(size));
    }
    std::string answer;
    SendCommand(xml::ToText(RequestDoc, true, "\r\n"), Stream, answer, AnswerDoc, OutStream);
    AnswerNode = xml::Child(AnswerDoc.document_element(), "answer");
}

std::int32_t TOstraDbProtocol::SendCmdToServer(std::string_view PacketText) {
    FAnswer.clear();
    pugi::xml_document doc;
    SendCommand(PacketText, nullptr, FAnswer, doc, nullptr);
    return 0;
}

void TOstraDbProtocol::Trace(bool request, std::string_view text) const {
    if (!packetTrace_) return;
    if (request)
        packetTrace_(true, wire::MaskPassword(text));
    else
        packetTrace_(false, text);
}

void TOstraDbProtocol::SendPacket(std::string_view packet, std::istream* stream) {
    connection_->WriteAll(packet.data(), packet.size());
    if (!stream) return;
    stream->clear();
    stream->seekg(0, std::ios::end);
    const std::streamoff size = stream->tellg();
    stream->seekg(0);
    auto buffer = std::make_unique<char[]>(kChunkSize);
    std::streamoff sent = 0;
    while (*stream) {
        stream->read(buffer.get(), static_cast<std::streamsize>(kChunkSize));
        const auto n = static_cast<std::size_t>(stream->gcount());
        if (stream->bad()) throw StreamError("Reading the data to send failed");
        if (n > 0) connection_->WriteAll(buffer.get(), n);
        sent += static_cast<std::streamoff>(n);
    }
    // The server waits for every byte announced; a stream that ends early is broken.
    if (sent < size)
        throw StreamError("The data to send ended after " + std::to_string(sent) + " of " +
                          std::to_string(size) + " bytes");
}

void TOstraDbProtocol::SendCommand(std::string_view PacketText, std::istream* Stream,
                                   std::string& Answer, pugi::xml_document& AnswerDoc,
                                   std::ostream* OutStream) {
    // A list command's answer is read as it arrives; nothing this request calls out to
    // (a new login) shares it.
    detail::AnswerSink* const sink = std::exchange(answerSink_, nullptr);
    // A character that the wire cannot carry is refused before anything changes.
    const std::string packet = wire::EncodeText(PacketText);

    // One request at a time. Only the thread let in by mayEnter_ (a re-login, a command with
    // progress) passes while another runs; every request closes that door again for what it
    // calls out to (OnInfo, the login dialog's requests).
    const bool savedBusy = FBusy.exchange(true);
    if (savedBusy && mayEnter_.load() != std::this_thread::get_id())
        throw TOstraClientSocketException(ecProtocolBusy, "Protocol is busy");
    const std::thread::id savedMayEnter = mayEnter_.exchange(std::thread::id());
    detail::ScopeExit restore([&] {
        mayEnter_ = savedMayEnter;
        FBusy = savedBusy;
    });
    connection_->ClearTerminated();
    FLoginCanceled = false;
    std::uint8_t state = 0;
    PacketReader rest(maxAnswerSize_);

    // A failure of reading or writing: raises when terminated, shows the message and returns
    // false when the connection is still up (the exchange goes on), returns true when the
    // connection is gone (reconnect and resend).
    auto mayRecover = [&](const std::string& message) {
        if (connection_->Terminated()) throw TTerminatedExeption();
        if (Connected()) {
            ShowMessage(message);
            return false;
        }
        return true;
    };
    auto send = [&] {
        Trace(true, PacketText);
        SendPacket(packet, Stream);
    };
    auto readPacket = [&](std::string& bytes) {
        if (sink) return ReadStreamedPacket(rest, *sink, AnswerDoc, false);
        try {
            while (!rest.Next(bytes)) {
                char* room = rest.Prepare(kReadSize);
                rest.Commit(connection_->ReadSome(room, kReadSize));
            }
        } catch (const ESocketError&) {
            throw;
        } catch (const Error&) {
            // The packet outgrew the cap: the stream cannot be framed any more.
            Disconnect();
            throw;
        }
    };

    try {
        // A new host or port takes effect with this request.
        if (FNeedReconnect) {
            FNeedReconnect = false;
            Disconnect();
            Connect();
        }
        std::string bytes;
        do {
            // The request goes out, unless the last packet was a progress report: the server
            // is already working on it.
            if (state != kInfoState) {
                bool again = false;
                try {
                    send();
                } catch (const ETimeoutError&) {
                    throw;
                } catch (const ESocketError& e) {
                    again = mayRecover(e.what());
                } catch (const StreamError& e) {
                    again = mayRecover(e.what());
                }
                if (again) {
                    Connect();
                    send();
                }
            }

            // The next whole packet, from the bytes left over by the last read first.
            try {
                readPacket(bytes);
            } catch (const ETimeoutError&) {
                throw;
            } catch (const ESocketError& e) {
                if (mayRecover(e.what())) {
                    // A job the server has reported progress on must not run twice, and a new
                    // connection would never see its answer: the outcome stays unknown.
                    if (state == kInfoState)
                        throw ESocketError(
                            "The connection was lost while the server was working on the "
                            "request; its outcome is unknown (" +
                            std::string(e.what()) + ")");
                    Connect();
                    send();
                    rest.Clear();
                    readPacket(bytes);
                } else if (sink) {
                    ReadStreamedPacket(rest, *sink, AnswerDoc, true);
                } else {
                    bytes.assign(rest.Pending());
                    rest.Clear();
                }
            }

            // The packet's text, decoded from the wire's code page and parsed (a streamed
            // answer is parsed by now).
            if (!sink) {
                Answer = wire::DecodeText(bytes);
                Trace(false, Answer);
                wire::ParsePacket(Answer, AnswerDoc);
            }
            const pugi::xml_node root = AnswerDoc.document_element();

            // A progress report goes to OnInfo; the final answer is still to come.
            if (xml::AttrView(root, "type") == "info") {
                if (OnInfo) {
                    try {
                        OnInfo(*this, root);
                    } catch (...) {
                        // A failing progress handler must not break the request.
                    }
                }
                state = kInfoState;
                continue;
            }

            // An error answer raises, except code 27: the server asks for a new login, after
            // which the request is sent again.
            const pugi::xml_node error = xml::Child(root, "error");
            if (xml::HasAttr(error, "code")) {
                state = static_cast<std::uint8_t>(xml::AttrInt(error, "code"));
                if (state != ecNotLoggedIn || loggingIn_)
                    throw TOstraClientSocketException(state, xml::Attr(error, "text"));
                {
                    mayEnter_ = std::this_thread::get_id();
                    detail::ScopeExit close([&] { mayEnter_ = std::thread::id(); });
                    Login({}, {});
                }
                if (FLoginCanceled) return;
            } else {
                state = 0;
            }

            // A payload announced by the answer follows it; what arrived with the packet goes
            // first.
            if (xml::HasAttr(root, "bin_data_size"))
                ReceivePayload(rest, xml::AttrInt64(root, "bin_data_size"), OutStream);
        } while (state != 0);
    } catch (const ESocketError&) {
        if (connection_->Terminated()) throw TTerminatedExeption();
        throw;
    }
}

void TOstraDbProtocol::ReceivePayload(PacketReader& rest, std::int64_t size, std::ostream* out) {
    if (size < 0)
        throw Error("The server announced a payload of " + std::to_string(size) + " bytes");
    auto write = [&](const char* data, std::size_t n) {
        if (!out || n == 0) return;
        out->write(data, static_cast<std::streamsize>(n));
        if (!*out) throw Error("Writing the server's data to the stream failed");
    };
    const std::string_view early = rest.Pending();
    write(early.data(), early.size());
    std::int64_t remaining = size - static_cast<std::int64_t>(early.size());
    rest.Clear();
    if (remaining <= 0) return;

    auto buffer = std::make_unique<char[]>(kChunkSize);
    try {
        while (remaining > 0) {
            const auto want =
                static_cast<std::size_t>(std::min<std::int64_t>(remaining, kChunkSize));
            const std::size_t n = connection_->ReadSome(buffer.get(), want);
            write(buffer.get(), n);
            remaining -= static_cast<std::int64_t>(n);
        }
    } catch (const ETimeoutError&) {
        throw;
    } catch (const ESocketError& e) {
        if (connection_->Terminated()) throw TTerminatedExeption();
        throw ESocketError(std::string(e.what()) + " (" + std::to_string(size - remaining) +
                           " of " + std::to_string(size) + " bytes of data received)");
    }
}

}  // namespace ostradb
