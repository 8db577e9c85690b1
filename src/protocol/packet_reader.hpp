#pragma once

// Framing of the packet stream, apart from any socket: bytes go in as they arrive, whole
// packets come out. A packet's text ends with "</packet>" CR LF; whatever follows the end is
// kept for the next packet or for the binary payload announced by the packet. Used by the
// client for answers and by servers for requests.

#include <cstddef>
#include <cstdlib>
#include <memory>
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
    // Commit(k) then makes the first k of them part of the buffer. While the pending bytes
    // stay within MaxPacketSize (Next refuses more), the buffer never grows past
    // MaxPacketSize + n.
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
    std::string_view Pending() const { return {buffer_.get() + start_, size_ - start_}; }
    // Drops the first n pending bytes (they were consumed as payload).
    void Consume(std::size_t n);
    void Clear();
    // Bytes allocated for the buffer.
    std::size_t Capacity() const { return capacity_; }

private:
    struct Free {
        void operator()(char* p) const { std::free(p); }
    };

    void Compact();
    [[noreturn]] void TooLong() const;

    // realloc rather than a container: growing a large buffer then remaps its pages instead
    // of holding the old and the new copy at once, and growth is not rounded up to a power
    // of two past the cap.
    std::unique_ptr<char, Free> buffer_;
    std::size_t size_ = 0;
    std::size_t capacity_ = 0;
    std::size_t start_ = 0;    // first byte not yet handed out
    std::size_t scanned_ = 0;  // bytes from start_ known to hold no complete terminator
    std::size_t prepared_ = 0;
    std::size_t maxPacketSize_;
};

}  // namespace ostradb
