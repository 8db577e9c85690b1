#include "connection.hpp"

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstring>
#include <memory>

#include "command_context.hpp"
#include "commands.hpp"
#include "ostradb/serial/xml.hpp"
#include "ostradb/util/exceptions.hpp"
#include "protocol/packet_reader.hpp"
#include "protocol/wire.hpp"

namespace ostradb::sandbox {

namespace {

// Requests are small: their text is read in small pieces.
constexpr std::size_t kReadSize = std::size_t{16} << 10;
constexpr std::size_t kChunkSize = std::size_t{256} << 10;

// The payload a packet announces, found in its raw text: for packets that do not parse, so
// that their payload can still be skipped.
std::uint64_t DeclaredPayload(std::string_view packet) {
    const std::size_t at = packet.find("bin_data_size");
    if (at == std::string_view::npos) return 0;
    std::size_t i = at + 13;
    while (i < packet.size() &&
           (packet[i] == ' ' || packet[i] == '=' || packet[i] == '"' || packet[i] == '\''))
        ++i;
    std::uint64_t size = 0;
    std::from_chars(packet.data() + i, packet.data() + packet.size(), size);
    return size;
}

bool ParseSize(std::string_view text, std::uint64_t& size) {
    const auto result = std::from_chars(text.data(), text.data() + text.size(), size);
    return result.ec == std::errc() && result.ptr == text.data() + text.size() && !text.empty();
}

// The packet's bytes on the wire. Its text must end with the closing tag and CR LF, which is
// what frames it: a root written as an empty element tag would run into the next packet.
std::string PacketBytes(const pugi::xml_document& doc) {
    std::string bytes = wire::EncodePacket(doc);
    if (!bytes.ends_with(kPacketTerminator))
        throw std::logic_error("an answer without its closing tag");
    return bytes;
}

pugi::xml_node NewPacket(pugi::xml_document& doc) {
    return xml::NewDocument(doc, wire::kEncoding, "packet");
}

void SetError(pugi::xml_document& doc, std::uint8_t code, const std::string& text) {
    pugi::xml_node root = NewPacket(doc);
    pugi::xml_node error = root.append_child("error");
    error.append_attribute("code") = code;
    error.append_attribute("text") = text.c_str();
}

// The request's payload, read from the bytes that came with the packet first.
class SocketPayload : public RequestPayload {
public:
    SocketPayload(PacketReader& reader, SocketIo& io, std::uint64_t size, std::int64_t dropAfter)
        : reader_(reader), io_(io), size_(size), remaining_(size), dropAfter_(dropAfter) {}

    std::uint64_t Size() const override { return size_; }

    std::size_t Read(char* data, std::size_t size) override {
        if (remaining_ == 0) return 0;
        std::uint64_t limit = std::min<std::uint64_t>(size, remaining_);
        if (dropAfter_ >= 0) {
            const auto allowed = static_cast<std::uint64_t>(dropAfter_);
            if (read_ >= allowed)
                throw ConnectionEnd("fault switch: closed after " + std::to_string(read_) +
                                    " bytes of the request's payload");
            limit = std::min(limit, allowed - read_);
        }
        std::size_t n = 0;
        const std::string_view pending = reader_.Pending();
        if (!pending.empty()) {
            n = static_cast<std::size_t>(std::min<std::uint64_t>(limit, pending.size()));
            std::memcpy(data, pending.data(), n);
            reader_.Consume(n);
        } else {
            n = io_.ReadSome(data, static_cast<std::size_t>(limit));
        }
        remaining_ -= n;
        read_ += n;
        return n;
    }

    void Drain() {
        if (remaining_ == 0) return;
        auto buffer = std::make_unique_for_overwrite<char[]>(kChunkSize);
        while (Read(buffer.get(), kChunkSize) > 0) {
        }
    }

private:
    PacketReader& reader_;
    SocketIo& io_;
    std::uint64_t size_;
    std::uint64_t remaining_;
    std::uint64_t read_ = 0;
    std::int64_t dropAfter_;
};

class Connection {
public:
    Connection(int fd, std::string peer, ServerContext& server)
        : server_(server),
          io_(fd, server.stop, server.options.idleTimeout, server.options.writeTimeout),
          reader_(server.options.maxPacketText) {
        session_.peer = std::move(peer);
    }

