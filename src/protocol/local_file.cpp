#include "protocol/local_file.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <streambuf>
#include <vector>

#include "ostradb/util/exceptions.hpp"

namespace ostradb::detail {

namespace {

TDateTime LocalDateTime(std::int64_t seconds, std::int64_t nanoseconds) {
    const std::time_t t = static_cast<std::time_t>(seconds);
    std::tm local{};
    if (!localtime_r(&t, &local)) return UnixTimeToDateTime(seconds);
    const int second = local.tm_sec > 59 ? 59 : local.tm_sec;  // a leap second
    return EncodeDate(local.tm_year + 1900, local.tm_mon + 1, local.tm_mday) +
           EncodeTime(local.tm_hour, local.tm_min, second, static_cast<int>(nanoseconds / 1000000));
}

// statx on dirFd/path (flags AT_EMPTY_PATH for dirFd itself): the birth time where the file
// system keeps one, else the status change time; stat where statx is missing.
bool ReadTimes(int dirFd, const char* path, int flags, LocalFileTimes& times) {
#ifdef STATX_BTIME
    struct statx sx {};
    if (::statx(dirFd, path, flags, STATX_BTIME | STATX_MTIME | STATX_ATIME | STATX_CTIME, &sx) ==
        0) {
        const statx_timestamp& created = (sx.stx_mask & STATX_BTIME) ? sx.stx_btime : sx.stx_ctime;
        times.Create = LocalDateTime(created.tv_sec, created.tv_nsec);
        times.Write = LocalDateTime(sx.stx_mtime.tv_sec, sx.stx_mtime.tv_nsec);
        times.Access = LocalDateTime(sx.stx_atime.tv_sec, sx.stx_atime.tv_nsec);
        return true;
    }
    if (errno != ENOSYS) return false;
#endif
    struct stat st {};
    if (::fstatat(dirFd, path, &st, flags) != 0) return false;
    times.Create = LocalDateTime(st.st_ctim.tv_sec, st.st_ctim.tv_nsec);
    times.Write = LocalDateTime(st.st_mtim.tv_sec, st.st_mtim.tv_nsec);
    times.Access = LocalDateTime(st.st_atim.tv_sec, st.st_atim.tv_nsec);
    return true;
}

[[noreturn]] void ThrowFileError(const std::string& path, const std::string& reason) {
    throw EFileError("Cannot open file \"" + path + "\". " + reason);
}

}  // namespace

bool GetLocalFileTimes(const std::string& path, LocalFileTimes& times) {
    return !path.empty() && ReadTimes(AT_FDCWD, path.c_str(), 0, times);
}

// Reads the descriptor through a buffer; large reads go straight into the caller's memory.
class ExclusiveInputFile::Buffer : public std::streambuf {
public:
    explicit Buffer(int fd) : fd_(fd), buffer_(kSize) {}

protected:
    int_type underflow() override {
        if (gptr() < egptr()) return traits_type::to_int_type(*gptr());
        const std::size_t n = Read(buffer_.data(), buffer_.size());
        setg(buffer_.data(), buffer_.data(), buffer_.data() + n);
        return n == 0 ? traits_type::eof() : traits_type::to_int_type(*gptr());
    }

    std::streamsize xsgetn(char* out, std::streamsize count) override {
        std::streamsize done = 0;
        while (done < count) {
            const std::streamsize buffered = egptr() - gptr();
            if (buffered > 0) {
                const std::streamsize k = std::min(buffered, count - done);
                std::memcpy(out + done, gptr(), static_cast<std::size_t>(k));
                gbump(static_cast<int>(k));
                done += k;
                continue;
            }
            const std::size_t n = Read(out + done, static_cast<std::size_t>(count - done));
            if (n == 0) break;
            done += static_cast<std::streamsize>(n);
        }
        return done;
    }

    pos_type seekoff(off_type off, std::ios_base::seekdir dir, std::ios_base::openmode) override {
        // Positions count from the file's start; the buffered bytes are not yet read.
        if (dir == std::ios_base::cur) off -= egptr() - gptr();
        const int whence = dir == std::ios_base::beg   ? SEEK_SET
                           : dir == std::ios_base::end ? SEEK_END
                                                       : SEEK_CUR;
        const off_t at = ::lseek(fd_, static_cast<off_t>(off), whence);
        if (at < 0) return pos_type(off_type(-1));
        setg(buffer_.data(), buffer_.data(), buffer_.data());
        return pos_type(static_cast<off_type>(at));
    }

    pos_type seekpos(pos_type pos, std::ios_base::openmode mode) override {
        return seekoff(off_type(pos), std::ios_base::beg, mode);
    }

private:
    static constexpr std::size_t kSize = 64 * 1024;

    // Raising here sets the stream's badbit: a read error is not an end of file.
    std::size_t Read(char* out, std::size_t count) {
        for (;;) {
            const ssize_t n = ::read(fd_, out, count);
            if (n >= 0) return static_cast<std::size_t>(n);
            if (errno != EINTR)
                throw EFileError(std::string("Reading a file failed: ") + std::strerror(errno));
        }
    }

    int fd_;
    std::vector<char> buffer_;
};

ExclusiveInputFile::ExclusiveInputFile(const std::string& path) : path_(path), stream_(nullptr) {
    fd_ = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd_ < 0) ThrowFileError(path, std::strerror(errno));
    if (::flock(fd_, LOCK_EX | LOCK_NB) != 0) {
        const int error = errno;
        ::close(fd_);
        ThrowFileError(path, error == EWOULDBLOCK ? "The file is in use by another process."
                                                  : std::strerror(error));
    }
    try {
        buffer_ = std::make_unique<Buffer>(fd_);
    } catch (...) {
        ::close(fd_);
        throw;
    }
    stream_.rdbuf(buffer_.get());
}

ExclusiveInputFile::~ExclusiveInputFile() {
    stream_.rdbuf(nullptr);
    buffer_.reset();
    ::close(fd_);  // releases the lock
}

LocalFileTimes ExclusiveInputFile::Times() const {
    LocalFileTimes times;
    if (!ReadTimes(fd_, "", AT_EMPTY_PATH, times))
        throw EFileError("Cannot read the times of file \"" + path_ + "\". " +
                         std::strerror(errno));
    return times;
}

}  // namespace ostradb::detail
