#include "atomic_file.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <system_error>

namespace ostradb::sandbox {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void Fail(const char* what, const fs::path& path) {
    throw fs::filesystem_error(what, path, std::error_code(errno, std::generic_category()));
}

}  // namespace

AtomicFileWriter::AtomicFileWriter(fs::path target) : target_(std::move(target)) {
    std::string pattern = (target_.parent_path() / kTempPrefix).string() + "XXXXXX";
    fd_ = ::mkostemp(pattern.data(), O_CLOEXEC);
    if (fd_ < 0) Fail("cannot create a temporary file", target_);
    temp_ = pattern;
}

AtomicFileWriter::~AtomicFileWriter() {
    if (fd_ >= 0) ::close(fd_);
    if (!temp_.empty()) ::unlink(temp_.c_str());
}

void AtomicFileWriter::Write(const char* data, std::size_t size) {
    while (size > 0) {
        const ssize_t n = ::write(fd_, data, size);
        if (n < 0) {
            if (errno == EINTR) continue;
            Fail("cannot write", temp_);
        }
        data += n;
        size -= static_cast<std::size_t>(n);
    }
}

void AtomicFileWriter::Commit() {
    // New files get the usual permissions rather than mkstemp's owner-only ones.
    ::fchmod(fd_, 0644);
    if (::fsync(fd_) != 0) Fail("cannot flush", temp_);
    const int fd = fd_;
    fd_ = -1;
    if (::close(fd) != 0) Fail("cannot close", temp_);
    if (::rename(temp_.c_str(), target_.c_str()) != 0) Fail("cannot rename", target_);
    temp_.clear();
    SyncDirectory(target_.parent_path());
}

void WriteFileAtomically(const fs::path& target, std::string_view content) {
    AtomicFileWriter writer(target);
    writer.Write(content);
    writer.Commit();
}

void SyncDirectory(const fs::path& dir) {
    const int fd = ::open(dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) return;
    ::fsync(fd);
    ::close(fd);
}

}  // namespace ostradb::sandbox
