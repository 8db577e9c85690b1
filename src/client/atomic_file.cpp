#include "ostradb/client/atomic_file.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include "ostradb/util/exceptions.hpp"

namespace ostradb {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void Fail(const std::string& what, const fs::path& path, int error) {
    throw EFileError(what + " \"" + path.string() + "\": " + std::strerror(error));
}

}  // namespace

AtomicFile::AtomicFile(fs::path target) : target_(std::move(target)) {
    const fs::path dir = target_.has_parent_path() ? target_.parent_path() : fs::path(".");
    const std::string pattern =
        (dir / ("." + target_.filename().string() + ".part-XXXXXX")).string();
    std::vector<char> name(pattern.begin(), pattern.end());
    name.push_back('\0');
    fd_ = ::mkostemp(name.data(), O_CLOEXEC);
    if (fd_ < 0) Fail("cannot create a file in", dir, errno);
    temporary_ = name.data();
    // mkstemp made the file for this user alone; a download gets the usual permissions.
    const mode_t mask = ::umask(0);
    ::umask(mask);
    ::fchmod(fd_, 0666 & ~mask);
    stream_.open(temporary_, std::ios::out | std::ios::binary | std::ios::trunc);
    if (!stream_) {
        const int error = errno;
        ::close(fd_);
        ::unlink(temporary_.c_str());
        Fail("cannot write", temporary_, error);
    }
}

AtomicFile::~AtomicFile() {
    stream_.close();
    if (fd_ >= 0) ::close(fd_);
    if (!committed_) ::unlink(temporary_.c_str());
}

void AtomicFile::commit() {
    stream_.close();
    if (!stream_) Fail("cannot write", temporary_, errno);
    if (::fsync(fd_) != 0) Fail("cannot write", temporary_, errno);
    ::close(fd_);
    fd_ = -1;
    if (::rename(temporary_.c_str(), target_.c_str()) != 0)
        Fail("cannot rename the download to", target_, errno);
    committed_ = true;
}

}  // namespace ostradb
