#pragma once

// The ws files of a database: files in the level folders (one folder level per level of the
// database's structure, e.g. field/well/survey/name.ws) under the database's directory and
// under each of its roots. Each ws file may have a side file "<name>.xml" beside it that
// describes its tables, curves and plansheets; the ws file's own bytes are opaque here.

#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace ostradb::sandbox {

struct Database;

struct CurveInfo {
    std::string name;
    std::string table;
    double start = 0;
    double stop = 0;
    double step = 0;
    std::int32_t nvers = 1;
    std::int32_t dclass = 1;  // 1 simple, 2 bed, 3 column
    std::string units;
    std::string keystr;
    std::vector<std::string> planshets;  // plansheets that show the curve

    // Number of values from start to stop.
    std::int32_t Count() const;
};

struct TableInfo {
    std::string name;
    std::vector<CurveInfo> curves;
};

// What the side file tells about a ws file.
struct WsMeta {
    std::string trunkId;
    bool isMain = false;
    std::vector<std::pair<std::string, std::string>> params;
    std::vector<TableInfo> tables;
    std::vector<std::string> planshets;

    bool HasTable(std::string_view name) const;
    bool HasCurve(std::string_view name) const;
    bool HasPlanshet(std::string_view name) const;
};

struct WsFile {
    std::filesystem::path path;       // absolute
    std::string shortName;            // relative to the database, "${Root_N}\" for roots
    std::vector<std::string> values;  // the level folder names, outermost first
    std::int32_t rootId = -1;         // -1: the database's own directory
};

inline constexpr std::string_view kWsExtension = ".ws";
inline constexpr std::string_view kSideExtension = ".xml";

// Whether a file name (no folders) is a ws file of a listing: ends with ".ws" in any letter
// case and is not a temporary or hidden file.
bool IsWsFileName(std::string_view fileName);
// Whether a file name is reserved by the server: side files ("….ws.xml") and temporary files.
bool IsReservedFileName(std::string_view fileName);
std::filesystem::path SidePath(const std::filesystem::path& wsPath);

// Every ws file of the database at the depth of its levels, sorted by short name.
std::vector<WsFile> ScanDatabase(const Database& db);

// The short name of a path below base, with "/" between folders.
std::string RelativeName(const std::filesystem::path& base, const std::filesystem::path& path);

// Side files, parsed once per version of the file (size and modification time).
class MetaCache {
public:
    // The side file's description; empty when it is missing or unreadable.
    std::shared_ptr<const WsMeta> Get(const std::filesystem::path& wsPath);

private:
    struct Entry {
        std::uintmax_t size = 0;
        std::int64_t mtime = 0;
        std::shared_ptr<const WsMeta> meta;
    };
    std::mutex mutex_;
    std::unordered_map<std::string, Entry> entries_;
};

WsMeta ReadSideFile(const std::filesystem::path& sidePath);

}  // namespace ostradb::sandbox
