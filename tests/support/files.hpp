#pragma once

// Files and directories for tests that read and write real ones.

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace ostradb::test {

namespace fs = std::filesystem;

// A fresh directory under the system's temporary directory, removed with all it holds.
class TempDir {
public:
    explicit TempDir(const std::string& prefix = "ostradb-test");
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const fs::path& Path() const { return path_; }
    fs::path operator/(const fs::path& name) const { return path_ / name; }

private:
    fs::path path_;
};

std::string ReadFile(const fs::path& path);
// Writes bytes, creating the directories on the way.
void WriteFile(const fs::path& path, const std::string& bytes);
// The names in dir, sorted.
std::vector<std::string> ListDir(const fs::path& dir);
// Bytes 0..255 and then a pseudo-random tail: every byte value, no text.
std::string BinaryBytes(std::size_t size, std::uint32_t seed = 1);

}  // namespace ostradb::test
