#include "output_file.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include "errors.hpp"
#include "interrupt.hpp"

namespace ostradb::cli {

namespace fs = std::filesystem;

namespace {

std::string SystemError(const std::string& what, const fs::path& path) {
    return what + " \"" + path.string() + "\": " + std::strerror(errno);
}

}  // namespace

AtomicOutputFile::AtomicOutputFile(fs::path target) : target_(std::move(target)) {
    const fs::path dir = target_.has_parent_path() ? target_.parent_path() : fs::path(".");
    std::string pattern = (dir / ("." + target_.filename().string() + ".part-XXXXXX")).string();
    std::vector<char> name(pattern.begin(), pattern.end());
    name.push_back('\0');
    fd_ = ::mkstemp(name.data());
    if (fd_ < 0) throw CliError(SystemError("cannot create a file in", dir));
    temporary_ = name.data();
    Interrupts().RemoveOnExit(temporary_);
    // mkstemp made the file for this user alone; a download gets the usual permissions.
    const mode_t mask = ::umask(0);
    ::umask(mask);
    ::fchmod(fd_, 0666 & ~mask);
    if (!buffer_.open(temporary_, std::ios::out | std::ios::binary | std::ios::trunc)) {
        const std::string message = SystemError("cannot write", temporary_);
        ::close(fd_);
        std::error_code ignored;
        fs::remove(temporary_, ignored);
        Interrupts().ForgetOnExit(temporary_);
        throw CliError(message);
    }
}

AtomicOutputFile::~AtomicOutputFile() {
    buffer_.close();
    if (fd_ >= 0) ::close(fd_);
    if (!committed_) {
        std::error_code ignored;
        fs::remove(temporary_, ignored);
    }
    Interrupts().ForgetOnExit(temporary_);
}

void AtomicOutputFile::Commit() {
    if (!buffer_.close()) throw CliError(SystemError("cannot write", temporary_));
    if (::fsync(fd_) != 0) throw CliError(SystemError("cannot write", temporary_));
    ::close(fd_);
    fd_ = -1;
    if (::rename(temporary_.c_str(), target_.c_str()) != 0)
        throw CliError(SystemError("cannot rename the download to", target_));
    committed_ = true;
}

}  // namespace ostradb::cli
