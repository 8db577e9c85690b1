// The exchange's reading of a list command's answer: packet by packet as for any answer,
// but each packet fed to the answer reader as its bytes arrive instead of being held whole.

#include "ostradb/protocol/ostradb_protocol.hpp"
#include "protocol/answer_stream.hpp"
#include "protocol/connection.hpp"
#include "protocol/packet_reader.hpp"
#include "protocol/wire.hpp"

namespace ostradb {

namespace {

// Reads from the connection in pieces of this size.
constexpr std::size_t kPieceSize = std::size_t{64} << 10;

}  // namespace

void TOstraDbProtocol::ReadStreamedPacket(PacketReader& rest, detail::AnswerSink& sink,
                                          pugi::xml_document& doc, bool pendingOnly) {
    detail::AnswerReader reader(&sink, maxAnswerSize_);
    std::string traced;  // the packet's bytes, kept only for a trace
    bool last = false;
    try {
        for (;;) {
            std::string_view part;
            last = rest.NextPart(part);
            if (pendingOnly && !last) {
                part = rest.Pending();
                last = true;
            }
            if (packetTrace_) traced.append(part);
            reader.Feed(part);
            if (last) break;
            char* room = rest.Prepare(kPieceSize);
            rest.Commit(connection_->ReadSome(room, kPieceSize));
        }
        if (pendingOnly) rest.Clear();
        if (packetTrace_) Trace(false, wire::DecodeText(traced));
        reader.Finish(doc);
    } catch (const ESocketError&) {
        throw;
    } catch (...) {
        if (!last) SkipPacket(rest);
        throw;
    }
}

void TOstraDbProtocol::SkipPacket(PacketReader& rest) {
    try {
        std::size_t skipped = 0;
        std::string_view part;
        while (!rest.NextPart(part)) {
            skipped += part.size();
            // A server that does not end its packet is not followed for ever.
            if (skipped > maxAnswerSize_) {
                Disconnect();
                return;
            }
            char* room = rest.Prepare(kPieceSize);
            rest.Commit(connection_->ReadSome(room, kPieceSize));
        }
    } catch (...) {
        Disconnect();
    }
}

}  // namespace ostradb
