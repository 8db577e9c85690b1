#include "client/transfer_streams.hpp"

#include "ostradb/protocol/ostradb_protocol.hpp"

namespace ostradb::detail {

void CallbackGuard::Terminate() {
    protocol_.Terminate();
}

// ---- ProgressReport

void ProgressReport::SetTotal(std::int64_t total) {
    total_ = total;
    Tell();
}

void ProgressReport::Done(std::int64_t done) {
    done_ = done;
    Tell();
}

void ProgressReport::Tell() {
    if (callback_) guard_.Call([&] { callback_(done_, total_); });
}

// ---- CountingOutBuf

CountingOutBuf::CountingOutBuf(std::streambuf& target, CountCallback count)
    : target_(target), report_(std::move(count)) {}

std::streamsize CountingOutBuf::xsputn(const char* data, std::streamsize n) {
    const std::streamsize written = target_.sputn(data, n);
    count_ += written;
    if (report_) report_(count_);
    return written;
}

CountingOutBuf::int_type CountingOutBuf::overflow(int_type c) {
    if (traits_type::eq_int_type(c, traits_type::eof())) return traits_type::not_eof(c);
    const char ch = traits_type::to_char_type(c);
    return xsputn(&ch, 1) == 1 ? c : traits_type::eof();
}

int CountingOutBuf::sync() {
    return target_.pubsync();
}

// ---- CountingInBuf

CountingInBuf::CountingInBuf(std::streambuf& source, CountCallback count)
    : source_(source), report_(std::move(count)) {}

void CountingInBuf::Moved(std::int64_t n) {
    position_ += n;
    if (report_ && n > 0) report_(position_);
}

CountingInBuf::int_type CountingInBuf::underflow() {
    return source_.sgetc();
}

CountingInBuf::int_type CountingInBuf::uflow() {
    const int_type c = source_.sbumpc();
    if (!traits_type::eq_int_type(c, traits_type::eof())) Moved(1);
    return c;
}

std::streamsize CountingInBuf::xsgetn(char* data, std::streamsize n) {
    const std::streamsize got = source_.sgetn(data, n);
    Moved(got);
    return got;
}

CountingInBuf::pos_type CountingInBuf::seekoff(off_type off, std::ios_base::seekdir dir,
                                               std::ios_base::openmode which) {
    const pos_type pos = source_.pubseekoff(off, dir, which);
    if (pos != pos_type(off_type(-1))) position_ = static_cast<std::int64_t>(off_type(pos));
    return pos;
}

CountingInBuf::pos_type CountingInBuf::seekpos(pos_type pos, std::ios_base::openmode which) {
    const pos_type result = source_.pubseekpos(pos, which);
    if (result != pos_type(off_type(-1))) position_ = static_cast<std::int64_t>(off_type(result));
    return result;
}

// ---- BytesInBuf

BytesInBuf::BytesInBuf(std::string_view bytes) {
    char* begin = const_cast<char*>(bytes.data());
    setg(begin, begin, begin + bytes.size());
}

BytesInBuf::pos_type BytesInBuf::seekoff(off_type off, std::ios_base::seekdir dir,
                                         std::ios_base::openmode which) {
    if (!(which & std::ios_base::in)) return pos_type(off_type(-1));
    const off_type base = dir == std::ios_base::beg   ? 0
                          : dir == std::ios_base::cur ? gptr() - eback()
                                                      : egptr() - eback();
    return seekpos(pos_type(base + off), which);
}

BytesInBuf::pos_type BytesInBuf::seekpos(pos_type pos, std::ios_base::openmode which) {
    const off_type at = off_type(pos);
    if (!(which & std::ios_base::in) || at < 0 || at > egptr() - eback())
        return pos_type(off_type(-1));
    setg(eback(), eback() + at, egptr());
    return pos;
}

}  // namespace ostradb::detail
