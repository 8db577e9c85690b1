#include "protocol/packet_reader.hpp"

#include <algorithm>
#include <cstring>
#include <new>

#include "ostradb/util/exceptions.hpp"

namespace ostradb {

void PacketReader::TooLong() const {
    throw Error("A packet exceeds " + std::to_string(maxPacketSize_) +
                " bytes without its end \"</packet>\"");
}

void PacketReader::Feed(std::string_view bytes) {
    if (bytes.empty()) return;
    std::memcpy(Prepare(bytes.size()), bytes.data(), bytes.size());
    Commit(bytes.size());
}

char* PacketReader::Prepare(std::size_t n) {
    Compact();
    const std::size_t needed = size_ + n;
    if (needed > capacity_) {
        // Doubling keeps appends cheap; near the cap it stops at what a packet of the
        // largest size accepted and one more read can need.
        const std::size_t grown = std::max(needed, std::min(2 * capacity_, maxPacketSize_ + n));
        char* p = static_cast<char*>(std::realloc(buffer_.get(), grown));
        if (!p) throw std::bad_alloc();
        buffer_.release();
        buffer_.reset(p);
        capacity_ = grown;
    }
    prepared_ = size_;
    return buffer_.get() + size_;
}

void PacketReader::Commit(std::size_t n) {
    size_ = prepared_ + n;
}

bool PacketReader::Next(std::string& packet) {
    const std::string_view pending = Pending();
    const std::size_t pos = pending.find(kPacketTerminator, scanned_);
    if (pos == std::string_view::npos) {
        // A terminator may straddle the end: rescan its possible start next time.
        if (pending.size() >= kPacketTerminator.size())
            scanned_ = pending.size() - kPacketTerminator.size() + 1;
        if (pending.size() > maxPacketSize_) TooLong();
        return false;
    }
    const std::size_t length = pos + kPacketTerminator.size();
    if (length > maxPacketSize_) TooLong();
    packet.assign(pending.data(), length);
    start_ += length;
    scanned_ = 0;
    return true;
}

bool PacketReader::NextPart(std::string_view& part) {
    const std::string_view pending = Pending();
    const std::size_t pos = pending.find(kPacketTerminator);
    std::size_t length = pending.size();
    if (pos != std::string_view::npos)
        length = pos + kPacketTerminator.size();
    else if (length >= kPacketTerminator.size())
        length -= kPacketTerminator.size() - 1;  // the start of a terminator may be there
    else
        length = 0;
    part = pending.substr(0, length);
    start_ += length;
    scanned_ = 0;
    return pos != std::string_view::npos;
}

void PacketReader::Consume(std::size_t n) {
    start_ += std::min(n, size_ - start_);
    scanned_ = 0;
}

void PacketReader::Clear() {
    size_ = 0;
    start_ = 0;
    scanned_ = 0;
}

void PacketReader::Compact() {
    if (start_ == 0) return;
    std::memmove(buffer_.get(), buffer_.get() + start_, size_ - start_);
    size_ -= start_;
    start_ = 0;
}

}  // namespace ostradb
