#pragma once

// A file written under a temporary name in its target's folder and renamed over the target
// only once it is complete: a failed or interrupted download leaves no partial file under the
// target's name, and an old file there stays as it was.

#include <filesystem>
#include <fstream>

#include "ostradb/export.hpp"

namespace ostradb {

class OSTRADB_API AtomicFile {
public:
    // Creates ".<name>.part-XXXXXX" beside target. Raises EFileError when it cannot.
    explicit AtomicFile(std::filesystem::path target);
    // Removes the temporary file unless commit succeeded.
    ~AtomicFile();
    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;

    std::ostream& stream() { return stream_; }
    const std::filesystem::path& target() const { return target_; }
    const std::filesystem::path& temporary_path() const { return temporary_; }
    // Flushes the file to the disk and renames it to the target. Raises EFileError.
    void commit();

private:
    std::filesystem::path target_;
    std::filesystem::path temporary_;
    std::ofstream stream_;
    int fd_ = -1;
    bool committed_ = false;
};

}  // namespace ostradb
