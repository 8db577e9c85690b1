#pragma once

// Local files that the file commands send or describe.

#include <istream>
#include <memory>
#include <string>

#include "ostradb/util/dates.hpp"

namespace ostradb::detail {

// A local file's times as local date-time values. Where the file system keeps no creation
// (birth) time, Create is the time of the last change of the file's status.
struct LocalFileTimes {
    TDateTime Create = 0;
    TDateTime Write = 0;
    TDateTime Access = 0;
};

// The times of the file at path; false when it cannot be examined (it does not exist).
bool GetLocalFileTimes(const std::string& path, LocalFileTimes& times);

// A local file opened read-only and locked exclusively (a non-blocking exclusive flock: other
// programs that lock the file wait or fail while it is open), read as a stream in chunks. The
// file is closed when the object goes.
class ExclusiveInputFile {
public:
    // Raises EFileError naming the file when it cannot be opened or another holder has it
    // locked.
    explicit ExclusiveInputFile(const std::string& path);
    ~ExclusiveInputFile();
    ExclusiveInputFile(const ExclusiveInputFile&) = delete;
    ExclusiveInputFile& operator=(const ExclusiveInputFile&) = delete;

    std::istream& Stream() { return stream_; }
    LocalFileTimes Times() const;

private:
    class Buffer;
    int fd_ = -1;
    std::string path_;
    std::unique_ptr<Buffer> buffer_;
    std::istream stream_;
};

}  // namespace ostradb::detail