    // Until the connection ends; returns why it ended.
    std::string Serve() {
        try {
            for (;;) {
                std::string packet;
                while (!reader_.Next(packet)) {
                    char* room = reader_.Prepare(kReadSize);
                    reader_.Commit(io_.ReadSome(room, kReadSize));
                }
                Handle(packet);
            }
        } catch (const ConnectionEnd& e) {
            return e.what();
        } catch (const std::exception& e) {
            // The packet reader's cap, or something unforeseen: this connection only.
            return e.what();
        }
    }

private:
    void Handle(const std::string& packet) {
        pugi::xml_document request;
        std::string parseError;
        try {
            xml::Parse(request, wire::DecodeText(packet));
        } catch (const std::exception& e) {
            parseError = e.what();
        }
        const pugi::xml_node root = request.document_element();
        const bool parsed = parseError.empty() && root;

        std::uint64_t payloadSize = 0;
        bool sizeOk = true;
        if (!parsed) {
            payloadSize = DeclaredPayload(packet);
        } else if (const pugi::xml_attribute size = root.attribute("bin_data_size")) {
            sizeOk = ParseSize(size.value(), payloadSize);
        }
        if (payloadSize > server_.options.maxPayload)
            throw ConnectionEnd("the request announced " + std::to_string(payloadSize) +
                                " bytes of data, over the cap of " +
                                std::to_string(server_.options.maxPayload));

        const pugi::xml_node command = root.child("command");
        const std::string cmd = command.attribute("cmd").as_string();
        const std::optional<FaultSwitches> faults = server_.faults.Take(cmd);
        SocketPayload payload(reader_, io_, payloadSize,
                              faults ? faults->dropAfterRequestPayloadBytes : -1);

        pugi::xml_document answer;
        std::unique_ptr<AnswerFile> file;
        try {
            if (!parsed)
                throw CommandError(ecXmlTagsMissing,
                                   DbErrCodeToString(ecXmlTagsMissing) + ": " +
                                       (parseError.empty() ? "no root element" : parseError));
            if (!sizeOk) throw Refusal(ecWrongArguments, "bin_data_size");
            if (std::string_view(root.name()) != "packet" || cmd.empty())
                throw Refusal(ecXmlTagsMissing, "packet/command/@cmd");
            file = Dispatch(cmd, command, answer, payload);
        } catch (const CommandError& e) {
            file.reset();
            answer.reset();
            SetError(answer, e.Code(), e.what());
            if (e.Code() != ecNotLoggedIn) {
                server_.store.Log().Add(kLogError, session_.user, session_.peer,
                                        (cmd.empty() ? "?" : cmd) + ": " + e.what());
                server_.Event(session_.peer + " " + (cmd.empty() ? "?" : cmd) + ": error " +
                              std::to_string(e.Code()) + " " + e.what());
            }
        } catch (const ConnectionEnd&) {
            throw;
        } catch (const std::exception& e) {
            file.reset();
            answer.reset();
            const std::string text = DbErrCodeToString(ecInternalError) + ": " + e.what();
            SetError(answer, ecInternalError, text);
            server_.store.Log().Add(kLogError, session_.user, session_.peer, cmd + ": " + text);
            server_.Event(session_.peer + " " + cmd + ": " + text);
        }
        payload.Drain();
        Send(answer, file.get(), faults ? &*faults : nullptr);
    }

    std::unique_ptr<AnswerFile> Dispatch(const std::string& cmd, pugi::xml_node command,
                                         pugi::xml_document& answer, SocketPayload& payload) {
        const auto timeout = server_.options.sessionTimeout;
        if (session_.LoggedIn() && timeout.count() > 0 &&
            std::chrono::steady_clock::now() - session_.loginTime >= timeout) {
            server_.Event(session_.peer + " session of " + session_.user + " expired");
            session_.LogOut();
        }
        const CommandEntry* entry = FindCommand(cmd);
        if (!entry) {
            if (!session_.LoggedIn()) throw CommandError(ecNotLoggedIn);
            throw Refusal(ecCommandNotFound, cmd);
        }
        if (entry->needsLogin && !session_.LoggedIn()) throw CommandError(ecNotLoggedIn);
        if ((session_.rights & entry->rights) != entry->rights) throw CommandError(ecAccessDenied);

        pugi::xml_node root = NewPacket(answer);
        CommandContext ctx(
            command, root.append_child("answer"), session_, server_.store, server_.options, payload,
            [this](const pugi::xml_document& info) { io_.WriteAll(PacketBytes(info)); });
        entry->handler(ctx);
        if (ctx.answerFile)
            root.append_attribute("bin_data_size") =
                static_cast<unsigned long long>(ctx.answerFile->Size());
        return std::move(ctx.answerFile);
    }

