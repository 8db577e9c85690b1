#pragma once

// A file written under a temporary name beside its target and renamed over the target only
// once it is complete, so that an interrupted download never leaves a partial file under the
// name the user asked for.

#include <filesystem>
#include <fstream>

namespace ostradb::cli {

class AtomicOutputFile {
public:
    // Creates ".<name>.part-XXXXXX" in the target's directory. Raises CliError when it cannot.
    explicit AtomicOutputFile(std::filesystem::path target);
    // Removes the temporary file unless Commit succeeded.
    ~AtomicOutputFile();
    AtomicOutputFile(const AtomicOutputFile&) = delete;
    AtomicOutputFile& operator=(const AtomicOutputFile&) = delete;

    std::streambuf& Buffer() { return buffer_; }
    const std::filesystem::path& TemporaryPath() const { return temporary_; }
    // Flushes to the disk and renames the file to the target.
    void Commit();

private:
    std::filesystem::path target_;
    std::filesystem::path temporary_;
    std::filebuf buffer_;
    int fd_ = -1;
    bool committed_ = false;
};

}  // namespace ostradb::cli
