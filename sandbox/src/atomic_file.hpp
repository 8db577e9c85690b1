#pragma once

// Writes that never leave a half-written file behind: the bytes go to a temporary file in the
// target's own directory, which is flushed to disk and then renamed over the target.

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>

namespace ostradb::sandbox {

// Temporary files of unfinished writes start with this; listings skip them.
inline constexpr std::string_view kTempPrefix = ".sandbox-tmp-";

class AtomicFileWriter {
public:
    // Creates the temporary file beside target. Raises std::filesystem::filesystem_error.
    explicit AtomicFileWriter(std::filesystem::path target);
    // Removes the temporary file unless Commit ran.
    ~AtomicFileWriter();
    AtomicFileWriter(const AtomicFileWriter&) = delete;
    AtomicFileWriter& operator=(const AtomicFileWriter&) = delete;

    void Write(const char* data, std::size_t size);
    void Write(std::string_view bytes) { Write(bytes.data(), bytes.size()); }
    // Flushes the bytes to disk and renames the temporary file over the target.
    void Commit();

private:
    std::filesystem::path target_;
    std::filesystem::path temp_;
    int fd_ = -1;
};

// The whole content at once.
void WriteFileAtomically(const std::filesystem::path& target, std::string_view content);

// Flushes a directory's entries (a rename or an unlink in it) to disk.
void SyncDirectory(const std::filesystem::path& dir);

}  // namespace ostradb::sandbox