    void Send(pugi::xml_document& answer, AnswerFile* file, const FaultSwitches* faults) {
        std::string bytes;
        try {
            bytes = PacketBytes(answer);
        } catch (const EEncodingError& e) {
            // A name on disk that the wire cannot carry.
            answer.reset();
            SetError(answer, ecInternalError, DbErrCodeToString(ecInternalError) + ": " + e.what());
            bytes = PacketBytes(answer);
            file = nullptr;
        }
        if (faults) {
            if (faults->malformedAnswer) {
                bytes = wire::EncodeText(
                    "<?xml version=\"1.0\" encoding=\"Windows-1251\"?>\r\n"
                    "<packet><answer result=\"1\"></packet>\r\n");
                file = nullptr;
            }
            if (faults->answerDelay.count() > 0 && !server_.stop.SleepFor(faults->answerDelay))
                throw ConnectionEnd("the server stops");
        }
        std::int64_t allowance = faults ? faults->dropAfterAnswerBytes : -1;
        Write(bytes.data(), bytes.size(), allowance, faults, "of the answer");
        if (!file) return;

        allowance = faults ? faults->dropAfterPayloadBytes : -1;
        auto buffer = std::make_unique_for_overwrite<char[]>(kChunkSize);
        std::uint64_t left = file->Size();
        while (left > 0) {
            const ssize_t n =
                ::read(file->Fd(), buffer.get(),
                       static_cast<std::size_t>(std::min<std::uint64_t>(left, kChunkSize)));
            if (n < 0 && errno == EINTR) continue;
            // The size is already announced: a file that shrank meanwhile cannot be answered.
            if (n <= 0) throw ConnectionEnd("the file to send shrank while it was sent");
            Write(buffer.get(), static_cast<std::size_t>(n), allowance, faults,
                  "of the answer's data");
            left -= static_cast<std::uint64_t>(n);
        }
    }

    // Writes through the fault switches: in segments, and cut off after allowance bytes.
    void Write(const char* data, std::size_t size, std::int64_t& allowance,
               const FaultSwitches* faults, const char* what) {
        bool cut = false;
        if (allowance >= 0 && static_cast<std::uint64_t>(allowance) < size) {
            size = static_cast<std::size_t>(allowance);
            cut = true;
        }
        if (allowance >= 0) allowance -= static_cast<std::int64_t>(size);
        const std::size_t segment = faults && faults->segmentSize > 0 ? faults->segmentSize : size;
        for (std::size_t done = 0; done < size;) {
            const std::size_t n = std::min(segment, size - done);
            io_.WriteAll(data + done, n);
            done += n;
            if (faults && faults->segmentSize > 0 && done < size &&
                !server_.stop.SleepFor(faults->segmentPause))
                throw ConnectionEnd("the server stops");
        }
        if (cut)
            throw ConnectionEnd(std::string("fault switch: closed after the first bytes ") + what);
    }

    ServerContext& server_;
    SocketIo io_;
    PacketReader reader_;
    Session session_;
};

}  // namespace

void FaultState::Set(FaultSwitches switches) {
    std::lock_guard lock(mutex_);
    if (switches.times == 0)
        switches_.reset();
    else
        switches_ = std::move(switches);
}

void FaultState::Clear() {
    std::lock_guard lock(mutex_);
    switches_.reset();
}

std::optional<FaultSwitches> FaultState::Take(std::string_view command) {
    std::lock_guard lock(mutex_);
    if (!switches_ || (!switches_->command.empty() && switches_->command != command))
        return std::nullopt;
    FaultSwitches taken = *switches_;
    if (switches_->times > 0 && --switches_->times == 0) switches_.reset();
    return taken;
}

void ServeConnection(int fd, std::string peer, ServerContext& server) {
    std::string reason;
    {
        Connection connection(fd, peer, server);
        reason = connection.Serve();
    }
    ::close(fd);
    server.Event(peer + " disconnected: " + reason);
}

}  // namespace ostradb::sandbox
