#pragma once

// Framing of the packet stream, apart from any socket: bytes go in as they arrive, whole
// packets come out. A packet's text ends with "</packet>" CR LF; whatever follows the end is
// kept for the next packet or for the binary payload announced by the packet. Used by the
// client for answers and by servers for requests.

#include <cstddef>
#include <string>
#include <string_view>

namespace ostradb {

inline constexpr std::string_view kPacketTerminator = "</packet>\r\n";

class PacketReader {
public:
    // Generous enough for any real answer (catalogs of whole databases) while keeping a
    // server that never ends a packet from exhausting memory.
    static constexpr std::size_t kDefaultMaxPacketSize = std::size_t{256} << 20;

    explicit PacketReader(std::size_t maxPacketSize = kDefaultMaxPacketSize)
        : maxPacketSize_(maxPacketSize) {}

    std::size_t MaxPacketSize() const { return maxPacketSize_; }
    void SetMaxPacketSize(std::size_t size) { maxPacketSize_ = size; }

    // Appends bytes received from the peer.
    void Feed(std::string_view bytes);
    // Room for up to n more bytes at the end of the buffer, for reading straight into it;
    // Commit(k) then makes the first k of them part of the buffer.
    char* Prepare(std::size_t n);
    void Commit(std::size_t n);

    // Moves the next whole packet (through its terminator) into packet and returns true; false
    // when the buffered bytes hold no terminator yet. Raises Error when they already exceed
    // MaxPacketSize without one.
    bool Next(std::string& packet);
    // For answers read as they arrive rather than whole: the buffered bytes of the current
    // packet that are sure to precede its end go to part (consumed; valid until the next
    // Feed, Prepare or Clear); returns true when part ends with the terminator. The cap does
    // not apply here: such a reader holds no whole packet and bounds what it holds itself.
    bool NextPart(std::string_view& part);

    // Bytes buffered past the last packet handed out: the start of a payload or of the next
    // packet.
    std::string_view Pending() const { return {buffer_.data() + start_, buffer_.size() - start_}; }
    // Drops the first n pending bytes (they were consumed as payload).
    void Consume(std::size_t n);
    void Clear();

private:
    void Compact();
    [[noreturn]] void TooLong() const;

    std::string buffer_;
    std::size_t start_ = 0;    // first byte not yet handed out
    std::size_t scanned_ = 0;  // bytes from start_ known to hold no complete terminator
    std::size_t prepared_ = 0;
    std::size_t maxPacketSize_;
};

}  // namespace ostradb
