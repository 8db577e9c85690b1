// Where the sample data set is, and filling a new data directory with a copy of it.

#include <unistd.h>

#include <cstdlib>
#include <system_error>
#include <vector>

#include "ostradb/util/exceptions.hpp"
#include "ostradb_sandbox/sandbox_server.hpp"

namespace ostradb::sandbox {

namespace fs = std::filesystem;

namespace {

constexpr const char* kMarker = "databases.xml";

bool IsSampleSet(const fs::path& dir) {
    std::error_code ec;
    return !dir.empty() && fs::is_regular_file(dir / kMarker, ec);
}

fs::path ProgramDir() {
    std::error_code ec;
    const fs::path exe = fs::read_symlink("/proc/self/exe", ec);
    return ec ? fs::path() : exe.parent_path();
}

}  // namespace

fs::path SandboxServer::FindSampleData() {
    std::vector<fs::path> candidates;
    if (const char* env = std::getenv("OSTRADB_SANDBOX_SAMPLE_DATA")) candidates.emplace_back(env);
    // An installed program finds the set relative to itself, wherever the tree was installed.
    if (const fs::path dir = ProgramDir(); !dir.empty())
        candidates.push_back((dir / OSTRADB_SANDBOX_SAMPLE_FROM_BIN).lexically_normal());
    candidates.emplace_back(OSTRADB_SANDBOX_SOURCE_SAMPLE_DIR);
    candidates.emplace_back(OSTRADB_SANDBOX_INSTALLED_SAMPLE_DIR);
    for (const fs::path& dir : candidates)
        if (IsSampleSet(dir)) return dir;
    return {};
}

bool SandboxServer::PrepareDataDir(const fs::path& dir, const fs::path& sampleDir) {
    std::error_code ec;
    if (fs::exists(dir, ec) && !fs::is_empty(dir, ec)) return false;
    const fs::path sample = sampleDir.empty() ? FindSampleData() : sampleDir;
    if (!IsSampleSet(sample))
        throw Error("The data directory " + dir.string() +
                    " is empty and no sample data set was found to fill it (set "
                    "OSTRADB_SANDBOX_SAMPLE_DATA to the sample-data folder)");
    // Copied beside the target first, so that an interrupted copy never looks like data.
    fs::path target = fs::absolute(dir, ec).lexically_normal();
    if (!target.has_filename()) target = target.parent_path();
    fs::path staging = target;
    staging += ".copying-" + std::to_string(::getpid());
    fs::remove_all(staging, ec);
    fs::create_directories(target.parent_path(), ec);
    fs::copy(sample, staging, fs::copy_options::recursive, ec);
    if (!ec) {
        fs::remove(target, ec);  // the empty directory, if there is one
        ec.clear();
        fs::rename(staging, target, ec);
    }
    if (ec) {
        std::error_code ignored;
        fs::remove_all(staging, ignored);
        throw Error("Cannot copy the sample data set into " + dir.string() + ": " + ec.message());
    }
    return true;
}

}  // namespace ostradb::sandbox
